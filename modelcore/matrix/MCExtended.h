// Numbers with twice the digits of a double.
#pragma once

#include <cmath>

namespace MCMath_930 {

/// A number as the exact sum high + low of two doubles, |low| at most half a unit in the last place of high: about 32
/// digits. The operations are those of Dekker (1971), Numerische Mathematik 18, 224-242, and Knuth, TAOCP vol. 2, 4.2.2;
/// sums are in error by at most 2^-104 of the result, products and quotients by 2^-102, while nothing overflows and no
/// product of high parts comes below 1e-291, where its rest underflows. Infinities and NaN make a NaN.
struct MCExtended {
    double high = 0.0; ///< the number rounded to a double
    double low = 0.0;  ///< what the rounding left
};

/// a + b exactly.
inline MCExtended ExactSum(double a, double b)
{
    const double sum = a + b;
    const double part = sum - a;
    return {sum, (a - (sum - part)) + (b - part)};
}

/// a * b, rounded before anything is added to it. Compilers fuse a product and a sum by default where the processor can,
/// and a caller's code is not compiled with the flags of the library: this keeps the bits the same in both. Only clang
/// with contraction set to fast takes the liberty all the same.
inline double RoundedProduct(double a, double b)
{
#if defined(__clang__)
#pragma clang fp contract(off)
    return a * b;
#elif defined(__FP_FAST_FMA)
    return std::fma(a, b, -0.0); // which the compiler leaves as it is
#else
    return a * b;
#endif
}

namespace internal {

/// a * b - product, the product being the rounded one.
inline double ProductRest(double a, double b, double product)
{
#if defined(__MINGW32__) && !defined(__FP_FAST_FMA)
    // The fma of mingw-w64 goes through long double and rounds twice: one rest in sixteen is wrong. This is Dekker's
    // product by Veltkamp's halves, of the fractions, so that nothing overflows.
    int exponentA = 0, exponentB = 0;
    const double x = std::frexp(a, &exponentA), y = std::frexp(b, &exponentB), rounded = x * y;
    const double bigX = 134217729.0 * x, highX = bigX - (bigX - x), lowX = x - highX;
    const double bigY = 134217729.0 * y, highY = bigY - (bigY - y), lowY = y - highY;
    const double rest = ((highX * highY - rounded) + highX * lowY + lowX * highY) + lowX * lowY;
    return std::ldexp((rounded - std::ldexp(product, -exponentA - exponentB)) + rest, exponentA + exponentB);
#else
    return std::fma(a, b, -product);
#endif
}

} // namespace internal

/// a * b exactly, unless it underflows.
inline MCExtended ExactProduct(double a, double b)
{
    const double product = RoundedProduct(a, b);
    return {product, internal::ProductRest(a, b, product)};
}

inline MCExtended operator+(MCExtended a, MCExtended b)
{
    const MCExtended high = ExactSum(a.high, b.high);
    const MCExtended low = ExactSum(a.low, b.low);
    const MCExtended sum = ExactSum(high.high, high.low + low.high);
    return ExactSum(sum.high, sum.low + low.low);
}

inline MCExtended operator-(MCExtended a)
{
    return {-a.high, -a.low};
}

inline MCExtended operator-(MCExtended a, MCExtended b)
{
    return a + -b;
}

inline MCExtended operator*(MCExtended a, MCExtended b)
{
    const MCExtended product = ExactProduct(a.high, b.high);
    return ExactSum(product.high, product.low + (RoundedProduct(a.high, b.low) + RoundedProduct(a.low, b.high)));
}

inline MCExtended operator*(MCExtended a, double b)
{
    const MCExtended product = ExactProduct(a.high, b);
    return ExactSum(product.high, product.low + RoundedProduct(a.low, b));
}

inline MCExtended& operator+=(MCExtended& a, MCExtended b)
{
    return a = a + b;
}

/// By long division, three digits of 53 bits.
inline MCExtended operator/(MCExtended a, MCExtended b)
{
    const double first = a.high / b.high;
    const MCExtended rest = a - MCExtended{first} * b;
    const double second = rest.high / b.high;
    const double third = (rest - MCExtended{second} * b).high / b.high;
    return ExactSum(first, second) + MCExtended{third};
}

/// The square root of what is not negative; 0 otherwise.
inline MCExtended Sqrt(MCExtended a)
{
    if (!(a.high > 0.0)) return {};
    const double root = std::sqrt(a.high);
    const MCExtended rest = a - ExactProduct(root, root);
    return ExactSum(root, rest.high / (2.0 * root));
}

} // namespace MCMath_930
