#include "common/Outputs.h"

#include "common/CommandLine.h"
#include "common/Failure.h"
#include "common/Program.h"
#include "common/System.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <utility>

namespace procedure {

void OutputOptions::AddSettings(MCXML_930::MCSettings& settings)
{
    settings.AddChoice("format", "table", {"table", "json", "csv"}, "how the results are printed (table)", kRun);
}

void OutputOptions::AddTo(CLI::App& app)
{
    app.add_option("--xml", xmlPath, "write the results as a StatXML document")->type_name("OUT.xml");
    app.add_flag("--quiet", quiet, "print no results and no progress");
}

void OutputOptions::Take(const MCXML_930::MCSettings& settings)
{
    format = settings.Get("format").GetString();
}

bool OutputOptions::ShowsProgress() const
{
    return !quiet && System::IsErrorTerminal();
}

void Outputs::Add(const std::string& path, std::function<void(std::ostream&)> write)
{
    if (path.empty()) return;
    fOutputs.emplace_back(path, std::move(write));
    for (const std::string& input : fInputs) {
        std::error_code none;
        if (std::filesystem::equivalent(input, path, none)) throw Failure(path + ": it would replace the data");
    }
    for (std::size_t i = 0; i + 1 < fOutputs.size(); ++i)
        if (fOutputs[i].file.IsSameFile(fOutputs.back().file))
            throw Failure(path + ": two results would be written to it");
}

void Outputs::Fill(const std::string& path)
{
    for (Output& output : fOutputs) {
        if (output.file.Path() != path) continue;
        output.file.Write(output.write);
        output.filled = true;
    }
}

namespace {

/// Bold titles for people, unless they asked for none (no-color.org) or the terminal has no such thing.
bool IsStyled()
{
    const char* const none = std::getenv("NO_COLOR");
    const char* const terminal = std::getenv("TERM");
    return System::IsOutputTerminal() && (none == nullptr || *none == '\0') && terminal != nullptr &&
           std::strcmp(terminal, "dumb") != 0;
}

} // namespace

void Outputs::Finish(const char* program, const OutputOptions& options, const MCXML_930::MCSettings& settings,
                     const Results& results, const std::vector<std::string>& warnings, MCMath_930::MCCancelInfo& cancel)
{
    // Everything that can fail is done before anything appears: a run gives all of its output, or none.
    for (Output& output : fOutputs)
        if (!output.filled) output.file.Write(output.write);
    std::string text;
    if (!options.quiet)
        text = options.format == "json"  ? results.ToJson(settings, warnings)
               : options.format == "csv" ? results.ToCsv()
                                         : results.ToText(IsStyled());
    if (cancel.IsCancel()) throw Interrupted();
    for (const std::string& line : warnings) Complain(program, "warning: " + line);
    Print(text);
    for (Output& output : fOutputs) output.file.PutInPlace(cancel);
}

} // namespace procedure
