// linreg: fits a linear regression to the columns of a CSV file.
#include "Charts.h"
#include "Document.h"
#include "Fit.h"
#include "Options.h"
#include "Pmml.h"
#include "Report.h"
#include "common/Program.h"
#include "common/Progress.h"

#include <optional>

namespace linreg {

using namespace procedure;

namespace {

void Run(Options options)
{
    InterruptQuery interrupt;
    MCMath_930::MCCancelInfo cancel(&interrupt);
    Fit fit;
    std::optional<InputFile> input;
    ResidualPicture residuals;
    Outputs outputs(options.inputs);
    outputs.Add(options.output.xmlPath, [&](std::ostream& out) { WriteDocument(options, fit, out); });
    const bool charts = !options.chartPath.empty();
    if (charts) {
        outputs.Add(options.chartPath + "-residuals.svg",
                    [&](std::ostream& out) { DrawResiduals(options, residuals).Write(out); });
        outputs.Add(options.chartPath + "-normal.svg",
                    [&](std::ostream& out) { DrawNormal(options, residuals).Write(out); });
        outputs.Add(options.chartPath + "-coefficients.svg", [&](std::ostream& out) {
            model::DrawCoefficients("Linear regression of " + options.target, fit.coefficients).Write(out);
        });
    }
    outputs.Add(options.savePath, [&](std::ostream& out) {
        fit.state.Write(out);
        out << '\n' << fit.exactState;
    });
    outputs.Add(options.pmmlPath, [&](std::ostream& out) {
        // States hold no data: the document has what they tell.
        const std::string lacks = input ? WritePmml(MakePmmlModel(options, fit), options.format, *input, out)
                                        : WritePmml(MakePmmlModel(options, fit), out);
        if (!lacks.empty()) fit.warnings.push_back(lacks);
    });
    Progress progress(options.output.ShowsProgress());
    const auto run = [&](std::ostream* predictions) {
        fit = FitModel(options, *input, progress, cancel, predictions, charts ? &residuals : nullptr);
    };
    outputs.Add(options.predictionsPath, [&](std::ostream& out) { run(&out); });

    if (options.merge) {
        fit = FitStates(options, cancel);
    } else {
        input.emplace(options.inputs.front(), cancel);
        if (options.predictionsPath.empty())
            run(nullptr);
        else
            outputs.Fill(options.predictionsPath);
    }
    outputs.Finish("linreg", options.output, options.settings, Report(options, fit), fit.warnings, cancel);
}

} // namespace

} // namespace linreg

int main(int argc, char** argv)
{
    return procedure::RunProgram("linreg", [&] {
        if (const std::optional<linreg::Options> options = linreg::ParseOptions(argc, argv)) linreg::Run(*options);
    });
}
