// The regularised incomplete gamma function: Pearson's series up to x = a, the continued fraction beyond.
#include "modelcore/distributions/internal/IncompleteGamma.h"

#include "modelcore/distributions/internal/AccurateLog.h"
#include "modelcore/distributions/internal/GammaPieces.h"
#include "modelcore/distributions/internal/GammaSums.h"
#include "modelcore/distributions/internal/NormalExpansion.h"
#include "modelcore/distributions/internal/PortableMath.h"

#include <cmath>
#include <limits>

namespace MCMath_930::internal {

namespace {

constexpr double kMaxExponent = 709.0;
constexpr double kMostSummed =
    1e100; // squares of shapes above may leave the range; outside one in 1e40 of the shape their
           // tails are 0 and 1

double DensityTimesX(const DoubleDouble& x, double a, double weight)
{
    constexpr double kFar = 1e290; // products with what lies beyond cannot be held as two doubles
    if (x.head > kFar) return x.head == a && x.tail == 0.0 ? weight : 0.0; // the neighbours of a are 1e270 away
    if (x.head <= kFar * a && kFar * a >= 1.0) return GammaDensityTimesXOf<double>(x, a, weight);
    const DoubleDouble deviance = (x - DoubleDouble{a}) - a * (AccurateLog(x) - AccurateLog({a}));
    return deviance.head > 708.0 ? 0.0 : weight * Exp(-deviance.head, -deviance.tail);
}

} // namespace

double GammaDensityTimesX(const DoubleDouble& x, double a)
{
    return DensityTimesX(x, a, GammaWeight(a));
}

GammaTails IncompleteGamma(const DoubleDouble& x, double a)
{
    return IncompleteGamma(x, GammaShape::Of(a), true);
}

GammaTails IncompleteGamma(const DoubleDouble& x, const GammaShape& shape, bool wantWeight)
{
    constexpr double kMaxTermEstimate = 2147483647.0;
    constexpr double kSurelySummed = 1e70; // points up to here need no logarithm to be known as not too large
    const double a = shape.a;
    const double point = x.head;
    const bool series = point <= 1.0 || point <= a;
    const bool small = a < 1.0 && point <= 1.0;
    GammaTails tails{0.0, 0.0, small && !wantWeight ? 0.0 : DensityTimesX(x, a, shape.weight), false};
    if (small) {
        const ExpValues<double> values = GammaOfSmallShape<double>(x, a, shape.logOnePlus);
        return {values.value, values.complement, tails.weight, true};
    }
    // The estimated number of terms can only come near the limit for extreme shapes.
    if (series && a > 1e6) {
        constexpr double kDigits = 32.236191301916637; // ln 1e14
        const double root = 2.0 * std::sqrt(-kDigits / PortableLog(point / (a + 1.0))) + 10.0;
        if (!(root * root < kMaxTermEstimate)) return tails;
    } else if (!series && point > kSurelySummed && 4.0 * PortableLog(point) >= kMaxExponent) {
        return tails;
    }
    double& near = series ? tails.lower : tails.upper;
    double& far = series ? tails.upper : tails.lower;
    if (tails.weight > 0.0 && a <= kMostSummed)
        near = series ? tails.weight * (GammaSeries(point, a) / a) : tails.weight * GammaFraction(point, a);
    if (near < kLeastGamma) near = 0.0;
    far = 1.0 - near;
    tails.reached = near <= 1.0; // false for NaN too
    return tails;
}

GammaTails IncompleteGammaNearZero(const DoubleDouble& logX, double a)
{
    if (a > 2.0) return {0.0, 1.0, 0.0, true};
    const double logScale = a <= 1.0 ? LogGammaOnePlus(a) : LogGamma(a) + PortableLog(a);
    const DoubleDouble exponent = a * logX - DoubleDouble{logScale};
    const double lower = Exp(exponent.head, exponent.tail);
    if (a > 1.0 && lower < kLeastGamma) return {0.0, 1.0, 0.0, true}; // as the series has it farther out
    return {lower, -PortableExpMinusOne(exponent.head) - exponent.tail * lower, a * lower, true};
}

GammaTails IncompleteGammaOrExpansion(const DoubleDouble& x, double a)
{
    constexpr double kLongSums = 1e5; // shapes above cost the sums more terms near the mode than the expansion has
    if (a > kLongSums) {
        const DoubleDouble relative = (x - DoubleDouble{a}) / DoubleDouble{a};
        const bool below = relative.head <= 0.0;
        if (std::fabs(relative.head) <= kSmallDeviation) {
            const DoubleDouble deviance = a * SmallDeviance(relative);
            const DoubleDouble exponent = DoubleDouble{-StirlingRemainder(a)} - deviance;
            if (exponent.head < -708.0) return {below ? 0.0 : 1.0, below ? 1.0 : 0.0, 0.0, true};
            const double scale = Exp(exponent.head, exponent.tail);
            // The beta distribution with one shape far beyond the other is the gamma distribution.
            const double near = NormalExpansion(below ? 1.0 : -1.0, a, deviance.head) * scale;
            const double weight = std::sqrt(a) * kInverseSqrtTwoPi * scale;
            return {below ? near : 1.0 - near, below ? 1.0 - near : near, weight, true};
        }
        if (a > kMostSummed) return {below ? 0.0 : 1.0, below ? 1.0 : 0.0, 0.0, true};
    }
    const GammaTails tails = IncompleteGamma(x, a);
    return tails.reached ? tails : GammaTails{1.0, 0.0, 0.0, true}; // x was too large for the fraction
}

} // namespace MCMath_930::internal
