#include "modelcore/matrix/MCSparseVector.h"

#include "modelcore/common/MCDisplay.h"
#include "modelcore/common/MCMV.h"
#include "modelcore/matrix/MCSymMatrix.h"

#include <algorithm>
#include <cmath>
#include <functional>

namespace MCMath_930 {

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

int MCSparseVector::GetIndex(int i) const
{
    return i >= 0 && i < fnElements ? (*fpIndices)[static_cast<std::size_t>(i)] : -1;
}

double MCSparseVector::GetValue(int i) const
{
    return i >= 0 && i < fnElements ? (*fpValues)[static_cast<std::size_t>(i)] : MCMV::Missing();
}

int MCSparseVector::GetMinVecSize() const
{
    return IsValid() ? fpIndices->back() + 1 : 0;
}

bool MCSparseVector::FitsInto(std::size_t size, int first) const
{
    return IsValid() && first >= 0 &&
           static_cast<std::size_t>(first) + static_cast<std::size_t>(fpIndices->back()) < size;
}

bool MCSparseVector::ConvertToRegularVector(std::vector<double>& out) const
{
    if (!IsValid()) return false;
    std::vector<double> dense(static_cast<std::size_t>(fpIndices->back()) + 1);
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

double MCSparseVector::InnerProductWithPart(const std::vector<double>& v, int first) const
{
    if (!FitsInto(v.size(), first)) return MCMV::Missing();
    double sum = 0.0;
    for (int k = 0; k < fnElements; ++k) sum += GetValue(k) * v[static_cast<std::size_t>(first + GetIndex(k))];
    return sum;
}

bool MCSparseVector::IncrementPart(std::vector<double>& v, int first, double a) const
{
    if (!FitsInto(v.size(), first)) return false;
    for (int k = 0; k < fnElements; ++k) v[static_cast<std::size_t>(first + GetIndex(k))] += a * GetValue(k);
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
    if (!FitsInto(static_cast<std::size_t>(S.GetNRows()), first)) return false;
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
    if (row < 0 || row >= S.GetNRows() || !FitsInto(static_cast<std::size_t>(S.GetNRows()), first)) return false;
    for (int k = 0; k < fnElements; ++k) {
        const int column = first + GetIndex(k);
        S.SetElem(row, column, S.GetElem(row, column) + a * GetValue(k));
    }
    return true;
}

bool MCSparseVector::ComputeProbabilities(const std::vector<double>& params, int nCategories, int nPerCategory,
                                          std::vector<double>& probs, double& logSum) const
{
    if (nCategories < 1 || nPerCategory < GetMinVecSize() || !IsValid() ||
        params.size() / static_cast<std::size_t>(nPerCategory) < static_cast<std::size_t>(nCategories - 1))
        return false;
    std::vector<double> result(static_cast<std::size_t>(nCategories));
    for (int k = 0; k + 1 < nCategories; ++k)
        result[static_cast<std::size_t>(k)] = InnerProductWithPart(params, k * nPerCategory);
    const double largest = *std::max_element(result.begin(), result.end());
    double sum = 0.0;
    for (double& value : result) sum += value = std::exp(value - largest);
    for (double& value : result) value /= sum;
    probs.swap(result);
    logSum = largest + std::log(sum);
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
