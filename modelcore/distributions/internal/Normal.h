// Pieces of the error functions that several sources share.
#pragma once

#include "modelcore/common/internal/DoubleDouble.h"
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
    // Horner's rule for the even and the odd coefficients side by side: a chain of 23 would wait for itself.
    const double t = kErfcShift / (w + kErfcShift);
    const double u = t - 0.5;
    const double square = u * u;
    double even = kErfc[0];
    double odd = kErfc[1];
    for (std::size_t i = 2; i + 1 < kErfc.size(); i += 2) {
        even = even * square + kErfc[i];
        odd = odd * square + kErfc[i + 1];
    }
    even = even * square + kErfc.back();
    return (odd * u + even) * t;
}

/// exp(-c*w*w) for c = 1 or 0.5, w >= 0. The square is split in two doubles: its rounding, as an exponent, would cost
/// w*w units in the last place.
inline double ExpMinusSquare(double w, double c)
{
    if (w > 64.0) return 0.0;
    const DoubleDouble square = ExactProduct(w, w);
    return std::exp(-c * square.head) * (1.0 - c * square.tail);
}

inline constexpr double kInverseSqrtTwoPi = 0.3989422804014327;

} // namespace MCMath_930::internal
