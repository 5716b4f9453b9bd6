// logreg: fits a binary logistic, probit or complementary log-log regression to the columns of a CSV file.
#include "Fit.h"
#include "Options.h"
#include "Pmml.h"
#include "Report.h"
#include "common/Failure.h"
#include "common/Program.h"
#include "common/Progress.h"

#include <optional>

namespace logreg {

using namespace procedure;

namespace {

void Run(const Options& options)
{
    InterruptQuery interrupt;
    MCMath_930::MCCancelInfo cancel(&interrupt);
    Fit fit;
    std::optional<InputFile> input;
    Outputs outputs({options.dataPath});
    outputs.Add(options.output.xmlPath, [&](std::ostream& out) { WriteDocument(options, fit, out); });
    if (!options.chartPath.empty())
        outputs.Add(options.chartPath + "-coefficients.svg", [&](std::ostream& out) {
            model::DrawCoefficients("Regression of " + options.target + " = " + *options.event, fit.coefficients)
                .Write(out);
        });
    outputs.Add(options.pmmlPath, [&](std::ostream& out) {
        const std::string lacks = WritePmml(MakePmmlModel(options, fit), options.format, *input, out);
        if (!lacks.empty()) fit.warnings.push_back(lacks);
    });
    Progress progress(options.output.ShowsProgress());
    const auto run = [&](std::ostream* predictions) { fit = FitModel(options, *input, progress, cancel, predictions); };
    outputs.Add(options.predictionsPath, [&](std::ostream& out) { run(&out); });

    input.emplace(options.dataPath, cancel);
    if (options.predictionsPath.empty())
        run(nullptr);
    else
        outputs.Fill(options.predictionsPath);
    outputs.Finish("logreg", options.output, options.settings, Report(options, fit), fit.warnings, cancel);
    if (!fit.converged) throw Doubtful();
}

} // namespace

} // namespace logreg

int main(int argc, char** argv)
{
    return procedure::RunProgram("logreg", [&] {
        if (const std::optional<logreg::Options> options = logreg::ParseOptions(argc, argv)) logreg::Run(*options);
    });
}
