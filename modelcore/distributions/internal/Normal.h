// Pieces of the error functions that several sources share.
#pragma once

#include "modelcore/distributions/internal/NormalTables.h"

#include <array>
#include <cmath>
#include <cstddef>

namespace MCMath_930::internal {

/// Horner's rule, highest power first.
template <std::size_t Count>
inline double Polynomial(const std::array<double, Count>& coefficients, double t)
{
    double value = coefficients[0];
    for (std::size_t i = 1; i < Count; ++i) value = value * t + coefficients[i];
    return value;
}

/// exp(w*w) * erfc(w) for w >= 0: the slowly varying factor of erfc, within 7 units in the last place.
inline double ScaledErfc(double w)
{
    const double t = kErfcShift / (w + kErfcShift);
    return Polynomial(kErfc, t - 0.5) * t;
}

/// exp(-c*w*w) for c = 1 or 0.5, w >= 0. With h the multiple of 1/16 below w the square h*h is exact, so that w*w is
/// not rounded before it becomes an exponent (Cody 1969, Mathematics of Computation 23, 631-637).
inline double ExpMinusSquare(double w, double c)
{
    if (w > 64.0) return 0.0;
    const double h = std::floor(w * 16.0) / 16.0;
    return std::exp(-c * h * h) * std::exp(-c * (w - h) * (w + h));
}

inline constexpr double kInverseSqrtTwoPi = 0.3989422804014327;

} // namespace MCMath_930::internal
