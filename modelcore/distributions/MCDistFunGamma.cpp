// MCDistFun: log-gamma, the incomplete gamma function, and the chi-square and gamma distributions.
#include "modelcore/distributions/MCDistFun.h"

#include "modelcore/common/MCMV.h"
#include "modelcore/distributions/internal/AccurateLog.h"
#include "modelcore/distributions/internal/Domain.h"
#include "modelcore/distributions/internal/GammaPieces.h"
#include "modelcore/distributions/internal/GammaSums.h"
#include "modelcore/distributions/internal/IncompleteGamma.h"
#include "modelcore/distributions/internal/PortableMath.h"
#include "modelcore/distributions/internal/RootSearch.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace MCMath_930 {

using internal::Checked;
using internal::DoubleDouble;
using internal::Exp;
using internal::GammaTails;
using internal::IsPositiveFinite;
using internal::PortableExp;
using internal::PortableExpMinusOne;
using internal::PortableLog;
using internal::PortableLogOnePlus;
using internal::Refuse;
using internal::Root;
using MCCommon_930::MCMV;

namespace {

/// A product below does not hold its digits as a double.
constexpr double kLeastProduct = 1e-305;

/// sqrt((1 + g(u))/x) of the normal approximation of Peizer and Pratt (1968), JASA 63, 1416-1456:
/// g(u) = (1 - u^2 + 2 u ln u)/(1 - u)^2.
double PeizerPrattFactor(double u, double x)
{
    const double v = 1.0 - u;
    double g = 0.0;
    if (std::fabs(v) > 0.1) {
        g = u > 0.0 ? (1.0 - u * u + 2.0 * u * PortableLog(u)) / (v * v) : 1.0;
    } else {
        double power = 1.0;
        for (int k = 1; k <= 16; ++k) {
            power *= v;
            g += 2.0 * power / ((k + 1) * (k + 2));
        }
    }
    return std::sqrt((1.0 + g) / x);
}

} // namespace

double MCDistFun::dnlgam(double x)
{
    if (x > 0.0) return std::isinf(x) ? x : internal::LogGamma(x);
    return std::isnan(x) ? x : MCMV::Missing();
}

double MCDistFun::tavodnlgam(const double& x)
{
    return dnlgam(x);
}

/// The normal approximations that take the place of the sums where these would take too long.
double MCDistFun::gamnrm(double x, double a, bool lowerTail)
{
    if (!lowerTail && a >= 0.5) return prbnrm((a - x - 1.0 / 3.0 + 0.022 / a) * PeizerPrattFactor((a - 0.5) / x, x));
    // Wilson and Hilferty (1931): 3 sqrt(a) ((x/a)^(1/3) + 1/(9a) - 1), the cube root less 1 formed as such.
    const double z =
        3.0 * std::sqrt(a) * (PortableExpMinusOne(PortableLogOnePlus((x - a) / a) / 3.0) + 1.0 / (9.0 * a));
    return prbnrm(lowerTail ? z : -z);
}

double MCDistFun::gammad(const DoubleDouble& x, double a, bool lowerTail, long& fault)
{
    fault = 0;
    if (!IsPositiveFinite(a)) return Refuse(fault, 1L);
    if (std::isnan(x.head)) return x.head;
    if (x.head <= 0.0 || std::isinf(x.head)) return (x.head <= 0.0) == lowerTail ? 0.0 : 1.0;
    if (a == 1.0) {
        const internal::ExpValues<double> values = internal::ExpBoth(-x.head, -x.tail);
        return lowerTail ? values.complement : x.head > 708.0 ? 0.0 : values.value;
    }
    const bool isSmall = a < 1.0 && x.head <= 1.0; // one of the two pieces of a shape is enough
    const internal::GammaShape shape{a, isSmall ? 0.0 : internal::GammaWeight(a),
                                     isSmall ? internal::LogGammaOnePlus(a) : 0.0};
    const GammaTails tails = internal::IncompleteGamma(x, shape, false);
    if (!tails.reached) return gamnrm(x.head, a, lowerTail);
    return lowerTail ? tails.lower : tails.upper;
}

/// gammad at x * rate, which may be below the least double while its power is not.
double MCDistFun::gampoint(double x, double rate, double a, bool lowerTail, long& fault)
{
    if (!(x > 0.0) || !(rate > 0.0) || !IsPositiveFinite(a) || x * rate >= kLeastProduct)
        return gammad(rate == 0.5 ? DoubleDouble{0.5 * x} : internal::SafeProduct(x, rate), a, lowerTail, fault);
    fault = 0;
    const GammaTails tails =
        internal::IncompleteGammaNearZero(internal::AccurateLog({x}) + internal::AccurateLog({rate}), a);
    return lowerTail ? tails.lower : tails.upper;
}

double MCDistFun::CdfChi(double x, double df)
{
    return Checked([&](long& fault) { return gampoint(x, 0.5, 0.5 * df, true, fault); });
}

double MCDistFun::SigChi(double x, double df)
{
    return Checked([&](long& fault) { return gampoint(x, 0.5, 0.5 * df, false, fault); });
}

double MCDistFun::CdfGam(double x, double shape, double rate)
{
    if (!IsPositiveFinite(shape) || !IsPositiveFinite(rate)) return MCMV::Missing();
    return Checked([&](long& fault) { return gampoint(x, rate, shape, true, fault); });
}

double MCDistFun::PdfGamma(double x, double shape, double rate)
{
    if (!IsPositiveFinite(shape) || !IsPositiveFinite(rate)) return MCMV::Missing();
    if (std::isnan(x)) return x;
    if (x < 0.0 || std::isinf(x)) return 0.0;
    if (x == 0.0) return shape > 1.0 ? 0.0 : shape == 1.0 ? rate : MCMV::Missing();
    double density = 0.0;
    // Farther than this from the mode the exponent is below -1e10, whatever the factors before it.
    const double ratio = x * rate / shape;
    if (shape > 1e10 && !(ratio > 1e-3 && ratio < 1e3)) return 0.0;
    if (x * rate < kLeastProduct) {
        // (rate x)^(shape - 1) rate / Gamma(shape), in logarithms: each factor may leave the range by itself
        const double logGamma = shape <= 1.0 ? internal::LogGammaOnePlus(shape) - PortableLog(shape) : dnlgam(shape);
        const DoubleDouble logRate = internal::AccurateLog({rate});
        const DoubleDouble power = (shape - 1.0) * (internal::AccurateLog({x}) + logRate);
        const DoubleDouble exponent = power + logRate - DoubleDouble{logGamma};
        density = exponent.head > 709.0 ? HUGE_VAL : Exp(exponent.head, exponent.tail);
    } else {
        density = internal::GammaDensityTimesX(internal::SafeProduct(x, rate), shape) / x;
    }
    return std::isinf(density) ? MCMV::Missing() : density;
}

/// The bracketed search: chi-square with its smaller tail equal to the smaller of p and 1 - p, from a given start.
double MCDistFun::idfchb(double p, const internal::GammaShape& shape, double start, long& fault)
{
    fault = 0;
    const double a = shape.a;
    const bool isLower = p < 0.5;
    const double target = isLower ? p : 1.0 - p;
    const auto evaluate = [&](double x) {
        const GammaTails tails = internal::IncompleteGamma({x}, shape, true);
        const double tail = !tails.reached ? gamnrm(x, a, isLower) : isLower ? tails.lower : tails.upper;
        return internal::ProbeTail(x, {tail, tails.weight, a - x, isLower}, target, internal::kFullTolerance);
    };
    const Root root = internal::SearchRoot(0.5 * start, 0.0, 0.5 * std::numeric_limits<double>::max(), evaluate);
    return root.found ? 2.0 * root.x : Refuse(fault, 2L);
}

/// Algorithm AS 91 (Best and Roberts 1975, Applied Statistics 24, 385-388) with AS R85 (Shea 1991): the start and up to
/// 20 iterations of the seven-term Taylor series; idfchb then brings the result to full accuracy, and does the whole
/// search for p within 2e-6 of 0 or 1 and wherever the iteration fails.
double MCDistFun::tavoidfchi(double p, double df, const internal::GammaShape& shape, long& fault)
{
    // Held in single precision and widened on use, on purpose; the final search removes what that costs in the start.
    constexpr double kLn2 = 0.6931471806f;
    constexpr double kTolerance = 0.5e-6f;
    constexpr double kStartTolerance = 0.01f;
    constexpr double kTwoNinths = 0.222222f;
    constexpr double kSmallDf = 0.32f;
    constexpr double kFirstSmall = 0.4f;
    constexpr double kSmallFactor = 1.24f;
    constexpr double kUpperFactor = 2.2f;
    constexpr double k467 = 4.67f;
    constexpr double k666 = 6.66f;
    constexpr double k673 = 6.73f;
    constexpr double k1332 = 13.32f;
    constexpr double kLeastP = 0.000002f;
    constexpr double kMostP = 0.999998f;

    fault = 0;
    if (!internal::IsProbabilityBelowOne(p) || !IsPositiveFinite(df)) return Refuse(fault, 1L);
    if (p == 0.0) return 0.0;
    const double half = 0.5 * df;
    const double c = half - 1.0;
    const double g = dnlgam(half);
    const double logP = PortableLog(p);
    double chi = 0.0;
    if (df < -kSmallFactor * logP) {
        chi = PortableExp((logP + PortableLog(half) + g + half * kLn2) / half);
        if (chi < kTolerance) {
            // The leading term of the series is all there is. What vanishes is the quantile as a double: 0.
            if (chi == 0.0) return 0.0;
            return idfchb(p, shape, chi, fault);
        }
    } else if (df <= kSmallDf) {
        const double a = PortableLogOnePlus(-p);
        chi = kFirstSmall;
        for (int pass = 0; pass < 50; ++pass) {
            const double old = chi;
            const double p1 = 1.0 + chi * (k467 + chi);
            const double p2 = chi * (k673 + chi * (k666 + chi));
            const double t = -0.5 + (k467 + 2.0 * chi) / p1 - (k673 + chi * (k1332 + 3.0 * chi)) / p2;
            chi -= (1.0 - PortableExp(a + g + 0.5 * chi + c * kLn2) * p2 / p1) / t;
            if (std::fabs(old / chi - 1.0) <= kStartTolerance) break;
        }
    } else {
        const double x = probit(p);
        const double p1 = kTwoNinths / df;
        const double root = x * std::sqrt(p1) + 1.0 - p1;
        chi = df * root * root * root;
        if (chi > kUpperFactor * df + 6.0) chi = -2.0 * (PortableLogOnePlus(-p) - c * PortableLog(0.5 * chi) + g);
    }
    if (p < kLeastP || p > kMostP || !(chi > 0.0)) return idfchb(p, shape, chi, fault);

    constexpr int kMaxIterations = 20;
    constexpr double kShortStep = 0.02;
    const double start = chi;
    for (int iteration = 0; iteration < kMaxIterations; ++iteration) {
        const double old = chi;
        const GammaTails tails = internal::IncompleteGamma({0.5 * chi}, shape, true);
        const double missing = p < 0.5 ? p - tails.lower : tails.upper - (1.0 - p); // p - P without cancellation
        const double t = missing / tails.weight * chi;                              // over the density at chi
        const double b = t / chi;
        const double a = 0.5 * t - b * c;
        const double s1 = (210.0 + a * (140.0 + a * (105.0 + a * (84.0 + a * (70.0 + 60.0 * a))))) / 420.0;
        const double s2 = (420.0 + a * (735.0 + a * (966.0 + a * (1141.0 + 1278.0 * a)))) / 2520.0;
        const double s3 = (210.0 + a * (462.0 + a * (707.0 + 932.0 * a))) / 2520.0;
        const double s4 = (252.0 + a * (672.0 + 1182.0 * a) + c * (294.0 + a * (889.0 + 1740.0 * a))) / 5040.0;
        const double s5 = (84.0 + 264.0 * a + c * (175.0 + 606.0 * a)) / 2520.0;
        const double s6 = (120.0 + c * (346.0 + 127.0 * c)) / 5040.0;
        chi += t * (1.0 + 0.5 * t * s1 - b * c * (s1 - b * (s2 - b * (s3 - b * (s4 - b * (s5 - b * s6))))));
        if (!tails.reached || !(chi > 0.0)) return idfchb(p, shape, start, fault);
        // The rest of the seven terms is the eighth power of the step in standard deviations: where that is below the
        // tolerance, the search finds no more to do than after another pass.
        const double step = old / chi - 1.0;
        if (std::fabs(step) <= kTolerance || step * step * (1.0 + half) <= kShortStep) break;
    }
    return idfchb(p, shape, chi, fault);
}

namespace {

constexpr double kVanishingQuantile = 1e-290; // up to here the first term of the series is the whole

/// The quantile of a gamma distribution from (rate x)^shape = p Gamma(shape + 1), where rate x may be below the least
/// double while x is not, or so small that its last digits are gone.
double QuantileNearZero(double p, double shape, double rate)
{
    const double logScale =
        shape <= 1.0 ? internal::LogGammaOnePlus(shape) : internal::LogGamma(shape) + PortableLog(shape);
    const DoubleDouble logPoint = (internal::AccurateLog({p}) + DoubleDouble{logScale}) / DoubleDouble{shape};
    const DoubleDouble exponent = logPoint - internal::AccurateLog({rate});
    return exponent.head > -746.0 ? Exp(exponent.head, exponent.tail) : 0.0; // a NaN as well
}

} // namespace

double MCDistFun::IdfChi(double p, double df)
{
    double x = 0.0;
    IdfChi(&p, &x, 1, df);
    return x;
}

void MCDistFun::IdfChi(const double* p, double* x, std::size_t n, double df)
{
    if (!IsPositiveFinite(df) || !(0.5 * df > 0.0)) {
        std::fill_n(x, n, MCMV::Missing());
        return;
    }
    const internal::GammaShape shape = internal::GammaShape::Of(0.5 * df);
    for (std::size_t i = 0; i < n; ++i) {
        const double wanted = p[i];
        const double found = Checked([&](long& fault) { return tavoidfchi(wanted, df, shape, fault); });
        const bool vanishes = found >= 0.0 && found < kVanishingQuantile && wanted > 0.0;
        x[i] = vanishes ? QuantileNearZero(wanted, 0.5 * df, 0.5) : found;
    }
}

double MCDistFun::IdfGam(const double& p, const double& shape, const double& rate)
{
    if (!internal::IsProbabilityBelowOne(p) || !(shape >= 0.0) || !IsPositiveFinite(rate)) return MCMV::Missing();
    if (p == 0.0) return 0.0;
    const double chi = IdfChi(p, 2.0 * shape);
    if (MCMV::IsMissing(chi)) return chi;
    const double x = chi < kVanishingQuantile && shape > 0.0 ? QuantileNearZero(p, shape, rate) : chi * 0.5 / rate;
    return std::isinf(x) ? MCMV::Missing() : x;
}

} // namespace MCMath_930
