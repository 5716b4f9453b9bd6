// LINPACK: general and general tridiagonal matrices.
#include "modelcore/linalg/Linpack.h"

#include "modelcore/linalg/internal/LinpackDeterminant.h"
#include "modelcore/linalg/internal/LinpackElimination.h"

#include <cmath>
#include <utility>

namespace MCMath_930 {

using namespace internal;

double Linpack::Dgeco(double* a, int lda, int n, int* ipvt, double* z)
{
    const DenseColumns columns{a, lda};
    double norm = 0.0;
    for (int j = 0; j < n; ++j) norm = Blas1::D_Max(norm, Blas1::DASum(n, columns(j), 1));
    Dgefa(a, lda, n, ipvt);
    return EstimateCondition(
        Multipliers<DenseColumns<double>>{columns, n, n, ipvt}, [n](int) { return n - 1; }, norm, z);
}

int Linpack::Dgefa(double* a, int lda, int n, int* ipvt)
{
    if (n < 1) return 0;
    const DenseColumns columns{a, lda};
    int info = 0;
    for (int k = 0; k < n - 1; ++k) {
        double* const column = columns(k);
        const int below = n - 1 - k;
        const int pivotRow = PivotColumn(column, k, below, ipvt);
        if (pivotRow < 0)
            info = k + 1;
        else
            for (int j = k + 1; j < n; ++j) EliminateInColumn(columns(j), column, k, below, pivotRow);
    }
    ipvt[n - 1] = n;
    return columns(n - 1)[n - 1] == 0.0 ? n : info;
}

void Linpack::Dgesl(const double* a, int lda, int n, const int* ipvt, double* b, int job)
{
    SolveFactored(Multipliers<DenseColumns<const double>>{{a, lda}, n, n, ipvt}, b, job != 0);
}

void Linpack::Dgedi(double* a, int lda, int n, const int* ipvt, double* det, double* work, int job)
{
    const DenseColumns columns{a, lda};
    if (job / 10 != 0) {
        ScaledDeterminant determinant(det);
        for (int i = 0; i < n; ++i) {
            if (ipvt[i] != i + 1) determinant.ChangeSign();
            if (!determinant.Multiply(columns(i)[i])) break;
        }
    }
    if (job % 10 == 0) return;

    InvertUpper(columns, n, n);
    // inverse(U) * inverse(L), a column of L at a time from the last.
    for (int k = n - 2; k >= 0; --k) {
        double* const column = columns(k);
        for (int i = k + 1; i < n; ++i) {
            work[i] = column[i];
            column[i] = 0.0;
        }
        for (int j = k + 1; j < n; ++j) Blas1::Daxpy(n, work[j], columns(j), 1, column, 1);
        if (ipvt[k] != k + 1) Blas1::DSwap(n, column, 1, columns(ipvt[k] - 1), 1);
    }
}

int Linpack::Dgtsl(int n, double* c, double* d, double* e, double* b)
{
    if (n < 1) return 0;
    // Row k of the part that is not yet eliminated is c[k], d[k], e[k]: the pivot and the two elements right of it.
    c[0] = d[0];
    if (n > 1) {
        d[0] = e[0];
        e[0] = 0.0;
        e[n - 1] = 0.0;
    }
    for (int k = 0; k < n - 1; ++k) {
        const int next = k + 1;
        if (std::fabs(c[next]) >= std::fabs(c[k])) {
            std::swap(c[next], c[k]);
            std::swap(d[next], d[k]);
            std::swap(e[next], e[k]);
            std::swap(b[next], b[k]);
        }
        if (c[k] == 0.0) return k + 1;
        const double t = -c[next] / c[k];
        c[next] = d[next] + t * d[k];
        d[next] = e[next] + t * e[k];
        e[next] = 0.0;
        b[next] += t * b[k];
    }
    if (c[n - 1] == 0.0) return n;

    b[n - 1] /= c[n - 1];
    if (n > 1) b[n - 2] = (b[n - 2] - d[n - 2] * b[n - 1]) / c[n - 2];
    for (int k = n - 3; k >= 0; --k) b[k] = (b[k] - d[k] * b[k + 1] - e[k] * b[k + 2]) / c[k];
    return 0;
}

} // namespace MCMath_930
