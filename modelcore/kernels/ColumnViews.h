// How loops see the columns of a dense, packed or band matrix, so that one loop serves all three.
#pragma once

#include "modelcore/kernels/Kernels.h"

#include <algorithm>
#include <cstddef>

namespace MCMath_930::internal {

// A view is called with a column index (from 0) and returns where row 0 of that column stands or would stand, so that
// view(j)[i] is element (i, j). FirstRow(j) is the first row of column j that is stored, above the diagonal.

template <class Real>
struct DenseColumns {
    Real* a;
    int lda;

    Real* operator()(int j) const { return a + static_cast<std::ptrdiff_t>(j) * lda; }
    static int FirstRow(int) { return 0; }
};

/// The upper triangle of a symmetric matrix, column after column.
template <class Real>
struct PackedColumns {
    Real* ap;

    Real* operator()(int j) const { return ap + static_cast<std::ptrdiff_t>(j) * (j + 1) / 2; }
    static int FirstRow(int) { return 0; }
};

/// A band of `above` diagonals over the main one, which stands in row `diagonal` of the array.
template <class Real>
struct BandColumns {
    Real* abd;
    int lda;
    int diagonal;
    int above;

    Real* operator()(int j) const { return abd + static_cast<std::ptrdiff_t>(j) * (lda - 1) + diagonal; }
    int FirstRow(int j) const { return std::max(0, j - above); }
};

template <class Real>
DenseColumns(Real*, int) -> DenseColumns<Real>;
template <class Real>
PackedColumns(Real*) -> PackedColumns<Real>;
template <class Real>
BandColumns(Real*, int, int, int) -> BandColumns<Real>;

/// AddToLines for columns first .. last-1: column j receives factor(j), asked for just before, times the first count +
/// (j - first) * growth elements of x.
template <class Columns, class Factor>
void AddToEach(const Columns& columns, int first, int last, Factor factor, const double* x, int count, int growth)
{
    constexpr int kAtOnce = 32;
    double* lines[kAtOnce];
    double factors[kAtOnce];
    for (int j = first; j < last; j += kAtOnce) {
        const int used = std::min(kAtOnce, last - j);
        for (int q = 0; q < used; ++q) {
            lines[q] = columns(j + q);
            factors[q] = factor(j + q);
        }
        AddToLines(lines, static_cast<std::size_t>(used), factors, x,
                   static_cast<std::size_t>(count + (j - first) * growth), static_cast<std::size_t>(growth));
    }
}

} // namespace MCMath_930::internal
