// MCSymMatrix: the sweeps and the tests that they share.
#include "modelcore/matrix/MCSymMatrix.h"

#include "modelcore/common/MCBitSet.h"
#include "modelcore/linalg/kernels/Kernels.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace MCMath_930 {

// Written so that a NaN for the tolerance is refused too.
bool MCSymMatrix::SweepArgumentsValid(double tol, const double* origDiag, const MCBitSet& swept) const
{
    return tol > 0.0 && swept.Size() >= fnRows && (fnRows == 0 || origDiag != nullptr) &&
           std::none_of(origDiag, origDiag + fnRows, [](double d) { return d < 0.0; });
}

bool MCSymMatrix::RowsValid(const std::vector<int>& rows) const
{
    return std::all_of(rows.begin(), rows.end(), [this](int k) { return k >= 0 && k < fnRows; });
}

bool MCSymMatrix::PivotAllowed(int k, double tol, const double* origDiag, const MCBitSet& swept) const
{
    const double pivot = GetElem(k, k);
    if (tol * origDiag[k] >= pivot) return false;
    for (int j = swept.Next(0); j >= 0 && j < fnRows; j = swept.Next(j + 1)) {
        const double old = GetElem(k, j);
        // S(j,j) of a swept row is minus the inverse of its pivot: below -1/(tol*origDiag[j]) that pivot is too small.
        if (!((GetElem(j, j) - old * old / pivot) * tol * origDiag[j] > -1.0)) return false;
    }
    return true;
}

bool MCSymMatrix::Sweep(int k, double tol, const std::vector<double>& origDiag, MCBitSet& swept, bool check)
{
    if (check && origDiag.size() < static_cast<std::size_t>(fnRows)) return false;
    return Sweep(k, tol, origDiag.data(), swept, check);
}

bool MCSymMatrix::Sweep(int k, double tol, const double* origDiag, MCBitSet& swept, bool check)
{
    if (check && (k < 0 || k >= fnRows || !SweepArgumentsValid(tol, origDiag, swept))) return false;
    const bool forward = !swept.IsIn(k);
    if (forward && !PivotAllowed(k, tol, origDiag, swept)) return false;

    // Nothing below can refuse: the matrix changes only from here on.
    const double pivot = GetElem(k, k);
    std::vector<double> scaled(static_cast<std::size_t>(fnRows)); // row k / |pivot|, filled as i grows
    double* const s = scaled.data();
    for (int i = 0; i < fnRows; ++i) {
        if (i == k) continue;
        const double old = GetElem(i, k);
        const double c = pivot > 0.0 ? -old : old;
        s[i] = old / std::fabs(pivot);
        SetElem(i, k, s[i]);
        // Column k is stepped over, not neutralised with s[k] = 0: adding c*0 would turn a stored -0.0 into +0.0.
        double* const row = Row(i);
        internal::AddScaled(row, c, s, static_cast<std::size_t>(std::min(k, i + 1)));
        if (i > k) internal::AddScaled(row + k + 1, c, s + k + 1, static_cast<std::size_t>(i - k));
    }
    SetElem(k, k, -1.0 / pivot);
    swept.Set(k, forward);
    return true;
}

bool MCSymMatrix::SweepOrig(int k, double tol, const std::vector<double>& origDiag, MCBitSet& swept, bool check)
{
    if (check && origDiag.size() < static_cast<std::size_t>(fnRows)) return false;
    return SweepOrig(k, tol, origDiag.data(), swept, check);
}

bool MCSymMatrix::SweepOrig(int k, double tol, const double* origDiag, MCBitSet& swept, bool check)
{
    if (check && (k < 0 || k >= fnRows || !SweepArgumentsValid(tol, origDiag, swept))) return false;
    const bool forward = !swept.IsIn(k);
    if (forward && !PivotAllowed(k, tol, origDiag, swept)) return false;

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
    if (check && origDiag.size() < static_cast<std::size_t>(fnRows)) return false;
    return SweepOnMany(rows, tol, origDiag.data(), swept, check);
}

bool MCSymMatrix::SweepOnMany(const std::vector<int>& rows, double tol, const double* origDiag, MCBitSet& swept,
                              bool check)
{
    if (check && !(SweepArgumentsValid(tol, origDiag, swept) && RowsValid(rows))) return false;
    bool all = true;
    for (const int k : rows)
        if (!Sweep(k, tol, origDiag, swept, false)) all = false;
    return all;
}

bool MCSymMatrix::SweepOnSelected(const MCBitSet& selected, double tol, const std::vector<double>& origDiag,
                                  MCBitSet& swept, bool check)
{
    if (check && origDiag.size() < static_cast<std::size_t>(fnRows)) return false;
    return SweepOnSelected(selected, tol, origDiag.data(), swept, check);
}

bool MCSymMatrix::SweepOnSelected(const MCBitSet& selected, double tol, const double* origDiag, MCBitSet& swept,
                                  bool check)
{
    std::vector<int> rows;
    for (int k = selected.Next(0); k >= 0; k = selected.Next(k + 1)) rows.push_back(k);
    return SweepOnMany(rows, tol, origDiag, swept, check);
}

bool MCSymMatrix::SweepOnAll(double tol, const std::vector<double>& origDiag, MCBitSet& swept, bool check)
{
    if (check && origDiag.size() < static_cast<std::size_t>(fnRows)) return false;
    return SweepOnAll(tol, origDiag.data(), swept, check);
}

bool MCSymMatrix::SweepOnAll(double tol, const double* origDiag, MCBitSet& swept, bool check)
{
    std::vector<int> rows(static_cast<std::size_t>(fnRows));
    std::iota(rows.begin(), rows.end(), 0);
    return SweepOnMany(rows, tol, origDiag, swept, check);
}

} // namespace MCMath_930
