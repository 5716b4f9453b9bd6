// Matrix products that add their terms in order, tile by tile: C += left * right on packed copies of the operands.
//
// C is a set of lines (columns of a column-major matrix, rows of a row-major or packed one), each contiguous. Element w
// of line r receives left(r, k) * right(k, w) for k = 0, 1, 2 ... exactly as a plain loop would add them.
#pragma once

#include "modelcore/linalg/kernels/Kernels.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <memory>
#include <new>

namespace MCMath_930::internal {

/// Room for the packed operands of products up to a given size. Making it never throws: when there is no memory for it,
/// it is false and the caller takes its plain loop.
class TileWorkspace {
public:
    static constexpr int kDepth = 96;  // terms of one pass: six lines of them stay in the innermost cache
    static constexpr int kWidth = 512; // elements of each line in one pass: they stay in the second cache

    explicit TileWorkspace(int width)
        : fWidth((std::min(width, kWidth) + kTileWidth - 1) / kTileWidth * kTileWidth),
          fLeft(new (std::nothrow) double[static_cast<std::size_t>((kTileLines + fWidth) * kDepth)])
    {}

    explicit operator bool() const { return fLeft != nullptr; }
    int Width() const { return fWidth; }
    double* Left() const { return fLeft.get(); }
    double* Right() const { return fLeft.get() + kTileLines * kDepth; }

private:
    int fWidth;
    std::unique_ptr<double[]> fLeft;
};

/// Packs right(k)[first + w] for w < width as strips of kTileWidth, the last one filled up with zeros.
template <class Right>
void PackRight(double* packed, Right right, int first, int width, int depth)
{
    for (int w = 0; w < width; w += kTileWidth) {
        const int used = std::min(kTileWidth, width - w);
        for (int k = 0; k < depth; ++k, packed += kTileWidth) {
            const double* const from = right(k) + first + w;
            if (used == kTileWidth) {
                for (int i = 0; i < kTileWidth; ++i) packed[i] = from[i];
            } else {
                std::copy_n(from, used, packed);
                std::fill(packed + used, packed + kTileWidth, 0.0);
            }
        }
    }
}

/// Packs left(first + r, k) for r < lines <= kTileLines, filled up with ones, which are never taken for a zero factor.
template <class Left>
void PackLeft(double* packed, Left left, int first, int lines, int depth)
{
    if (lines < kTileLines) std::fill_n(packed, kTileLines * depth, 1.0);
    for (int r = 0; r < lines; ++r)
        for (int k = 0; k < depth; ++k) packed[k * kTileLines + r] = left(first + r, k);
}

/// The tiles of up to kTileLines lines, from packed operands.
/// @param line  line(r) is where element 0 of line r stands
template <class Line>
void AddProductToLines(Line line, int lines, int width, const double* left, const double* right, int depth)
{
    double edge[kTileLines][kTileWidth] = {};
    double* target[kTileLines];
    for (int w = 0; w < width; w += kTileWidth, right += static_cast<std::ptrdiff_t>(kTileWidth) * depth) {
        const int used = std::min(kTileWidth, width - w);
        const bool whole = used == kTileWidth;
        for (int r = 0; r < kTileLines; ++r) {
            target[r] = whole && r < lines ? line(r) + w : edge[r];
            if (!whole && r < lines) std::copy_n(line(r) + w, used, edge[r]);
        }
        AddProductTile(target, left, right, static_cast<std::size_t>(depth));
        if (!whole)
            for (int r = 0; r < lines; ++r) std::copy_n(edge[r], used, line(r) + w);
    }
}

/// What a factor left(r, k) of 0 does.
enum class ZeroFactor {
    Multiplies, ///< it is multiplied and added like any other
    Skips       ///< its terms are left out, as Daxpy leaves them out
};

/// Whether multiplying by a zero factor could show: a -0.0 in the lines would become +0.0, an infinity or NaN in the
/// right operand would become a NaN.
template <class Line>
bool ZeroFactorShows(Line line, int lines, int width, const double* right, int depth)
{
    const int packed = (width + kTileWidth - 1) / kTileWidth * kTileWidth * depth;
    for (int i = 0; i < packed; ++i)
        if (!std::isfinite(right[i])) return true;
    for (int r = 0; r < lines; ++r)
        for (int w = 0; w < width; ++w)
            if (line(r)[w] == 0.0 && std::signbit(line(r)[w])) return true;
    return false;
}

/// C += left * right, the terms of every element in the order of k.
///
/// @param line   line(r) is where element 0 of line r stands, r in [0, lines)
/// @param left   left(r, k) is a factor of line r
/// @param right  right(k) is where the `width` elements of row k stand
template <ZeroFactor kZeros, class Line, class Left, class Right>
void AddProduct(const TileWorkspace& work, int lines, int width, int depth, Line line, Left left, Right right)
{
    if (lines <= 0) return;
    for (int k0 = 0; k0 < depth; k0 += TileWorkspace::kDepth) {
        const int terms = std::min(TileWorkspace::kDepth, depth - k0);
        for (int w0 = 0; w0 < width; w0 += work.Width()) {
            const int count = std::min(work.Width(), width - w0);
            PackRight(
                work.Right(), [&](int k) { return right(k0 + k); }, w0, count, terms);
            for (int r0 = 0; r0 < lines; r0 += kTileLines) {
                const int used = std::min(kTileLines, lines - r0);
                const auto part = [&](int r) { return line(r0 + r) + w0; };
                PackLeft(
                    work.Left(), [&](int r, int k) { return left(r, k0 + k); }, r0, used, terms);
                if constexpr (kZeros == ZeroFactor::Skips) {
                    int zeros = 0;
                    for (int i = 0; i < kTileLines * terms; ++i) zeros += work.Left()[i] == 0.0;
                    if (zeros > 0 && ZeroFactorShows(part, used, count, work.Right(), terms)) {
                        for (int r = 0; r < used; ++r)
                            for (int k = 0; k < terms; ++k) {
                                const double factor = work.Left()[k * kTileLines + r];
                                if (factor != 0.0)
                                    AddScaled(part(r), factor, right(k0 + k) + w0, static_cast<std::size_t>(count));
                            }
                        continue;
                    }
                }
                AddProductToLines(part, used, count, work.Left(), work.Right(), terms);
            }
        }
    }
}

} // namespace MCMath_930::internal
