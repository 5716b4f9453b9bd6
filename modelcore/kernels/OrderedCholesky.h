// Cholesky factorisation by panels with the sums of the plain loop.
//
// The loop forms for each element a sum of products from 0, in order, and subtracts it once. Here the sums of many
// elements grow side by side in the register tile and are subtracted when they are complete, so that every element sees
// the same operations.
#pragma once

#include "modelcore/kernels/AlignedDoubles.h"
#include "modelcore/kernels/Kernels.h"

#include <algorithm>
#include <cstddef>

namespace MCMath_930::internal {

/// Factors a symmetric matrix that is given by lines of its lower triangle, line j holding elements 0..j (the columns
/// of an upper triangle, or the rows of a packed lower one): line(j) . line(k) of the result is the element that was
/// there.
///
/// The factor grows in panels of kPanelLines lines, which hold their elements as the tile wants to read them: nothing
/// is packed again. They need n^2/2 numbers.
template <class Lines>
class OrderedCholesky {
public:
    /// Below this order the plain loop is faster.
    static constexpr int kSmallestOrder = 18;

    /// @param lines  lines(j) is where line j starts
    OrderedCholesky(const Lines& lines, int n)
        : fLines(lines), fn(n),
          fMemory(MakeAlignedDoubles(kScratchSquares * kSquare + Panel((n + kPanelLines - 1) / kPanelLines)))
    {}

    bool HasWorkspace() const { return fMemory != nullptr; }

    /// @param pivot  pivot(j, value) is the diagonal element of the factor for the value that is left of the matrix's
    ///               own one: its square root; 0 makes the rest of the column 0; a negative result stops the
    ///               factorisation
    /// @return n, or the line at which it stopped. That line is complete up to its diagonal element, which is
    ///         unchanged, and so are all lines after it
    template <class Pivot>
    int Factor(Pivot pivot)
    {
        int done = fn;
        for (int block = 0; block < fn && done == fn; block += kBlockLines)
            for (int from = block; from < fn && done == fn; from += kBlockLines) done = FinishBlock(block, from, pivot);
        for (int first = 0; first < std::min(fn, done + 1); first += kPanelLines) StorePanel(first, done);
        return done;
    }

private:
    static constexpr int kSquare = kPanelLines * kPanelLines;
    /// Panels whose columns are finished together, so that the panels below them are read once for all.
    static constexpr int kPanels = 4;
    static constexpr int kBlockLines = kPanels * kPanelLines;
    /// Elements that the sums grow by in one pass: two panels of them stay in the innermost cache.
    static constexpr int kDepth = 64;

    static constexpr std::size_t kScratchSquares = kPanels * kPanels + kPanels + 1;

    /// What the passes to come will read, fetched a piece with every tile: it would not come by itself in time. With the
    /// tile's own request LTChol of order 2000 takes 0.89 of the time (Cascade Lake, g++ 12).
    struct Ahead {
        const double* left;
        const double* right;

        void Fetch()
        {
#ifdef __GNUC__
            constexpr int kTiles = kSquare / (kTileLines * kTileWidth) * kPanels;
            constexpr int kLine = FreeAlignedDoubles::kDoublesPerLine;
            for (int i = 0; i < kDepth * kPanelLines / kTiles; i += kLine, left += kLine, right += kLine) {
                __builtin_prefetch(left, 0, 2);
                __builtin_prefetch(right, 0, 2);
            }
#endif
        }
    };

    /// Where panel p starts: each is as long as its last line.
    static std::size_t Panel(int p)
    {
        return static_cast<std::size_t>(p) * static_cast<std::size_t>(p + 1) / 2 * kSquare;
    }

    /// Element k of the lines of the panel that starts with `line`.
    double* At(int line, int k) const
    {
        return Scratch(kScratchSquares) + Panel(line / kPanelLines) + static_cast<std::ptrdiff_t>(k) * kPanelLines;
    }

    /// Finishes those elements of the panels from line `from` on, kPanels of them, which stand in the columns of
    /// `block`.
    /// @return fn, or the line that stopped
    template <class Pivot>
    int FinishBlock(int block, int from, Pivot pivot)
    {
        const int lastFrom = std::min(from + kBlockLines, fn);
        std::fill_n(Scratch(0), kPanels * kPanels * kSquare, 0.0);
        for (int k = 0; k < block; k += kDepth)
            for (int line = from; line < lastFrom; line += kPanelLines)
                for (int first = block; first < ColumnEnd(block, line); first += kPanelLines) {
                    const Ahead ahead{At(first, k + kDepth) + PanelInBlock(line) * kDepth * kPanelLines / kPanels,
                                      At(line, k + kDepth) + PanelInBlock(first) * kDepth * kPanelLines / kPanels};
                    AddProducts(first, line, k, std::min(kDepth, block - k), ahead);
                }
        int done = fn;
        for (int line = from; line < lastFrom && done == fn; line += kPanelLines)
            done = FinishPanel(block, line, pivot);
        return done;
    }

    /// Where the columns of `block` end for the panel that starts with `line`.
    int ColumnEnd(int block, int line) const
    {
        return std::min({block + kBlockLines, line + kPanelLines, fn});
    }

    template <class Pivot>
    int FinishPanel(int block, int line, Pivot pivot)
    {
        for (int first = block; first < ColumnEnd(block, line); first += kPanelLines) {
            AddProducts(first, line, block, first - block, {At(first, block), At(line, block)});
            LoadOwn(first, line);
            if (first == line) return FinishDiagonal(first, pivot);
            FinishCholeskyPanel(At(line, first), Sums(first, line), Own(), Diagonal(first), 0, kPanelLines);
        }
        return fn;
    }

    double* Scratch(std::size_t square) const
    {
        return fMemory.get() + square * kSquare;
    }

    static std::size_t PanelInBlock(int line)
    {
        return static_cast<std::size_t>(line) % kBlockLines / kPanelLines;
    }

    double* Sums(int first, int from)
    {
        return Scratch(PanelInBlock(from) * kPanels + PanelInBlock(first));
    }

    double* Own()
    {
        return Scratch(kScratchSquares - 1);
    }

    double* Diagonal(int first)
    {
        return Scratch(kPanels * kPanels + PanelInBlock(first));
    }

    /// Sums[j][r] += the products of elements k .. k + depth - 1 of lines first + j and from + r.
    void AddProducts(int first, int from, int k, int depth, Ahead ahead)
    {
        if (depth == 0) return;
        double* const sums = Sums(first, from);
        const int lines = std::min(kPanelLines, fn - first);
        const int width = std::min(kPanelLines, fn - from);
        for (int j = 0; j < lines; j += kTileLines)
            for (int r = 0; r < width; r += kTileWidth) {
                double* target[kTileLines];
                for (int q = 0; q < kTileLines; ++q) target[q] = sums + (j + q) * kPanelLines + r;
                ahead.Fetch();
                AddPanelTile(target, At(first, k) + j, At(from, k) + r, static_cast<std::size_t>(depth));
            }
    }

    /// Own()[j][r] = the matrix's element first + j of line from + r; 0 beyond the diagonal and the last line.
    void LoadOwn(int first, int from)
    {
        if (first == from || fn - from < kPanelLines) std::fill_n(Own(), kSquare, 0.0);
        for (int r = 0; r < std::min(kPanelLines, fn - from); ++r) {
            const double* const line = fLines(from + r) + first;
            const int count = std::min(kPanelLines, from + r + 1 - first);
            for (int j = 0; j < count; ++j) Own()[j * kPanelLines + r] = line[j];
        }
    }

    /// The diagonal square of the panel that starts with `first`.
    template <class Pivot>
    int FinishDiagonal(int first, Pivot pivot)
    {
        const double* const sums = Sums(first, first);
        double* const panel = At(first, first);
        double* const diagonal = Diagonal(first);
        for (int j = 0; j < std::min(kPanelLines, fn - first); ++j) {
            double* const factors = diagonal + j * kPanelLines;
            const int at = j * kPanelLines + j;
            double sum = sums[at];
            for (int m = 0; m < j; ++m) {
                factors[m] = panel[m * kPanelLines + j];
                sum += factors[m] * factors[m];
            }
            factors[j] = pivot(first + j, Own()[at] - sum);
            if (factors[j] < 0.0) return first + j;
            FinishCholeskyPanel(panel, sums, Own(), diagonal, j, j + 1);
            panel[at] = factors[j];
        }
        return fn;
    }

    /// Hands lines over to the matrix: those before `done` whole, line `done` up to its diagonal.
    void StorePanel(int first, int done) const
    {
        constexpr int kAtOnce = 32;
        const int last = std::min({first + kPanelLines, fn, done + 1});
        for (int k0 = 0; k0 < last; k0 += kAtOnce)
            for (int j = first; j < last; ++j) {
                const double* const from = At(first, 0) + (j - first);
                double* const line = fLines(j);
                const int end = std::min(k0 + kAtOnce, j < done ? j + 1 : j);
                for (int k = k0; k < end; ++k) line[k] = from[static_cast<std::ptrdiff_t>(k) * kPanelLines];
            }
    }

    Lines fLines;
    int fn;
    AlignedDoubles fMemory; ///< scratch squares: sums, diagonal squares (a line's pivot at its end), own; then panels
};

} // namespace MCMath_930::internal
