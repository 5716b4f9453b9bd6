#include "modelcore/accumulators/GainsChart.h"

#include "modelcore/common/MCDisplay.h"

namespace MCMath_930 {

GainsChart::~GainsChart() = default;

void GainsChart::SetCountOfSegment(int n)
{
    fnSegments = n;
}

void GainsChart::Display() const
{
    MCDisplay_930::DisplayStart("GainsChart");
    MCDisplay_930::Display("Requested number of segments", static_cast<int>(fnSegments));
    MCDisplay_930::DisplayEnd("GainsChart");
}

} // namespace MCMath_930
