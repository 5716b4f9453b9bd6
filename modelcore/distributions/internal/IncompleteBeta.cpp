// The regularised incomplete beta function: a power series, a continued fraction and a normal-type expansion, each
// where it converges fast and without cancellation, over a weight x^a y^b / B(a, b) that is free of large rounding
// errors.
#include "modelcore/distributions/internal/IncompleteBeta.h"

#include "modelcore/distributions/internal/BetaSums.h"

#include <algorithm>
#include <cmath>

namespace MCMath_930::internal {

const ScaledNumber& BetaShapes::Weight()
{
    if (hasWeight) return weight;
    const ScaledNumber first = GammaWeight(a);
    const ScaledNumber second = GammaWeight(b);
    const ScaledNumber both = GammaWeight(a + b);
    const double product = first.factor * second.factor; // of tiny shapes it may be no double while the quotient is
    weight = {product > 1e-290
                  ? product / both.factor
                  : std::max(first.factor, second.factor) / both.factor * std::min(first.factor, second.factor),
              first.exponent + second.exponent - both.exponent};
    hasWeight = true;
    return weight;
}

double BetaShapes::SeriesScale(bool opposite)
{
    double& scale = opposite ? oppositeSeriesScale : seriesScale;
    bool& has = opposite ? hasOppositeSeriesScale : hasSeriesScale;
    if (!has) scale = opposite ? LogGammaRatio(a, b) - LogGammaOnePlus(b) : LogGammaRatio(b, a) - LogGammaOnePlus(a);
    has = true;
    return scale;
}

void BetaShapes::PrepareExpansion()
{
    if (hasExpansion) return;
    remainder = StirlingRemainder(a + b) - StirlingRemainder(a) - StirlingRemainder(b);
    below = MakeExpansionCoefficients((b - a) / (a + b), Spread2());
    above = below;
    for (int k = 1; k < kExpansionTerms; k += 2) above.term[k] = -below.term[k];
    hasExpansion = true;
}

namespace {

/// Both tails so near an end that x^a / (a B(a, b)) is all there is to the one there.
BetaTails TailsNearZero(const DoubleDouble& logX, double a, double b)
{
    const double logScale =
        a <= 1.0 ? LogGammaRatio(b, a) - LogGammaOnePlus(a) : LogGamma(a + b) - LogGamma(b) - LogGamma(a) - std::log(a);
    const DoubleDouble exponent = a * logX + DoubleDouble{logScale};
    const double lower = Exp(exponent.head, exponent.tail);
    return {lower, -std::expm1(exponent.head) - exponent.tail * lower, a * lower, true};
}

BetaTails Exchanged(const BetaTails& tails)
{
    return {tails.upper, tails.lower, tails.weight, tails.reached};
}

} // namespace

double BetaWeight(const UnitPoint& point, double a, double b)
{
    if (point.logX.head != 0.0) return TailsNearZero(point.logX, a, b).weight;
    if (point.logY.head != 0.0) return TailsNearZero(point.logY, b, a).weight;
    BetaShapes shapes{a, b};
    return BetaWeightOf<double>(shapes.Weight(), LocateBeta<double>({point.x, point.y, a, b}).deviance);
}

BetaTails IncompleteBeta(const UnitPoint& point, double a, double b, bool wantWeight)
{
    BetaShapes shapes{a, b};
    return IncompleteBeta(point, shapes, wantWeight);
}

BetaTails IncompleteBeta(const UnitPoint& point, BetaShapes& shapes, bool wantWeight)
{
    constexpr double kLeast = 1e-290;
    constexpr double kMost = 1e290;
    const double a = shapes.a;
    const double b = shapes.b;
    BetaTails tails{0.0, 0.0, 0.0, false};
    if (!(a >= kLeast) || !(b >= kLeast) || !(a <= kMost) || !(b <= kMost)) return tails;
    if (point.logX.head != 0.0) return TailsNearZero(point.logX, a, b);
    if (point.logY.head != 0.0) return Exchanged(TailsNearZero(point.logY, b, a));
    if (!(point.x.head > 0.0)) return {0.0, 1.0, 0.0, true};
    if (!(point.y.head > 0.0)) return {1.0, 0.0, 0.0, true};

    BetaSide<double> side{point.x, point.y, a, b};
    const bool serves = BetaSeriesServes(side.x.head, a, b);
    bool opposite = false;
    if (serves || BetaSeriesServes(side.y.head, b, a)) {
        opposite = !serves;
        if (opposite) side = {side.y, side.x, b, a};
        const ExpValues<double> values = BetaSeries<double>(side.x, side.a, side.b, shapes.SeriesScale(opposite));
        tails = {values.value, values.complement, 0.0, !std::isnan(values.value)};
        if (wantWeight) tails.weight = BetaWeightOf<double>(shapes.Weight(), LocateBeta(side).deviance);
    } else {
        BetaPosition<double> position = LocateBeta(side);
        if (position.distance.head < 0.0) {
            opposite = true;
            side = {side.y, side.x, b, a};
            position.distance = -position.distance;
        }
        // Beyond the reach of the expansion the fraction converges in a few steps.
        const bool expansion = ExpansionServes(shapes.Spread2(), position.deviance.head);
        if (wantWeight || !expansion) tails.weight = BetaWeightOf<double>(shapes.Weight(), position.deviance);
        if (expansion) {
            shapes.PrepareExpansion();
            tails.lower =
                BetaExpansion<double>(opposite ? shapes.above : shapes.below, shapes.remainder, position.deviance);
        } else if (tails.weight > 0.0) {
            tails.lower =
                tails.weight * BetaFraction(side.a, side.b, side.x.head, side.y.head, position.distance.Value());
        }
        tails.reached = !std::isnan(tails.lower);
        tails.upper = 1.0 - tails.lower;
    }
    return opposite ? Exchanged(tails) : tails;
}

} // namespace MCMath_930::internal
