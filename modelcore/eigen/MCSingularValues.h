// Singular values and singular vectors of rectangular matrices.
#pragma once

#include "modelcore/matrix/MCRectMatrix.h"
#include "modelcore/modelcore_export.h"

#include <vector>

namespace MCMath_930 {

/// The singular values of a matrix A of m x n elements, and on request its singular vectors: A = U*S*V' with U'*U = I,
/// V'*V = I and the values s(0) >= s(1) >= ... >= 0 on the diagonal of S, r = min(m, n) of them.
///
/// A is reduced to bidiagonal form by Householder reflections in blocks (Golub and Kahan, J. SIAM Numer. Anal. 2, 1965;
/// Dongarra, Hammarling and Sorensen, J. Comput. Appl. Math. 27, 1989), one with more than one and a half times as many
/// rows as columns, or the reverse, to a triangle before (Chan, ACM Trans. Math. Softw. 8, 1982). The bidiagonal matrix is
/// decomposed by divide and conquer (Gu and Eisenstat, SIAM J. Matrix Anal. Appl. 16, 1995), down to single elements, with
/// a bracketed search for the roots of the secular equation, which always ends: there is no iteration limit.
///
/// A value has an error of a small multiple of eps times the largest one, so that values far below it have fewer digits;
/// residual |A - U*S*V'| and loss of orthogonality stay below 10 max(m, n) eps, the residual relative to the largest
/// value, in all tests. Every result has the same bits on every processor, and values have the same alone and with
/// vectors. For small matrices, and for the published loops, there is Linpack::Dsvdc.
///
/// Before the work A is multiplied by a power of two that brings its largest element near 1, and the values are divided by
/// it at the end: any finite A is decomposed; a value beyond the range becomes an infinity, one below is rounded as any
/// double there. Elements below 2^-400 of the largest one may count as zero.
///
/// The object owns a copy of A and keeps no results: each Compute computes. What memory an operation needs it takes before
/// it changes anything, so that object and arguments are as they were when there is none: beside a copy of A four matrices
/// of r x r for values, seven and two of m x n for vectors.
class MODELCORE_EXPORT MCSingularValues {
public:
    /// How many vectors are wanted.
    enum Vectors : int {
        VectorsThin, ///< the r that belong to values: U is m x r, V is n x r
        VectorsFull  ///< with those that complete them to orthonormal bases: U is m x m, V is n x n
    };

    /// An empty problem, of 0 x 0.
    MCSingularValues() = default;

    /// The problem for A; an empty one when A is refused, which IsValidMatrix tells.
    explicit MCSingularValues(const MCRectMatrix& A);

    /// Copies A in place of the matrix before.
    /// @return  false, and nothing changed, when an element is a NaN or an infinity
    bool SetMatrix(const MCRectMatrix& A);

    /// Whether there is a matrix with at least one element.
    bool IsValidMatrix() const { return fmA.GetNRows() > 0 && fmA.GetNCols() > 0; }

    /// The singular values in descending order.
    /// @param values  set to r = min(m, n) values
    /// @return  r; 0, and nothing changed, for a problem without elements
    int Compute(std::vector<double>& values) const;

    /// The singular values in descending order, and the vectors.
    /// @param U, V  set to the matrices whose columns j are the left and the right singular vector of values[j]; vectors
    ///              of a value are determined up to a common sign. Must be two objects
    /// @return  as Compute(values); 0, and nothing changed, also when U and V are the same object
    int Compute(std::vector<double>& values, MCRectMatrix& U, MCRectMatrix& V, Vectors wanted = VectorsThin) const;

    /// Writes the problem to the diagnostic text stream.
    void Display() const;

private:
    int Decompose(std::vector<double>& values, MCRectMatrix* U, MCRectMatrix* V, Vectors wanted) const;

    MCRectMatrix fmA;
};

} // namespace MCMath_930
