// The sums and the integrals behind the noncentral distributions.
#pragma once

#include "modelcore/common/internal/DoubleDouble.h"
#include "modelcore/distributions/internal/IncompleteBeta.h"

namespace MCMath_930::internal {

struct SumResult {
    double value;
    bool reached; ///< false when it would take more terms than that are worth their time, or starts from nothing
};

/// Sum over j >= 0 of Poisson(j; mean) * P(shape + j, x/2): the noncentral chi-square at x, mean being half its
/// noncentrality and shape half its degrees of freedom.
SumResult PoissonGammaLower(double mean, double x, double shape, double tolerance);

/// Sum over j >= 0 of w(j + shift) * I_x(a + j, b), w(r) = exp(-mean) mean^r / Gamma(r + 1); shift 0 makes the w
/// Poisson probabilities. The upper sum has 1 - I_x(a + j, b) in place of I_x.
SumResult PoissonBetaLower(double mean, double shift, const UnitPoint& point, double a, double b, double tolerance);
SumResult PoissonBetaUpper(double mean, double shift, const UnitPoint& point, double a, double b, double tolerance);

/// P(T <= t), P(T > t), or the density at t of the noncentral t with df > 0, for t > 0 and nc > 0, by an integral of
/// positive terms: right however small, and in a time that does not grow with the arguments. NaN if it does not end.
enum class NoncentralPart { Lower, Upper, Density };
double NoncentralTAbove(double t, double df, double nc, NoncentralPart part);

/// P(T <= -t) and the density at -t of the noncentral t with df > 0, for t > 0 and nc > 0: there the sums cancel, and
/// the integral of the normal over the chi distribution is taken instead.
double NoncentralTBelow(double t, double df, double nc);
double NoncentralTDensityBelow(double t, double df, double nc);

} // namespace MCMath_930::internal
