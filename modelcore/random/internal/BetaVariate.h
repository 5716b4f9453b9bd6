// Beta variates.
#pragma once

#include "modelcore/common/MCMV.h"
#include "modelcore/distributions/MCDistFun.h"
#include "modelcore/distributions/internal/PortableMath.h"
#include "modelcore/random/internal/KindermanRamage.h"
#include "modelcore/random/internal/Rejection.h"

#include <algorithm>
#include <cmath>

namespace MCMath_930::internal {

/// Beta variates of two shapes, which are positive and finite. What depends on the shapes alone is computed once.
class BetaVariate {
public:
    BetaVariate(double a, double b) : fA(a), fB(b), fMethod(MethodOf(a, b))
    {
        switch (fMethod) {
        case Method::kSymmetric: fSpread = std::sqrt(2.0 * (a - 1.0)); break;
        case Method::kBothAboveOne: {
            const double least = std::min(a, b);
            fAlpha = a + b;
            fBeta = std::sqrt((1.0 - 2.0 / fAlpha) / (2.0 * least * (std::max(a, b) / fAlpha) - 1.0));
            fGamma = least + 1.0 / fBeta;
            break;
        }
        case Method::kOneUpToOne: {
            const double least = std::min(a, b);
            const double most = std::max(a, b);
            fAlpha = most + least;
            fBeta = 1.0 / least;
            const double delta = 1.0 + most - least;
            fK1 = delta * (0.0138889 + 0.0416667 * least) / (most * fBeta - 0.777778);
            fK2 = 0.25 + (0.5 + 0.25 / delta) * least;
            break;
        }
        default: break;
        }
    }

    double GetA() const { return fA; }
    double GetB() const { return fB; }

    /// @param next  called for each uniform
    template <class Uniform>
    double Draw(Uniform& next) const
    {
        switch (fMethod) {
        case Method::kUniform: return next();
        case Method::kSymmetric: return DrawBS(next);
        case Method::kQuantile: return MCDistFun::IdfBeta(next(), fA, fB);
        case Method::kBothAboveOne: return DrawBB(next);
        default: return DrawBC(next);
        }
    }

private:
    enum class Method { kUniform, kSymmetric, kQuantile, kBothAboveOne, kOneUpToOne };

    // The exponentials of the methods are held within these limits: 0 below, and above the shapes are too small.
    static constexpr double kOverflowLimit = 709.0;
    static constexpr double kUnderflowLimit = -708.0;
    // ln(u/(1-u)) of a 53-bit uniform stays below 36.8, so |ln(u/(1-u))|/shape stays within the limits from here on.
    static constexpr double kSmallestRejectionShape = 0.052;
    static_assert(36.8 / kSmallestRejectionShape < std::min(kOverflowLimit, -kUnderflowLimit));
    // ln 4 and 1 + ln 5 stand in the tests that decide, so they have all their digits; Cheng prints seven.
    static constexpr double kLn4 = 1.3862943611198906;
    static constexpr double kOnePlusLn5 = 2.6094379124341003;

    static Method MethodOf(double a, double b)
    {
        const double smaller = std::min(a, b);
        if (a == b && smaller == 1.0) return Method::kUniform;
        if (a == b && smaller > 1.5) return Method::kSymmetric;
        if (smaller < kSmallestRejectionShape) return Method::kQuantile;
        return smaller > 1.0 ? Method::kBothAboveOne : Method::kOneUpToOne;
    }

    static double GuardedExp(double x) { return x < kUnderflowLimit ? 0.0 : PortableExp(std::min(x, kOverflowLimit)); }

    // Algorithm BS: a normal variate with the curvature of the density at 1/2, accepted with the ratio of the two, which
    // is exp((a-1)*(ln(1-y) + y)) and lies between 1 - s^4/(8a-12) and 1 - q + q^2/2, q = s^4/(8a-8).
    template <class Uniform>
    double DrawBS(Uniform& next) const
    {
        const double exponent = fA - 1.0;
        for (int trial = 0; trial < kMaxTrials; ++trial) {
            const double s = StandardNormal(next);
            if (!(std::fabs(s) <= fSpread)) continue;
            const double u = next();
            const double square = s * s;
            const double fourth = square * square;
            const double x = 0.5 + 0.5 * (s / fSpread);
            if (u <= 1.0 - fourth / (8.0 * fA - 12.0)) return x;
            const double q = fourth / (8.0 * exponent);
            if (u >= 1.0 - q + 0.5 * q * q) continue;
            const double y = square / (2.0 * exponent);
            if (u <= GuardedExp(exponent * (PortableLogOnePlus(-y) + y))) return x;
        }
        return MCCommon_930::MCMV::Missing();
    }

    // Algorithm BB, for both shapes above 1.
    template <class Uniform>
    double DrawBB(Uniform& next) const
    {
        const double a = std::min(fA, fB);
        const double b = std::max(fA, fB);
        for (int trial = 0; trial < kMaxTrials; ++trial) {
            const double u1 = next();
            const double u2 = next();
            if (u1 == 0.0) continue; // its logarithm would be accepted
            const double v = fBeta * PortableLog(u1 / (1.0 - u1));
            const double w = a * GuardedExp(v);
            const double z = u1 * u1 * u2;
            const double r = fGamma * v - kLn4;
            const double bound = a + r - w;
            bool accept = bound + kOnePlusLn5 >= 5.0 * z;
            if (!accept) {
                const double t = PortableLog(z);
                accept = bound >= t || r + fAlpha * PortableLog(fAlpha / (b + w)) >= t;
            }
            if (accept) return fA == a ? w / (b + w) : b / (b + w);
        }
        return MCCommon_930::MCMV::Missing();
    }

    // Algorithm BC, for a shape of at most 1. With w = a*exp(v) the paper returns w/(b+w); here numerator and denominator
    // are divided by exp(v) when v > 0, so that nothing overflows.
    template <class Uniform>
    double DrawBC(Uniform& next) const
    {
        const double a = std::max(fA, fB);
        const double b = std::min(fA, fB);
        for (int trial = 0; trial < kMaxTrials; ++trial) {
            const double u1 = next();
            const double u2 = next();
            if (u1 == 0.0) continue; // its logarithm would be accepted
            const double y = u1 * u2;
            const double z = u1 * y;
            const bool atOnce = u1 >= 0.5 && z <= 0.25;
            if (!atOnce && (u1 < 0.5 ? 0.25 * u2 + z - y >= fK1 : z >= fK2)) continue;
            const double v = fBeta * PortableLog(u1 / (1.0 - u1));
            const double aPart = v > 0.0 ? a : a * GuardedExp(v);
            const double bPart = v > 0.0 ? b * GuardedExp(-v) : b;
            const double sum = aPart + bPart;
            if (atOnce || fAlpha * (PortableLog(fAlpha / sum) + std::min(v, 0.0)) - kLn4 >= PortableLog(z))
                return (fA == a ? aPart : bPart) / sum;
        }
        return MCCommon_930::MCMV::Missing();
    }

    double fA;
    double fB;
    Method fMethod;
    double fSpread = 0.0; // of BS; the rest in Cheng's names
    double fAlpha = 0.0;
    double fBeta = 0.0;
    double fGamma = 0.0;
    double fK1 = 0.0;
    double fK2 = 0.0;
};

} // namespace MCMath_930::internal
