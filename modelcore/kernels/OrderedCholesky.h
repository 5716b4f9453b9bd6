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
#include <type_traits>

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
    static constexpr int kSmallestOrder = 9;

    /// @param lines  lines(j) is where line j starts
    OrderedCholesky(const Lines& lines, int n)
        : fLines(lines), fn(n), fUsed(static_cast<std::size_t>(std::min(kPanels, Panels(n)))),
          fMemory(n > kPanelLines ? MakeAlignedDoubles(Room()) : nullptr)
    {}

    bool HasWorkspace() const { return fn <= kPanelLines || fMemory != nullptr; }

    /// @param least  least(j) is what is left of the matrix's own diagonal element j when its pivot becomes 0, and with
    ///               it the rest of the column; a pivot is the root of anything larger. nullptr to stop at the first
    ///               pivot that would be the root of a number <= 0
    /// @return n, or the line at which it stopped. That line is complete up to its diagonal element, which is
    ///         unchanged, and so are all lines after it
    template <class Least>
    int Factor(Least least)
    {
        if (fn <= kOneSquare) return FactorOneSquare(least);
        int done = fn;
        for (int block = 0; block < fn && done == fn; block += kBlockLines)
            for (int from = block; from < fn && done == fn; from += kBlockLines) done = FinishBlock(block, from, least);
        for (int first = 0; first < std::min(fn, done + 1); first += kPanelLines) StorePanel(first, done);
        return done;
    }

private:
    static constexpr int kSquare = kPanelLines * kPanelLines;
    /// Up to this order the matrix is one square.
    static constexpr int kOneSquare = 56;

    std::size_t Room() const
    {
        if (fn <= kOneSquare) return 2 * static_cast<std::size_t>(fn * SquareStep(fn));
        return (fUsed * fUsed + 1) * kSquare + Panel(Panels(fn));
    }

    static int Panels(int n) { return (n + kPanelLines - 1) / kPanelLines; }
    static int SquareStep(int n) { return (n + 7) / 8 * 8; }

    /// FactorCholeskySquare for lines first .. first + order - 1.
    template <class Least>
    static int FactorSquare(double* square, double* sums, int step, int first, int order, Least least)
    {
        if constexpr (std::is_null_pointer_v<Least>) {
            return FactorCholeskySquare(square, sums, step, order, nullptr);
        } else {
            double bounds[kOneSquare];
            for (int j = 0; j < order; ++j) bounds[j] = least(first + j);
            return FactorCholeskySquare(square, sums, step, order, bounds);
        }
    }

    template <class Least>
    int FactorOneSquare(Least least)
    {
        alignas(static_cast<std::size_t>(FreeAlignedDoubles::kAlignment)) double local[2 * kSquare];
        const int step = SquareStep(fn);
        double* const square = fMemory != nullptr ? fMemory.get() : local;
        double* const sums = square + fn * step;
        std::fill_n(square, 2 * fn * step, 0.0);
        for (int r = 0; r < fn; ++r) {
            const double* const line = fLines(r);
            for (int k = 0; k <= r; ++k) square[k * step + r] = line[k];
        }
        const int done = FactorSquare(square, sums, step, 0, fn, least);
        for (int r = 0; r < std::min(fn, done + 1); ++r) {
            double* const line = fLines(r);
            for (int k = 0; k < (r < done ? r + 1 : r); ++k) line[k] = square[k * step + r];
        }
        return done;
    }

    /// Panels whose columns are finished together, so that the panels below them are read once for all.
    static constexpr int kPanels = 4;
    static constexpr int kBlockLines = kPanels * kPanelLines;
    /// Elements that the sums grow by in one pass: two panels of them stay in the innermost cache.
    static constexpr int kDepth = 64;

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
        return Scratch(fUsed * fUsed + 1) + Panel(line / kPanelLines) + static_cast<std::ptrdiff_t>(k) * kPanelLines;
    }

    /// Finishes those elements of the panels from line `from` on, kPanels of them, which stand in the columns of
    /// `block`.
    /// @return fn, or the line that stopped
    template <class Least>
    int FinishBlock(int block, int from, Least least)
    {
        const int lastFrom = std::min(from + kBlockLines, fn);
        for (int line = from; line < lastFrom; line += kPanelLines)
            for (int first = block; first < ColumnEnd(block, line); first += kPanelLines)
                std::fill_n(Sums(first, line),
                            (CountOf(first) + kTileLines - 1) / kTileLines * kTileLines * kPanelLines, 0.0);
        for (int k = 0; k < block; k += kDepth)
            for (int line = from; line < lastFrom; line += kPanelLines)
                for (int first = block; first < ColumnEnd(block, line); first += kPanelLines) {
                    const Ahead ahead{At(first, k + kDepth) + PanelInBlock(line) * kDepth * kPanelLines / kPanels,
                                      At(line, k + kDepth) + PanelInBlock(first) * kDepth * kPanelLines / kPanels};
                    AddProducts(first, line, k, std::min(kDepth, block - k), ahead);
                }
        int done = fn;
        for (int line = from; line < lastFrom && done == fn; line += kPanelLines)
            done = FinishPanel(block, line, least);
        return done;
    }

    /// Where the columns of `block` end for the panel that starts with `line`.
    int ColumnEnd(int block, int line) const
    {
        return std::min({block + kBlockLines, line + kPanelLines, fn});
    }

    template <class Least>
    int FinishPanel(int block, int line, Least least)
    {
        for (int first = block; first < ColumnEnd(block, line); first += kPanelLines) {
            AddProducts(first, line, block, first - block, {At(first, block), At(line, block)});
            LoadOwn(first == line ? At(first, first) : Own(), first, line);
            if (first == line) return FinishDiagonal(first, least);
            FinishCholeskyPanel(At(line, first), Sums(first, line), Own(), At(first, first));
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
        return Scratch(PanelInBlock(from) * fUsed + PanelInBlock(first));
    }

    double* Own()
    {
        return Scratch(fUsed * fUsed);
    }

    /// How many lines the panel that starts with `first` has.
    int CountOf(int first) const
    {
        return std::min(kPanelLines, fn - first);
    }

    /// Sums[j][r] += the products of elements k .. k + depth - 1 of lines first + j and from + r.
    void AddProducts(int first, int from, int k, int depth, Ahead ahead)
    {
        if (depth == 0) return;
        double* const sums = Sums(first, from);
        const int lines = CountOf(first);
        const int width = CountOf(from);
        for (int j = 0; j < lines; j += kTileLines)
            for (int r = 0; r < width; r += kTileWidth) {
                double* target[kTileLines];
                for (int q = 0; q < kTileLines; ++q) target[q] = sums + (j + q) * kPanelLines + r;
                ahead.Fetch();
                AddPanelTile(target, At(first, k) + j, At(from, k) + r, static_cast<std::size_t>(depth));
            }
    }

    /// own[j][r] = the matrix's element first + j of line from + r; 0 beyond the diagonal and the last line.
    void LoadOwn(double* own, int first, int from)
    {
        if (first == from || fn - from < kPanelLines) std::fill_n(own, CountOf(first) * kPanelLines, 0.0);
        for (int r = 0; r < CountOf(from); ++r) {
            const double* const line = fLines(from + r) + first;
            const int count = std::min(kPanelLines, from + r + 1 - first);
            for (int j = 0; j < count; ++j) own[j * kPanelLines + r] = line[j];
        }
    }

    /// The diagonal square of the panel that starts with `first`.
    template <class Least>
    int FinishDiagonal(int first, Least least)
    {
        const int lines = CountOf(first);
        const int done = FactorSquare(At(first, first), Sums(first, first), kPanelLines, first, lines, least);
        return done == lines ? fn : first + done;
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
    std::size_t fUsed;      ///< panels of a block
    AlignedDoubles fMemory; ///< scratch squares: sums of a block, own; then the panels
};

} // namespace MCMath_930::internal
