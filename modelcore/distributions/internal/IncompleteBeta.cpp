// The regularised incomplete beta function: a power series, a continued fraction and a normal-type expansion, each
// where it converges fast and without cancellation, over a weight x^a y^b / B(a, b) that is free of large rounding
// errors.
#include "modelcore/distributions/internal/IncompleteBeta.h"

#include "modelcore/distributions/internal/BetaSums.h"
#include "modelcore/distributions/internal/PortableMath.h"

#include <algorithm>
#include <cmath>

namespace MCMath_930::internal {

double BetaShapes::Weight()
{
    if (hasWeight) return weight;
    const double first = GammaWeight(a);
    const double second = GammaWeight(b);
    const double both = GammaWeight(a + b);
    const double product = first * second; // of tiny shapes it may be no double while the quotient is
    weight = product > 1e-290 ? product / both : std::max(first, second) / both * std::min(first, second);
    hasWeight = true;
    return weight;
}

double BetaShapes::SeriesScale(bool opposite)
{
    double& scale = opposite ? oppositeSeriesScale : seriesScale;
    bool& has = opposite ? hasOppositeSeriesScale : hasSeriesScale;
    const double near = opposite ? b : a;
    const double far = opposite ? a : b;
    if (!has) scale = near == 0.5 ? HalfStep(far) : LogGammaRatio(far, near) - LogGammaOnePlus(near);
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
    const double logScale = a <= 1.0 ? LogGammaRatio(b, a) - LogGammaOnePlus(a)
                                     : LogGamma(a + b) - LogGamma(b) - LogGamma(a) - PortableLog(a);
    const DoubleDouble exponent = a * logX + DoubleDouble{logScale};
    const double lower = Exp(exponent.head, exponent.tail);
    return {lower, -PortableExpMinusOne(exponent.head) - exponent.tail * lower, a * lower, true};
}

BetaTails Exchanged(const BetaTails& tails)
{
    return {tails.upper, tails.lower, tails.weight, tails.reached};
}

/// What BetaHalfSeries gives, with the weight when that is wanted; y^b is not small there.
BetaTails TailsOfHalf(double x, double b, double scale, bool wantWeight)
{
    const ExpValues<double> values = BetaHalfSeries(x, b, scale);
    const double weight = wantWeight ? 0.5 * scale * std::sqrt(x) * PortableExp(b * PortableLogOnePlus(-x)) : 0.0;
    return {values.value, values.complement, weight, true};
}

} // namespace

double BetaWeight(const UnitPoint& point, double a, double b)
{
    if (point.logX.head != 0.0) return TailsNearZero(point.logX, a, b).weight;
    if (point.logY.head != 0.0) return TailsNearZero(point.logY, b, a).weight;
    BetaShapes shapes{a, b};
    return BetaWeightOf<double>(shapes.Weight(), LocateBeta<double>({point.x, point.y, a, b}).deviance);
}

bool StudentNearCentre(double t, double df, BetaShapes& shapes, bool wantWeight, BetaTails& tails)
{
    if (!(t > kLeastStudent) || !(t < 1.0 / kLeastStudent) || !(df >= kLeastStudentDf) || !(df <= kMostStudentDf))
        return false;
    const double y = StudentCentre(t, df);
    if (!BetaSeriesServes(y, shapes.b, shapes.a)) return false;
    tails = Exchanged(TailsOfHalf(y, shapes.a, shapes.SeriesScale(true), wantWeight));
    return true;
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
        const double scale = shapes.SeriesScale(opposite);
        if (side.a == 0.5) {
            tails = TailsOfHalf(side.x.head, side.b, scale, wantWeight);
        } else {
            const ExpValues<double> values = BetaSeries<double>(side.x, side.a, side.b, scale);
            tails = {values.value, values.complement, 0.0, !std::isnan(values.value)};
            if (wantWeight) tails.weight = BetaWeightOf<double>(shapes.Weight(), LocateBeta(side).deviance);
        }
    } else if (shapes.HasHalf()) {
        shapes.SeriesScale(b == 0.5);
        tails.weight = HalfBetaWeight(side, shapes);
        double distance = HalfBetaDistance(side);
        opposite = distance < 0.0;
        if (opposite) {
            side = {side.y, side.x, b, a};
            distance = -distance;
        }
        if (tails.weight > 0.0)
            tails.lower = tails.weight * BetaFraction(side.a, side.b, side.x.head, side.y.head, distance);
        tails.reached = !std::isnan(tails.lower);
        tails.upper = 1.0 - tails.lower;
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
