// The options of a program.
#pragma once

#include "common/CsvReader.h"

#include <CLI/CLI.hpp>

#include <string>

namespace procedure {

/// Reads the command line into the options of app. False when the user asked for help, which was printed. Throws
/// Failure for a command line that does not fit.
bool ParseCommandLine(CLI::App& app, int argc, char** argv);

/// How the program's input is written, as options say it.
struct FormatOptions {
    std::string delimiter = ",";
    std::string missing; ///< a CSV row

    /// Adds --delimiter and --missing to the options of app.
    void AddTo(CLI::App& app);

    /// The format, after ParseCommandLine. Throws Failure for a delimiter that is none.
    CsvFormat Format() const;
};

/// Throws Failure with the complaint unless an option holds what it should.
void CheckOption(bool holds, const char* complaint);

} // namespace procedure
