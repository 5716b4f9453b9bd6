// MCEigenValues: the problem, its results, sorting, positive definiteness and display.
#include "modelcore/eigen/MCEigenValues.h"

#include "modelcore/common/MCDisplay.h"
#include "modelcore/kernels/Kernels.h"

#include <algorithm>
#include <string_view>

namespace MCMath_930 {

namespace {

constexpr double kDefaultTolerance = 1e-12;
constexpr int kDefaultMaxIter = 30;
constexpr double kPivotTolerance = 1e-12; // of the Cholesky factor of E
constexpr double kDefaultSmallest = 1e-6; // eigenvalue of a positive definite matrix

double SmallestAllowed(double eps)
{
    return eps > 0.0 ? eps : kDefaultSmallest;
}

void DisplayMatrix(std::string_view label, const MCSymMatrix& matrix)
{
    MCDisplay_930::DisplayLine(label);
    MCDisplay_930::DisplaySymMatrix(matrix.GetPtr(), matrix.GetNRows());
}

} // namespace

MCEigenValues::MCEigenValues(double tolerance, int maxIter)
    : fTolerance(tolerance > 0.0 ? tolerance : kDefaultTolerance), fnMaxIter(maxIter > 0 ? maxIter : kDefaultMaxIter)
{}

MCEigenValues::MCEigenValues(const MCSymMatrix& H, double tolerance, int maxIter) : MCEigenValues(tolerance, maxIter)
{
    SetHMatrix(H);
}

MCEigenValues::MCEigenValues(const MCSymMatrix& H, const MCSymMatrix& E, double tolerance, int maxIter)
    : MCEigenValues(H, tolerance, maxIter)
{
    SetEMatrix(E);
}

bool MCEigenValues::SetTolerance(double t)
{
    if (!(t > 0.0)) return false;
    fTolerance = t;
    return true;
}

bool MCEigenValues::SetMaxIter(int m)
{
    if (m < 1) return false;
    fnMaxIter = m;
    return true;
}

bool MCEigenValues::SetMethod(Method method)
{
    if (method != MethodQL && method != MethodDivideAndConquer) return false;
    fMethod = method;
    return true;
}

void MCEigenValues::SetHMatrix(const MCSymMatrix& H)
{
    MCSymMatrix matrix(H);
    fmH = std::move(matrix);
    fnRows = fmH.GetNRows();
    DropEMatrix();
    DropResults();
}

bool MCEigenValues::SetEMatrix(const MCSymMatrix& E)
{
    if (E.GetNRows() != fnRows) return false;
    MCSymMatrix matrix(E);
    MCSymMatrix factor(E);
    std::vector<double> diagonal;
    factor.GetDiagonal(diagonal);
    const int refused = factor.LTChol(diagonal, kPivotTolerance, true);
    if (refused < 0 || refused == fnRows) return false;
    MCSymMatrix inverse(factor);
    inverse.LTDetInverse(nullptr, 10);
    MCSymMatrix reduced;
    if (!fmH.ComputeLSLTrans(inverse, reduced)) return false;

    fmE = std::move(matrix);
    fvEDiag = std::move(diagonal);
    fmCholE = std::move(factor);
    fmInvCholE = std::move(inverse);
    fmVHV = std::move(reduced);
    fnRankE = fnRows - refused;
    DropResults();
    return true;
}

void MCEigenValues::DropEMatrix()
{
    fmE = fmCholE = fmInvCholE = fmVHV = MCSymMatrix();
    fvEDiag.clear();
    fnRankE = 0;
}

void MCEigenValues::DropResults() noexcept
{
    fmOrthInfo = MCSymMatrix();
    fvDiag3.clear();
    fvSubdiag3.clear();
    fnComputed = 0;
    fvEigenVal.clear();
    fmEigenVectors = MCRectMatrix();
    fvEigPairs.clear();
}

/// Fills the results; fvEigenVal stays empty when no eigenvalue was found.
void MCEigenValues::ComputeResults()
{
    TriDiag();
    if (fMethod == MethodDivideAndConquer && DivideAndConquer()) {
        fnComputed = int{fnRows};
    } else {
        const int result = EigenValuesTQLI();
        fnComputed = result == 0 ? int{fnRows} : result - 1;
        if (fComputeVectors && fnComputed > 0) BackTransVectors();
    }
    UnscaleValues();
    if (fnComputed < 1) return;
    std::vector<double> found(fvDiag3.begin(), fvDiag3.begin() + fnComputed);
    found.resize(fvDiag3.size());
    fvEigenVal = std::move(found);
}

/// @param values, vectors  receive copies of what was found, unless null; vectors are found only when asked for
int MCEigenValues::Decompose(bool withVectors, std::vector<double>* values, MCRectMatrix* vectors)
{
    const bool before = fComputeVectors;
    DropResults();
    fComputeVectors = withVectors;
    try {
        ComputeResults();
        if (fnComputed < 1) return fnComputed;
        std::vector<double> found(fvEigenVal);
        if (vectors != nullptr) *vectors = MCRectMatrix(fmEigenVectors);
        if (values != nullptr) *values = std::move(found);
    } catch (...) {
        DropResults(); // no memory: half a decomposition would be taken for a whole one
        fComputeVectors = before;
        throw;
    }
    return fnComputed;
}

int MCEigenValues::Compute(std::vector<double>& values)
{
    return Decompose(false, &values, nullptr);
}

int MCEigenValues::Compute(std::vector<double>& values, MCRectMatrix& vectors)
{
    return Decompose(true, &values, &vectors);
}

int MCEigenValues::GetSorted(std::vector<double>& values, bool descending)
{
    if (fvEigenVal.empty() && Decompose(false, nullptr, nullptr) < 1) return fnComputed;
    std::vector<double> sorted(fvEigenVal);
    // For equal values > and >= sort alike, but only the first is an order that std::sort can be given.
    if (descending)
        std::sort(sorted.begin(), sorted.begin() + fnComputed, [](double a, double b) { return a > b; });
    else
        std::sort(sorted.begin(), sorted.begin() + fnComputed);
    values = std::move(sorted);
    return fnComputed;
}

int MCEigenValues::GetSorted(std::vector<double>& values, MCRectMatrix& vectors, bool descending)
{
    if (fvEigenVal.empty() || fmEigenVectors.GetNRows() != fnRows)
        if (Decompose(true, nullptr, nullptr) < 1) return fnComputed;

    std::vector<std::pair<double, int>> pairs(fvEigenVal.size());
    for (int j = 0; j < fnRows; ++j) pairs[static_cast<std::size_t>(j)] = {fvEigenVal[static_cast<std::size_t>(j)], j};
    std::sort(pairs.begin(), pairs.begin() + fnComputed, [descending](const auto& a, const auto& b) {
        return descending ? a.first > b.first : a.first < b.first;
    });

    std::vector<double> sortedValues(pairs.size());
    MCRectMatrix sorted(fnRows, fnRows);
    for (std::size_t j = 0; j < pairs.size(); ++j) sortedValues[j] = pairs[j].first;
    for (int i = 0; i < fnRows; ++i) {
        const double* const from = fmEigenVectors.GetRowPtr(i);
        double* to = sorted.GetRowPtr(i);
        for (const auto& pair : pairs) *to++ = from[pair.second];
    }
    fvEigPairs = std::move(pairs);
    values = std::move(sortedValues);
    vectors = std::move(sorted);
    return fnComputed;
}

bool MCEigenValues::IsPDHMatrix(double eps, bool& isPD) const
{
    std::vector<double> values;
    MCEigenValues ordinary(fmH, fTolerance, fnMaxIter);
    if (fnRows < 1 || ordinary.Compute(values) < fnRows) return false;
    isPD = *std::min_element(values.begin(), values.end()) >= SmallestAllowed(eps);
    return true;
}

bool MCEigenValues::GetPDHMatrix(double eps, MCSymMatrix& out, bool& changed) const
{
    const double smallest = SmallestAllowed(eps);
    std::vector<double> values;
    MCRectMatrix vectors;
    MCEigenValues ordinary(fmH, fTolerance, fnMaxIter);
    ordinary.fMethod = fMethod;
    if (fnRows < 1 || ordinary.Compute(values, vectors) < fnRows) return false;
    const bool below = *std::min_element(values.begin(), values.end()) < smallest;
    if (!below) {
        out = fmH;
        changed = false;
        return true;
    }

    vectors.Transpose(); // an eigenvector to a row
    MCRectMatrix scaled(vectors);
    for (int k = 0; k < fnRows; ++k)
        internal::Scale(scaled.GetRowPtr(k), std::max(values[static_cast<std::size_t>(k)], smallest),
                        static_cast<std::size_t>(fnRows));
    MCSymMatrix repaired(fnRows);
    internal::AddOuterProducts(repaired.GetPtr(), static_cast<std::size_t>(fnRows), scaled.GetPtr(), vectors.GetPtr(),
                               static_cast<std::size_t>(fnRows));
    out = std::move(repaired);
    changed = true;
    return true;
}

bool MCEigenValues::GetPDHMatrix(double eps, MCSymMatrix& out) const
{
    bool changed = false;
    return GetPDHMatrix(eps, out, changed);
}

void MCEigenValues::Display() const
{
    using MCDisplay_930::Display;
    MCDisplay_930::DisplayStart("MCEigenValues");
    Display("Number of rows", fnRows);
    Display("Tolerance", fTolerance);
    Display("Maximum number of iterations", fnMaxIter);
    if (fMethod == MethodDivideAndConquer) MCDisplay_930::DisplayLine("Method: divide and conquer");
    Display("Compute eigenvectors indicator", fComputeVectors);
    DisplayMatrix("Matrix H:", fmH);
    if (IsValidEMatrix()) {
        DisplayMatrix("Matrix E:", fmE);
        Display("fvEDiag", fvEDiag);
        DisplayMatrix("Chol(E):", fmCholE);
        DisplayMatrix("Gen.Inverse of Chol(E):", fmInvCholE);
        DisplayMatrix("fmVHV:", fmVHV);
        Display("Rank of the E matrix", fnRankE);
    } else {
        MCDisplay_930::DisplayLine("Matrix E is identity");
    }
    DisplayMatrix("fmOrthInfo:", fmOrthInfo);
    Display("fvDiag3", fvDiag3);
    Display("fvSubdiag3", fvSubdiag3);
    Display("Number of computed eigenvalues", fnComputed);
    Display("fvEigenVal", fvEigenVal);
    MCDisplay_930::DisplayLine("fmEigenVectors:");
    MCDisplay_930::DisplayRectMatrix(fmEigenVectors.GetPtr(), fmEigenVectors.GetNRows(), fmEigenVectors.GetNCols());
    std::vector<double> pairs; // eigenvalue, column, eigenvalue, column ...
    for (const auto& [value, column] : fvEigPairs) {
        pairs.push_back(value);
        pairs.push_back(column);
    }
    Display("fvEigPairs", pairs);
    MCDisplay_930::DisplayEnd("MCEigenValues");
}

} // namespace MCMath_930
