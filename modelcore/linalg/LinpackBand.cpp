// LINPACK: general band matrices.
#include "modelcore/linalg/Linpack.h"

#include "modelcore/linalg/internal/LinpackDeterminant.h"
#include "modelcore/linalg/internal/LinpackElimination.h"

#include <algorithm>

namespace MCMath_930 {

using namespace internal;

namespace {

/// After the row exchanges U has ml + mu diagonals above the main one.
template <class Real>
BandColumns<Real> FactoredBand(Real* abd, int lda, int ml, int mu)
{
    return {abd, lda, ml + mu, ml + mu};
}

} // namespace

double Linpack::Dgbco(double* abd, int lda, int n, int ml, int mu, int* ipvt, double* z)
{
    const BandColumns columns = FactoredBand(abd, lda, ml, mu);
    double norm = 0.0;
    for (int j = 0; j < n; ++j) {
        const int first = std::max(0, j - mu);
        const int last = std::min(n - 1, j + ml);
        norm = Blas1::D_Max(norm, Blas1::DASum(last - first + 1, columns(j) + first, 1));
    }
    Dgbfa(abd, lda, n, ml, mu, ipvt);
    int last = 0;
    const auto lastColumn = [&last, n, mu, ipvt](int k) {
        last = std::min(std::max(last, mu + ipvt[k] - 1), n - 1);
        return last;
    };
    return EstimateCondition(Multipliers<BandColumns<double>>{columns, n, ml, ipvt}, lastColumn, norm, z);
}

int Linpack::Dgbfa(double* abd, int lda, int n, int ml, int mu, int* ipvt)
{
    if (n < 1) return 0;
    const BandColumns columns = FactoredBand(abd, lda, ml, mu);
    // The fill-in of a column, above its band, is cleared before a row exchange can reach it: for the first columns the
    // part inside the matrix, for those that the steps add all ml places, even above row 0, as published.
    const auto clearFillIn = [&columns, mu](int j, int first) {
        for (int i = first; i < j - mu; ++i) columns(j)[i] = 0.0;
    };
    int cleared = std::min(n, ml + mu + 1) - 1;
    for (int j = mu + 1; j < cleared; ++j) clearFillIn(j, 0);

    int info = 0;
    int last = 0; // the last column that an elimination has reached
    for (int k = 0; k < n - 1; ++k) {
        if (cleared < n) {
            clearFillIn(cleared, cleared - mu - ml);
            ++cleared;
        }
        double* const column = columns(k);
        const int below = std::min(ml, n - 1 - k);
        const int pivotRow = PivotColumn(column, k, below, ipvt);
        if (pivotRow < 0) {
            info = k + 1;
            continue;
        }
        last = std::min(std::max(last, mu + pivotRow), n - 1);
        for (int j = k + 1; j <= last; ++j) EliminateInColumn(columns(j), column, k, below, pivotRow);
    }
    ipvt[n - 1] = n;
    return columns(n - 1)[n - 1] == 0.0 ? n : info;
}

void Linpack::Dgbsl(const double* abd, int lda, int n, int ml, int mu, const int* ipvt, double* b, int job)
{
    SolveFactored(Multipliers<BandColumns<const double>>{FactoredBand(abd, lda, ml, mu), n, ml, ipvt}, b, job != 0);
}

void Linpack::Dgbdi(const double* abd, int lda, int n, int ml, int mu, const int* ipvt, double* det)
{
    const BandColumns columns = FactoredBand(abd, lda, ml, mu);
    ScaledDeterminant determinant(det);
    for (int i = 0; i < n; ++i) {
        if (ipvt[i] != i + 1) determinant.ChangeSign();
        if (!determinant.Multiply(columns(i)[i])) break;
    }
}

} // namespace MCMath_930
