// Pieces of the gamma function that the gamma and beta families share.
#pragma once

#include "modelcore/distributions/internal/LogGammaTables.h"
#include "modelcore/distributions/internal/Normal.h"

#include <cmath>

namespace MCMath_930::internal {

/// ln Gamma(x) - ((x - 1/2) ln x - x + ln(2 pi)/2) for x >= 8.
inline double StirlingRemainder(double x)
{
    const double inverse = 1.0 / x;
    return Polynomial(kStirling, inverse * inverse) * inverse;
}

/// ln Gamma(x) for x > 0.
double LogGamma(double x);

/// ln Gamma(1 + a) for 0 < a <= 1, with an error relative to a.
double LogGammaOnePlus(double a);

/// ln(Gamma(b + a) / Gamma(b)) for b > 0 and 0 < a <= 1, with an error relative to a.
double LogGammaRatio(double b, double a);

/// x^x exp(-x) / Gamma(x), x > 0: what a gamma or beta density is at its scale, free of exponents.
double GammaWeight(double x);

/// 2 Gamma(x + 1/2) / (sqrt(pi) Gamma(x)), x > 0: the reciprocal of a B(a, x) for a = 1/2.
double HalfStep(double x);

} // namespace MCMath_930::internal
