// Sums with twice the digits of a double, for the residual pass.
#pragma once

#include <cmath>

namespace procedure {

/// A number as the exact sum high + low of two doubles, |low| at most half a unit in the last place of high: about 32
/// digits. Dekker (1971), Numerische Mathematik 18, 224-242; Knuth, TAOCP vol. 2, 4.2.2. Infinities and NaN make a NaN.
struct DoubleDouble {
    double high = 0.0;
    double low = 0.0;

    double Rounded() const { return high; }
};

/// a + b exactly.
inline DoubleDouble ExactSum(double a, double b)
{
    const double sum = a + b;
    const double part = sum - a;
    return {sum, (a - (sum - part)) + (b - part)};
}

/// a * b exactly, unless it underflows.
inline DoubleDouble ExactProduct(double a, double b)
{
    const double product = a * b;
    return {product, std::fma(a, b, -product)};
}

inline DoubleDouble operator+(DoubleDouble a, DoubleDouble b)
{
    const DoubleDouble high = ExactSum(a.high, b.high);
    const DoubleDouble low = ExactSum(a.low, b.low);
    const DoubleDouble sum = ExactSum(high.high, high.low + low.high);
    return ExactSum(sum.high, sum.low + low.low);
}

inline DoubleDouble operator-(DoubleDouble a)
{
    return {-a.high, -a.low};
}

inline DoubleDouble operator-(DoubleDouble a, DoubleDouble b)
{
    return a + -b;
}

inline DoubleDouble operator*(DoubleDouble a, double b)
{
    const DoubleDouble product = ExactProduct(a.high, b);
    return ExactSum(product.high, product.low + a.low * b);
}

inline DoubleDouble operator*(DoubleDouble a, DoubleDouble b)
{
    const DoubleDouble product = ExactProduct(a.high, b.high);
    return ExactSum(product.high, product.low + (a.high * b.low + a.low * b.high));
}

inline DoubleDouble& operator+=(DoubleDouble& a, DoubleDouble b)
{
    return a = a + b;
}

} // namespace procedure
