#include "modelcore/accumulators/ClassGainsChart.h"

#include "modelcore/accumulators/internal/GainsTables.h"
#include "modelcore/common/MCDisplay.h"

#include <bit>
#include <cstdint>

namespace MCMath_930 {

ClassGainsChart::~ClassGainsChart() = default;

std::vector<std::vector<LiftInfo>>
ClassGainsChart::CalculateGains(std::vector<std::vector<ClassDataInfo>>& categories) const
{
    return internal::SortAndTabulate(
        std::span(categories), fnSegments, [](const ClassDataInfo& c) { return c.fdProbability; },
        [](const ClassDataInfo& c) {
            // Bits are masked, since no branch could foretell the hits.
            const auto weight = std::bit_cast<std::uint64_t>(internal::CountedWeight(c.fdFreqWeight));
            const auto hits = std::bit_cast<double>(weight & (std::uint64_t{0} - std::uint64_t{c.fbHit}));
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
