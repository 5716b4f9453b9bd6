// Gaussian elimination with partial pivoting, for dense and for band matrices.
#pragma once

#include "modelcore/kernels/ColumnViews.h"
#include "modelcore/linalg/Blas1.h"
#include "modelcore/linalg/internal/LinpackCondition.h"
#include "modelcore/linalg/internal/LinpackTriangle.h"

#include <algorithm>
#include <utility>

namespace MCMath_930::internal {

/// Finds the pivot of column k among the `below` + 1 elements from the diagonal down, brings it to the diagonal and
/// turns the elements below it into negated multipliers.
/// @param column  column k, row 0 first
/// @return the row of the pivot, or -1 when it is zero and there is nothing to eliminate
inline int PivotColumn(double* column, int k, int below, int* ipvt)
{
    const int pivotRow = k + Blas1::IDAMax(below + 1, column + k, 1) - 1;
    ipvt[k] = pivotRow + 1;
    if (column[pivotRow] == 0.0) return -1;
    if (pivotRow != k) std::swap(column[pivotRow], column[k]);
    Blas1::DScal(below, -1.0 / column[k], column + k + 1, 1);
    return pivotRow;
}

/// Exchanges rows in a column right of k and subtracts the pivot row's share from it.
inline void EliminateInColumn(double* later, const double* column, int k, int below, int pivotRow)
{
    const double t = later[pivotRow];
    if (pivotRow != k) {
        later[pivotRow] = later[k];
        later[k] = t;
    }
    Blas1::Daxpy(below, t, column + k + 1, 1, later + k + 1, 1);
}

/// The L part of a factored matrix: column k has the negated multipliers of Below(k) rows under the diagonal.
template <class Columns>
struct Multipliers {
    Columns columns;
    int n;
    int widest;
    const int* ipvt;

    int Below(int k) const { return std::min(widest, n - 1 - k); }
    const double* Of(int k) const { return columns(k) + k + 1; }
    int PivotRow(int k) const { return ipvt[k] - 1; }
};

/// Solves with the factors, A*x = b or trans(A)*x = b; see Linpack::Dgesl.
template <class Columns>
void SolveFactored(const Multipliers<Columns>& l, double* b, bool transposed)
{
    if (transposed) {
        SolveUpperTransposed(l.columns, l.n, b);
        for (int k = l.n - 2; k >= 0; --k) {
            b[k] += Blas1::DDot(l.Below(k), l.Of(k), 1, b + k + 1, 1);
            std::swap(b[k], b[l.PivotRow(k)]);
        }
        return;
    }
    for (int k = 0; k < l.n - 1; ++k) {
        std::swap(b[k], b[l.PivotRow(k)]);
        Blas1::Daxpy(l.Below(k), b[k], l.Of(k), 1, b + k + 1, 1);
    }
    SolveUpper(l.columns, l.n, b);
}

/// The condition estimate from the factors.
/// @param lastColumn  lastColumn(k) is the last column in which row k of U has an element; asked for k = 0, 1, 2 ...
/// @param norm        1-norm of the matrix before it was factored
template <class Columns, class LastColumn>
double EstimateCondition(const Multipliers<Columns>& l, LastColumn lastColumn, double norm, double* work)
{
    const Columns& u = l.columns;
    const int n = l.n;
    NullVector z(work, n);

    double sign = 1.0;
    GatheredRows rows(u, n);
    for (int k = 0; k < n; ++k)
        rows.With(k, [&](auto row) { GrowComponent(z, sign, k, u(k)[k], k + 1, lastColumn(k) + 1, row); });
    z.Normalise();
    for (int k = n - 1; k >= 0; --k) { // trans(L)*y = w
        if (k < n - 1) z[k] += Blas1::DDot(l.Below(k), l.Of(k), 1, z.From(k + 1), 1);
        z.Limit(k, 1.0);
        z.Exchange(k, l.PivotRow(k));
    }
    z.Normalise();

    z.StartFromY();
    for (int k = 0; k < n; ++k) { // L*v = y
        z.Exchange(k, l.PivotRow(k));
        if (k < n - 1) Blas1::Daxpy(l.Below(k), z[k], l.Of(k), 1, z.From(k + 1), 1);
        z.Limit(k, 1.0);
    }
    z.Normalise();
    SolveUpperScaled(z, u, n);
    z.Normalise();
    return z.ReciprocalCondition(norm);
}

} // namespace MCMath_930::internal
