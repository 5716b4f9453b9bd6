// Exponential and logarithm from + - * / alone, for one double or for several side by side: the same operations in the
// same order, so that a function of an array has the bits of the function of a number, on every processor.
//
// The formulas are templates of the number V: a double, or the Lanes of bodies/Lanes.h. What they ask of V beyond
// arithmetic is below for double: a choice instead of a branch, the bits, and a look into a table.
#pragma once

#include "modelcore/common/internal/DoubleDouble.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace MCMath_930::internal {

inline double Choose(bool condition, double a, double b)
{
    return condition ? a : b;
}

/// Whether a condition holds for any of the numbers; of one number, for that.
inline bool AnyOf(bool condition)
{
    return condition;
}

inline bool Not(bool condition)
{
    return !condition;
}

inline bool Both(bool a, bool b)
{
    return a && b;
}

inline double Magnitude(double x)
{
    return std::fabs(x);
}

inline double SquareRoot(double x)
{
    return std::sqrt(x);
}

inline std::uint64_t BitsOf(double x)
{
    std::uint64_t bits;
    std::memcpy(&bits, &x, sizeof bits);
    return bits;
}

inline double FromBits(std::uint64_t bits)
{
    double x;
    std::memcpy(&x, &bits, sizeof x);
    return x;
}

/// table[index]
inline double Lookup(const double* table, std::uint64_t index)
{
    return table[index];
}

/// Two numbers that stand for their sum; for double what DoubleDouble.h has, with its operations.
template <class V>
struct Twofold {
    V head, tail;
};

template <class V>
struct PairOfType {
    using Type = Twofold<V>;
};
template <>
struct PairOfType<double> {
    using Type = DoubleDouble;
};
template <class V>
using PairOf = typename PairOfType<V>::Type;

template <class Condition, class Pair>
inline Pair ChoosePair(const Condition& condition, const Pair& a, const Pair& b)
{
    return {Choose(condition, a.head, b.head), Choose(condition, a.tail, b.tail)};
}

/// The point that divides the unit interval as below : above, both positive, by its distances from both ends.
template <class V>
struct DividingPoint {
    PairOf<V> x, y;
};
template <class V>
inline DividingPoint<V> Dividing(const PairOf<V>& below, const PairOf<V>& above)
{
    const PairOf<V> whole = below + above;
    return {below / whole, above / whole};
}

inline constexpr double kLn2Head = 0x1.62e42fefa0000p-1; // 41 bits: its product with an exponent is exact
inline constexpr double kLn2Tail = 0x1.cf79abc9e3b3ap-40;

/// exp, and 1 - exp with an error relative to itself.
template <class V>
struct ExpValues {
    V value;
    V complement;
};

/// exp(head + tail) for a tail that is small beside the head, within 0.6 units in the last place; 0 far below, infinite far
/// above.
///
/// head + tail = k ln 2 + r, |r| <= 0.35; exp(r) - 1 - r is Taylor's series to r^13, whose rest is below 2^-57, and 1 + r is
/// added up without error.
template <class V>
inline ExpValues<V> ExpBoth(V head, V tail)
{
    constexpr double kRounder = 0x1.8p52;
    constexpr double kOrdinary = 690.0; // within it the power of 2 is a normal number
    const bool isOrdinary = !AnyOf(Not(Magnitude(head) <= kOrdinary));
    if (!isOrdinary) {
        constexpr double kLeast = 750.0;                        // exp(-750) is 0
        constexpr double kMost = 710.0;                         // whose exp is infinite
        tail = Choose(Magnitude(head) <= kLeast, tail, V(0.0)); // of a head that large it may be large itself
        head = Choose(head < -kLeast, V(-kLeast), head);
        head = Choose(head > kMost, V(kMost), head);
    }
    const V k = (head * 1.4426950408889634 + kRounder) - kRounder;
    const V high = head - k * kLn2Head;
    const V low = tail - k * kLn2Tail;
    const V r = high + low;
    const V rounding = (high - r) + low;

    const V r2 = r * r;
    const V r4 = r2 * r2;
    const V p0 = (1.0 / 2.0 + r * (1.0 / 6.0)) + r2 * (1.0 / 24.0 + r * (1.0 / 120.0));
    const V p4 = (1.0 / 720.0 + r * (1.0 / 5040.0)) + r2 * (1.0 / 40320.0 + r * (1.0 / 362880.0));
    const V p8 = (1.0 / 3628800.0 + r * (1.0 / 39916800.0)) + r2 * (1.0 / 479001600.0 + r * (1.0 / 6227020800.0));
    const V rest = r2 * ((p0 + r4 * p4) + (r4 * r4) * p8) + (rounding + rounding * r);

    const V one = 1.0 + r;
    const V value = one + (((1.0 - one) + r) + rest);
    if (isOrdinary) {
        const V power = FromBits(BitsOf(k + (kRounder + 1023.0)) << 52);
        return {value * power, (1.0 - power) - power * (r + rest)};
    }
    // 2^k in two factors, so that what is below the least normal number is rounded once.
    constexpr double kPlain = 1000.0;
    const V other = Choose(k < -kPlain, V(-kPlain), Choose(k > kPlain, V(kPlain), V(0.0)));
    const V scale = FromBits(BitsOf((k - other) + (kRounder + 1023.0)) << 52);
    const V remainder = FromBits(BitsOf(other + (kRounder + 1023.0)) << 52);
    const V power = scale * remainder;
    return {value * scale * remainder, (1.0 - power) - power * (r + rest)};
}

template <class V>
inline V Exp(V head, V tail)
{
    return ExpBoth(head, tail).value;
}

/// The exponent of a positive normal number, and its mantissa in [0.70, 1.41): numbers just below 1 then need no multiple
/// of ln 2 that would cancel.
template <class V>
struct Mantissa {
    V exponent;
    V mantissa;
};
template <class V>
inline Mantissa<V> SplitExponent(V x)
{
    constexpr std::uint64_t kFirst = 0x3FE6A00000000000u;
    constexpr std::uint64_t kBias = std::uint64_t{1023} << 52;
    constexpr std::uint64_t kExponents = std::uint64_t{0xFFF} << 52;
    const auto bits = BitsOf(x);
    const auto shifted = (bits - kFirst) + kBias;
    const V exponent = FromBits((shifted >> 52) | std::uint64_t{0x4330000000000000u}) - (0x1p52 + 1023.0);
    return {exponent, FromBits((bits - (shifted & kExponents)) + kBias)};
}

/// ln x for positive normal x, within 1 unit in the last place. The series in s = f/(2 + f), f = x - 1, of the freely
/// distributable library of Sun Microsystems (1993), whose error is below 2^-58.
template <class V>
inline V Log(V x)
{
    const Mantissa<V> split = SplitExponent(x);
    const V f = split.mantissa - 1.0;
    const V s = f / (2.0 + f);
    const V z = s * s;
    const V w = z * z;
    const V odd = z * (6.666666666666735130e-01 +
                       w * (2.857142874366239149e-01 + w * (1.818357216161805012e-01 + w * 1.479819860511658591e-01)));
    const V even = w * (3.999999999940941908e-01 + w * (2.222219843214978396e-01 + w * 1.531383769920937332e-01));
    const V half = 0.5 * f * f;
    return split.exponent * kLn2Head - ((half - (s * (half + (odd + even)) + split.exponent * kLn2Tail)) - f);
}

/// ln(1 + x) for x > -1, with an error relative to itself.
template <class V>
inline V LogOnePlus(V x)
{
    const V one = 1.0 + x;
    return Log(one) + (x - (one - 1.0)) / one;
}

} // namespace MCMath_930::internal
