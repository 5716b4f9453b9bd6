// MCDistFun: noncentral chi-square, F and t, and the searches for their noncentrality parameters.
#include "modelcore/distributions/MCDistFun.h"

#include "modelcore/common/MCMV.h"
#include "modelcore/distributions/MCPower.h"
#include "modelcore/distributions/internal/Domain.h"
#include "modelcore/distributions/internal/GammaPieces.h"
#include "modelcore/distributions/internal/NoncentralSums.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace MCMath_930 {

using internal::IsPositiveFinite;
using internal::SumResult;
using MCCommon_930::MCMV;

namespace {

constexpr double kTolerance = 1e-17;
constexpr double kLeastDf = 1e-290;
constexpr double kLargest = std::numeric_limits<double>::max();

double ToleranceOrDefault(double e)
{
    return e > 0.0 ? std::clamp(e, kTolerance, 1e-2) : kTolerance;
}

bool IsNoncentrality(double nc)
{
    return nc >= 0.0 && nc <= kLargest;
}

/// Finds the noncentrality in [low, high] for which a falling distribution function equals p: the method of false
/// position in the Illinois variant, halving at every third step, until MCPower::AlmostEqual finds the ends equal. At
/// most 3 * 1100 / 2 evaluations lie in any bracket of doubles; usually ten are made.
template <class Cdf>
double FindNoncentrality(double low, double high, double p, double tolerance, Cdf cdf)
{
    constexpr int kMaxSteps = 400;
    const double relative = tolerance > 0.0 ? std::min(tolerance, 0.1) : 1e-12;
    const int epsilons = std::max(2, static_cast<int>(std::min(relative / MCPower::gMachineEpsilon, 1e9)));
    double above = cdf(low) - p;
    double below = cdf(high) - p;
    if (MCPower::AlmostEqual(above + p, p, 8)) return low;
    if (!(above > 0.0) || !(below <= 0.0)) return MCMV::Missing();
    int sameSide = 0;
    for (int step = 0; step < kMaxSteps; ++step) {
        double middle = low + (high - low) * (above / (above - below));
        if (step % 3 == 2 || !(middle > low && middle < high)) middle = low + 0.5 * (high - low);
        if (middle <= low || middle >= high || MCPower::AlmostEqual(low, high, epsilons)) break;
        const double excess = cdf(middle) - p;
        if (excess == 0.0) return middle;
        if (excess > 0.0) {
            low = middle;
            above = excess;
            if (sameSide == 1) below *= 0.5;
            sameSide = 1;
        } else {
            high = middle;
            below = excess;
            if (sameSide == -1) above *= 0.5;
            sameSide = -1;
        }
    }
    return low + 0.5 * (high - low);
}

/// An upper end for the search: the first power of two at which the function has fallen to p; 0 when none up to the
/// limit has.
template <class Cdf>
double FindUpperEnd(double p, double limit, Cdf cdf)
{
    for (double end = 1.0; end <= limit; end *= 2.0)
        if (cdf(end) <= p) return end;
    return 0.0;
}

} // namespace

double MCDistFun::NonCentralCdfChi(double x, double df, double nc)
{
    if (!IsPositiveFinite(df) || !IsNoncentrality(nc)) return MCMV::Missing();
    if (std::isnan(x)) return x;
    if (x <= 0.0) return 0.0;
    if (std::isinf(x)) return 1.0;
    if (0.5 * nc == 0.0) return CdfChi(x, df);
    if (df < kLeastDf) return std::exp(-0.5 * nc); // all that is left is the mass at 0
    if (0.5 * x == 0.0) return 0.0;
    const SumResult sum = internal::PoissonGammaLower(0.5 * nc, {0.5 * x}, 0.5 * df, kTolerance);
    if (sum.reached) return sum.value;
    if (nc > 1e100) return x < nc ? 0.0 : 1.0; // next to no spread, and formulas that would overflow
    // Sankaran (1963), Biometrika 50, 199-204.
    const double mean = df + nc;
    const double spread = df + 2.0 * nc;
    const double h = 1.0 - 2.0 / 3.0 * (mean / spread) * ((df + 3.0 * nc) / spread);
    const double r = spread / mean / mean;
    const double m = (h - 1.0) * (1.0 - 3.0 * h);
    const double level = 1.0 + h * r * (h - 1.0 - 0.5 * (2.0 - h) * m * r);
    return prbnrm((std::pow(x / mean, h) - level) / (h * std::sqrt(2.0 * r) * (1.0 + 0.5 * m * r)));
}

/// The noncentral beta distribution at the given point.
double MCDistFun::ncdbet(const internal::UnitPoint& point, double a, double b, double nc, double e, long& fault)
{
    fault = 0;
    if (nc == 0.0) return cbtaux(point, a, b, false).lower;
    const SumResult sum = internal::PoissonBetaLower(0.5 * nc, 0.0, point, a, b, ToleranceOrDefault(e));
    if (sum.reached) return sum.value;
    fault = 2;
    return MCMV::Missing();
}

double MCDistFun::NonCentralCdfF(double x, double df1, double df2, double nc, double e)
{
    if (!IsPositiveFinite(df1) || !IsPositiveFinite(df2) || !IsNoncentrality(nc)) return MCMV::Missing();
    if (std::isnan(x)) return x;
    if (x <= 0.0) return 0.0;
    if (std::isinf(x)) return 1.0;
    long fault = 0;
    return ncdbet(internal::FisherPoint(x, df1, df2), 0.5 * df1, 0.5 * df2, nc, e, fault);
}

double MCDistFun::NonCentralCdfT(double t, double df, double nc, double e)
{
    if (!IsPositiveFinite(df) || !(std::fabs(nc) <= kLargest)) return MCMV::Missing();
    if (std::isnan(t)) return t;
    if (nc == 0.0) return CdfT(t, df);
    if (std::isinf(t)) return t > 0.0 ? 1.0 : 0.0;
    if (t == 0.0 || df < kLeastDf) return prbnrm(-nc); // with no degrees of freedom left T is infinite, of either sign
    const double tolerance = ToleranceOrDefault(e);
    const double w = std::fabs(t);
    const double shift = std::fabs(nc);
    const double mean = 0.5 * shift * shift;
    if (mean == 0.0) return CdfT(t, df);
    if (w >= internal::kFarStudent) {
        // The square would overflow, but so far out each tail is proportional to t^-df in every digit.
        constexpr double kFar = 1e100;
        const double scale = std::pow(kFar / w, df);
        return t < 0.0 ? NonCentralCdfT(-kFar, df, nc, e) * scale
                       : 1.0 - (1.0 - NonCentralCdfT(kFar, df, nc, e)) * scale;
    }
    if (mean < 1e10 && df < internal::kNormalDf) {
        if ((t > 0.0) != (nc > 0.0)) {
            const double tail = internal::NoncentralTBelow(w, df, shift);
            return t < 0.0 ? tail : 1.0 - tail;
        }
        // Both of one sign: seen from the positive side, the lower tail is wanted for t > 0 and the upper one for t <
        // 0. T^2 is a mixture of F distributions; even terms carry Poisson weights, odd ones those between.
        const internal::UnitPoint far = internal::StudentPoint(w, df);
        const internal::UnitPoint point{far.y, far.x};
        const double b = 0.5 * df;
        const auto sum = t > 0.0 ? internal::PoissonBetaLower : internal::PoissonBetaUpper;
        const SumResult even = sum(mean, 0.0, point, 0.5, b, tolerance);
        const SumResult odd = sum(mean, 0.5, point, 1.0, b, tolerance);
        if (even.reached && odd.reached) {
            const double tail = 0.5 * (even.value + odd.value);
            return std::min(t > 0.0 ? prbnrm(-shift) + tail : tail, 1.0);
        }
    }
    if ((t > 0.0) != (nc > 0.0) && df < internal::kNormalDf) return t > 0.0 ? 1.0 : 0.0; // |nc| is above 1e5
    // Few degrees of freedom: the normal variable is as good as constant beside nc, and T <= t means nc <= t S.
    if (df < 100.0) {
        const double ratio = shift / w;
        return t > 0.0 ? SigChi(ratio * df * ratio, df) : CdfChi(ratio * df * ratio, df);
    }
    // Abramowitz and Stegun (1964), 26.7.10.
    return prbnrm((t * (1.0 - 0.25 / df) - nc) / std::hypot(1.0, t / std::sqrt(2.0 * df)));
}

double MCDistFun::NonCentralPdfT(double t, double df, double nc, long& err)
{
    constexpr int kMaxTerms = 10000;
    err = 0;
    if (!IsPositiveFinite(df) || !(std::fabs(nc) <= kLargest)) {
        err = 1;
        return MCMV::Missing();
    }
    if (nc == 0.0) return PdfT(t, df, err);
    if (std::isnan(t)) return t;
    if (std::isinf(t)) return 0.0;
    if (df >= internal::kNormalDf) return PdfNormalStandard(t - nc);
    const double w = std::fabs(t);
    const double shift = std::fabs(nc);
    if (w >= internal::kFarStudent || shift > 1e8) {
        err = 2;
        return MCMV::Missing();
    }
    if (t != 0.0 && (t > 0.0) != (nc > 0.0)) return internal::NoncentralTDensityBelow(w, df, shift);

    // exp(-nc^2/2) f(t) * sum over j of Gamma((df+1+j)/2)/Gamma((df+1)/2) z^j / j!, f the central density, from the
    // largest term outward in steps of two, even and odd j apart.
    const double z = std::sqrt(2.0) * shift * (w / std::hypot(std::sqrt(df), w));
    const double base = 0.5 * (df + 1.0);
    const auto logTerm = [&](double j) {
        return internal::LogGamma(base + 0.5 * j) - internal::LogGamma(base) +
               (j > 0.0 ? j * std::log(z) - internal::LogGamma(j + 1.0) : 0.0);
    };
    // j^2 = z^2 (df + 1 + j)/2
    const double half = 0.25 * z * z;
    const double largest = z > 0.0 ? 2.0 * std::floor(0.5 * (half + std::sqrt(half * half + z * z * base))) : 0.0;
    const double scale = logTerm(largest);
    double sum = 0.0;
    int terms = 0;
    for (const double start : {largest, largest + 1.0}) {
        if (start > 0.0 && z == 0.0) continue;
        const double first = std::exp(logTerm(start) - scale);
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
    if (terms >= kMaxTerms) {
        err = 2;
        return MCMV::Missing();
    }
    constexpr double kHalfLogPi = 0.5723649429247001;
    const double logCentral =
        internal::LogGammaRatio(0.5 * df, 0.5) - 0.5 * std::log(df) - kHalfLogPi - base * std::log1p(w / df * w);
    const double exponent = logCentral + scale - 0.5 * shift * shift;
    return exponent < -708.0 ? 0.0 : std::exp(exponent) * sum;
}

double MCDistFun::FindNCParamChi(double x, double df, double p, double tolerance)
{
    constexpr double kLimit = 1e8;
    if (!IsPositiveFinite(x) || !IsPositiveFinite(df) || !(p > 0.0) || !(p < 1.0)) return MCMV::Missing();
    const auto cdf = [&](double nc) { return NonCentralCdfChi(x, df, nc); };
    return FindNoncentrality(0.0, FindUpperEnd(p, kLimit, cdf), p, tolerance, cdf);
}

double MCDistFun::FindNCParamF(double x, double df1, double df2, double p, double tolerance)
{
    constexpr double kLimit = 1e8;
    if (!IsPositiveFinite(x) || !IsPositiveFinite(df1) || !IsPositiveFinite(df2) || !(p > 0.0) || !(p < 1.0))
        return MCMV::Missing();
    const auto cdf = [&](double nc) { return NonCentralCdfF(x, df1, df2, nc, 0.0); };
    return FindNoncentrality(0.0, FindUpperEnd(p, kLimit, cdf), p, tolerance, cdf);
}

double MCDistFun::FindNCParamT(double t, double df, double p, double e, double tolerance)
{
    constexpr double kLimit = 1e4;
    if (!(std::fabs(t) <= kLargest) || !IsPositiveFinite(df) || !(p > 0.0) || !(p < 1.0)) return MCMV::Missing();
    const auto cdf = [&](double nc) { return NonCentralCdfT(t, df, nc, e); };
    const double central = cdf(0.0);
    if (MCPower::AlmostEqual(central, p, 8)) return 0.0;
    if (central > p) return FindNoncentrality(0.0, FindUpperEnd(p, kLimit, cdf), p, tolerance, cdf);
    // Mirrored: the parameter is negative, and the distribution function is 1 less that at (-t, -nc).
    const auto mirrored = [&](double nc) { return 1.0 - cdf(-nc); };
    const double found = FindNoncentrality(0.0, FindUpperEnd(1.0 - p, kLimit, mirrored), 1.0 - p, tolerance, mirrored);
    return MCMV::IsMissing(found) ? found : -found;
}

} // namespace MCMath_930
