#include "common/CommandLine.h"

#include "common/Failure.h"
#include "common/Program.h"

namespace procedure {

bool ParseCommandLine(CLI::App& app, int argc, char** argv)
{
    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp&) {
        Print(app.help());
        return false;
    } catch (const CLI::ParseError& error) {
        throw Failure(std::string(error.what()) + " (--help lists the options)");
    }
    return true;
}

void FormatOptions::AddTo(CLI::App& app)
{
    app.add_option("--delimiter", delimiter, "what stands between two fields: one character, or tab (,)")
        ->type_name("C");
    app.add_option("--missing", missing, "texts that mean a missing value, besides nothing, NA and .")
        ->type_name("A,B");
}

CsvFormat FormatOptions::Format() const
{
    CsvFormat format;
    format.missing = SplitCsvRow(missing);
    format.delimiter = delimiter == "tab" ? '\t' : delimiter.empty() ? '\0' : delimiter.front();
    CheckOption((delimiter == "tab" || delimiter.size() == 1) &&
                    std::string_view("\"\r\n ").find(format.delimiter) == std::string_view::npos,
                "--delimiter must be one character, no quote and no blank, or tab");
    return format;
}

void CheckOption(bool holds, const char* complaint)
{
    if (!holds) throw Failure(complaint);
}

} // namespace procedure
