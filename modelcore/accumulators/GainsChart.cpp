#include "modelcore/accumulators/GainsChart.h"

namespace MCMath_930 {

GainsChart::~GainsChart() = default;

void GainsChart::SetCountOfSegment(int n)
{
    fnSegments = n;
}

} // namespace MCMath_930
