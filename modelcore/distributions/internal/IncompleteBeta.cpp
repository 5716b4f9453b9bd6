// The regularised incomplete beta function: a power series, a continued fraction and a normal-type expansion, each
// where it converges fast and without cancellation, over a weight x^a y^b / B(a, b) that is free of large rounding
// errors.
#include "modelcore/distributions/internal/IncompleteBeta.h"

#include "modelcore/distributions/internal/AccurateLog.h"
#include "modelcore/distributions/internal/GammaPieces.h"
#include "modelcore/distributions/internal/Normal.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <utility>

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
    return a.factor * b.factor / both.factor * Exp(exponent);
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

constexpr std::size_t kExpansionTerms = 17;

/// d_k of the expansion below as polynomials in delta: entry [k][i] is the coefficient of delta^i, 0 unless k - i is
/// even.
using ExpansionTable = std::array<std::array<double, kExpansionTerms>, kExpansionTerms>;

/// With v = du/dzeta = sum of d_k zeta^k the differential equation  v - zeta v' = v^3 + delta zeta v^2 - kappa zeta^2
/// v, kappa = (1 - delta^2)/4, gives each d_k from those before it.
constexpr ExpansionTable MakeExpansionTable()
{
    using Row = std::array<double, kExpansionTerms>; // coefficients of delta^0, delta^1, ...
    const auto addProduct = [](Row& sum, const Row& p, const Row& q, std::size_t degree) {
        for (std::size_t i = 0; i <= degree; ++i) {
            // Every second coefficient is 0; stepping over them also halves what the compiler has to count.
            if (p[i] == 0.0) continue;
            for (std::size_t j = 0; i + j <= degree; ++j) sum[i + j] += p[i] * q[j];
        }
    };
    ExpansionTable d{};
    ExpansionTable square{}; // coefficients of v^2
    d[0][0] = 1.0;
    square[0][0] = 1.0;
    for (std::size_t k = 1; k < kExpansionTerms; ++k) {
        Row rest{};
        for (std::size_t i = 1; i < k; ++i) { // the coefficient of v^3 without its 3 d_k
            addProduct(rest, d[i], d[k - i], k);
            addProduct(rest, d[i], square[k - i], k);
        }
        for (std::size_t i = 0; i < k; ++i) rest[i + 1] += square[k - 1][i];
        if (k >= 2) {
            for (std::size_t i = 0; i <= k; ++i) rest[i] -= 0.25 * d[k - 2][i];
            for (std::size_t i = 0; i + 2 <= k; ++i) rest[i + 2] += 0.25 * d[k - 2][i];
        }
        for (std::size_t i = 0; i <= k; ++i) d[k][i] = -rest[i] / static_cast<double>(k + 2);
        for (std::size_t i = 0; i <= k; ++i) addProduct(square[k], d[i], d[k - i], k);
    }
    return d;
}

constexpr ExpansionTable kExpansion = MakeExpansionTable();

/// The lower tail for large a and b. In u = ln(t/(1-t)) the density is exp(-spread^2 zeta^2 / 2) with zeta a smooth
/// function of u, spread^2 = ab/(a+b); du/dzeta = sum of d_k zeta^k, and the incomplete normal moments of zeta^k follow
/// from each other (the expansion of DiDonato and Morris 1992, section 7, there called BASYM, in coefficients that
/// depend on delta = (b-a)/(a+b) alone). Every moment is formed by additions of positive numbers.
double NormalExpansion(const Side& side, const Position& position, double spread2)
{
    const double both = side.a + side.b;
    const double delta = (side.b - side.a) / both;
    const double delta2 = delta * delta;
    const double inverse = 1.0 / std::sqrt(spread2);
    const double half = std::max(position.deviance.head, 0.0);
    const double z = std::sqrt(2.0 * half);

    double even = 0.5 * ScaledErfc(std::sqrt(half)); // moments of |zeta|^k over exp(-deviance), k even and odd
    double odd = kInverseSqrtTwoPi;
    double power = z * kInverseSqrtTwoPi;
    double scale = 1.0;
    double sum = even;
    for (std::size_t k = 1; k < kExpansionTerms; ++k) {
        scale *= -inverse;
        double& moment = k % 2 == 0 ? even : odd;
        if (k >= 2) {
            moment = static_cast<double>(k - 1) * moment + power;
            power *= z;
        }
        double coefficient = kExpansion[k][k];
        for (std::size_t i = k; i >= 2; i -= 2) coefficient = coefficient * delta2 + kExpansion[k][i - 2];
        if (k % 2 == 1) coefficient *= delta;
        sum += coefficient * scale * moment;
    }
    const double remainder = StirlingRemainder(both) - StirlingRemainder(side.a) - StirlingRemainder(side.b);
    return sum * Exp(DoubleDouble{remainder} - position.deviance);
}

bool SeriesServes(const Side& side)
{
    return side.a <= 1.0 && side.x.head <= 0.3 && side.b * side.x.head <= 1.5;
}

} // namespace

double BetaWeight(const UnitPoint& point, double a, double b)
{
    const Side side{point.x, point.y, a, b};
    return Weight(side, Locate(side));
}

BetaTails IncompleteBeta(const UnitPoint& point, double a, double b, bool wantWeight)
{
    constexpr double kLeast = 1e-290;
    constexpr double kMost = 1e290;
    BetaTails tails{0.0, 0.0, 0.0, false};
    if (!(a >= kLeast) || !(b >= kLeast) || !(a <= kMost) || !(b <= kMost)) return tails;
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
        // The expansion needs a spread of 8 standard units and a point that is not too many of them away: its 17 terms
        // then leave an error below 1e-15. Further out the fraction converges in a few steps.
        const double spread2 = a / (a + b) * b;
        if (spread2 >= 64.0 && position.deviance.head <= 0.065 * spread2) {
            tails.lower = NormalExpansion(side, position, spread2);
            if (wantWeight) tails.weight = Weight(side, position);
        } else {
            tails.weight = Weight(side, position);
            tails.lower = tails.weight > 0.0 ? tails.weight * ContinuedFraction(side, position.distance.Value()) : 0.0;
        }
        tails.reached = !std::isnan(tails.lower);
        tails.upper = 1.0 - tails.lower;
    }
    if (opposite) std::swap(tails.lower, tails.upper);
    return tails;
}

} // namespace MCMath_930::internal
