#include "modelcore/accumulators/ClassGainsChart.h"

#include "modelcore/accumulators/internal/GainsTables.h"
#include "modelcore/common/MCDisplay.h"

namespace MCMath_930 {

ClassGainsChart::~ClassGainsChart() = default;

std::vector<std::vector<LiftInfo>>
ClassGainsChart::CalculateGains(std::vector<std::vector<ClassDataInfo>>& categories) const
{
    return internal::SortAndTabulate(
        std::span(categories), fnSegments, [](const ClassDataInfo& c) { return c.fdProbability; },
        [](const ClassDataInfo& c) {
            const double hits = c.fbHit ? internal::CountedWeight(c.fdFreqWeight) : 0.0;
            return internal::ScoredCase{c.fdProbability, c.fdFreqWeight, hits};
        });
}

void ClassGainsChart::Display() const
{
    MCDisplay_930::DisplayStart("ClassGainsChart");
    GainsChart::Display();
    MCDisplay_930::DisplayEnd("ClassGainsChart");
}

} // namespace MCMath_930
