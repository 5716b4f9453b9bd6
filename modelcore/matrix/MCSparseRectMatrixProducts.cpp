// MCSparseRectMatrix: products, norms and zeros over the stored elements.
#include "modelcore/common/MCMV.h"
#include "modelcore/matrix/MCSparseRectMatrix.h"
#include "modelcore/matrix/MCSparseVector.h"
#include "modelcore/matrix/internal/DenseRows.h"
#include "modelcore/matrix/internal/RowProducts.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace MCMath_930 {

using internal::DenseRows;
using MCCommon_930::MCMV;

namespace {

/// out[i] = row i times v. Empty slots come first in a row, so that the others need not be tested.
void DotRows(const int* indices, const double* values, int slots, int rows, const double* v, double* out)
{
    for (int i = 0; i < rows; ++i, indices += slots, values += slots) {
        int k = 0;
        while (k < slots && indices[k] < 0) ++k;
        double sum = 0.0;
        for (; k < slots; ++k) sum += values[k] * v[indices[k]];
        out[i] = sum;
    }
}

/// out += row i times v[i], for the rows in order.
void AddRows(const int* indices, const double* values, int slots, int rows, const double* v, double* out)
{
    for (int i = 0; i < rows; ++i, indices += slots, values += slots) {
        const double factor = v[i];
        int k = 0;
        while (k < slots && indices[k] < 0) ++k;
        for (; k < slots; ++k) out[indices[k]] += factor * values[k];
    }
}

} // namespace

// Straight into out where it is no operand: its memory is often there already.
bool MCSparseRectMatrix::ComputeRV(const std::vector<double>& v, std::vector<double>& out) const
{
    if (v.size() < static_cast<std::size_t>(fnCols)) return false;
    std::vector<double> aside;
    std::vector<double>& result = &out == &v ? aside : out;
    result.resize(static_cast<std::size_t>(fnRows));
    DotRows(fvIndices.data(), fvValues.data(), fnSlots, fnRows, v.data(), result.data());
    if (&result != &out) out.swap(aside);
    return true;
}

bool MCSparseRectMatrix::ComputeVR(const std::vector<double>& v, std::vector<double>& out) const
{
    if (v.size() < static_cast<std::size_t>(fnRows)) return false;
    std::vector<double> result(static_cast<std::size_t>(fnCols));
    AddRows(fvIndices.data(), fvValues.data(), fnSlots, fnRows, v.data(), result.data());
    out.swap(result);
    return true;
}

bool MCSparseRectMatrix::ComputeMatrixProduct(const IMCRectMatrix& B, MCRectMatrix& out) const
{
    MCRectMatrix result;
    if (B.GetNRows() != fnCols || !result.SetNRowsCols(fnRows, B.GetNCols())) return false;
    if (B.GetMatrixType() == kSparseMatrix) {
        const auto& sparse = static_cast<const MCSparseRectMatrix&>(B);
        for (int i = 0; i < fnRows; ++i) {
            const Stored row = StoredRow(i);
            double* const sums = result.GetRowPtr(i);
            for (int k = 0; k < row.count; ++k) {
                const Stored other = sparse.StoredRow(row.indices[k]);
                for (int m = 0; m < other.count; ++m) sums[other.indices[m]] += row.values[k] * other.values[m];
            }
        }
    } else {
        const DenseRows b(B);
        for (int i = 0; i < fnRows; ++i) {
            const Stored row = StoredRow(i);
            for (int k = 0; k < row.count; ++k)
                internal::AddScaled(result.GetRowPtr(i), row.values[k], b.Row(static_cast<std::size_t>(row.indices[k])),
                                    b.NCols());
        }
    }
    out = std::move(result);
    return true;
}

bool MCSparseRectMatrix::ComputeProductMatrixTrans(const IMCRectMatrix& B, MCRectMatrix& out) const
{
    MCRectMatrix result;
    if (B.GetNCols() != fnCols || !result.SetNRowsCols(fnRows, B.GetNRows())) return false;
    for (int i = 0; i < fnRows; ++i)
        for (int k = 0; k < B.GetNRows(); ++k) result.SetElem(i, k, DotProductRowRow(i, B, k));
    out = std::move(result);
    return true;
}

double MCSparseRectMatrix::DotProductCol(int j, const std::vector<double>& v) const
{
    if (!IsCol(j) || v.size() < static_cast<std::size_t>(fnRows)) return MCMV::Missing();
    double sum = 0.0;
    for (int i = 0; i < fnRows; ++i)
        if (const int k = FindIndex(i, j); k >= 0) sum += fvValues[Slot(i, k)] * v[static_cast<std::size_t>(i)];
    return sum;
}

double MCSparseRectMatrix::DotProductRows(int i, int k) const
{
    return DotProductRowRow(i, *this, k);
}

double MCSparseRectMatrix::DotProductRowCol(int i, const IMCRectMatrix& other, int j) const
{
    if (!IsRow(i) || other.GetNRows() != fnCols || j < 0 || j >= other.GetNCols()) return MCMV::Missing();
    const Stored row = StoredRow(i);
    double sum = 0.0;
    for (int k = 0; k < row.count; ++k) sum += row.values[k] * other.GetElem(row.indices[k], j);
    return sum;
}

double MCSparseRectMatrix::DotProductRowRow(int i, const IMCRectMatrix& other, int k) const
{
    if (!IsRow(i) || other.GetNCols() != fnCols || k < 0 || k >= other.GetNRows()) return MCMV::Missing();
    const Stored row = StoredRow(i);
    if (other.GetMatrixType() == kSparseMatrix) {
        const Stored second = static_cast<const MCSparseRectMatrix&>(other).StoredRow(k);
        return MCSparseVector::InnerProduct(row.indices, row.values, row.count, second.indices, second.values,
                                            second.count);
    }
    const double* const dense = static_cast<const MCRectMatrix&>(other).GetRowPtr(k);
    double sum = 0.0;
    for (int m = 0; m < row.count; ++m) sum += row.values[m] * dense[row.indices[m]];
    return sum;
}

bool MCSparseRectMatrix::IncrVecByColumn(int j, double a, std::vector<double>& v) const
{
    if (!IsCol(j) || v.size() < static_cast<std::size_t>(fnRows)) return false;
    for (int i = 0; i < fnRows; ++i)
        if (const int k = FindIndex(i, j); k >= 0) v[static_cast<std::size_t>(i)] += a * fvValues[Slot(i, k)];
    return true;
}

double MCSparseRectMatrix::ColNorm(int j) const
{
    if (!IsCol(j)) return MCMV::Missing();
    double sum = 0.0;
    for (int i = 0; i < fnRows; ++i)
        if (const int k = FindIndex(i, j); k >= 0) sum += fvValues[Slot(i, k)] * fvValues[Slot(i, k)];
    return std::sqrt(sum);
}

double MCSparseRectMatrix::RowNorm(int i) const
{
    if (!IsRow(i)) return MCMV::Missing();
    const Stored row = StoredRow(i);
    return std::sqrt(internal::DotInOrder(row.values, row.values, static_cast<std::size_t>(row.count)));
}

bool MCSparseRectMatrix::IsRowZero(int i) const
{
    if (!IsRow(i)) return false;
    const Stored row = StoredRow(i);
    return std::all_of(row.values, row.values + row.count, [](double x) { return x == 0.0; });
}

bool MCSparseRectMatrix::ZeroOutRowPart(int i, int first, int count)
{
    if (!IsRow(i) || first < 0 || count < 0 || count > fnCols - first) return false;
    for (int k = 0; k < fnSlots; ++k) {
        const int j = fvIndices[Slot(i, k)];
        if (j >= first && j - first < count) fvValues[Slot(i, k)] = 0.0;
    }
    return true;
}

} // namespace MCMath_930
