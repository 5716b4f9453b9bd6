// LINPACK: QR decomposition and what is computed from it.
#include "modelcore/linalg/Linpack.h"

#include "modelcore/kernels/ColumnViews.h"
#include "modelcore/kernels/ReflectionBlock.h"
#include "modelcore/linalg/Blas1.h"
#include "modelcore/linalg/internal/LinpackReflection.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace MCMath_930 {

using namespace internal;

namespace {

/// The free columns [first, last) after the initial ones were moved to the front and the final ones to the back.
struct FreeRange {
    int first;
    int last;
};

FreeRange ArrangeInitialAndFinal(const DenseColumns<double>& x, int n, int p, int* jpvt)
{
    FreeRange free{0, p};
    for (int j = 0; j < p; ++j) {
        const int wish = jpvt[j];
        jpvt[j] = wish < 0 ? -(j + 1) : j + 1;
        if (wish <= 0) continue;
        if (j != free.first) Blas1::DSwap(n, x(free.first), 1, x(j), 1);
        jpvt[j] = jpvt[free.first];
        jpvt[free.first] = j + 1;
        ++free.first;
    }
    for (int j = p - 1; j >= 0; --j) {
        if (jpvt[j] >= 0) continue;
        jpvt[j] = -jpvt[j];
        --free.last;
        if (j != free.last) {
            Blas1::DSwap(n, x(free.last), 1, x(j), 1);
            std::swap(jpvt[j], jpvt[free.last]);
        }
    }
    return free;
}

/// Remaining norms of the free columns: what they are now and what they were when last computed from the elements.
struct ColumnNorms {
    double* current;
    double* computed;

    void Compute(int j, int rows, const double* column) const
    {
        current[j] = computed[j] = Blas1::DNrm2(rows, column, 1);
    }

    /// Row l of column j, where `element` stands, left the remaining part: takes its share from the norm, or calls
    /// computeAnew(j) when too much of it has cancelled.
    template <class ComputeAnew>
    void RemoveRow(int j, double element, ComputeAnew computeAnew) const
    {
        if (current[j] == 0.0) return;
        const double share = std::fabs(element) / current[j];
        const double left = std::max(1.0 - share * share, 0.0);
        const double ratio = current[j] / computed[j];
        if (1.0 + 0.05 * left * (ratio * ratio) != 1.0)
            current[j] *= std::sqrt(left);
        else
            computeAnew(j);
    }

    /// The first of the columns [first, last) with the largest norm; first when none is above 0.
    int FindLargest(int first, int last) const
    {
        int largest = first;
        double norm = 0.0;
        for (int j = first; j < last; ++j)
            if (current[j] > norm) {
                norm = current[j];
                largest = j;
            }
        return largest;
    }

    /// Column l went to the front, and the one that was there to its place.
    void Exchange(int front, int l) const
    {
        current[l] = current[front];
        computed[l] = computed[front];
    }
};

/// Reflections are put off and applied to the later columns a block at a time: without pivoting nobody looks at those
/// columns before.
class BlockedReflections {
public:
    /// With fewer columns the loop by single reflections is faster.
    static constexpr int kFewestColumns = 24;

    BlockedReflections(double* x, int ldx, int n, int p, double* qraux)
        : fx{x, ldx}, fn(n), fp(p), fAux(qraux), fStrip(n)
    {}

    bool HasWorkspace() const { return static_cast<bool>(fStrip); }

    void Decompose()
    {
        const int steps = std::min(fn, fp);
        for (int first = 0; first < steps; first += kBlock) {
            const int last = std::min(steps, first + kBlock);
            for (int group = first; group < last; group += kGroup) {
                const int end = std::min(last, group + kGroup);
                for (int l = group; l < end; ++l) Reflect(l, first, end);
                Apply(group, end, end, last);
            }
            Apply(first, last, last, fp);
            for (int l = first; l < last; ++l)
                if (fAux[l] != 0.0) fx(l)[l] = -fNorms[l - first];
        }
    }

private:
    static constexpr int kBlock = 96; // reflections for each time that the later columns are turned into strips
    static constexpr int kGroup = 16;

    /// Makes reflection l and applies it up to column end.
    void Reflect(int l, int first, int end)
    {
        fAux[l] = 0.0;
        if (l == fn - 1) return;
        double* const v = fx(l) + l;
        fNorms[l - first] = MakeReflection(v, fn - l);
        if (fNorms[l - first] == 0.0) return;
        fAux[l] = v[0];
        if (l + 1 < end) ReflectColumns(v, fn - l, fx(l + 1) + l, fx.lda, end - l - 1);
    }

    /// Applies reflections begin..end-1 to columns from..to-1. A reflection of the block has not given its first
    /// element back to R yet.
    void Apply(int begin, int end, int from, int to)
    {
        if (from >= to) return;
        fStrip.Apply(
            fx, from, to, begin, end - begin, [=, this](int q) { return fAux[begin + q] != 0.0 ? begin + q : -1; },
            [=, this](int q) { return fx(begin + q); });
    }

    DenseColumns<double> fx;
    int fn;
    int fp;
    double* fAux;
    ReflectionStrip fStrip;
    double fNorms[kBlock] = {};
};

/// Decomposition with pivots, one pass over the matrix a step. The columns stand in strips, row by row; a reflection waits
/// until the next one is known, and is then applied in the same pass that forms the next one's dot products. The pivot
/// only needs the norms, these only row l, and the pivot column is brought up to date by itself.
class PivotedReflections {
public:
    /// With fewer columns the loop by columns is faster.
    static constexpr int kFewestColumns = 160;

    PivotedReflections(double* x, int ldx, int n, int p, int* jpvt, ColumnNorms norms, FreeRange free)
        : fx{x, ldx}, fn(n), fp(p), fPivots(jpvt), fNorms(norms), fFree(free),
          fMemory(MakeAlignedDoubles(static_cast<std::size_t>(n + 2) * Padded() + 2 * static_cast<std::size_t>(n)))
    {
        if (fMemory == nullptr) return;
        fFactors = fMemory.get() + static_cast<std::size_t>(n) * Padded();
        std::fill_n(fFactors, 2 * Padded(), 0.0);
        fNextFactors = fFactors + Padded();
        fVector = fNextFactors + Padded();
        fNextVector = fVector + n;
    }

    bool HasWorkspace() const { return fMemory != nullptr; }

    void Decompose()
    {
        for (int j = 0; j < static_cast<int>(Padded()); ++j)
            for (int i = 0; i < fn; ++i) *At(i, j) = j < fp ? fx(j)[i] : 0.0;
        int l = 0;
        for (; l < std::min(fn, fp); ++l) {
            if (l >= fFree.first && l + 1 < fFree.last) BringToFront(fNorms.FindLargest(l, fFree.last), l);
            fNorms.current[l] = 0.0;
            if (l == fn - 1) break;
            double* const column = TakeOut(l);
            const double norm = MakeReflection(column + l, fn - l);
            if (norm == 0.0) continue;
            std::copy(column + l, column + fn, fNextVector + l);
            Pass(l + 1, l);
            for (int j = std::max(fFree.first, l + 1); j < fFree.last; ++j)
                fNorms.RemoveRow(j, *At(l, j) + Term(j, l), [=, this](int k) { ComputeNorm(k, l + 1); });
            fNorms.current[l] = column[l];
            column[l] = -norm;
        }
        for (; l < fp; ++l) TakeOut(l);
    }

private:
    std::size_t Padded() const
    {
        return static_cast<std::size_t>((fp + kReflectionWidth - 1) / kReflectionWidth * kReflectionWidth);
    }

    double* At(int i, int j) const
    {
        return fMemory.get() + (static_cast<std::ptrdiff_t>(j / kReflectionWidth) * fn + i) * kReflectionWidth +
               j % kReflectionWidth;
    }

    /// What the waiting reflection adds to element (i, j): -0 changes nothing.
    double Term(int j, int i) const { return fStart <= i && fFactors[j] != 0.0 ? fFactors[j] * fVector[i] : -0.0; }

    /// Applies the waiting reflection to column j alone.
    void BringUpToDate(int j)
    {
        if (fFactors[j] == 0.0) return;
        for (int i = fStart; i < fn; ++i) *At(i, j) += fFactors[j] * fVector[i];
        fFactors[j] = 0.0;
    }

    /// The finished column l, in its place in x.
    double* TakeOut(int l)
    {
        BringUpToDate(l);
        double* const column = fx(l);
        for (int i = 0; i < fn; ++i) column[i] = *At(i, l);
        return column;
    }

    void BringToFront(int largest, int l)
    {
        if (largest == l) return;
        for (int i = 0; i < fn; ++i) std::swap(*At(i, l), *At(i, largest));
        std::swap(fFactors[l], fFactors[largest]);
        fNorms.Exchange(l, largest);
        std::swap(fPivots[largest], fPivots[l]);
    }

    /// The waiting reflection is applied to the columns from `from` on, and the next, which starts in row l, waits.
    void Pass(int from, int l)
    {
        for (int j = from / kReflectionWidth * kReflectionWidth; j < fp; j += kReflectionWidth) {
            ReflectOnce(At(0, j), 0, fn, fStart < fn ? fVector : nullptr, fStart, fFactors + j, fNextVector, l,
                        fNextFactors + j);
            // Columns that are out, and beyond the last: any factor but 0, which would have the others go one by one.
            for (int k = j; k < from; ++k) fNextFactors[k] = 1.0;
            for (int k = std::max(j, fp); k < j + kReflectionWidth; ++k) fNextFactors[k] = 1.0;
        }
        std::swap(fFactors, fNextFactors);
        std::swap(fVector, fNextVector);
        fStart = l;
    }

    void ComputeNorm(int j, int from)
    {
        BringUpToDate(j);
        double* const column = fx(j); // of which nothing is read any more
        for (int i = from; i < fn; ++i) column[i] = *At(i, j);
        fNorms.Compute(j, fn - from, column + from);
    }

    DenseColumns<double> fx;
    int fn;
    int fp;
    int* fPivots;
    ColumnNorms fNorms;
    FreeRange fFree;
    AlignedDoubles fMemory;
    double* fFactors = nullptr; // of the waiting reflection, which is fVector from row fStart on; none from fn on
    double* fNextFactors = nullptr;
    double* fVector = nullptr;
    double* fNextVector = nullptr;
    int fStart = fn;
};

} // namespace

void Linpack::Dqrdc(double* x, int ldx, int n, int p, double* qraux, int* jpvt, double* work, int job)
{
    if (job == 0 && std::min(n, p) >= BlockedReflections::kFewestColumns) {
        BlockedReflections blocked(x, ldx, n, p, qraux);
        if (blocked.HasWorkspace()) return blocked.Decompose();
    }
    const DenseColumns columns{x, ldx};
    const FreeRange free = job != 0 ? ArrangeInitialAndFinal(columns, n, p, jpvt) : FreeRange{0, 0};
    const ColumnNorms norms{qraux, work};
    for (int j = free.first; j < free.last; ++j) norms.Compute(j, n, columns(j));
    if (job != 0 && std::min(n, p) >= PivotedReflections::kFewestColumns) {
        PivotedReflections pivoted(x, ldx, n, p, jpvt, norms, free);
        if (pivoted.HasWorkspace()) return pivoted.Decompose();
    }

    for (int l = 0; l < std::min(n, p); ++l) {
        if (l >= free.first && l + 1 < free.last) {
            const int largest = norms.FindLargest(l, free.last);
            if (largest != l) {
                Blas1::DSwap(n, columns(l), 1, columns(largest), 1);
                norms.Exchange(l, largest);
                std::swap(jpvt[largest], jpvt[l]);
            }
        }

        qraux[l] = 0.0;
        if (l == n - 1) break;
        double* const column = columns(l);
        const double norm = MakeReflection(column + l, n - l);
        if (norm == 0.0) continue;
        if (l + 1 < p) ReflectColumns(column + l, n - l, columns(l + 1) + l, ldx, p - l - 1);
        for (int j = std::max(free.first, l + 1); j < free.last; ++j)
            norms.RemoveRow(j, columns(j)[l], [&](int k) { norms.Compute(k, n - 1 - l, columns(k) + l + 1); });
        qraux[l] = column[l];
        column[l] = -norm;
    }
}

int Linpack::Dqrsl(const double* x, int ldx, int n, int k, const double* qraux, const double* y, double* qy,
                   double* qty, double* b, double* rsd, double* xb, int job)
{
    const bool wantQy = job / 10000 != 0;
    const bool wantQty = job % 10000 != 0;
    const bool wantB = job % 1000 / 100 != 0;
    const bool wantRsd = job % 100 / 10 != 0;
    const bool wantXb = job % 10 != 0;
    if (n < 1) return 0;
    const int reflections = std::min(k, n - 1);
    if (reflections == 0) {
        const double only = y[0];
        if (wantQy) qy[0] = only;
        if (wantQty) qty[0] = only;
        if (wantXb) xb[0] = only;
        if (wantB && x[0] != 0.0) b[0] = only / x[0];
        if (wantRsd) rsd[0] = 0.0;
        return wantB && x[0] == 0.0 ? 1 : 0;
    }

    // A reflection keeps its first element in qraux; a column without one is left alone.
    const DenseColumns columns{x, ldx};
    const auto apply = [&columns, qraux, n](int j, double* vector) {
        if (qraux[j] != 0.0) ReflectBy(qraux[j], columns(j) + j + 1, n - 1 - j, vector + j);
    };
    if (wantQy) Blas1::DCopy(n, y, 1, qy, 1);
    if (wantQty) Blas1::DCopy(n, y, 1, qty, 1);
    if (wantQy)
        for (int j = reflections - 1; j >= 0; --j) apply(j, qy);
    if (!wantQty) return 0;
    for (int j = 0; j < reflections; ++j) apply(j, qty);

    // qty splits into the part in the space of X(k) and the part orthogonal to it.
    if (wantB) Blas1::DCopy(k, qty, 1, b, 1);
    if (wantXb) Blas1::DCopy(k, qty, 1, xb, 1);
    if (wantRsd) Blas1::DCopy(n - k, qty + k, 1, rsd + k, 1);
    if (wantXb) std::fill(xb + k, xb + n, 0.0);
    if (wantRsd) std::fill(rsd, rsd + k, 0.0);

    int info = 0;
    if (wantB)
        for (int j = k - 1; j >= 0; --j) {
            if (columns(j)[j] == 0.0) {
                info = j + 1;
                break;
            }
            b[j] /= columns(j)[j];
            Blas1::Daxpy(j, -b[j], columns(j), 1, b, 1);
        }
    for (int j = reflections - 1; j >= 0; --j) {
        if (wantRsd) apply(j, rsd);
        if (wantXb) apply(j, xb);
    }
    return info;
}

} // namespace MCMath_930
