// Loops over an upper triangle that several LINPACK families share; Columns is one of the views of LinpackColumns.h.
#pragma once

#include "modelcore/kernels/BlockedInverse.h"
#include "modelcore/kernels/ColumnViews.h"
#include "modelcore/linalg/Blas1.h"

#include <utility>

namespace MCMath_930::internal {

/// b becomes the solution of U*x = b, by columns from the last.
template <class Columns>
void SolveUpper(const Columns& u, int n, double* b)
{
    for (int k = n - 1; k >= 0; --k) {
        const double* const column = u(k);
        const int first = u.FirstRow(k);
        b[k] /= column[k];
        Blas1::Daxpy(k - first, -b[k], column + first, 1, b + first, 1);
    }
}

/// b becomes the solution of trans(U)*x = b, by dot products from the first: those of several columns side by side as far
/// as all reach, each sum in its order.
template <class Columns>
void SolveUpperTransposed(const Columns& u, int n, double* b)
{
    constexpr int kTogether = 8;
    for (int first = 0; first < n; first += kTogether) {
        const int last = std::min(n, first + kTogether);
        double sums[kTogether] = {};
        int top = 0; // from which row on all columns have elements
        for (int k = first; k < last; ++k) top = std::max(top, u.FirstRow(k));
        const bool together = last - first == kTogether && top < first;
        if (together) {
            const double* columns[kTogether];
            for (int q = 0; q < kTogether; ++q) {
                columns[q] = u(first + q);
                for (int i = u.FirstRow(first + q); i < top; ++i) sums[q] += columns[q][i] * b[i];
            }
            for (int i = top; i < first; ++i)
                for (int q = 0; q < kTogether; ++q) sums[q] += columns[q][i] * b[i];
        }
        for (int k = first; k < last; ++k) {
            const double* const column = u(k);
            double sum = sums[k - first];
            for (int i = together ? first : u.FirstRow(k); i < k; ++i) sum += column[i] * b[i];
            b[k] = (b[k] - sum) / column[k];
        }
    }
}

/// The 1-norm of a symmetric matrix of which the upper triangle is stored; sums has room for n column sums.
template <class Columns>
double SymmetricNorm(const Columns& a, int n, double* sums)
{
    for (int j = 0; j < n; ++j) {
        const double* const column = a(j);
        const int first = a.FirstRow(j);
        sums[j] = Blas1::DASum(j - first + 1, column + first, 1);
        for (int i = first; i < j; ++i) sums[i] += std::fabs(column[i]);
    }
    double norm = 0.0;
    for (int j = 0; j < n; ++j) norm = Blas1::D_Max(norm, sums[j]);
    return norm;
}

/// Inverts an upper triangle in place, by columns; stops after the given number of steps, n for all.
template <class Columns>
void InvertUpper(const Columns& u, int n, int steps)
{
    using Blocked = BlockedInverse<Columns>;
    if (steps == n && n >= Blocked::kSmallestOrder) {
        Blocked blocked(u, n);
        if (blocked.HasWorkspace()) return blocked.Invert();
    }
    for (int k = 0; k < steps; ++k) {
        double* const column = u(k);
        column[k] = 1.0 / column[k];
        Blas1::DScal(k, -column[k], column, 1);
        AddToEach(
            u, k + 1, n, [&u, k](int j) { return std::exchange(u(j)[k], 0.0); }, column, k + 1, 0);
    }
}

} // namespace MCMath_930::internal
