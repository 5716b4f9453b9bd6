// The determinant of a triangular factor.
#pragma once

#include "modelcore/linalg/internal/LinpackDeterminant.h"

namespace MCMath_930::internal {

/// What LTDetInverse writes to det: the product of the n diagonal elements, diagonal(i), of a factor with that many zeros
/// among them.
template <class Diagonal>
void SetFactorDeterminant(double* det, int n, int zeros, Diagonal diagonal)
{
    ScaledDeterminant product(det);
    for (int i = 0; i < n && zeros == 0; ++i) product.Multiply(diagonal(i));
    if (zeros > 0) det[0] = det[1] = 0.0;
}

} // namespace MCMath_930::internal
