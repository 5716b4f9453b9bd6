// MCDistFun: noncentral chi-square, F and t, and the searches for their noncentrality parameters.
#include "modelcore/distributions/MCDistFun.h"

#include "modelcore/common/MCMV.h"
#include "modelcore/distributions/MCPower.h"
#include "modelcore/distributions/internal/BetaSums.h"
#include "modelcore/distributions/internal/Domain.h"
#include "modelcore/distributions/internal/GammaPieces.h"
#include "modelcore/distributions/internal/GammaSums.h"
#include "modelcore/distributions/internal/NoncentralSums.h"
#include "modelcore/distributions/internal/PortableMath.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace MCMath_930 {

using internal::IsPositiveFinite;
using internal::PortableExp;
using internal::PortableExpMinusOne;
using internal::PortableHypotenuse;
using internal::PortableLog;
using internal::PortableLogOnePlus;
using internal::PortablePower;
using internal::SumResult;
using MCCommon_930::MCMV;

namespace {

constexpr double kTolerance = 1e-17;
constexpr double kLeastDf = 1e-290; // fewer degrees of freedom have the same distribution in every digit
constexpr double kFewDf = 1e-20;
constexpr double kLargest = std::numeric_limits<double>::max();
constexpr double kVanishing = 39.0;    // P(Z > 39) is 0
constexpr double kSummedShift = 100.0; // of the noncentral t, whose sums take a term for each unit of its square
constexpr double kLeastTail = 1e-280;  // below, a sum has begun with numbers that have lost their digits
constexpr double kNearlyAll = 0.999;   // the rest of a tail above has lost digits
constexpr double kFarPoint = 1e120;    // of a t beyond, products of few degrees of freedom would leave the range
constexpr double kFarShift = 1e80;     // as nothing beside a t beyond kFarPoint

/// Whether t is as good as 0 for the noncentral t: Z + nc is not moved by t S in any digit, S reaching 40/sqrt(df) or
/// so.
bool IsAtZero(double t, double df, double nc)
{
    return t / std::sqrt(std::min(df, 1.0)) * (1.0 + nc) < 1e-18;
}

double ToleranceOrDefault(double e)
{
    return e > 0.0 ? std::clamp(e, kTolerance, 1e-2) : kTolerance;
}

bool IsNoncentrality(double nc)
{
    return nc >= 0.0 && nc <= kLargest;
}

/// 1 - p without the sign of a rounding.
double Rest(double p)
{
    return std::max(1.0 - p, 0.0);
}

/// The zero of a falling function of the noncentrality between low and high: steps from a start that double until they
/// bracket it, then false position in the Illinois variant, with a halving whenever three steps have not halved the
/// bracket, until MCPower::AlmostEqual finds its ends equal. Missing when the function has no zero there or the bracket
/// does not close.
///
/// @param tolerance  relative, of the zero; one below 1e-16 counts as 0
template <class Function>
double FindNoncentrality(double start, double low, double high, double tolerance, Function falling)
{
    constexpr int kMaxSteps = 400;
    constexpr int kStepsPerHalving = 3;
    constexpr double kSmallest = 1e-16;
    const double relative = tolerance > 0.0 ? std::clamp(tolerance, 1e-15, 0.1) : 1e-12;
    const int epsilons = std::max(2, static_cast<int>(std::min(relative / MCPower::gMachineEpsilon, 1e9)));
    double x = std::clamp(start, low, high);
    double value = falling(x);
    double above = value, below = value; // at the ends of the bracket
    for (double step = 0.05 * (1.0 + std::fabs(x)); value != 0.0; step *= 2.0) {
        const bool rising = value > 0.0;
        (rising ? low : high) = x;
        (rising ? above : below) = value;
        const double end = rising ? high : low;
        if (x == end || std::isnan(value)) return MCMV::Missing();
        x = rising ? std::min(x + step, end) : std::max(x - step, end);
        value = falling(x);
        if ((value > 0.0) != rising) {
            (rising ? high : low) = x;
            (rising ? below : above) = value;
            break;
        }
    }
    if (value == 0.0) return x;
    int sameSide = 0;
    int steps = 0;
    double width = high - low;
    for (int step = 0; step < kMaxSteps; ++step) {
        const double closest = std::max(0.5 * relative * std::max(std::fabs(low), std::fabs(high)), kSmallest);
        if (MCPower::AlmostEqual(low, high, epsilons) || high - low <= 2.0 * closest) return low + 0.5 * (high - low);
        x = low + (high - low) * (above / (above - below));
        if (steps++ >= kStepsPerHalving || !(x >= low && x <= high)) {
            x = low + 0.5 * (high - low);
        } else {
            x = std::clamp(x, low + closest, high - closest); // from there the other end can follow
        }
        value = falling(x);
        if (value == 0.0) return x;
        if (std::isnan(value)) return MCMV::Missing();
        if (value > 0.0) {
            low = x;
            above = value;
            if (sameSide == 1) below *= 0.5;
            sameSide = 1;
        } else {
            high = x;
            below = value;
            if (sameSide == -1) above *= 0.5;
            sameSide = -1;
        }
        if (high - low <= 0.5 * width) {
            width = high - low;
            steps = 0;
        }
    }
    return MCMV::Missing();
}

/// The search from 0 up for a distribution function, by ln(cdf/p). The start is that of a normal distribution with mean
/// df + nc and variance 2 (df + 2 nc).
template <class Cdf>
double FindFromZero(double x, double df, double z, double p, double tolerance, Cdf cdf)
{
    constexpr double kLimit = 134217728.0;
    const double central = cdf(0.0);
    if (MCPower::AlmostEqual(central, p, 8)) return 0.0;
    if (!(central > p)) return MCMV::Missing();
    const double square = z * z + x - 0.5 * df;
    const double root = 2.0 * (std::sqrt(std::max(square, 0.0)) - z);
    return FindNoncentrality(std::max(0.25 * (root * root - 2.0 * df), 0.0), 0.0, kLimit, tolerance,
                             [&](double nc) { return PortableLog(cdf(nc) / p); });
}

} // namespace

double MCDistFun::NonCentralCdfChi(double x, double df, double nc)
{
    if (!IsPositiveFinite(df) || !IsNoncentrality(nc)) return MCMV::Missing();
    if (std::isnan(x)) return x;
    if (x <= 0.0) return 0.0;
    if (std::isinf(x)) return 1.0;
    if (0.5 * nc == 0.0) return CdfChi(x, df);
    // Skewness and excess are below 1e-12 by then, and the sums lose their step in the rounding of its place.
    if (nc > 1e25) return prbnrm((0.25 * x - 0.25 * nc - 0.25 * df) * std::sqrt(2.0) / std::sqrt(0.25 * df + 0.5 * nc));
    const SumResult sum = internal::PoissonGammaLower(0.5 * nc, x, std::max(0.5 * df, kLeastDf), kTolerance);
    return sum.reached ? sum.value : MCMV::Missing();
}

/// The noncentral beta distribution at the given point.
double MCDistFun::ncdbet(const internal::UnitPoint& point, double a, double b, double nc, double e, long& fault)
{
    fault = 0;
    if (nc == 0.0) {
        internal::BetaShapes shapes{a, b};
        return cbtaux(point, shapes, false).lower;
    }
    const SumResult sum = internal::PoissonBetaLower(0.5 * nc, 0.0, point, a, b, ToleranceOrDefault(e));
    return sum.reached ? sum.value : internal::Refuse(fault, 2L);
}

double MCDistFun::NonCentralCdfF(double x, double df1, double df2, double nc, double e)
{
    if (!IsPositiveFinite(df1) || !IsPositiveFinite(df2) || !IsNoncentrality(nc)) return MCMV::Missing();
    if (std::isnan(x)) return x;
    if (x <= 0.0) return 0.0;
    if (std::isinf(x)) return 1.0;
    return internal::Checked([&](long& fault) {
        return ncdbet(internal::FisherPoint(x, df1, df2), std::max(0.5 * df1, kLeastDf), 0.5 * df2, nc, e, fault);
    });
}

double MCDistFun::NonCentralCdfT(double t, double df, double nc, double e)
{
    if (!IsPositiveFinite(df) || !(std::fabs(nc) <= kLargest)) return MCMV::Missing();
    if (std::isnan(t)) return t;
    if (nc == 0.0) return CdfT(t, df);
    if (std::isinf(t)) return t > 0.0 ? 1.0 : 0.0;
    const double w = std::fabs(t);
    const double shift = std::fabs(nc);
    const double mean = 0.5 * shift * shift;
    // With no degrees of freedom left T is infinite, of either sign; so near 0 its sign decides.
    if (df < kLeastDf || IsAtZero(w, df, shift)) return prbnrm(-nc);
    // Of few degrees of freedom at most df*1e3 lies within the range of a double.
    if (df < kFewDf && prbnrm(-shift) > 1e20 * df) return prbnrm(-nc);
    if (df >= internal::kNormalDf) return prbnrm(t - nc);
    if (shift < 1e-100) return CdfT(t, df); // no digit knows of it
    if (w >= kFarPoint && shift < kFarShift) {
        // So far out each tail is proportional to t^-df in every digit.
        constexpr double kFar = 1e100;
        const double tail = NonCentralCdfT(-kFar, df, t < 0.0 ? nc : -nc, e);
        const double rest = t < 0.0 ? 0.0 : NonCentralCdfT(kFar, df, nc, e);
        if (MCMV::IsMissing(tail) || MCMV::IsMissing(rest)) return MCMV::Missing();
        if (t > 0.0) return std::min(rest - tail * PortableExpMinusOne(df * PortableLog(kFar / w)), 1.0);
        const double scaled = tail * PortablePower(kFar / w, df);
        return scaled < internal::kLeastGamma ? 0.0 : scaled; // as nearer to the centre
    }
    if ((t > 0.0) != (nc > 0.0)) {
        const double tail = shift > kVanishing ? 0.0 : internal::NoncentralTBelow(w, df, shift);
        if (std::isnan(tail)) return MCMV::Missing();
        return t < 0.0 ? tail : 1.0 - tail;
    }
    // Both of one sign: seen from the positive side, the lower tail is wanted for t > 0 and the upper one for t < 0.
    if (shift <= kSummedShift) {
        // T^2 is a mixture of F distributions; even terms carry Poisson weights, odd ones those between.
        const double tolerance = ToleranceOrDefault(e);
        const internal::UnitPoint far = internal::StudentPoint(w, df);
        const internal::UnitPoint point{far.y, far.x, far.logY, far.logX};
        const double b = 0.5 * df;
        const auto sum = t > 0.0 ? internal::PoissonBetaLower : internal::PoissonBetaUpper;
        const SumResult even = sum(mean, 0.0, point, 0.5, b, tolerance);
        const SumResult odd = even.reached ? sum(mean, 0.5, point, 1.0, b, tolerance) : even;
        const double tail = 0.5 * (even.value + odd.value);
        if (odd.reached && tail > kLeastTail) return std::min(t > 0.0 ? prbnrm(-shift) + tail : tail, 1.0);
    }
    // The tail that is the smaller one, about: the median is near nc unless the degrees of freedom are few.
    const auto tailOf = [&](bool lower) {
        const auto part = lower ? internal::NoncentralPart::Lower : internal::NoncentralPart::Upper;
        return internal::NoncentralTAbove(w, df, shift, part);
    };
    const bool lower = w < shift;
    const bool wanted = t > 0.0;
    double tail = tailOf(lower);
    if (lower != wanted) tail = tail > kNearlyAll ? tailOf(wanted) : Rest(tail);
    return std::isnan(tail) ? MCMV::Missing() : std::min(tail, 1.0);
}

double MCDistFun::NonCentralPdfT(double t, double df, double nc, long& err)
{
    constexpr int kMaxTerms = 10000;
    err = 0;
    if (!IsPositiveFinite(df) || !(std::fabs(nc) <= kLargest)) return internal::Refuse(err, 1L);
    if (nc == 0.0) return PdfT(t, df, err);
    if (std::isnan(t)) return t;
    if (std::isinf(t)) return 0.0;
    if (0.5 * df == 0.0) return internal::Refuse(err, 2L); // the smallest double: its half is not one
    if (df >= internal::kNormalDf) return PdfNormalStandard(t - nc);
    const double w = std::fabs(t);
    const double shift = std::fabs(nc);
    if (IsAtZero(w, df, shift))
        return PdfNormalStandard(shift) *
               PortableExp(internal::LogGammaRatio(0.5 * df, 0.5) - 0.5 * PortableLog(0.5 * df));
    if (w >= kFarPoint && shift < kFarShift) {
        constexpr double kFar = 1e100;
        const double density = NonCentralPdfT(std::copysign(kFar, t), df, nc, err);
        return MCMV::IsMissing(density) ? density : density * PortablePower(kFar / w, df) * (kFar / w);
    }
    // What leaves the range of a double on the way is refused.
    const auto numberOrRefusal = [&err](double x) { return std::isnan(x) ? internal::Refuse(err, 2L) : x; };
    if ((t > 0.0) != (nc > 0.0))
        return shift > kVanishing ? 0.0 : numberOrRefusal(internal::NoncentralTDensityBelow(w, df, shift));
    if (df > 50.0 || shift > 10.0) {
        const double density = internal::NoncentralTAbove(w, df, shift, internal::NoncentralPart::Density);
        return std::isnan(density) ? internal::Refuse(err, 2L) : density;
    }

    // exp(-nc^2/2) f(t) * sum over j of Gamma((df+1+j)/2)/Gamma((df+1)/2) z^j / j!, f the central density, from the
    // largest term outward in steps of two, even and odd j apart.
    const double z = std::sqrt(2.0) * shift * (w / PortableHypotenuse(std::sqrt(df), w));
    const double base = 0.5 * (df + 1.0);
    const auto logTerm = [&](double j) {
        return internal::LogGamma(base + 0.5 * j) - internal::LogGamma(base) +
               (j > 0.0 ? j * PortableLog(z) - internal::LogGamma(j + 1.0) : 0.0);
    };
    // j^2 = z^2 (df + 1 + j)/2
    const double half = 0.25 * z * z;
    const double largest = z > 0.0 ? 2.0 * std::floor(0.5 * (half + std::sqrt(half * half + z * z * base))) : 0.0;
    const double scale = logTerm(largest);
    double sum = 0.0;
    int terms = 0;
    for (const double start : {largest, largest + 1.0}) {
        if (start > 0.0 && z == 0.0) continue;
        const double first = PortableExp(logTerm(start) - scale);
        sum += first;
        double term = first;
        for (double j = start; term > kTolerance * sum && terms < kMaxTerms; j += 2.0, ++terms) {
            term *= (base + 0.5 * j) * z / (j + 1.0) * z / (j + 2.0);
            sum += term;
        }
        term = first;
        for (double j = start; j >= 2.0 && term > kTolerance * sum && terms < kMaxTerms; j -= 2.0, ++terms) {
            term *= j / z * (j - 1.0) / z / (base + 0.5 * j - 1.0);
            sum += term;
        }
    }
    if (terms >= kMaxTerms) return internal::Refuse(err, 2L);
    constexpr double kHalfLogPi = 0.5723649429247001;
    const double logCentral = internal::LogGammaRatio(0.5 * df, 0.5) - 0.5 * PortableLog(df) - kHalfLogPi -
                              base * PortableLogOnePlus(w / df * w);
    const double exponent = logCentral + scale - 0.5 * shift * shift;
    return numberOrRefusal(exponent < -708.0 ? 0.0 : PortableExp(exponent) * sum);
}

double MCDistFun::FindNCParamChi(double x, double df, double p, double tolerance)
{
    if (!IsPositiveFinite(x) || !IsPositiveFinite(df) || !internal::IsInsideProbability(p)) return MCMV::Missing();
    return FindFromZero(x, df, probit(p), p, tolerance, [&](double nc) { return NonCentralCdfChi(x, df, nc); });
}

double MCDistFun::FindNCParamF(double x, double df1, double df2, double p, double tolerance)
{
    if (!IsPositiveFinite(x) || !IsPositiveFinite(df1) || !IsPositiveFinite(df2) || !internal::IsInsideProbability(p))
        return MCMV::Missing();
    return FindFromZero(x * df1, df1, probit(p), p, tolerance,
                        [&](double nc) { return NonCentralCdfF(x, df1, df2, nc, 0.0); });
}

double MCDistFun::FindNCParamT(double t, double df, double p, double e, double tolerance)
{
    constexpr double kLimit = 16384.0;
    if (!(std::fabs(t) <= kLargest) || !IsPositiveFinite(df) || !internal::IsInsideProbability(p))
        return MCMV::Missing();
    // The smaller tail: the other one would keep no digits of it.
    const bool isLower = p <= 0.5;
    const double target = isLower ? p : 1.0 - p;
    const auto falling = [&](double nc) {
        const double tail = isLower ? NonCentralCdfT(t, df, nc, e) : NonCentralCdfT(-t, df, -nc, e);
        return isLower ? PortableLog(tail / target) : -PortableLog(tail / target);
    };
    const double central = isLower ? CdfT(t, df) : CdfT(-t, df);
    if (MCPower::AlmostEqual(central, target, 8)) return 0.0;
    const bool positive = (central > target) == isLower;
    const double spread = PortableHypotenuse(1.0, t / std::sqrt(2.0 * df));
    const double start = t * (1.0 - 0.25 / df) - probit(p) * spread;
    return FindNoncentrality(start, positive ? 0.0 : -kLimit, positive ? kLimit : 0.0, tolerance, falling);
}

} // namespace MCMath_930
