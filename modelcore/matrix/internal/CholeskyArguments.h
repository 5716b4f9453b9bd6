// What the Cholesky members of all kinds of symmetric matrices share.
#pragma once

#include "modelcore/linalg/internal/LinpackDeterminant.h"
#include "modelcore/matrix/internal/ReferenceDiagonal.h"

#include <cstddef>
#include <vector>

namespace MCMath_930::internal {

/// Whether tol and the first n values of refDiag can be used. Written so that a NaN is refused too.
inline bool CholeskyArgumentsValid(const std::vector<double>& refDiag, double tol, int n)
{
    return tol >= 0.0 && refDiag.size() >= static_cast<std::size_t>(n) &&
           IsReferenceDiagonal({refDiag.data(), static_cast<std::size_t>(n)});
}

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
