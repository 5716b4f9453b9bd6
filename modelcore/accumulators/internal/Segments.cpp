#include "modelcore/accumulators/internal/Segments.h"

#include "modelcore/common/MCMV.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace MCMath_930::internal {

using MCCommon_930::MCMV;

std::vector<std::size_t> SegmentEnds(std::size_t count, int requested)
{
    if (count == 0 || requested < 1) return {};
    const auto wanted = static_cast<std::size_t>(requested);
    const double onePercent = static_cast<double>(count) * 0.01;
    const std::size_t top = onePercent > 0.5 ? static_cast<std::size_t>(std::floor(onePercent)) + 1 : 0;
    const std::size_t size = std::max<std::size_t>(count / wanted, 1);
    const std::size_t segments = count < wanted ? count : wanted + (top > 0 ? 1 : 0);

    std::vector<std::size_t> ends(segments);
    const std::size_t first = top > 0 ? top : size;
    for (std::size_t s = 0; s < segments; ++s) ends[s] = std::min(first + s * size, count);
    ends.back() = count;
    return ends;
}

LiftInfo SegmentSums::Finish()
{
    LiftInfo info;
    const double cumulative = fdCumulative + fdCount;
    info.fnCumulativeCount =
        static_cast<std::int32_t>(std::clamp(cumulative, static_cast<double>(std::numeric_limits<std::int32_t>::min()),
                                             static_cast<double>(std::numeric_limits<std::int32_t>::max())));
    info.fdSegmentSum = fbGainMissing || fbWeightMissing ? MCMV::Missing() : fdGain;
    if (!fbEmpty && !fbScoreMissing) info.fdMinScore = fdMinimum;
    if (!fbEmpty && !fbScoreMissing && !fbWeightMissing && fdCount != 0.0) info.fdMeanScore = fdScore / fdCount;
    *this = SegmentSums();
    fdCumulative = cumulative;
    return info;
}

} // namespace MCMath_930::internal
