#include "modelcore/accumulators/RegGainsChart.h"

#include "modelcore/accumulators/internal/GainsTables.h"
#include "modelcore/common/MCDisplay.h"

#include <utility>

namespace MCMath_930 {

using MCCommon_930::MCMV;

RegGainsChart::~RegGainsChart() = default;

std::vector<LiftInfo> RegGainsChart::CalculateGains(std::vector<RegDataInfo>& cases) const
{
    auto tables = internal::SortAndTabulate(
        std::span(&cases, 1), fnSegments, [](const RegDataInfo& c) { return c.fdPredicted; },
        [](const RegDataInfo& c) {
            const double gain = MCMV::IsMissing(c.fdObserved) ? MCMV::Missing() : c.fdFreqWeight * c.fdObserved;
            return internal::ScoredCase{c.fdPredicted, c.fdFreqWeight, gain};
        });
    return std::move(tables.front());
}

void RegGainsChart::Display() const
{
    MCDisplay_930::DisplayStart("RegGainsChart");
    GainsChart::Display();
    MCDisplay_930::DisplayEnd("RegGainsChart");
}

} // namespace MCMath_930
