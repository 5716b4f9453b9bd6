// The sums and the integral behind the noncentral distributions.
#pragma once

#include "modelcore/distributions/internal/DoubleDouble.h"
#include "modelcore/distributions/internal/IncompleteBeta.h"

namespace MCMath_930::internal {

struct SumResult {
    double value;
    bool reached; ///< false when it would take more than a million terms
};

/// Sum over j >= 0 of Poisson(j; mean) * P(shape + j, x), the noncentral chi-square with x and the noncentrality
/// halved.
SumResult PoissonGammaLower(double mean, const DoubleDouble& x, double shape, double tolerance);

/// Sum over j >= 0 of w(j + shift) * I_x(a + j, b), w(r) = exp(-mean) mean^r / Gamma(r + 1); shift 0 makes the w
/// Poisson probabilities. The upper sum has 1 - I_x(a + j, b) in place of I_x.
SumResult PoissonBetaLower(double mean, double shift, const UnitPoint& point, double a, double b, double tolerance);
SumResult PoissonBetaUpper(double mean, double shift, const UnitPoint& point, double a, double b, double tolerance);

/// P(T <= -t) and the density at -t of the noncentral t with df > 0, for t > 0 and nc > 0: there the sums cancel, and
/// the integral of the normal over the chi distribution is taken instead.
double NoncentralTBelow(double t, double df, double nc);
double NoncentralTDensityBelow(double t, double df, double nc);

} // namespace MCMath_930::internal
