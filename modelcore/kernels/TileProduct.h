// Matrix products that add their terms in order, tile by tile: C += left * right on packed copies of the operands.
//
// C is a set of lines (columns of a column-major matrix, rows of a row-major or packed one), each contiguous. Element w
// of line r receives left(r, k) * right(k, w) for k = 0, 1, 2 ... exactly as a plain loop would add them.
#pragma once

#include "modelcore/kernels/AlignedDoubles.h"
#include "modelcore/kernels/Kernels.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>

namespace MCMath_930::internal {

/// Room for the packed operands of products up to a given size. Making it never throws: when there is no memory for it,
/// it is false and the caller takes its plain loop.
class TileWorkspace {
public:
    /// Terms of one pass: six lines of them and eight columns stay in the innermost cache.
    static constexpr int kDepth = 256;

    explicit TileWorkspace(int width)
        : fWidth((std::min(width, kMostWidth) + kTileWidth - 1) / kTileWidth * kTileWidth),
          fLeft(MakeAlignedDoubles(static_cast<std::size_t>(kTileLines * kDepth + std::min(fWidth * kDepth, kPanel))))
    {}

    explicit operator bool() const { return fLeft != nullptr; }
    /// Elements of each line in one pass of so many terms.
    int Width(int terms) const { return std::min(fWidth, kPanel / terms / kTileWidth * kTileWidth); }
    double* Left() const { return fLeft.get(); }
    double* Right() const { return fLeft.get() + kTileLines * kDepth; }

private:
    static constexpr int kPanel = 64 * 1024; // packed elements of the right operand: half a second cache of 1 MB
    static constexpr int kMostWidth = 1024;

    int fWidth;
    AlignedDoubles fLeft;
};

/// A right operand whose row k is contiguous: at(k) is where its element 0 stands.
template <class Row>
struct RowsOperand {
    Row row;

    double operator()(int k, int w) const { return row(k)[w]; }

    void PackStrip(double* packed, int w, int first, int depth) const
    {
        for (int k = 0; k < depth; ++k, packed += kTileWidth) {
            const double* const from = row(first + k) + w;
            for (int i = 0; i < kTileWidth; ++i) packed[i] = from[i];
        }
    }
};

/// A right operand whose columns are contiguous: line(w) is where element (0, w) stands, the depth runs along it.
template <class Line>
struct LinesOperand {
    Line line;

    double operator()(int k, int w) const { return line(w)[k]; }

    void PackStrip(double* packed, int w, int first, int depth) const
    {
        const double* from[kTileWidth];
        for (int i = 0; i < kTileWidth; ++i) from[i] = line(w + i) + first;
        for (int k = 0; k < depth; ++k, packed += kTileWidth)
            for (int i = 0; i < kTileWidth; ++i) packed[i] = from[i][k];
    }
};

template <class Row>
RowsOperand(Row) -> RowsOperand<Row>;
template <class Line>
LinesOperand(Line) -> LinesOperand<Line>;

/// Packs elements w0 .. w0 + width - 1 of terms first .. first + depth - 1 as strips of kTileWidth elements, the last
/// strip filled up with zeros.
template <class Right>
void PackRight(double* packed, const Right& right, int w0, int width, int first, int depth)
{
    for (int w = 0; w < width; w += kTileWidth, packed += static_cast<std::ptrdiff_t>(kTileWidth) * depth) {
        const int used = std::min(kTileWidth, width - w);
        if (used == kTileWidth) {
            right.PackStrip(packed, w0 + w, first, depth);
            continue;
        }
        for (int k = 0; k < depth; ++k)
            for (int i = 0; i < kTileWidth; ++i)
                packed[k * kTileWidth + i] = i < used ? right(first + k, w0 + w + i) : 0.0;
    }
}

/// Whether one of them is 0: counted, which compilers make vectors of.
inline bool HasZero(const double* x, int count)
{
    std::int64_t zeros = 0;
    for (int i = 0; i < count; ++i) zeros += x[i] == 0.0 ? 1 : 0;
    return zeros > 0;
}

/// Packs left(firstLine + r, firstTerm + k) for r < lines <= kTileLines and k < depth, filled up with ones, which are
/// never taken for a zero factor.
/// @return whether one of them is 0
template <class Left>
bool PackLeft(double* packed, const Left& left, int firstLine, int lines, int firstTerm, int depth)
{
    if (lines == kTileLines) {
        for (int k = 0; k < depth; ++k)
            for (int r = 0; r < kTileLines; ++r) packed[k * kTileLines + r] = left(firstLine + r, firstTerm + k);
    } else {
        std::fill_n(packed, kTileLines * depth, 1.0);
        for (int r = 0; r < lines; ++r)
            for (int k = 0; k < depth; ++k) packed[k * kTileLines + r] = left(firstLine + r, firstTerm + k);
    }
    return HasZero(packed, kTileLines * depth);
}

/// A left operand whose lines are contiguous: line(r) is where the factors of line r start.
template <class Line>
struct LeftLines {
    Line line;
};

template <class Line>
LeftLines(Line) -> LeftLines<Line>;

/// The same for contiguous lines, filled up with the last one.
template <class Line>
bool PackLeft(double* packed, const LeftLines<Line>& left, int firstLine, int lines, int firstTerm, int depth)
{
    const double* from[kTileLines];
    for (int r = 0; r < kTileLines; ++r) from[r] = left.line(firstLine + std::min(r, lines - 1)) + firstTerm;
    return PackLines(packed, from, static_cast<std::size_t>(depth));
}

inline void FetchLine([[maybe_unused]] const double* address)
{
#ifdef __GNUC__
    __builtin_prefetch(address, 1, 2);
#endif
}

/// The tiles of up to kTileLines lines, from packed operands.
/// @param line    line(r) is where element 0 of line r stands
/// @param length  length(r) is how many elements line r has, not less than those of the line before it
/// @param ahead   how many lines after these are fetched meanwhile, a tile at a time: what a line holds would not come by
///                itself in time
template <class Line, class Length>
void AddProductToLines(Line line, Length length, int lines, const double* left, const double* right, int depth,
                       int ahead = 0)
{
    double edge[kTileLines][kTileWidth] = {};
    double* target[kTileLines];
    const double* next[kTileLines];
    for (int r = 0; r < kTileLines; ++r) target[r] = r < lines ? line(r) : edge[r];
    for (int r = 0; r < ahead; ++r) next[r] = line(lines + r);
    const std::ptrdiff_t strip = static_cast<std::ptrdiff_t>(kTileWidth) * depth;
    const int shortest = length(0);
    const int longest = length(lines - 1);
    int w = 0;
    for (; w + kTileWidth <= shortest; w += kTileWidth, right += strip) {
        for (int r = 0; r < ahead; ++r) FetchLine(next[r] + w);
        AddProductTile(target, left, right, static_cast<std::size_t>(depth));
        for (int r = 0; r < lines; ++r) target[r] += kTileWidth;
    }
    for (int r = 0; r < lines; ++r) target[r] = edge[r];
    for (; w < longest; w += kTileWidth, right += strip) {
        const auto used = [&](int r) { return std::clamp(length(r) - w, 0, kTileWidth); };
        for (int r = 0; r < lines; ++r) std::copy_n(line(r) + w, used(r), edge[r]);
        AddProductTile(target, left, right, static_cast<std::size_t>(depth));
        for (int r = 0; r < lines; ++r) std::copy_n(edge[r], used(r), line(r) + w);
    }
}

/// What a factor left(r, k) of 0 does.
enum class ZeroFactor {
    Multiplies, ///< it is multiplied and added like any other
    Skips       ///< its terms are left out, as Daxpy leaves them out
};

/// AddProductToLines with the terms of zero factors, if there are any, left out. Multiplying by them could show: a -0.0 in
/// the lines would become +0.0, an infinity or NaN in the right operand would become a NaN. Only then the slow loop is needed.
template <class Line, class Length>
void AddProductSkippingZeros(Line line, Length length, int lines, const double* left, const double* right, int depth,
                             int ahead, bool zeros)
{
    const int longest = length(lines - 1);
    bool shows = false;
    if (zeros) {
        const int packed = (longest + kTileWidth - 1) / kTileWidth * kTileWidth * depth;
        for (int i = 0; i < packed; ++i) shows |= !std::isfinite(right[i]);
        for (int r = 0; r < lines; ++r)
            for (int w = 0; w < length(r); ++w) shows |= line(r)[w] == 0.0 && std::signbit(line(r)[w]);
    }
    if (!shows) {
        AddProductToLines(line, length, lines, left, right, depth, ahead);
        return;
    }
    for (int r = 0; r < lines; ++r)
        for (int k = 0; k < depth; ++k) {
            const double factor = left[k * kTileLines + r];
            if (factor == 0.0) continue;
            for (int w = 0; w < length(r); ++w)
                line(r)[w] += factor * right[(w / kTileWidth * depth + k) * kTileWidth + w % kTileWidth];
        }
}

/// C += left * right, the terms of every element in the order of k.
///
/// @param line    line(r) is where element 0 of line r stands, r in [0, lines)
/// @param length  length(r) is how many elements line r has, not less than those of the line before it
/// @param left    left(r, k) is a factor of line r, k in [0, depth), or LeftLines
/// @param right   a RowsOperand or LinesOperand
template <ZeroFactor kZeros, class Line, class Length, class Left, class Right>
void AddProduct(const TileWorkspace& work, int lines, int depth, Line line, Length length, Left left,
                const Right& right)
{
    if (lines <= 0) return;
    const int width = length(lines - 1);
    for (int k0 = 0; k0 < depth; k0 += TileWorkspace::kDepth) {
        const int terms = std::min(TileWorkspace::kDepth, depth - k0);
        const int pass = work.Width(terms);
        for (int w0 = 0; w0 < width; w0 += pass) {
            const int count = std::min(pass, width - w0);
            PackRight(work.Right(), right, w0, count, k0, terms);
            for (int r0 = 0; r0 < lines; r0 += kTileLines) {
                const int used = std::min(kTileLines, lines - r0);
                const auto part = [&](int r) { return line(r0 + r) + w0; };
                const auto partLength = [&](int r) { return std::clamp(length(r0 + r) - w0, 0, count); };
                if (partLength(used - 1) == 0) continue;
                const bool zeros = PackLeft(work.Left(), left, r0, used, k0, terms);
                const int ahead = std::min(kTileLines, lines - r0 - used);
                if constexpr (kZeros == ZeroFactor::Skips)
                    AddProductSkippingZeros(part, partLength, used, work.Left(), work.Right(), terms, ahead, zeros);
                else
                    AddProductToLines(part, partLength, used, work.Left(), work.Right(), terms, ahead);
            }
        }
    }
}

} // namespace MCMath_930::internal
