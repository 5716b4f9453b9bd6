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

/// The same of a table of 16.
inline double LookupOf16(const double* table, std::uint64_t index)
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

/// a / b from the reciprocal of b.head, whose rounding the tail makes good: that may be two units of the head, which in
/// return is there at once.
template <class V>
inline PairOf<V> Quotient(const PairOf<V>& a, const PairOf<V>& b, const V& inverse)
{
    const V quotient = a.head * inverse;
    const PairOf<V> product = ExactProduct(quotient, b.head);
    return {quotient, (((a.head - product.head) - product.tail) + (a.tail - quotient * b.tail)) * inverse};
}
/// The same for b without a tail.
template <class V>
inline PairOf<V> Quotient(const PairOf<V>& a, double b, double inverse)
{
    const V quotient = a.head * inverse;
    const PairOf<V> product = ExactProduct(quotient, V(b));
    return {quotient, (((a.head - product.head) - product.tail) + a.tail) * inverse};
}

/// a * b and the like below leave a tail that may be some units of the head, and have the head at once.
template <class V>
inline PairOf<V> LooseProduct(const PairOf<V>& a, const PairOf<V>& b)
{
    const PairOf<V> product = ExactProduct(a.head, b.head);
    return {product.head, product.tail + (a.head * b.tail + a.tail * b.head)};
}
template <class V>
inline PairOf<V> LooseProduct(double a, const PairOf<V>& b)
{
    const PairOf<V> product = ExactProduct(V(a), b.head);
    return {product.head, product.tail + a * b.tail};
}
template <class V>
inline PairOf<V> LooseSum(const PairOf<V>& a, const PairOf<V>& b)
{
    const PairOf<V> sum = ExactSum(a.head, b.head);
    return {sum.head, sum.tail + (a.tail + b.tail)};
}
template <class V>
inline PairOf<V> LooseDifference(const PairOf<V>& a, const PairOf<V>& b)
{
    const PairOf<V> sum = ExactSum(a.head, -b.head);
    return {sum.head, sum.tail + (a.tail - b.tail)};
}

/// The point that divides the unit interval as below : above, both positive, by its distances from both ends.
template <class V>
struct DividingPoint {
    PairOf<V> x, y;
};
template <class V>
inline DividingPoint<V> Dividing(const PairOf<V>& below, const PairOf<V>& above)
{
    const PairOf<V> whole = LooseSum<V>(below, above);
    const V inverse = 1.0 / whole.head;
    const PairOf<V> x = Quotient<V>(below, whole, inverse);
    const PairOf<V> y = Quotient<V>(above, whole, inverse);
    return {ExactSumOrdered(x.head, x.tail), ExactSumOrdered(y.head, y.tail)};
}

inline constexpr double kLn2Head = 0x1.62e42fefa0000p-1; // 41 bits: its product with an exponent is exact
inline constexpr double kLn2Tail = 0x1.cf79abc9e3b3ap-40;

/// exp, and 1 - exp with an error relative to itself.
template <class V>
struct ExpValues {
    V value;
    V complement;
};

// clang-format off
// 2^(j/16), j = 0 to 15, as heads and tails: mpmath's 2**(j/16) at 300 bits, rounded to a double, and the rest rounded.
// Sixteen, since so many are looked up in two registers where there are vectors (LookupOf16).
inline constexpr double kPowerHead[16] = {
    0x1.0000000000000p+0, 0x1.0b5586cf9890fp+0, 0x1.172b83c7d517bp+0, 0x1.2387a6e756238p+0,
    0x1.306fe0a31b715p+0, 0x1.3dea64c123422p+0, 0x1.4bfdad5362a27p+0, 0x1.5ab07dd485429p+0,
    0x1.6a09e667f3bcdp+0, 0x1.7a11473eb0187p+0, 0x1.8ace5422aa0dbp+0, 0x1.9c49182a3f090p+0,
    0x1.ae89f995ad3adp+0, 0x1.c199bdd85529cp+0, 0x1.d5818dcfba487p+0, 0x1.ea4afa2a490dap+0,
};
inline constexpr double kPowerTail[16] = {
     0.0,                    0x1.8a62e4adc610bp-54, -0x1.19041b9d78a76p-55,  0x1.9b07eb6c70573p-54,
     0x1.6f46ad23182e4p-55,  0x1.ada0911f09ebcp-55,  0x1.d4397afec42e2p-56,  0x1.6324c054647adp-54,
    -0x1.bdd3413b26456p-54, -0x1.41577ee04992fp-55,  0x1.6e9f156864b27p-54,  0x1.c7c46b071f2bep-56,
     0x1.7a1cd345dcc81p-54,  0x1.11065895048ddp-55,  0x1.2ed02d75b3707p-55, -0x1.e9c23179c2893p-54,
};
// clang-format on

/// exp(head + tail) for a tail that is small beside the head, within 0.56 units in the last place; 0 far below,
/// infinite far above. The complement is within 2 units of itself.
///
/// head + tail = n ln(2)/16 + r, |r| <= 0.022, n = 16 k + j: 2^k * 2^(j/16) * exp(r), the second factor from the table
/// and the third by Taylor's series to r^7, whose rest is below 2^-59 (scheme of Tang 1989, ACM TOMS 15, 144-157).
template <class V>
inline ExpValues<V> ExpBoth(V head, V tail)
{
    constexpr double kRounder = 0x1.8p52;
    constexpr double kOrdinary = 690.0; // within it the power of 2 is a normal number
    constexpr std::uint64_t kBias = 1023;
    const bool isOrdinary = !AnyOf(Not(Magnitude(head) <= kOrdinary));
    if (!isOrdinary) {
        constexpr double kLeast = 750.0;                        // exp(-750) is 0
        constexpr double kMost = 710.0;                         // whose exp is infinite
        tail = Choose(Magnitude(head) <= kLeast, tail, V(0.0)); // of a head that large it may be large itself
        head = Choose(head < -kLeast, V(-kLeast), head);
        head = Choose(head > kMost, V(kMost), head);
    }
    const V rounded = head * 23.083120654223414 + kRounder;
    const V n = rounded - kRounder;
    const V high = head - n * (kLn2Head / 16.0);
    const V low = tail - n * (kLn2Tail / 16.0);
    const V r = high + low;
    const V rounding = (high - r) + low;

    const V r2 = r * r;
    const V p0 = (1.0 / 2.0 + r * (1.0 / 6.0)) + r2 * (1.0 / 24.0 + r * (1.0 / 120.0));
    const V p4 = 1.0 / 720.0 + r * (1.0 / 5040.0);
    const V lessOne = r + (rounding + r2 * (p0 + (r2 * r2) * p4));

    // What stands in the last bits of the rounded number is n itself, for n < 0 modulo a power of 2.
    const auto bits = BitsOf(rounded);
    const auto j = bits & std::uint64_t{15};
    const V factor = LookupOf16(kPowerHead, j);
    const V small = LookupOf16(kPowerTail, j) + factor * lessOne;
    const V value = factor + small;
    if (isOrdinary) {
        const V power = FromBits(((bits >> 4) + kBias) << 52);
        return {value * power, (1.0 - power * factor) - power * small};
    }
    // 2^k in two factors, so that what is below the least normal number is rounded once.
    const V k = (n - (FromBits(j | std::uint64_t{0x4330000000000000u}) - 0x1p52)) * (1.0 / 16.0);
    constexpr double kPlain = 1000.0;
    const V other = Choose(k < -kPlain, V(-kPlain), Choose(k > kPlain, V(kPlain), V(0.0)));
    const V scale = FromBits(BitsOf((k - other) + (kRounder + 1023.0)) << 52);
    const V remainder = FromBits(BitsOf(other + (kRounder + 1023.0)) << 52);
    const V power = scale * remainder;
    return {value * scale * remainder, (1.0 - power * factor) - power * small};
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
