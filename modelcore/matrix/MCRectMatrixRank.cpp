// MCRectMatrix: rank, redundancy, estimability and projections, all through cross products and their Cholesky factor.
#include "modelcore/matrix/MCRectMatrix.h"

#include "modelcore/common/MCBitSet.h"
#include "modelcore/matrix/MCSymMatrix.h"
#include "modelcore/matrix/internal/RowProducts.h"

#include <algorithm>
#include <cmath>
#include <utility>

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
    indices = kept.Members();
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

namespace {

/// The cross products of a design matrix and their Cholesky factor.
class NormalEquations {
public:
    NormalEquations(const MCRectMatrix& R, double tol)
        : fIsValid(tol >= 0.0 && fmCrossProducts.ComputeRTransByR(R)), fmFactor(fmCrossProducts),
          fnRefused(FactorCrossProducts(fmFactor, tol, fKept))
    {}

    explicit operator bool() const { return fIsValid; }
    int Rank() const { return fmFactor.GetNRows() - fnRefused; }

    /// G*b with the generalised inverse G of the cross products. x may be b.
    void Solve(const std::vector<double>& b, std::vector<double>& x) const { fmFactor.LTSolve(b, x); }

    /// Whether S*G*l is l but for tol times its largest element; l has at least one value per column.
    bool Reproduces(const std::vector<double>& l, double tol) const
    {
        std::vector<double> reproduced;
        Solve(l, reproduced);
        fmCrossProducts.ComputeSV(reproduced, reproduced);
        double largest = 0.0;
        for (std::size_t j = 0; j < reproduced.size(); ++j) largest = std::max(largest, std::fabs(l[j]));
        for (std::size_t j = 0; j < reproduced.size(); ++j)
            if (!(std::fabs(reproduced[j] - l[j]) <= tol * largest)) return false;
        return true;
    }

private:
    MCSymMatrix fmCrossProducts;
    bool fIsValid;
    MCSymMatrix fmFactor;
    MCBitSet fKept;
    int fnRefused;
};

} // namespace

bool MCRectMatrix::IsEstimable(const std::vector<double>& l, double tol) const
{
    if (l.size() < RowLength()) return false;
    const NormalEquations equations(*this, tol);
    return equations && equations.Reproduces(l, tol);
}

int MCRectMatrix::FindEstimable(const IMCRectMatrix& functions, double tol, MCBitSet& estimable) const
{
    const NormalEquations equations(*this, tol);
    if (functions.GetNCols() != fnCols || !equations) return -1;
    MCBitSet found(functions.GetNRows());
    std::vector<double> l;
    for (int i = 0; i < functions.GetNRows(); ++i) found.Set(i, functions.GetRow(i, l) && equations.Reproduces(l, tol));
    estimable = std::move(found);
    return estimable.Count();
}

int MCRectMatrix::EstimateLinearGI(const std::vector<double>& b, std::vector<double>& x, double tol) const
{
    std::vector<double> right;
    if (!ComputeVR(b, right)) return -1;
    const NormalEquations equations(*this, tol);
    if (!equations) return -1;
    equations.Solve(right, x);
    return equations.Rank();
}

bool MCRectMatrix::ResidOfOrthProjection(const std::vector<double>& v, std::vector<double>& resid, double tol) const
{
    if (v.size() < ColLength()) return false;
    const NormalEquations equations(*this, tol);
    if (!equations) return false;
    std::vector<double> rest(v.begin(), v.begin() + fnRows);
    std::vector<double> coefficients;
    std::vector<double> projection;
    for (int pass = 0; pass < 2; ++pass) {
        ComputeVR(rest, coefficients);
        equations.Solve(coefficients, coefficients);
        ComputeRV(coefficients, projection);
        for (std::size_t i = 0; i < rest.size(); ++i) rest[i] -= projection[i];
    }
    resid.swap(rest);
    return true;
}

} // namespace MCMath_930
