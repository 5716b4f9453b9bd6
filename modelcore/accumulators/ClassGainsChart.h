// The gains table of a classification model.
#pragma once

#include "modelcore/accumulators/ClassDataInfo.h"
#include "modelcore/accumulators/GainsChart.h"
#include "modelcore/accumulators/LiftInfo.h"
#include "modelcore/modelcore_export.h"

#include <vector>

namespace MCMath_930 {

/// One table for each target category: the cases are ordered by the probability predicted for the category, and a hit
/// is a case in which it was observed. The segment sum is the number of hits, each counting its frequency weight
/// without the fraction.
class MODELCORE_EXPORT ClassGainsChart : public GainsChart {
public:
    ~ClassGainsChart() override;

    /// The gains table of each category, which is sorted and segmented for itself; the cases are left sorted. A
    /// category without cases has an empty table, and with a requested number of segments below 1 each has and the
    /// cases stay as they are. Takes time proportional to the number of cases, and memory for a second copy of the
    /// largest category. When memory runs out, no cases have changed their places.
    std::vector<std::vector<LiftInfo>> CalculateGains(std::vector<std::vector<ClassDataInfo>>& categories) const;

    /// As the base does, with a frame of its own.
    void Display() const override;
};

} // namespace MCMath_930
