// What is wrong with the values that settings are given.
#pragma once

#include "modelcore/settings/MCSettings.h"

#include <string>

namespace MCXML_930 {

/// Collects the faults of one call: the first as a status, all of them as sentences.
class MCSettings::Faults {
public:
    explicit Faults(MCCommon_930::MCWarnings* warnings) : fWarnings(warnings) {}

    void Add(MCCommon_930::MCStatus status, int number, const std::string& text);
    const MCCommon_930::MCStatus& First() const { return fFirst; }
    const std::string& Text() const { return fText; }

private:
    MCCommon_930::MCWarnings* const fWarnings;
    MCCommon_930::MCStatus fFirst;
    std::string fText;
};

} // namespace MCXML_930
