#include "modelcore/accumulators/ClassGainsChart.h"

#include "modelcore/accumulators/internal/Segments.h"
#include "modelcore/accumulators/internal/SortByScore.h"

namespace MCMath_930 {

ClassGainsChart::~ClassGainsChart() = default;

std::vector<std::vector<LiftInfo>>
ClassGainsChart::CalculateGains(std::vector<std::vector<ClassDataInfo>>& categories) const
{
    std::vector<std::vector<LiftInfo>> tables(categories.size());
    if (fnSegments < 1) return tables;
    for (std::size_t category = 0; category < categories.size(); ++category) {
        std::vector<ClassDataInfo>& cases = categories[category];
        internal::SortByScore(cases, [](const ClassDataInfo& c) { return c.fdProbability; });
        tables[category] =
            internal::TabulateGains(std::span<const ClassDataInfo>(cases), fnSegments, [](const ClassDataInfo& c) {
                const double hits = c.fbHit ? internal::CountedWeight(c.fdFreqWeight) : 0.0;
                return internal::ScoredCase{c.fdProbability, c.fdFreqWeight, hits};
            });
    }
    return tables;
}

} // namespace MCMath_930
