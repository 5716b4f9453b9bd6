// The gains table of a regression model.
#pragma once

#include "modelcore/accumulators/GainsChart.h"
#include "modelcore/accumulators/LiftInfo.h"
#include "modelcore/accumulators/RegDataInfo.h"
#include "modelcore/modelcore_export.h"

#include <vector>

namespace MCMath_930 {

/// The cases are ordered by predicted value. The segment sum is the sum of weight times observed value.
class MODELCORE_EXPORT RegGainsChart : public GainsChart {
public:
    ~RegGainsChart() override;

    /// The gains table; the cases are left sorted. Without cases, or with a requested number of segments below 1, it is
    /// empty and the cases stay as they are. Takes time proportional to the number of cases, and memory for a second
    /// copy of them. When memory runs out, they have not changed their places.
    std::vector<LiftInfo> CalculateGains(std::vector<RegDataInfo>& cases) const;

    /// As the base does, with a frame of its own.
    void Display() const override;
};

} // namespace MCMath_930
