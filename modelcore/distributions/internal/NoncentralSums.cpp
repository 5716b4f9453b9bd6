// The sums and the integrals behind the noncentral distributions.
//
// Every sum starts from its largest term and runs until the rest is below the tolerance. The incomplete gamma or beta
// function is evaluated once, at the end where it is smallest; from there its recurrence only adds positive numbers, so
// that nothing cancels however small the result (the idea of Benton and Krishnamoorthy 2003, Computational Statistics &
// Data Analysis 43, 249-267, turned to the stable direction).
#include "modelcore/distributions/internal/NoncentralSums.h"

#include "modelcore/distributions/internal/AccurateLog.h"
#include "modelcore/distributions/internal/GammaPieces.h"
#include "modelcore/distributions/internal/GammaSums.h"
#include "modelcore/distributions/internal/IncompleteGamma.h"
#include "modelcore/distributions/internal/Normal.h"
#include "modelcore/distributions/internal/PortableMath.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace MCMath_930::internal {

namespace {

constexpr double kMaxTerms = 1e6;
constexpr double kNegligible = 1e-18;
constexpr int kMaxNodes =
    20000; // of an integral; a slow power of W takes some thousand, everything else below a hundred
constexpr double kLeastPoint = 1e-305; // a coordinate below does not hold its digits

// From a term of this index on the terms change so slowly that a few dozen of them give the sum.
constexpr double kSampledTerm = 2e4;
constexpr double kMostSampled = 1e25; // beyond, the distance of the terms drowns in the rounding of their indices

// Shapes up to which a series takes the place of a whole incomplete gamma function.
constexpr double kShortSeries = 1e5;

// Nothing is summed from a tail below: the recurrence would start from a number that has lost its digits.
constexpr double kLeastTail = 1e-280;

/// How far apart the nodes of the trapezoidal rule may lie for a bell with the given curvature of its logarithm. The
/// rule is then right to 1e-20 of the peak, also where a distribution function that is no narrower multiplies the bell
/// (Trefethen and Weideman 2014, SIAM Review 56, 385-458).
double NodeDistance(double curvature)
{
    return 0.65 / std::sqrt(curvature);
}

/// Sum of value(k) over the whole numbers k, outward from 0 in both directions until a term is negligible. The terms
/// have one maximum, not far from 0. NaN when that never happens.
template <class Value>
double SumOutward(Value value)
{
    double sum = value(0);
    for (const int direction : {1, -1})
        for (int k = 1;; ++k) {
            if (k > kMaxNodes) return std::numeric_limits<double>::quiet_NaN();
            const double term = value(direction * k);
            sum += term;
            if (term <= kNegligible * sum) break;
        }
    return sum;
}

/// Where a falling function of a positive number is 0, to the given part of the number.
template <class Function>
double FindZero(double low, double high, double precision, Function falling)
{
    constexpr int kMaxHalvings = 100;
    for (int i = 0; i < kMaxHalvings && high - low > precision * low; ++i) {
        const double middle = high > 4.0 * low ? std::sqrt(low) * std::sqrt(high) : low + 0.5 * (high - low);
        (falling(middle) > 0.0 ? low : high) = middle;
    }
    return low + 0.5 * (high - low);
}

/// exp(-mean) mean^r / Gamma(r + 1)
double PoissonWeight(double mean, double r)
{
    if (mean == 0.0) return r == 0.0 ? 1.0 : 0.0; // half a subnormal may be 0
    return r == 0.0 ? PortableExp(-mean) : GammaDensityTimesX({mean}, r) / r;
}

/// The index of the largest term of sum w(j) F(j) where F falls by about pull/(a + j + 1) a step: the root of
/// j (a + j) = mean * pull, or the mean of the weights when that is less. halfShape is a/2, meanPull and growth are two
/// factors of mean * pull.
double LargestTerm(double mean, double halfShape, double meanPull, double growth)
{
    const double product = meanPull * growth;
    const double square = halfShape * halfShape + product;
    double root = product / (halfShape + std::sqrt(square));
    if (halfShape < 0.0 && product < 0.01 * halfShape * halfShape) {
        root = std::sqrt(square) - halfShape; // the sum above would cancel
    } else if (!std::isfinite(square)) {
        const double scaled = halfShape / growth;
        root = meanPull / (scaled + std::sqrt(scaled * scaled + meanPull / growth));
    }
    return std::floor(std::max(0.0, std::min(mean, root)));
}

/// The common loop. pieceRatio(j) is piece(j)/piece(j-1) and inverseRatio(j) its reciprocal, the pieces being the steps
/// of the recurrence F(j-1) = F(j) + piece(j-1); F falls from j-1 to j by at least the factor min(1, fall(j)).
/// function(j, piece(j)) is F(j).
template <class Piece, class PieceRatio, class InverseRatio, class Fall, class Function>
SumResult SumDownward(double mean, double shift, double largest, double tolerance, Piece piece, PieceRatio pieceRatio,
                      InverseRatio inverseRatio, Fall fall, Function function)
{
    double weight = PoissonWeight(mean, largest + shift);
    // Where the terms are largest the step is best known: a step from farther out would lose a digit on the way.
    double step = piece(largest);
    double j = largest;
    for (double bound = 1.0; bound > tolerance;) {
        const double next = j + 1.0;
        const double growth = mean / (next + shift);
        const double nextStep = step * pieceRatio(next);
        bound *= growth * std::min(1.0, fall(next));
        if (bound <= tolerance && nextStep < kLeastTail) break; // the sum would come down from digits that are lost
        j = next;
        weight *= growth;
        step = nextStep;
        if (j - largest > kMaxTerms) return {0.0, false};
    }
    double value = function(j, step);
    double sum = weight * value;
    while (j > 0.0) {
        // No division has to wait for another; a reciprocal taken once would have the same rounding in every term.
        step *= inverseRatio(j);
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

/// Sum of weight(j) F(j) over all j for a mean so large that both change little from one j to the next: the sum over
/// every n-th term, n times, is then the trapezoidal rule for the same integral as the sum itself.
template <class Function>
SumResult SumSampled(double mean, double largest, Function function)
{
    if (largest > kMostSampled) return {0.0, false};
    const double distance = std::floor(NodeDistance(2.0 / largest));
    const double sum = SumOutward([&](int k) {
        const double j = largest + k * distance;
        return j > 0.0 ? PoissonWeight(mean, j) * function(j) : 0.0;
    });
    return {std::min(sum * distance, 1.0), !std::isnan(sum)};
}

} // namespace

SumResult PoissonGammaLower(double mean, double x, double shape, double tolerance)
{
    if (0.5 * x < kLeastPoint) {
        const DoubleDouble logX = AccurateLog({x}) + AccurateLog({0.5});
        return {PortableExp(-mean) * IncompleteGammaNearZero(logX, shape).lower, true};
    }
    const double point = 0.5 * x;
    const double largest = LargestTerm(mean, 0.5 * shape, mean, point);
    const auto lower = [&](double j) { return IncompleteGammaOrExpansion({point}, shape + j).lower; };
    if (largest > kSampledTerm) return SumSampled(mean, largest, lower);
    const auto ratio = [&](double j) { return point / (shape + j); };
    const auto inverseRatio = [&](double j) { return (shape + j) / point; };
    const auto piece = [&](double j) { return GammaDensityTimesX({point}, shape + j) / (shape + j); };
    const auto function = [&](double j, double step) {
        // The piece is the factor before the series.
        const double a = shape + j;
        return a >= 1.0 && point <= a && a <= kShortSeries && step > kLeastTail ? step * GammaSeries(point, a)
                                                                                : lower(j);
    };
    const SumResult sum = SumDownward(mean, 0.0, largest, tolerance, piece, ratio, inverseRatio, ratio, function);
    return {std::min(sum.value, 1.0), sum.reached};
}

SumResult PoissonBetaLower(double mean, double shift, const UnitPoint& point, double a, double b, double tolerance)
{
    const double x = point.x.head;
    if (x < kLeastPoint) {
        const BetaTails tails = IncompleteBeta(point, a, b, false);
        return {PoissonWeight(mean, shift) * tails.lower, tails.reached};
    }
    const double pull = mean * x;
    const double largest = LargestTerm(mean, 0.5 * (a - pull), pull, a + b);
    bool reached = true;
    if (shift == 0.0 && largest > kSampledTerm) {
        const SumResult sampled = SumSampled(mean, largest, [&](double j) {
            const BetaTails tails = IncompleteBeta(point, a + j, b, false);
            reached = reached && tails.reached;
            return tails.lower;
        });
        return {sampled.value, sampled.reached && reached};
    }
    const auto ratio = [&](double j) { return x * (a + b + j - 1.0) / (a + j); };
    const SumResult sum = SumDownward(
        mean, shift, largest, tolerance, [&](double j) { return BetaWeight(point, a + j, b) / (a + j); }, ratio,
        [&](double j) { return (a + j) / (x * (a + b + j - 1.0)); }, [&](double j) { return std::max(ratio(j), x); },
        [&](double j, double) {
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
    if (mean > kSampledTerm) return {0.0, false};
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
    const BetaTails tails = IncompleteBeta(point, a + j, b, true);
    double value = tails.upper;
    double step = tails.weight / (a + j);
    if (!(value >= kLeastTail) || !(step >= kLeastTail)) return {0.0, false};
    double sum = weight * value;
    for (double count = 0.0; count < kSampledTerm; count += 1.0) {
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
/// both ends, where the rule converges exponentially.
///
/// @param peak   of the integrand, in w, and h the distance of the nodes in v
/// @param power  of w that the integrand is for small w, once w * decay and pull * sqrt(w) are negligible
template <class Normal>
double IntegrateOverLogChi(double shape, double peak, double h, double power, double decay, double pull, Normal normal)
{
    // The density relative to that at the peak needs one exponential a node, as long as its exponent keeps its digits.
    const bool relative = shape < 1e4;
    const double atPeak = relative ? GammaDensityTimesX({peak}, shape) : 1.0;
    const double factor = PortableExp(h);
    double rest = 0.0;
    double w = peak;
    double total = 0.0;
    const double sum = SumOutward([&](int k) {
        w = k == 1 || k == -1 ? (k > 0 ? peak * factor : peak / factor) : k > 0 ? w * factor : k < 0 ? w / factor : w;
        // Where the normal factor no longer changes, the rest of a slowly falling power is geometric.
        if (rest > 0.0) return 0.0;
        const double density = relative ? PortableExp(k * (h * shape) - (w - peak)) : GammaDensityTimesX({w}, shape);
        const double term = density * normal(std::sqrt(w / shape));
        total += term;
        if (k < 0 && term > kNegligible * total && w * decay < 1e-18 && pull * std::sqrt(w) < 1e-18)
            rest = term / PortableExpMinusOne(power * h);
        return term;
    });
    return atPeak * (sum + rest) * h;
}

/// The same where the normal factor falls with s as exp(-(t s + nc)^2/2) does.
template <class Normal>
double IntegrateBelow(double t, double df, double nc, double power, Normal normal)
{
    const double shape = 0.5 * df;
    const double pull = t * nc * std::sqrt(2.0 / df);
    // The integrand is near w^shape exp(-w (1 + t^2/df)) exp(-pull sqrt(w)); its peak, and its width there.
    const double q = 1.0 + t * t / df;
    const double root = 4.0 * shape / (pull + std::sqrt(pull * pull + 16.0 * q * shape));
    const double peak = std::max(root * root, 1e-300);
    const double curvature = peak * q + 0.25 * pull * root;
    const double h = std::min(0.2, 0.6 / std::sqrt(curvature + 1e-3));
    return IntegrateOverLogChi(shape, peak, h, power, q, pull, normal);
}

double NormalTail(double z) // P(Z > z)
{
    if (z < 0.0) return 1.0 - NormalTail(-z);
    return 0.5 * ScaledErfc(z / std::sqrt(2.0)) * ExpMinusSquare(z, 0.5);
}

double NormalDensity(double z)
{
    return kInverseSqrtTwoPi * ExpMinusSquare(std::fabs(z), 0.5);
}

double OnGrid(double x, double grid)
{
    return std::ceil(x / grid) * grid;
}

/// The density at z over P(Z > z).
double NormalHazard(double z)
{
    if (z > 0.0) return kInverseSqrtTwoPi / (0.5 * ScaledErfc(z / std::sqrt(2.0)));
    return NormalDensity(z) / NormalTail(z);
}

/// T = (Z + nc)/S with S^2 = W/shape, W gamma-distributed with the shape df/2; t and nc above 0. Either S is integrated
/// out, over a normal distribution function or density, or Z + nc, over an incomplete gamma function or density:
/// whichever has the narrower distribution, so that what multiplies it is smooth beside it and a few dozen nodes serve.
class NoncentralT {
public:
    NoncentralT(double point, double df, double noncentrality, NoncentralPart wanted)
        : t(point), shape(0.5 * df), nc(noncentrality), part(wanted)
    {}

    double Integral() const
    {
        if (nc < 2.0 * std::sqrt(shape)) return shape > kNarrowShape ? OverChi() : OverLogChi();
        const double above = nc > kFarFromZero ? OverNormal() : OverLogNormal();
        return part == NoncentralPart::Lower ? above + NormalTail(nc) : above;
    }

private:
    // From here on the normal and the chi distribution end before they come to 0, and their own scale serves; below,
    // the logarithm of the variable makes the end at 0 a smooth one.
    static constexpr double kFarFromZero = 39.0;
    static constexpr double kNarrowShape = 50.0;

    /// What multiplies the density of S, at z = t s - nc.
    double NormalFactor(double s, double z) const
    {
        switch (part) {
        case NoncentralPart::Lower: return NormalTail(-z);
        case NoncentralPart::Upper: return NormalTail(z);
        default: return s * NormalDensity(z);
        }
    }

    /// The derivative of the logarithm of the integrand, by ln W.
    double SlopeAtChi(double s) const
    {
        const double z = t * s - nc;
        const double central = shape * (1.0 - s) * (1.0 + s);
        switch (part) {
        case NoncentralPart::Lower: return central + 0.5 * t * s * NormalHazard(-z);
        case NoncentralPart::Upper: return central - 0.5 * t * s * NormalHazard(z);
        default: return central + 0.5 - 0.5 * t * s * z;
        }
    }

    /// The place of the peak, s, and the curvature there, by ln W.
    double PeakOfChi(double& curvature) const
    {
        const double most = std::sqrt(1.0 + (0.125 * nc * nc + nc + 2.0) / shape);
        const double least = std::min(0.5, std::min(std::sqrt(0.5 * shape), 0.5 * shape) / t);
        const double precision = 0.2 / std::sqrt(1.0 + shape);
        const double s = FindZero(least, most, precision, [&](double x) { return SlopeAtChi(x); });
        // A distribution function adds to the curvature where it is still moving: with part Lower up to t s = nc.
        const double reach = part == NoncentralPart::Lower ? nc : std::max(nc, t * s);
        curvature = shape * s * s + 0.25 * (reach + 4.0) * (reach + 4.0);
        return s;
    }

    double OverLogChi() const
    {
        double curvature = 1.0;
        const double s = PeakOfChi(curvature);
        const double h = std::min(0.2, NodeDistance(curvature));
        const double power = part == NoncentralPart::Density ? shape + 0.5 : shape;
        return IntegrateOverLogChi(shape, shape * s * s, h, power, 1.0, t * (1.0 + nc) / std::sqrt(shape),
                                   [&](double x) { return NormalFactor(x, t * x - nc); });
    }

    double OverChi() const
    {
        double curvature = 1.0;
        // The nodes are exact: with a million degrees of freedom their rounding would show in their distance.
        const double peak = OnGrid(PeakOfChi(curvature), 0x1p-51);
        const double distance = OnGrid(0.5 * peak * NodeDistance(curvature), 0x1p-51);
        return 2.0 * distance * SumOutward([&](int k) {
                   const double s = peak + k * distance;
                   if (!(s > 0.0)) return 0.0;
                   const double z = (ExactProduct(t, s) - DoubleDouble{nc}).Value();
                   return GammaDensityTimesX(shape * ExactProduct(s, s), shape) / s * NormalFactor(s, z);
               });
    }

    /// What multiplies the density of Y = Z + nc: P(S >= y/t), P(S <= y/t) or the density of S.
    GammaTails GammaAt(const DoubleDouble& y) const
    {
        const double scale = t > 1e200 ? 0x1p-500 : 1.0;
        const DoubleDouble s = (scale * y) / DoubleDouble{scale * t};
        const double x = shape * s.head * s.head;
        if (x < kLeastPoint)
            return IncompleteGammaNearZero(AccurateLog({shape}) + 2.0 * (AccurateLog(y) - AccurateLog({t})), shape);
        if (x > 1e200) return {1.0, 0.0, 0.0, true};
        return IncompleteGammaOrExpansion(shape * (s * s), shape);
    }

    double GammaFactor(const GammaTails& tails) const
    {
        switch (part) {
        case NoncentralPart::Lower: return tails.upper;
        case NoncentralPart::Upper: return tails.lower;
        default: return 2.0 / t * tails.weight;
        }
    }

    /// The place of the peak by ln y.
    double PeakOfNormal() const
    {
        const double above = 0.5 * (nc + std::sqrt(nc * nc + 4.0));
        const double spread = 2.0 * shape / t / t;
        if (part == NoncentralPart::Density)
            return 0.5 * (nc + std::sqrt(nc * nc + 4.0 * (1.0 + 2.0 * shape) * (1.0 + spread))) / (1.0 + spread);
        const double most = part == NoncentralPart::Lower ? above : 0.5 * (nc + std::sqrt(nc * nc + 4.0 + 8.0 * shape));
        const double least = part == NoncentralPart::Lower ? 1e-10 * std::min(above, t) : above;
        return FindZero(least, most, 0.2 / (1.0 + nc), [&](double y) {
            const GammaTails tails = GammaAt({y});
            // Where a tail has vanished it goes on to fall: without bound beyond, as the power of W before.
            const double pull = part == NoncentralPart::Upper
                                    ? (tails.lower > 0.0 ? tails.weight / tails.lower : shape)
                                    : (tails.upper > 0.0 ? -tails.weight / tails.upper : -HUGE_VAL);
            return 1.0 - y * (y - nc) + 2.0 * pull;
        });
    }

    double OverLogNormal() const
    {
        const double peak = PeakOfNormal();
        const double reach = std::max(peak, nc);
        const double h = std::min(0.2, NodeDistance(reach * reach + 4.0 * shape + 1.0));
        return h * SumOutward([&](int k) {
                   const double y = peak * PortableExp(k * h);
                   return y * NormalDensity(y - nc) * GammaFactor(GammaAt({y}));
               });
    }

    double OverNormal() const
    {
        const double peak = OnGrid(PeakOfNormal() - nc, 0x1p-30);
        const double narrow = part == NoncentralPart::Upper ? peak + nc : std::min(peak + nc, t);
        const double distance = OnGrid(NodeDistance(1.0 + 4.0 * (shape + 1.0) / narrow / narrow), 0x1p-30);
        return distance * SumOutward([&](int k) {
                   const double z = peak + k * distance;
                   const DoubleDouble y = ExactSum(nc, z);
                   return y.head > 0.0 ? NormalDensity(z) * GammaFactor(GammaAt(y)) : 0.0;
               });
    }

    double t, shape, nc;
    NoncentralPart part;
};

} // namespace

double NoncentralTAbove(double t, double df, double nc, NoncentralPart part)
{
    return NoncentralT(t, df, nc, part).Integral();
}

double NoncentralTBelow(double t, double df, double nc)
{
    return IntegrateBelow(t, df, nc, 0.5 * df, [&](double s) {
        const double z = t * s + nc;
        return 0.5 * ScaledErfc(z / std::sqrt(2.0)) * ExpMinusSquare(z, 0.5);
    });
}

double NoncentralTDensityBelow(double t, double df, double nc)
{
    return IntegrateBelow(t, df, nc, 0.5 * df + 0.5,
                          [&](double s) { return s * kInverseSqrtTwoPi * ExpMinusSquare(t * s + nc, 0.5); });
}

} // namespace MCMath_930::internal
