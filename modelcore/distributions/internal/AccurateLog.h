// Logarithm and deviance to more than double precision.
#pragma once

#include "modelcore/common/internal/DoubleDouble.h"
#include "modelcore/distributions/internal/LogTable.h"

#include <bit>
#include <cstddef>
#include <cstdint>

namespace MCMath_930::internal {

/// ln(x) for finite x > 0 with an error below 2^-66 of the result (and 2^-72 absolute for x near 1).
///
/// A probability of 1e-300 has an exponent near -690: one rounding of that exponent costs 1e-13 of the probability, and
/// x^a with a = 1e6 multiplies each rounding by a million. The argument's tail is taken to first order.
///
/// With r the tabulated reciprocal of the mantissa m, f = m*r - 1 is formed without error and
/// ln x = e*ln 2 - ln r + ln(1 + f), |f| < 0.006 (Tang 1990, ACM TOMS 16, 378-400, for the scheme).
inline DoubleDouble AccurateLog(const DoubleDouble& x)
{
    double positive = x.head;
    double exponent = 0.0;
    if (positive < 0x1p-1022) {
        positive *= 0x1p54;
        exponent = -54.0;
    }
    // The mantissa lies in [0.70, 1.41): numbers just below 1 then need no multiple of ln 2 that would cancel.
    const std::uint64_t bits = std::bit_cast<std::uint64_t>(positive);
    const std::uint64_t shifted = bits - 0x3FE6A00000000000u;
    const std::int64_t power = static_cast<std::int64_t>(shifted) >> 52;
    const double m = std::bit_cast<double>(bits - (static_cast<std::uint64_t>(power) << 52));
    exponent += static_cast<double>(power);
    const LogTableRow& row = kLogTable[static_cast<std::size_t>(m * 128.0 + 0.5) - 90];

    const double mHigh = std::bit_cast<double>(std::bit_cast<std::uint64_t>(m) & 0xFFFFFFFFF8000000u);
    const DoubleDouble f = ExactSumOrdered(mHigh * row.reciprocal - 1.0, (m - mHigh) * row.reciprocal);
    const DoubleDouble square = ExactProduct(f.head, f.head);

    // ln(1 + f) - f + f^2/2
    const double g = f.head;
    const double g2 = square.head;
    const double odd = 1.0 / 3.0 + g2 * (1.0 / 5.0 + g2 * (1.0 / 7.0 + g2 * (1.0 / 9.0)));
    const double even = 1.0 / 4.0 + g2 * (1.0 / 6.0 + g2 * (1.0 / 8.0 + g2 * (1.0 / 10.0)));
    const double cubic = g2 * g * odd - g2 * g2 * even;

    constexpr double kLn2Head = 0x1.62e42fefa0000p-1; // 41 bits: its product with an exponent is exact
    constexpr double kLn2Tail = 0x1.cf79abc9e3b3ap-40;
    const DoubleDouble scaled = ExactSum(exponent * kLn2Head, row.head);
    const DoubleDouble linear = ExactSum(scaled.head, g);
    const DoubleDouble quadratic = ExactSum(linear.head, -0.5 * g2);
    const double tail = scaled.tail + linear.tail + quadratic.tail + (exponent * kLn2Tail + row.tail) +
                        (f.tail - (0.5 * square.tail + g * f.tail)) + cubic + x.tail / x.head;
    return ExactSumOrdered(quadratic.head, tail);
}

/// t - ln(1 + t) for |t| <= kSmallDeviation, with a relative error below 2^-56.
inline constexpr double kSmallDeviation = 0.0625;
inline DoubleDouble SmallDeviance(const DoubleDouble& t)
{
    const double u = t.head;
    const double s = u * u;
    const double odd =
        1.0 / 3.0 +
        s * (1.0 / 5.0 + s * (1.0 / 7.0 + s * (1.0 / 9.0 + s * (1.0 / 11.0 + s * (1.0 / 13.0 + s / 15.0)))));
    const double even =
        1.0 / 4.0 + s * (1.0 / 6.0 + s * (1.0 / 8.0 + s * (1.0 / 10.0 + s * (1.0 / 12.0 + s * (1.0 / 14.0)))));
    const DoubleDouble half = 0.5 * (t * t);
    return ExactSumOrdered(half.head, half.tail - s * u * odd + s * s * even);
}

} // namespace MCMath_930::internal
