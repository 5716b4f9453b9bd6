// The regularised incomplete gamma function: Pearson's series up to x = a, the continued fraction beyond.
#include "modelcore/distributions/internal/IncompleteGamma.h"

#include "modelcore/distributions/internal/AccurateLog.h"
#include "modelcore/distributions/internal/GammaPieces.h"
#include "modelcore/distributions/internal/NormalExpansion.h"

#include <cmath>
#include <limits>

namespace MCMath_930::internal {

namespace {

constexpr double kTolerance = 1e-14;
constexpr double kMaxExponent = 709.0;
constexpr double kLeastResult = 3.3e-308; // exp(-708): what is below counts as 0
constexpr int kMaxTerms = 200000;
constexpr double kMostSummed =
    1e100; // squares of shapes above may leave the range; outside one in 1e40 of the shape their
           // tails are 0 and 1

/// Sum of x^k / ((a+1)(a+2)...(a+k)) over k >= 0; NaN when it takes too long. Two terms share one division.
double Series(double x, double a)
{
    const double square = x * x;
    double term = 1.0;
    double sum = 1.0;
    double n = a;
    for (int k = 0; k < kMaxTerms; k += 2) {
        const double second = n + 2.0;
        const double inverse = 1.0 / ((n + 1.0) * second);
        const double first = term * (x * second * inverse);
        term *= square * inverse;
        sum += first + term;
        n = second;
        if (term <= kTolerance) return sum;
    }
    return std::numeric_limits<double>::quiet_NaN();
}

/// Q(a, x) / weight by the continued fraction 1/(x+1-a - 1(1-a)/(x+3-a - 2(2-a)/(x+5-a - ...))); NaN when it takes too
/// long.
double Fraction(double x, double a)
{
    constexpr double kLarge = 1.34e154;
    double shape = 1.0 - a;
    double linear = shape + x + 1.0;
    double numeratorOld = 1.0;
    double denominatorOld = x;
    double numerator = x + 1.0;
    double denominator = x * linear;
    for (int term = 1; term < kMaxTerms; ++term) {
        shape += 1.0;
        linear += 2.0;
        const double cross = shape * term;
        const double numeratorNew = linear * numerator - cross * numeratorOld;
        const double denominatorNew = linear * denominator - cross * denominatorOld;
        numeratorOld = numerator;
        denominatorOld = denominator;
        numerator = numeratorNew;
        denominator = denominatorNew;
        // The products overflow some terms before the convergents are rescaled, and infinity is within any part of
        // itself: only finite ones say that the fraction has converged.
        const double product = numerator * denominatorOld;
        const double change = std::fabs(product - numeratorOld * denominator);
        if (std::isfinite(product) && change <= 0.1 * kTolerance * std::fabs(product)) return numerator / denominator;
        if (std::fabs(numerator) >= kLarge || std::fabs(denominator) >= kLarge) {
            numeratorOld /= kLarge;
            denominatorOld /= kLarge;
            numerator /= kLarge;
            denominator /= kLarge;
        }
    }
    return std::numeric_limits<double>::quiet_NaN();
}

/// Both tails for a < 1 and x <= 1 from ln P = a ln x - ln Gamma(1 + a) + ln(1 + a * sum of (-x)^k / (k! (a + k))): for
/// small a the lower tail is nearly 1, and its logarithm keeps the digits of the upper one.
void SmallShape(const DoubleDouble& x, double a, GammaTails& tails)
{
    double term = 1.0;
    double sum = 0.0;
    for (int k = 1; k <= 30; ++k) { // at x = 1 the 20th term is below 1e-18
        term *= -x.head / k;
        sum += term / (a + k);
        if (std::fabs(term) < 1e-17 * std::fabs(sum)) break;
    }
    const DoubleDouble exponent = a * AccurateLog(x) + ExactSum(-LogGammaOnePlus(a), std::log1p(a * sum));
    tails.lower = std::exp(exponent.head) * (1.0 + exponent.tail);
    tails.upper = -std::expm1(exponent.head) - exponent.tail * tails.lower;
}

} // namespace

double GammaDensityTimesX(const DoubleDouble& x, double a)
{
    constexpr double kFar = 1e290; // products with what lies beyond cannot be held as two doubles
    const ScaledNumber scale = GammaWeight(a);
    if (x.head > kFar) return x.head == a && x.tail == 0.0 ? scale.factor : 0.0; // the neighbours of a are 1e270 away
    // The exponent is held in two doubles: one rounding of a ln x would cost a*ln x of them.
    const DoubleDouble excess = x - DoubleDouble{a};
    DoubleDouble deviance;
    if (x.head > kFar * a) {
        deviance = excess - a * (AccurateLog(x) - AccurateLog({a}));
    } else {
        const DoubleDouble relative = excess / DoubleDouble{a};
        deviance = std::fabs(relative.head) <= kSmallDeviation ? a * SmallDeviance(relative)
                                                               : excess - a * AccurateLog(x / DoubleDouble{a});
    }
    const DoubleDouble exponent = DoubleDouble{scale.exponent} - deviance;
    if (exponent.head < -708.0) return 0.0;
    return scale.factor * std::exp(exponent.head) * (1.0 + exponent.tail);
}

GammaTails IncompleteGamma(const DoubleDouble& x, double a)
{
    constexpr double kMaxTermEstimate = 2147483647.0;
    const double point = x.head;
    const bool series = point <= 1.0 || point <= a;
    GammaTails tails{0.0, 0.0, GammaDensityTimesX(x, a), false};
    if (a < 1.0 && point <= 1.0) {
        SmallShape(x, a, tails);
        tails.reached = true;
        return tails;
    }
    // The estimated number of terms can only come near the limit for extreme shapes.
    if (series && a > 1e6) {
        const double root = 2.0 * std::sqrt(-14.0 / std::log10(point / (a + 1.0))) + 10.0;
        if (!(root * root < kMaxTermEstimate)) return tails;
    } else if (!series && 4.0 * std::log(point) >= kMaxExponent) {
        return tails;
    }
    double& near = series ? tails.lower : tails.upper;
    double& far = series ? tails.upper : tails.lower;
    if (tails.weight > 0.0 && a <= kMostSummed)
        near = series ? tails.weight / a * Series(point, a) : tails.weight * Fraction(point, a);
    if (near < kLeastResult) near = 0.0;
    far = 1.0 - near;
    tails.reached = near <= 1.0; // false for NaN too
    return tails;
}

GammaTails IncompleteGammaNearZero(const DoubleDouble& logX, double a)
{
    if (a > 2.0) return {0.0, 1.0, 0.0, true};
    const double logScale = a <= 1.0 ? LogGammaOnePlus(a) : LogGamma(a) + std::log(a);
    const DoubleDouble exponent = a * logX - DoubleDouble{logScale};
    const double lower = std::exp(exponent.head) * (1.0 + exponent.tail);
    return {lower, -std::expm1(exponent.head) - exponent.tail * lower, a * lower, true};
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
            const double scale = std::exp(exponent.head) * (1.0 + exponent.tail);
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
