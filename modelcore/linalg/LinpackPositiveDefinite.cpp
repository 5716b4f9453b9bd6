// LINPACK: positive definite matrices, dense, packed, band and tridiagonal.
#include "modelcore/linalg/Linpack.h"

#include "modelcore/kernels/OrderedCholesky.h"
#include "modelcore/linalg/internal/LinpackCondition.h"
#include "modelcore/linalg/internal/LinpackDeterminant.h"
#include "modelcore/linalg/internal/LinpackTriangle.h"

#include <algorithm>
#include <cmath>

namespace MCMath_930 {

using namespace internal;

namespace {

/// trans(R)*R = A, by columns; see Linpack::Dpofa.
template <class Columns>
int FactorCholesky(const Columns& a, int n)
{
    for (int j = 0; j < n; ++j) {
        double* const column = a(j);
        const int top = a.FirstRow(j);
        double squares = 0.0;
        for (int k = top; k < j; ++k) {
            const double* const earlier = a(k);
            const double t = (column[k] - Blas1::DDot(k - top, earlier + top, 1, column + top, 1)) / earlier[k];
            column[k] = t;
            squares += t * t;
        }
        const double pivot = column[j] - squares;
        if (pivot <= 0.0) return j + 1;
        column[j] = std::sqrt(pivot);
    }
    return 0;
}

/// The same for a whole triangle, by blocks when it is large.
template <class Columns>
int FactorWholeCholesky(const Columns& a, int n)
{
    using Blocked = OrderedCholesky<Columns>;
    if (n >= Blocked::kSmallestOrder) {
        Blocked blocked(a, n);
        if (blocked.HasWorkspace()) {
            const int done = blocked.Factor(nullptr);
            return done == n ? 0 : done + 1;
        }
    }
    return FactorCholesky(a, n);
}

/// @param factor      factors the matrix and returns info
/// @param lastColumn  lastColumn(k) is the last column in which row k of R has an element
template <class Columns, class Factor, class LastColumn>
double FactorAndEstimate(const Columns& r, int n, double* work, int* info, Factor factor, LastColumn lastColumn)
{
    const double norm = SymmetricNorm(r, n, work);
    *info = factor();
    if (*info != 0) return 0.0;

    NullVector z(work, n);
    double sign = 1.0;
    GatheredRows rows(r, n);
    for (int k = 0; k < n; ++k)
        rows.With(k, [&](auto row) { GrowComponent(z, sign, k, r(k)[k], k + 1, lastColumn(k) + 1, row); });
    z.Normalise();
    SolveUpperScaled(z, r, n); // R*y = w
    z.Normalise();

    z.StartFromY();
    for (int k = 0; k < n; ++k) { // trans(R)*v = y
        const double* const column = r(k);
        const int first = r.FirstRow(k);
        z[k] -= Blas1::DDot(k - first, column + first, 1, z.From(first), 1);
        z.Limit(k, column[k]);
        z[k] /= column[k];
    }
    z.Normalise();
    SolveUpperScaled(z, r, n); // R*z = v
    z.Normalise();
    return z.ReciprocalCondition(norm);
}

template <class Columns>
void SolveCholesky(const Columns& r, int n, double* b)
{
    SolveUpperTransposed(r, n, b);
    SolveUpper(r, n, b);
}

/// det(A) is the square of det(R).
template <class Columns>
void CholeskyDeterminant(const Columns& r, int n, double* det)
{
    ScaledDeterminant determinant(det);
    for (int i = 0; i < n; ++i)
        if (!determinant.Multiply(r(i)[i] * r(i)[i])) break;
}

/// Determinant and inverse by the digits of job.
template <class Columns>
void DeterminantAndInverse(const Columns& r, int n, double* det, int job)
{
    if (job / 10 != 0) CholeskyDeterminant(r, n, det);
    if (job % 10 == 0) return;
    InvertUpper(r, n, n);
    // inverse(R) * trans(inverse(R)): column j still holds inverse(R) when it is shared out over the columns before it.
    for (int j = 0; j < n; ++j) {
        double* const column = r(j);
        AddToEach(
            r, 0, j, [column](int k) { return column[k]; }, column, 1, 1);
        Blas1::DScal(j + 1, column[j], column, 1);
    }
}

/// Diagonal in row m of the array, m diagonals above it.
template <class Real>
BandColumns<Real> Band(Real* abd, int lda, int m)
{
    return {abd, lda, m, m};
}

} // namespace

double Linpack::Dpoco(double* a, int lda, int n, double* z, int* info)
{
    return FactorAndEstimate(
        DenseColumns{a, lda}, n, z, info, [=] { return Dpofa(a, lda, n); }, [n](int) { return n - 1; });
}

int Linpack::Dpofa(double* a, int lda, int n)
{
    return FactorWholeCholesky(DenseColumns{a, lda}, n);
}

void Linpack::Dposl(const double* a, int lda, int n, double* b)
{
    SolveCholesky(DenseColumns{a, lda}, n, b);
}

void Linpack::Dpodi(double* a, int lda, int n, double* det, int job)
{
    DeterminantAndInverse(DenseColumns{a, lda}, n, det, job);
}

double Linpack::Dppco(double* ap, int n, double* z, int* info)
{
    return FactorAndEstimate(
        PackedColumns{ap}, n, z, info, [=] { return Dppfa(ap, n); }, [n](int) { return n - 1; });
}

int Linpack::Dppfa(double* ap, int n)
{
    return FactorWholeCholesky(PackedColumns{ap}, n);
}

void Linpack::Dppsl(const double* ap, int n, double* b)
{
    SolveCholesky(PackedColumns{ap}, n, b);
}

void Linpack::Dppdi(double* ap, int n, double* det, int job)
{
    DeterminantAndInverse(PackedColumns{ap}, n, det, job);
}

double Linpack::Dpbco(double* abd, int lda, int n, int m, double* z, int* info)
{
    return FactorAndEstimate(
        Band(abd, lda, m), n, z, info, [=] { return Dpbfa(abd, lda, n, m); },
        [n, m](int k) { return std::min(k + m, n - 1); });
}

int Linpack::Dpbfa(double* abd, int lda, int n, int m)
{
    return FactorCholesky(Band(abd, lda, m), n);
}

void Linpack::Dpbsl(const double* abd, int lda, int n, int m, double* b)
{
    SolveCholesky(Band(abd, lda, m), n, b);
}

void Linpack::Dpbdi(const double* abd, int lda, int n, int m, double* det)
{
    CholeskyDeterminant(Band(abd, lda, m), n, det);
}

void Linpack::Dptsl(int n, double* d, const double* e, double* b)
{
    if (n < 1) return;
    // Steps from the top and from the bottom, until they meet.
    const int steps = (n - 1) / 2;
    for (int top = 0; top < steps; ++top) {
        const double fromAbove = e[top] / d[top];
        d[top + 1] -= fromAbove * e[top];
        b[top + 1] -= fromAbove * b[top];
        const int bottom = n - 2 - top;
        const double fromBelow = e[bottom] / d[bottom + 1];
        d[bottom] -= fromBelow * e[bottom];
        b[bottom] -= fromBelow * b[bottom + 1];
    }
    int middle = steps;
    if (n % 2 == 0) { // two rows are left
        const double t = e[middle] / d[middle];
        d[middle + 1] -= t * e[middle];
        b[middle + 1] -= t * b[middle];
        ++middle;
    }

    // Back from the middle to both ends.
    b[middle] /= d[middle];
    for (int step = 1; step <= steps; ++step) {
        const int up = middle - step;
        const int down = middle + step;
        b[up] = (b[up] - e[up] * b[up + 1]) / d[up];
        b[down] = (b[down] - e[down - 1] * b[down - 1]) / d[down];
    }
    if (n % 2 == 0) b[0] = (b[0] - e[0] * b[1]) / d[0];
}

} // namespace MCMath_930
