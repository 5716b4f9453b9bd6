// The options of a program.
#pragma once

#include <CLI/CLI.hpp>

namespace procedure {

/// Reads the command line into the options of app. False when the user asked for help, which was printed. Throws
/// Failure for a command line that does not fit.
bool ParseCommandLine(CLI::App& app, int argc, char** argv);

/// Throws Failure with the complaint unless an option holds what it should.
void CheckOption(bool holds, const char* complaint);

} // namespace procedure
