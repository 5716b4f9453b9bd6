// Symmetric indefinite factorisation with diagonal pivoting, by panels of columns.
//
// The published loop updates the whole leading matrix with every column that it eliminates. Here the updates of a panel
// wait until the panel is complete; what the search for a pivot looks at is brought up to date before. Every element sees
// the operations of the loop, in its order.
#pragma once

#include "modelcore/kernels/AlignedDoubles.h"
#include "modelcore/kernels/Kernels.h"
#include "modelcore/kernels/TileProduct.h"
#include "modelcore/linalg/Blas1.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>

namespace MCMath_930::internal {

/// What one step of the factorisation eliminates: columns k, or k - 1 and k, after an exchange with row imax.
struct IndefinitePivot {
    int size;
    int imax;
    bool exchange;
    bool zero;

    /// The step's elements of kpvt.
    void Note(int k, int* kpvt) const
    {
        if (zero)
            kpvt[k] = k + 1;
        else if (size == 1)
            kpvt[k] = exchange ? imax + 1 : k + 1;
        else
            kpvt[k] = kpvt[k - 1] = exchange ? -(imax + 1) : -k;
    }
};

/// Row imax of the symmetric leading matrix, without column k's part above the diagonal.
struct CandidateRow {
    double largest; ///< off the diagonal
    double diagonal;
};

/// The largest magnitude as D_Max finds it that goes from 0 along x: a NaN makes it forget what was before.
inline double LargestOf(const double* x, int count)
{
    std::int64_t nans = 0;
    for (int i = 0; i < count; ++i) nans += std::isnan(x[i]) ? 1 : 0;
    if (nans == 0) return LargestMagnitude(x, static_cast<std::size_t>(count));
    double largest = 0.0;
    for (int i = 0; i < count; ++i) largest = Blas1::D_Max(largest, std::fabs(x[i]));
    return largest;
}

/// The pivot of the leading matrix of order k + 1, k >= 1 (Bunch and Kaufman 1977).
/// @param column     its last column
/// @param candidate  candidate(imax) is the CandidateRow
template <class Candidate>
IndefinitePivot ChooseIndefinitePivot(const double* column, int k, Candidate candidate)
{
    // Bounds the growth of the elements equally for blocks of order 1 and 2.
    const double alpha = (1.0 + std::sqrt(17.0)) / 8.0;
    const double diagonal = std::fabs(column[k]);
    const int imax = Blas1::IDAMax(k, column, 1) - 1;
    const double columnMax = std::fabs(column[imax]);
    const bool zero = diagonal == 0.0 && columnMax == 0.0; // a NaN is no zero, on whichever side of it
    if (diagonal >= alpha * columnMax) return {1, imax, false, zero};

    const CandidateRow row = candidate(imax);
    if (std::fabs(row.diagonal) >= alpha * row.largest) return {1, imax, true, zero};
    if (diagonal >= alpha * columnMax * (columnMax / row.largest)) return {1, imax, false, zero};
    return {2, imax, imax != k - 1, zero};
}

/// The block of rows k - 1 and k of D, as the elimination divides by it.
struct IndefiniteBlock {
    double offDiagonal, ak, akm1, denominator;

    IndefiniteBlock(const double* before, const double* column, int k)
        : offDiagonal(column[k - 1]), ak(column[k] / offDiagonal), akm1(before[k - 1] / offDiagonal),
          denominator(1.0 - ak * akm1)
    {}

    /// The multipliers of columns k and k - 1 whose elements in one row are given.
    std::pair<double, double> Multipliers(double column, double before) const
    {
        const double bk = column / offDiagonal;
        const double bkm1 = before / offDiagonal;
        return {(akm1 * bk - bkm1) / denominator, (ak * bkm1 - bk) / denominator};
    }
};

/// Factors the leading columns of a symmetric matrix, given by its upper triangle, from the last one down.
///
/// A step leaves a term: element (i, j), i <= j, receives multipliers[j] * column[i]. The roles of i and j differ, so that
/// an exchange, which turns the part of a column between the two rows into a part of a row, would round the terms that
/// still wait another way. That part is therefore brought up to date when it moves and kept apart as a moved row, with
/// the number of terms that it has, until the panel is complete.
template <class Columns>
class BlockedIndefinite {
public:
    /// Up to this order the loop by single columns is faster.
    static constexpr int kSmallestOrder = 112;

    BlockedIndefinite(const Columns& a, int n, int* kpvt)
        : fa(a), fPivots(kpvt), fStep((n + 7) / 8 * 8 | 8), fWork(n),
          fMemory(MakeAlignedDoubles(static_cast<std::size_t>(3 * kTerms + 1) * static_cast<std::size_t>(fStep)))
    {}

    bool HasWorkspace() const { return fWork && fMemory != nullptr; }

    /// @param last  the last column
    /// @return the last column of the leading matrix that is left
    int Factor(int last, int* info)
    {
        int k = last;
        while (k >= kSmallestOrder) {
            fTerms = fMoved = 0;
            fZeros = false;
            while (k >= kSmallestOrder && fTerms + 2 <= kTerms) k -= Step(k, info);
            UpdateLeading(k);
        }
        return k;
    }

private:
    static constexpr int kTerms = 32;

    struct MovedRow {
        int row;
        int terms; ///< that it has received
    };

    double* Line(int line) const { return fMemory.get() + static_cast<std::ptrdiff_t>(line) * fStep; }
    /// What a term multiplies by, for each column.
    double* MultipliersOf(int term) const { return Line(term); }
    /// What a term multiplies, for each row.
    double* ColumnOf(int term) const { return Line(kTerms + term); }
    /// The elements right of the diagonal of a moved row.
    double* Moved(int slot) const { return Line(2 * kTerms + slot); }

    const MovedRow& InSlot(int slot) const { return fMovedRows[static_cast<std::size_t>(slot)]; }

    int SlotOf(int row) const
    {
        for (int slot = 0; slot < fMoved; ++slot)
            if (InSlot(slot).row == row) return slot;
        return fMoved;
    }

    int Step(int k, int* info);
    void BringUpToDate(double* to, int column, int from, int end) const;
    void BringRowUpToDate(double* to, const double* from, int row, int terms, int end) const;
    CandidateRow BringCandidateUpToDate(int imax, int k) const;
    void Exchange(int imax, int column, double* moving, double* candidate);
    void EliminateOne(int k);
    void EliminateTwo(int k);
    void UpdateLeading(int last);

    Columns fa;
    int* fPivots;
    int fStep;
    TileWorkspace fWork;
    AlignedDoubles fMemory;
    int fTerms = 0;
    bool fZeros = false; ///< whether a multiplier is 0: its term is left out
    int fMoved = 0;
    std::array<MovedRow, kTerms> fMovedRows{};
};

template <class Columns>
int BlockedIndefinite<Columns>::Step(int k, int* info)
{
    double* const column = ColumnOf(fTerms); // where most of them stay
    double* const candidate = ColumnOf(fTerms + 1);
    BringUpToDate(column, k, 0, k + 1);
    const IndefinitePivot pivot =
        ChooseIndefinitePivot(column, k, [this, k](int imax) { return BringCandidateUpToDate(imax, k); });
    pivot.Note(k, fPivots);
    const int imax = pivot.imax;
    if (pivot.zero) {
        std::copy_n(column, k + 1, fa(k));
        *info = k + 1;
    } else if (pivot.size == 1) {
        if (pivot.exchange) {
            Exchange(imax, k, column, candidate);
            std::copy_n(candidate, k + 1, column);
        }
        EliminateOne(k);
    } else {
        if (pivot.exchange) {
            double* const before = Line(3 * kTerms);
            BringUpToDate(before, k - 1, imax, k);
            Exchange(imax, k - 1, before, candidate);
            std::swap(column[k - 1], column[imax]);
        }
        EliminateTwo(k);
    }
    return pivot.size;
}

/// Rows from..end-1 of a column, end <= column + 1, with all terms.
template <class Columns>
void BlockedIndefinite<Columns>::BringUpToDate(double* to, int column, int from, int end) const
{
    std::copy(fa(column) + from, fa(column) + end, to + from);
    double factors[kTerms];
    for (int t = 0; t < fTerms; ++t) factors[t] = MultipliersOf(t)[column];
    const auto terms = static_cast<std::size_t>(fTerms);
    const auto rows = static_cast<std::size_t>(end - from);
    if (fZeros)
        AddColumns(to + from, ColumnOf(0) + from, fStep, terms, factors, rows);
    else
        AddRows(to + from, ColumnOf(0) + from, fStep, terms, factors, 1, rows);
    for (int slot = 0; slot < fMoved; ++slot) {
        const auto [row, received] = InSlot(slot);
        if (row < from || row >= std::min(end, column)) continue;
        double element = Moved(slot)[column];
        for (int t = received; t < fTerms; ++t)
            if (factors[t] != 0.0) element += factors[t] * ColumnOf(t)[row];
        to[row] = element;
    }
}

/// Elements row + 1..end-1 of a row that has received so many terms, with all of them.
template <class Columns>
void BlockedIndefinite<Columns>::BringRowUpToDate(double* to, const double* from, int row, int terms, int end) const
{
    const int first = row + 1;
    if (from != to) std::copy(from + first, from + end, to + first);
    if (!fZeros) {
        AddRows(to + first, MultipliersOf(terms) + first, fStep, static_cast<std::size_t>(fTerms - terms),
                ColumnOf(terms) + row, fStep, static_cast<std::size_t>(end - first));
        return;
    }
    for (int t = terms; t < fTerms; ++t) {
        const double* const multipliers = MultipliersOf(t);
        const double x = ColumnOf(t)[row];
        for (int j = first; j < end; ++j) to[j] = multipliers[j] != 0.0 ? to[j] + multipliers[j] * x : to[j];
    }
}

/// Column imax and, below its diagonal, row imax up to column k - 1, with all terms. The element in column k is known.
template <class Columns>
CandidateRow BlockedIndefinite<Columns>::BringCandidateUpToDate(int imax, int k) const
{
    double* const candidate = ColumnOf(fTerms + 1);
    BringUpToDate(candidate, imax, 0, imax + 1);
    if (const int slot = SlotOf(imax); slot < fMoved) {
        BringRowUpToDate(candidate, Moved(slot), imax, InSlot(slot).terms, k);
    } else {
        for (int j = imax + 1; j < k; ++j) candidate[j] = fa(j)[imax];
        BringRowUpToDate(candidate, candidate, imax, 0, k);
    }
    candidate[k] = ColumnOf(fTerms)[imax];

    double largest = LargestOf(candidate + imax + 1, k - imax);
    if (imax > 0) largest = Blas1::D_Max(largest, std::fabs(candidate[Blas1::IDAMax(imax, candidate, 1) - 1]));
    return {largest, candidate[imax]};
}

/// Exchanges rows and columns imax and `column`, imax < column.
/// @param moving     the column with all terms, from row imax on
/// @param candidate  column and row imax with all terms; the new column when it returns
template <class Columns>
void BlockedIndefinite<Columns>::Exchange(int imax, int column, double* moving, double* candidate)
{
    // The elements above row imax change their columns and keep what they wait for, since the multipliers change too.
    std::copy_n(fa(column), imax, fa(imax));
    fa(imax)[imax] = fa(column)[column];
    for (int slot = 0; slot < fMoved; ++slot)
        if (InSlot(slot).row < imax) Moved(slot)[imax] = Moved(slot)[column];
    for (int t = 0; t < fTerms; ++t) {
        std::swap(MultipliersOf(t)[imax], MultipliersOf(t)[column]);
        std::swap(ColumnOf(t)[imax], ColumnOf(t)[column]);
    }

    const int slot = SlotOf(imax);
    std::copy(moving + imax + 1, moving + column, Moved(slot) + imax + 1);
    fMovedRows[static_cast<std::size_t>(slot)] = {imax, fTerms};
    fMoved = std::max(fMoved, slot + 1);

    candidate[column] = std::exchange(candidate[imax], moving[imax]);
}

template <class Columns>
void BlockedIndefinite<Columns>::EliminateOne(int k)
{
    const double* const column = ColumnOf(fTerms);
    double* const multipliers = MultipliersOf(fTerms);
    const double pivot = column[k];
    for (int j = 0; j < k; ++j) multipliers[j] = -column[j] / pivot;
    fZeros |= HasZero(multipliers, k);
    std::copy_n(multipliers, k, fa(k));
    fa(k)[k] = pivot;
    ++fTerms;
}

template <class Columns>
void BlockedIndefinite<Columns>::EliminateTwo(int k)
{
    const double* const column = ColumnOf(fTerms);
    const double* const before = ColumnOf(fTerms + 1);
    const IndefiniteBlock block(before, column, k);
    double* const multipliers = MultipliersOf(fTerms);
    double* const multipliersBefore = MultipliersOf(fTerms + 1);
    for (int j = 0; j < k - 1; ++j) {
        const auto [first, second] = block.Multipliers(column[j], before[j]);
        multipliers[j] = first;
        multipliersBefore[j] = second;
    }
    fZeros |= HasZero(multipliers, k - 1) || HasZero(multipliersBefore, k - 1);
    std::copy_n(multipliers, k - 1, fa(k));
    std::copy_n(multipliersBefore, k - 1, fa(k - 1));
    fa(k)[k - 1] = column[k - 1];
    fa(k)[k] = column[k];
    fa(k - 1)[k - 1] = before[k - 1];
    fTerms += 2;
}

/// All terms of the panel for columns 0..last. What stands in A for the moved rows is of no use and replaced.
template <class Columns>
void BlockedIndefinite<Columns>::UpdateLeading(int last)
{
    for (int slot = 0; slot < fMoved; ++slot) {
        const auto [row, terms] = InSlot(slot);
        if (row < last) BringRowUpToDate(Moved(slot), Moved(slot), row, terms, last + 1);
    }
    AddProduct<ZeroFactor::Skips>(
        fWork, last + 1, fTerms, [this](int r) { return fa(r); }, [](int r) { return r + 1; },
        [this](int r, int t) { return MultipliersOf(t)[r]; }, RowsOperand{[this](int t) { return ColumnOf(t); }});
    for (int j = 0; j <= last; ++j)
        for (int slot = 0; slot < fMoved; ++slot)
            if (const int row = InSlot(slot).row; row < j) fa(j)[row] = Moved(slot)[j];
}

} // namespace MCMath_930::internal
