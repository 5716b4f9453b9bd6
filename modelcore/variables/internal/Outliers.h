// Limits of a field and their rule: what the encoders of numbers share.
#pragma once

#include "modelcore/common/MCMV.h"
#include "modelcore/variables/IMCEncoder.h"

#include <cmath>
#include <initializer_list>

namespace MCXML_930::internal {

inline constexpr std::initializer_list<const char*> kOutlierRules{"stays", "clipped", "as missing", "refused"};

/// Whether both are numbers or missing (open), and in order.
inline bool AreLimitsLegal(double lowest, double highest)
{
    const bool open = MCCommon_930::MCMV::IsMissing(lowest) || MCCommon_930::MCMV::IsMissing(highest);
    return !std::isnan(lowest) && !std::isnan(highest) && (open || lowest <= highest);
}

inline bool IsRule(IMCEncoder::OutlierRule rule)
{
    return rule >= IMCEncoder::OutlierStays && rule <= IMCEncoder::OutlierRefused;
}

inline bool IsBeyond(double x, double lowest, double highest)
{
    return (!MCCommon_930::MCMV::IsMissing(lowest) && x < lowest) ||
           (!MCCommon_930::MCMV::IsMissing(highest) && x > highest);
}

} // namespace MCXML_930::internal
