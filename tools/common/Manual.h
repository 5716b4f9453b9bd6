// The manual page and the completion of a program's options, from what --help is made of.
#pragma once

#include "modelcore/modelcore.h"

#include <string>

#include <CLI/CLI.hpp>

namespace procedure {

/// The manual page, section 1, in the language of man(7).
std::string ManualPage(const CLI::App& app, const MCXML_930::MCSettings& settings);

/// A bash script that completes the names of options, the values of choices, and file names elsewhere.
std::string BashCompletion(const CLI::App& app, const MCXML_930::MCSettings& settings);

} // namespace procedure
