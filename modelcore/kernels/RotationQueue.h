// Plane rotations of the columns of a matrix, put off and applied many at a time.
#pragma once

#include "modelcore/kernels/AlignedDoubles.h"
#include "modelcore/kernels/ColumnViews.h"
#include "modelcore/kernels/Kernels.h"
#include "modelcore/kernels/RotationSweeps.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <new>
#include <utility>

namespace MCMath_930::internal {

/// The columns of a matrix that is multiplied by sweeps of rotations. Rotations wait until there are many, then they go
/// over strips of rows that are copied out of the matrix. Columns that no rotation will reach any more can be negated
/// and exchanged; that is done at the end. Without memory to wait in, everything is done at once.
class RotationQueue {
public:
    RotationQueue(const DenseColumns<double>& x, int rows, int columns)
        : fx(x), fRows(rows), fColumns(columns), fSweeps(columns),
          fStrip(MakeAlignedDoubles(Size(columns) * kStripWidth)), fPlaces(new (std::nothrow) Place[Size(columns)]),
          fWaits(fSweeps && fStrip != nullptr && fPlaces != nullptr)
    {
        for (int j = 0; fWaits && j < columns; ++j) fPlaces[Size(j)] = {j, false};
    }

    /// Begins a sweep at columns (first, first + 1).
    void StartSweep(int first)
    {
        if (fSweeps.IsFull()) Flush();
        fSweeps.Start(first);
    }

    void Rotate(double c, double s)
    {
        const int k = fSweeps.NextColumn();
        if (!fWaits) internal::Rotate(fx(k), fx(k + 1), c, s, Size(fRows));
        fSweeps.Add(c, s);
    }

    /// A rotation of any two columns, after all that wait.
    void RotateNow(int k, int other, double c, double s)
    {
        Flush();
        internal::Rotate(fx(k), fx(other), c, s, Size(fRows));
    }

    void Negate(int j)
    {
        if (fWaits)
            fPlaces[Size(j)].negated = !fPlaces[Size(j)].negated;
        else
            Scale(fx(j), -1.0, Size(fRows));
    }

    void Exchange(int j, int other)
    {
        if (fWaits)
            std::swap(fPlaces[Size(j)], fPlaces[Size(other)]);
        else
            std::swap_ranges(fx(j), fx(j) + fRows, fx(other));
    }

    /// Does everything that still waits.
    void Finish()
    {
        Flush();
        if (!fWaits) return;
        for (int j = 0; j < fColumns; ++j) {
            // The column that belongs here may have been exchanged for that of an earlier place.
            int from = fPlaces[Size(j)].column;
            while (from < j) from = fPlaces[Size(from)].column;
            if (from != j) std::swap_ranges(fx(j), fx(j) + fRows, fx(from));
            if (fPlaces[Size(j)].negated) Scale(fx(j), -1.0, Size(fRows));
        }
    }

private:
    /// What stands in a place at the end.
    struct Place {
        int column;
        bool negated;
    };

    static std::size_t Size(int count) { return static_cast<std::size_t>(count); }

    double* Column(int j) const { return fStrip.get() + Size(j) * kStripWidth; }

    void Flush()
    {
        const int from = fSweeps.FirstColumn();
        const int to = fSweeps.LastColumn();
        for (int row = 0; fWaits && !fSweeps.IsEmpty() && row < fRows; row += kStripWidth) {
            const int count = std::min(kStripWidth, fRows - row);
            for (int k = from; k <= to; ++k) {
                std::copy_n(fx(k) + row, count, Column(k));
                std::fill(Column(k) + count, Column(k) + kStripWidth, 0.0);
            }
            fSweeps.ApplyTo(fStrip.get());
            for (int k = from; k <= to; ++k) std::copy_n(Column(k), count, fx(k) + row);
        }
        fSweeps.Clear();
    }

    DenseColumns<double> fx;
    int fRows;
    int fColumns;
    RotationSweeps fSweeps;
    AlignedDoubles fStrip;
    std::unique_ptr<Place[]> fPlaces;
    bool fWaits;
};

} // namespace MCMath_930::internal
