// Divide and conquer for symmetric tridiagonal and for bidiagonal matrices.
//
// The matrix is torn into two halves and what joins them; the halves are decomposed in the same way, down to single
// elements; and the decomposition of the whole is that of a diagonal matrix plus one of rank one, or of a diagonal
// matrix with one full row (Cuppen, Numer. Math. 36, 1981). A component of that row which is negligible, and one of two
// whose diagonal elements are nearly equal, is deflated: its vector stays. The others come from the secular equation;
// their vectors are formed for the row that has exactly the roots that were found, so that they are orthogonal without
// arithmetic of higher precision (Gu and Eisenstat, SIAM J. Matrix Anal. Appl. 15, 1994, and 16, 1995).
//
// Values and vectors have the accuracy of a backward stable method: errors of a small multiple of n*eps times the
// largest value. Vectors are rows here, since their products are formed line by line.
#pragma once

namespace MCMath_930::internal {

/// The eigenvalues, ascending, and eigenvectors of the symmetric tridiagonal matrix of order n > 0 with diagonal d and
/// the n - 1 elements e beside it, all of them finite, the largest magnitude in [1, 2).
/// @param d        the diagonal; receives the eigenvalues
/// @param vectors  n x n zeros, of which row j receives the eigenvector of d[j]; or null, which gives the same values
/// Throws std::bad_alloc before anything is changed.
void DecomposeTridiagonal(int n, double* d, const double* e, double* vectors);

/// The singular values, ascending, and vectors of the upper bidiagonal matrix of order n > 0 with diagonal d and the
/// n - 1 elements e above it, with the same conditions.
/// @param left, right  n x n zeros, of which row j receives the left and the right vector of d[j]; or both null
void DecomposeBidiagonal(int n, double* d, const double* e, double* left, double* right);

} // namespace MCMath_930::internal
