// Inverse of an upper triangle by blocks.
#pragma once

#include "modelcore/kernels/Kernels.h"
#include "modelcore/kernels/TileProduct.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <new>

namespace MCMath_930::internal {

/// Inverts an upper triangle in place. Column j of the inverse is a sum over the columns before it, each times the
/// element of the triangle that stands in its row, and is scaled at the end: the sums of many columns grow together
/// through the register tile, in the order of the loop that takes one column at a time.
template <class Columns>
class BlockedInverse {
public:
    /// Below this order the loop by single columns is faster.
    static constexpr int kSmallestOrder = 112;

    BlockedInverse(const Columns& u, int n)
        : fu(u), fn(n), fWork(n), fMemory(new (std::nothrow) double[kDepth * (kColumns + kDepth)])
    {}

    bool HasWorkspace() const { return fWork && fMemory != nullptr; }

    void Invert() { Invert(0, fn); }

private:
    static constexpr int kNarrow = 8;
    static constexpr int kDepth = 96; // of the square that is filled up with zeros: more would be work for nothing
    static constexpr int kColumns = 192;

    /// Finishes columns first..last-1, whose sums hold the terms of all columns before them.
    void Invert(int first, int last)
    {
        if (last - first <= kNarrow) {
            for (int k = first; k < last; ++k) {
                double* const column = fu(k);
                column[k] = 1.0 / column[k];
                Scale(column, -column[k], static_cast<std::size_t>(k));
                for (int j = k + 1; j < last; ++j) {
                    const double t = fu(j)[k];
                    fu(j)[k] = 0.0;
                    if (t != 0.0) AddScaled(fu(j), t, column, static_cast<std::size_t>(k) + 1);
                }
            }
            return;
        }
        const int half = first + std::max(kNarrow, (last - first) / 2 / kNarrow * kNarrow);
        Invert(first, half);
        for (int j = half; j < last; j += kColumns)
            for (int k = first; k < half; k += kDepth)
                AddTerms(k, std::min(kDepth, half - k), j, std::min(kColumns, last - j));
        Invert(half, last);
    }

    /// Adds the terms of the finished columns k .. k + depth - 1 to columns j .. j + columns - 1.
    void AddTerms(int k, int depth, int j, int columns)
    {
        // The elements of the triangle that are the factors make room for the sums.
        double* const factors = fMemory.get();
        for (int c = 0; c < columns; ++c) {
            double* const from = fu(j + c) + k;
            std::copy_n(from, depth, factors + c * depth);
            std::fill_n(from, depth, 0.0);
        }
        const LeftLines left{[=](int r) { return factors + r * depth; }};
        AddProduct<ZeroFactor::Skips>(
            fWork, columns, depth, [=, this](int r) { return fu(j + r); }, [=](int) { return k; }, left,
            RowsOperand{[=, this](int q) { return fu(k + q); }});

        // Rows k and on: the finished columns end at their diagonal.
        double* const triangle = factors + kDepth * kColumns;
        for (int q = 0; q < depth; ++q) {
            std::copy_n(fu(k + q) + k, q + 1, triangle + q * depth);
            std::fill(triangle + q * depth + q + 1, triangle + (q + 1) * depth, 0.0);
        }
        AddProduct<ZeroFactor::Skips>(
            fWork, columns, depth, [=, this](int r) { return fu(j + r) + k; }, [=](int) { return depth; }, left,
            RowsOperand{[=](int q) { return triangle + q * depth; }});
    }

    Columns fu;
    int fn;
    TileWorkspace fWork;
    std::unique_ptr<double[]> fMemory;
};

} // namespace MCMath_930::internal
