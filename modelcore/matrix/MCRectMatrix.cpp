// MCRectMatrix: storage, shape, copies, display.
#include "modelcore/matrix/MCRectMatrix.h"

#include "modelcore/common/MCBitSet.h"
#include "modelcore/common/MCDisplay.h"
#include "modelcore/common/internal/Index.h"
#include "modelcore/matrix/internal/DenseRows.h"
#include "modelcore/matrix/internal/Places.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <utility>

namespace MCMath_930 {

using internal::AsSize;

namespace {

/// The most rows or columns that an int counts.
constexpr int kMostLines = std::numeric_limits<int>::max();

std::size_t Area(int rows, int cols)
{
    return AsSize(rows) * AsSize(cols);
}

} // namespace

bool MCRectMatrix::IsShape(int rows, int cols)
{
    return rows >= 0 && cols >= 0 && Area(rows, cols) <= std::vector<double>().max_size();
}

MCRectMatrix::MCRectMatrix(int rows, int cols)
{
    SetNRowsCols(rows, cols);
}

MCRectMatrix::MCRectMatrix(int rows, int cols, std::span<const double> rowMajor)
{
    if (IsShape(rows, cols) && Area(rows, cols) == rowMajor.size()) CopyFromRowMajor(rowMajor.data(), rows, cols);
}

// The elements first: an allocation that fails leaves the matrix as it was.
MCRectMatrix& MCRectMatrix::operator=(const MCRectMatrix& other)
{
    fvElem = other.fvElem;
    fnRows = other.fnRows;
    fnCols = other.fnCols;
    return *this;
}

MCRectMatrix::MCRectMatrix(MCRectMatrix&& other) noexcept
    : IMCRectMatrix(std::move(other)), fnRows(std::exchange(other.fnRows, 0)), fnCols(std::exchange(other.fnCols, 0)),
      fvElem(std::exchange(other.fvElem, {}))
{}

MCRectMatrix& MCRectMatrix::operator=(MCRectMatrix&& other) noexcept
{
    if (this != &other) {
        fnRows = std::exchange(other.fnRows, 0);
        fnCols = std::exchange(other.fnCols, 0);
        fvElem = std::exchange(other.fvElem, {});
    }
    return *this;
}

MCRectMatrix::~MCRectMatrix() = default;

bool MCRectMatrix::SetNRowsCols(int rows, int cols)
{
    if (!IsShape(rows, cols)) return false;
    fvElem.assign(Area(rows, cols), 0.0);
    fnRows = rows;
    fnCols = cols;
    return true;
}

bool MCRectMatrix::ResizeNRowsCols(int rows, int cols)
{
    if (!IsShape(rows, cols)) return false;
    fvElem.resize(Area(rows, cols));
    fnRows = rows;
    fnCols = cols;
    return true;
}

bool MCRectMatrix::Resize(int rows, int cols)
{
    if (cols == fnCols) return ResizeNRowsCols(rows, cols); // no row moves
    MCRectMatrix resized;
    if (!resized.SetNRowsCols(rows, cols)) return false;
    for (int i = 0; i < std::min(rows, fnRows); ++i)
        std::copy_n(GetRowPtr(i), std::min(cols, fnCols), resized.GetRowPtr(i));
    *this = std::move(resized);
    return true;
}

void MCRectMatrix::Clear()
{
    fvElem.clear();
    fnRows = 0;
    fnCols = 0;
}

bool MCRectMatrix::IsValidMatrix() const
{
    return IsShape(fnRows, fnCols) && fvElem.size() == Area(fnRows, fnCols);
}

bool MCRectMatrix::GetRow(int i, std::vector<double>& row) const
{
    if (!IsRow(i)) return false;
    row.assign(GetRowPtr(i), GetRowPtr(i) + fnCols);
    return true;
}

bool MCRectMatrix::GetCol(int j, std::vector<double>& col) const
{
    if (!IsCol(j)) return false;
    col.resize(ColLength());
    return CopyColToVec(j, 0, col);
}

bool MCRectMatrix::CopyColToVec(int j, int first, std::vector<double>& v) const
{
    if (!IsCol(j) || first < 0 || v.size() < static_cast<std::size_t>(first) + ColLength()) return false;
    for (int i = 0; i < fnRows; ++i) v[AsSize(first) + AsSize(i)] = GetElem(i, j);
    return true;
}

bool MCRectMatrix::SetRow(int i, const std::vector<double>& row)
{
    if (!IsRow(i) || row.size() < RowLength()) return false;
    std::copy_n(row.begin(), fnCols, GetRowPtr(i));
    return true;
}

bool MCRectMatrix::SetCol(int j, const std::vector<double>& col)
{
    if (!IsCol(j) || col.size() < ColLength()) return false;
    for (int i = 0; i < fnRows; ++i) SetElem(i, j, col[AsSize(i)]);
    return true;
}

bool MCRectMatrix::CopyFromRowMajor(const double* elements, int rows, int cols)
{
    if (!ResizeNRowsCols(rows, cols)) return false;
    std::copy_n(elements, fvElem.size(), fvElem.begin());
    return true;
}

bool MCRectMatrix::CopyFromColMajor(const double* elements, int rows, int cols)
{
    if (!IsShape(rows, cols)) return false;
    fvElem = internal::Transposed(elements, AsSize(cols), AsSize(rows));
    fnRows = rows;
    fnCols = cols;
    return true;
}

void MCRectMatrix::CopyToRowMajor(double* elements) const
{
    std::copy(fvElem.begin(), fvElem.end(), elements);
}

void MCRectMatrix::CopyToColMajor(double* elements) const
{
    MCRectMatrix transposed;
    Transpose(transposed);
    transposed.CopyToRowMajor(elements);
}

namespace {

/// Moves the `count` blocks of `size` elements from begin on by `by` places; what is vacated becomes 0.
void Shift(double* begin, int count, std::size_t size, int by)
{
    const auto end = begin + AsSize(count) * size;
    const int distance = std::clamp(by, -count, count);
    const auto offset = static_cast<std::ptrdiff_t>(AsSize(std::abs(distance)) * size);
    if (distance > 0)
        std::fill(begin, std::copy_backward(begin, end - offset, end), 0.0);
    else
        std::fill(std::copy(begin + offset, end, begin), end, 0.0);
}

} // namespace

bool MCRectMatrix::ShiftRows(int by)
{
    Shift(fvElem.data(), fnRows, RowLength(), by);
    return true;
}

bool MCRectMatrix::ShiftColumns(int by)
{
    for (int i = 0; i < fnRows; ++i) Shift(GetRowPtr(i), fnCols, 1, by);
    return true;
}

int MCRectMatrix::AddRow()
{
    return fnRows < kMostLines && Resize(fnRows + 1, fnCols) ? fnRows : -1;
}

int MCRectMatrix::AddRow(const std::vector<double>& row)
{
    const bool isFirst = fnRows == 0 && fnCols == 0 && row.size() <= AsSize(kMostLines);
    if (!isFirst && row.size() != RowLength()) return -1;
    if (fnRows == kMostLines || !Resize(fnRows + 1, static_cast<int>(row.size()))) return -1;
    SetRow(fnRows - 1, row);
    return fnRows;
}

int MCRectMatrix::AddColumn(const std::vector<double>& col)
{
    const bool isFirst = fnRows == 0 && fnCols == 0 && col.size() <= AsSize(kMostLines);
    if (!isFirst && col.size() != ColLength()) return -1;
    if (fnCols == kMostLines || !Resize(static_cast<int>(col.size()), fnCols + 1)) return -1;
    for (int i = 0; i < fnRows; ++i) SetElem(i, fnCols - 1, col[AsSize(i)]);
    return fnCols;
}

bool MCRectMatrix::DeleteOneRow(int i)
{
    if (!IsRow(i)) return false;
    std::copy(GetRowPtr(i) + fnCols, fvElem.data() + fvElem.size(), GetRowPtr(i));
    return Resize(fnRows - 1, fnCols);
}

bool MCRectMatrix::DeleteOneCol(int j)
{
    if (!IsCol(j)) return false;
    double* to = fvElem.data();
    for (int i = 0; i < fnRows; ++i)
        for (int k = 0; k < fnCols; ++k)
            if (k != j) *to++ = GetElem(i, k);
    return ResizeNRowsCols(fnRows, fnCols - 1);
}

namespace {

bool ArePlaces(const std::vector<int>& positions, int count, int size)
{
    return size >= 0 && positions.size() == AsSize(count) && internal::AreDistinct(positions, size);
}

} // namespace

bool MCRectMatrix::Expand(const std::vector<int>& rowPositions, int rows, const std::vector<int>& colPositions,
                          int cols)
{
    MCRectMatrix wide;
    if (!ArePlaces(rowPositions, fnRows, rows) || !ArePlaces(colPositions, fnCols, cols) ||
        !wide.SetNRowsCols(rows, cols))
        return false;
    for (int i = 0; i < fnRows; ++i)
        for (int j = 0; j < fnCols; ++j)
            wide.SetElem(rowPositions[static_cast<std::size_t>(i)], colPositions[static_cast<std::size_t>(j)],
                         GetElem(i, j));
    *this = std::move(wide);
    return true;
}

bool MCRectMatrix::ExpandRectangular(const MCBitSet& keptRows, const MCBitSet& keptCols)
{
    return Expand(keptRows.Members(), keptRows.Size(), keptCols.Members(), keptCols.Size());
}

bool MCRectMatrix::ExpandSquare(const MCBitSet& kept)
{
    return ExpandRectangular(kept, kept);
}

bool MCRectMatrix::CreateBlockDiagonal(const std::vector<const IMCRectMatrix*>& blocks)
{
    int rows = 0;
    int cols = 0;
    MCRectMatrix whole;
    if (!SumOfShapes(blocks, rows, cols) || !whole.SetNRowsCols(rows, cols)) return false;
    int firstRow = 0;
    int firstCol = 0;
    std::vector<double> row;
    for (const IMCRectMatrix* const block : blocks) {
        for (int i = 0; i < block->GetNRows(); ++i) {
            block->GetRow(i, row);
            std::copy(row.begin(), row.end(), whole.GetRowPtr(firstRow + i) + firstCol);
        }
        firstRow += block->GetNRows();
        firstCol += block->GetNCols();
    }
    *this = std::move(whole);
    return true;
}

void MCRectMatrix::Transpose()
{
    fvElem = internal::Transposed(fvElem.data(), ColLength(), RowLength());
    std::swap(fnRows, fnCols);
}

void MCRectMatrix::Transpose(MCRectMatrix& out) const
{
    MCRectMatrix transposed(*this);
    transposed.Transpose();
    out = std::move(transposed);
}

bool MCRectMatrix::CopyRowToRow(const IMCRectMatrix& source, int sourceRow, int row)
{
    return CopyRows(source, sourceRow, 1, row);
}

bool MCRectMatrix::CopyColToRow(const IMCRectMatrix& source, int sourceCol, int row)
{
    std::vector<double> values;
    return IsRow(row) && source.GetNRows() == fnCols && source.GetCol(sourceCol, values) && SetRow(row, values);
}

bool MCRectMatrix::CopyColToCol(const IMCRectMatrix& source, int sourceCol, int col)
{
    return CopyColumns(source, sourceCol, 1, col);
}

// The source's rows are read before the first is written: it may be this matrix.
bool MCRectMatrix::CopyRows(const IMCRectMatrix& source, int firstSource, int count, int first)
{
    if (source.GetNCols() != fnCols || !HasRows(source, firstSource, count, first)) return false;
    std::vector<double> values;
    std::vector<double> row;
    for (int i = firstSource; i < firstSource + count; ++i) {
        source.GetRow(i, row);
        values.insert(values.end(), row.begin(), row.end());
    }
    std::copy(values.begin(), values.end(), fvElem.data() + Index(first, 0));
    return true;
}

bool MCRectMatrix::CopyColumns(const IMCRectMatrix& source, int firstSource, int count, int first)
{
    if (source.GetNRows() != fnRows || count < 0 || firstSource < 0 || count > source.GetNCols() - firstSource ||
        first < 0 || count > fnCols - first)
        return false;
    std::vector<double> row;
    for (int i = 0; i < fnRows; ++i) {
        source.GetRow(i, row);
        std::copy_n(row.begin() + firstSource, count, GetRowPtr(i) + first);
    }
    return true;
}

bool MCRectMatrix::ExtractRows(const std::vector<int>& rows, IMCRectMatrix& out) const
{
    MCRectMatrix part;
    if (out.GetMatrixType() != kDenseMatrix || rows.size() > AsSize(kMostLines) ||
        !std::all_of(rows.begin(), rows.end(), [this](int i) { return IsRow(i); }) ||
        !part.SetNRowsCols(static_cast<int>(rows.size()), fnCols))
        return false;
    double* to = part.GetPtr();
    for (const int i : rows) to = std::copy_n(GetRowPtr(i), fnCols, to);
    static_cast<MCRectMatrix&>(out) = std::move(part);
    return true;
}

bool MCRectMatrix::ExtractColumns(const std::vector<int>& cols, IMCRectMatrix& out) const
{
    MCRectMatrix part;
    if (out.GetMatrixType() != kDenseMatrix || cols.size() > AsSize(kMostLines) ||
        !std::all_of(cols.begin(), cols.end(), [this](int j) { return IsCol(j); }) ||
        !part.SetNRowsCols(fnRows, static_cast<int>(cols.size())))
        return false;
    double* to = part.GetPtr();
    for (int i = 0; i < fnRows; ++i)
        for (const int j : cols) *to++ = GetElem(i, j);
    static_cast<MCRectMatrix&>(out) = std::move(part);
    return true;
}

void MCRectMatrix::Display() const
{
    MCDisplay_930::DisplayStart("MCRectMatrix");
    MCDisplay_930::Display("Number of rows", fnRows);
    MCDisplay_930::Display("Number of columns", fnCols);
    MCDisplay_930::DisplayRectMatrix(GetPtr(), fnRows, fnCols);
    MCDisplay_930::DisplayEnd("MCRectMatrix");
}

void MCRectMatrix::DisplayF() const
{
    Display(); // every element is stored
}

} // namespace MCMath_930
