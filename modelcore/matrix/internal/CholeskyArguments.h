// What the Cholesky members of all kinds of symmetric matrices share.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <span>
#include <vector>

namespace MCMath_930::internal {

/// Whether tol and the first n values of refDiag can be used. Written so that a NaN for tol is refused too.
inline bool CholeskyArgumentsValid(const std::vector<double>& refDiag, double tol, int n)
{
    return tol >= 0.0 && refDiag.size() >= static_cast<std::size_t>(n) &&
           std::none_of(refDiag.begin(), refDiag.begin() + n, [](double d) { return d < 0.0; });
}

/// The product of the factors as det[0]*10^det[1], brought to 1 <= |det[0]| < 10 after each multiplication so that it
/// cannot overflow. Stops at a product of 0, with the exponent reached so far. An infinite or NaN mantissa is left
/// alone.
inline void DecimalProduct(std::span<const double> factors, double* det)
{
    double mantissa = 1.0;
    double exponent = 0.0;
    for (const double factor : factors) {
        mantissa *= factor;
        if (mantissa == 0.0) break;
        if (!std::isfinite(mantissa)) continue;
        for (; std::fabs(mantissa) < 1.0; exponent -= 1.0) mantissa *= 10.0;
        for (; std::fabs(mantissa) >= 10.0; exponent += 1.0) mantissa /= 10.0;
    }
    det[0] = mantissa;
    det[1] = exponent;
}

} // namespace MCMath_930::internal
