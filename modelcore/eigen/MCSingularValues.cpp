// MCSingularValues: scaling, reduction, divide and conquer, and the vectors taken back.
#include "modelcore/eigen/MCSingularValues.h"

#include "modelcore/common/MCDisplay.h"
#include "modelcore/eigen/internal/BidiagonalReduction.h"
#include "modelcore/eigen/internal/DivideAndConquer.h"
#include "modelcore/kernels/Kernels.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

namespace MCMath_930 {

namespace {

std::size_t Size(int count)
{
    return static_cast<std::size_t>(count);
}

/// Largest magnitude of finite elements; a NaN or an infinity when one of them is.
double LargestElement(const MCRectMatrix& matrix)
{
    double largest = 0.0;
    for (const double element : matrix.AsSpan()) {
        if (!std::isfinite(element)) return element;
        largest = std::max(largest, std::fabs(element));
    }
    return largest;
}

void ScaleByPower(std::vector<double>& numbers, int exponent)
{
    const double power = std::scalbn(1.0, exponent);
    if (power >= 0x1p-1000 && power <= 0x1p1000)
        internal::Scale(numbers.data(), power, numbers.size());
    else // beyond the range of a double
        for (double& number : numbers) number = std::scalbn(number, exponent);
}

constexpr int kSquare = 16; // rows and columns that stay in cache while they change places

/// The elements times a power of two, column by column, or row by row when there are fewer rows than columns: what comes
/// out is the taller of the matrix and its transpose.
std::vector<double> ScaledColumns(const MCRectMatrix& matrix, int scaledBy)
{
    const int m = matrix.GetNRows();
    const int n = matrix.GetNCols();
    std::vector<double> columns(matrix.AsSpan().size());
    if (m < n) {
        std::copy(matrix.AsSpan().begin(), matrix.AsSpan().end(), columns.begin());
    } else {
        for (int i0 = 0; i0 < m; i0 += kSquare)
            for (int j = 0; j < n; ++j)
                for (int i = i0; i < std::min(m, i0 + kSquare); ++i)
                    columns[Size(j) * Size(m) + Size(i)] = matrix.GetElem(i, j);
    }
    ScaleByPower(columns, scaledBy);
    return columns;
}

/// Rows of vectors in ascending order of their values, `count` of them, the others after them, as columns in descending
/// order.
MCRectMatrix ToColumns(const std::vector<double>& rows, int nRows, int length, int count)
{
    MCRectMatrix columns(length, nRows);
    for (int j0 = 0; j0 < nRows; j0 += kSquare)
        for (int i0 = 0; i0 < length; i0 += kSquare)
            for (int i = i0; i < std::min(length, i0 + kSquare); ++i)
                for (int j = j0; j < std::min(nRows, j0 + kSquare); ++j)
                    columns.GetRowPtr(i)[j] = rows[Size(j < count ? count - 1 - j : j) * Size(length) + Size(i)];
    return columns;
}

} // namespace

MCSingularValues::MCSingularValues(const MCRectMatrix& A)
{
    SetMatrix(A);
}

bool MCSingularValues::SetMatrix(const MCRectMatrix& A)
{
    if (!std::isfinite(LargestElement(A))) return false;
    MCRectMatrix matrix(A);
    fmA = std::move(matrix);
    return true;
}

int MCSingularValues::Compute(std::vector<double>& values) const
{
    return Decompose(values, nullptr, nullptr, VectorsThin);
}

int MCSingularValues::Compute(std::vector<double>& values, MCRectMatrix& U, MCRectMatrix& V, Vectors wanted) const
{
    return &U == &V ? 0 : Decompose(values, &U, &V, wanted);
}

/// @param U, V  null when only values are wanted
int MCSingularValues::Decompose(std::vector<double>& values, MCRectMatrix* U, MCRectMatrix* V, Vectors wanted) const
{
    if (!IsValidMatrix()) return 0;
    const bool isWide = fmA.GetNRows() < fmA.GetNCols();
    const int length = std::max(fmA.GetNRows(), fmA.GetNCols());
    const int r = std::min(fmA.GetNRows(), fmA.GetNCols());
    const double largest = LargestElement(fmA);
    const int scaledBy = largest > 0.0 ? -std::ilogb(largest) : 0;

    internal::BidiagonalReduction reduction(ScaledColumns(fmA, scaledBy), length, r);
    std::vector<double> found(reduction.Diagonal(), reduction.Diagonal() + r);
    std::vector<double> above(reduction.Above(), reduction.Above() + r);
    double norm = 0.0; // the reflections add up what was below 2
    for (const std::vector<double>* const numbers : {&found, &above})
        for (const double number : *numbers) norm = std::max(norm, std::fabs(number));
    const int scaledAgain = norm > 0.0 ? -std::ilogb(norm) : 0;
    ScaleByPower(found, scaledAgain);
    ScaleByPower(above, scaledAgain);

    MCRectMatrix left, right;
    if (U == nullptr) {
        internal::DecomposeBidiagonal(r, found.data(), above.data(), nullptr, nullptr);
    } else {
        std::vector<double> leftRows(Size(r) * Size(r)), rightRows(leftRows.size());
        internal::DecomposeBidiagonal(r, found.data(), above.data(), leftRows.data(), rightRows.data());
        reduction.TakeBackRight(rightRows.data(), r);
        right = ToColumns(rightRows, r, r, r);
        const int nLeft = wanted == VectorsFull ? length : r;
        std::vector<double> longRows(Size(nLeft) * Size(length));
        for (int i = 0; i < nLeft; ++i) {
            double* const row = longRows.data() + Size(i) * Size(length);
            if (i < r)
                std::copy_n(leftRows.data() + Size(i) * Size(r), r, row);
            else
                row[i] = 1.0;
        }
        reduction.TakeBackLeft(longRows.data(), nLeft);
        left = ToColumns(longRows, nLeft, length, r);
    }
    std::reverse(found.begin(), found.end());
    ScaleByPower(found, -scaledBy - scaledAgain);

    values = std::move(found);
    if (U != nullptr) {
        *U = std::move(isWide ? right : left);
        *V = std::move(isWide ? left : right);
    }
    return r;
}

void MCSingularValues::Display() const
{
    MCDisplay_930::DisplayStart("MCSingularValues");
    MCDisplay_930::Display("Number of rows", fmA.GetNRows());
    MCDisplay_930::Display("Number of columns", fmA.GetNCols());
    MCDisplay_930::DisplayLine("Matrix A:");
    MCDisplay_930::DisplayRectMatrix(fmA.GetPtr(), fmA.GetNRows(), fmA.GetNCols());
    MCDisplay_930::DisplayEnd("MCSingularValues");
}

} // namespace MCMath_930
