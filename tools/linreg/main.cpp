// linreg: fits a linear regression to the columns of a CSV file.
#include "Document.h"
#include "Fit.h"
#include "Options.h"
#include "Report.h"
#include "common/Failure.h"
#include "common/OutputFile.h"
#include "common/Program.h"
#include "common/Progress.h"

#include <cstdio>
#include <filesystem>
#include <optional>
#include <string>
#include <system_error>

#include <unistd.h>

namespace linreg {

using namespace procedure;

namespace {

void Run(const Options& options)
{
    std::error_code none;
    if (std::filesystem::equivalent(options.dataPath, options.xmlPath, none))
        throw Failure(options.xmlPath + ": the document would replace the data");

    InterruptQuery interrupt;
    MCMath_930::MCCancelInfo cancel(&interrupt);
    std::optional<OutputFile> document;
    if (!options.xmlPath.empty()) document.emplace(options.xmlPath);

    Progress progress(!options.quiet && isatty(STDERR_FILENO) == 1);
    InputFile input(options.dataPath, cancel);
    const Fit fit = FitModel(options, input, progress, cancel);

    // Everything that can fail is done before anything appears: a run gives both table and document, or neither.
    if (document) document->Write([&](std::ostream& out) { WriteDocument(options, fit, out); });
    const std::string report = options.quiet ? std::string() : FormatReport(options, fit);
    if (cancel.IsCancel()) throw Interrupted();
    for (const std::string& line : fit.warnings) std::fprintf(stderr, "linreg: warning: %s\n", line.c_str());
    Print(report);
    if (document) document->PutInPlace(cancel);
}

} // namespace

} // namespace linreg

int main(int argc, char** argv)
{
    return procedure::RunProgram("linreg", [&] {
        if (const std::optional<linreg::Options> options = linreg::ParseOptions(argc, argv)) linreg::Run(*options);
    });
}
