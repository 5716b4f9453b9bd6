// MCDistFun: the incomplete beta function and the distributions that stand on it, Student's t and F.
#include "modelcore/distributions/MCDistFun.h"

#include "modelcore/common/MCMV.h"
#include "modelcore/distributions/internal/AccurateLog.h"
#include "modelcore/distributions/internal/BetaSums.h"
#include "modelcore/distributions/internal/Domain.h"
#include "modelcore/distributions/internal/GammaPieces.h"
#include "modelcore/distributions/internal/IncompleteBeta.h"
#include "modelcore/distributions/internal/PortableMath.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace MCMath_930 {

using internal::BetaShapes;
using internal::BetaTails;
using internal::DoubleDouble;
using internal::Exp;
using internal::IsPositiveFinite;
using internal::PortableArcTangent;
using internal::PortableCubeRoot;
using internal::PortableHypotenuse;
using internal::PortableLog;
using internal::PortablePower;
using internal::UnitPoint;
using MCCommon_930::MCMV;

namespace {

constexpr double kPi = 3.14159265358979323846;

/// P(T > t), t > 0, of Student's t with 1 degree of freedom.
double CauchyTail(double t)
{
    return PortableArcTangent(1.0 / t) / kPi;
}

} // namespace

/// Both tails of the incomplete beta function at a point inside (0, 1). Where the parameters are out of reach of the
/// sums (below 1e-290 or above 1e290) the limit for vanishing parameters or the normal approximation 26.5.21 of
/// Abramowitz and Stegun (1964) takes their place.
BetaTails MCDistFun::cbtaux(const UnitPoint& point, BetaShapes& shapes, bool wantWeight)
{
    const double a = shapes.a;
    const double b = shapes.b;
    BetaTails tails = internal::IncompleteBeta(point, shapes, wantWeight);
    if (tails.reached) return tails;
    tails.reached = true;
    tails.weight = 0.0;
    if (std::min(a, b) < 1.0) {                                     // all mass in the two ends
        const double share = a < b ? a / b : a > 0.0 ? b / a : 1.0; // half a subnormal may be 0
        tails.lower = a < b ? 1.0 / (1.0 + share) : share / (1.0 + share);
        tails.upper = a < b ? share / (1.0 + share) : 1.0 / (1.0 + share);
        return tails;
    }
    const double below = PortableCubeRoot(b) * PortableCubeRoot(point.x.head);
    const double above = PortableCubeRoot(a) * PortableCubeRoot(point.y.head);
    const double z = 3.0 * (below * (1.0 - 1.0 / 9.0 / b) - above * (1.0 - 1.0 / 9.0 / a)) /
                     PortableHypotenuse(below / std::sqrt(b), above / std::sqrt(a));
    tails.lower = prbnrm(z);
    tails.upper = prbnrm(-z);
    return tails;
}

/// The tails of the beta distribution at df/(df + t^2), t > 0: lower is P(|T| > t) of Student's t, weight t times the
/// density of |T|.
BetaTails MCDistFun::cbttails(double t, double df, BetaShapes& shapes, bool wantWeight)
{
    BetaTails near{};
    if (internal::StudentNearCentre(t, df, shapes, wantWeight, near)) return near;
    if (t <= internal::kFarStudent) return cbtaux(internal::StudentPoint(t, df), shapes, wantWeight);
    if (df > 1e3) return {0.0, 1.0, 0.0, true};
    // The square would overflow, but so far out the tail is proportional to t^-df in every digit.
    constexpr double kFar = 1e100;
    BetaTails tails = cbtaux(internal::StudentPoint(kFar, df), shapes, wantWeight);
    const double scale = PortablePower(kFar / t, df);
    tails.lower *= scale;
    tails.weight *= scale;
    tails.upper = 1.0 - tails.lower;
    return tails;
}

double MCDistFun::cdfbet(double x, double a, double b, long& fault)
{
    fault = 0;
    if (!IsPositiveFinite(a) || !IsPositiveFinite(b)) return internal::Refuse(fault, 1L);
    if (std::isnan(x)) return x;
    if (x <= 0.0) return 0.0;
    if (x >= 1.0) return 1.0;
    BetaShapes shapes{a, b};
    return cbtaux(UnitPoint::At(x), shapes, false).lower;
}

double MCDistFun::CdfBeta(double x, double a, double b)
{
    return internal::Checked([&](long& fault) { return cdfbet(x, a, b, fault); });
}

double MCDistFun::tavocdft(double t, double df, long& fault)
{
    fault = 0;
    if (!(df > 0.0)) return internal::Refuse(fault, 1L);
    if (std::isnan(t)) return t;
    if (t == 0.0) return 0.5;
    if (std::isinf(t)) return t > 0.0 ? 1.0 : 0.0;
    if (df >= internal::kNormalDf) return prbnrm(t);
    const double w = std::fabs(t);
    BetaShapes shapes{0.5 * df, 0.5};
    const double tail = df == 1.0 ? CauchyTail(w) : 0.5 * cbttails(w, df, shapes, false).lower;
    return t > 0.0 ? 1.0 - tail : tail;
}

double MCDistFun::CdfT(double t, double df)
{
    return internal::Checked([&](long& fault) { return tavocdft(t, df, fault); });
}

double MCDistFun::SigT(double t, double df)
{
    if (!(df > 0.0)) return MCMV::Missing();
    if (t == 0.0) return 0.5;
    if (df == 1.0) return 0.5 - PortableArcTangent(t) / kPi;
    return internal::Checked([&](long& fault) { return tavocdft(-t, df, fault); });
}

double MCDistFun::PdfT(double t, double df, long& err)
{
    err = 0;
    if (!(df > 0.0)) return internal::Refuse(err, 1L);
    if (std::isnan(t)) return t;
    if (std::isinf(t)) return 0.0;
    if (0.5 * df == 0.0) return internal::Refuse(err, 2L); // the smallest double: its half is not one
    if (df >= internal::kNormalDf) return PdfNormalStandard(t);
    constexpr double kFewDf = 1e-6; // below, the logarithms of the gamma functions would cost the last digits
    if (df < kFewDf && t != 0.0 && std::fabs(t) < internal::kFarStudent)
        return internal::BetaWeight(internal::StudentPoint(std::fabs(t), df), 0.5 * df, 0.5) / std::fabs(t);
    constexpr double kHalfLogPi = 0.5723649429247001;
    // Everything is kept relative to (df + 1)/2 ln(1 + t^2/df), which alone can be large.
    DoubleDouble exponent{internal::LogGammaRatio(0.5 * df, 0.5) - 0.5 * PortableLog(df) - kHalfLogPi};
    const double w = std::fabs(t);
    if (w >= internal::kFarStudent) {
        exponent = exponent - (df + 1.0) * (internal::AccurateLog({w}) - 0.5 * internal::AccurateLog({df}));
    } else if (w > 1e-140) {
        const DoubleDouble half = 0.5 * internal::ExactSum(df, 1.0);
        const DoubleDouble ratio = internal::ExactProduct(w, w) / DoubleDouble{df};
        const DoubleDouble log = ratio.head <= internal::kSmallDeviation
                                     ? ratio - internal::SmallDeviance(ratio)
                                     : internal::AccurateLog(DoubleDouble{1.0} + ratio);
        exponent = exponent - half * log;
    }
    if (exponent.head < -708.0) return 0.0;
    return Exp(exponent.head, exponent.tail);
}

double MCDistFun::tavocdff(double x, double df1, double df2, long& fault)
{
    fault = 0;
    if (!IsPositiveFinite(df1) || !IsPositiveFinite(df2)) return internal::Refuse(fault, 1L);
    if (std::isnan(x)) return x;
    if (x <= 0.0) return 0.0;
    if (std::isinf(x)) return 1.0;
    BetaShapes shapes{0.5 * df1, 0.5 * df2};
    return cbtaux(internal::FisherPoint(x, df1, df2), shapes, false).lower;
}

double MCDistFun::CdfF(double x, double df1, double df2)
{
    return internal::Checked([&](long& fault) { return tavocdff(x, df1, df2, fault); });
}

double MCDistFun::SigF(double x, double df1, double df2)
{
    if (!IsPositiveFinite(df1) || !IsPositiveFinite(df2)) return MCMV::Missing();
    if (std::isnan(x)) return x;
    if (x <= 0.0) return 1.0;
    if (std::isinf(x)) return 0.0;
    BetaShapes shapes{0.5 * df1, 0.5 * df2};
    return cbtaux(internal::FisherPoint(x, df1, df2), shapes, false).upper;
}

} // namespace MCMath_930
