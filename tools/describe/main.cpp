// describe: what the columns of a CSV file are, and how they go together.
#include "Describe.h"
#include "Options.h"
#include "Report.h"
#include "common/Program.h"
#include "common/Progress.h"

#include <optional>
#include <string>

namespace describe {

using namespace procedure;

namespace {

void Run(const Options& options)
{
    InterruptQuery interrupt;
    MCMath_930::MCCancelInfo cancel(&interrupt);
    Description data;
    Summary summary;
    Outputs outputs(options.inputs);
    outputs.Add(options.output.xmlPath, [&](std::ostream& out) { WriteDocument(options, data, summary, out); });
    outputs.Add(options.svgPath, [&](std::ostream& out) { WritePage(options, data, summary, out); });
    outputs.Add(options.savePath, [&](std::ostream& out) {
        data.ToJson().Write(out);
        out << '\n' << (data.exact ? data.exact->Text() : std::string());
    });

    Progress progress(options.output.ShowsProgress());
    data = Read(options, progress, cancel);
    summary = Summarize(options, data);
    outputs.Finish("describe", options.output, options.settings, Report(options, data, summary), summary.warnings,
                   cancel);
}

} // namespace

} // namespace describe

int main(int argc, char** argv)
{
    return procedure::RunProgram("describe", [&] {
        if (const std::optional<describe::Options> options = describe::ParseOptions(argc, argv))
            describe::Run(*options);
    });
}
