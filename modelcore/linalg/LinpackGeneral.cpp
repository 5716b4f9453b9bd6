// LINPACK: general and general tridiagonal matrices.
#include "modelcore/linalg/Linpack.h"

#include "modelcore/linalg/internal/LinpackDeterminant.h"
#include "modelcore/linalg/internal/LinpackElimination.h"

#include "modelcore/kernels/AlignedDoubles.h"
#include "modelcore/kernels/TileProduct.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

namespace MCMath_930 {

using namespace internal;

namespace {

/// Elimination by blocks of columns. Every element receives the same updates in the same order as in the published
/// loop, which takes one column at a time; only when they are done differs.
class BlockedElimination {
public:
    /// Below this order the loop by single columns is faster.
    static constexpr int kSmallestOrder = 112;

    BlockedElimination(double* a, int lda, int n, int* ipvt) : fa{a, lda}, fn(n), fPivots(ipvt), fWork(n) {}

    bool HasWorkspace() const { return static_cast<bool>(fWork); }

    int Factor()
    {
        constexpr int kBlock = 64;
        for (int first = 0; first < fn; first += kBlock) {
            const int last = std::min(fn, first + kBlock);
            FactorPanel(first, last);
            Update(first, last, last, fn);
            RestoreOrder(first, last);
        }
        return fInfo;
    }

private:
    static constexpr int kNarrow = 8; // columns that are eliminated one at a time

    void FactorPanel(int first, int last);
    void FactorNarrowPanel(int first, int last);
    void Update(int first, int last, int from, int to);
    void SolveTriangle(int first, int last, int from, int to);
    void RestoreOrder(int first, int last);

    /// Whether a step in the range found no pivot and therefore does nothing.
    bool HasZeroPivot(int first, int last) const
    {
        for (int k = first; k < last; ++k)
            if (fa(k)[k] == 0.0) return true;
        return false;
    }

    DenseColumns<double> fa;
    int fn;
    int* fPivots;
    TileWorkspace fWork;
    int fInfo = 0;
};

/// Factors columns first..last-1, the halves one after the other. Row exchanges reach these columns only, and their
/// multipliers too.
void BlockedElimination::FactorPanel(int first, int last)
{
    if (last - first <= kNarrow) {
        FactorNarrowPanel(first, last);
        return;
    }
    const int half = first + std::max(kNarrow, (last - first) / 2 / kNarrow * kNarrow);
    FactorPanel(first, half);
    Update(first, half, half, last);
    FactorPanel(half, last);
    for (int j = first; j < half; ++j)
        for (int k = half; k < last; ++k) std::swap(fa(j)[k], fa(j)[fPivots[k] - 1]);
}

void BlockedElimination::FactorNarrowPanel(int first, int last)
{
    for (int k = first; k < last; ++k) {
        double* const column = fa(k);
        const int below = fn - 1 - k;
        if (below == 0) {
            fPivots[k] = fn;
            if (column[k] == 0.0) fInfo = fn;
            return;
        }
        const int pivotRow = PivotColumn(column, k, below, fPivots);
        if (pivotRow < 0) {
            fInfo = k + 1;
            continue;
        }
        if (pivotRow != k)
            for (int j = first; j < last; ++j)
                if (j != k) std::swap(fa(j)[k], fa(j)[pivotRow]);
        AddOuterProduct(fa(k + 1) + k + 1, fa.lda, static_cast<std::size_t>(last - 1 - k), fa(k + 1) + k, fa.lda,
                        column + k + 1, static_cast<std::size_t>(below));
    }
}

/// Steps first..last-1 on the columns from..to-1.
void BlockedElimination::Update(int first, int last, int from, int to)
{
    for (int j = from; j < to; ++j) {
        double* const column = fa(j);
        const double* const next = fa(std::min(j + 1, to - 1)); // fetched: its rows are far apart
        for (int k = first; k < last; ++k) {
            FetchLine(next + fPivots[k] - 1);
            std::swap(column[k], column[fPivots[k] - 1]);
        }
    }
    if (HasZeroPivot(first, last)) {
        for (int j = from; j < to; ++j)
            for (int k = first; k < last; ++k)
                if (fa(k)[k] != 0.0) Blas1::Daxpy(fn - 1 - k, fa(j)[k], fa(k) + k + 1, 1, fa(j) + k + 1, 1);
        return;
    }
    if (from == to) return;
    SolveTriangle(first, last, from, to);
    AddProduct<ZeroFactor::Skips>(
        fWork, to - from, last - first, [=, this](int r) { return fa(from + r) + last; },
        [=, this](int) { return fn - last; }, LeftLines{[=, this](int r) { return fa(from + r) + first; }},
        RowsOperand{[=, this](int k) { return fa(first + k) + last; }});
}

/// The part of the steps that stays within rows first..last-1: a unit lower triangle applied to those rows.
void BlockedElimination::SolveTriangle(int first, int last, int from, int to)
{
    if (last - first <= kNarrow) {
        ApplyUnitLower(fa(from) + first, fa.lda, static_cast<std::size_t>(to - from), fa(first) + first, fa.lda,
                       last - first);
        return;
    }
    const int half = first + std::max(kNarrow, (last - first) / 2 / kNarrow * kNarrow);
    SolveTriangle(first, half, from, to);
    AddProduct<ZeroFactor::Skips>(
        fWork, to - from, half - first, [=, this](int r) { return fa(from + r) + half; },
        [=](int) { return last - half; }, LeftLines{[=, this](int r) { return fa(from + r) + first; }},
        RowsOperand{[=, this](int k) { return fa(first + k) + half; }});
    SolveTriangle(half, last, from, to);
}

/// The published routine does not exchange the multipliers of earlier columns: takes those exchanges back.
void BlockedElimination::RestoreOrder(int first, int last)
{
    for (int j = first; j < last; ++j)
        for (int k = last - 1; k > j; --k) std::swap(fa(j)[k], fa(j)[fPivots[k] - 1]);
}

/// The product of inverse(U) with inverse(L), L given by its multipliers. Column k needs the finished columns after it,
/// so columns cannot go together; rows can, and a strip of them stays in cache while the multipliers go by.
class RowwiseProduct {
public:
    /// Below this order the loop over whole columns is faster.
    static constexpr int kSmallestOrder = 64;

    RowwiseProduct(const DenseColumns<double>& a, int n, const int* ipvt)
        : fa(a), fn(n), fPivots(ipvt), fMemory(MakeAlignedDoubles(Index(n)))
    {}

    bool HasWorkspace() const { return fMemory != nullptr; }

    void Multiply()
    {
        for (int k = 0; k < fn - 1; ++k) std::copy(fa(k) + k + 1, fa(k) + fn, fMemory.get() + Index(k));
        for (int row = 0; row < fn; row += kStripWidth) MultiplyStrip(row, std::min(kStripWidth, fn - row));
    }

private:
    static std::size_t Size(int n) { return static_cast<std::size_t>(n); }

    /// Where the multipliers of column k stand, after the strip; Index(n) is the end of all.
    std::size_t Index(int k) const { return Size(fn) * kStripWidth + Size(k) * (2 * Size(fn) - Size(k) - 1) / 2; }

    double* Strip(int column) const { return fMemory.get() + Size(column) * kStripWidth; }

    void MultiplyStrip(int row, int rows)
    {
        for (int j = 0; j < fn; ++j) {
            double* const strip = Strip(j);
            const int above = std::clamp(j + 1 - row, 0, rows); // rows of inverse(U) that column j reaches
            std::copy_n(fa(j) + row, above, strip);
            std::fill(strip + above, strip + kStripWidth, 0.0);
        }
        for (int k = fn - 2; k >= 0; --k) {
            AddStripColumns(Strip(k), Strip(k + 1), fMemory.get() + Index(k), Size(fn - 1 - k));
            if (fPivots[k] != k + 1) std::swap_ranges(Strip(k), Strip(k) + kStripWidth, Strip(fPivots[k] - 1));
        }
        for (int j = 0; j < fn; ++j) std::copy_n(Strip(j), rows, fa(j) + row);
    }

    DenseColumns<double> fa;
    int fn;
    const int* fPivots;
    AlignedDoubles fMemory;
};

} // namespace

double Linpack::Dgeco(double* a, int lda, int n, int* ipvt, double* z)
{
    const DenseColumns columns{a, lda};
    const double norm = LargestColumnSum(columns, n);
    Dgefa(a, lda, n, ipvt);
    return EstimateCondition(
        Multipliers<DenseColumns<double>>{columns, n, n, ipvt}, [n](int) { return n - 1; }, norm, z);
}

int Linpack::Dgefa(double* a, int lda, int n, int* ipvt)
{
    if (n < 1) return 0;
    if (n >= BlockedElimination::kSmallestOrder) {
        BlockedElimination elimination(a, lda, n, ipvt);
        if (elimination.HasWorkspace()) return elimination.Factor();
    }
    const DenseColumns columns{a, lda};
    int info = 0;
    for (int k = 0; k < n - 1; ++k) {
        double* const column = columns(k);
        const int below = n - 1 - k;
        const int pivotRow = PivotColumn(column, k, below, ipvt);
        if (pivotRow < 0) {
            info = k + 1;
            continue;
        }
        double* const next = columns(k + 1);
        if (pivotRow != k)
            for (int j = k + 1; j < n; ++j) std::swap(columns(j)[k], columns(j)[pivotRow]);
        AddOuterProduct(next + k + 1, lda, static_cast<std::size_t>(below), next + k, lda, column + k + 1,
                        static_cast<std::size_t>(below));
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
    if (n >= RowwiseProduct::kSmallestOrder) {
        RowwiseProduct product(columns, n, ipvt);
        if (product.HasWorkspace()) return product.Multiply();
    }
    for (int k = n - 2; k >= 0; --k) {
        double* const column = columns(k);
        for (int i = k + 1; i < n; ++i) {
            work[i] = column[i];
            column[i] = 0.0;
        }
        AddColumns(column, columns(k + 1), lda, static_cast<std::size_t>(n - 1 - k), work + k + 1,
                   static_cast<std::size_t>(n));
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
