// How products read their operands and form their results, whatever the storage of the operands.
#pragma once

#include "modelcore/common/MCMV.h"
#include "modelcore/kernels/Kernels.h"
#include "modelcore/kernels/TileProduct.h"
#include "modelcore/matrix/MCRectMatrix.h"
#include "modelcore/matrix/MCSparseVector.h"
#include "modelcore/matrix/MCSymMatrix.h"

#include <algorithm>
#include <cstddef>
#include <utility>
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

/// The sum of a[i]*b[i*stride] in index order, from 0.
inline double DotInOrder(const double* a, const double* b, std::size_t count, std::size_t stride = 1)
{
    double sum = 0.0;
    for (std::size_t i = 0; i < count; ++i) sum += a[i] * b[i * stride];
    return sum;
}

/// Stores a result that was formed aside. False, and out as it was, when out is not a packed matrix.
inline bool StorePacked(MCSymMatrix&& result, IMCSymMatrix& out)
{
    if (out.GetMatrixKind() != IMCSymMatrix::kPackedMatrix) return false;
    static_cast<MCSymMatrix&>(out) = std::move(result);
    return true;
}

inline bool IsPacked(const IMCSymMatrix& out)
{
    return out.GetMatrixKind() == IMCSymMatrix::kPackedMatrix;
}

/// out += a*b for a of rows x inner, b of inner x cols and out of rows x cols elements, all row by row. Each element
/// receives its terms in index order, so the tiles and the plain loop give the same bits.
inline void AddRowsTimesRows(double* out, const double* a, std::size_t aStride, std::size_t rows, std::size_t inner,
                             const double* b, std::size_t cols)
{
    // The tile wants its operands packed: for few rows, or when all of b stays in the innermost cache, that takes
    // longer than it saves.
    constexpr std::size_t kFewRows = 3;
    constexpr std::size_t kSmallOperand = 40 * 40;
    const bool small = rows <= kFewRows || inner * cols <= kSmallOperand;
    const TileWorkspace work(small ? 0 : static_cast<int>(cols));
    if (small || !work) {
        for (std::size_t i = 0; i < rows; ++i)
            AddRows(out + i * cols, b, static_cast<std::ptrdiff_t>(cols), inner, a + i * aStride, 1, cols);
        return;
    }
    const auto at = [](auto i) { return static_cast<std::size_t>(i); };
    AddProduct<ZeroFactor::Multiplies>(
        work, static_cast<int>(rows), static_cast<int>(inner), [&](int i) { return out + at(i) * cols; },
        [&](int) { return static_cast<int>(cols); }, [&](int i, int k) { return a[at(i) * aStride + at(k)]; },
        RowsOperand{[&](int k) { return b + at(k) * cols; }});
}

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

/// Stores the product a*b of rows x inner and inner x cols elements. False, and out as it was, when there can be no
/// matrix of that shape.
inline bool StoreProduct(const double* a, std::size_t rows, std::size_t inner, const double* b, std::size_t cols,
                         MCRectMatrix& out)
{
    MCRectMatrix result;
    if (!result.SetNRowsCols(static_cast<int>(rows), static_cast<int>(cols))) return false;
    AddRowsTimesRows(result.GetPtr(), a, inner, rows, inner, b, cols);
    out = std::move(result);
    return true;
}

} // namespace MCMath_930::internal
