// linreg: fits a linear regression to the columns of a CSV file.
#include "Document.h"
#include "Fit.h"
#include "Options.h"
#include "Pmml.h"
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
    for (const std::string& path : {options.xmlPath, options.pmmlPath})
        if (std::filesystem::equivalent(options.dataPath, path, none))
            throw Failure(path + ": the document would replace the data");

    InterruptQuery interrupt;
    MCMath_930::MCCancelInfo cancel(&interrupt);
    std::optional<OutputFile> document;
    if (!options.xmlPath.empty()) document.emplace(options.xmlPath);
    std::optional<OutputFile> pmml;
    if (!options.pmmlPath.empty()) pmml.emplace(options.pmmlPath);
    if (document && pmml && document->IsSameFile(*pmml))
        throw Failure(pmml->Path() + ": two results would be written to it");

    Progress progress(!options.quiet && isatty(STDERR_FILENO) == 1);
    InputFile input(options.dataPath, cancel);
    Fit fit = FitModel(options, input, progress, cancel);

    // Everything that can fail is done before anything appears: a run gives both table and document, or neither.
    if (document) document->Write([&](std::ostream& out) { WriteDocument(options, fit, out); });
    if (pmml)
        pmml->Write([&](std::ostream& out) {
            const std::string lacks = WritePmml(MakePmmlModel(options, fit), options.format, input, out);
            if (!lacks.empty()) fit.warnings.push_back(lacks);
        });
    const std::string report = options.quiet ? std::string() : FormatReport(options, fit);
    if (cancel.IsCancel()) throw Interrupted();
    for (const std::string& line : fit.warnings) std::fprintf(stderr, "linreg: warning: %s\n", line.c_str());
    Print(report);
    if (document) document->PutInPlace(cancel);
    if (pmml) pmml->PutInPlace(cancel);
}

} // namespace

} // namespace linreg

int main(int argc, char** argv)
{
    return procedure::RunProgram("linreg", [&] {
        if (const std::optional<linreg::Options> options = linreg::ParseOptions(argc, argv)) linreg::Run(*options);
    });
}
