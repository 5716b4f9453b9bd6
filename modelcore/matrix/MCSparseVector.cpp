#include "modelcore/matrix/MCSparseVector.h"

#include "modelcore/common/MCDisplay.h"
#include "modelcore/common/MCMV.h"
#include "modelcore/common/internal/Index.h"
#include "modelcore/distributions/internal/PortableMath.h"
#include "modelcore/matrix/MCSymMatrix.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>

namespace MCMath_930 {

using internal::AsSize;
using internal::PortableExp;
using internal::PortableLog;
using MCCommon_930::MCMV;

namespace {

/// S += w*v*v' for the vector of the given elements, each index counted from offset on.
void AddOuterProduct(MCSymMatrix& S, int offset, const int* indices, const double* values, int count, double w)
{
    for (int i = 0; i < count; ++i) {
        double* const row = S.GetRowPtr(offset + indices[i]) + offset;
        const double weighted = w * values[i];
        for (int j = 0; j <= i; ++j) row[indices[j]] += weighted * values[j];
    }
}

} // namespace

MCSparseVector::MCSparseVector(const std::vector<int>& indices, const std::vector<double>& values)
    : fnElements(static_cast<int>(indices.size())), fpIndices(&indices), fpValues(&values)
{}

bool MCSparseVector::IsValid() const
{
    const std::vector<int>& indices = *fpIndices;
    return fnElements > 0 && indices.size() == static_cast<std::size_t>(fnElements) &&
           fpValues->size() == indices.size() && indices.front() >= 0 &&
           std::adjacent_find(indices.begin(), indices.end(), std::greater_equal<>()) == indices.end();
}

// The vectors are the caller's: either may have become shorter since.
int MCSparseVector::GetIndex(int i) const
{
    return i >= 0 && i < fnElements && AsSize(i) < fpIndices->size() ? (*fpIndices)[AsSize(i)] : -1;
}

double MCSparseVector::GetValue(int i) const
{
    return i >= 0 && i < fnElements && AsSize(i) < fpValues->size() ? (*fpValues)[AsSize(i)] : MCMV::Missing();
}

int MCSparseVector::GetMinVecSize() const
{
    if (fpIndices->empty()) return 0;
    return fpIndices->back() + (fpIndices->back() < std::numeric_limits<int>::max() ? 1 : 0);
}

bool MCSparseVector::FitsInto(std::size_t size, int first) const
{
    return IsValid() && first >= 0 && AsSize(first) + AsSize(fpIndices->back()) < size;
}

bool MCSparseVector::FitsInto(int size, int first) const
{
    return size >= 0 && FitsInto(AsSize(size), first);
}

bool MCSparseVector::ConvertToRegularVector(std::vector<double>& out) const
{
    if (!IsValid()) return false;
    std::vector<double> dense(AsSize(fpIndices->back()) + 1);
    IncrementPart(dense, 0, 1.0);
    out.swap(dense);
    return true;
}

double MCSparseVector::InnerProduct(const int* ia, const double* va, int na, const int* ib, const double* vb, int nb)
{
    double sum = 0.0;
    for (int a = 0, b = 0; a < na && b < nb;) {
        if (ia[a] == ib[b])
            sum += va[a++] * vb[b++];
        else if (ia[a] < ib[b])
            ++a;
        else
            ++b;
    }
    return sum;
}

/// The inner product with the dense vector at v, which has all elements that are stored here.
double MCSparseVector::Dot(const double* v) const
{
    const int* const indices = fpIndices->data();
    const double* const values = fpValues->data();
    double sum = 0.0;
    for (int k = 0; k < fnElements; ++k) sum += values[k] * v[indices[k]];
    return sum;
}

double MCSparseVector::InnerProductWithPart(const std::vector<double>& v, int first) const
{
    if (!FitsInto(v.size(), first)) return MCMV::Missing();
    return Dot(v.data() + first);
}

bool MCSparseVector::IncrementPart(std::vector<double>& v, int first, double a) const
{
    if (!FitsInto(v.size(), first)) return false;
    double* const part = v.data() + first;
    const int* const indices = fpIndices->data();
    const double* const values = fpValues->data();
    for (int k = 0; k < fnElements; ++k) part[indices[k]] += a * values[k];
    return true;
}

bool MCSparseVector::QuadraticOuterProduct(MCSymMatrix& S) const
{
    return IsValid() && S.SetNRows(GetMinVecSize()) && QuadraticOuterProductIncr(S, 1.0);
}

bool MCSparseVector::QuadraticOuterProductIncr(MCSymMatrix& S, double w) const
{
    return QuadraticOuterProductPartIncr(S, 0, w);
}

bool MCSparseVector::QuadraticOuterProductPartIncr(MCSymMatrix& S, int first, double w) const
{
    if (!FitsInto(S.GetNRows(), first)) return false;
    AddOuterProduct(S, first, fpIndices->data(), fpValues->data(), fnElements, w);
    return true;
}

bool MCSparseVector::QuadraticOuterProductPartIncr(MCSymMatrix& S, int first, int count, double w) const
{
    if (!IsValid() || first < 0 || count < 0 || count > fnElements - first) return false;
    if (count > 0 && GetIndex(first + count - 1) >= S.GetNRows()) return false;
    AddOuterProduct(S, 0, fpIndices->data() + first, fpValues->data() + first, count, w);
    return true;
}

bool MCSparseVector::IncrementRowPart(MCSymMatrix& S, int row, int first, double a) const
{
    if (row < 0 || row >= S.GetNRows() || !FitsInto(S.GetNRows(), first)) return false;
    for (int k = 0; k < fnElements; ++k) {
        const int column = first + GetIndex(k);
        S.SetElem(row, column, S.GetElem(row, column) + a * GetValue(k));
    }
    return true;
}

bool MCSparseVector::ComputeProbabilities(const std::vector<double>& params, int nCategories, int nPerCategory,
                                          std::vector<double>& probs, double& logSum) const
{
    if (nCategories < 1 || !FitsInto(nPerCategory, 0) || params.size() / AsSize(nPerCategory) < AsSize(nCategories - 1))
        return false;
    std::vector<double> result(AsSize(nCategories));
    for (std::size_t k = 0; k + 1 < result.size(); ++k) result[k] = Dot(params.data() + k * AsSize(nPerCategory));
    const double largest = *std::max_element(result.begin(), result.end());
    double sum = 0.0;
    for (double& value : result) sum += value = PortableExp(value - largest);
    for (double& value : result) value /= sum;
    probs.swap(result);
    logSum = largest + PortableLog(sum);
    return true;
}

void MCSparseVector::Display() const
{
    MCDisplay_930::DisplayStart("MCSparseVector");
    MCDisplay_930::Display("Number of elements", fnElements);
    MCDisplay_930::Display("Indices", *fpIndices);
    MCDisplay_930::Display("Values", *fpValues);
    MCDisplay_930::DisplayEnd("MCSparseVector");
}

} // namespace MCMath_930
