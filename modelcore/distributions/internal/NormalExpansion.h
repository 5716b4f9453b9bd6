// The expansion of a beta or gamma distribution with large shapes around the normal distribution.
#pragma once

#include "modelcore/distributions/internal/Normal.h"

namespace MCMath_930::internal {

/// The expansion needs a spread of 8 standard units and a point that is not too many of them away: its 17 terms then
/// leave an error below 1e-15.
inline constexpr double kLeastExpansionSpread = 64.0;
inline constexpr double kMostExpansionDeviance = 0.065; // over the squared spread
inline bool ExpansionServes(double spread2, double deviance)
{
    return spread2 >= kLeastExpansionSpread && deviance <= kMostExpansionDeviance * spread2;
}

/// The coefficients of the moments for one delta and spread (see NormalExpansion).
inline constexpr int kExpansionTerms = 17;
struct ExpansionCoefficients {
    double term[kExpansionTerms];
};
ExpansionCoefficients MakeExpansionCoefficients(double delta, double spread2);

/// The sum for them, by the incomplete moments of the normal distribution: every moment is formed by additions of positive
/// numbers.
template <class V>
inline V ExpansionSum(const ExpansionCoefficients& coefficients, V deviance)
{
    const V half = Choose(deviance > 0.0, deviance, V(0.0));
    const V z = SquareRoot(2.0 * half);
    V even = 0.5 * ScaledErfc(SquareRoot(half)); // moments of |zeta|^k over exp(-deviance), k even and odd
    V odd = kInverseSqrtTwoPi;
    V power = z * kInverseSqrtTwoPi;
    V sum = even + coefficients.term[1] * odd;
    for (int k = 2; k + 1 < kExpansionTerms; k += 2) {
        even = static_cast<double>(k - 1) * even + power;
        power = power * z;
        sum = sum + coefficients.term[k] * even;
        odd = static_cast<double>(k) * odd + power;
        power = power * z;
        sum = sum + coefficients.term[k + 1] * odd;
    }
    even = static_cast<double>(kExpansionTerms - 2) * even + power;
    return sum + coefficients.term[kExpansionTerms - 1] * even;
}

/// A lower tail below the mean, over exp(-deviance) and the remainders of Stirling's formula.
///
/// In u = ln(t/(1-t)) the beta density is exp(-spread^2 zeta^2 / 2) with zeta a smooth function of u, spread^2 =
/// ab/(a+b); du/dzeta = sum of d_k zeta^k, and the incomplete normal moments of zeta^k follow from each other (the
/// expansion of DiDonato and Morris 1992, section 7, there called BASYM, in coefficients that depend on
/// delta = (b-a)/(a+b) alone). With b infinite, delta = 1 and spread^2 = a it is that of the gamma distribution.
///
/// @param deviance  spread^2 zeta^2 / 2 at the point
double NormalExpansion(double delta, double spread2, double deviance);

} // namespace MCMath_930::internal
