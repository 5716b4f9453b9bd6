// Pieces of the error functions that several sources share.
#pragma once

#include "modelcore/distributions/internal/Elementary.h"
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

/// Horner's rule for a row of AS 241, which holds the constant term first.
template <class V>
inline V Ascending(const double* row, V r)
{
    V value = row[7];
#pragma GCC unroll 8
    for (std::size_t i = 1; i < 8; ++i) value = value * r + row[7 - i];
    return value;
}

/// The polynomial of a piece of erf from its coefficients, highest power first: coefficient(0) to coefficient(12). The
/// even and the odd ones side by side.
template <class V, class Coefficient>
inline V ErfPolynomial(V t, Coefficient coefficient)
{
    const V square = t * t;
    V even = coefficient(0);
    V odd = coefficient(1);
#pragma GCC unroll 8
    for (std::size_t i = 2; i < 12; i += 2) {
        even = even * square + coefficient(i);
        odd = odd * square + coefficient(i + 1);
    }
    return odd * t + (even * square + coefficient(12));
}

/// exp(w*w) * erfc(w) for w >= 0: the slowly varying factor of erfc, within 7 units in the last place.
template <class V>
inline V ScaledErfc(V w)
{
    // Horner's rule for every fourth coefficient, four times side by side: a chain of 23 would wait for itself.
    constexpr const double* row = kErfc.data();
    static_assert(kErfc.size() == 23);
    const V t = kErfcShift / (w + kErfcShift);
    const V u = t - 0.5;
    const V square = u * u;
    const V fourth = square * square;
    V p2 = row[0];
    V p1 = row[1];
    V p0 = row[2];
    V p3 = row[3];
#pragma GCC unroll 8
    for (std::size_t i = 4; i < 20; i += 4) {
        p2 = p2 * fourth + row[i];
        p1 = p1 * fourth + row[i + 1];
        p0 = p0 * fourth + row[i + 2];
        p3 = p3 * fourth + row[i + 3];
    }
    p2 = p2 * fourth + row[20];
    p1 = p1 * fourth + row[21];
    p0 = p0 * fourth + row[22];
    return ((p3 * square + p1) * u + (p2 * square + p0)) * t;
}

/// exp(-c*w*w) for c = 1 or 0.5, w >= 0. The square is split in two doubles: its rounding, as an exponent, would cost
/// w*w units in the last place.
template <class V>
inline V ExpMinusSquare(V w, double c)
{
    constexpr double kFar = 64.0;
    const V bounded = Choose(w > kFar, V(kFar), w); // whose result is 0 already
    const PairOf<V> square = ExactProduct(bounded, bounded);
    return Exp(-c * square.head, -c * square.tail);
}

inline constexpr double kInverseSqrtTwoPi = 0.3989422804014327;

/// The normal quantile of p = 0.5 + q, |q| <= 0.425: Algorithm AS 241.
inline constexpr double kCentral = 0.425;
template <class V>
inline V CentralQuantile(V q)
{
    const V r = 0.180625 - q * q;
    return q * Ascending(kProbit[0].data(), r) / Ascending(kProbit[1].data(), r);
}

/// The same for a tail p > 0 by root = sqrt(-ln p) >= 1.3; positive.
inline constexpr double kFarRoot = 5.0;
template <class V>
inline V NearTailQuantile(V root)
{
    const V r = root - 1.6;
    return Ascending(kProbit[2].data(), r) / Ascending(kProbit[3].data(), r);
}
template <class V>
inline V FarTailQuantile(V root)
{
    const V r = root - kFarRoot;
    return Ascending(kProbit[4].data(), r) / Ascending(kProbit[5].data(), r);
}

/// sqrt(-ln p) for 0 < p < 1
template <class V>
inline V TailRoot(V p)
{
    constexpr double kLeastNormal = 0x1p-1022;
    constexpr double kScale = 0x1p54;
    const auto subnormal = p < kLeastNormal;
    const V log = Log(Choose(subnormal, p * kScale, p)) - Choose(subnormal, V(54.0 * 0.6931471805599453), V(0.0));
    return SquareRoot(-log);
}

} // namespace MCMath_930::internal
