// Tests of arguments that every family makes.
#pragma once

#include "modelcore/distributions/internal/DoubleDouble.h"

#include <cmath>
#include <limits>

namespace MCMath_930::internal {

/// From here on Student's t and the normal distribution agree in every digit down to the least double.
inline constexpr double kNormalDf = 1e30;

/// False for NaN.
inline bool IsPositiveFinite(double x)
{
    return x > 0.0 && x <= std::numeric_limits<double>::max();
}

inline bool IsProbability(double p)
{
    return p >= 0.0 && p <= 1.0;
}

/// a * b with a double's digits to spare wherever the range allows it, else as a double has it.
inline DoubleDouble SafeProduct(double a, double b)
{
    constexpr double kTiny = 1e-140;
    constexpr double kHuge = 1e140;
    const double x = std::fabs(a);
    const double y = std::fabs(b);
    if (x > kTiny && x < kHuge && y > kTiny && y < kHuge) return ExactProduct(a, b);
    return {a * b};
}

} // namespace MCMath_930::internal
