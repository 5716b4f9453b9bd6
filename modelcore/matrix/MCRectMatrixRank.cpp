// MCRectMatrix: rank, redundancy, estimability and projections, all through cross products and their Cholesky factor.
#include "modelcore/matrix/MCRectMatrix.h"

#include "modelcore/common/MCBitSet.h"
#include "modelcore/matrix/MCSymMatrix.h"
#include "modelcore/matrix/internal/Operands.h"

#include <algorithm>
#include <cmath>

namespace MCMath_930 {

namespace {

/// Factors S in place with its own diagonal as reference. The reference holds squared norms, hence the squared tol.
int FactorCrossProducts(MCSymMatrix& S, double tol, MCBitSet& kept)
{
    std::vector<double> norms;
    S.GetDiagonal(norms);
    return S.LTChol(norms, tol * tol, kept, false);
}

} // namespace

int MCRectMatrix::FindRedundancies(double tol, MCBitSet& kept, bool byRows) const
{
    MCSymMatrix S;
    if (!(tol >= 0.0) || !(byRows ? S.ComputeRByRTrans(*this) : S.ComputeRTransByR(*this))) return -1;
    return FactorCrossProducts(S, tol, kept);
}

int MCRectMatrix::FindNonRedunIndices(double tol, bool byRows, std::vector<int>& indices) const
{
    MCBitSet kept;
    if (FindRedundancies(tol, kept, byRows) < 0) return -1;
    indices.clear();
    for (int i = kept.Next(0); i >= 0; i = kept.Next(i + 1)) indices.push_back(i);
    return static_cast<int>(indices.size());
}

int MCRectMatrix::ExtractFullRank(double tol, bool byRows, MCRectMatrix& out) const
{
    std::vector<int> indices;
    const int rank = FindNonRedunIndices(tol, byRows, indices);
    if (rank < 0) return rank;
    if (byRows)
        ExtractRows(indices, out);
    else
        ExtractColumns(indices, out);
    return rank;
}

int MCRectMatrix::CheckAddColRedundancies(const IMCRectMatrix& added, double tol, MCBitSet& kept) const
{
    MCRectMatrix joined(*this);
    MCBitSet all;
    if (added.GetNRows() != fnRows || added.GetNCols() > MCSymMatrix::kMaxRows || fnCols > MCSymMatrix::kMaxRows ||
        !joined.Resize(fnRows, fnCols + added.GetNCols()) || !joined.CopyColumns(added, 0, added.GetNCols(), fnCols) ||
        joined.FindRedundancies(tol, all, false) < 0)
        return -1;
    kept.Resize(added.GetNCols());
    for (int j = 0; j < added.GetNCols(); ++j) kept.Set(j, all.IsIn(fnCols + j));
    return added.GetNCols() - kept.Count();
}

bool MCRectMatrix::IsERowMultipleOfAnother(int i, double tol) const
{
    if (!IsRow(i) || !(tol >= 0.0)) return false;
    std::vector<double> residual;
    for (int k = 0; k < fnRows; ++k) {
        const double square = DotProductRows(k, k);
        if (k == i || (square == 0.0 && !IsRowZero(i))) continue;
        const double factor = square == 0.0 ? 0.0 : DotProductRows(i, k) / square;
        GetRow(i, residual);
        for (int j = 0; j < fnCols; ++j) residual[static_cast<std::size_t>(j)] -= factor * GetElem(k, j);
        const double norm = std::sqrt(internal::DotInOrder(residual.data(), residual.data(), residual.size()));
        if (norm <= tol * RowNorm(i)) return true;
    }
    return false;
}

bool MCRectMatrix::IsEstimable(const std::vector<double>& l, double tol) const
{
    MCSymMatrix S;
    if (l.size() < RowLength() || !(tol >= 0.0) || !S.ComputeRTransByR(*this)) return false;
    MCSymMatrix factor(S);
    MCBitSet kept;
    FactorCrossProducts(factor, tol, kept);
    std::vector<double> reproduced;
    factor.LTSolve(l, reproduced);
    S.ComputeSV(reproduced, reproduced);
    double largest = 0.0;
    for (std::size_t j = 0; j < RowLength(); ++j) largest = std::max(largest, std::fabs(l[j]));
    for (std::size_t j = 0; j < RowLength(); ++j)
        if (!(std::fabs(reproduced[j] - l[j]) <= tol * largest)) return false;
    return true;
}

int MCRectMatrix::EstimateLinearGI(const std::vector<double>& b, std::vector<double>& x, double tol) const
{
    MCSymMatrix S;
    std::vector<double> right;
    if (!(tol >= 0.0) || !ComputeVR(b, right) || !S.ComputeRTransByR(*this)) return -1;
    MCBitSet kept;
    const int rank = fnCols - FactorCrossProducts(S, tol, kept);
    S.LTSolve(right, x);
    return rank;
}

bool MCRectMatrix::ResidOfOrthProjection(const std::vector<double>& v, std::vector<double>& resid, double tol) const
{
    if (v.size() < ColLength()) return false;
    std::vector<double> rest(v.begin(), v.begin() + fnRows);
    std::vector<double> coefficients;
    std::vector<double> projection;
    for (int pass = 0; pass < 2; ++pass) {
        if (EstimateLinearGI(rest, coefficients, tol) < 0) return false;
        ComputeRV(coefficients, projection);
        for (std::size_t i = 0; i < rest.size(); ++i) rest[i] -= projection[i];
    }
    resid.swap(rest);
    return true;
}

} // namespace MCMath_930
