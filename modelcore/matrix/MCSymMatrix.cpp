// MCSymMatrix: storage, elements, rows, structure, display.
#include "modelcore/matrix/MCSymMatrix.h"

#include "modelcore/common/MCBitSet.h"
#include "modelcore/common/MCDisplay.h"
#include "modelcore/kernels/Kernels.h"
#include "modelcore/matrix/MCRectMatrix.h"
#include "modelcore/matrix/internal/Places.h"
#include "modelcore/matrix/internal/RowProducts.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace MCMath_930 {

MCSymMatrix::MCSymMatrix(int n)
{
    SetNRows(n);
}

MCSymMatrix::MCSymMatrix(int n, std::span<const double> packed)
{
    if (IsOrder(n) && RowStart(n) == packed.size()) CopyFromPacked(packed);
}

// The elements first: an allocation that fails leaves the matrix as it was.
MCSymMatrix& MCSymMatrix::operator=(const MCSymMatrix& other)
{
    fvElem = other.fvElem;
    fnRows = other.fnRows;
    fnBlocks = other.fnBlocks;
    return *this;
}

MCSymMatrix::MCSymMatrix(MCSymMatrix&& other) noexcept
    : IMCSymMatrix(std::move(other)), fnRows(std::exchange(other.fnRows, 0)),
      fnBlocks(std::exchange(other.fnBlocks, 1)), fvElem(std::exchange(other.fvElem, {}))
{}

MCSymMatrix& MCSymMatrix::operator=(MCSymMatrix&& other) noexcept
{
    if (this != &other) {
        fnRows = std::exchange(other.fnRows, 0);
        fnBlocks = std::exchange(other.fnBlocks, 1);
        fvElem = std::exchange(other.fvElem, {});
    }
    return *this;
}

MCSymMatrix::~MCSymMatrix() = default;

bool MCSymMatrix::SetNRows(int n)
{
    if (!IsOrder(n)) return false;
    fvElem.assign(RowStart(n), 0.0);
    SetOrder(n);
    return true;
}

// Row by row storage keeps the leading rows where they are.
bool MCSymMatrix::Resize(int n)
{
    if (!IsOrder(n)) return false;
    fvElem.resize(RowStart(n), 0.0);
    SetOrder(n);
    return true;
}

bool MCSymMatrix::ResizeNRows(int n)
{
    return Resize(n); // what is cheapest: nothing moves, and only new memory is written
}

bool MCSymMatrix::ResizeNCopy(const IMCSymMatrix& source)
{
    return source.FillDenseMatrix(*this);
}

bool MCSymMatrix::CopyFromSquare(const double* square, int n)
{
    if (!ResizeNRows(n)) return false;
    for (int i = 0; i < n; ++i) std::copy_n(square + static_cast<std::ptrdiff_t>(i) * n, i + 1, Row(i));
    return true;
}

void MCSymMatrix::CopyToSquare(double* square) const
{
    FillFullRows(0, fnRows, square);
}

bool MCSymMatrix::CopyFromPacked(std::span<const double> packed)
{
    const auto n = static_cast<int>((std::sqrt(8.0 * static_cast<double>(packed.size()) + 1.0) - 1.0) / 2.0);
    if (!IsOrder(n) || RowStart(n) != packed.size()) return false;
    fvElem.assign(packed.begin(), packed.end());
    SetOrder(n);
    return true;
}

// The part right of the diagonal is read along the rows below.
void MCSymMatrix::FillFullRows(int first, int count, double* rows) const
{
    constexpr int kFewRows = 128; // above, squares of elements as they are written here stay longer in cache
    if (count == fnRows && count <= kFewRows) return internal::SpreadTriangle(rows, fvElem.data(), Order());
    const auto at = [&](int k) { return rows + static_cast<std::ptrdiff_t>(k - first) * fnRows; };
    const int end = first + count;
    for (int i = first; i < fnRows; ++i) {
        const double* const row = Row(i);
        if (i < end) std::copy_n(row, i + 1, at(i));
        for (int k = first; k < std::min(i, end); ++k) at(k)[i] = row[k];
    }
}

bool MCSymMatrix::GetRow(int i, std::vector<double>& row) const
{
    if (!IsRow(i)) return false;
    row.resize(static_cast<std::size_t>(fnRows));
    FillFullRows(i, 1, row.data());
    return true;
}

bool MCSymMatrix::PutRow(int i, const std::vector<double>& row)
{
    if (!IsRow(i) || !Fits(row)) return false;
    std::copy_n(row.begin(), i + 1, Row(i));
    for (int j = i + 1; j < fnRows; ++j) Row(j)[i] = row[static_cast<std::size_t>(j)];
    return true;
}

bool MCSymMatrix::GetPCol(int j, std::vector<double>& col) const
{
    if (!IsRow(j)) return false;
    col.clear();
    for (int i = j; i < fnRows; ++i) col.push_back(Row(i)[j]);
    return true;
}

bool MCSymMatrix::GetRegCoeffs(int target, const MCBitSet& swept, std::vector<double>& coeffs) const
{
    if (!IsRow(target) || swept.IsIn(target) || swept.Size() < fnRows) return false;
    coeffs.assign(static_cast<std::size_t>(fnRows), 0.0);
    for (int j = swept.Next(0); j >= 0 && j < fnRows; j = swept.Next(j + 1))
        coeffs[static_cast<std::size_t>(j)] = GetElem(target, j);
    return true;
}

void MCSymMatrix::AddToDiagonal(double x)
{
    AddToDiagonalPart(0, fnRows, x);
}

bool MCSymMatrix::AddToDiagonalPart(int first, int count, double x)
{
    if (!IsPart(first, count)) return false;
    for (int i = first; i < first + count; ++i) Row(i)[i] += x;
    return true;
}

bool MCSymMatrix::AdjustOffDiagCorr(double eps)
{
    if (!(eps >= 0.0 && eps < 1.0)) return false;
    for (int i = 1; i < fnRows; ++i)
        for (double& r : std::span(Row(i), static_cast<std::size_t>(i))) {
            if (r >= 1.0) r = 1.0 - eps;
            if (r <= -1.0) r = -(1.0 - eps);
        }
    return true;
}

int MCSymMatrix::ReplaceDiagZeroes(double x)
{
    int count = 0;
    for (int i = 0; i < fnRows; ++i)
        if (Row(i)[i] == 0.0) {
            Row(i)[i] = x;
            ++count;
        }
    return count;
}

int MCSymMatrix::SetCovarZeros()
{
    int count = 0;
    for (int i = 0; i < fnRows; ++i)
        if (Row(i)[i] == 0.0) {
            ZeroOutRow(i);
            ++count;
        }
    return count;
}

void MCSymMatrix::MultiplyByNumber(double x)
{
    for (double& element : fvElem) element *= x;
}

void MCSymMatrix::ChangeSign()
{
    for (double& element : fvElem) element = -element;
}

// The sums of IMCSymMatrix, on contiguous rows.
double MCSymMatrix::TraceOfProduct(const IMCSymMatrix& B) const
{
    if (!IsPacked(B) || B.GetNRows() != fnRows) return IMCSymMatrix::TraceOfProduct(B);
    const auto& other = static_cast<const MCSymMatrix&>(B);
    double trace = 0.0;
    for (int i = 0; i < fnRows; ++i) {
        const double sum = internal::DotInOrder(Row(i), other.Row(i), static_cast<std::size_t>(i));
        trace += 2.0 * sum + Row(i)[i] * other.Row(i)[i];
    }
    return trace;
}

void MCSymMatrix::ZeroOut()
{
    std::fill(fvElem.begin(), fvElem.end(), 0.0);
}

void MCSymMatrix::ZeroOutNonDiag()
{
    for (int i = 0; i < fnRows; ++i) std::fill_n(Row(i), i, 0.0);
}

bool MCSymMatrix::ZeroOutRow(int i)
{
    if (!IsRow(i)) return false;
    std::fill_n(Row(i), i, 0.0);
    for (int k = i; k < fnRows; ++k) Row(k)[i] = 0.0;
    return true;
}

int MCSymMatrix::ZeroOutAllSmall(double tol)
{
    if (!(tol >= 0.0)) return -1;
    int count = 0;
    for (double& element : fvElem)
        if (element != 0.0 && std::fabs(element) <= tol) {
            element = 0.0;
            ++count;
        }
    return count;
}

int MCSymMatrix::ZeroOutRowsForSmallDiag(double tol)
{
    if (!(tol >= 0.0)) return -1;
    double largest = 0.0;
    for (int i = 0; i < fnRows; ++i) largest = std::max(largest, std::fabs(Row(i)[i]));
    int count = 0;
    for (int i = 0; i < fnRows; ++i)
        if (std::fabs(Row(i)[i]) <= tol * largest) {
            ZeroOutRow(i);
            ++count;
        }
    return count;
}

void MCSymMatrix::Clear()
{
    fvElem.clear();
    SetOrder(0);
}

void MCSymMatrix::ClearAll()
{
    *this = MCSymMatrix();
}

bool MCSymMatrix::Expand(const std::vector<int>& positions, int n)
{
    if (!IsOrder(n) || positions.size() != static_cast<std::size_t>(fnRows) || !internal::AreDistinct(positions, n))
        return false;
    MCSymMatrix wide(n);
    for (int i = 0; i < fnRows; ++i)
        for (int j = 0; j <= i; ++j)
            wide.SetElem(positions[static_cast<std::size_t>(i)], positions[static_cast<std::size_t>(j)], Row(i)[j]);
    *this = std::move(wide);
    return true;
}

bool MCSymMatrix::Expand(const MCBitSet& kept)
{
    return Expand(kept.Members(), kept.Size());
}

bool MCSymMatrix::ExpandSym(const MCBitSet& kept, MCSymMatrix& out) const
{
    MCSymMatrix wide(*this);
    if (!wide.Expand(kept)) return false;
    out = std::move(wide);
    return true;
}

bool MCSymMatrix::ExpandSymToRect(const MCBitSet& kept, MCRectMatrix& out) const
{
    MCSymMatrix wide;
    if (!ExpandSym(kept, wide)) return false;
    out.SetNRowsCols(wide.GetNRows(), wide.GetNRows());
    wide.CopyToSquare(out.GetPtr());
    return true;
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

bool MCSymMatrix::ExtractRectangle(const std::vector<int>& rows, const std::vector<int>& cols, MCRectMatrix& out) const
{
    const auto isRow = [this](int i) { return IsRow(i); };
    if (!std::all_of(rows.begin(), rows.end(), isRow) || !std::all_of(cols.begin(), cols.end(), isRow)) return false;
    MCRectMatrix part(static_cast<int>(rows.size()), static_cast<int>(cols.size()));
    double* to = part.GetPtr();
    for (const int i : rows)
        for (const int j : cols) *to++ = GetElem(i, j);
    out = std::move(part);
    return true;
}

bool MCSymMatrix::ExtractOffBlock(const MCBitSet& rows, MCRectMatrix& out) const
{
    if (rows.Size() > fnRows) return false;
    std::vector<int> inside;
    std::vector<int> outside;
    for (int i = 0; i < fnRows; ++i) (rows.IsIn(i) ? inside : outside).push_back(i);
    return ExtractRectangle(inside, outside, out);
}

bool MCSymMatrix::FillDenseMatrix(MCSymMatrix& out) const
{
    if (!IsOrder(fnRows) || (&out != this && !out.CopyFromPacked(fvElem))) return false;
    out.fnBlocks = 1;
    return true;
}

void MCSymMatrix::TakePacked(int n, std::vector<double>&& packed)
{
    fvElem = std::move(packed);
    SetOrder(n);
}

bool MCSymMatrix::SetNBlocks(int nBlocks)
{
    if (nBlocks < 1 || fnRows % nBlocks != 0) return false;
    fnBlocks = nBlocks;
    return true;
}

void MCSymMatrix::Display() const
{
    MCDisplay_930::DisplayStart("MCSymMatrix");
    MCDisplay_930::Display("Number of rows", fnRows);
    MCDisplay_930::DisplaySymMatrix(GetPtr(), fnRows);
    MCDisplay_930::DisplayEnd("MCSymMatrix");
}

void MCSymMatrix::DisplayF() const
{
    std::vector<double> square(static_cast<std::size_t>(fnRows) * static_cast<std::size_t>(fnRows));
    CopyToSquare(square.data());
    MCDisplay_930::DisplayStart("MCSymMatrix");
    MCDisplay_930::Display("Number of rows", fnRows);
    MCDisplay_930::DisplayRectMatrix(square.data(), fnRows, fnRows);
    MCDisplay_930::DisplayEnd("MCSymMatrix");
}

void MCSymMatrix::DisplayS() const
{
    MCDisplay_930::DisplayStart("MCSymMatrix");
    MCDisplay_930::Display("Number of rows", fnRows);
    MCDisplay_930::Display("Trace", Trace());
    double maxDiag = 0.0;
    double minDiag = 0.0;
    double maxOffDiag = 0.0;
    double minOffDiag = 0.0;
    if (MaxMinDiagOffDiag(maxDiag, minDiag, maxOffDiag, minOffDiag)) {
        MCDisplay_930::Display("Largest diagonal element", maxDiag);
        MCDisplay_930::Display("Smallest diagonal element", minDiag);
        MCDisplay_930::Display("Largest off-diagonal element", maxOffDiag);
        MCDisplay_930::Display("Smallest off-diagonal element", minOffDiag);
    }
    MCDisplay_930::DisplayEnd("MCSymMatrix");
}

} // namespace MCMath_930
