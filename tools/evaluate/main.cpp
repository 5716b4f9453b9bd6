// evaluate: shows how well a score tells an event from its absence.
#include "Charts.h"
#include "Document.h"
#include "Evaluation.h"
#include "Options.h"
#include "Pmml.h"
#include "Report.h"
#include "common/Failure.h"
#include "common/OutputFile.h"
#include "common/Program.h"
#include "common/Progress.h"

#include <deque>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <system_error>

#include <unistd.h>

namespace evaluate {

using namespace procedure;

namespace {

/// An output file and what will be written to it.
struct Output {
    Output(const std::string& path, const std::string& dataPath,
           std::function<void(const Evaluation&, std::ostream&)> writer)
        : file(path), write(std::move(writer))
    {
        std::error_code none;
        if (std::filesystem::equivalent(dataPath, path, none)) throw Failure(path + ": it would replace the data");
    }

    OutputFile file;
    std::function<void(const Evaluation&, std::ostream&)> write;
};

void Run(const Options& options)
{
    InterruptQuery interrupt;
    MCMath_930::MCCancelInfo cancel(&interrupt);
    std::deque<Output> outputs; // opened now, so that nobody waits for results that have no place
    if (!options.xmlPath.empty())
        outputs.emplace_back(options.xmlPath, options.dataPath,
                             [&](const Evaluation& e, std::ostream& out) { WriteDocument(options, e, out); });
    if (!options.chartPath.empty()) {
        const auto add = [&](const char* name, Chart (*draw)(const Options&, const Evaluation&)) {
            outputs.emplace_back(
                options.chartPath + name, options.dataPath,
                [&options, draw](const Evaluation& e, std::ostream& out) { draw(options, e).Write(out); });
        };
        add("-gains.svg", DrawGains);
        add("-lift.svg", DrawLift);
        add("-histogram.svg", DrawHistogram);
    }

    std::optional<PmmlDocument> pmml;
    if (!options.pmmlPath.empty()) {
        pmml.emplace(options); // read before the data: nobody waits for what cannot be used
        outputs.emplace_back(options.pmmlPath, options.dataPath,
                             [&](const Evaluation& e, std::ostream& out) { pmml->Write(options, e, out); });
    }

    for (auto one = outputs.begin(); one != outputs.end(); ++one)
        for (auto other = outputs.begin(); other != one; ++other)
            if (one->file.IsSameFile(other->file))
                throw Failure(one->file.Path() + ": two results would be written to it");

    Progress progress(!options.quiet && isatty(STDERR_FILENO) == 1);
    InputFile input(options.dataPath, cancel);
    const Evaluation evaluation = Evaluate(options, input, progress, cancel);

    // Everything that can fail is done before anything appears.
    for (Output& output : outputs) output.file.Write([&](std::ostream& out) { output.write(evaluation, out); });
    const std::string report = options.quiet ? std::string() : FormatReport(options, evaluation);
    if (cancel.IsCancel()) throw Interrupted();
    Print(report);
    for (Output& output : outputs) output.file.PutInPlace(cancel);
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
