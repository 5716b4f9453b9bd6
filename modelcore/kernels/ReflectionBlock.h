// Several Householder reflections applied to many columns, strip by strip.
#pragma once

#include "modelcore/kernels/AlignedDoubles.h"
#include "modelcore/kernels/ColumnViews.h"
#include "modelcore/kernels/Kernels.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace MCMath_930::internal {

/// A strip of columns that stays in cache, row by row, while reflections go over it: each pass over it applies one
/// reflection and forms the dot products of the next, whose vector runs across the columns. Every column sees the
/// operations of the loop that takes one reflection and one column at a time.
class ReflectionStrip {
public:
    explicit ReflectionStrip(int rows)
        : fRows(rows), fStrip(MakeAlignedDoubles(static_cast<std::size_t>(rows) * kStripWidth))
    {}

    explicit operator bool() const { return fStrip != nullptr; }

    /// Applies reflections to columns from..to-1, kStripWidth at a time.
    ///
    /// @param firstRow    first row that any of them reaches
    /// @param count       number of reflections
    /// @param start       start(q) is the first row of reflection q, or -1 when there is none to apply
    /// @param vector      vector(q) is where reflection q stands, row 0 first
    template <class StartRow, class VectorOf>
    void Apply(const DenseColumns<double>& x, int from, int to, int firstRow, int count, StartRow start,
               VectorOf vector)
    {
        for (int c = from; c < to; c += kStripWidth) {
            const int width = std::min(kStripWidth, to - c);
            Load(x, c, width, firstRow);
            double factors[2][kStripWidth];
            double* now = factors[0];
            double* then = factors[1];
            int previous = -1;
            for (int q = 0; q < count; ++q) {
                if (start(q) < 0) continue;
                Step(previous < 0 ? nullptr : vector(previous), previous < 0 ? fRows : start(previous), now, vector(q),
                     start(q), then, firstRow);
                std::swap(now, then);
                previous = q;
            }
            if (previous >= 0) Step(vector(previous), start(previous), now, nullptr, fRows, then, firstRow);
            Store(x, c, width, firstRow);
        }
    }

private:
    double* Row(int i, int firstRow) const
    {
        return fStrip.get() + static_cast<std::ptrdiff_t>(i - firstRow) * kStripWidth;
    }

    static std::size_t Count(int from, int to) { return static_cast<std::size_t>(std::max(0, to - from)); }

    /// Applies reflection v from its start row on, and finds the factors of the reflection after it.
    void Step(const double* v, int start, const double* factors, const double* next, int nextStart, double* nextFactors,
              int firstRow)
    {
        if (v != nullptr && std::find(factors, factors + kStripWidth, 0.0) != factors + kStripWidth) {
            // A factor of 0 leaves its column alone; adding zeros could change the sign of a zero.
            for (int j = 0; j < kStripWidth; ++j)
                for (int i = start; factors[j] != 0.0 && i < fRows; ++i) Row(i, firstRow)[j] += factors[j] * v[i];
            v = nullptr;
        }
        if (v == nullptr) start = fRows;
        double dots[kStripWidth] = {};
        const int both = std::max(start, nextStart);
        if (v != nullptr && start < both)
            ReflectStrip(Row(start, firstRow), v + start, factors, nullptr, nullptr, Count(start, both));
        if (next != nullptr && nextStart < both)
            ReflectStrip(Row(nextStart, firstRow), nullptr, nullptr, next + nextStart, dots, Count(nextStart, both));
        if (both < fRows)
            ReflectStrip(Row(both, firstRow), v != nullptr ? v + both : nullptr, factors,
                         next != nullptr ? next + both : nullptr, dots, Count(both, fRows));
        if (next != nullptr)
            for (int j = 0; j < kStripWidth; ++j) nextFactors[j] = -dots[j] / next[nextStart];
    }

    void Load(const DenseColumns<double>& x, int c, int width, int firstRow)
    {
        constexpr int kRowsAtOnce = 64;
        for (int i0 = firstRow; i0 < fRows; i0 += kRowsAtOnce)
            for (int j = 0; j < kStripWidth; ++j) { // columns beyond the last repeat it
                const double* const column = x(c + std::min(j, width - 1));
                for (int i = i0; i < std::min(fRows, i0 + kRowsAtOnce); ++i) Row(i, firstRow)[j] = column[i];
            }
    }

    void Store(const DenseColumns<double>& x, int c, int width, int firstRow) const
    {
        constexpr int kRowsAtOnce = 64;
        for (int i0 = firstRow; i0 < fRows; i0 += kRowsAtOnce)
            for (int j = 0; j < width; ++j) {
                double* const column = x(c + j);
                for (int i = i0; i < std::min(fRows, i0 + kRowsAtOnce); ++i) column[i] = Row(i, firstRow)[j];
            }
    }

    int fRows;
    AlignedDoubles fStrip;
};

} // namespace MCMath_930::internal
