// BoundsList: one pair of bounds for each dimension of an integral.
#include "modelcore/linalg/BoundsList.h"

#include "modelcore/common/MCDisplay.h"

#include <algorithm>
#include <cmath>

namespace MCMath_930 {

namespace {

bool AreBounds(double lower, double upper)
{
    return !std::isnan(lower) && !std::isnan(upper) && !(std::isinf(lower) && lower == upper);
}

} // namespace

bool BoundsList::Add(double lower, double upper)
{
    if (!AreBounds(lower, upper)) return false;
    fvBounds.push_back({lower, upper});
    return true;
}

bool BoundsList::Set(int i, double lower, double upper)
{
    if (i < 0 || i >= GetNDim() || !AreBounds(lower, upper)) return false;
    Bounds& bounds = fvBounds[static_cast<std::size_t>(i)];
    bounds.lower = lower;
    bounds.upper = upper;
    return true;
}

bool BoundsList::SetCentreAndScale(int i, double centre, double scale)
{
    // Beyond these scales the substitution for an infinite bound would overflow.
    if (i < 0 || i >= GetNDim() || !std::isfinite(centre) || !(scale >= 1e-100 && scale <= 1e100)) return false;
    Bounds& bounds = fvBounds[static_cast<std::size_t>(i)];
    bounds.centre = centre;
    bounds.scale = scale;
    return true;
}

bool BoundsList::IsFinite() const
{
    return std::all_of(fvBounds.begin(), fvBounds.end(),
                       [](const Bounds& b) { return std::isfinite(b.lower) && std::isfinite(b.upper); });
}

void BoundsList::Display() const
{
    std::vector<double> lower;
    std::vector<double> upper;
    std::vector<double> centres;
    std::vector<double> scales;
    for (const Bounds& b : fvBounds) {
        lower.push_back(b.lower);
        upper.push_back(b.upper);
        centres.push_back(b.centre);
        scales.push_back(b.scale);
    }
    MCDisplay_930::DisplayStart("BoundsList");
    MCDisplay_930::Display("Number of dimensions", GetNDim());
    MCDisplay_930::Display("Lower bounds", lower);
    MCDisplay_930::Display("Upper bounds", upper);
    MCDisplay_930::Display("Centres", centres);
    MCDisplay_930::Display("Scales", scales);
    MCDisplay_930::DisplayEnd("BoundsList");
}

} // namespace MCMath_930
