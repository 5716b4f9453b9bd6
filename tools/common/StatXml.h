// What the documents of the programs have in common.
#pragma once

#include "modelcore/modelcore.h"

#include <string>

namespace procedure {

/// The text without control characters, for which XML has no place, not even as references.
std::string Legal(std::string name);

/// Appends a "Statistic" element; a missing number as "__MISSING__".
void AddStatistic(MCXML_930::XMLElement& parent, const char* name, double value);
void AddStatistic(MCXML_930::XMLElement& parent, const char* name, const std::string& value);

std::string TrueOrFalse(bool value);

/// A block "Settings" with a "Statistic" for each setting but those of kRun: its name and its value.
MCXML_930::XMLElement* CreateSettings(const MCXML_930::MCSettings& settings);

} // namespace procedure
