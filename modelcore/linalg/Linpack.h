// The double precision routines of LINPACK.
#pragma once

#include "modelcore/modelcore_export.h"

namespace MCMath_930 {

/// The LINPACK routines for linear equations, determinants, inverses, condition numbers, Cholesky, QR and singular
/// value decompositions (Dongarra, Moler, Bunch, Stewart 1979, LINPACK Users' Guide, SIAM).
///
/// **Same bits as published.** For finite input every number that a routine returns is the one that the published loops
/// give when each product is rounded before it is added and each sum is added in index order: on every processor, for
/// every leading dimension and at every order. The large factorisations run blocked through register kernels that keep
/// this order; they are no other algorithm.
///
/// **Conventions.** A matrix is stored by columns: element (i, j), counted from 1, is at a[(i - 1) + (j - 1)*lda] with
/// lda >= the number of rows. Pivot vectors and info count from 1. info is the result of the routine and 0 means that
/// nothing went wrong; where the published routine returns a reciprocal condition number rcond, that is the result. A
/// pivot counts as zero only when it is exactly 0. Arguments are trusted: nothing is checked except that n = 0 does
/// nothing (with info 0 and rcond 0). No routine throws or prints.
///
/// **Determinants** come as two numbers: det[0] * 10^det[1] with 1 <= |det[0]| < 10, or det[0] = 0. When a product
/// overflows to an infinity or a NaN its scaling stops there.
///
/// **Condition numbers.** rcond estimates 1/(|A| |inverse(A)|) in the 1-norm, usually within a factor of 3; A is
/// singular to working precision when 1.0 + rcond == 1.0. z is work space of n elements; for a matrix near singular it
/// ends as a vector of norm 1 with A*z about rcond * |A|. An exactly singular matrix gives a tiny rcond or 0.
///
/// The class has no data; every routine may be called from any number of threads on disjoint arrays.
class MODELCORE_EXPORT Linpack {
public:
    // ---- General matrices ------------------------------------------------------------------------------------------

    /// Factors a general matrix by Dgefa and estimates its condition.
    /// @return rcond
    static double Dgeco(double* a, int lda, int n, int* ipvt, double* z);

    /// Factors a general matrix with partial pivoting, A = L*U.
    ///
    /// @param a     in: the n x n matrix; out: U in the upper triangle, the negated multipliers of L below it, each
    ///              column in the order that it had when it was eliminated
    /// @param ipvt  out: n pivots; row ipvt[k] was exchanged with row k + 1 in step k + 1
    /// @return 0, or the last k with U(k,k) = 0: Dgesl and Dgedi would then divide by zero. The factors are complete.
    static int Dgefa(double* a, int lda, int n, int* ipvt);

    /// Solves A*x = b (job = 0) or trans(A)*x = b (job != 0) with the factors from Dgeco or Dgefa. b becomes x.
    static void Dgesl(const double* a, int lda, int n, const int* ipvt, double* b, int job);

    /// Determinant and inverse from the factors of Dgeco or Dgefa.
    ///
    /// @param a     in: the factors; out: the inverse when it is asked for, otherwise unchanged
    /// @param det   two numbers, set when the determinant is asked for
    /// @param work  n doubles of work space, used by the inverse
    /// @param job   11 both, 1 inverse only, 10 determinant only
    static void Dgedi(double* a, int lda, int n, const int* ipvt, double* det, double* work, int job);

    /// Solves a general tridiagonal system with partial pivoting.
    ///
    /// @param c  the subdiagonal in c[1..n-1]; destroyed
    /// @param d  the diagonal; destroyed
    /// @param e  the superdiagonal in e[0..n-2]; n elements, destroyed
    /// @param b  in: right side; out: the solution
    /// @return 0, or k when the k-th pivot is exactly 0: then b is not the solution
    static int Dgtsl(int n, double* c, double* d, double* e, double* b);

    // ---- General band matrices -------------------------------------------------------------------------------------
    // ml diagonals below and mu above the main one. Element (i, j), counted from 1, is at row i - j + ml + mu + 1 of
    // column j of abd, lda >= 2*ml + mu + 1; the first ml rows are work space for the fill-in and need not be set.

    /// Factors a band matrix by Dgbfa and estimates its condition.
    /// @return rcond
    static double Dgbco(double* abd, int lda, int n, int ml, int mu, int* ipvt, double* z);

    /// Factors a band matrix with partial pivoting; abd holds the band and afterwards the factors.
    /// @return as Dgefa
    static int Dgbfa(double* abd, int lda, int n, int ml, int mu, int* ipvt);

    /// Solves A*x = b (job = 0) or trans(A)*x = b (job != 0) with the factors from Dgbco or Dgbfa. b becomes x.
    static void Dgbsl(const double* abd, int lda, int n, int ml, int mu, const int* ipvt, double* b, int job);

    /// Determinant of a band matrix from the factors of Dgbco or Dgbfa.
    static void Dgbdi(const double* abd, int lda, int n, int ml, int mu, const int* ipvt, double* det);

    // ---- Positive definite matrices --------------------------------------------------------------------------------
    // Only the diagonal and the upper triangle of A are used and changed. A = trans(R)*R with R upper triangular.

    /// Factors a positive definite matrix by Dpofa and estimates its condition.
    /// @param info  out: as the result of Dpofa; when it is not 0 the factorisation stopped and rcond is not estimated
    /// @return rcond, 0 when *info is not 0
    static double Dpoco(double* a, int lda, int n, double* z, int* info);

    /// Cholesky factor: R replaces the upper triangle of A.
    /// @return 0, or the order k of the first leading minor that is not positive definite: columns before k then hold
    ///         the factor of the minor before it, columns after k and the diagonal element k are as they were
    static int Dpofa(double* a, int lda, int n);

    /// Solves A*x = b with the factor from Dpoco or Dpofa. b becomes x.
    static void Dposl(const double* a, int lda, int n, double* b);

    /// Determinant of A and inverse of A (upper triangle) from the factor of Dpoco, Dpofa or Dqrdc.
    /// @param job  11 both, 1 inverse only, 10 determinant only
    static void Dpodi(double* a, int lda, int n, double* det, int job);

    /// As Dpoco for a packed matrix: ap holds the upper triangle by columns, element (i, j) at i + j*(j - 1)/2 - 1.
    static double Dppco(double* ap, int n, double* z, int* info);

    /// As Dpofa for a packed matrix; the factor has the same bits.
    static int Dppfa(double* ap, int n);

    /// As Dposl for a packed matrix.
    static void Dppsl(const double* ap, int n, double* b);

    /// As Dpodi for a packed matrix.
    static void Dppdi(double* ap, int n, double* det, int job);

    /// As Dpoco for a band matrix with m diagonals above the main one: element (i, j), i <= j, counted from 1, is at
    /// row i - j + m + 1 of column j of abd, lda >= m + 1.
    static double Dpbco(double* abd, int lda, int n, int m, double* z, int* info);

    /// As Dpofa for a band matrix.
    static int Dpbfa(double* abd, int lda, int n, int m);

    /// As Dposl for a band matrix.
    static void Dpbsl(const double* abd, int lda, int n, int m, double* b);

    /// Determinant of a positive definite band matrix from the factor of Dpbco or Dpbfa. There is no inverse.
    static void Dpbdi(const double* abd, int lda, int n, int m, double* det);

    /// Solves a positive definite tridiagonal system, eliminating from both ends towards the middle. There is no test
    /// for a zero pivot.
    ///
    /// @param d  the diagonal; overwritten
    /// @param e  the off-diagonal in e[0..n-2]; unchanged
    /// @param b  in: right side; out: the solution
    static void Dptsl(int n, double* d, const double* e, double* b);

    // ---- Symmetric indefinite matrices -----------------------------------------------------------------------------
    // Only the diagonal and the upper triangle are used and changed. A = U*D*trans(U) with D of blocks of order 1 and
    // 2, found by diagonal pivoting (Bunch and Kaufman 1977). kpvt[k - 1] > 0: block of order 1, row k was exchanged
    // with row kpvt; kpvt[k - 1] = kpvt[k - 2] < 0: block of order 2, row k - 1 was exchanged with row -kpvt.

    /// Factors a symmetric matrix by Dsifa and estimates its condition.
    /// @return rcond
    static double Dsico(double* a, int lda, int n, int* kpvt, double* z);

    /// Factors a symmetric matrix with diagonal pivoting.
    /// @return 0, or the lowest k whose pivot block is exactly singular: Dsisl and Dsidi may then divide by zero
    static int Dsifa(double* a, int lda, int n, int* kpvt);

    /// Solves A*x = b with the factors from Dsico or Dsifa. b becomes x.
    static void Dsisl(const double* a, int lda, int n, const int* kpvt, double* b);

    /// Determinant, inertia and inverse (upper triangle) from the factors of Dsico or Dsifa.
    ///
    /// @param a      in: the factors; out: the upper triangle of the inverse when it is asked for
    /// @param inert  three numbers: how many eigenvalues are positive, negative and zero
    /// @param work   n doubles of work space, used by the inverse
    /// @param job    digits abc: c != 0 inverse, b != 0 determinant, a != 0 inertia
    static void Dsidi(double* a, int lda, int n, const int* kpvt, double* det, int* inert, double* work, int job);

    /// As Dsico for a packed matrix: ap holds the upper triangle by columns, element (i, j) at i + j*(j - 1)/2 - 1.
    static double Dspco(double* ap, int n, int* kpvt, double* z);

    /// As Dsifa for a packed matrix; the factors have the same bits.
    static int Dspfa(double* ap, int n, int* kpvt);

    /// As Dsisl for a packed matrix.
    static void Dspsl(const double* ap, int n, const int* kpvt, double* b);

    /// As Dsidi for a packed matrix.
    static void Dspdi(double* ap, int n, const int* kpvt, double* det, int* inert, double* work, int job);

    // ---- Triangular matrices ---------------------------------------------------------------------------------------
    // Only the triangle that the job names is used and changed.

    /// Estimates the condition of a triangular matrix: job = 0 lower, otherwise upper.
    /// @return rcond
    static double Dtrco(const double* t, int ldt, int n, double* z, int job);

    /// Solves a triangular system; b becomes x.
    /// @param job  0: T*x = b, T lower; 1: T*x = b, T upper; 10: trans(T)*x = b, T lower; 11: trans(T)*x = b, T upper
    /// @return 0, or the first k with T(k,k) = 0: b is then unchanged
    static int Dtrsl(const double* t, int ldt, int n, double* b, int job);

    /// Determinant and inverse of a triangular matrix.
    ///
    /// @param t    in: the matrix; out: its inverse when it is asked for
    /// @param job  digits abc: a != 0 determinant, b != 0 inverse, c = 0 lower, otherwise upper
    /// @return 0, or the k of the zero diagonal at which the inversion stopped: the lowest for an upper, the highest
    ///         for a lower matrix; 0 when no inverse is asked for
    static int Dtrdi(double* t, int ldt, int n, double* det, int job);

    // ---- Cholesky decomposition with pivoting, and its updates -----------------------------------------------------

    /// Cholesky decomposition of a positive semidefinite matrix with optional pivoting: trans(E)*A*E = trans(R)*R.
    ///
    /// @param a     in: the upper triangle of the p x p matrix; out: R
    /// @param work  p doubles of work space
    /// @param jpvt  in, when job != 0: jpvt[k] > 0 moves element k to the front, < 0 to the back, 0 lets it be chosen as
    ///              the largest pivot; out: the original index of what now stands in place k. Not used when job = 0
    /// @param job   0: no pivoting
    /// @return the number of positive pivots: p for success. It may exceed the numerical rank through rounding
    static int Dchdc(double* a, int lda, int p, double* work, int* jpvt, int job);

    /// Updates a Cholesky factor when a row x is added: trans(R)*R + x*trans(x).
    ///
    /// @param r      upper triangular, p x p
    /// @param x      the row, p elements; unchanged
    /// @param z      p x nz, right sides kept along with R (nz may be 0: z, y and rho are then not used)
    /// @param y      nz elements that belong to x; unchanged
    /// @param rho    norms of the residuals of the nz columns; a negative one is left alone
    /// @param c, s   out: cosines and sines of the p rotations
    static void Dchud(double* r, int ldr, int p, const double* x, double* z, int ldz, int nz, const double* y,
                      double* rho, double* c, double* s);

    /// Downdates a Cholesky factor when a row x is removed; the arguments are those of Dchud.
    /// @return 0; -1 when the row cannot be removed (r, z and rho are unchanged then, s is not); 1 when only some rho
    ///         could not be downdated, which are set to -1
    static int Dchdd(double* r, int ldr, int p, const double* x, double* z, int ldz, int nz, const double* y,
                     double* rho, double* c, double* s);

    /// Updates a Cholesky factor when columns k to l are permuted circularly, 1 <= k < l <= p.
    ///
    /// @param z     p x nz, right sides kept along with R (nz may be 0)
    /// @param c, s  out: l - k cosines and sines; s is work space as well and needs l elements
    /// @param job   1: right shift, the columns become 1..k-1, l, k..l-1, l+1..p;
    ///              2: left shift, they become 1..k-1, k+1..l, k, l+1..p
    static void Dchex(double* r, int ldr, int p, int k, int l, double* z, int ldz, int nz, double* c, double* s,
                      int job);

    // ---- Orthogonal decompositions ---------------------------------------------------------------------------------

    /// QR decomposition by Householder reflections with optional column pivoting.
    ///
    /// @param x      in: n x p; out: R in the upper triangle, below it what is left of the reflections
    /// @param qraux  out: p elements, what is needed further to recover Q
    /// @param jpvt   in, when job != 0: jpvt[k] > 0 moves column k to the front, < 0 to the back, 0 lets it be chosen as
    ///               the one of largest remaining norm; out: the original index of the column now in place k. Not used
    ///               when job = 0
    /// @param work   p doubles of work space; not used when job = 0
    /// @param job    0: no pivoting
    static void Dqrdc(double* x, int ldx, int n, int p, double* qraux, int* jpvt, double* work, int job);

    /// Applies the decomposition of Dqrdc: with X(k) the first k columns (as pivoted), k <= min(n, p).
    ///
    /// @param y    n elements
    /// @param qy   out: Q*y; n elements
    /// @param qty  out: trans(Q)*y; n elements, needed also for b, rsd and xb
    /// @param b    out: the k least squares coefficients of y on X(k)
    /// @param rsd  out: the residuals y - X(k)*b; n elements
    /// @param xb   out: the fitted values X(k)*b; n elements
    /// @param job  digits abcde: a != 0 qy; b, c, d or e != 0 qty; c != 0 b; d != 0 rsd; e != 0 xb. An array that is
    ///             not asked for is not used; qy, qty, b, rsd and xb may share memory with y, and qty with one of them,
    ///             as far as the values that are still needed allow
    /// @return 0, or the first k found (from the last backwards) with R(k,k) = 0 when b is asked for; b is then not
    ///         complete
    static int Dqrsl(const double* x, int ldx, int n, int k, const double* qraux, const double* y, double* qy,
                     double* qty, double* b, double* rsd, double* xb, int job);

    /// Singular value decomposition X = U*S*trans(V).
    ///
    /// @param x     the n x p matrix; destroyed
    /// @param s     out: min(n + 1, p) elements, the singular values in descending order
    /// @param e     out: p elements, zero unless the result is not 0
    /// @param u     out: the left singular vectors, n x n or n x min(n, p); may be x when n <= p or a >= 2
    /// @param v     out: the right singular vectors, p x p; may be x when p <= n
    /// @param work  n doubles of work space
    /// @param job   digits ab: a = 0 no u, 1 all n columns, >= 2 the first min(n, p); b != 0: v
    /// @return 0, or the m for which s[m] and later are correct and the m-th was not found within 30 iterations
    static int Dsvdc(double* x, int ldx, int n, int p, double* s, double* e, double* u, int ldu, double* v, int ldv,
                     double* work, int job);
};

} // namespace MCMath_930
