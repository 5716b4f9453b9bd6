// The options of a program: settings with types, legal values and defaults from one source, and paths.
#pragma once

#include "common/CsvReader.h"

#include "modelcore/modelcore.h"

#include <string>

#include <CLI/CLI.hpp>

namespace procedure {

/// Gives the settings the values that the command line and the file of --settings name; the command line wins. Every
/// setting is an option of its name, with its default and what is legal in the help text; app may have other options.
/// Lists are CSV rows, so that a name with a comma can be given as it stands in a header.
///
/// @return  false when the user asked for help, which was printed
/// @throw Failure  for a command line or a file that does not fit, with what is legal
bool ReadCommandLine(CLI::App& app, MCXML_930::MCSettings& settings, int argc, char** argv);

/// The group of settings that say how a program runs; what it finds does not depend on them, and documents leave them
/// out.
inline constexpr const char* kRun = "Run";

/// The settings "delimiter" and "missing", which say how a CSV file is written.
void AddFormatSettings(MCXML_930::MCSettings& settings);
CsvFormat FormatOf(const MCXML_930::MCSettings& settings);

} // namespace procedure
