// BidiagonalReduction: triangle, panels of the bidiagonal form, and the way back.
#include "modelcore/eigen/internal/BidiagonalReduction.h"

#include "modelcore/kernels/Kernels.h"
#include "modelcore/kernels/TileProduct.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <utility>

namespace MCMath_930::internal {

namespace {

constexpr int kPanel = 32;

std::size_t Size(int count)
{
    return static_cast<std::size_t>(count);
}

/// Replaces x by the v of the reflection I - v*v', of length sqrt(2) or 0, that makes all but its first element 0.
/// @return  that element
double MakeReflection(double* x, int count)
{
    constexpr double kSmallest = 0x1p-800; // of a square: elements below 2^-400 count as 0
    const double head = x[0];
    double rest = 0.0;
    for (int i = 1; i < count; ++i) rest += x[i] * x[i];
    if (rest < kSmallest) {
        std::fill_n(x, count, 0.0);
        return head;
    }
    const double length = std::sqrt(head * head + rest);
    const double scale = 1.0 / std::sqrt(length * (length + std::fabs(head)));
    x[0] = head >= 0.0 ? head + length : head - length;
    Scale(x, scale, Size(count));
    return head >= 0.0 ? -length : length;
}

} // namespace

BidiagonalReduction::BidiagonalReduction(std::vector<double> columns, int nRows, int nColumns)
    : fnRows(nRows), fnColumns(nColumns), fnAllRows(nRows), fMatrix(std::move(columns)),
      fRight(Offset(nColumns, nColumns)), fDiagonal(Size(nColumns)), fAbove(Size(nColumns)),
      fPanel(Offset(2 * kPanel, nRows + nColumns)), fLine(Size(nColumns)), fDots(Size(nColumns))
{
    if (nRows - nColumns > nColumns / 2) ReduceToTriangle();
    for (int first = 0; first < fnColumns; first += kPanel) ReducePanel(first, std::min(fnColumns, first + kPanel));
}

/// A = Q*R; what is reduced further is R. A block of reflections is made in parts, which one after the other go over the
/// rest of the block, and then goes over the columns after it as a whole.
void BidiagonalReduction::ReduceToTriangle()
{
    constexpr int kPart = 12;
    std::vector<double> triangle(Offset(fnColumns, fnColumns));
    RowReflections reflections(fnRows, fnColumns);
    const auto apply = [&](int first, int last, int end) { // reflections first .. last - 1 to columns last .. end - 1
        if (last == end) return;
        for (int i = first; i < last; ++i) {
            double* const stored = reflections.Vector(i - first);
            std::fill_n(stored, i - first, 0.0);
            std::copy_n(Column(i) + i, fnRows - i, stored + (i - first));
        }
        reflections.Apply(Column(last), fnRows, end - last, first, fnRows - first, last - first);
    };
    for (int first = 0; first < fnColumns; first += RowReflections::kBlock) {
        const int last = std::min(fnColumns, first + RowReflections::kBlock);
        for (int part = first; part < last; part += kPart) {
            const int end = std::min(last, part + kPart);
            for (int i = part; i < end; ++i) {
                double* const v = Column(i) + i;
                std::copy_n(Column(i), i, triangle.data() + Offset(i, fnColumns));
                triangle[Offset(i, fnColumns) + Size(i)] = MakeReflection(v, fnRows - i);
                if (i + 1 == end) continue;
                const std::size_t others = Size(end - i - 1);
                DotColumns(fDots.data(), Column(i + 1) + i, fnRows, others, v, Size(fnRows - i));
                for (std::size_t j = 0; j < others; ++j) fDots[j] = -fDots[j];
                AddOuterProduct(Column(i + 1) + i, fnRows, others, fDots.data(), 1, v, Size(fnRows - i));
            }
            apply(part, end, last);
        }
        apply(first, last, fnColumns);
    }
    fTriangular = std::move(fMatrix);
    fMatrix = std::move(triangle);
    fnRows = fnColumns;
}

/// Reflections first .. last - 1 from the left and the right. Those of the panel wait: column and row i are brought up to
/// date when their turn comes, the rest at the end. Beside each left reflection v stands y, which is what v'*A becomes,
/// and beside each right one u stands x, what A*u becomes: A loses v*y' and x*u'.
void BidiagonalReduction::ReducePanel(int first, int last)
{
    const auto v = [&](int k) { return fPanel.data() + Offset(k, fnRows); };
    const auto x = [&](int k) { return fPanel.data() + Offset(kPanel + k, fnRows); };
    double* const wide = fPanel.data() + Offset(2 * kPanel, fnRows);
    const auto y = [&](int k) { return wide + Offset(k, fnColumns); };
    const auto u = [&](int k) { return wide + Offset(kPanel + k, fnColumns); };
    double factors[2 * kPanel];
    // to -= factors[k] * lines(k) for k < count, elements from `from` to `end` - 1
    const auto subtract = [&](double* to, const double* lines, int stride, int count, int from, int end) {
        for (int k = 0; k < count; ++k) factors[k] = -factors[k];
        AddRows(to + from, lines + from, stride, Size(count), factors, 1, Size(end - from));
    };
    // factors[k] = other . lines(k), elements from `from` to `end` - 1
    const auto multiply = [&](const double* other, const double* lines, int stride, int count, int from, int end) {
        DotColumns(factors, lines + from, stride, Size(count), other + from, Size(end - from));
    };

    for (int i = first; i < last; ++i) {
        const int done = i - first;
        double* const column = Column(i);
        for (int k = 0; k < done; ++k) factors[k] = y(k)[i];
        subtract(column, v(0), fnRows, done, i, fnRows);
        for (int k = 0; k < done; ++k) factors[k] = u(k)[i];
        subtract(column, x(0), fnRows, done, i, fnRows);
        fDiagonal[Size(i)] = MakeReflection(column + i, fnRows - i);
        std::fill_n(v(done), i, 0.0);
        std::copy(column + i, column + fnRows, v(done) + i);
        const int next = i + 1;
        if (next == fnColumns) continue;

        const std::size_t others = Size(fnColumns - next);
        DotColumns(y(done) + next, Column(next) + i, fnRows, others, v(done) + i, Size(fnRows - i));
        multiply(v(done), v(0), fnRows, done, i, fnRows);
        subtract(y(done), y(0), fnColumns, done, next, fnColumns);
        multiply(v(done), x(0), fnRows, done, i, fnRows);
        subtract(y(done), u(0), fnColumns, done, next, fnColumns);

        double* const row = u(done);
        std::fill_n(row, next, 0.0);
        for (int j = next; j < fnColumns; ++j) row[j] = Column(j)[i];
        for (int k = 0; k <= done; ++k) factors[k] = v(k)[i];
        subtract(row, y(0), fnColumns, done + 1, next, fnColumns);
        for (int k = 0; k < done; ++k) factors[k] = x(k)[i];
        subtract(row, u(0), fnColumns, done, next, fnColumns);
        fAbove[Size(i)] = MakeReflection(row + next, fnColumns - next);
        std::copy(row + next, row + fnColumns, fRight.data() + Offset(i, fnColumns) + next);

        std::fill_n(x(done), fnRows, 0.0);
        AddRows(x(done) + next, Column(next) + next, fnRows, others, row + next, 1, Size(fnRows - next));
        multiply(row, y(0), fnColumns, done + 1, next, fnColumns);
        subtract(x(done), v(0), fnRows, done + 1, next, fnRows);
        multiply(row, u(0), fnColumns, done, next, fnColumns);
        subtract(x(done), x(0), fnRows, done, next, fnRows);
    }
    if (last == fnColumns) return;
    const int count = last - first;
    const TileWorkspace tiles(fnRows - last);
    if (!tiles) throw std::bad_alloc();
    AddProduct<ZeroFactor::Multiplies>(
        tiles, fnColumns - last, 2 * count, [&](int r) { return Column(last + r) + last; },
        [&](int) { return fnRows - last; },
        [&](int r, int k) { return k < count ? -y(k)[last + r] : -u(k - count)[last + r]; },
        RowsOperand{[&](int k) { return (k < count ? v(k) : x(k - count)) + last; }});
}

void BidiagonalReduction::TakeBack(const Reflections& made, double* rows, int stride, int nRows)
{
    RowReflections reflections(made.length, nRows);
    for (int last = made.count; last > 0;) { // the reflection made last is applied first
        const int first = std::max(0, last - RowReflections::kBlock);
        const int start = first + made.shift;
        for (int i = last - 1; i >= first; --i) {
            double* const v = reflections.Vector(last - 1 - i);
            std::fill_n(v, i - first, 0.0);
            std::copy_n(made.vectors + Offset(i, made.stride) + i + made.shift, made.length - i - made.shift,
                        v + (i - first));
        }
        reflections.Apply(rows, stride, nRows, start, made.length - start, last - first);
        last = first;
    }
}

void BidiagonalReduction::TakeBackLeft(double* rows, int nRows) const
{
    TakeBack({fMatrix.data(), fnRows, 0, fnColumns, fnRows}, rows, fnAllRows, nRows);
    if (!fTriangular.empty())
        TakeBack({fTriangular.data(), fnAllRows, 0, fnColumns, fnAllRows}, rows, fnAllRows, nRows);
}

void BidiagonalReduction::TakeBackRight(double* rows, int nRows) const
{
    TakeBack({fRight.data(), fnColumns, 1, fnColumns - 1, fnColumns}, rows, fnColumns, nRows);
}

} // namespace MCMath_930::internal
