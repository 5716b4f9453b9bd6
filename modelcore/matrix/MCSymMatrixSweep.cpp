// MCSymMatrix: the sweeps and the tests that they share.
#include "modelcore/matrix/MCSymMatrix.h"

#include "modelcore/common/MCBitSet.h"
#include "modelcore/kernels/TileProduct.h"
#include "modelcore/matrix/internal/ReferenceDiagonal.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <memory>
#include <numeric>
#include <span>
#include <utility>

namespace MCMath_930 {

namespace {

/// The two tests of row k, which is not swept. row(j) is element (k, j), diag(j) is element (j, j).
template <class RowElement, class DiagElement>
bool PassesTests(int k, int n, double tol, const double* origDiag, const MCBitSet& swept, RowElement row,
                 DiagElement diag)
{
    const double pivot = row(k);
    if (tol * origDiag[k] >= pivot) return false;
    // S(j,j) of a swept row is minus the inverse of its pivot: below -1/(tol*origDiag[j]) that pivot is too small. Rows that
    // are not swept hardly ever fail the test that is not theirs, so all around a swept one are tested and failures looked at.
    const auto passes = [&](int j) {
        const double old = row(j);
        return (diag(j) - old * old / pivot) * tol * origDiag[j] > -1.0;
    };
    constexpr int kTogether = 64;
    for (int first = swept.Next(0); first >= 0 && first < n; first = swept.Next(first + kTogether)) {
        const int last = std::min(n, first + kTogether);
        int failures = 0;
        for (int j = first; j < last; ++j) failures += passes(j) ? 0 : 1;
        if (failures == 0) continue;
        for (int j = first; j >= 0 && j < last; j = swept.Next(j + 1))
            if (!passes(j)) return false;
    }
    return true;
}

/// The sweep rule on a packed triangle, row by row or by blocks of rows.
///
/// Sweeping row k adds left[i]*right[j] to every element (i, j) outside row and column k, where left is row k up to
/// sign and right is row k over the pivot. A block keeps its rows, spelled out, in a panel that is always up to date,
/// and the diagonal, which the tests of the pivots need. The rest of the matrix waits until the block is done and then
/// receives its terms in one pass, in the order of the sweeps: the bits are those of one sweep after the other.
class Sweeper {
public:
    Sweeper(double* packed, int n, double tol, const double* origDiag, MCBitSet& swept)
        : fPacked(packed), fn(n), fTol(tol), fOrigDiag(origDiag), fSwept(swept), fStep(n),
          fvFactors(2 * static_cast<std::size_t>(n))
    {}

    /// Makes room for blocks when there are rows enough to gain by them.
    void PrepareBlocks(std::size_t nRows)
    {
        if (fn < kSmallestOrder || nRows < kGroup) return;
        auto work = std::make_unique<internal::TileWorkspace>(fn);
        if (!*work) return;
        // An odd number of cache lines from row to row: the rows of a panel must not share one set of the cache.
        fStep = (fn + 7) / 8 * 8 | 8;
        fBlock = fn < kLargeOrder ? 2 * kGroup : 8 * kGroup;
        fvPanel.resize(fBlock * static_cast<std::size_t>(fStep));
        fvFactors.resize(2 * fvPanel.size());
        fvDiag.resize(static_cast<std::size_t>(fn));
        for (int i = 0; i < fn; ++i) fvDiag[static_cast<std::size_t>(i)] = Row(i)[i];
        fpWork = std::move(work);
    }

    /// Sweeps on the rows in turn; false when one was refused.
    bool SweepOnMany(std::span<const int> rows)
    {
        bool all = true;
        while (!rows.empty()) {
            const std::size_t count = WorksByBlocks() ? DistinctRows(rows.first(std::min(rows.size(), fBlock))) : 1;
            if (!(WorksByBlocks() ? SweepOnBlock(rows.first(count)) : SweepOnRow(rows[0]))) all = false;
            rows = rows.subspan(count);
        }
        return all;
    }

    bool SweepOnRow(int k)
    {
        double* const left = Left(0);
        double* const right = Right(0);
        std::copy_n(Row(k), k + 1, left);
        for (int i = k + 1; i < fn; ++i) left[i] = Row(i)[k];
        if (!PivotAllowed(k, left, [this](int j) { return Row(j)[j]; })) return false;
        const double pivot = left[k];
        FormFactors(left, pivot, left, right);
        internal::AddOuterProducts(fPacked, static_cast<std::size_t>(fn), left, right, 1);
        // Row and column k were not meant: their new elements are written over what the pass made of them.
        right[k] = -1.0 / pivot;
        std::copy_n(right, k + 1, Row(k));
        for (int i = k + 1; i < fn; ++i) Row(i)[k] = right[i];
        return true;
    }

private:
    static constexpr int kSmallestOrder = 64; // below, sweeping row by row is faster
    static constexpr int kLargeOrder = 400;
    static constexpr std::size_t kGroup = 8; // rows whose terms the panel takes at once

    bool WorksByBlocks() const { return fpWork != nullptr; }

    /// How many rows come before the first that is named a second time.
    static std::size_t DistinctRows(std::span<const int> rows)
    {
        std::size_t count = 1;
        while (count < rows.size() && std::find(rows.begin(), rows.begin() + static_cast<std::ptrdiff_t>(count),
                                                rows[count]) == rows.begin() + static_cast<std::ptrdiff_t>(count))
            ++count;
        return count;
    }

    double* Row(int i) const
    {
        const auto row = static_cast<std::size_t>(i);
        return fPacked + row * (row + 1) / 2;
    }
    double* Panel(std::size_t q) { return fvPanel.data() + q * static_cast<std::size_t>(fStep); }
    double* Left(std::size_t term) { return fvFactors.data() + term * static_cast<std::size_t>(fStep); }
    double* Right(std::size_t term)
    {
        return fvFactors.data() + fvFactors.size() / 2 + term * static_cast<std::size_t>(fStep);
    }

    /// The tests of a row that is not swept; on success its bit is flipped.
    template <class Diag>
    bool PivotAllowed(int k, const double* row, Diag diag)
    {
        const bool forward = !fSwept.IsIn(k);
        if (forward && !PassesTests(
                           k, fn, fTol, fOrigDiag, fSwept, [row](int j) { return row[j]; }, diag))
            return false;
        fSwept.Set(k, forward);
        return true;
    }

    void FormFactors(const double* row, double pivot, double* left, double* right) const
    {
        const double size = std::fabs(pivot);
        const bool positive = pivot > 0.0;
        for (int j = 0; j < fn; ++j) {
            const double old = row[j];
            left[j] = positive ? -old : old;
            right[j] = old / size;
        }
    }

    bool SweepOnBlock(std::span<const int> rows)
    {
        GatherPanel(rows);
        std::size_t terms = 0;
        for (std::size_t first = 0; first < rows.size(); first += kGroup) {
            const std::size_t last = std::min(rows.size(), first + kGroup);
            const std::size_t before = terms;
            for (std::size_t q = first; q < last; ++q)
                if (SweepOnPanelRow(rows, q, first, last, terms)) ++terms;
            for (std::size_t q = 0; q < rows.size(); ++q) {
                if (q >= first && q < last) continue;
                AddTermsToPanelRow(rows[q], Panel(q), before, terms - before);
                for (std::size_t g = first; g < last; ++g) Panel(q)[rows[g]] = Panel(g)[rows[q]];
            }
        }
        if (terms == 0) return false;
        internal::AddProduct<internal::ZeroFactor::Multiplies>(
            *fpWork, fn, static_cast<int>(terms), [this](int i) { return Row(i); }, [](int i) { return i + 1; },
            [left = Left(0), step = fStep](int i, int k) { return left[static_cast<std::ptrdiff_t>(k) * step + i]; },
            internal::RowsOperand{
                [right = Right(0), step = fStep](int k) { return right + static_cast<std::ptrdiff_t>(k) * step; }});
        ScatterPanel(rows);
        return terms == rows.size();
    }

    /// Sweeps on row q of the panel, as far as rows first .. last-1 of the panel, the factors and the diagonal go.
    bool SweepOnPanelRow(std::span<const int> rows, std::size_t q, std::size_t first, std::size_t last,
                         std::size_t term)
    {
        const int k = rows[q];
        double* const row = Panel(q);
        if (!PivotAllowed(k, row, [this](int j) { return fvDiag[static_cast<std::size_t>(j)]; })) return false;
        const double pivot = row[k];
        double* const left = Left(term);
        double* const right = Right(term);
        FormFactors(row, pivot, left, right);
        for (int j = 0; j < fn; ++j) fvDiag[static_cast<std::size_t>(j)] += left[j] * right[j];
        for (std::size_t other = first; other < last; ++other) {
            if (other == q) continue;
            AddTermsToPanelRow(rows[other], Panel(other), term, 1);
            Panel(other)[k] = right[rows[other]];
        }
        std::copy_n(right, fn, row);
        fvDiag[static_cast<std::size_t>(k)] = row[k] = -1.0 / pivot;
        return true;
    }

    /// Of the two factors of a term, the row with the larger number gives the left one.
    void AddTermsToPanelRow(int r, double* row, std::size_t firstTerm, std::size_t terms)
    {
        const auto lower = static_cast<std::size_t>(r) + 1;
        internal::AddRows(row, Right(firstTerm), fStep, terms, Left(firstTerm) + r, fStep, lower);
        internal::AddRows(row + lower, Left(firstTerm) + lower, fStep, terms, Right(firstTerm) + r, fStep,
                          static_cast<std::size_t>(fn) - lower);
    }

    void GatherPanel(std::span<const int> rows)
    {
        for (std::size_t q = 0; q < rows.size(); ++q) std::copy_n(Row(rows[q]), rows[q] + 1, Panel(q));
        ForEachBelow(rows, [](double& inPanel, double& inMatrix) { inPanel = inMatrix; });
    }

    void ScatterPanel(std::span<const int> rows)
    {
        for (std::size_t q = 0; q < rows.size(); ++q) std::copy_n(Panel(q), rows[q] + 1, Row(rows[q]));
        ForEachBelow(rows, [](double& inPanel, double& inMatrix) { inMatrix = inPanel; });
    }

    /// Visits the elements below the diagonal in the columns of the block, a cache line of the panel at a time.
    template <class Visit>
    void ForEachBelow(std::span<const int> rows, Visit visit)
    {
        constexpr int kLine = 8;
        for (int first = 0; first < fn; first += kLine) {
            const int count = std::min(kLine, fn - first);
            double* line[kLine];
            for (int i = 0; i < count; ++i) line[i] = Row(first + i);
            for (std::size_t q = 0; q < rows.size(); ++q)
                for (int i = std::max(0, rows[q] + 1 - first); i < count; ++i)
                    visit(Panel(q)[first + i], line[i][rows[q]]);
        }
    }

    double* fPacked;
    int fn;
    double fTol;
    const double* fOrigDiag;
    MCBitSet& fSwept;
    std::ptrdiff_t fStep;
    std::size_t fBlock = 1;
    std::vector<double> fvFactors; // the left factors of all terms of a block, then the right ones
    std::vector<double> fvPanel;
    std::vector<double> fvDiag;
    std::unique_ptr<internal::TileWorkspace> fpWork; // null while rows are swept one by one
};

} // namespace

// Written so that a NaN for the tolerance is refused too.
bool MCSymMatrix::SweepArgumentsValid(double tol, const double* origDiag, const MCBitSet& swept) const
{
    return tol > 0.0 && swept.Size() >= fnRows &&
           (fnRows <= 0 || (origDiag != nullptr && internal::IsReferenceDiagonal({origDiag, Order()})));
}

// Of a vector all values count, also those that belong to no row.
bool MCSymMatrix::ReferenceValid(const std::vector<double>& origDiag) const
{
    return Fits(origDiag) && internal::IsReferenceDiagonal(origDiag);
}

bool MCSymMatrix::RowsValid(const std::vector<int>& rows) const
{
    return std::all_of(rows.begin(), rows.end(), [this](int k) { return k >= 0 && k < fnRows; });
}

bool MCSymMatrix::Sweep(int k, double tol, const std::vector<double>& origDiag, MCBitSet& swept, bool check)
{
    if (check && !ReferenceValid(origDiag)) return false;
    return Sweep(k, tol, origDiag.data(), swept, check);
}

bool MCSymMatrix::Sweep(int k, double tol, const double* origDiag, MCBitSet& swept, bool check)
{
    if (check && (k < 0 || k >= fnRows || !SweepArgumentsValid(tol, origDiag, swept))) return false;
    return Sweeper(fvElem.data(), fnRows, tol, origDiag, swept).SweepOnRow(k);
}

bool MCSymMatrix::SweepOrig(int k, double tol, const std::vector<double>& origDiag, MCBitSet& swept, bool check)
{
    if (check && !ReferenceValid(origDiag)) return false;
    return SweepOrig(k, tol, origDiag.data(), swept, check);
}

bool MCSymMatrix::SweepOrig(int k, double tol, const double* origDiag, MCBitSet& swept, bool check)
{
    if (check && (k < 0 || k >= fnRows || !SweepArgumentsValid(tol, origDiag, swept))) return false;
    const bool forward = !swept.IsIn(k);
    if (forward && !PassesTests(
                       k, fnRows, tol, origDiag, swept, [=, this](int j) { return GetElem(k, j); },
                       [this](int j) { return GetElem(j, j); }))
        return false;

    const double pivot = GetElem(k, k);
    for (int i = 0; i < fnRows; ++i) {
        if (i == k) continue;
        const double old = GetElem(i, k);
        SetElem(i, k, old / std::fabs(pivot));
        const double c = pivot > 0.0 ? -old : old;
        for (int j = 0; j <= i; ++j)
            if (j != k) SetElem(i, j, GetElem(i, j) + c * GetElem(j, k));
    }
    SetElem(k, k, -1.0 / pivot);
    swept.Set(k, forward);
    return true;
}

bool MCSymMatrix::SweepOnMany(const std::vector<int>& rows, double tol, const std::vector<double>& origDiag,
                              MCBitSet& swept, bool check)
{
    if (check && !ReferenceValid(origDiag)) return false;
    return SweepOnMany(rows, tol, origDiag.data(), swept, check);
}

bool MCSymMatrix::SweepOnMany(const std::vector<int>& rows, double tol, const double* origDiag, MCBitSet& swept,
                              bool check)
{
    if (check && !(SweepArgumentsValid(tol, origDiag, swept) && RowsValid(rows))) return false;
    Sweeper sweeper(fvElem.data(), fnRows, tol, origDiag, swept);
    sweeper.PrepareBlocks(rows.size());
    return sweeper.SweepOnMany(rows);
}

bool MCSymMatrix::SweepOnSelected(const MCBitSet& selected, double tol, const std::vector<double>& origDiag,
                                  MCBitSet& swept, bool check)
{
    if (check && !ReferenceValid(origDiag)) return false;
    return SweepOnSelected(selected, tol, origDiag.data(), swept, check);
}

bool MCSymMatrix::SweepOnSelected(const MCBitSet& selected, double tol, const double* origDiag, MCBitSet& swept,
                                  bool check)
{
    return SweepOnMany(selected.Members(), tol, origDiag, swept, check);
}

bool MCSymMatrix::SweepOnAll(double tol, const std::vector<double>& origDiag, MCBitSet& swept, bool check)
{
    if (check && !ReferenceValid(origDiag)) return false;
    return SweepOnAll(tol, origDiag.data(), swept, check);
}

bool MCSymMatrix::SweepOnAll(double tol, const double* origDiag, MCBitSet& swept, bool check)
{
    std::vector<int> rows(Order());
    std::iota(rows.begin(), rows.end(), 0);
    return SweepOnMany(rows, tol, origDiag, swept, check);
}

} // namespace MCMath_930
