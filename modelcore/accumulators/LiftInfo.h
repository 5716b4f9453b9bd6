// One segment of a gains table.
#pragma once

#include "modelcore/common/MCMV.h"
#include "modelcore/modelcore_export.h"

#include <cstdint>

namespace MCMath_930 {

/// A segment of a gains table; GainsChart says how segments are made.
struct MODELCORE_EXPORT LiftInfo {
    /// The number of cases in this segment and all before it, each case counting its frequency weight without the
    /// fraction. Stays at the largest 32-bit integer when there are more.
    std::int32_t fnCumulativeCount = 0;
    /// Regression: the sum of weight times observed value. Classification: the number of hits.
    double fdSegmentSum = 0.0;
    /// The least score of the segment; system-missing when one of its scores is.
    double fdMinScore = MCCommon_930::MCMV::gMissingValue;
    /// The sum of weight times score, divided by the number of cases in the segment.
    double fdMeanScore = MCCommon_930::MCMV::gMissingValue;
};

} // namespace MCMath_930
