// Bins of equal length.
#pragma once

#include "modelcore/common/MCMV.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace MCMath_930::internal {

/// The length of nBins bins from minimum to maximum.
inline double BinLength(double minimum, double maximum, int nBins)
{
    const double range = maximum - minimum;
    return std::isfinite(range) ? range / nBins : maximum / nBins - minimum / nBins; // a range may leave the doubles
}

/// The bin of a value: the truncated number of bin lengths above the minimum, clamped to the bins there are. A NaN
/// position, which a length of 0 can give, is bin 0.
inline std::size_t BinOf(double value, double minimum, double length, int nBins)
{
    if (nBins <= 1) return 0;
    const double distance = value - minimum;
    double position = distance / length;
    if (std::isinf(distance)) [[unlikely]]
        position = value / length - minimum / length;
    // Clamped before it is truncated: it may not fit an integer.
    return position > 0.0 ? static_cast<std::size_t>(std::min(position, nBins - 1.0)) : 0;
}

inline bool IsChartValue(double x)
{
    return !std::isnan(x) && !MCCommon_930::MCMV::IsMissing(x);
}

inline bool IsChartWeight(double w)
{
    return w >= 0.0;
}

} // namespace MCMath_930::internal
