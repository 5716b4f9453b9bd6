// Sums of two doubles, for the few places where the rounding error of one would show: large exponents, long residuals.
#pragma once

namespace MCMath_930::internal {

/// The unevaluated sum head + tail, |tail| at most half a unit in the last place of head: about 32 digits. Infinities
/// and NaN make a NaN. Dekker (1971), Numerische Mathematik 18, 224-242.
struct DoubleDouble {
    double head = 0.0;
    double tail = 0.0;

    /// Rounded to a double.
    double Value() const { return head + tail; }
};

/// a + b without error (Knuth, The Art of Computer Programming 2, 4.2.2).
inline DoubleDouble ExactSum(double a, double b)
{
    const double sum = a + b;
    const double part = sum - a;
    return {sum, (a - (sum - part)) + (b - part)};
}

/// a + b without error when |a| >= |b| or a = 0 (Dekker 1971).
inline DoubleDouble ExactSumOrdered(double a, double b)
{
    const double sum = a + b;
    return {sum, b - (sum - a)};
}

/// a * b without error for |a|, |b| below 1e299 and a product above 1e-290 (Dekker 1971, Numerische Mathematik 18).
inline DoubleDouble ExactProduct(double a, double b)
{
    constexpr double kSplit = 134217729.0; // 2^27 + 1
    const double ca = kSplit * a;
    const double cb = kSplit * b;
    const double aHigh = ca - (ca - a);
    const double bHigh = cb - (cb - b);
    const double aLow = a - aHigh;
    const double bLow = b - bHigh;
    const double product = a * b;
    return {product, ((aHigh * bHigh - product) + aHigh * bLow + aLow * bHigh) + aLow * bLow};
}

/// The sum with an error relative to the operands: what is left when they cancel keeps 106 bits of them, not of itself.
inline DoubleDouble operator+(const DoubleDouble& a, const DoubleDouble& b)
{
    const DoubleDouble sum = ExactSum(a.head, b.head);
    return ExactSumOrdered(sum.head, sum.tail + (a.tail + b.tail));
}

/// The sum with an error relative to itself, whatever cancels; half as many operations again.
inline DoubleDouble AccurateSum(const DoubleDouble& a, const DoubleDouble& b)
{
    const DoubleDouble heads = ExactSum(a.head, b.head);
    const DoubleDouble tails = ExactSum(a.tail, b.tail);
    const DoubleDouble sum = ExactSumOrdered(heads.head, heads.tail + tails.head);
    return ExactSumOrdered(sum.head, sum.tail + tails.tail);
}

/// For long sums: AccurateSum.
inline DoubleDouble& operator+=(DoubleDouble& a, const DoubleDouble& b)
{
    return a = AccurateSum(a, b);
}

inline DoubleDouble operator-(const DoubleDouble& a)
{
    return {-a.head, -a.tail};
}

inline DoubleDouble operator-(const DoubleDouble& a, const DoubleDouble& b)
{
    return a + -b;
}

inline DoubleDouble operator*(double a, const DoubleDouble& b)
{
    const DoubleDouble product = ExactProduct(a, b.head);
    return ExactSumOrdered(product.head, product.tail + a * b.tail);
}

inline DoubleDouble operator*(const DoubleDouble& a, double b)
{
    return b * a;
}

inline DoubleDouble operator*(const DoubleDouble& a, const DoubleDouble& b)
{
    const DoubleDouble product = ExactProduct(a.head, b.head);
    return ExactSumOrdered(product.head, product.tail + (a.head * b.tail + a.tail * b.head));
}

inline DoubleDouble operator/(const DoubleDouble& a, const DoubleDouble& b)
{
    const double quotient = a.head / b.head;
    const DoubleDouble product = ExactProduct(quotient, b.head);
    const double remainder = ((a.head - product.head) - product.tail) + (a.tail - quotient * b.tail);
    return ExactSumOrdered(quotient, remainder / b.head);
}

} // namespace MCMath_930::internal
