// Logarithm and deviance to more than double precision.
#pragma once

#include "modelcore/distributions/internal/Elementary.h"
#include "modelcore/distributions/internal/LogTable.h"

#include <cstdint>

namespace MCMath_930::internal {

/// ln(x) for finite x > 0 with an error below 2^-66 of the result (and 2^-72 absolute for x near 1).
///
/// A probability of 1e-300 has an exponent near -690: one rounding of that exponent costs 1e-13 of the probability, and
/// x^a with a = 1e6 multiplies each rounding by a million. The argument's tail is taken to first order.
///
/// With r the tabulated reciprocal of the mantissa m, f = m*r - 1 is formed without error and
/// ln x = e*ln 2 - ln r + ln(1 + f), |f| < 0.006 (Tang 1990, ACM TOMS 16, 378-400, for the scheme).
template <class V>
inline PairOf<V> AccurateLogOf(const PairOf<V>& x)
{
    constexpr double kLeastNormal = 0x1p-1022;
    constexpr const double* table = &kLogTable.data()->reciprocal; // rows of three
    const auto subnormal = x.head < kLeastNormal;
    const Mantissa<V> split = SplitExponent(Choose(subnormal, x.head * 0x1p54, x.head));
    const V exponent = split.exponent - Choose(subnormal, V(54.0), V(0.0));
    const V m = split.mantissa;
    const auto row = ((BitsOf(m * 128.0 + 0x1p52) & std::uint64_t{0xFF}) - std::uint64_t{90}) * std::uint64_t{3};
    const V reciprocal = Lookup(table, row);

    const V mHigh = FromBits(BitsOf(m) & std::uint64_t{0xFFFFFFFFF8000000u});
    const PairOf<V> f = ExactSumOrdered(mHigh * reciprocal - 1.0, (m - mHigh) * reciprocal);

    // ln(1 + f) - f + f^2/2
    const V g = f.head;
    const V g2 = g * g;
    const V odd = 1.0 / 3.0 + g2 * (1.0 / 5.0 + g2 * (1.0 / 7.0 + g2 * (1.0 / 9.0)));
    const V even = 1.0 / 4.0 + g2 * (1.0 / 6.0 + g2 * (1.0 / 8.0 + g2 * (1.0 / 10.0)));
    const V cubic = g2 * g * odd - g2 * g2 * even;

    const PairOf<V> scaled = ExactSum(exponent * kLn2Head, Lookup(table + 1, row));
    const PairOf<V> linear = ExactSum(scaled.head, g);
    // The square in two parts, the first of which is exact.
    const V gHigh = FromBits(BitsOf(g) & std::uint64_t{0xFFFFFFFFF8000000u});
    const V squareTail = (g - gHigh) * (g + gHigh);
    const PairOf<V> quadratic = ExactSum(linear.head, -0.5 * (gHigh * gHigh));
    // The late ones last.
    const V tail = ((exponent * kLn2Tail + Lookup(table + 2, row)) + scaled.tail +
                    ((f.tail - (0.5 * squareTail + g * f.tail)) + cubic) + x.tail / x.head) +
                   (linear.tail + quadratic.tail);
    return ExactSumOrdered(quadratic.head, tail);
}
inline DoubleDouble AccurateLog(const DoubleDouble& x)
{
    return AccurateLogOf<double>(x);
}

inline constexpr double kSmallDeviation = 0.0625;

/// shape * (t - ln(1 + t)) for shift = shape * t and |t| <= kSmallDeviation, with a relative error below 2^-56. The
/// tails may be as large as 2^-30 of the heads.
template <class V>
inline PairOf<V> SmallDevianceOf(const PairOf<V>& shift, const PairOf<V>& t)
{
    const V u = t.head;
    const V s = u * u;
    const V odd =
        1.0 / 3.0 +
        s * (1.0 / 5.0 + s * (1.0 / 7.0 + s * (1.0 / 9.0 + s * (1.0 / 11.0 + s * (1.0 / 13.0 + s * (1.0 / 15.0))))));
    const V even =
        1.0 / 4.0 + s * (1.0 / 6.0 + s * (1.0 / 8.0 + s * (1.0 / 10.0 + s * (1.0 / 12.0 + s * (1.0 / 14.0)))));
    const PairOf<V> product = ExactProduct(shift.head, u);
    // What both tails bring to the square and to the cube.
    const V third = u * (2.0 / 3.0);
    const V tail = product.tail + (shift.head * t.tail * (1.0 - 2.0 * third) + shift.tail * u * (1.0 - third));
    return ExactSumOrdered(0.5 * product.head, 0.5 * tail + (u * even - odd) * (shift.head * s));
}
inline DoubleDouble SmallDeviance(const DoubleDouble& t)
{
    return SmallDevianceOf<double>(t, t);
}

/// shape * (t - ln(1 + t)) for any shift = shape * t, where makeRatio() gives 1 + t without cancellation. The shape is
/// at least 1e-290, and inverse its reciprocal.
template <class V, class MakeRatio>
inline PairOf<V> DevianceOf(const PairOf<V>& shift, double shape, double inverse, MakeRatio makeRatio)
{
    const auto near = Magnitude(shift.head) <= V(kSmallDeviation * shape);
    PairOf<V> deviance = shift;
    if (AnyOf(near)) deviance = SmallDevianceOf<V>(shift, Quotient<V>(shift, shape, inverse));
    if (AnyOf(Not(near))) {
        const PairOf<V> product = LooseProduct<V>(shape, AccurateLogOf<V>(makeRatio()));
        deviance = ChoosePair(near, deviance, LooseDifference<V>(shift, product));
    }
    return deviance;
}

} // namespace MCMath_930::internal
