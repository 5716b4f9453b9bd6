// The sums behind the incomplete beta function, for one point or several side by side (Elementary.h).
#pragma once

#include "modelcore/distributions/internal/AccurateLog.h"
#include "modelcore/distributions/internal/GammaPieces.h"
#include "modelcore/distributions/internal/NormalExpansion.h"

#include <limits>

namespace MCMath_930::internal {

inline constexpr double kBetaEpsilon = std::numeric_limits<double>::epsilon();

/// What the incomplete beta function needs of its shapes alone, computed when it is first asked for.
struct BetaShapes {
    double a, b;
    double weight{};               ///< w(a) w(b) / w(a + b), w being the GammaWeight
    double seriesScale{};          ///< 1/(a B(a, b)) for a = 1/2, and its logarithm for other a <= 1
    double oppositeSeriesScale{};  ///< the same with a and b exchanged, for b <= 1
    double remainder{};            ///< of Stirling's formula for a, b and a + b
    ExpansionCoefficients below{}; ///< for a point below the mean
    ExpansionCoefficients above{}; ///< the same with a and b exchanged
    bool hasWeight = false, hasSeriesScale = false, hasOppositeSeriesScale = false, hasExpansion = false;

    double Spread2() const { return a / (a + b) * b; }
    bool HasHalf() const { return a == 0.5 || b == 0.5; }
    double Weight();
    double SeriesScale(bool opposite);
    void PrepareExpansion();
};

/// The problem seen from the end of the interval that the computed tail belongs to.
template <class V>
struct BetaSide {
    PairOf<V> x, y;
    double a, b;
};

/// How far the point lies below the mean a/(a + b), and what that costs.
template <class V>
struct BetaPosition {
    PairOf<V> distance; ///< a*y - b*x = (a + b) (mean - x)
    PairOf<V> deviance; ///< a ln(mean/x) + b ln((1-mean)/y) >= 0
};

template <class V>
inline BetaPosition<V> LocateBeta(const BetaSide<V>& side)
{
    const PairOf<V> both = ExactSum(V(side.a), V(side.b));
    const PairOf<V> loose = LooseDifference<V>(LooseProduct<V>(side.a, side.y), LooseProduct<V>(side.b, side.x));
    const PairOf<V> distance = ExactSumOrdered(loose.head, loose.tail); // near the mean the heads may cancel
    const auto deviance = [&](const PairOf<V>& coordinate, double shape, const PairOf<V>& shift) {
        const double inverse = 1.0 / shape;
        return DevianceOf<V>(shift, shape, inverse,
                             [&] { return Quotient<V>(LooseProduct<V>(both, coordinate), shape, inverse); });
    };
    return {distance, LooseSum<V>(deviance(side.x, side.a, -distance), deviance(side.y, side.b, distance))};
}

/// x^a y^b / B(a, b) from its value at the mean.
template <class V>
inline V BetaWeightOf(double weight, const PairOf<V>& deviance)
{
    return weight * Exp(-deviance.head, -deviance.tail);
}

/// I_x(a, b) / weight by the even part of the continued fraction 8.17.22 of the NIST Digital Library of Mathematical
/// Functions, as in DiDonato and Morris (1992), ACM TOMS 18, 360-373, equation 9; x at most the mean. NaN when it does
/// not converge. Numerators and denominators run forward without a division that waits for another.
template <class V>
inline V BetaFraction(double a, double b, V x, V y, V distance)
{
    constexpr int kMaxTerms = 1000;
    constexpr double kLarge = 0x1p400;
    constexpr double kMost = std::numeric_limits<double>::max();
    const V step = 1.0 + y;
    const V start = distance + 1.0;
    V numeratorOld = 0.0;
    V denominatorOld = 1.0;
    V numerator = 1.0;
    double inverse = 1.0 / (a + 1.0);
    V denominator = a * inverse * start;
    V foundNumerator = std::numeric_limits<double>::quiet_NaN();
    V foundDenominator = 1.0;
    auto open = x > 0.0;
    for (double term = 1.0; term <= kMaxTerms; term += 2.0) {
        // Two steps a test.
        for (const double n : {term, term + 1.0}) {
            const double inverseOld = inverse;
            inverse = 1.0 / (a + 2.0 * n + 1.0);
            const V pull = (n * (b - n) * inverseOld) * x;
            const V alpha = ((a + n - 1.0) * inverseOld * (a + b + n - 1.0)) * x * pull;
            const V beta = (n + pull) + ((a + n) * inverse) * (start + n * step);
            const V numeratorNew = beta * numerator + alpha * numeratorOld;
            const V denominatorNew = beta * denominator + alpha * denominatorOld;
            numeratorOld = numerator;
            denominatorOld = denominator;
            numerator = numeratorNew;
            denominator = denominatorNew;
        }
        const V cross = numerator * denominatorOld;
        const V size = Magnitude(cross);
        // Infinity is within any part of itself: it would pass for converged.
        const auto stays = size <= kMost;
        const auto done =
            Both(Both(open, stays), Magnitude(cross - numeratorOld * denominator) <= 0.5 * kBetaEpsilon * size);
        if (AnyOf(done)) {
            foundNumerator = Choose(done, numerator, foundNumerator);
            foundDenominator = Choose(done, denominator, foundDenominator);
        }
        open = Both(Both(open, stays), Not(done));
        if (!AnyOf(open)) break;
        const auto large = denominator > kLarge;
        if (AnyOf(large)) {
            const V unit = Choose(large, V(1.0 / kLarge), V(1.0));
            numeratorOld = numeratorOld * unit;
            denominatorOld = denominatorOld * unit;
            numerator = numerator * unit;
            denominator = denominator * unit;
        }
    }
    return foundNumerator / foundDenominator;
}

/// Both tails for a <= 1 and small x, from
///   I_x(a, b) = x^a / (a B(a, b)) * (1 + a * sum over k >= 1 of (1-b)(2-b)...(k-b) / k! * x^k / (a + k)).
/// Its logarithm is small whenever I is near 1, so that the other tail follows without cancellation: a mass that sits
/// in the end point, as for a = 0.005, is the reason for this branch. NaN when the sum does not end.
template <class V>
inline ExpValues<V> BetaSeries(const PairOf<V>& x, double a, double b, double logScale)
{
    constexpr int kMaxTerms = 200;
    V term = 1.0;
    V sum = 0.0;
    bool ends = false;
    for (int k = 1; k <= kMaxTerms && !ends; ++k) {
        term = term * (((k - b) * (1.0 / k)) * x.head);
        const V added = term * (1.0 / (a + k));
        sum = sum + added;
        const auto open = Magnitude(added) > 0.25 * kBetaEpsilon * Magnitude(sum);
        ends = !AnyOf(open);
        term = Choose(open, term, V(0.0));
    }
    if (!ends) return {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::quiet_NaN()};
    const PairOf<V> exponent = a * AccurateLogOf<V>(x) + ExactSum(V(logScale), LogOnePlus(a * sum));
    return ExpBoth(exponent.head, exponent.tail);
}

/// 1/k, and 1/(k + 1/2).
inline constexpr int kMostHalfTerms = 80;
struct Reciprocals {
    double whole[kMostHalfTerms + 1], half[kMostHalfTerms + 1];
};
constexpr Reciprocals MakeReciprocals()
{
    Reciprocals made{};
    for (int k = 1; k <= kMostHalfTerms; ++k) {
        made.whole[k] = 1.0 / k;
        made.half[k] = 1.0 / (k + 0.5);
    }
    return made;
}
inline constexpr Reciprocals kReciprocals = MakeReciprocals();

/// The same for a = 1/2, Student's t near its centre, where BetaSeriesServes: I is at most 0.92 then, and the other
/// tail may be what it leaves. No logarithm is needed, and no power but a root. 35 terms are the most.
template <class V>
inline ExpValues<V> BetaHalfSeries(V x, double b, double scale)
{
    constexpr double kNegligible = 0.1 * kBetaEpsilon;
    V term = 0.5;
    V sum = 1.0;
    for (int k = 1; k < kMostHalfTerms; k += 2) {
        const V first = term * (((k - b) * kReciprocals.whole[k]) * x);
        term = first * (((k + 1 - b) * kReciprocals.whole[k + 1]) * x);
        const V added = term * kReciprocals.half[k + 1];
        sum = sum + (first * kReciprocals.half[k] + added);
        const auto open = Magnitude(added) > kNegligible;
        if (!AnyOf(open)) break;
        term = Choose(open, term, V(0.0));
    }
    const V value = scale * SquareRoot(x) * sum;
    return {value, 1.0 - value};
}

/// The point t^2/(df + t^2) for the series above, with the roundings of a double.
template <class V>
inline V StudentCentre(V t, double df)
{
    const V part = t * t;
    return part / (df + part);
}

/// a*y - b*x where a or b is 1/2: beyond the series it is not small beside both products.
template <class V>
inline V HalfBetaDistance(const BetaSide<V>& side)
{
    return side.a * side.y.head - side.b * side.x.head;
}

/// x^a y^b / B(a, b) where a or b is 1/2, and the series scale for that one is known: one logarithm is enough.
template <class V>
inline V HalfBetaWeight(const BetaSide<V>& side, const BetaShapes& shapes)
{
    const bool second = side.b == 0.5;
    const PairOf<V> x = second ? side.x : side.y;
    const PairOf<V> y = second ? side.y : side.x;
    const double a = second ? side.a : side.b;
    const double halfStep = second ? shapes.oppositeSeriesScale : shapes.seriesScale;
    // ln x = ln(1 - y), of which the digits that are y itself are kept for any a.
    const auto near = y.head <= kSmallDeviation;
    PairOf<V> log = y;
    if (AnyOf(near)) {
        const PairOf<V> rest = SmallDevianceOf<V>(-y, -y);
        log = -(y + rest);
    }
    if (AnyOf(Not(near))) log = ChoosePair(near, log, AccurateLogOf<V>(x));
    const PairOf<V> exponent = LooseProduct<V>(a, log);
    return 0.5 * halfStep * SquareRoot(y.head) * Exp(exponent.head, exponent.tail);
}

/// The lower tail for large a and b: the density in u = ln(t/(1-t)) has delta = (b-a)/(a+b), spread^2 = ab/(a+b).
template <class V>
inline V BetaExpansion(const ExpansionCoefficients& coefficients, double remainder, const PairOf<V>& deviance)
{
    const PairOf<V> exponent = PairOf<V>{V(remainder), V(0.0)} - deviance;
    return ExpansionSum(coefficients, deviance.head + deviance.tail) * Exp(exponent.head, exponent.tail);
}

inline bool BetaSeriesServes(double x, double a, double b)
{
    return a <= 1.0 && x <= 0.3 && b * x <= 1.5;
}

} // namespace MCMath_930::internal
