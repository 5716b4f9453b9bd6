// The regularised incomplete beta function: a power series, a continued fraction and a normal-type expansion, each
// where it converges fast and without cancellation, over a weight x^a y^b / B(a, b) that is free of large rounding
// errors.
#include "modelcore/distributions/internal/IncompleteBeta.h"

#include "modelcore/distributions/internal/AccurateLog.h"
#include "modelcore/distributions/internal/GammaPieces.h"
#include "modelcore/distributions/internal/NormalExpansion.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace MCMath_930::internal {

namespace {

constexpr double kEpsilon = std::numeric_limits<double>::epsilon();

// exp of anything below is 0.
constexpr double kLeastExponent = -746.0;

double Exp(const DoubleDouble& exponent)
{
    if (exponent.head < kLeastExponent) return 0.0;
    return std::exp(exponent.head) * (1.0 + exponent.tail);
}

/// The problem seen from the end of the interval that the computed tail belongs to.
struct Side {
    DoubleDouble x, y;
    double a, b;

    Side Opposite() const { return {y, x, b, a}; }
};

/// How far the point lies below the mean a/(a + b), and what that costs.
struct Position {
    DoubleDouble distance; ///< a*y - b*x = (a + b) (mean - x)
    DoubleDouble deviance; ///< a ln(mean/x) + b ln((1-mean)/y) >= 0
};

Position Locate(const Side& side)
{
    const DoubleDouble distance = side.a * side.y - side.b * side.x;
    const auto part = [&](const DoubleDouble& coordinate, double shape, const DoubleDouble& shift) {
        const DoubleDouble t = shift / DoubleDouble{shape};
        if (std::fabs(t.head) <= kSmallDeviation) return shape * SmallDeviance(t);
        const DoubleDouble ratio = ExactSum(side.a, side.b) * coordinate / DoubleDouble{shape};
        return shift - shape * AccurateLog(ratio);
    };
    return {distance, part(side.x, side.a, -distance) + part(side.y, side.b, distance)};
}

/// x^a y^b / B(a, b) = w(a) w(b) / w(a + b) * exp(-deviance) with w the GammaWeight.
double Weight(const Side& side, const Position& position)
{
    const ScaledNumber a = GammaWeight(side.a);
    const ScaledNumber b = GammaWeight(side.b);
    const ScaledNumber both = GammaWeight(side.a + side.b);
    const DoubleDouble exponent = DoubleDouble{a.exponent + b.exponent - both.exponent} - position.deviance;
    const double product = a.factor * b.factor; // of tiny shapes it may be no double while the quotient is
    const double factor = product > 1e-290 ? product / both.factor
                                           : std::max(a.factor, b.factor) / both.factor * std::min(a.factor, b.factor);
    return factor * Exp(exponent);
}

/// I_x(a, b) / weight by the even part of the continued fraction 8.17.22 of the NIST Digital Library of Mathematical
/// Functions, as in DiDonato and Morris (1992), ACM TOMS 18, 360-373, equation 9; x at most the mean. NaN when it does
/// not converge. Numerators and denominators run forward without a division that waits for another.
double ContinuedFraction(const Side& side, double distance)
{
    constexpr int kMaxTerms = 1000;
    constexpr double kLarge = 0x1p400;
    const double a = side.a;
    const double b = side.b;
    const double x = side.x.head;
    const double step = 1.0 + side.y.head;
    double numeratorOld = 0.0;
    double denominatorOld = 1.0;
    double numerator = 1.0;
    double inverse = 1.0 / (a + 1.0);
    double denominator = a * inverse * (distance + 1.0);
    double inverseOld = inverse;
    for (int term = 1; term <= kMaxTerms; ++term) {
        const double n = term;
        inverseOld = inverse;
        inverse = 1.0 / (a + 2.0 * n + 1.0);
        const double pull = n * (b - n) * x * inverseOld;
        const double alpha = (a + n - 1.0) * inverseOld * ((a + b + n - 1.0) * x) * pull;
        const double beta = n + pull + (a + n) * inverse * (distance + 1.0 + n * step);
        const double numeratorNew = beta * numerator + alpha * numeratorOld;
        const double denominatorNew = beta * denominator + alpha * denominatorOld;
        numeratorOld = numerator;
        denominatorOld = denominator;
        numerator = numeratorNew;
        denominator = denominatorNew;
        const double cross = numerator * denominatorOld;
        if (!std::isfinite(cross)) break; // infinity is within any part of itself: it would pass for converged
        if (std::fabs(cross - numeratorOld * denominator) <= 0.5 * kEpsilon * std::fabs(cross))
            return numerator / denominator;
        if (denominator > kLarge) {
            numeratorOld /= kLarge;
            denominatorOld /= kLarge;
            numerator /= kLarge;
            denominator /= kLarge;
        }
    }
    return std::numeric_limits<double>::quiet_NaN();
}

/// Both tails for a <= 1 and small x, from
///   I_x(a, b) = x^a / (a B(a, b)) * (1 + a * sum over k >= 1 of (1-b)(2-b)...(k-b) / k! * x^k / (a + k)).
/// Its logarithm is small whenever I is near 1, so that the other tail follows without cancellation: a mass that sits
/// in the end point, as for a = 0.005, is the reason for this branch.
bool PowerSeries(const Side& side, double& lower, double& upper)
{
    constexpr int kMaxTerms = 200;
    const double a = side.a;
    const double b = side.b;
    const double x = side.x.head;
    double term = 1.0;
    double sum = 0.0;
    for (int k = 1; k <= kMaxTerms; ++k) {
        term *= (k - b) / k * x;
        const double added = term / (a + k);
        sum += added;
        if (std::fabs(added) > 0.25 * kEpsilon * std::fabs(sum)) continue;

        const double logScale = LogGammaRatio(b, a) - LogGammaOnePlus(a);
        const double correction = std::log1p(a * sum);
        const DoubleDouble exponent = a * AccurateLog(side.x) + ExactSum(logScale, correction);
        lower = Exp(exponent);
        upper = -std::expm1(exponent.head) - exponent.tail * lower;
        return true;
    }
    return false;
}

/// The lower tail for large a and b: the density in u = ln(t/(1-t)) has delta = (b-a)/(a+b), spread^2 = ab/(a+b).
double LargeShapes(const Side& side, const Position& position, double spread2)
{
    const double both = side.a + side.b;
    const double sum = NormalExpansion((side.b - side.a) / both, spread2, position.deviance.head);
    const double remainder = StirlingRemainder(both) - StirlingRemainder(side.a) - StirlingRemainder(side.b);
    return sum * Exp(DoubleDouble{remainder} - position.deviance);
}

bool SeriesServes(const Side& side)
{
    return side.a <= 1.0 && side.x.head <= 0.3 && side.b * side.x.head <= 1.5;
}

} // namespace

namespace {

/// Both tails so near an end that x^a / (a B(a, b)) is all there is to the one there.
BetaTails TailsNearZero(const DoubleDouble& logX, double a, double b)
{
    const double logScale =
        a <= 1.0 ? LogGammaRatio(b, a) - LogGammaOnePlus(a) : LogGamma(a + b) - LogGamma(b) - LogGamma(a) - std::log(a);
    const DoubleDouble exponent = a * logX + DoubleDouble{logScale};
    const double lower = Exp(exponent);
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
    const Side side{point.x, point.y, a, b};
    return Weight(side, Locate(side));
}

BetaTails IncompleteBeta(const UnitPoint& point, double a, double b, bool wantWeight)
{
    constexpr double kLeast = 1e-290;
    constexpr double kMost = 1e290;
    BetaTails tails{0.0, 0.0, 0.0, false};
    if (!(a >= kLeast) || !(b >= kLeast) || !(a <= kMost) || !(b <= kMost)) return tails;
    if (point.logX.head != 0.0) return TailsNearZero(point.logX, a, b);
    if (point.logY.head != 0.0) return Exchanged(TailsNearZero(point.logY, b, a));
    if (!(point.x.head > 0.0)) return {0.0, 1.0, 0.0, true};
    if (!(point.y.head > 0.0)) return {1.0, 0.0, 0.0, true};

    Side side{point.x, point.y, a, b};
    bool opposite = false;
    if (SeriesServes(side) || SeriesServes(side.Opposite())) {
        opposite = !SeriesServes(side);
        if (opposite) side = side.Opposite();
        tails.reached = PowerSeries(side, tails.lower, tails.upper);
        if (wantWeight) tails.weight = Weight(side, Locate(side));
    } else {
        Position position = Locate(side);
        if (position.distance.head < 0.0) {
            opposite = true;
            side = side.Opposite();
            position.distance = -position.distance;
        }
        // Beyond the reach of the expansion the fraction converges in a few steps.
        const double spread2 = a / (a + b) * b;
        if (ExpansionServes(spread2, position.deviance.head)) {
            tails.lower = LargeShapes(side, position, spread2);
            if (wantWeight) tails.weight = Weight(side, position);
        } else {
            tails.weight = Weight(side, position);
            tails.lower = tails.weight > 0.0 ? tails.weight * ContinuedFraction(side, position.distance.Value()) : 0.0;
        }
        tails.reached = !std::isnan(tails.lower);
        tails.upper = 1.0 - tails.lower;
    }
    return opposite ? Exchanged(tails) : tails;
}

} // namespace MCMath_930::internal
