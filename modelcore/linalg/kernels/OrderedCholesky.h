// Cholesky factorisation by blocks with the sums of the plain loop.
//
// The loop forms for each element a sum of products from 0, in order, and subtracts it once. Here the sums of all
// elements are held in a triangle of their own, grow block by block through the register tile, and are subtracted when
// they are complete, so that every element sees the same operations.
#pragma once

#include "modelcore/linalg/kernels/TileProduct.h"

#include <cstddef>
#include <cstdlib>
#include <memory>

namespace MCMath_930::internal {

/// Factors a symmetric matrix that is given by lines of its lower triangle, line j holding elements 0..j (the columns
/// of an upper triangle, or the rows of a packed lower one): line(j) . line(k) of the result is the element that was
/// there.
template <class Lines>
class OrderedCholesky {
public:
    /// Below this order the plain loop is faster.
    static constexpr int kSmallestOrder = 48;

    /// @param lines  lines(j) is where line j starts
    OrderedCholesky(const Lines& lines, int n)
        : fLines(lines), fn(n), fWork(n),
          fSums(static_cast<double*>(
              std::calloc(static_cast<std::size_t>(n) * static_cast<std::size_t>(n + 1) / 2, sizeof(double))))
    {}

    bool HasWorkspace() const { return fWork && fSums != nullptr; }

    /// @param pivot  pivot(j, value) is the diagonal element of the factor for the value that is left of the matrix's
    /// own
    ///               one: its square root; 0 makes the rest of the column 0; a negative result stops the factorisation
    /// @return n, or the line at which it stopped. That line is complete up to its diagonal element, which is
    /// unchanged,
    ///         and so are all lines after it
    template <class Pivot>
    int Factor(Pivot pivot)
    {
        const int done = FactorColumns(0, fn, pivot) ? fn : fStopped;
        for (int j = 0; j < done; ++j) std::copy_n(Sum(j), j + 1, fLines(j));
        if (done < fn) std::copy_n(Sum(done), done, fLines(done));
        return done;
    }

private:
    static constexpr int kNarrow = 8;

    /// Line j of the sums; where an element is finished it holds the factor.
    double* Sum(int j) const { return fSums.get() + static_cast<std::ptrdiff_t>(j) * (j + 1) / 2; }

    template <class Pivot>
    bool FactorColumns(int first, int last, Pivot pivot)
    {
        if (last - first <= kNarrow) return FactorNarrow(first, last, pivot);
        const int half = first + std::max(kNarrow, (last - first) / 2 / kNarrow * kNarrow);
        if (!FactorColumns(first, half, pivot)) return false;
        const auto factor = [=, this](int line) { return Sum(half + line) + first; };
        AddProduct<ZeroFactor::Multiplies>(
            fWork, fn - half, half - first, [=, this](int r) { return Sum(half + r) + half; },
            [=](int r) { return std::min(r + 1, last - half); }, [=](int r, int k) { return factor(r)[k]; },
            LinesOperand{factor});
        return FactorColumns(half, last, pivot);
    }

    template <class Pivot>
    bool FactorNarrow(int first, int last, Pivot pivot)
    {
        for (int j = first; j < last; ++j) {
            double* const sum = Sum(j);
            const double* const line = fLines(j);
            for (int k = first; k < j; ++k) {
                double total = sum[k];
                for (int m = first; m < k; ++m) total += Sum(k)[m] * sum[m];
                sum[k] = Sum(k)[k] == 0.0 ? 0.0 : (line[k] - total) / Sum(k)[k];
            }
            double total = sum[j];
            for (int m = first; m < j; ++m) total += sum[m] * sum[m];
            sum[j] = pivot(j, line[j] - total);
            if (sum[j] < 0.0) {
                fStopped = j;
                return false;
            }
        }
        const double* diagonal[kNarrow];
        for (int k = 0; k < last - first; ++k) diagonal[k] = Sum(first + k) + first;
        for (int j = last; j < fn; j += kLinesAtOnce) {
            double* sums[kLinesAtOnce];
            const double* lines[kLinesAtOnce];
            const int count = std::min(kLinesAtOnce, fn - j);
            for (int q = 0; q < count; ++q) {
                sums[q] = Sum(j + q) + first;
                lines[q] = fLines(j + q) + first;
            }
            FinishCholeskyLines(sums, lines, count, diagonal, last - first);
        }
        return true;
    }

    struct Free {
        void operator()(double* memory) const { std::free(memory); }
    };

    Lines fLines;
    int fn;
    TileWorkspace fWork;
    std::unique_ptr<double[], Free> fSums;
    int fStopped = 0;
};

} // namespace MCMath_930::internal
