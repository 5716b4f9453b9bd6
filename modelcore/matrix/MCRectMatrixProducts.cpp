// MCRectMatrix: products, dot products, traces; treatment of rows and columns.
#include "modelcore/matrix/MCRectMatrix.h"

#include "modelcore/common/MCMV.h"
#include "modelcore/kernels/Kernels.h"
#include "modelcore/matrix/IMCSymMatrix.h"
#include "modelcore/matrix/MCSparseVector.h"
#include "modelcore/matrix/internal/DenseRows.h"
#include "modelcore/matrix/internal/RowProducts.h"
#include "modelcore/matrix/internal/SparseForm.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace MCMath_930 {

using internal::DenseRows;
using internal::DotInOrder;
using internal::Transposed;
using MCCommon_930::MCMV;

bool MCRectMatrix::ComputeRV(const std::vector<double>& v, std::vector<double>& out) const
{
    if (v.size() < RowLength()) return false;
    std::vector<double> result(ColLength());
    internal::DotColumns(result.data(), GetPtr(), fnCols, ColLength(), v.data(), RowLength());
    out.swap(result);
    return true;
}

bool MCRectMatrix::ComputeVR(const std::vector<double>& v, std::vector<double>& out) const
{
    if (v.size() < ColLength()) return false;
    std::vector<double> result(RowLength());
    internal::AddRowsTimesRows(result.data(), {v.data(), ColLength()}, 1, ColLength(), GetPtr(), RowLength(), false);
    out.swap(result);
    return true;
}

bool MCRectMatrix::ComputeMatrixProduct(const IMCRectMatrix& B, MCRectMatrix& out) const
{
    if (B.GetNRows() != fnCols) return false;
    const DenseRows b(B);
    return internal::StoreProduct(GetPtr(), ColLength(), RowLength(), b.Ptr(), b.NCols(), out);
}

bool MCRectMatrix::ComputeProductMatrixTrans(const IMCRectMatrix& B, MCRectMatrix& out) const
{
    if (B.GetNCols() != fnCols) return false;
    const DenseRows b(B);
    const std::vector<double> transposed = Transposed(b.Ptr(), b.NRows(), b.NCols());
    return internal::StoreProduct(GetPtr(), ColLength(), RowLength(), transposed.data(), b.NRows(), out);
}

double MCRectMatrix::ComputeVRW(const std::vector<double>& v, const std::vector<double>& w) const
{
    std::vector<double> rw;
    if (v.size() < ColLength() || !ComputeRV(w, rw)) return MCMV::Missing();
    return DotInOrder(v.data(), rw.data(), rw.size());
}

bool MCRectMatrix::ComputeRDiagV(const std::vector<double>& diag, const std::vector<double>& v,
                                 std::vector<double>& out) const
{
    if (diag.size() < RowLength() || v.size() < RowLength()) return false;
    std::vector<double> scaled(v.begin(), v.begin() + fnCols);
    for (std::size_t j = 0; j < RowLength(); ++j) scaled[j] *= diag[j];
    return ComputeRV(scaled, out);
}

bool MCRectMatrix::ComputeDiagR(const std::vector<double>& diag, MCRectMatrix& out) const
{
    if (diag.size() < ColLength()) return false;
    MCRectMatrix result(*this);
    for (int i = 0; i < fnRows; ++i)
        for (double& element : std::span(result.GetRowPtr(i), RowLength()))
            element *= diag[static_cast<std::size_t>(i)];
    out = std::move(result);
    return true;
}

bool MCRectMatrix::ComputeR1TransSR2(const IMCSymMatrix& S, const IMCRectMatrix& R2, MCRectMatrix& out) const
{
    MCRectMatrix left;
    return R2.GetNRows() == S.GetNRows() && S.ComputeRTransS(*this, left) && left.ComputeMatrixProduct(R2, out);
}

// S times a block of rows is the transpose of the transposed block times S.
bool MCRectMatrix::ComputeBlockDiagSR(const IMCSymMatrix& S, MCRectMatrix& out) const
{
    const int order = S.GetNRows();
    if (order < 1 || fnRows % order != 0) return false;
    MCRectMatrix result(fnRows, fnCols);
    MCRectMatrix block(order, fnCols);
    for (int first = 0; first < fnRows; first += order) {
        block.CopyRows(*this, first, order, 0);
        MCRectMatrix product;
        if (!S.ComputeRTransS(block, product)) return false;
        product.Transpose();
        result.CopyRows(product, 0, order, first);
    }
    out = std::move(result);
    return true;
}

double MCRectMatrix::ComputeSpVRSpW(const MCSparseVector& v, const MCSparseVector& w) const
{
    return internal::SparseForm(*this, fnRows, fnCols, v, w);
}

bool MCRectMatrix::ComputeVecProduct(const std::vector<double>& v, const std::vector<double>& w)
{
    constexpr auto kMost = static_cast<std::size_t>(std::numeric_limits<int>::max());
    if (v.size() > kMost || w.size() > kMost ||
        !ResizeNRowsCols(static_cast<int>(v.size()), static_cast<int>(w.size())))
        return false;
    double* to = GetPtr();
    for (const double x : v)
        for (const double y : w) *to++ = x * y;
    return true;
}

bool MCRectMatrix::ComputeAXpY(double a, const IMCRectMatrix& X)
{
    if (X.GetNRows() != fnRows || X.GetNCols() != fnCols) return false;
    std::vector<double> row;
    for (int i = 0; i < fnRows; ++i) {
        X.GetRow(i, row);
        internal::AddScaled(GetRowPtr(i), a, row.data(), RowLength());
    }
    return true;
}

bool MCRectMatrix::SubtractSymMatrix(const IMCSymMatrix& S)
{
    if (fnRows != fnCols || S.GetNRows() != fnRows) return false;
    for (int i = 0; i < fnRows; ++i)
        for (int j = S.GetIndexFirstInRow(i); j <= S.GetIndexLastInRow(i); ++j)
            SetElem(i, j, GetElem(i, j) - S.GetElem(i, j));
    return true;
}

double MCRectMatrix::DotProductCol(int j, const std::vector<double>& v) const
{
    if (!IsCol(j) || v.size() < ColLength()) return MCMV::Missing();
    return DotInOrder(v.data(), GetColPtr(j), ColLength(), RowLength());
}

double MCRectMatrix::DotProductColCol(int j, const IMCRectMatrix& other, int k) const
{
    std::vector<double> col;
    if (other.GetNRows() != fnRows || !other.GetCol(k, col)) return MCMV::Missing();
    return DotProductCol(j, col);
}

double MCRectMatrix::DotProductRows(int i, int k) const
{
    return DotProductRowRow(i, *this, k);
}

double MCRectMatrix::DotProductRowCol(int i, const IMCRectMatrix& other, int j) const
{
    std::vector<double> col;
    if (!IsRow(i) || other.GetNRows() != fnCols || !other.GetCol(j, col)) return MCMV::Missing();
    return DotInOrder(GetRowPtr(i), col.data(), RowLength());
}

double MCRectMatrix::DotProductRowRow(int i, const IMCRectMatrix& other, int k) const
{
    std::vector<double> row;
    if (!IsRow(i) || other.GetNCols() != fnCols || !other.GetRow(k, row)) return MCMV::Missing();
    return DotInOrder(GetRowPtr(i), row.data(), RowLength());
}

bool MCRectMatrix::IncrVecByColumn(int j, double a, std::vector<double>& v) const
{
    if (!IsCol(j) || v.size() < ColLength()) return false;
    for (int i = 0; i < fnRows; ++i) v[static_cast<std::size_t>(i)] += a * GetElem(i, j);
    return true;
}

double MCRectMatrix::TraceOfProductSqS(const IMCSymMatrix& S) const
{
    if (fnRows != fnCols || S.GetNRows() != fnRows) return MCMV::Missing();
    return TraceOfProductSubMatSym(0, 0, S);
}

double MCRectMatrix::TraceOfProductSubMatSym(int firstRow, int firstCol, const IMCSymMatrix& S) const
{
    const int n = S.GetNRows();
    if (firstRow < 0 || firstCol < 0 || n > fnRows - firstRow || n > fnCols - firstCol) return MCMV::Missing();
    double trace = 0.0;
    for (int i = 0; i < n; ++i) {
        double sum = 0.0;
        for (int j = S.GetIndexFirstInRow(i); j <= S.GetIndexLastInRow(i); ++j)
            sum += GetElem(firstRow + i, firstCol + j) * S.GetElem(i, j);
        trace += sum;
    }
    return trace;
}

double MCRectMatrix::ColNorm(int j) const
{
    if (!IsCol(j)) return MCMV::Missing();
    double sum = 0.0;
    for (int i = 0; i < fnRows; ++i) sum += GetElem(i, j) * GetElem(i, j);
    return std::sqrt(sum);
}

double MCRectMatrix::RowNorm(int i) const
{
    if (!IsRow(i)) return MCMV::Missing();
    return std::sqrt(DotInOrder(GetRowPtr(i), GetRowPtr(i), RowLength()));
}

bool MCRectMatrix::ColScale(int j, double a)
{
    if (!IsCol(j)) return false;
    for (int i = 0; i < fnRows; ++i) SetElem(i, j, GetElem(i, j) * a);
    return true;
}

int MCRectMatrix::ColClean(int j, double tol)
{
    if (!IsCol(j) || !(tol >= 0.0)) return -1;
    double largest = 0.0;
    for (int i = 0; i < fnRows; ++i) largest = std::max(largest, std::fabs(GetElem(i, j)));
    int cleaned = 0;
    for (int i = 0; i < fnRows; ++i)
        if (GetElem(i, j) != 0.0 && std::fabs(GetElem(i, j)) <= tol * largest) {
            SetElem(i, j, 0.0);
            ++cleaned;
        }
    return cleaned;
}

bool MCRectMatrix::AddToColumn(int j, double x)
{
    if (!IsCol(j)) return false;
    for (int i = 0; i < fnRows; ++i) SetElem(i, j, GetElem(i, j) + x);
    return true;
}

void MCRectMatrix::AddToDiagonal(double x)
{
    for (int i = 0; i < std::min(fnRows, fnCols); ++i) SetElem(i, i, GetElem(i, i) + x);
}

bool MCRectMatrix::ZeroOutCol(int j)
{
    if (!IsCol(j)) return false;
    for (int i = 0; i < fnRows; ++i) SetElem(i, j, 0.0);
    return true;
}

bool MCRectMatrix::ZeroOutPivotRow(int i, int pivot)
{
    if (!IsRow(i) || !IsCol(pivot)) return false;
    ZeroOutRowPart(i, 0, pivot);
    return ZeroOutRowPart(i, pivot + 1, fnCols - pivot - 1);
}

bool MCRectMatrix::ZeroOutRowPart(int i, int first, int count)
{
    if (!IsRow(i) || first < 0 || count < 0 || count > fnCols - first) return false;
    std::fill_n(GetRowPtr(i) + first, count, 0.0);
    return true;
}

bool MCRectMatrix::IsColZero(int j) const
{
    if (!IsCol(j)) return false;
    for (int i = 0; i < fnRows; ++i)
        if (GetElem(i, j) != 0.0) return false;
    return true;
}

bool MCRectMatrix::IsRowZero(int i) const
{
    return IsRow(i) && FindFirstNonZeroInRow(i) < 0;
}

bool MCRectMatrix::IsRowZeroButOne(int i) const
{
    const int first = FindFirstNonZeroInRow(i);
    return first >= 0 &&
           std::all_of(GetRowPtr(i) + first + 1, GetRowPtr(i) + fnCols, [](double x) { return x == 0.0; });
}

int MCRectMatrix::FindFirstNonZeroInRow(int i) const
{
    for (int j = 0; IsRow(i) && j < fnCols; ++j)
        if (GetElem(i, j) != 0.0) return j;
    return -1;
}

bool MCRectMatrix::CheckForOnes(int j) const
{
    if (!IsCol(j) || fnRows == 0) return false;
    for (int i = 0; i < fnRows; ++i)
        if (GetElem(i, j) != 1.0) return false;
    return true;
}

} // namespace MCMath_930
