// Several Householder reflections applied to many columns, strip by strip.
#pragma once

#include "modelcore/kernels/AlignedDoubles.h"
#include "modelcore/kernels/ColumnViews.h"
#include "modelcore/kernels/Kernels.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace MCMath_930::internal {

/// One pass over a strip of kReflectionWidth columns whose first row is `firstRow` of `rows`: applies reflection v, if there is
/// one, from its start row on, and finds the factors of the reflection after it, if there is one. Every column sees the
/// operations of the loop that takes one reflection and one column at a time.
inline void ReflectOnce(double* strip, int firstRow, int rows, const double* v, int start, const double* factors,
                        const double* next, int nextStart, double* nextFactors)
{
    const auto row = [=](int i) { return strip + static_cast<std::ptrdiff_t>(i - firstRow) * kReflectionWidth; };
    const auto count = [](int from, int to) { return static_cast<std::size_t>(std::max(0, to - from)); };
    if (v != nullptr && std::find(factors, factors + kReflectionWidth, 0.0) != factors + kReflectionWidth) {
        // A factor of 0 leaves its column alone; adding zeros could change the sign of a zero.
        for (int j = 0; j < kReflectionWidth; ++j)
            for (int i = start; factors[j] != 0.0 && i < rows; ++i) row(i)[j] += factors[j] * v[i];
        v = nullptr;
    }
    if (v == nullptr) start = rows;
    double dots[kReflectionWidth] = {};
    const int both = std::max(start, nextStart);
    if (v != nullptr && start < both)
        ReflectStrip(row(start), kReflectionWidth, v + start, factors, nullptr, nullptr, count(start, both));
    if (next != nullptr && nextStart < both)
        ReflectStrip(row(nextStart), kReflectionWidth, nullptr, nullptr, next + nextStart, dots,
                     count(nextStart, both));
    if (both < rows)
        ReflectStrip(row(both), kReflectionWidth, v != nullptr ? v + both : nullptr, factors,
                     next != nullptr ? next + both : nullptr, dots, count(both, rows));
    if (next != nullptr)
        for (int j = 0; j < kReflectionWidth; ++j) nextFactors[j] = -dots[j] / next[nextStart];
}

/// A strip of columns that stays in cache, row by row, while reflections go over it: each pass over it applies one
/// reflection and forms the dot products of the next, whose vector runs across the columns. Every column sees the
/// operations of the loop that takes one reflection and one column at a time.
class ReflectionStrip {
public:
    explicit ReflectionStrip(int rows)
        : fRows(rows), fStrip(MakeAlignedDoubles(static_cast<std::size_t>(rows) * kReflectionWidth))
    {}

    explicit operator bool() const { return fStrip != nullptr; }

    /// Applies reflections to columns from..to-1, kReflectionWidth at a time.
    ///
    /// @param firstRow    first row that any of them reaches
    /// @param count       number of reflections
    /// @param start       start(q) is the first row of reflection q, or -1 when there is none to apply
    /// @param vector      vector(q) is where reflection q stands, row 0 first
    template <class StartRow, class VectorOf>
    void Apply(const DenseColumns<double>& x, int from, int to, int firstRow, int count, StartRow start,
               VectorOf vector)
    {
        for (int c = from; c < to; c += kReflectionWidth) {
            const int width = std::min(kReflectionWidth, to - c);
            Load(x, c, width, firstRow);
            double factors[2][kReflectionWidth];
            double* now = factors[0];
            double* then = factors[1];
            int previous = -1;
            for (int q = 0; q < count; ++q) {
                if (start(q) < 0) continue;
                ReflectOnce(fStrip.get(), firstRow, fRows, previous < 0 ? nullptr : vector(previous),
                            previous < 0 ? fRows : start(previous), now, vector(q), start(q), then);
                std::swap(now, then);
                previous = q;
            }
            if (previous >= 0)
                ReflectOnce(fStrip.get(), firstRow, fRows, vector(previous), start(previous), now, nullptr, fRows,
                            then);
            Store(x, c, width, firstRow);
        }
    }

private:
    double* Row(int i, int firstRow) const
    {
        return fStrip.get() + static_cast<std::ptrdiff_t>(i - firstRow) * kReflectionWidth;
    }

    // Both turn columns into rows or back.
    void Load(const DenseColumns<double>& x, int c, int width, int firstRow)
    {
        SpreadRows(Row(firstRow, firstRow), kReflectionWidth, x(c) + firstRow, static_cast<std::size_t>(x.lda),
                   static_cast<std::size_t>(fRows - firstRow), static_cast<std::size_t>(width));
        for (int i = firstRow; width < kReflectionWidth && i < fRows; ++i) { // columns beyond the last repeat it
            double* const row = Row(i, firstRow);
            std::fill(row + width, row + kReflectionWidth, row[width - 1]);
        }
    }

    void Store(const DenseColumns<double>& x, int c, int width, int firstRow) const
    {
        SpreadRows(x(c) + firstRow, static_cast<std::size_t>(x.lda), Row(firstRow, firstRow), kReflectionWidth,
                   static_cast<std::size_t>(width), static_cast<std::size_t>(fRows - firstRow));
    }

    int fRows;
    AlignedDoubles fStrip;
};

} // namespace MCMath_930::internal
