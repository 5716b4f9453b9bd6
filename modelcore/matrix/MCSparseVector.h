// A view of the stored elements of one sparse row or vector.
#pragma once

#include "modelcore/modelcore_export.h"

#include <vector>

namespace MCMath_930 {

class MCSymMatrix;

/// A sparse vector: the indices of its stored elements, ascending, and their values. It refers to the two vectors it is
/// built from and owns nothing: they must outlive it and keep their length.
///
/// Operations on a vector that is not valid are refused. "Part" operations place the sparse vector in a longer one:
/// stored element k belongs to position first + GetIndex(k) of the target.
class MODELCORE_EXPORT MCSparseVector {
public:
    /// The vector with these indices and values, which is valid when IsValid says so.
    MCSparseVector(const std::vector<int>& indices, const std::vector<double>& values);

    /// Temporary vectors would be gone before the first use.
    MCSparseVector(const std::vector<int>&&, const std::vector<double>&) = delete;
    MCSparseVector(const std::vector<int>&, const std::vector<double>&&) = delete;
    MCSparseVector(const std::vector<int>&&, const std::vector<double>&&) = delete;

    /// Whether there is at least one element, as many values as indices, and the indices are >= 0 and strictly
    /// ascending.
    bool IsValid() const;

    /// The number of stored elements, as it was at construction.
    int GetNElements() const { return fnElements; }

    const std::vector<int>& GetIndices() const { return *fpIndices; }  ///< the caller's vector of indices
    const std::vector<double>& GetValues() const { return *fpValues; } ///< the caller's vector of values

    /// The index of stored element i; -1 for i outside [0, GetNElements()) and where the indices have become fewer.
    int GetIndex(int i) const;

    /// The value of stored element i; system-missing for i outside [0, GetNElements()) and where there is no such value.
    double GetValue(int i) const;

    /// The smallest length of a dense vector that has all stored elements: the last index + 1, valid or not; 0 without
    /// indices. After an index INT_MAX, which no vector of an int length has, it is INT_MAX.
    int GetMinVecSize() const;

    /// Writes the dense vector, GetMinVecSize() values. False, and out as it was, when this is not valid.
    bool ConvertToRegularVector(std::vector<double>& out) const;

    /// The inner product of two sparse vectors given by ascending indices and values, in the order of the indices that
    /// they share; 0 when either has no elements.
    static double InnerProduct(const int* ia, const double* va, int na, const int* ib, const double* vb, int nb);

    /// The inner product with the part of v from first on. Missing when the part does not lie inside v.
    double InnerProductWithPart(const std::vector<double>& v, int first) const;

    /// v += a*this, on the part of v from first on. False, and v as it was, when the part does not lie inside v.
    bool IncrementPart(std::vector<double>& v, int first, double a) const;

    /// S := v*v', of order GetMinVecSize().
    bool QuadraticOuterProduct(MCSymMatrix& S) const;

    /// S += w*v*v', touching only the stored pairs: each element (i, j) receives (w*v_i)*v_j. False, and S as it was,
    /// when S is too small.
    bool QuadraticOuterProductIncr(MCSymMatrix& S, double w) const;

    /// The same on the rows and columns of S from first on.
    bool QuadraticOuterProductPartIncr(MCSymMatrix& S, int first, double w) const;

    /// The same for count of the stored elements alone, from stored element first on. False, and S as it was, when
    /// there are no such elements or S is too small for them.
    bool QuadraticOuterProductPartIncr(MCSymMatrix& S, int first, int count, double w) const;

    /// Row (and column) number row of S += a*v', on its part from column first on. False, and S as it was, when row or
    /// part does not lie inside S.
    bool IncrementRowPart(MCSymMatrix& S, int row, int first, double a) const;

    /// The probabilities of a multinomial logit model for a case whose predictors are this vector. params holds, one
    /// after the other, nPerCategory parameters for each category but the last, which is the reference.
    ///
    /// @param probs   set to the nCategories probabilities exp(e_k)/(sum of exp(e_m)), with e the inner products and 0
    ///                for the last category; computed with the largest e subtracted, so that none overflows
    /// @param logSum  set to the logarithm of the sum of exp(e_m)
    /// @return  false, and nothing changed, when this is not valid or reaches beyond nPerCategory, nCategories < 1, or
    ///          params is too short
    bool ComputeProbabilities(const std::vector<double>& params, int nCategories, int nPerCategory,
                              std::vector<double>& probs, double& logSum) const;

    /// Writes the number of elements, the indices and the values to the diagnostic text stream.
    void Display() const;

private:
    bool FitsInto(std::size_t size, int first) const;
    bool FitsInto(int size, int first) const;
    double Dot(const double* v) const;

    int fnElements;
    const std::vector<int>* fpIndices;
    const std::vector<double>* fpValues;
};

} // namespace MCMath_930
