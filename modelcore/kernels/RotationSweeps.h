// Sweeps of plane rotations that wait to be applied to strips of rows.
#pragma once

#include "modelcore/kernels/AlignedDoubles.h"
#include "modelcore/kernels/Kernels.h"

#include <algorithm>
#include <cstddef>

namespace MCMath_930::internal {

/// The cosines and sines of sweeps, each of columns (k, k + 1) for k = first, first + 1, and so on. Many of them go
/// over a strip of rows while it is in cache; a rotation turns each row for itself, so a row sees what it would have
/// seen at once.
class RotationSweeps {
public:
    /// @param columns  of the matrix that is rotated
    explicit RotationSweeps(int columns) : fColumns(columns), fMemory(MakeAlignedDoubles(Size(columns) * 2 * kSweeps))
    {}

    /// Whether there is memory to keep rotations in; without it only NextColumn may be asked.
    explicit operator bool() const { return fMemory != nullptr; }

    bool IsFull() const { return fCount == kSweeps; }
    bool IsEmpty() const { return fCount == 0; }

    /// Begins a sweep at columns (first, first + 1); not when full.
    void Start(int first) { fSweeps[fCount++] = {first, 0}; }

    /// The first of the two columns that the next rotation turns.
    int NextColumn() const { return fSweeps[fCount - 1].first + fSweeps[fCount - 1].length; }

    void Add(double c, double s)
    {
        const std::size_t at = Size(fSweeps[fCount - 1].length);
        if (fMemory != nullptr) {
            Cosines(fCount - 1)[at] = c;
            Sines(fCount - 1)[at] = s;
        }
        ++fSweeps[fCount - 1].length;
    }

    /// The first and the last column that any rotation reaches; first > last when there is none.
    int FirstColumn() const
    {
        int first = fColumns;
        for (int q = 0; q < fCount; ++q) first = std::min(first, fSweeps[q].first);
        return first;
    }
    int LastColumn() const
    {
        int last = 0;
        for (int q = 0; q < fCount; ++q) last = std::max(last, fSweeps[q].first + fSweeps[q].length);
        return last;
    }

    /// Applies all to kStripWidth rows stored column by column, column 0 first.
    void ApplyTo(double* strip) const
    {
        for (int q = 0; q < fCount; ++q)
            if (fSweeps[q].length > 0)
                RotateStrip(strip + Size(fSweeps[q].first) * kStripWidth, Cosines(q), Sines(q),
                            Size(fSweeps[q].length));
    }

    void Clear() { fCount = 0; }

private:
    static constexpr int kSweeps = 48;

    struct Sweep {
        int first;
        int length;
    };

    static std::size_t Size(int count) { return static_cast<std::size_t>(count); }

    double* Cosines(int sweep) const { return fMemory.get() + Size(fColumns) * 2 * Size(sweep); }
    double* Sines(int sweep) const { return Cosines(sweep) + fColumns; }

    int fColumns;
    AlignedDoubles fMemory;
    Sweep fSweeps[kSweeps];
    int fCount = 0;
};

} // namespace MCMath_930::internal
