// The regularised incomplete beta function with both tails to full relative accuracy.
#pragma once

#include "modelcore/common/internal/DoubleDouble.h"
#include "modelcore/distributions/internal/AccurateLog.h"
#include "modelcore/distributions/internal/PortableMath.h"

#include <cmath>

namespace MCMath_930::internal {

/// A point of the unit interval by its distance from both ends; x + y = 1. Each distance has its own relative accuracy
/// and more than a double's digits: one rounding of x would change x^a by a of them.
struct UnitPoint {
    DoubleDouble x;
    DoubleDouble y;
    DoubleDouble logX{}; ///< ln x where x is so near 0 that a double does not hold its digits; else 0
    DoubleDouble logY{};

    /// x in (0, 1) as it stands.
    static UnitPoint At(double x) { return {{x}, ExactSumOrdered(1.0, -x)}; }

    /// The point with the given ln(x/y), however large.
    static UnitPoint AtLogOdds(const DoubleDouble& logOdds)
    {
        constexpr double kFar = 702.0; // exp(-702) is the last with all its digits
        const bool nearZero = logOdds.head < 0.0;
        const double odds = PortableExp(-std::fabs(logOdds.head)) * (1.0 + (nearZero ? logOdds.tail : -logOdds.tail));
        if (std::fabs(logOdds.head) <= kFar) return nearZero ? Dividing({odds}, {1.0}) : Dividing({1.0}, {odds});
        return nearZero ? UnitPoint{{odds}, {1.0}, logOdds, {}} : UnitPoint{{1.0}, {odds}, {}, -logOdds};
    }

    /// The point that divides the interval as below : above; both positive.
    static UnitPoint Dividing(const DoubleDouble& below, const DoubleDouble& above)
    {
        const DividingPoint<double> point = internal::Dividing<double>(below, above);
        return {point.x, point.y};
    }
};

struct BetaTails {
    double lower;  ///< I_x(a, b)
    double upper;  ///< 1 - I_x(a, b), computed as a tail of its own
    double weight; ///< x^a y^b / B(a, b): the density times x*y
    bool reached;  ///< false when the parameters are out of reach or a sum did not converge; then nothing else is set
};

/// Both tails of I_x(a, b), for 0 <= x <= 1 and 1e-290 <= a, b <= 1e290. The weight is set only when asked
/// for. Relative error of both tails at most 5e-15, from 1e-300 to 1, for a, b from 1e-3 to 1e6.
BetaTails IncompleteBeta(const UnitPoint& point, double a, double b, bool wantWeight);

/// The same where what the shapes give may be known already.
struct BetaShapes;
BetaTails IncompleteBeta(const UnitPoint& point, BetaShapes& shapes, bool wantWeight);

/// The tails of cbttails for t so near 0 that the series serves, else false; of shapes a = df/2 and b = 1/2. The ranges
/// are those in which an array is done side by side.
inline constexpr double kLeastStudent = 1e-70;
inline constexpr double kLeastStudentDf = 1e-100;
inline constexpr double kMostStudentDf = 1e15;
bool StudentNearCentre(double t, double df, BetaShapes& shapes, bool wantWeight, BetaTails& tails);

/// The weight alone.
double BetaWeight(const UnitPoint& point, double a, double b);

/// Odds below leave one coordinate without all its digits.
inline constexpr double kLeastOdds = 1e-305;

/// The point df/(df + t^2) of the unit interval, for 0 < t < kFarStudent and finite df > 0.
inline constexpr double kFarStudent = 1e140;
inline UnitPoint StudentPoint(double t, double df)
{
    // Squares and products beyond certain bounds leave the range in which they can be held as two doubles.
    const double odds = t > 1e-140 ? df / t / t : t / df * t;
    if (odds < kLeastOdds) return UnitPoint::AtLogOdds(AccurateLog({df}) - 2.0 * AccurateLog({t}));
    return t > 1e-140 ? UnitPoint::Dividing({df}, ExactProduct(t, t)) : UnitPoint::Dividing({1.0}, {odds});
}

/// The point df1*x/(df1*x + df2) of the unit interval, for finite positive arguments.
inline UnitPoint FisherPoint(double x, double df1, double df2)
{
    constexpr double kTiny = 1e-140;
    constexpr double kHuge = 1e140;
    const double odds = df2 / df1 / x;
    if (x > kTiny && x < kHuge && df1 > kTiny && df1 < kHuge && df2 > kTiny && df2 < kHuge && odds > kLeastOdds &&
        odds < 1.0 / kLeastOdds)
        return UnitPoint::Dividing(ExactProduct(x, df1), {df2});
    if (odds > kLeastOdds && odds < 1.0) return UnitPoint::Dividing({1.0}, {odds});
    if (odds >= 1.0 && odds < 1.0 / kLeastOdds) return UnitPoint::Dividing({1.0 / odds}, {1.0});
    return UnitPoint::AtLogOdds(AccurateLog({x}) + AccurateLog({df1}) - AccurateLog({df2}));
}

} // namespace MCMath_930::internal
