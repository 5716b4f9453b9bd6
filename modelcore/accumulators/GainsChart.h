// What the gains tables of regression and classification models share.
#pragma once

#include "modelcore/modelcore_export.h"

#include <cstdint>

namespace MCMath_930 {

/// A gains table: the cases sorted by score, highest first, and cut into segments of equal size.
///
/// Cases with the same score stay in the order in which they were given, and a segment may end among them: a table of
/// data with ties then depends on the order of the cases, so give them in an order that has nothing to do with the
/// outcome. NaN scores come last, after system-missing ones.
///
/// N cases in S segments: each has N/S cases (rounded down), the last one all that are left. When N > 50, an
/// extra segment with the top 1 % of the cases, floor(N*0.01) + 1 of them, is put in front, so that there are S + 1.
/// With fewer cases than segments, N segments of one case each are made, the first being the top segment if there is
/// one; those that then find no case left have the sum 0, and minimum and mean system-missing.
///
/// A segment with a system-missing score has minimum and mean system-missing, one with a system-missing observed value
/// or weight the sums that it would enter. A mean over cases that count 0 is system-missing.
class MODELCORE_EXPORT GainsChart {
public:
    virtual ~GainsChart();

    /// Sets the requested number of segments, 10 at first. It is not checked here; with n < 1 a table has no segments.
    virtual void SetCountOfSegment(int n);

    /// Writes the requested number of segments to the diagnostic text stream.
    virtual void Display() const;

protected:
    GainsChart() = default;
    GainsChart(const GainsChart&) = default;
    GainsChart& operator=(const GainsChart&) = default;

    /// The requested number of segments.
    std::int32_t fnSegments = 10;
};

} // namespace MCMath_930
