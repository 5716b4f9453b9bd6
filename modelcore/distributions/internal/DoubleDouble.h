// Sums of two doubles, for the few places where a rounding error would be multiplied by a large exponent.
#pragma once

namespace MCMath_930::internal {

/// The unevaluated sum head + tail, |tail| at most half a unit in the last place of head: about 106 bits.
struct DoubleDouble {
    double head;
    double tail = 0.0;

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

inline DoubleDouble operator+(const DoubleDouble& a, const DoubleDouble& b)
{
    const DoubleDouble sum = ExactSum(a.head, b.head);
    return ExactSumOrdered(sum.head, sum.tail + (a.tail + b.tail));
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
