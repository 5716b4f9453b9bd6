// Machine limits, guarded exponentials and powers, comparisons of doubles.
#pragma once

#include "modelcore/modelcore_export.h"

namespace MCMath_930 {

/// The limits that the numerical code shares, and powers that say what went wrong instead of overflowing. All members
/// are static. A NaN argument gives a NaN result and success; comparisons with it are false.
class MODELCORE_EXPORT MCPower {
public:
    static constexpr double gMachineEpsilon = 2.220446049250313e-16; ///< from 1 to the next double
    static constexpr int gMachineMaxInt = 2147483647;                ///< the largest int
    static constexpr double gMachineMaxExp = 709.0;                  ///< the largest exponent whose exp is formed
    static constexpr double gMachineMinExp = -708.39;                ///< below this exponent exp is 0

    /// The outcome of Exponent and Power.
    enum PowerStatus {
        Success = 0,
        Underflow = 1,                ///< the result is 0, or -0.0 for an odd power of a negative base
        Overflow = 2,                 ///< the result is missing
        NegativeOverflow = 3,         ///< beyond the range towards minus infinity; the result is missing
        InvalidExponent = 4,          ///< negative base, exponent neither whole nor one over an odd number; missing
        NegativeBaseZeroExponent = 5, ///< the result is 1
        ZeroBaseNegativeExponent = 6, ///< the result is missing
        ZeroBaseZeroExponent = 7      ///< the result is 1
    };

    static constexpr double MaxExp() { return gMachineMaxExp; }    ///< 709
    static constexpr double MinExp() { return gMachineMinExp; }    ///< -708.39
    static constexpr double MEpsilon() { return gMachineEpsilon; } ///< 2^-52
    static constexpr int MaxInt() { return gMachineMaxInt; }       ///< 2^31 - 1

    static constexpr bool ExpOverflow(double x) { return x > gMachineMaxExp; }  ///< whether exp(x) is refused
    static constexpr bool ExpUnderflow(double x) { return x < gMachineMinExp; } ///< whether it counts as 0

    /// True for a whole number up to 2147483647. There is no lower limit: every double below -2^53 is whole.
    static bool IsInteger(double x);

    static bool IsEvenInteger(double x); ///< IsInteger and even
    static bool IsOddInteger(double x);  ///< IsInteger and odd

    /// True when 1/x is an odd whole number up to 2147483647, within k machine epsilons; false for x = 0.
    static bool IsOneOverOddInteger(double x, int k);

    /// The same for an even one.
    static bool IsOneOverEvenInteger(double x, int k);

    /// True when a and b differ, relative to the larger magnitude, by at most k machine epsilons. 0 equals only 0, and
    /// numbers of opposite signs are never equal.
    static bool AlmostEqual(double a, double b, int k);

    /// result = exp(x). Underflow for x < -708.39, Overflow for x > 709.
    static PowerStatus Exponent(double x, double& result);

    /// result = base^e, formed as exp(e ln|base|) with the sign of the power; see PowerStatus for what is refused. A
    /// negative base takes whole exponents and those that are one over an odd number within 32 machine epsilons.
    /// Relative error about |e ln|base|| machine epsilons.
    static PowerStatus Power(double base, double e, double& result);

    /// a * b, 0 when either is 0. The limits are those of Exponent, applied to ln|a| + ln|b|: below, the product is 0;
    /// above, it is missing.
    static double Multiply(double a, double b);
};

} // namespace MCMath_930
