// MCStatus: construction and display.
#include "modelcore/common/MCStatus.h"

#include "modelcore/common/MCDisplay.h"

#include <span>

namespace MCCommon_930 {

MCStatus::MCStatus(long code, bool isWarning)
    : fCode(static_cast<std::int32_t>(code)), fSeverity(static_cast<std::int16_t>(isWarning ? 1 : -1))
{}

void MCStatus::Display() const
{
    MCDisplay_930::DisplayStart("MCStatus");
    MCDisplay_930::Display("Code", static_cast<int>(fCode));
    MCDisplay_930::Display("Severity", static_cast<int>(fSeverity));
    MCDisplay_930::Display("Discrete data", std::span<const int>(fvDiscrete));
    MCDisplay_930::Display("Scale data", std::span<const double>(fvScale));
    MCDisplay_930::DisplayEnd("MCStatus");
}

} // namespace MCCommon_930
