// The sums and the integral behind the noncentral distributions.
//
// Every sum starts from its largest term and runs until the rest is below the tolerance. The incomplete gamma or beta
// function is evaluated once, at the end where it is smallest; from there its recurrence only adds positive numbers, so
// that nothing cancels however small the result (the idea of Benton and Krishnamoorthy 2003, Computational Statistics &
// Data Analysis 43, 249-267, turned to the stable direction).
#include "modelcore/distributions/internal/NoncentralSums.h"

#include "modelcore/distributions/internal/IncompleteGamma.h"
#include "modelcore/distributions/internal/Normal.h"

#include <algorithm>
#include <cmath>

namespace MCMath_930::internal {

namespace {

constexpr double kMaxTerms = 1e6;
constexpr double kMostMean = 1e10; // nine standard deviations are a million terms

/// exp(-mean) mean^r / Gamma(r + 1)
double PoissonWeight(double mean, double r)
{
    if (mean == 0.0) return r == 0.0 ? 1.0 : 0.0; // half a subnormal may be 0
    return r == 0.0 ? std::exp(-mean) : GammaDensityTimesX({mean}, r) / r;
}

/// The index of the largest term of sum w(j) F(j) where F falls by about pull/(a + j + 1) a step: the root of
/// j (a + j) = mean * pull, or the mean of the weights when that is less.
double LargestTerm(double mean, double halfShape, double product)
{
    const double root = product / (halfShape + std::sqrt(halfShape * halfShape + product));
    return std::floor(std::max(0.0, std::min(mean, root)));
}

/// The common loop. pieceRatio(j) is piece(j)/piece(j-1), the pieces being the steps of the recurrence
/// F(j-1) = F(j) + piece(j-1); F falls from j-1 to j by at least the factor min(1, fall(j)).
template <class Piece, class PieceRatio, class Fall, class Function>
SumResult SumDownward(double mean, double shift, double largest, double tolerance, Piece piece, PieceRatio pieceRatio,
                      Fall fall, Function function)
{
    if (mean > kMostMean) return {0.0, false};
    double weight = PoissonWeight(mean, largest + shift);
    double step = piece(largest);
    double j = largest;
    for (double bound = 1.0; bound > tolerance; bound *= mean / (j + shift) * std::min(1.0, fall(j))) {
        j += 1.0;
        weight *= mean / (j + shift);
        step *= pieceRatio(j);
        if (j - largest > kMaxTerms) return {0.0, false};
    }
    double value = function(j);
    double sum = weight * value;
    while (j > 0.0) {
        step /= pieceRatio(j);
        value += step;
        weight *= (j + shift) / mean;
        j -= 1.0;
        const double term = weight * value;
        sum += term;
        if (j < largest && term <= tolerance * sum) break;
        if (largest - j > kMaxTerms) return {0.0, false};
    }
    return {sum, !std::isnan(sum)};
}

} // namespace

SumResult PoissonGammaLower(double mean, const DoubleDouble& x, double shape, double tolerance)
{
    const double point = x.head;
    const double largest = LargestTerm(mean, 0.5 * shape, mean * point);
    bool reached = true;
    const SumResult sum = SumDownward(
        mean, 0.0, largest, tolerance, [&](double j) { return GammaDensityTimesX(x, shape + j) / (shape + j); },
        [&](double j) { return point / (shape + j); }, [&](double j) { return point / (shape + j); },
        [&](double j) {
            const GammaTails tails = IncompleteGamma(x, shape + j);
            reached = tails.reached;
            return tails.lower;
        });
    return {std::min(sum.value, 1.0), sum.reached && reached};
}

SumResult PoissonBetaLower(double mean, double shift, const UnitPoint& point, double a, double b, double tolerance)
{
    const double x = point.x.head;
    const double pull = mean * x;
    const double largest = LargestTerm(mean, 0.5 * (a - pull), pull * (a + b));
    bool reached = true;
    const auto ratio = [&](double j) { return x * (a + b + j - 1.0) / (a + j); };
    const SumResult sum = SumDownward(
        mean, shift, largest, tolerance, [&](double j) { return BetaWeight(point, a + j, b) / (a + j); }, ratio,
        [&](double j) { return std::max(ratio(j), x); },
        [&](double j) {
            const BetaTails tails = IncompleteBeta(point, a + j, b, false);
            reached = tails.reached;
            return tails.lower;
        });
    return {std::min(sum.value, 1.0), sum.reached && reached};
}

SumResult PoissonBetaUpper(double mean, double shift, const UnitPoint& point, double a, double b, double tolerance)
{
    // Here the function grows with j, by at least nothing, and the weights alone bound what lies below.
    const double x = point.x.head;
    if (mean > kMostMean) return {0.0, false};
    const double middle = std::floor(mean);
    double weight = PoissonWeight(mean, middle + shift);
    double j = middle;
    const auto ratio = [&](double i) { return x * (a + b + i - 1.0) / (a + i); };
    // Far in the tail the larger terms lie above the mean; what is dropped below is measured against the term there.
    for (double bound = 1.0; j > 0.0 && bound > tolerance;) {
        weight *= (j + shift) / mean;
        bound *= (j + shift) / mean;
        j -= 1.0;
        if (middle - j > kMaxTerms) return {0.0, false};
    }
    const BetaTails tails = IncompleteBeta(point, a + j, b, false);
    double value = tails.upper;
    double step = BetaWeight(point, a + j, b) / (a + j);
    double sum = weight * value;
    for (double count = 0.0; count < kMaxTerms; count += 1.0) {
        value += step;
        j += 1.0;
        step *= ratio(j);
        weight *= mean / (j + shift);
        const double term = weight * value;
        sum += term;
        // From here each term is at most this fraction of the one before.
        const double shrink = mean / (j + 1.0 + shift) * (1.0 + step / value);
        if (shrink < 0.95 && term <= tolerance * sum) return {std::min(sum, 1.0), tails.reached};
    }
    return {0.0, false};
}

namespace {

/// Integral over v of density(exp v) * normal(s), density that of ln w for w gamma-distributed with shape df/2 and
/// s = sqrt(2 w/df), by the trapezoidal rule: the integrand is analytic in the strip |Im v| < pi/2 and falls off at
/// both ends, where the rule converges exponentially (Trefethen and Weideman 2014, SIAM Review 56, 385-458).
template <class Normal>
double IntegrateOverChi(double df, double decay, double pull, Normal normal)
{
    constexpr double kNegligible = 1e-18;
    constexpr int kMaxNodes = 4000;
    const double shape = 0.5 * df;
    // The integrand is near w^shape exp(-w (1 + decay)) exp(-pull sqrt(w)); its peak, and its width there.
    const double q = 1.0 + decay;
    const double root = 4.0 * shape / (pull + std::sqrt(pull * pull + 16.0 * q * shape));
    const double peak = std::max(root * root, 1e-300);
    const double curvature = peak * q + 0.25 * pull * root;
    const double h = std::min(0.2, 0.6 / std::sqrt(curvature + 1e-3));
    // The density relative to that at the peak needs one exponential a node, as long as its exponent keeps its digits.
    const bool relative = shape < 1e4;
    const double atPeak = relative ? GammaDensityTimesX({peak}, shape) : 1.0;
    const auto value = [&](double w, double steps) {
        const double density = relative ? std::exp(steps * (h * shape) - (w - peak)) : GammaDensityTimesX({w}, shape);
        return density * normal(std::sqrt(w / shape));
    };
    const double factor = std::exp(h);
    double sum = value(peak, 0.0);
    double w = peak;
    for (int i = 1; i <= kMaxNodes; ++i) {
        w *= factor;
        const double term = value(w, i);
        sum += term;
        if (term <= kNegligible * sum) break;
    }
    w = peak;
    for (int i = 1; i <= kMaxNodes; ++i) {
        w /= factor;
        const double term = value(w, -i);
        sum += term;
        if (term <= kNegligible * sum) break;
        // Where the normal factor no longer changes, the rest of a slowly falling power is geometric.
        if (w * q < 1e-18 && pull * std::sqrt(w) < 1e-18) {
            sum += term / std::expm1(shape * h);
            break;
        }
    }
    return atPeak * sum * h;
}

} // namespace

double NoncentralTBelow(double t, double df, double nc)
{
    const double decay = t * t / df;
    return IntegrateOverChi(df, decay, t * nc * std::sqrt(2.0 / df), [&](double s) {
        const double z = t * s + nc;
        return 0.5 * ScaledErfc(z / std::sqrt(2.0)) * ExpMinusSquare(z, 0.5);
    });
}

double NoncentralTDensityBelow(double t, double df, double nc)
{
    const double decay = t * t / df;
    return IntegrateOverChi(df, decay, t * nc * std::sqrt(2.0 / df),
                            [&](double s) { return s * kInverseSqrtTwoPi * ExpMinusSquare(t * s + nc, 0.5); });
}

} // namespace MCMath_930::internal
