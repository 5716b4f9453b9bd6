// Tests of arguments that every family makes, and what becomes of those that fail.
#pragma once

#include "modelcore/common/MCMV.h"
#include "modelcore/common/internal/DoubleDouble.h"

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

/// A probability other than 0 and 1.
inline bool IsInsideProbability(double p)
{
    return p > 0.0 && p < 1.0;
}

/// What the quantiles of an unbounded distribution on the positive axis take.
inline bool IsProbabilityBelowOne(double p)
{
    return p >= 0.0 && p < 1.0;
}

/// Sets the fault code and gives the value that goes with it.
template <class Code>
double Refuse(Code& fault, Code code)
{
    fault = code;
    return MCCommon_930::MCMV::Missing();
}

/// The result of a step that reports by a fault code: missing when there is a fault, whatever the step returned.
template <class Step>
double Checked(Step step)
{
    long fault = 0;
    const double value = step(fault);
    return fault == 0 ? value : MCCommon_930::MCMV::Missing();
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
