// The expansion of a beta or gamma distribution with large shapes around the normal distribution.
#pragma once

namespace MCMath_930::internal {

/// The expansion needs a spread of 8 standard units and a point that is not too many of them away: its 17 terms then
/// leave an error below 1e-15.
inline constexpr double kLeastExpansionSpread = 64.0;
inline bool ExpansionServes(double spread2, double deviance)
{
    return spread2 >= kLeastExpansionSpread && deviance <= 0.065 * spread2;
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
