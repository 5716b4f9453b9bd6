// MCDistFun: the incomplete beta function and the distributions that stand on it, Student's t and F.
#include "modelcore/distributions/MCDistFun.h"

#include "modelcore/common/MCMV.h"
#include "modelcore/distributions/internal/Domain.h"
#include "modelcore/distributions/internal/IncompleteBeta.h"
#include "modelcore/distributions/internal/RootSearch.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace MCMath_930 {

using internal::BetaTails;
using internal::DoubleDouble;
using internal::IsPositiveFinite;
using internal::Probe;
using internal::Root;
using internal::UnitPoint;
using MCCommon_930::MCMV;

namespace {

constexpr double kPi = 3.14159265358979323846;

// From here on Student's t and the normal distribution agree in every digit down to the least double.
constexpr double kNormalDf = 1e30;

// Squares and products beyond these bounds leave the range in which they can be held as two doubles.
constexpr double kTiny = 1e-140;
constexpr double kHuge = 1e140;

/// The point df/(df + t^2) of the unit interval, for 0 < t < kHuge and finite df > 0.
UnitPoint StudentPoint(double t, double df)
{
    if (t > kTiny) return UnitPoint::Dividing({df}, internal::ExactProduct(t, t));
    return UnitPoint::Dividing({1.0}, {t / df * t});
}

/// The point df1*x/(df1*x + df2) from the left, for finite positive arguments.
UnitPoint FisherPoint(double x, double df1, double df2)
{
    const bool inRange = x > kTiny && x < kHuge && df1 > kTiny && df1 < kHuge && df2 < kHuge;
    return inRange ? UnitPoint::Dividing(internal::ExactProduct(x, df1), {df2}) : UnitPoint::Dividing({x}, {df2 / df1});
}

/// P(T > t), t > 0, of Student's t with 1 degree of freedom.
double CauchyTail(double t)
{
    return std::atan(1.0 / t) / kPi;
}

/// A start for the point t > 0 with P(T > t) = q < 0.5: Hill (1970), Algorithm 396, which gives six digits for df >= 1;
/// below, the leading term of the tail, where the search has to do the work.
double StudentStart(double q, double df, double z)
{
    if (df < 1.0) return std::sqrt(df) * std::pow(2.0 * q, -1.0 / df);
    const double p = 2.0 * q;
    const double a = 1.0 / (df - 0.5);
    const double b = 48.0 / (a * a);
    double c = ((20700.0 * a / b - 98.0) * a - 16.0) * a + 96.36;
    const double d = ((94.5 / (b + c) - 3.0) / b + 1.0) * std::sqrt(a * 0.5 * kPi) * df;
    double y = std::pow(d * p, 2.0 / df);
    if (y > 0.05 + a) {
        const double x = z;
        y = x * x;
        if (df < 5.0) c += 0.3 * (df - 4.5) * (x + 0.6);
        c += (((0.05 * d * x - 5.0) * x - 7.0) * x - 2.0) * x + b;
        y = (((((0.4 * y + 6.3) * y + 36.0) * y + 94.5) / c - y - 3.0) / b + 1.0) * x;
        y = std::expm1(a * y * y);
    } else {
        y = ((1.0 / (((df + 6.0) / (df * y) - 0.089 * d - 0.822) * (df + 2.0) * 3.0) + 0.5 / (df + 4.0)) * y - 1.0) *
                (df + 1.0) / (df + 2.0) +
            1.0 / y;
    }
    return std::sqrt(df * y);
}

} // namespace

/// Both tails of the incomplete beta function at a point inside (0, 1). Where the parameters are out of reach of the
/// sums (below 1e-290 or above 1e290) the limit for vanishing parameters or the normal approximation 26.5.21 of
/// Abramowitz and Stegun (1964) takes their place.
BetaTails MCDistFun::cbtaux(const UnitPoint& point, double a, double b, bool wantWeight)
{
    BetaTails tails = internal::IncompleteBeta(point, a, b, wantWeight);
    if (tails.reached) return tails;
    tails.reached = true;
    tails.weight = 0.0;
    if (std::min(a, b) < 1.0) { // all mass in the two ends
        const double share = a < b ? a / b : b / a;
        tails.lower = a < b ? 1.0 / (1.0 + share) : share / (1.0 + share);
        tails.upper = a < b ? share / (1.0 + share) : 1.0 / (1.0 + share);
        return tails;
    }
    const double below = std::cbrt(b) * std::cbrt(point.x.head);
    const double above = std::cbrt(a) * std::cbrt(point.y.head);
    const double z = 3.0 * (below * (1.0 - 1.0 / 9.0 / b) - above * (1.0 - 1.0 / 9.0 / a)) /
                     std::hypot(below / std::sqrt(b), above / std::sqrt(a));
    tails.lower = prbnrm(z);
    tails.upper = prbnrm(-z);
    return tails;
}

/// The tails of the beta distribution at df/(df + t^2), t > 0: lower is P(|T| > t) of Student's t, weight t times the
/// density of |T|.
BetaTails MCDistFun::cbttails(double t, double df, bool wantWeight)
{
    if (t <= kHuge) return cbtaux(StudentPoint(t, df), 0.5 * df, 0.5, wantWeight);
    if (df > 1e3) return {0.0, 1.0, 0.0, true};
    // The square would overflow, but so far out the tail is proportional to t^-df in every digit.
    constexpr double kFar = 1e100;
    BetaTails tails = cbtaux(StudentPoint(kFar, df), 0.5 * df, 0.5, wantWeight);
    const double scale = std::pow(kFar / t, df);
    tails.lower *= scale;
    tails.weight *= scale;
    tails.upper = 1.0 - tails.lower;
    return tails;
}

double MCDistFun::cdfbet(double x, double a, double b, long& fault)
{
    fault = 0;
    if (!IsPositiveFinite(a) || !IsPositiveFinite(b)) {
        fault = 1;
        return MCMV::Missing();
    }
    if (std::isnan(x)) return x;
    if (x <= 0.0) return 0.0;
    if (x >= 1.0) return 1.0;
    return cbtaux(UnitPoint::At(x), a, b, false).lower;
}

double MCDistFun::CdfBeta(double x, double a, double b)
{
    long fault = 0;
    return cdfbet(x, a, b, fault);
}

double MCDistFun::tavocdft(double t, double df, long& fault)
{
    fault = 0;
    if (!(df > 0.0)) {
        fault = 1;
        return MCMV::Missing();
    }
    if (std::isnan(t)) return t;
    if (t == 0.0) return 0.5;
    if (std::isinf(t)) return t > 0.0 ? 1.0 : 0.0;
    if (df >= kNormalDf) return prbnrm(t);
    const double w = std::fabs(t);
    const double tail = df == 1.0 ? CauchyTail(w) : 0.5 * cbttails(w, df, false).lower;
    return t > 0.0 ? 1.0 - tail : tail;
}

double MCDistFun::CdfT(double t, double df)
{
    long fault = 0;
    return tavocdft(t, df, fault);
}

double MCDistFun::SigT(double t, double df)
{
    if (!(df > 0.0)) return MCMV::Missing();
    if (t == 0.0) return 0.5;
    if (df == 1.0) return 0.5 - std::atan(t) / kPi;
    long fault = 0;
    return tavocdft(-t, df, fault);
}

double MCDistFun::tavoidft(double p, double df, double a, double b, long& fault)
{
    constexpr double kRelativeTolerance = 1e-12;
    constexpr double kAbsoluteTolerance = 1e-20;
    fault = 0;
    if (!(p > 0.0) || !(p < 1.0) || !(df > 0.0)) {
        fault = 1;
        return MCMV::Missing();
    }
    if (p == 0.5) return 0.0;
    if (df >= kNormalDf) return probit(p);
    const double q = std::min(p, 1.0 - p);
    const double centre = 0.5 - q; // P(0 < T < t), exact where it is the smaller number
    double t = 0.0;
    if (df == 1.0) {
        t = q < 0.25 ? 1.0 / std::tan(kPi * q) : std::tan(kPi * centre);
    } else if (df == 2.0) {
        t = 2.0 * centre / std::sqrt(2.0 * q * (1.0 - q));
    } else {
        const double relative = a > 0.0 ? a : kRelativeTolerance;
        const double absolute = b > 0.0 ? b : kAbsoluteTolerance;
        const auto evaluate = [&](double x) {
            const BetaTails tails = cbttails(x, df, true);
            const double excess = q < 0.25 ? q - 0.5 * tails.lower : 0.5 * tails.upper - centre;
            // Halley's step: the density is weight/x, its logarithmic derivative -(df + 1) x/(df + x^2).
            const double newton = excess / tails.weight * x;
            const double bend = 0.5 * newton * (df + 1.0) / (df / x + x);
            const double step = newton / std::max(1.0 + bend, 0.5);
            // An error of e in the probability before a Halley step leaves e^3 after it.
            const bool close = std::fabs(excess) <= std::min(std::cbrt(relative), 1e-4) * std::min(q, centre) ||
                               std::fabs(step) <= absolute;
            return Probe{(excess > 0.0) - (excess < 0.0), x - step, close};
        };
        const double start = StudentStart(q, df, -probit(q));
        const Root root = internal::SearchRoot(start, 0.0, std::numeric_limits<double>::max(), evaluate);
        if (!root.found) {
            fault = 2;
            return MCMV::Missing();
        }
        t = root.x;
    }
    return p < 0.5 ? -t : t;
}

double MCDistFun::IdfT(double p, double df, double a, double b)
{
    long fault = 0;
    return tavoidft(p, df, a, b, fault);
}

double MCDistFun::tavocdff(double x, double df1, double df2, long& fault)
{
    fault = 0;
    if (!IsPositiveFinite(df1) || !IsPositiveFinite(df2)) {
        fault = 1;
        return MCMV::Missing();
    }
    if (std::isnan(x)) return x;
    if (x <= 0.0) return 0.0;
    if (std::isinf(x)) return 1.0;
    return cbtaux(FisherPoint(x, df1, df2), 0.5 * df1, 0.5 * df2, false).lower;
}

double MCDistFun::CdfF(double x, double df1, double df2)
{
    long fault = 0;
    return tavocdff(x, df1, df2, fault);
}

double MCDistFun::SigF(double x, double df1, double df2)
{
    if (!IsPositiveFinite(df1) || !IsPositiveFinite(df2)) return MCMV::Missing();
    if (std::isnan(x)) return x;
    if (x <= 0.0) return 1.0;
    if (std::isinf(x)) return 0.0;
    return cbtaux(FisherPoint(x, df1, df2), 0.5 * df1, 0.5 * df2, false).upper;
}

} // namespace MCMath_930
