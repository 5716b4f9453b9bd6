// MCDistFun: quantiles of the beta, t and F distributions.
#include "modelcore/distributions/MCDistFun.h"

#include "modelcore/common/MCMV.h"
#include "modelcore/distributions/internal/AccurateLog.h"
#include "modelcore/distributions/internal/BetaSums.h"
#include "modelcore/distributions/internal/Domain.h"
#include "modelcore/distributions/internal/GammaPieces.h"
#include "modelcore/distributions/internal/IncompleteBeta.h"
#include "modelcore/distributions/internal/PortableMath.h"
#include "modelcore/distributions/internal/RootSearch.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace MCMath_930 {

using internal::BetaShapes;
using internal::BetaTails;
using internal::DoubleDouble;
using internal::IsPositiveFinite;
using internal::PortableCubeRoot;
using internal::PortableExp;
using internal::PortableExpMinusOne;
using internal::PortableLog;
using internal::PortablePower;
using internal::PortableTangent;
using internal::Probe;
using internal::Root;
using internal::UnitPoint;

namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kLargest = std::numeric_limits<double>::max();
constexpr double kMostOdds = 1e290; // beyond, odds cannot be held as two doubles

/// A start for the point t > 0 with P(T > t) = q < 0.5: Hill (1970), Algorithm 396, which gives six digits for df >= 1;
/// below, the leading term of the tail, where the search has to do the work. z is the normal quantile of q.
double StudentStart(double q, double df, double z)
{
    if (df < 1.0) return std::sqrt(df) * PortablePower(2.0 * q, -1.0 / df);
    const double p = 2.0 * q;
    const double a = 1.0 / (df - 0.5);
    const double b = 48.0 / (a * a);
    double c = ((20700.0 * a / b - 98.0) * a - 16.0) * a + 96.36;
    const double d = ((94.5 / (b + c) - 3.0) / b + 1.0) * std::sqrt(a * 0.5 * kPi) * df;
    double y = PortablePower(d * p, 2.0 / df);
    if (y > 0.05 + a) {
        const double x = z;
        y = x * x;
        if (df < 5.0) c += 0.3 * (df - 4.5) * (x + 0.6);
        c += (((0.05 * d * x - 5.0) * x - 7.0) * x - 2.0) * x + b;
        y = (((((0.4 * y + 6.3) * y + 36.0) * y + 94.5) / c - y - 3.0) / b + 1.0) * x;
        y = PortableExpMinusOne(a * y * y);
    } else {
        y = ((1.0 / (((df + 6.0) / (df * y) - 0.089 * d - 0.822) * (df + 2.0) * 3.0) + 0.5 / (df + 4.0)) * y - 1.0) *
                (df + 1.0) / (df + 2.0) +
            1.0 / y;
    }
    return std::sqrt(df * y);
}

double LogBeta(double a, double b)
{
    return internal::LogGamma(a) + internal::LogGamma(b) - internal::LogGamma(a + b);
}

/// A start for the odds x/(1 - x) with lower tail p, z the normal quantile of p: Cran, Martin and Thomas (1977),
/// Algorithm AS 109, Applied Statistics 26, 111-114, for both shapes above 1; otherwise the leading terms at the two
/// ends, which are all there is to tiny shapes.
double BetaStart(double p, double a, double b, double z)
{
    if (a > 1.0 && b > 1.0) {
        const double r = (z * z - 3.0) / 6.0;
        const double s = 1.0 / (2.0 * a - 1.0);
        const double t = 1.0 / (2.0 * b - 1.0);
        const double h = 2.0 / (s + t);
        const double w = -z * std::sqrt(std::max(h + r, 0.0)) / h - (t - s) * (r + 5.0 / 6.0 - 2.0 / (3.0 * h));
        return a / b * PortableExp(-2.0 * w);
    }
    const double logBeta = LogBeta(a, b);
    const double fromLeft = PortableExp((PortableLog(p * a) + logBeta) / a);
    const double fromRight = PortableExp((PortableLog((1.0 - p) * b) + logBeta) / b);
    return fromLeft < fromRight ? fromLeft / (1.0 - std::min(fromLeft, 0.5))
                                : (1.0 - std::min(fromRight, 0.5)) / fromRight;
}

} // namespace

double MCDistFun::tavoidft(double p, double df, double a, double b, BetaShapes& shapes, long& fault)
{
    constexpr double kRelativeTolerance = 1e-12;
    constexpr double kAbsoluteTolerance = 1e-20;
    fault = 0;
    if (!internal::IsInsideProbability(p) || !(df > 0.0)) return internal::Refuse(fault, 1L);
    if (p == 0.5) return 0.0;
    if (df >= internal::kNormalDf) return probit(p);
    const double q = std::min(p, 1.0 - p);
    const double centre = 0.5 - q; // P(0 < T < t), exact where it is the smaller number
    double t = 0.0;
    if (df == 1.0) {
        t = q < 0.25 ? 1.0 / PortableTangent(kPi * q) : PortableTangent(kPi * centre);
    } else if (df == 2.0) {
        t = 2.0 * centre / std::sqrt(2.0 * q * (1.0 - q));
    } else {
        const double relative =
            std::clamp(PortableCubeRoot(a > 0.0 ? a : kRelativeTolerance), internal::kFullTolerance, 0.1);
        const double absolute = b > 0.0 ? b : kAbsoluteTolerance;
        const bool isLower = q >= 0.25; // of |T|
        const double target = isLower ? 2.0 * centre : 2.0 * q;
        const auto evaluate = [&](double x) {
            const BetaTails tails = cbttails(x, df, shapes, true);
            const double tail = isLower ? tails.upper : tails.lower;
            const double slope = 1.0 - (df + 1.0) / (df / x / x + 1.0);
            Probe probe = internal::ProbeTail(x, {tail, 2.0 * tails.weight, slope, isLower}, target, relative);
            // A short step means the root is near only where the tail is already about right.
            const bool near = tail < 2.0 * target && target < 2.0 * tail;
            if (near && std::fabs(probe.next - x) <= absolute) probe.close = true;
            return probe;
        };
        const Root root = internal::SearchRoot(StudentStart(q, df, probit(q)), 0.0, kLargest, evaluate);
        if (!root.found) return internal::Refuse(fault, 2L);
        t = root.x;
    }
    return p < 0.5 ? -t : t;
}

double MCDistFun::IdfT(double p, double df, double a, double b)
{
    BetaShapes shapes{0.5 * df, 0.5};
    return internal::Checked([&](long& fault) { return tavoidft(p, df, a, b, shapes, fault); });
}

/// The odds x/(1 - x) of the beta quantile, for 0 < p < 1, as a multiple of exp(logUnit); infinite when that exceeds
/// every double, 0 below the least. Halley's method on the logarithm of the smaller tail as a function of the log odds:
/// there it is concave, and straight at both ends.
double MCDistFun::betodd(double p, BetaShapes& shapes, const DoubleDouble& logUnit)
{
    const double a = shapes.a;
    const double b = shapes.b;
    const bool isLower = p < 0.5;
    const double target = isLower ? p : 1.0 - p;
    const auto pointAt = [&](double odds) {
        const bool plain = logUnit.head == 0.0 && odds >= internal::kLeastOdds && odds <= kMostOdds;
        return plain ? UnitPoint::Dividing({odds}, {1.0})
                     : UnitPoint::AtLogOdds(internal::AccurateLog({odds}) + logUnit);
    };
    const auto evaluate = [&](double odds) {
        const UnitPoint point = pointAt(odds);
        const BetaTails tails = cbtaux(point, shapes, true);
        const double slope = a * point.y.head - b * point.x.head;
        return internal::ProbeTail(odds, {isLower ? tails.lower : tails.upper, tails.weight, slope, isLower}, target,
                                   internal::kFullTolerance);
    };
    const double start = BetaStart(p, a, b, probit(p)) / PortableExp(logUnit.head);
    const Root root = internal::SearchRoot(start, 0.0, kLargest, evaluate);
    constexpr double kLeastDouble = std::numeric_limits<double>::denorm_min();
    if (root.x < internal::kLeastOdds && cbtaux(pointAt(kLeastDouble), shapes, false).lower >= p) return 0.0;
    return root.found ? root.x : HUGE_VAL;
}

double MCDistFun::betinv(double p, double a, double b, long& fault)
{
    fault = 0;
    if (!internal::IsProbability(p) || !IsPositiveFinite(a) || !IsPositiveFinite(b)) return internal::Refuse(fault, 1L);
    if (p == 0.0 || p == 1.0) return p;
    BetaShapes shapes{a, b};
    const double odds = betodd(p, shapes, {});
    return odds < 1.0 ? odds / (1.0 + odds) : 1.0 / (1.0 + 1.0 / odds);
}

double MCDistFun::IdfBeta(const double& p, const double& a, const double& b)
{
    return internal::Checked([&](long& fault) { return betinv(p, a, b, fault); });
}

double MCDistFun::tavoidff(double p, double df1, double df2, BetaShapes& shapes, long& fault)
{
    fault = 0;
    if (!internal::IsProbabilityBelowOne(p) || !IsPositiveFinite(df1) || !IsPositiveFinite(df2))
        return internal::Refuse(fault, 1L);
    if (p == 0.0) return 0.0;
    const double odds = betodd(p, shapes, {});
    double x = odds / df1 * df2;
    if (!(odds > internal::kLeastOdds && odds < kMostOdds && x > 0.0 && x < kLargest)) // the odds, but perhaps not x
        x = betodd(p, shapes, internal::AccurateLog({df1}) - internal::AccurateLog({df2}));
    return std::isinf(x) ? internal::Refuse(fault, 2L) : x;
}

double MCDistFun::IdfF(double p, double df1, double df2)
{
    BetaShapes shapes{0.5 * df1, 0.5 * df2};
    return internal::Checked([&](long& fault) { return tavoidff(p, df1, df2, shapes, fault); });
}

void MCDistFun::IdfT(const double* p, double* t, std::size_t n, double df, double a, double b)
{
    BetaShapes shapes{0.5 * df, 0.5};
    for (std::size_t i = 0; i < n; ++i)
        t[i] = internal::Checked([&](long& fault) { return tavoidft(p[i], df, a, b, shapes, fault); });
}

void MCDistFun::IdfF(const double* p, double* x, std::size_t n, double df1, double df2)
{
    BetaShapes shapes{0.5 * df1, 0.5 * df2};
    for (std::size_t i = 0; i < n; ++i)
        x[i] = internal::Checked([&](long& fault) { return tavoidff(p[i], df1, df2, shapes, fault); });
}

} // namespace MCMath_930
