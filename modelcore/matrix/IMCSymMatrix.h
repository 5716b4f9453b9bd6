// The interface of symmetric matrices, whatever their storage.
#pragma once

#include "modelcore/modelcore_export.h"

#include <cstddef>
#include <vector>

namespace MCMath_930 {

namespace internal {
struct LeftOperand;
}

class IMCRectMatrix;
class MCBitSet;
class MCRectMatrix;
class MCSymMatrix;

/// A symmetric matrix S of order n. What is written against this interface runs on a packed, a diagonal and a
/// block-diagonal matrix alike, at the cost of what each of them stores.
///
/// Rows and columns are numbered from 0. The order of the virtual functions is part of the binary interface.
///
/// Conventions of all members:
///  - Operands come first, results last. A result argument takes the shape of the result, and it may be one of the
///    operands: results are formed aside and stored at the end.
///  - A vector operand holds at least as many values as are needed; more are ignored.
///  - A symmetric result goes into a packed matrix (kind 0), or into one of this matrix's own kind where a member says
///    so; any other kind is refused.
///  - A refusal is false, -1 from a count, or the system-missing value from a member that returns a number. It changes
///    nothing.
///  - Sums are taken in index order, starting from +0.0, each product rounded before it is added; so a sum that is 0 is
///    +0.0, where nothing else is said. (A diagonal matrix has but one factor for each element and adds nothing: its
///    products keep the sign of a 0.) Elements that the kind does not store take no part, so a NaN or an infinity
///    reaches only what it is multiplied with.
class MODELCORE_EXPORT IMCSymMatrix {
public:
    /// The storage kinds that GetMatrixKind tells apart.
    enum MatrixKind {
        kPackedMatrix = 0,       ///< MCSymMatrix: the whole lower triangle
        kDiagonalMatrix = 1,     ///< MCDiagMatrix: the diagonal alone
        kBlockDiagonalMatrix = 2 ///< MCSymBlockDiagMatrix: blocks along the diagonal
    };

    virtual ~IMCSymMatrix();

    /// The storage kind, one of MatrixKind. Operations that write into another matrix look at it first.
    virtual int GetMatrixKind() const = 0;

    // ---------------------------------------------------------------------------------------------------------------
    // Elements and rows

    /// The order n.
    virtual int GetNRows() const = 0;

    /// Element (i, j), 0 <= i, j < n, in either order; indexes are not checked. 0 where nothing is stored.
    virtual double GetElem(int i, int j) const = 0;

    /// Stores x as the elements (i, j) and (j, i); indexes are not checked.
    /// @return  false, and nothing changed, when the storage kind has no place for the element
    virtual bool SetElem(int i, int j, double x) = 0;

    /// Writes row i, n values, into row. False for i outside [0, n).
    virtual bool GetRow(int i, std::vector<double>& row) const;

    /// Replaces row and column i by the first n values of row.
    /// @return  false for i outside [0, n), when row is shorter than n, or when a value other than 0 belongs where the
    ///          storage kind has no place
    virtual bool PutRow(int i, const std::vector<double>& row);

    /// Writes the n diagonal elements into diag.
    virtual void GetDiagonal(std::vector<double>& diag) const;

    /// Writes the n diagonal elements, each multiplied by scale, into diag, and says whether they can serve as
    /// reference diagonal: true when none of them is negative or NaN.
    virtual bool GetNCheckDiagonal(double scale, std::vector<double>& diag) const;

    /// The first column j <= i that row i stores: 0, i or the start of the row's block. -1 for i outside [0, n).
    virtual int GetIndexFirstInRow(int i) const = 0;

    /// The last column that row i stores. -1 for i outside [0, n).
    virtual int GetIndexLastInRow(int i) const = 0;

    /// Whether every element of row i is 0. False for i outside [0, n).
    virtual bool IsZeroRow(int i) const;

    /// v += a * row i, for the elements that the row stores. False for i outside [0, n) or v shorter than n.
    virtual bool IncrVecByRow(int i, double a, std::vector<double>& v) const;

    // ---------------------------------------------------------------------------------------------------------------
    // Cholesky factor. LTChol leaves the lower triangular factor L in place of the matrix; the members after it take
    // the lower triangle of the matrix as L. A row whose pivot is refused has a zero diagonal element and a zero
    // column, and stands for a redundant row from then on.

    /// LTChol with the matrix's own diagonal as reference.
    /// @param logDet  set to the natural logarithm of the determinant of S over the rows that were kept,
    ///                the sum of 2*log L(i,i)
    virtual int LTChol(double tol, double& logDet, bool check);

    /// Cholesky factorisation S = L*L' in place, row by row:  L(i,j) = (S(i,j) - sum of L(i,m)*L(j,m), m < j)/L(j,j),
    /// and 0 where L(j,j) = 0;  L(i,i) = sqrt(d), d = S(i,i) - sum of L(i,m)^2, if d > tol*refDiag[i], and 0 if not.
    ///
    /// @param refDiag  the values to which tol relates, usually the diagonal of S: at least n, the first n of them >= 0
    /// @param tol      smallest pivot allowed, relative to refDiag; >= 0
    /// @param check    false trusts the arguments
    /// @return  the number of rows whose pivot was refused: 0 for a positive definite matrix. -1 for invalid arguments.
    virtual int LTChol(const std::vector<double>& refDiag, double tol, bool check) = 0;

    /// The same, and marks the rows that were kept.
    /// @param kept  grown to n bits when it has fewer; bit i is set for every row that was kept, all others cleared
    virtual int LTChol(const std::vector<double>& refDiag, double tol, MCBitSet& kept, bool check) = 0;

    /// Determinant and inverse of the factor L, after LINPACK's Dtrdi.
    ///
    /// @param det  written when the units digit of job is not 0: the determinant of L is det[0]*10^det[1] with
    ///             1 <= |det[0]| < 10; both are 0 when L has a zero on its diagonal. Else it may be null.
    /// @param job  a tens digit other than 0 replaces L by its inverse; rows and columns of zero diagonal elements
    ///             become 0, which makes it a generalised inverse
    /// @return  the number of zero diagonal elements
    virtual int LTDetInverse(double det[2], int job) = 0;

    /// Writes the inverse of S into out, through LTChol(refDiag, tol, ..., false), LTDetInverse and LTLTransL. Rows and
    /// columns whose pivot was refused are 0 in it: a generalised inverse.
    /// @param out  of kind 0 or of this matrix's kind; it may be this matrix
    /// @return  the rank: n less the refused pivots. -1 when out is of another kind or refDiag is too short. A packed
    ///          matrix returns -1 as well when there is no memory for the copy: out then has the order -1, as a mark,
    ///          and stands every use as an empty matrix does.
    virtual int CholInverse(const std::vector<double>& refDiag, double tol, IMCSymMatrix& out) const = 0;

    /// Solves L*L'*x = b. Elements of x that belong to zero diagonal elements of L are 0. x may be b.
    /// @return  false when b is shorter than n
    virtual bool LTSolve(const std::vector<double>& b, std::vector<double>& x) const = 0;

    /// Replaces L by the lower triangle of L*L': undoes LTChol.
    virtual void LTLLTrans() = 0;

    /// Replaces L by the lower triangle of L'*L. Its sums begin with their first product, not with 0: a sum of -0.0 alone
    /// stays -0.0.
    virtual void LTLTransL() = 0;

    // ---------------------------------------------------------------------------------------------------------------
    // Products. A name spells the factors from left to right:
    //
    //    letter       factor                                               given as
    //    S            this matrix                                          -
    //    L            lower triangle: of this matrix where the name has    - or const IMCSymMatrix& L
    //                 no S, else of an operand, which may be this matrix
    //    V, W         vector of n values; a factor in front is v'          const std::vector<double>&
    //    R            rectangular matrix                                   const IMCRectMatrix&
    //    D            diagonal matrix                                      const std::vector<double>&
    //    G, M, N      G is this matrix where the name has no S; the        const IMCRectMatrix&
    //                 others are rectangular matrices
    //    Trans        the factor before it is transposed                   -
    //
    // R must have n columns in front of S and n rows behind it; R'*S wants n rows. A scalar is returned; a vector, a
    // rectangular or a symmetric result is the last argument and may be an operand. Refused, unchanged: operands that
    // do not fit. Symmetric results are symmetric by construction, only their lower triangle is computed.
    // Where nothing else is said the cost is one pass over what S stores for each row of the other operand, and the
    // memory that of the result.

    /// S := a*X + S, element by element. False when X is of another order or has elements that this kind cannot store.
    virtual bool ComputeAXpY(double a, const IMCSymMatrix& X) = 0;

    virtual bool ComputeSV(const std::vector<double>& v, std::vector<double>& out) const;        ///< S*v
    virtual bool ComputeLV(const std::vector<double>& v, std::vector<double>& out) const;        ///< L*v
    virtual bool ComputeLTransV(const std::vector<double>& v, std::vector<double>& out) const;   ///< L'*v
    virtual double ComputeVSV(const std::vector<double>& v) const;                               ///< v'*S*v
    virtual double ComputeVSW(const std::vector<double>& v, const std::vector<double>& w) const; ///< v'*S*w

    /// v'*S*w over a part of each: the sum of v[i]*S(i,j)*w[j] for i in [firstV, firstV+nV), j in [firstW, firstW+nW).
    virtual double ComputeVSWParts(const std::vector<double>& v, int firstV, int nV, const std::vector<double>& w,
                                   int firstW, int nW) const;

    /// Row i of S times v. Missing for i outside [0, n).
    virtual double ComputeRowDotProductS(int i, const std::vector<double>& v) const;

    /// Row i of S times row j of S. Missing for a row outside [0, n).
    virtual double ComputeDotProduct2Rows(int i, int j) const;

    virtual bool ComputeRS(const IMCRectMatrix& R, MCRectMatrix& out) const;      ///< R*S
    virtual bool ComputeRTransS(const IMCRectMatrix& R, MCRectMatrix& out) const; ///< R'*S

    /// R*S*R' and R'*S*R. Memory: that of R twice.
    virtual bool ComputeRSRTrans(const IMCRectMatrix& R, IMCSymMatrix& out) const;
    /// R'*S*R. Memory: that of R twice.
    virtual bool ComputeRTransSR(const IMCRectMatrix& R, IMCSymMatrix& out) const;

    /// R'*S*v
    virtual bool ComputeRTransSV(const IMCRectMatrix& R, const std::vector<double>& v, std::vector<double>& out) const;

    /// R*V*D, where V is this matrix.
    virtual bool ComputeRVD(const IMCRectMatrix& R, const std::vector<double>& d, MCRectMatrix& out) const;

    /// R*V*D over a part of each: the columns [firstR, firstR+nR) of R and the elements [firstD, firstD+nD) of d meet
    /// the rows and columns of V with the same numbers. The result has nD columns.
    virtual bool ComputeRVDParts(const IMCRectMatrix& R, int firstR, int nR, const std::vector<double>& d, int firstD,
                                 int nD, MCRectMatrix& out) const;

    virtual bool ComputeGSG(const IMCRectMatrix& G, MCRectMatrix& out) const; ///< G*S*G, G square

    /// G*M*G and G*M*G*N*G, where G is this matrix; M and N square. Memory: the result twice.
    virtual bool ComputeGMG(const IMCRectMatrix& M, MCRectMatrix& out) const;
    /// G*M*G*N*G, where G is this matrix; M and N square. Memory: the result twice.
    virtual bool ComputeGMGNG(const IMCRectMatrix& M, const IMCRectMatrix& N, MCRectMatrix& out) const;

    /// L*S*L' and L'*S*L. Memory: 2*n*n values. With both diagonal, or both block-diagonal with blocks of the same
    /// sizes, the memory is that of the result, which goes into a matrix of that kind as well.
    virtual bool ComputeLSLTrans(const IMCSymMatrix& L, IMCSymMatrix& out) const;
    /// L'*S*L; memory and kinds as for ComputeLSLTrans.
    virtual bool ComputeLTransSL(const IMCSymMatrix& L, IMCSymMatrix& out) const;

    /// S times another symmetric matrix, in this order.
    virtual bool ComputeSS(const IMCSymMatrix& second, MCRectMatrix& out) const;

    /// S'*S, the square of S. A diagonal and a block-diagonal matrix also write it into one of their own kind.
    virtual bool ComputeSTransS(IMCSymMatrix& out) const;

    // ---------------------------------------------------------------------------------------------------------------
    // Row and column operations on L and S, for triangular solves and products that skip the zeros which lie left of a
    // row's block. "Part" is the range [first, first+count) of row numbers to which an operation is confined; element i
    // of a vector belongs to row i whether or not it is in the part. "VecIIncr" is a vector with an index increment:
    // element i is v[i*incr], as in a column of a matrix stored row by row. Ranges and rows outside [0, n) are refused;
    // what a pointer points to cannot be checked.

    /// Sum of S(i,j)*v_i over the part.
    virtual double DotProductColVecIIncrPart(int j, const double* v, int incr, int first, int count) const;

    /// Sum of L(i,j)*v_i over the part, thus from row j on.
    virtual double DotProductLColVecIIncrPart(int j, const double* v, int incr, int first, int count) const;

    /// The same with increment 1: the elements of a dense row.
    virtual double DotProductLColDenseRowPart(int j, const double* row, int first, int count) const;

    /// out = v'*L with v confined to the part; n values.
    virtual bool ComputeVecPartByL(const std::vector<double>& v, int first, int count, std::vector<double>& out) const;
    /// out = v'*L with v, whose element i is v[i*incr], confined to the part; n values.
    virtual bool ComputeVecIIncrPartByL(const double* v, int incr, int first, int count,
                                        std::vector<double>& out) const;

    /// Row i of another symmetric matrix of order n, times L; n values.
    virtual bool ComputeSymRowByL(int i, const IMCSymMatrix& sym, std::vector<double>& out) const;

    /// L times a square matrix of order n.
    virtual bool ComputeProductLAndSquare(const IMCRectMatrix& square, MCRectMatrix& out) const;

    /// column_i += a*L(i,j) over the part, thus from row j on: the step of a substitution that goes column by column.
    virtual bool UpdateDenseColumnPart(int j, double a, double* column, int incr, int first, int count) const;

    // ---------------------------------------------------------------------------------------------------------------
    // Reductions

    /// The determinant of S as det[0]*10^det[1], 1 <= |det[0]| < 10 or det[0] = 0.
    /// @param tol  > 0: the determinant counts as 0 when the estimated reciprocal condition is not above tol; 0: only an
    ///             exact zero among the pivots makes it 0. A diagonal matrix takes no notice of it
    /// @return  false for order 0 and for a tol that is negative or NaN
    virtual bool ComputeDeterminant(double tol, double* det) const = 0;

    /// The sum of the diagonal elements; 0 for order 0.
    virtual double Trace() const;

    /// trace(S*B): the sum over i of  2*(sum of S(i,j)*B(i,j), j < i) + S(i,i)*B(i,i). Missing for different orders.
    virtual double TraceOfProduct(const IMCSymMatrix& B) const;

    /// trace(S*B*C): the sum over i and j of (B*S)(i,j)*C(i,j). Missing for different orders.
    virtual double TraceOfProductOfThree(const IMCSymMatrix& B, const IMCSymMatrix& C) const;

    /// Largest and smallest diagonal element. False for order 0.
    virtual bool MaxMinDiag(double& max, double& min) const;

    /// The same, and the largest and smallest element below the diagonal, those that are not stored counting as 0; both
    /// are 0 for order 1. False for order 0.
    virtual bool MaxMinDiagOffDiag(double& maxDiag, double& minDiag, double& maxOffDiag, double& minOffDiag) const;

    // ---------------------------------------------------------------------------------------------------------------
    // Editing and extraction

    /// Adds x to every diagonal element.
    virtual void AddToDiagonal(double x);

    /// Multiplies every element by x.
    virtual void MultiplyByNumber(double x) = 0;

    /// Changes the sign of every element that is stored; a 0 among them becomes -0.0.
    virtual void ChangeSign() = 0;

    /// Sets every element of row and column i to x.
    /// @return  false for i outside [0, n), or when x is not 0 and the storage kind has no place for part of the row
    virtual bool SetRowColToConst(int i, double x);

    /// Sets every element to 0; the order stays.
    virtual void ZeroOut() = 0;

    /// Sets every element off the diagonal to 0.
    virtual void ZeroOutNonDiag() = 0;

    /// Makes the matrix empty: order 0. The memory is kept for the next use.
    virtual void Clear() = 0;

    /// Makes the matrix empty and gives its memory back.
    virtual void ClearAll() = 0;

    /// The leading sub-matrix of the first m rows and columns. False unless 0 <= m <= n.
    virtual bool ExtractFirstNRows(int m, IMCSymMatrix& out) const;

    /// The sub-matrix of the given rows and the columns of the same numbers, in the order given. A diagonal and a
    /// block-diagonal matrix also write it into one of their own kind. False for a row outside [0, n) or named twice.
    virtual bool ExtractSubmatrix(const std::vector<int>& rows, IMCSymMatrix& out) const;

    /// The sub-matrix of the rows whose bits are set. False when a bit from n on is set.
    virtual bool ExtractSubmatrix(const MCBitSet& rows, IMCSymMatrix& out) const;

    /// Copies the matrix, zeros that are not stored included, into a packed one. False when it is larger than those can
    /// be.
    virtual bool FillDenseMatrix(MCSymMatrix& out) const = 0;

    // ---------------------------------------------------------------------------------------------------------------
    // Diagnostic text

    /// Writes the matrix to the diagnostic text stream, between the lines "<Class> display start" and
    /// "<Class> display end".
    virtual void Display() const = 0;

protected:
    IMCSymMatrix() = default;
    IMCSymMatrix(const IMCSymMatrix&) = default;
    IMCSymMatrix(IMCSymMatrix&&) = default;
    IMCSymMatrix& operator=(const IMCSymMatrix&) = default;
    IMCSymMatrix& operator=(IMCSymMatrix&&) = default;

    /// What the products are made of: A*S, A*L and A*L' for a block A of rows of n values, row by row. out has the
    /// same size and does not overlap A. Each element is summed from 0 in index order over what is stored.
    virtual void MultiplyByS(const double* a, std::size_t rows, double* out) const = 0;
    /// A*L, as MultiplyByS.
    virtual void MultiplyByL(const double* a, std::size_t rows, double* out) const = 0;
    /// A*L', as MultiplyByS.
    virtual void MultiplyByLTrans(const double* a, std::size_t rows, double* out) const = 0;

    /// Which of the three products MultiplyBy forms.
    enum class Factor { kS, kL, kLTrans };
    /// The product of that kind with another matrix, for kinds of matrices that are made of others.
    static void MultiplyBy(Factor factor, const IMCSymMatrix& matrix, const double* a, std::size_t rows, double* out);

    /// The order as a size: 0 as well for the order -1 that a failed CholInverse leaves.
    std::size_t Order() const { return static_cast<std::size_t>(GetNRows() > 0 ? GetNRows() : 0); }
    /// Whether there is a row i.
    bool IsRow(int i) const { return i >= 0 && i < GetNRows(); }
    /// Whether the rows [first, first+count) all exist.
    bool IsPart(int first, int count) const { return first >= 0 && count >= 0 && count <= GetNRows() - first; }
    /// Whether v has a value for each row, or more.
    bool Fits(const std::vector<double>& v) const { return v.size() >= static_cast<std::size_t>(GetNRows()); }
    /// Both triangles, row by row.
    MCRectMatrix SquareRows() const;

    /// The largest order whose packed indexes are ints.
    static constexpr int kMaxPackedRows = 65535;

    /// Whether a packed matrix can have that order.
    static constexpr bool IsPackedOrder(int n) { return n >= 0 && n <= kMaxPackedRows; }
    /// Whether the matrix is an MCSymMatrix.
    static bool IsPacked(const IMCSymMatrix& matrix) { return matrix.GetMatrixKind() == kPackedMatrix; }
    /// The number of elements of a packed matrix of order n.
    static constexpr std::size_t PackedSize(int n)
    {
        return static_cast<std::size_t>(n) * (static_cast<std::size_t>(n) + 1) / 2;
    }

    /// Stores a result of order n that was formed aside, its packed elements. False, and out as it was, when out is not
    /// packed or n no packed order.
    static bool StorePacked(int n, std::vector<double>&& packed, IMCSymMatrix& out);

    /// Forms the lower triangle of left * right, rows of `order` elements, in the storage of out. False, and out as it
    /// was, when out is not packed or the operands are not small.
    static bool StoreSmallTriangle(int order, const internal::LeftOperand& left, const double* right, std::size_t inner,
                                   IMCSymMatrix& out);
    /// Stores the sum over k < count of left(k,i)*right(k,j), both rows of `order` values, and the lower triangle of a
    /// product that is symmetric, as StorePacked does.
    static bool StoreOuterProducts(int order, const double* left, const double* right, std::size_t count,
                                   IMCSymMatrix& out);
    /// The same of left * right, rows of `inner` and of `order` elements, which is symmetric.
    static bool StoreSymmetricProduct(int order, const double* left, const double* right, std::size_t inner,
                                      IMCSymMatrix& out);
    /// Stores the lower triangle of a product that is symmetric, as StorePacked does.
    static bool StoreLowerTriangle(const MCRectMatrix& square, IMCSymMatrix& out);

    /// Writes the lower triangle, zeros that are not stored included. False when n is no packed order.
    bool CopyLowerTriangle(std::vector<double>& packed) const;

    /// Takes over packed elements; only the packed kind does.
    virtual void TakePacked(int n, std::vector<double>&& packed);
};

} // namespace MCMath_930
