// MCSymMatrix: storage, elements, rows, structure, display.
#include "modelcore/matrix/MCSymMatrix.h"

#include "modelcore/common/MCBitSet.h"
#include "modelcore/common/MCDisplay.h"

#include <algorithm>
#include <utility>

namespace MCMath_930 {

MCSymMatrix::MCSymMatrix(int n)
{
    SetNRows(n);
}

// The elements first: an allocation that fails leaves the matrix as it was.
MCSymMatrix& MCSymMatrix::operator=(const MCSymMatrix& other)
{
    fvElem = other.fvElem;
    fnRows = other.fnRows;
    return *this;
}

MCSymMatrix::MCSymMatrix(MCSymMatrix&& other) noexcept
    : IMCSymMatrix(std::move(other)), fnRows(std::exchange(other.fnRows, 0)), fvElem(std::exchange(other.fvElem, {}))
{}

MCSymMatrix& MCSymMatrix::operator=(MCSymMatrix&& other) noexcept
{
    if (this != &other) {
        fnRows = std::exchange(other.fnRows, 0);
        fvElem = std::exchange(other.fvElem, {});
    }
    return *this;
}

MCSymMatrix::~MCSymMatrix() = default;

bool MCSymMatrix::SetNRows(int n)
{
    if (!IsOrder(n)) return false;
    fvElem.assign(RowStart(n), 0.0);
    fnRows = n;
    return true;
}

// Row by row storage keeps the leading rows where they are.
bool MCSymMatrix::Resize(int n)
{
    if (!IsOrder(n)) return false;
    fvElem.resize(RowStart(n), 0.0);
    fnRows = n;
    return true;
}

bool MCSymMatrix::GetRow(int i, std::vector<double>& row) const
{
    if (i < 0 || i >= fnRows) return false;
    row.resize(static_cast<std::size_t>(fnRows));
    std::copy_n(Row(i), i + 1, row.begin());
    for (int j = i + 1; j < fnRows; ++j) row[static_cast<std::size_t>(j)] = Row(j)[i];
    return true;
}

bool MCSymMatrix::PutRow(int i, const std::vector<double>& row)
{
    if (i < 0 || i >= fnRows || row.size() < static_cast<std::size_t>(fnRows)) return false;
    std::copy_n(row.begin(), i + 1, Row(i));
    for (int j = i + 1; j < fnRows; ++j) Row(j)[i] = row[static_cast<std::size_t>(j)];
    return true;
}

void MCSymMatrix::GetDiagonal(std::vector<double>& diag) const
{
    diag.resize(static_cast<std::size_t>(fnRows));
    for (int i = 0; i < fnRows; ++i) diag[static_cast<std::size_t>(i)] = Row(i)[i];
}

void MCSymMatrix::AddToDiagonal(double x)
{
    for (int i = 0; i < fnRows; ++i) Row(i)[i] += x;
}

void MCSymMatrix::MultiplyByNumber(double x)
{
    for (double& element : fvElem) element *= x;
}

void MCSymMatrix::ChangeSign()
{
    for (double& element : fvElem) element = -element;
}

double MCSymMatrix::Trace() const
{
    double sum = 0.0;
    for (int i = 0; i < fnRows; ++i) sum += Row(i)[i];
    return sum;
}

void MCSymMatrix::ZeroOut()
{
    std::fill(fvElem.begin(), fvElem.end(), 0.0);
}

void MCSymMatrix::Clear()
{
    fvElem.clear();
    fnRows = 0;
}

bool MCSymMatrix::Expand(const std::vector<int>& positions, int n)
{
    if (!IsOrder(n) || positions.size() != static_cast<std::size_t>(fnRows)) return false;
    MCBitSet taken(n);
    for (const int position : positions)
        if (taken.IsIn(position) || !taken.Set(position, true)) return false;

    MCSymMatrix wide(n);
    for (int i = 0; i < fnRows; ++i)
        for (int j = 0; j <= i; ++j)
            wide.SetElem(positions[static_cast<std::size_t>(i)], positions[static_cast<std::size_t>(j)], Row(i)[j]);
    *this = std::move(wide);
    return true;
}

bool MCSymMatrix::Expand(const MCBitSet& kept)
{
    std::vector<int> positions;
    for (int i = kept.Next(0); i >= 0; i = kept.Next(i + 1)) positions.push_back(i);
    return Expand(positions, kept.Size());
}

bool MCSymMatrix::DeleteOneRow(int k)
{
    if (k < 0 || k >= fnRows) return false;
    double* end = Row(k); // row k itself is left out
    for (int i = k + 1; i < fnRows; ++i) {
        const double* const row = Row(i);
        end = std::copy(row, row + k, end);
        end = std::copy(row + k + 1, row + i + 1, end);
    }
    return Resize(fnRows - 1);
}

void MCSymMatrix::Display() const
{
    MCDisplay_930::DisplayStart("MCSymMatrix");
    MCDisplay_930::Display("Number of rows", fnRows);
    MCDisplay_930::DisplaySymMatrix(GetPtr(), fnRows);
    MCDisplay_930::DisplayEnd("MCSymMatrix");
}

} // namespace MCMath_930
