// MCRandomValues: vectors and matrices.
#include "modelcore/random/MCRandomValues.h"

#include "modelcore/common/MCDisplay.h"
#include "modelcore/common/MCMV.h"
#include "modelcore/random/MCURandom.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <span>
#include <utility>

namespace MCMath_930 {

using MCCommon_930::MCMV;

namespace {

bool AllFinite(std::span<const double> values)
{
    return std::all_of(values.begin(), values.end(), [](double x) { return std::isfinite(x); });
}

/// Whether what L*L' leaves of a matrix that has redundant rows is small enough to be called 0. In a positive
/// semidefinite matrix the rest of two rows is at most the root of the product of their pivots.
bool NothingIsLeft(const MCSymMatrix& matrix, const MCSymMatrix& factor, double tol)
{
    MCSymMatrix product(factor);
    product.LTLLTrans();
    const int n = matrix.GetNRows();
    const double smallest = std::max(tol, n * std::numeric_limits<double>::epsilon());
    for (int i = 0; i < n; ++i)
        for (int j = 0; j <= i; ++j) {
            const double left = std::fabs(matrix.GetElem(i, j) - product.GetElem(i, j));
            const double size = std::sqrt(matrix.GetElem(i, i)) * std::sqrt(matrix.GetElem(j, j));
            if (!(left <= (i == j ? smallest : std::sqrt(smallest)) * size)) return false;
        }
    return true;
}

} // namespace

bool MCRandomValues::FactorOf(const MCSymMatrix& covariance, MCSymMatrix& factor) const
{
    if (!AllFinite(covariance.AsSpan())) return false;
    std::vector<double> diagonal;
    covariance.GetDiagonal(diagonal);
    factor = covariance;
    const int redundant = factor.LTChol(diagonal, fTolerance, true);
    return redundant == 0 || (redundant > 0 && NothingIsLeft(covariance, factor, fTolerance));
}

bool MCRandomValues::SetParamUniform(const std::vector<double>& a, const std::vector<double>& b)
{
    const auto isInterval = [](double lower, double upper) { return lower <= upper && std::isfinite(upper - lower); };
    if (a.empty() || !std::equal(a.begin(), a.end(), b.begin(), b.end(), isInterval)) return false;
    std::vector<double> lower(a), upper(b);
    fvFirst.swap(lower);
    fvSecond.swap(upper);
    fnOrder = static_cast<int>(fvFirst.size());
    return Choose(kMultivariateUniform, 0.0, 0.0);
}

bool MCRandomValues::SetParamUniform(int n)
{
    if (n < 1) return false;
    const auto count = static_cast<std::size_t>(n);
    return SetParamUniform(std::vector<double>(count, 0.0), std::vector<double>(count, 1.0));
}

bool MCRandomValues::SetParamNormal(const std::vector<double>& mean, double sd, const MCSymMatrix& covariance)
{
    if (mean.empty() || mean.size() != static_cast<std::size_t>(covariance.GetNRows())) return false;
    if (!(sd >= 0.0) || !std::isfinite(sd) || !AllFinite(mean)) return false;
    MCSymMatrix factor;
    if (!FactorOf(covariance, factor)) return false;
    std::vector<double> copy(mean);
    fvFirst.swap(copy);
    fFactor = std::move(factor);
    fnOrder = static_cast<int>(fvFirst.size());
    return Choose(kMultivariateNormal, 0.0, sd);
}

bool MCRandomValues::SetParamNormal(int n)
{
    if (n < 1) return false;
    std::vector<double> mean(static_cast<std::size_t>(n), 0.0);
    fvFirst.swap(mean);
    fFactor = MCSymMatrix();
    fnOrder = n;
    return Choose(kMultivariateNormal, 0.0, 1.0);
}

bool MCRandomValues::SetParamWishart(int n, double df, const MCSymMatrix& scale)
{
    if (n < 1 || n != scale.GetNRows() || !(df > n - 1.0) || !std::isfinite(df)) return false;
    MCSymMatrix factor;
    if (!FactorOf(scale, factor)) return false;
    fFactor = std::move(factor);
    fnOrder = n;
    return Choose(kWishart, df, 0.0);
}

bool MCRandomValues::SetParamWishart(int n, double df)
{
    if (n < 1 || n > MCSymMatrix::kMaxRows || !(df > n - 1.0) || !std::isfinite(df)) return false;
    fFactor = MCSymMatrix();
    fnOrder = n;
    return Choose(kWishart, df, 0.0);
}

bool MCRandomValues::GetRandom(std::vector<double>& x)
{
    if (!fParametersSet || (fKind != kMultivariateUniform && fKind != kMultivariateNormal)) return false;
    std::vector<double> drawn(static_cast<std::size_t>(fnOrder));
    for (std::size_t i = 0; i < drawn.size(); ++i) {
        drawn[i] = fKind == kMultivariateUniform ? RVUni(fvFirst[i], fvSecond[i]) : RVSNor();
        if (MCMV::IsMissing(drawn[i])) return false;
    }
    if (fKind == kMultivariateNormal) {
        // From the last row up: a row needs the normals before it and nothing after it.
        for (int i = fnOrder - 1; i >= 0; --i) {
            const auto row = static_cast<std::size_t>(i);
            double deviation = drawn[row];
            if (const double* const factor = fFactor.GetRowPtr(i)) {
                deviation = 0.0;
                for (std::size_t j = 0; j <= row; ++j) deviation += factor[j] * drawn[j];
            }
            drawn[row] = fvFirst[row] + fSecond * deviation;
        }
    }
    x.swap(drawn);
    return true;
}

bool MCRandomValues::GetRandom(MCSymMatrix& x)
{
    if (!fParametersSet || fKind != kWishart) return false;
    MCSymMatrix drawn(fnOrder); // Bartlett's triangle A, then L*A, then the product
    for (int i = 0; i < fnOrder; ++i)
        for (int j = 0; j <= i; ++j) {
            const double z = j < i ? RVSNor() : RVChi(fFirst - i);
            if (MCMV::IsMissing(z)) return false;
            drawn.SetElem(i, j, j < i ? z : std::sqrt(z));
        }
    if (fFactor.GetNRows() > 0)
        // From the last row up: row i of the product needs rows 0 to i of A.
        for (int i = fnOrder - 1; i >= 0; --i)
            for (int j = 0; j <= i; ++j) {
                double sum = 0.0;
                for (int k = j; k <= i; ++k) sum += fFactor.GetElem(i, k) * drawn.GetElem(k, j);
                drawn.SetElem(i, j, sum);
            }
    drawn.LTLLTrans();
    x = std::move(drawn);
    return true;
}

void MCRandomValues::DisplayMultivariate() const
{
    MCDisplay_930::Display("Order", fnOrder);
    if (fKind == kMultivariateUniform) {
        MCDisplay_930::Display("Lower bounds", fvFirst);
        MCDisplay_930::Display("Upper bounds", fvSecond);
        return;
    }
    if (fKind == kMultivariateNormal) {
        MCDisplay_930::Display("Means", fvFirst);
        MCDisplay_930::Display("Standard deviation", fSecond);
    } else {
        MCDisplay_930::Display("Degrees of freedom", fFirst);
    }
    MCDisplay_930::Display("Identity matrix indicator", fFactor.GetNRows() == 0);
    if (fFactor.GetNRows() > 0) {
        MCDisplay_930::DisplayLine("Cholesky factor");
        MCDisplay_930::DisplaySymMatrix(fFactor.GetPtr(), fnOrder);
    }
}

} // namespace MCMath_930
