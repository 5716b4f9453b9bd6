// MCRectMatrix: storage, shape, copies, display.
#include "modelcore/matrix/MCRectMatrix.h"

#include "modelcore/common/MCDisplay.h"

#include <algorithm>
#include <utility>

namespace MCMath_930 {

namespace {

std::size_t Area(int rows, int cols)
{
    return static_cast<std::size_t>(rows) * static_cast<std::size_t>(cols);
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

bool MCRectMatrix::Resize(int rows, int cols)
{
    if (!IsShape(rows, cols)) return false;
    if (cols == fnCols) {
        fvElem.resize(Area(rows, cols), 0.0);
        fnRows = rows;
        return true;
    }
    MCRectMatrix resized(rows, cols);
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

bool MCRectMatrix::GetRow(int i, std::vector<double>& row) const
{
    if (i < 0 || i >= fnRows) return false;
    row.assign(GetRowPtr(i), GetRowPtr(i) + fnCols);
    return true;
}

bool MCRectMatrix::GetCol(int j, std::vector<double>& col) const
{
    if (j < 0 || j >= fnCols) return false;
    col.resize(static_cast<std::size_t>(fnRows));
    for (int i = 0; i < fnRows; ++i) col[static_cast<std::size_t>(i)] = GetElem(i, j);
    return true;
}

bool MCRectMatrix::SetRow(int i, const std::vector<double>& row)
{
    if (i < 0 || i >= fnRows || row.size() < static_cast<std::size_t>(fnCols)) return false;
    std::copy_n(row.begin(), fnCols, GetRowPtr(i));
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

} // namespace MCMath_930
