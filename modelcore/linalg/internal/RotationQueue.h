// Plane rotations of the columns of a matrix, put off and applied many at a time.
#pragma once

#include "modelcore/linalg/Blas1.h"
#include "modelcore/linalg/internal/LinpackColumns.h"
#include "modelcore/linalg/kernels/AlignedDoubles.h"
#include "modelcore/linalg/kernels/Kernels.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <new>
#include <utility>

namespace MCMath_930::internal {

/// The columns of a matrix that is multiplied by sweeps of rotations, each of columns (k, k + 1) for k = first, first +
/// 1, and so on. Rotations wait until there are many, then they go over strips of rows that stay in cache; a rotation
/// turns each row for itself, so a row sees what it would have seen at once. Columns that no rotation will reach any
/// more can be negated and exchanged; that is done at the end. Without memory to wait in, everything is done at once.
class RotationQueue {
public:
    RotationQueue(const DenseColumns<double>& x, int rows, int columns)
        : fx(x), fRows(rows), fColumns(columns), fMemory(MakeAlignedDoubles(Size(columns, kStripWidth + 2 * kSweeps))),
          fPlaces(new (std::nothrow) Place[Size(columns, 1)]), fWaits(fMemory != nullptr && fPlaces != nullptr)
    {
        for (int j = 0; fWaits && j < columns; ++j) fPlaces[Size(j, 1)] = {j, false};
    }

    /// Begins a sweep at columns (first, first + 1).
    void StartSweep(int first)
    {
        if (fSweepCount == kSweeps) Flush();
        fSweeps[fSweepCount++] = {first, 0};
    }

    void Rotate(double c, double s)
    {
        Sweep& sweep = fSweeps[fSweepCount - 1];
        const int k = sweep.first + sweep.length;
        if (fWaits) {
            Cosines(fSweepCount - 1)[sweep.length] = c;
            Sines(fSweepCount - 1)[sweep.length] = s;
        } else {
            Blas1::DRot(fRows, fx(k), 1, fx(k + 1), 1, c, s);
        }
        ++sweep.length;
    }

    /// A rotation of any two columns, after all that wait.
    void RotateNow(int k, int other, double c, double s)
    {
        Flush();
        Blas1::DRot(fRows, fx(k), 1, fx(other), 1, c, s);
    }

    void Negate(int j)
    {
        if (fWaits)
            fPlaces[Size(j, 1)].negated = !fPlaces[Size(j, 1)].negated;
        else
            Blas1::DScal(fRows, -1.0, fx(j), 1);
    }

    void Exchange(int j, int other)
    {
        if (fWaits)
            std::swap(fPlaces[Size(j, 1)], fPlaces[Size(other, 1)]);
        else
            Blas1::DSwap(fRows, fx(j), 1, fx(other), 1);
    }

    /// Does everything that still waits.
    void Finish()
    {
        Flush();
        if (!fWaits) return;
        for (int j = 0; j < fColumns; ++j) {
            // The column that belongs here may have been exchanged for that of an earlier place.
            int from = fPlaces[Size(j, 1)].column;
            while (from < j) from = fPlaces[Size(from, 1)].column;
            if (from != j) Blas1::DSwap(fRows, fx(j), 1, fx(from), 1);
            if (fPlaces[Size(j, 1)].negated) Blas1::DScal(fRows, -1.0, fx(j), 1);
        }
    }

private:
    static constexpr int kSweeps = 48;

    struct Sweep {
        int first;
        int length;
    };

    /// What stands in a place at the end.
    struct Place {
        int column;
        bool negated;
    };

    static std::size_t Size(int count, int each)
    {
        return static_cast<std::size_t>(count) * static_cast<std::size_t>(each);
    }

    double* Strip(int column) const { return fMemory.get() + Size(column, kStripWidth); }
    double* Cosines(int sweep) const { return Strip(fColumns) + Size(fColumns, 2 * sweep); }
    double* Sines(int sweep) const { return Cosines(sweep) + fColumns; }

    void Flush()
    {
        const int sweeps = std::exchange(fSweepCount, 0);
        if (!fWaits || sweeps == 0) return;
        int from = fColumns;
        int to = 0;
        for (int q = 0; q < sweeps; ++q) {
            from = std::min(from, fSweeps[q].first);
            to = std::max(to, fSweeps[q].first + fSweeps[q].length);
        }
        for (int row = 0; row < fRows; row += kStripWidth) {
            const int count = std::min(kStripWidth, fRows - row);
            for (int k = from; k <= to; ++k) {
                std::copy_n(fx(k) + row, count, Strip(k));
                std::fill(Strip(k) + count, Strip(k) + kStripWidth, 0.0);
            }
            for (int q = 0; q < sweeps; ++q)
                if (fSweeps[q].length > 0)
                    RotateStrip(Strip(fSweeps[q].first), Cosines(q), Sines(q), Size(fSweeps[q].length, 1));
            for (int k = from; k <= to; ++k) std::copy_n(Strip(k), count, fx(k) + row);
        }
    }

    DenseColumns<double> fx;
    int fRows;
    int fColumns;
    AlignedDoubles fMemory; // a strip, then cosines and sines of each sweep
    std::unique_ptr<Place[]> fPlaces;
    bool fWaits;
    Sweep fSweeps[kSweeps];
    int fSweepCount = 0;
};

} // namespace MCMath_930::internal
