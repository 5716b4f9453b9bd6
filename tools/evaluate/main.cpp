// evaluate: shows how well a score tells an event from its absence, or predicts a number.
#include "Charts.h"
#include "Document.h"
#include "Evaluation.h"
#include "Options.h"
#include "Pmml.h"
#include "Report.h"
#include "common/Program.h"
#include "common/Progress.h"

#include <optional>
#include <string>

namespace evaluate {

using namespace procedure;

namespace {

void Run(const Options& options)
{
    InterruptQuery interrupt;
    MCMath_930::MCCancelInfo cancel(&interrupt);
    Evaluation evaluation;
    Outputs outputs({options.dataPath}); // opened now, so that nobody waits for results that have no place
    outputs.Add(options.output.xmlPath, [&](std::ostream& out) { WriteDocument(options, evaluation, out); });
    const auto chart = [&](const std::string& name, Chart (*draw)(const Options&, const Evaluation&)) {
        if (!options.chartPath.empty())
            outputs.Add(options.chartPath + name,
                        [&, draw](std::ostream& out) { draw(options, evaluation).Write(out); });
    };
    chart("-gains.svg", DrawGains);
    chart("-lift.svg", DrawLift);
    chart("-histogram.svg", DrawHistogram);
    chart("-calibration.svg", DrawCalibration);
    if (!options.regression) chart("-roc.svg", DrawRoc);
    std::optional<PmmlDocument> pmml;
    if (!options.pmmlPath.empty()) pmml.emplace(options); // before the data: nobody waits for what cannot be used
    outputs.Add(options.pmmlPath, [&](std::ostream& out) { pmml->Write(options, evaluation, out); });

    Progress progress(options.output.ShowsProgress());
    InputFile input(options.dataPath, cancel);
    evaluation = Evaluate(options, input, progress, cancel);
    outputs.Finish("evaluate", options.output, options.settings, Report(options, evaluation), evaluation.warnings,
                   cancel);
}

} // namespace

} // namespace evaluate

int main(int argc, char** argv)
{
    return procedure::RunProgram("evaluate", [&] {
        if (const std::optional<evaluate::Options> options = evaluate::ParseOptions(argc, argv))
            evaluate::Run(*options);
    });
}
