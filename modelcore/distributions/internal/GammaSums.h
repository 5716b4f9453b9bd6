// The sums behind the incomplete gamma function, for one point or several side by side (Elementary.h).
#pragma once

#include "modelcore/distributions/internal/AccurateLog.h"
#include "modelcore/distributions/internal/GammaPieces.h"

#include <limits>

namespace MCMath_930::internal {

inline constexpr double kGammaTolerance = 1e-14;
inline constexpr int kMostGammaTerms = 200000;
inline constexpr double kLeastGamma = 3.3e-308; // exp(-708): a tail below counts as 0

/// What the incomplete gamma function needs of its shape alone.
struct GammaShape {
    double a;
    double weight;     ///< GammaWeight(a)
    double logOnePlus; ///< ln Gamma(1 + a) for a < 1

    static GammaShape Of(double a) { return {a, GammaWeight(a), a < 1.0 ? LogGammaOnePlus(a) : 0.0}; }
};

/// x^a exp(-x) / Gamma(a) for x within 1e290 and within 1e290 a, a being at least 1e-290. The exponent is held in two
/// doubles: one rounding of a ln x would cost a*ln x of them.
template <class V>
inline V GammaDensityTimesXOf(const PairOf<V>& x, double a, double weight)
{
    const double inverse = 1.0 / a;
    const PairOf<V> rounded = ExactSum(x.head, V(-a));
    const PairOf<V> excess = ExactSumOrdered(rounded.head, rounded.tail + x.tail);
    const PairOf<V> deviance = DevianceOf<V>(excess, a, inverse, [&] { return Quotient<V>(x, a, inverse); });
    return Choose(deviance.head > 708.0, V(0.0), weight * Exp(-deviance.head, -deviance.tail));
}

/// Sum of x^k / ((a+1)(a+2)...(a+k)) over k >= 0; NaN when it takes too long. Four terms share one division.
template <class V>
inline V GammaSeries(V x, double a)
{
    const V cube = x * x * x;
    const V fourth = cube * x;
    V term = 1.0;
    V sum = 1.0;
    double n = a;
    for (int k = 0; k < kMostGammaTerms; k += 4) {
        const double second = n + 2.0;
        const double last = n + 4.0;
        const double lastTwo = (n + 3.0) * last;
        const double inverse = 1.0 / ((n + 1.0) * second * lastTwo);
        const V share = term * inverse;
        sum = sum + share * (x * lastTwo * (x + second) + cube * (x + last));
        term = share * fourth;
        n = last;
        const auto open = term > kGammaTolerance;
        if (!AnyOf(open)) return sum;
        term = Choose(open, term, V(0.0)); // where the sum is done nothing is added while others go on
    }
    return std::numeric_limits<double>::quiet_NaN();
}

/// Q(a, x) / weight by the continued fraction 1/(x+1-a - 1(1-a)/(x+3-a - 2(2-a)/(x+5-a - ...))); NaN when it takes too
/// long.
template <class V>
inline V GammaFraction(V x, double a)
{
    constexpr double kLarge = 1.34e154;
    constexpr double kMost = std::numeric_limits<double>::max();
    double shape = 1.0 - a;
    V linear = shape + x + 1.0;
    V numeratorOld = 1.0;
    V denominatorOld = x;
    V numerator = x + 1.0;
    V denominator = x * linear;
    V foundNumerator = 0.0;
    V foundDenominator = 1.0;
    auto open = x > 0.0;
    for (double term = 1.0; term < kMostGammaTerms; term += 2.0) {
        // Two steps a test.
        shape += 1.0;
        linear = linear + 2.0;
        const double first = shape * term;
        numeratorOld = linear * numerator - first * numeratorOld;
        denominatorOld = linear * denominator - first * denominatorOld;
        shape += 1.0;
        linear = linear + 2.0;
        const double second = shape * (term + 1.0);
        const V numeratorNew = linear * numeratorOld - second * numerator;
        const V denominatorNew = linear * denominatorOld - second * denominator;
        numerator = numeratorNew;
        denominator = denominatorNew;
        // The products overflow some terms before the convergents are rescaled, and infinity is within any part of
        // itself: only finite ones say that the fraction has converged.
        const V product = Magnitude(numerator * denominatorOld);
        const V change = Magnitude(numerator * denominatorOld - numeratorOld * denominator);
        const auto done = Both(open, Both(product <= kMost, change <= 0.1 * kGammaTolerance * product));
        if (AnyOf(done)) {
            foundNumerator = Choose(done, numerator, foundNumerator);
            foundDenominator = Choose(done, denominator, foundDenominator);
            open = Both(open, Not(done));
            if (!AnyOf(open)) return foundNumerator / foundDenominator;
        }
        const auto large = Not(Both(Magnitude(numerator) < kLarge, Magnitude(denominator) < kLarge));
        if (AnyOf(large)) {
            const V unit = Choose(large, V(kLarge), V(1.0));
            numeratorOld = numeratorOld / unit;
            denominatorOld = denominatorOld / unit;
            numerator = numerator / unit;
            denominator = denominator / unit;
        }
    }
    return std::numeric_limits<double>::quiet_NaN();
}

/// Both tails for a < 1 and x <= 1 from ln P = a ln x - ln Gamma(1 + a) + ln(1 + a * sum of (-x)^k / (k! (a + k))): for
/// small a the lower tail is nearly 1, and its logarithm keeps the digits of the upper one.
template <class V>
inline ExpValues<V> GammaOfSmallShape(const PairOf<V>& x, double a, double logOnePlus)
{
    V term = 1.0;
    V sum = 0.0;
    for (int k = 1; k <= 30; ++k) { // at x = 1 the 20th term is below 1e-18
        term = term * (-x.head * (1.0 / k));
        sum = sum + term * (1.0 / (a + k));
        const auto open = Magnitude(term) >= 1e-17 * Magnitude(sum);
        if (!AnyOf(open)) break;
        term = Choose(open, term, V(0.0));
    }
    const PairOf<V> exponent = a * AccurateLogOf<V>(x) + ExactSum(V(-logOnePlus), LogOnePlus(a * sum));
    return ExpBoth(exponent.head, exponent.tail);
}

} // namespace MCMath_930::internal
