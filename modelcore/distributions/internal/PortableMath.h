// Exponentials, logarithms and their kind for one double, from + - * / and square roots alone: a C library's own differ
// between libraries, and within one between processors, in the last digit. All arguments are served as IEEE 754 has it:
// infinities, zeros of both signs, numbers below the least normal one, NaN.
#pragma once

#include "modelcore/common/internal/DoubleDouble.h"
#include "modelcore/distributions/internal/AccurateLog.h"
#include "modelcore/distributions/internal/Elementary.h"

#include <cmath>
#include <limits>
#include <utility>

namespace MCMath_930::internal {

/// exp(x), within 0.8 units in the last place.
inline double PortableExp(double x)
{
    return Exp(x, 0.0);
}

/// exp(x) - 1, within 2 units in the last place.
inline double PortableExpMinusOne(double x)
{
    if (std::fabs(x) < 0x1p-54) return x;
    constexpr double kOneIsNothing = 40.0;
    return x < kOneIsNothing ? -ExpBoth(x, 0.0).complement : PortableExp(x);
}

/// ln x, within 1 unit in the last place.
inline double PortableLog(double x)
{
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    if (x >= std::numeric_limits<double>::min() && x < kInfinity) return Log(x);
    if (x == kInfinity || std::isnan(x)) return x;
    if (x > 0.0) return Log(x * 0x1p54) - 54.0 * (kLn2Head + kLn2Tail);
    return x == 0.0 ? -kInfinity : std::numeric_limits<double>::quiet_NaN();
}

/// ln(1 + x), within 1.5 units in the last place.
inline double PortableLogOnePlus(double x)
{
    if (std::fabs(x) < 0x1p-54) return x;
    return x > -1.0 && x < 0x1p1000 ? LogOnePlus(x) : PortableLog(1.0 + x);
}

/// The logarithm to base 2, exact for powers of 2, else within 2 units in the last place.
inline double PortableLog2(double x)
{
    constexpr double kPerLn2 = 1.4426950408889634;
    if (!(x >= std::numeric_limits<double>::min() && x < std::numeric_limits<double>::infinity()))
        return PortableLog(x) * kPerLn2;
    const Mantissa<double> split = SplitExponent(x);
    return split.exponent + Log(split.mantissa) * kPerLn2;
}

/// x^y for x >= 0, within 1 unit in the last place.
inline double PortablePower(double x, double y)
{
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    if (y == 0.0 || x == 1.0) return 1.0;
    if (!(x >= 0.0) || std::isnan(y)) return std::numeric_limits<double>::quiet_NaN();
    if (x == 0.0 || std::isinf(x)) return (x == 0.0) == (y > 0.0) ? 0.0 : kInfinity;
    if (std::isinf(y)) return (x > 1.0) == (y > 0.0) ? kInfinity : 0.0;
    const DoubleDouble log = AccurateLog({x});
    constexpr double kBeyond = 1e3;
    if (std::fabs(log.head * y) > kBeyond) return log.head * y > 0.0 ? kInfinity : 0.0;
    const DoubleDouble exponent = y * log;
    return Exp(exponent.head, exponent.tail);
}

/// arctan x, within 1 unit in the last place. The reduction and the series of the freely distributable library of Sun
/// Microsystems (1993).
inline double PortableArcTangent(double x)
{
    struct Centre {
        double from, head, tail; // from here on arctan is head + tail and that of what is left
    };
    static constexpr Centre kCentres[] = {{0.4375, 4.63647609000806093515e-01, 2.26987774529616870924e-17},
                                          {0.6875, 7.85398163397448278999e-01, 3.06161699786838301793e-17},
                                          {1.1875, 9.82793723247329054082e-01, 1.39033110312309984516e-17},
                                          {2.4375, 1.57079632679489655800e+00, 6.12323399573676603587e-17}};
    if (std::isnan(x)) return x;
    const double a = std::fabs(x);
    double rest = a;
    int centre = -1;
    if (a >= kCentres[3].from) {
        centre = 3;
        rest = -1.0 / a;
    } else if (a >= kCentres[2].from) {
        centre = 2;
        rest = (a - 1.5) / (1.0 + 1.5 * a);
    } else if (a >= kCentres[1].from) {
        centre = 1;
        rest = (a - 1.0) / (a + 1.0);
    } else if (a >= kCentres[0].from) {
        centre = 0;
        rest = (2.0 * a - 1.0) / (2.0 + a);
    }
    const double z = rest * rest;
    const double w = z * z;
    const double odd = z * (3.33333333333329318027e-01 +
                            w * (1.42857142725034663711e-01 +
                                 w * (9.09088713343650656196e-02 +
                                      w * (6.66107313738753120669e-02 +
                                           w * (4.97687799461593236017e-02 + w * 1.62858201153657823623e-02)))));
    const double even =
        w *
        (-1.99999999998764832476e-01 +
         w * (-1.11111104054623557880e-01 +
              w * (-7.69187620504482999495e-02 + w * (-5.83357013379057348645e-02 + w * -3.65315727442169155270e-02))));
    const double bend = rest * (odd + even);
    const double result = centre < 0 ? rest - bend : kCentres[centre].head - ((bend - kCentres[centre].tail) - rest);
    return std::copysign(result, x);
}

/// tan x for |x| <= 0.8, within 2 units in the last place: x and x times a part that is small beside it.
inline double PortableTangent(double x)
{
    const double z = x * x;
    // (sin x - x)/x and cos x - 1, Taylor's series to x^18, whose rest is below 2^-60
    const double sine =
        z * (-1.0 / 6.0 +
             z * (1.0 / 120.0 +
                  z * (-1.0 / 5040.0 +
                       z * (1.0 / 362880.0 + z * (-1.0 / 39916800.0 +
                                                  z * (1.0 / 6227020800.0 + z * (-1.0 / 1307674368000.0 +
                                                                                 z * (1.0 / 355687428096000.0))))))));
    const double cosine =
        z * (-1.0 / 2.0 +
             z * (1.0 / 24.0 +
                  z * (-1.0 / 720.0 +
                       z * (1.0 / 40320.0 +
                            z * (-1.0 / 3628800.0 + z * (1.0 / 479001600.0 + z * (-1.0 / 87178291200.0 +
                                                                                  z * (1.0 / 20922789888000.0))))))));
    return x + x * ((sine - cosine) / (1.0 + cosine));
}

/// The cube root, within 0.6 units in the last place: three steps of Halley's method from a straight line, then one of
/// Newton's with the cube that is left formed without error.
inline double PortableCubeRoot(double x)
{
    if (x == 0.0 || !std::isfinite(x)) return x;
    int exponent = 0;
    double m = std::frexp(std::fabs(x), &exponent);
    const int third = exponent >= 0 ? (exponent + 2) / 3 : -(-exponent / 3);
    m = std::ldexp(m, exponent - 3 * third); // in [1/8, 1)
    double root = 0.46 + 0.56 * m;
    for (int step = 0; step < 3; ++step) {
        const double cube = root * root * root;
        root *= (cube + 2.0 * m) / (2.0 * cube + m);
    }
    const DoubleDouble square = ExactProduct(root, root);
    const DoubleDouble cube = root * square;
    root -= ((cube.head - m) + cube.tail) / (3.0 * square.head);
    return std::copysign(std::ldexp(root, third), x);
}

/// sqrt(x^2 + y^2) without overflow or underflow in between, within 1.5 units in the last place; infinite when one of
/// them is.
inline double PortableHypotenuse(double x, double y)
{
    x = std::fabs(x);
    y = std::fabs(y);
    if (std::isinf(x) || std::isinf(y)) return std::numeric_limits<double>::infinity();
    if (x < y) std::swap(x, y);
    if (!(x > 0.0)) return x + y;
    int exponent = 0;
    std::frexp(x, &exponent);
    x = std::ldexp(x, -exponent);
    y = std::ldexp(y, -exponent);
    return std::ldexp(std::sqrt(x * x + y * y), exponent);
}

} // namespace MCMath_930::internal
