// The bilinear form of two sparse vectors, whatever the matrix.
#pragma once

#include "modelcore/common/MCMV.h"
#include "modelcore/matrix/MCSparseVector.h"

#include <cstddef>

namespace MCMath_930::internal {

/// v'*A*w over the stored elements of v and w; system-missing when one is not valid or too long for a matrix of rows x
/// cols elements.
template <class Matrix>
double SparseForm(const Matrix& A, int rows, int cols, const MCSparseVector& v, const MCSparseVector& w)
{
    if (!v.IsValid() || !w.IsValid() || v.GetIndices().back() >= rows || w.GetIndices().back() >= cols)
        return MCCommon_930::MCMV::Missing();
    double sum = 0.0;
    for (std::size_t i = 0; i < v.GetIndices().size(); ++i) {
        double rowSum = 0.0;
        for (std::size_t j = 0; j < w.GetIndices().size(); ++j)
            rowSum += A.Matrix::GetElem(v.GetIndices()[i], w.GetIndices()[j]) * w.GetValues()[j];
        sum += v.GetValues()[i] * rowSum;
    }
    return sum;
}

} // namespace MCMath_930::internal
