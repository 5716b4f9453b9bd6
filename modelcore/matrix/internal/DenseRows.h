// The rows of a rectangular matrix as an array, and their transpose.
#pragma once

#include "modelcore/matrix/MCRectMatrix.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace MCMath_930::internal {

/// The rows of a rectangular matrix, one after the other: its own storage when it is dense, a copy when it is not.
class DenseRows {
public:
    explicit DenseRows(const IMCRectMatrix& matrix)
        : fnRows(static_cast<std::size_t>(matrix.GetNRows())), fnCols(static_cast<std::size_t>(matrix.GetNCols()))
    {
        if (matrix.GetMatrixType() == IMCRectMatrix::kDenseMatrix) {
            fpRows = static_cast<const MCRectMatrix&>(matrix).GetPtr();
            return;
        }
        fvCopy.reserve(fnRows * fnCols);
        std::vector<double> row;
        for (int i = 0; i < matrix.GetNRows(); ++i) {
            matrix.GetRow(i, row);
            fvCopy.insert(fvCopy.end(), row.begin(), row.end());
        }
        fpRows = fvCopy.data();
    }
    DenseRows(const DenseRows&) = delete;
    DenseRows& operator=(const DenseRows&) = delete;

    std::size_t NRows() const { return fnRows; }
    std::size_t NCols() const { return fnCols; }
    const double* Ptr() const { return fpRows; }
    const double* Row(std::size_t i) const { return fpRows + i * fnCols; }

private:
    std::size_t fnRows;
    std::size_t fnCols;
    const double* fpRows = nullptr;
    std::vector<double> fvCopy;
};

/// The transpose of rows x cols elements stored row by row. Square tiles keep both sides in cache.
inline std::vector<double> Transposed(const double* a, std::size_t rows, std::size_t cols)
{
    constexpr std::size_t kTile = 16;
    std::vector<double> out(rows * cols);
    for (std::size_t i0 = 0; i0 < rows; i0 += kTile)
        for (std::size_t j0 = 0; j0 < cols; j0 += kTile)
            for (std::size_t i = i0; i < std::min(rows, i0 + kTile); ++i)
                for (std::size_t j = j0; j < std::min(cols, j0 + kTile); ++j) out[j * rows + i] = a[i * cols + j];
    return out;
}

} // namespace MCMath_930::internal
