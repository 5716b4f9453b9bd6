// The regularised incomplete gamma function.
#pragma once

#include "modelcore/common/internal/DoubleDouble.h"

namespace MCMath_930::internal {

struct GammaTails {
    double lower;  ///< P(a, x)
    double upper;  ///< Q(a, x) = 1 - P(a, x)
    double weight; ///< x^a exp(-x) / Gamma(a): the density times x
    bool reached;  ///< false when the caller has to take its normal approximation; of the rest only weight is set then
};

/// x^a exp(-x) / Gamma(a) for finite x > 0 and a > 0; 0 when its logarithm is below -708.
double GammaDensityTimesX(const DoubleDouble& x, double a);

/// Both tails for finite x > 0 and a > 0. x may carry more digits than a double, as a product of two does.
GammaTails IncompleteGamma(const DoubleDouble& x, double a);

/// The same where what the shape gives is known. The weight is set only when asked for, or needed.
struct GammaShape;
GammaTails IncompleteGamma(const DoubleDouble& x, const GammaShape& shape, bool wantWeight);

/// Both tails at a point that is known by its logarithm and so near 0 that exp(-x) is 1.
GammaTails IncompleteGammaNearZero(const DoubleDouble& logX, double a);

/// The same, always reached: for shapes above 1e5 the expansion around the normal distribution takes the place of the
/// sums near the mode, where those are long and above 1.7e7 give up.
GammaTails IncompleteGammaOrExpansion(const DoubleDouble& x, double a);

} // namespace MCMath_930::internal
