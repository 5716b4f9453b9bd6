// linreg: fits a linear regression to the columns of a CSV file.
#include "Document.h"
#include "Failure.h"
#include "Fit.h"
#include "Options.h"
#include "OutputFile.h"
#include "Progress.h"
#include "Report.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <exception>
#include <filesystem>
#include <new>
#include <optional>
#include <string>
#include <system_error>

#include <unistd.h>

namespace linreg {

namespace {

void Print(const std::string& text)
{
    if (std::fputs(text.c_str(), stdout) < 0 || std::fflush(stdout) != 0)
        throw Failure(std::string("standard output cannot be written: ") + std::strerror(errno));
}

/// One line, whatever names and values the message quotes.
void Complain(std::string message)
{
    for (char& c : message)
        if (static_cast<unsigned char>(c) < ' ') c = ' ';
    std::fprintf(stderr, "linreg: %s\n", message.c_str());
}

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
    Print(report);
    if (document) document->PutInPlace();
}

} // namespace

} // namespace linreg

int main(int argc, char** argv)
{
    std::signal(SIGPIPE, SIG_IGN); // a reader that went away is a failed write, after which the document is removed
    try {
        if (const std::optional<linreg::Options> options = linreg::ParseOptions(argc, argv)) linreg::Run(*options);
        return 0;
    } catch (const linreg::Interrupted& stop) {
        linreg::Complain(stop.what());
        return linreg::kExitInterrupted;
    } catch (const std::bad_alloc&) {
        linreg::Complain("the memory does not suffice");
    } catch (const std::exception& error) {
        linreg::Complain(error.what());
    }
    return linreg::kExitBadInput;
}
