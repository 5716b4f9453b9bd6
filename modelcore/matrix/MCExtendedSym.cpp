#include "modelcore/matrix/MCExtendedSym.h"

#include "modelcore/common/MCBitSet.h"
#include "modelcore/common/MCDisplay.h"
#include "modelcore/common/internal/Index.h"
#include "modelcore/matrix/MCSymMatrix.h"
#include "modelcore/matrix/internal/ReferenceDiagonal.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace MCMath_930 {

using internal::AsSize;

MCExtendedSym::MCExtendedSym(int n)
{
    SetNRows(n);
}

bool MCExtendedSym::SetNRows(int n)
{
    if (n < 0 || n > MCSymMatrix::kMaxRows) return false;
    std::vector<MCExtended> elements(AsSize(n) * (AsSize(n) + 1) / 2);
    fvElem.swap(elements);
    fnRows = n;
    return true;
}

bool MCExtendedSym::Set(const MCSymMatrix& high, const MCSymMatrix& low)
{
    if (high.GetNRows() != low.GetNRows()) return false;
    std::vector<MCExtended> elements(high.AsSpan().size());
    for (std::size_t k = 0; k < elements.size(); ++k) elements[k] = {high.AsSpan()[k], low.AsSpan()[k]};
    fvElem.swap(elements);
    fnRows = high.GetNRows();
    return true;
}

void MCExtendedSym::GetDiagonal(std::vector<double>& diagonal) const
{
    std::vector<double> values(AsSize(fnRows));
    for (int i = 0; i < fnRows; ++i) values[AsSize(i)] = GetElem(i, i).high;
    diagonal.swap(values);
}

void MCExtendedSym::Round(MCSymMatrix& out) const
{
    MCSymMatrix rounded(fnRows);
    std::transform(fvElem.begin(), fvElem.end(), rounded.GetPtr(), [](MCExtended x) { return x.high; });
    out = std::move(rounded);
}

void MCExtendedSym::Equilibrate(std::vector<int>& exponents)
{
    std::vector<int> scales(AsSize(fnRows));
    for (int i = 0; i < fnRows; ++i) {
        const double diagonal = GetElem(i, i).high;
        if (diagonal > 0.0 && std::isfinite(diagonal))
            scales[AsSize(i)] = -static_cast<int>(std::floor(0.5 * (std::ilogb(diagonal) + 1)));
    }
    for (int i = 0; i < fnRows; ++i)
        for (int j = 0; j <= i; ++j) {
            MCExtended& x = fvElem[Index(i, j)];
            const int scale = scales[AsSize(i)] + scales[AsSize(j)];
            x = {std::ldexp(x.high, scale), std::ldexp(x.low, scale)};
        }
    exponents.swap(scales);
}

bool MCExtendedSym::ArgumentsValid(double tol, const std::vector<double>& origDiag, const MCBitSet& swept) const
{
    return tol > 0.0 && swept.Size() >= fnRows && origDiag.size() >= AsSize(fnRows) &&
           internal::IsReferenceDiagonal(origDiag);
}

bool MCExtendedSym::PivotAllowed(int k, double tol, const std::vector<double>& origDiag, const MCBitSet& swept) const
{
    const double pivot = GetElem(k, k).high;
    if (tol * origDiag[AsSize(k)] >= pivot) return false;
    for (int j = swept.Next(0); j >= 0 && j < fnRows; j = swept.Next(j + 1)) {
        const double old = GetElem(k, j).high;
        if (!((GetElem(j, j).high - old * old / pivot) * tol * origDiag[AsSize(j)] > -1.0)) return false;
    }
    return true;
}

bool MCExtendedSym::Sweep(int k, double tol, const std::vector<double>& origDiag, MCBitSet& swept, bool check)
{
    if (check && (k < 0 || k >= fnRows || !ArgumentsValid(tol, origDiag, swept))) return false;
    const bool forward = !swept.IsIn(k);
    if (forward && !PivotAllowed(k, tol, origDiag, swept)) return false;

    const MCExtended pivot = GetElem(k, k);
    const MCExtended size = pivot.high < 0.0 ? -pivot : pivot;
    std::vector<MCExtended> old(AsSize(fnRows)), scaled(AsSize(fnRows));
    for (int j = 0; j < fnRows; ++j) {
        old[AsSize(j)] = GetElem(k, j);
        scaled[AsSize(j)] = old[AsSize(j)] / size;
    }
    MCExtended* row = fvElem.data();
    for (std::size_t i = 0; i < old.size(); row += ++i) {
        if (i == AsSize(k)) continue;
        const MCExtended factor = pivot.high > 0.0 ? -old[i] : old[i];
        for (std::size_t j = 0; j <= i; ++j) row[j] = row[j] + factor * scaled[j];
    }
    // Row and column k were not meant: their new elements are written over what the loop made of them.
    for (int j = 0; j < fnRows; ++j) SetElem(k, j, scaled[AsSize(j)]);
    SetElem(k, k, -(MCExtended{1.0} / pivot));
    swept.Set(k, forward);
    return true;
}

bool MCExtendedSym::SweepOnMany(const std::vector<int>& rows, double tol, const std::vector<double>& origDiag,
                                MCBitSet& swept, bool check)
{
    if (check && !(ArgumentsValid(tol, origDiag, swept) &&
                   std::all_of(rows.begin(), rows.end(), [this](int k) { return k >= 0 && k < fnRows; })))
        return false;
    bool all = true;
    for (const int k : rows) all = Sweep(k, tol, origDiag, swept, false) && all;
    return all;
}

bool MCExtendedSym::SweepOnAll(double tol, const std::vector<double>& origDiag, MCBitSet& swept, bool check)
{
    std::vector<int> rows(AsSize(fnRows));
    std::iota(rows.begin(), rows.end(), 0);
    return SweepOnMany(rows, tol, origDiag, swept, check);
}

// b becomes one more row, and after the sweeps on all others that row is the solution.
bool MCExtendedSym::Solve(const std::vector<MCExtended>& b, std::vector<MCExtended>& x, double tol) const
{
    if (b.size() < AsSize(fnRows) || !(tol > 0.0)) return false;
    MCExtendedSym work(fnRows + 1);
    if (work.GetNRows() != fnRows + 1) return false;
    std::copy(fvElem.begin(), fvElem.end(), work.fvElem.begin());
    for (int j = 0; j < fnRows; ++j) work.SetElem(fnRows, j, b[AsSize(j)]);
    std::vector<double> diagonal;
    work.GetDiagonal(diagonal);
    MCBitSet swept(fnRows + 1);
    for (int step = 0; step < fnRows; ++step) {
        int best = -1;
        double largest = 0.0;
        for (int k = 0; k < fnRows; ++k) {
            const double share = work.GetElem(k, k).high / diagonal[AsSize(k)];
            if (!swept.IsIn(k) && share > largest) {
                best = k;
                largest = share;
            }
        }
        if (best < 0 || !work.Sweep(best, tol, diagonal, swept, false)) return false;
    }
    std::vector<MCExtended> solution(AsSize(fnRows));
    for (int j = 0; j < fnRows; ++j) solution[AsSize(j)] = work.GetElem(fnRows, j);
    x.swap(solution);
    return true;
}

void MCExtendedSym::Display() const
{
    MCDisplay_930::DisplayStart("MCExtendedSym");
    MCSymMatrix rounded;
    Round(rounded);
    rounded.Display();
    MCDisplay_930::DisplayEnd("MCExtendedSym");
}

} // namespace MCMath_930
