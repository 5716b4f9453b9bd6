// LINPACK: triangular matrices.
#include "modelcore/linalg/Linpack.h"

#include "modelcore/linalg/internal/LinpackCondition.h"
#include "modelcore/linalg/internal/LinpackDeterminant.h"
#include "modelcore/linalg/internal/LinpackTriangle.h"

#include <cmath>

namespace MCMath_930 {

using namespace internal;

namespace {

using Columns = DenseColumns<const double>;

void SolveLower(const Columns& t, int n, double* b)
{
    for (int k = 0; k < n; ++k) {
        b[k] /= t(k)[k];
        Blas1::Daxpy(n - 1 - k, -b[k], t(k) + k + 1, 1, b + k + 1, 1);
    }
}

void SolveLowerTransposed(const Columns& t, int n, double* b)
{
    for (int k = n - 1; k >= 0; --k) b[k] = (b[k] - Blas1::DDot(n - 1 - k, t(k) + k + 1, 1, b + k + 1, 1)) / t(k)[k];
}

/// Inverts a lower triangle in place, columns from the last down to `stop`.
void InvertLower(const DenseColumns<double>& t, int n, int stop)
{
    for (int k = n - 1; k >= stop; --k) {
        double* const column = t(k);
        column[k] = 1.0 / column[k];
        Blas1::DScal(n - 1 - k, -column[k], column + k + 1, 1);
        for (int j = 0; j < k; ++j) {
            double* const earlier = t(j);
            const double factor = earlier[k];
            earlier[k] = 0.0;
            Blas1::Daxpy(n - k, factor, column + k, 1, earlier + k, 1);
        }
    }
}

} // namespace

double Linpack::Dtrco(const double* t, int ldt, int n, double* z, int job)
{
    const Columns columns{t, ldt};
    const bool lower = job == 0;
    double norm = 0.0;
    for (int j = 0; j < n; ++j)
        norm = Blas1::D_Max(norm, lower ? Blas1::DASum(n - j, columns(j) + j, 1) : Blas1::DASum(j + 1, columns(j), 1));

    NullVector vector(z, n);
    double sign = 1.0;
    for (int step = 0; step < n; ++step) { // trans(T)*y = e
        const int k = lower ? n - 1 - step : step;
        GrowComponent(vector, sign, k, columns(k)[k], lower ? 0 : k + 1, lower ? k : n,
                      [&columns, k](int j) { return columns(j)[k]; });
    }
    vector.Normalise();

    vector.StartFromY();
    if (lower) {
        for (int k = 0; k < n; ++k) {
            const double* const column = columns(k);
            vector.Limit(k, std::fabs(column[k]));
            vector.DivideByPivot(k, column[k]);
            Blas1::Daxpy(n - 1 - k, -vector[k], column + k + 1, 1, vector.From(k + 1), 1);
        }
    } else {
        SolveUpperScaled(vector, columns, n);
    }
    vector.Normalise();
    return vector.ReciprocalCondition(norm);
}

int Linpack::Dtrsl(const double* t, int ldt, int n, double* b, int job)
{
    const Columns columns{t, ldt};
    for (int k = 0; k < n; ++k)
        if (columns(k)[k] == 0.0) return k + 1;

    const bool upper = job % 10 != 0;
    const bool transposed = job % 100 / 10 != 0;
    if (upper)
        transposed ? SolveUpperTransposed(columns, n, b) : SolveUpper(columns, n, b);
    else
        transposed ? SolveLowerTransposed(columns, n, b) : SolveLower(columns, n, b);
    return 0;
}

int Linpack::Dtrdi(double* t, int ldt, int n, double* det, int job)
{
    const DenseColumns columns{t, ldt};
    if (job / 100 != 0) {
        ScaledDeterminant determinant(det);
        for (int i = 0; i < n; ++i)
            if (!determinant.Multiply(columns(i)[i])) break;
    }
    if (job / 10 % 10 == 0) return 0;

    // The inversion goes as far as the first zero that it meets; no step changes a diagonal element but its own.
    if (job % 10 != 0) {
        int steps = 0;
        while (steps < n && columns(steps)[steps] != 0.0) ++steps;
        InvertUpper(columns, n, steps);
        return steps == n ? 0 : steps + 1;
    }
    int stop = n;
    while (stop > 0 && columns(stop - 1)[stop - 1] != 0.0) --stop;
    InvertLower(columns, n, stop);
    return stop;
}

} // namespace MCMath_930
