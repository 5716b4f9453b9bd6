// MCSparseRectMatrix: storage, elements, building and reading rows, display.
#include "modelcore/matrix/MCSparseRectMatrix.h"

#include "modelcore/common/MCDisplay.h"
#include "modelcore/common/internal/EmptiedOnMove.h"
#include "modelcore/matrix/MCRectMatrix.h"
#include "modelcore/matrix/MCSparseVector.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace MCMath_930 {

namespace {

std::size_t Area(int rows, int slots)
{
    return static_cast<std::size_t>(rows) * static_cast<std::size_t>(slots);
}

} // namespace

bool MCSparseRectMatrix::IsShape(int capacity, int cols, int slots)
{
    return capacity >= 1 && cols >= 1 && slots >= 1 && slots <= cols &&
           Area(capacity, slots) <= std::vector<double>().max_size();
}

MCSparseRectMatrix::MCSparseRectMatrix(int capacity, int nCols, int K)
{
    if (capacity >= 0 && IsShape(std::max(capacity, 1), nCols, K)) SetShape(capacity, nCols, K);
}

// Of a matrix that has no rows and slots yet.
void MCSparseRectMatrix::SetShape(int capacity, int cols, int slots)
{
    fvValues.assign(Area(capacity, slots), 0.0);
    fvIndices.assign(Area(capacity, slots), -1);
    fnCapacity = capacity;
    fnCols = cols;
    fnSlots = slots;
}

MCSparseRectMatrix::MCSparseRectMatrix(MCSparseRectMatrix&& other) noexcept
{
    Swap(other);
}

MCSparseRectMatrix& MCSparseRectMatrix::operator=(MCSparseRectMatrix&& other) noexcept
{
    MCSparseRectMatrix taken(std::move(other));
    Swap(taken);
    return *this;
}

MCSparseRectMatrix& MCSparseRectMatrix::operator=(const MCSparseRectMatrix& other)
{
    return internal::AssignByCopy(*this, other);
}

MCSparseRectMatrix::~MCSparseRectMatrix() = default;

void MCSparseRectMatrix::Swap(MCSparseRectMatrix& other) noexcept
{
    std::swap(fnRows, other.fnRows);
    std::swap(fnCapacity, other.fnCapacity);
    std::swap(fnCols, other.fnCols);
    std::swap(fnSlots, other.fnSlots);
    fvValues.swap(other.fvValues);
    fvIndices.swap(other.fvIndices);
}

bool MCSparseRectMatrix::IsValidMatrix() const
{
    return IsShape(fnCapacity, fnCols, fnSlots) && fnRows >= 0 && fnRows <= fnCapacity &&
           fvValues.size() == Area(fnCapacity, fnSlots) && fvIndices.size() == fvValues.size();
}

MCSparseRectMatrix::Stored MCSparseRectMatrix::StoredRow(int i) const
{
    const int* const indices = fvIndices.data() + Slot(i, 0);
    int empty = 0;
    while (empty < fnSlots && indices[empty] < 0) ++empty;
    return {indices + empty, fvValues.data() + Slot(i, empty), fnSlots - empty};
}

// The slot of element (i, j) in its row; -1 when the row does not store it.
int MCSparseRectMatrix::FindIndex(int i, int j) const
{
    if (!IsRow(i) || j < 0) return -1;
    const int* const first = fvIndices.data() + Slot(i, 0);
    const int* const end = first + fnSlots;
    if (j < *first || j > end[-1]) return -1;
    const int* const found = std::lower_bound(first, end, j);
    return *found == j ? static_cast<int>(found - first) : -1;
}

double MCSparseRectMatrix::GetElem(int i, int j) const
{
    const int k = FindIndex(i, j);
    return k >= 0 ? fvValues[Slot(i, k)] : 0.0;
}

bool MCSparseRectMatrix::SetElem(int i, int j, double x)
{
    if (!IsRow(i) || !IsCol(j)) return false;
    const int k = FindIndex(i, j);
    if (k < 0) return x == 0.0;
    fvValues[Slot(i, k)] = x;
    return true;
}

// Both arrays have their memory before the size of either changes.
void MCSparseRectMatrix::Reserve(int capacity)
{
    const std::size_t size = Area(capacity, fnSlots);
    fvValues.reserve(size);
    fvIndices.reserve(size);
    fvValues.resize(size, 0.0);
    fvIndices.resize(size, -1);
    fnCapacity = capacity;
}

int MCSparseRectMatrix::AddRow()
{
    constexpr int kMost = std::numeric_limits<int>::max();
    if (fnSlots == 0 || fnRows == kMost) return -1;
    if (fnRows == fnCapacity) {
        const int capacity = fnCapacity <= 6 ? 10 : fnCapacity + std::min(fnCapacity / 2, kMost - fnCapacity);
        if (!IsShape(capacity, fnCols, fnSlots)) return -1;
        Reserve(capacity);
    }
    return ++fnRows;
}

bool MCSparseRectMatrix::TakesRow(const MCSparseVector& v, int first, int count) const
{
    return fnSlots > 0 && count == fnSlots && first >= 0 && count <= v.GetNElements() - first && v.IsValid() &&
           v.GetIndex(first + count - 1) < fnCols;
}

int MCSparseRectMatrix::AddRow(const MCSparseVector& v)
{
    return AddRow(v, 0, v.GetNElements());
}

int MCSparseRectMatrix::AddRow(const MCSparseVector& v, int first, int count)
{
    if (!TakesRow(v, first, count) || AddRow() < 0) return -1;
    WriteRow(fnRows - 1, v.GetIndices().data() + first, v.GetValues().data() + first, count);
    return fnRows;
}

bool MCSparseRectMatrix::SetRow(int i, const MCSparseVector& v)
{
    if (!IsRow(i) || !TakesRow(v, 0, v.GetNElements())) return false;
    WriteRow(i, v.GetIndices().data(), v.GetValues().data(), fnSlots);
    return true;
}

// count <= K elements; the slots that are left over stay empty in front of them.
void MCSparseRectMatrix::WriteRow(int i, const int* indices, const double* values, int count)
{
    const int empty = fnSlots - count;
    std::copy_n(indices, count, fvIndices.data() + Slot(i, empty));
    std::copy_n(values, count, fvValues.data() + Slot(i, empty));
    std::fill_n(fvIndices.data() + Slot(i, 0), empty, -1);
    std::fill_n(fvValues.data() + Slot(i, 0), empty, 0.0);
}

void MCSparseRectMatrix::EmptyRows(int first, int count)
{
    std::fill_n(fvIndices.data() + Slot(first, 0), Area(count, fnSlots), -1);
    std::fill_n(fvValues.data() + Slot(first, 0), Area(count, fnSlots), 0.0);
}

bool MCSparseRectMatrix::GetRow(int i, std::vector<double>& row) const
{
    if (!IsRow(i)) return false;
    row.assign(static_cast<std::size_t>(fnCols), 0.0);
    const auto [indices, values, count] = StoredRow(i);
    for (int k = 0; k < count; ++k) row[static_cast<std::size_t>(indices[k])] = values[k];
    return true;
}

bool MCSparseRectMatrix::GetRow(int i, std::vector<int>& indices, std::vector<double>& values) const
{
    if (!IsRow(i)) return false;
    const Stored row = StoredRow(i);
    indices.reserve(static_cast<std::size_t>(row.count)); // both have their memory before either changes
    values.reserve(static_cast<std::size_t>(row.count));
    indices.assign(row.indices, row.indices + row.count);
    values.assign(row.values, row.values + row.count);
    return true;
}

bool MCSparseRectMatrix::GetRow(int i, const int*& indices, const double*& values) const
{
    if (!IsRow(i)) return false;
    indices = fvIndices.data() + Slot(i, 0);
    values = fvValues.data() + Slot(i, 0);
    return true;
}

bool MCSparseRectMatrix::GetCol(int j, std::vector<double>& col) const
{
    if (!IsCol(j)) return false;
    col.resize(static_cast<std::size_t>(fnRows));
    return CopyColToVec(j, 0, col);
}

bool MCSparseRectMatrix::CopyColToVec(int j, int first, std::vector<double>& v) const
{
    if (!IsCol(j) || first < 0 || v.size() < static_cast<std::size_t>(first) + static_cast<std::size_t>(fnRows))
        return false;
    for (int i = 0; i < fnRows; ++i) v[static_cast<std::size_t>(first) + static_cast<std::size_t>(i)] = GetElem(i, j);
    return true;
}

bool MCSparseRectMatrix::ExtractLastCol(std::vector<double>& col) const
{
    return GetCol(fnCols - 1, col);
}

// Counted first, then placed: rows in order, so that the row numbers of a column ascend.
void MCSparseRectMatrix::GetSparseMatrixColumns(std::vector<std::size_t>& starts, std::vector<int>& rows,
                                                std::vector<double>& values) const
{
    std::vector<std::size_t> ends(static_cast<std::size_t>(fnCols) + 1);
    for (const int j : fvIndices)
        if (j >= 0) ++ends[static_cast<std::size_t>(j) + 1];
    for (std::size_t j = 1; j < ends.size(); ++j) ends[j] += ends[j - 1];
    starts.reserve(ends.size()); // all three have their memory before one changes
    rows.reserve(ends.back());
    values.reserve(ends.back());
    starts = ends;
    rows.resize(ends.back());
    values.resize(ends.back());
    for (int i = 0; i < fnRows; ++i) {
        const Stored row = StoredRow(i);
        for (int k = 0; k < row.count; ++k) {
            const std::size_t at = ends[static_cast<std::size_t>(row.indices[k])]++;
            rows[at] = i;
            values[at] = row.values[k];
        }
    }
}

bool MCSparseRectMatrix::CreateFullMatrix(MCRectMatrix& out) const
{
    MCRectMatrix full;
    if (!full.SetNRowsCols(fnRows, fnCols)) return false;
    for (int i = 0; i < fnRows; ++i) {
        const auto [indices, values, count] = StoredRow(i);
        for (int k = 0; k < count; ++k) full.SetElem(i, indices[k], values[k]);
    }
    out = std::move(full);
    return true;
}

void MCSparseRectMatrix::Display() const
{
    MCDisplay_930::DisplayStart("MCSparseRectMatrix");
    MCDisplay_930::Display("Number of rows", fnRows);
    MCDisplay_930::Display("Number of columns", fnCols);
    MCDisplay_930::Display("Stored elements per row", fnSlots);
    MCDisplay_930::DisplaySparseMatrix(fvValues.data(), fvIndices.data(), fnRows, fnSlots);
    MCDisplay_930::DisplayEnd("MCSparseRectMatrix");
}

void MCSparseRectMatrix::DisplayF() const
{
    MCRectMatrix full;
    CreateFullMatrix(full);
    MCDisplay_930::DisplayStart("MCSparseRectMatrix");
    MCDisplay_930::Display("Number of rows", fnRows);
    MCDisplay_930::Display("Number of columns", fnCols);
    MCDisplay_930::DisplayRectMatrix(full.GetPtr(), full.GetNRows(), full.GetNCols());
    MCDisplay_930::DisplayEnd("MCSparseRectMatrix");
}

} // namespace MCMath_930
