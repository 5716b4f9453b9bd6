#include "modelcore/accumulators/RegGainsChart.h"

#include "modelcore/accumulators/internal/Segments.h"
#include "modelcore/accumulators/internal/SortByScore.h"

namespace MCMath_930 {

using MCCommon_930::MCMV;

RegGainsChart::~RegGainsChart() = default;

std::vector<LiftInfo> RegGainsChart::CalculateGains(std::vector<RegDataInfo>& cases) const
{
    if (fnSegments < 1) return {};
    internal::SortByScore(cases, [](const RegDataInfo& c) { return c.fdPredicted; });
    return internal::TabulateGains(std::span<const RegDataInfo>(cases), fnSegments, [](const RegDataInfo& c) {
        const double gain = MCMV::IsMissing(c.fdObserved) ? MCMV::Missing() : c.fdFreqWeight * c.fdObserved;
        return internal::ScoredCase{c.fdPredicted, c.fdFreqWeight, gain};
    });
}

} // namespace MCMath_930
