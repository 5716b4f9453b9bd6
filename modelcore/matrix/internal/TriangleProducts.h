// Products with a lower triangle L on the register tile, for triangles that are held row by row.
//
// The tile knows no triangle: where it crosses the diagonal the elements above it are packed as zeros. Such a term adds
// a zero to a sum that began with +0.0, which no bit shows, as long as the factor it is multiplied with is finite. So
// callers look at their left factors first (AllFinite), and take the plain loops when one is not.
#pragma once

#include "modelcore/kernels/TileProduct.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace MCMath_930::internal {

/// Rows of L that are multiplied at a time: the fewer, the fewer zeros; the more, the longer a tile stays in registers.
inline constexpr int kTriangleStep = 48;

inline bool AllFinite(const double* x, std::size_t count)
{
    bool finite = true;
    for (std::size_t i = 0; i < count; ++i) finite &= std::isfinite(x[i]);
    return finite;
}

/// Rows first, first + 1 ... of L as the right operand of a tile; row(k) is where row k starts.
template <class Row>
struct LowerOperand {
    Row row;
    int first;

    double operator()(int k, int w) const { return w <= first + k ? row(first + k)[w] : 0.0; }

    void PackStrip(double* packed, int w, int k0, int depth) const
    {
        for (int k = first + k0; k < first + k0 + depth; ++k, packed += kTileWidth) {
            const double* const from = row(k) + w;
            const int inside = std::clamp(k + 1 - w, 0, kTileWidth);
            for (int i = 0; i < kTileWidth; ++i) packed[i] = i < inside ? from[i] : 0.0;
        }
    }
};

/// Rows first, first + 1 ... of L', without the elements before column first, which are zeros.
template <class Row>
struct LowerTransOperand {
    Row row;
    int first;

    double operator()(int k, int w) const { return k <= w ? row(first + w)[first + k] : 0.0; }

    void PackStrip(double* packed, int w, int k0, int depth) const
    {
        const double* from[kTileWidth];
        for (int i = 0; i < kTileWidth; ++i) from[i] = row(first + w + i) + first;
        for (int k = k0; k < k0 + depth; ++k, packed += kTileWidth)
            for (int i = 0; i < kTileWidth; ++i) packed[i] = k <= w + i ? from[i][k] : 0.0;
    }
};

template <class Row>
LowerOperand(Row, int) -> LowerOperand<Row>;
template <class Row>
LowerTransOperand(Row, int) -> LowerTransOperand<Row>;

/// Lines += left*L for L of order n: element j of line r receives left(r, k)*L(k, j) for k = j ... n-1 in this order.
/// Lines and lengths are those of AddProduct; left(r, k) is finite for all k.
template <class Line, class Length, class Left, class Row>
void AddProductWithL(const TileWorkspace& work, int lines, int n, Line line, Length length, Left left, Row row)
{
    for (int k0 = 0; k0 < n; k0 += kTriangleStep) {
        const int depth = std::min(kTriangleStep, n - k0);
        AddProduct<ZeroFactor::Multiplies>(
            work, lines, depth, line, [&](int r) { return std::min(length(r), k0 + depth); },
            [&](int r, int k) { return left(r, k0 + k); }, LowerOperand{row, k0});
    }
}

/// Lines += left*L': element j of line r receives left(r, k)*L(j, k) for k = 0 ... j in this order. The same of lines,
/// lengths and left.
template <class Line, class Length, class Left, class Row>
void AddProductWithLTrans(const TileWorkspace& work, int lines, int n, Line line, Length length, Left left, Row row)
{
    int first = 0; // lines before it end before column k0
    for (int k0 = 0; k0 < n; k0 += kTriangleStep) {
        while (first < lines && length(first) <= k0) ++first;
        AddProduct<ZeroFactor::Multiplies>(
            work, lines - first, std::min(kTriangleStep, n - k0), [&](int r) { return line(first + r) + k0; },
            [&](int r) { return length(first + r) - k0; }, [&](int r, int k) { return left(first + r, k0 + k); },
            LowerTransOperand{row, k0});
    }
}

} // namespace MCMath_930::internal
