// The determinant of a factored matrix as LINPACK returns it.
#pragma once

#include <cmath>

namespace MCMath_930::internal {

/// det[0] * 10^det[1], multiplied up factor by factor.
class ScaledDeterminant {
public:
    explicit ScaledDeterminant(double* det) : fDet(det)
    {
        fDet[0] = 1.0;
        fDet[1] = 0.0;
    }

    void ChangeSign() { fDet[0] = -fDet[0]; }

    /// Multiplies by a factor and brings the mantissa back to [1, 10).
    /// @return false when the product is zero, which nothing can change any more
    bool Multiply(double factor)
    {
        fDet[0] *= factor;
        if (fDet[0] == 0.0) return false;
        // The scaling of an infinity would never end; a NaN fails both comparisons.
        while (std::fabs(fDet[0]) < 1.0) {
            fDet[0] *= 10.0;
            fDet[1] -= 1.0;
        }
        while (std::fabs(fDet[0]) >= 10.0 && std::isfinite(fDet[0])) {
            fDet[0] /= 10.0;
            fDet[1] += 1.0;
        }
        return true;
    }

private:
    double* fDet;
};

} // namespace MCMath_930::internal
