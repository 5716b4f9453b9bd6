// The packed symmetric matrix: storage, structure operations and the sweep.
#pragma once

#include "modelcore/matrix/IMCSymMatrix.h"
#include "modelcore/modelcore_export.h"

#include <cstddef>
#include <span>
#include <vector>

namespace MCMath_930 {

class MCBitSet;
class MCSparseVector;

namespace internal {
class TileWorkspace;
}

/// A symmetric matrix of order n held as its lower triangle: cross products, covariances, information matrices.
///
/// The n(n+1)/2 elements stand in one array, row by row: element (i, j) with i >= j has the packed index
/// i(i+1)/2 + j, so row i has i + 1 stored elements and the diagonal element (k, k) the index (k+1)(k+2)/2 - 1. An
/// element above the diagonal is the one below it. A packed index is an int, so the order is at most kMaxRows; a
/// larger or a negative order is refused wherever one is given. The matrix owns its elements; copies are deep.
///
/// Which rows are swept is not kept here: the caller holds that in a bit set and passes it to every sweep.
class MODELCORE_EXPORT MCSymMatrix : public IMCSymMatrix {
public:
    /// The largest order whose packed indexes are ints.
    static constexpr int kMaxRows = kMaxPackedRows;

    // ---------------------------------------------------------------------------------------------------------------
    // Storage and elements

    /// An empty matrix, order 0.
    MCSymMatrix() = default;

    /// The zero matrix of order n; an empty one when n is not in [0, kMaxRows].
    explicit MCSymMatrix(int n);

    /// The matrix of order n with the given n(n+1)/2 packed elements; an empty one when there are not so many, or n is
    /// not in [0, kMaxRows].
    MCSymMatrix(int n, std::span<const double> packed);

    MCSymMatrix(const MCSymMatrix& other) = default;

    /// A copy that runs out of memory leaves the matrix as it was.
    MCSymMatrix& operator=(const MCSymMatrix& other);

    /// Takes the storage over; other is empty afterwards.
    MCSymMatrix(MCSymMatrix&& other) noexcept;
    MCSymMatrix& operator=(MCSymMatrix&& other) noexcept;

    ~MCSymMatrix() override;

    int GetMatrixKind() const override { return kPackedMatrix; }
    int GetNRows() const override { return fnRows; }

    double GetElem(int i, int j) const override { return fvElem[PackedIndex(i, j)]; }

    /// Stores x as the elements (i, j) and (j, i); indexes are not checked. Always true.
    bool SetElem(int i, int j, double x) override
    {
        fvElem[PackedIndex(i, j)] = x;
        return true;
    }

    /// The element at a packed index, 0 <= index < n(n+1)/2; not checked.
    double GetElem(int index) const { return fvElem[static_cast<std::size_t>(index)]; }

    /// Stores x at a packed index; not checked. Always true.
    bool SetElem(int index, double x)
    {
        fvElem[static_cast<std::size_t>(index)] = x;
        return true;
    }

    /// The packed elements, n(n+1)/2 of them, front to back; valid until the order changes.
    double* GetPtr() { return fvElem.data(); }
    const double* GetPtr() const { return fvElem.data(); }
    /// The packed elements as a span; valid until the order changes.
    std::span<double> AsSpan() { return fvElem; }
    std::span<const double> AsSpan() const { return fvElem; }

    /// The i + 1 stored elements (i, 0) to (i, i) of row i; null for i outside [0, n).
    double* GetRowPtr(int i) { return i >= 0 && i < fnRows ? Row(i) : nullptr; }
    const double* GetRowPtr(int i) const { return i >= 0 && i < fnRows ? Row(i) : nullptr; }

    // ---------------------------------------------------------------------------------------------------------------
    // Copies from and to square arrays of n*n elements, row by row or (being symmetric, the same) column by column

    /// Takes order and elements from the lower triangle of a square array: element (i, j), i >= j, at i*n + j of an
    /// array by rows, which is the upper triangle of one by columns.
    /// @return  false, and nothing changed, when n is not in [0, kMaxRows]
    bool CopyFromSquare(const double* square, int n);

    /// Writes both triangles to a square array of n*n elements.
    void CopyToSquare(double* square) const;

    /// Takes order and elements from n(n+1)/2 packed elements. False, and nothing changed, unless there are so many for
    /// some order in [0, kMaxRows].
    bool CopyFromPacked(std::span<const double> packed);

    // ---------------------------------------------------------------------------------------------------------------
    // Order

    /// Makes this the zero matrix of order n. This and the next two return false, and change nothing, when n is not in
    /// [0, kMaxRows].
    bool SetNRows(int n);

    /// Changes the order to n. Elements that lie in both the old and the new matrix stay, new ones are 0.
    bool Resize(int n);

    /// Makes the order n for a result that will be written whole: what the elements are is not said.
    bool ResizeNRows(int n);

    /// Takes order and elements of a symmetric matrix of any kind.
    /// @return  false, and nothing changed, when its order is not in [0, kMaxRows]
    bool ResizeNCopy(const IMCSymMatrix& source);

    // ---------------------------------------------------------------------------------------------------------------
    // Rows and structure

    bool GetRow(int i, std::vector<double>& row) const override;
    bool PutRow(int i, const std::vector<double>& row) override;
    int GetIndexFirstInRow(int i) const override { return IsRow(i) ? 0 : -1; }
    int GetIndexLastInRow(int i) const override { return IsRow(i) ? fnRows - 1 : -1; }

    /// The stored part of column j: the elements (j, j) to (n-1, j). False, and col as it was, for j outside [0, n).
    bool GetPCol(int j, std::vector<double>& col) const;

    /// The coefficients of the regression of variable target on the swept ones: after the sweeps element (target, j)
    /// for swept j, and 0 for every other j. n values.
    /// @return  false when target is outside [0, n) or swept itself, or swept has fewer than n bits
    bool GetRegCoeffs(int target, const MCBitSet& swept, std::vector<double>& coeffs) const;

    void AddToDiagonal(double x) override;

    /// Adds x to the diagonal elements first to first+count-1. False when they do not all exist.
    bool AddToDiagonalPart(int first, int count, double x);

    /// Clamps a correlation matrix away from 1 and -1: off the diagonal, what is >= 1 becomes 1 - eps, what is <= -1
    /// becomes -(1 - eps). False, and nothing changed, unless 0 <= eps < 1.
    bool AdjustOffDiagCorr(double eps);

    /// Replaces diagonal elements that are exactly 0 by x. Returns how many there were.
    int ReplaceDiagZeroes(double x);

    /// Sets to 0 the covariances of variables without variance: rows and columns whose diagonal element is exactly 0.
    /// Returns how many there are.
    int SetCovarZeros();

    void MultiplyByNumber(double x) override;
    void ChangeSign() override;
    double TraceOfProduct(const IMCSymMatrix& B) const override;
    void ZeroOut() override;
    void ZeroOutNonDiag() override;

    /// Sets row and column i to 0. False for i outside [0, n).
    bool ZeroOutRow(int i);

    /// Sets to 0 every element of magnitude at most tol; a NaN stays. Returns how many, zeros not counted; -1 for a tol
    /// that is negative or NaN. There is no usual tol: it is in the unit of the elements.
    int ZeroOutAllSmall(double tol);

    /// Sets to 0 the rows and columns whose diagonal element is at most tol times the largest one in magnitude. Returns
    /// how many; -1 for a tol that is negative or NaN. 1e-12 is usual.
    int ZeroOutRowsForSmallDiag(double tol);

    void Clear() override;
    void ClearAll() override;

    /// Spreads the matrix out to order n: what was row (and column) i becomes row positions[i], and every element of
    /// the other rows is 0. Rows may change places.
    /// @return  false, and nothing changed, unless n is in [0, kMaxRows] and positions holds one place in [0, n) for
    ///          each row, no place twice
    bool Expand(const std::vector<int>& positions, int n);

    /// The same with places given as bits: the rows go in order to the set bits, the new order is kept.Size().
    /// @return  false, and nothing changed, unless as many bits are set as there are rows
    bool Expand(const MCBitSet& kept);

    /// Expand(kept) into another matrix, packed or with both triangles.
    bool ExpandSym(const MCBitSet& kept, MCSymMatrix& out) const;
    /// Expand(kept) into a rectangular matrix, with both triangles.
    bool ExpandSymToRect(const MCBitSet& kept, MCRectMatrix& out) const;

    /// Removes row and column k. False, and nothing changed, for k outside [0, n).
    bool DeleteOneRow(int k);

    /// The rectangular block of the given rows and columns, in the order given. False for a number outside [0, n).
    bool ExtractRectangle(const std::vector<int>& rows, const std::vector<int>& cols, MCRectMatrix& out) const;

    /// The rectangular block whose rows are those with a set bit, whose columns those without: the covariances between
    /// a subset and its complement. rows holds at most n bits; those it lacks count as not set.
    bool ExtractOffBlock(const MCBitSet& rows, MCRectMatrix& out) const;

    bool FillDenseMatrix(MCSymMatrix& out) const override;

    /// Number and order of the diagonal blocks of a matrix that consists of equal ones, for SetNBlocks.
    int GetBlockSize() const { return fnBlocks > 0 ? fnRows / fnBlocks : 0; }

    /// Says that the matrix is to be seen as nBlocks diagonal blocks of equal order. The elements do not change; a
    /// change of the order makes it one block again. False unless nBlocks >= 1 divides the order.
    bool SetNBlocks(int nBlocks);

    void Display() const override;

    /// Display with both triangles.
    void DisplayF() const;

    /// A short form of Display: the order, trace and extreme elements.
    void DisplayS() const;

    // ---------------------------------------------------------------------------------------------------------------
    // Sweep (MCSymMatrixSweep.cpp)
    //
    // All members take the tolerance, the diagonal before any sweep and the set of swept rows in this order, and all
    // share one rule. With check true they look at their arguments first; with check false they trust them, but the
    // tests of the pivot always run. origDiag and the matrix must not overlap.

    /// Sweeps on row k in place: the symmetric sweep operator (Beaton 1964; Dempster 1969).
    ///
    /// With p the pivot S(k,k) before:  S(k,k) = -1/p,  S(i,k) = S(i,k)/|p|,  S(i,j) = S(i,j) - S(i,k)*S(j,k)/p, the
    /// last computed as S(i,j) + c*(S(j,k)/|p|) with c = -S(i,k) for p > 0 and c = S(i,k) otherwise, product and sum
    /// rounded separately. A second sweep on the same row undoes the first, up to rounding.
    ///
    /// A row that is not swept yet is refused when p <= tol*origDiag[k]: what earlier sweeps left of it is nothing but
    /// rounding error, so it depends on rows already swept, and is aliased. It is refused as well when sweeping it
    /// would make a swept row j collinear, that is unless (S(j,j) - S(k,j)*S(k,j)/p)*tol*origDiag[j] > -1.
    ///
    /// @param k         row, 0 <= k < n
    /// @param tol       smallest pivot allowed, relative to origDiag[k]; > 0
    /// @param origDiag  the diagonal before any sweep: at least n values, all of them >= 0; of a pointer the first n count
    /// @param swept     at least n bits; bit j set = row j is swept now; bit k is flipped on success
    /// @param check     whether the arguments are looked at
    /// @return  false when an argument is invalid or the row is refused. Matrix and bit set are then untouched.
    bool Sweep(int k, double tol, const std::vector<double>& origDiag, MCBitSet& swept, bool check);
    bool Sweep(int k, double tol, const double* origDiag, MCBitSet& swept, bool check);

    /// The sweep in its original form: element by element, as the rule is written, with nothing gathered or reordered.
    /// Takes the same arguments, refuses the same and leaves the same bits as Sweep, signs of zeros included, but is
    /// slower. It is there to compare with.
    bool SweepOrig(int k, double tol, const std::vector<double>& origDiag, MCBitSet& swept, bool check);
    bool SweepOrig(int k, double tol, const double* origDiag, MCBitSet& swept, bool check);

    /// Sweeps on the given rows in turn, in the order given. A row that is refused stays as it is, aliased, and the
    /// next one is tried; a row named twice is swept twice.
    ///
    /// Bits and refusals are those of one Sweep after the other, but a large matrix is read and written once for a
    /// block of rows. Memory: up to 192 rows of n values from order 64 on.
    ///
    /// @return  true when no row was refused. False, and nothing changed, when an argument is invalid, a row number
    ///          outside [0, n) among them; false after all rows were tried when some row was refused: those whose bit
    ///          in swept did not flip.
    bool SweepOnMany(const std::vector<int>& rows, double tol, const std::vector<double>& origDiag, MCBitSet& swept,
                     bool check);
    bool SweepOnMany(const std::vector<int>& rows, double tol, const double* origDiag, MCBitSet& swept, bool check);

    /// SweepOnMany on the rows whose bit is set in selected, ascending. The set bits are those before the first sweep,
    /// so selected may be swept itself: that undoes every sweep. A set bit at n or beyond is an invalid argument.
    bool SweepOnSelected(const MCBitSet& selected, double tol, const std::vector<double>& origDiag, MCBitSet& swept,
                         bool check);
    bool SweepOnSelected(const MCBitSet& selected, double tol, const double* origDiag, MCBitSet& swept, bool check);

    /// SweepOnMany on all rows, ascending. A row that is swept already is swept back.
    bool SweepOnAll(double tol, const std::vector<double>& origDiag, MCBitSet& swept, bool check);
    bool SweepOnAll(double tol, const double* origDiag, MCBitSet& swept, bool check);

    // ---------------------------------------------------------------------------------------------------------------
    // Cholesky factor (MCSymMatrixCholesky.cpp). L is the lower triangle that LTChol leaves. Zeros on its diagonal mark
    // redundant rows: a solution has 0 there, an inverse a zero row and column. Every element is formed as the loops of
    // the definitions form it, by blocks when the matrix is large; LTChol and LTDetInverse then take memory for a
    // second triangle.

    using IMCSymMatrix::LTChol;
    int LTChol(const std::vector<double>& refDiag, double tol, bool check) override;
    int LTChol(const std::vector<double>& refDiag, double tol, MCBitSet& kept, bool check) override;
    int LTDetInverse(double det[2], int job) override;
    int CholInverse(const std::vector<double>& refDiag, double tol, IMCSymMatrix& out) const override;
    bool LTSolve(const std::vector<double>& b, std::vector<double>& x) const override;
    void LTLLTrans() override;
    void LTLTransL() override;

    /// Replaces L by its inverse, or generalised inverse, as LTDetInverse(nullptr, 10) does. Always true.
    bool LTInverse();

    /// Solves L*x = b by forward substitution. x may be b. False when b is shorter than n.
    bool LTSubstitute(const std::vector<double>& b, std::vector<double>& x) const;

    /// Solves L'*x = b by back substitution. x may be b. False when b is shorter than n.
    bool TSolveSubst(const std::vector<double>& b, std::vector<double>& x) const;

    /// The numbers of the rows that LTChol(refDiag, tol, kept, true) would keep, ascending. The matrix does not change.
    /// Memory: a copy of the matrix.
    /// @return  how many, the rank; -1, and rows as they were, for invalid arguments
    int CholIndNonRed(const std::vector<double>& refDiag, double tol, std::vector<int>& rows) const;

    /// Replaces L by the factor of L*L' + v*v', by plane rotations (LINPACK's Dchud). False when v is shorter than n.
    bool LTCholUpdateR1(const std::vector<double>& v);

    /// Replaces L by the factor of L*L' - v*v', by plane rotations (LINPACK's Dchdd).
    /// @return  false, and nothing changed, when v is shorter than n, a diagonal element of L is 0, or the difference
    /// is
    ///          not positive definite
    bool LTCholDowndate(const std::vector<double>& v);

    /// Adds the smallest amounts to the diagonal that the modified Cholesky factorisation of Gill, Murray and Wright
    /// (Practical Optimization, 1981, section 4.4.2.2) finds sufficient to make the matrix positive definite. A matrix
    /// that is sufficiently so does not change. Memory: a copy of the matrix.
    /// @param delta  smallest pivot allowed, relative to the largest element (or 1); > 0, 1e-8 is usual
    /// @return  the number of diagonal elements raised; -1, and nothing changed, when delta is not above 0 or an
    /// element
    ///          is not finite
    int TransformToPositiveDefinite(double delta);

    // ---------------------------------------------------------------------------------------------------------------
    // Products that only a packed matrix forms, and cross products accumulated in place (MCSymMatrixProducts.cpp). The
    // letters are those of IMCSymMatrix; further ones:
    //
    //    B            a block: of this matrix in VBW, symmetric operand        -  or const IMCSymMatrix& B
    //                 of the order of SSub in SSubBSSub
    //    SSub         sub-matrix of S with the given row numbers, also         const std::vector<int>& rows
    //                 SymSub
    //    SpV, SpW     sparse vector                                            const MCSparseVector&
    //    Vii, Wii     vector with an index increment: element i at v[i*incr]   const double* v, int incr
    //    Sym          symmetric matrix                                         const IMCSymMatrix&
    //    RDiag        R times a diagonal matrix                                R and const std::vector<double>& d
    //    By           between the factors of a product that becomes S itself
    //
    // A name without S (RTransByR, RByRTrans, RTransSymR) forms S itself: the matrix takes the order of the result.

    bool ComputeAXpY(double a, const IMCSymMatrix& X) override;
    bool ComputeSV(const std::vector<double>& v, std::vector<double>& out) const override;
    bool ComputeRSRTrans(const IMCRectMatrix& R, IMCSymMatrix& out) const override;
    bool ComputeRTransSR(const IMCRectMatrix& R, IMCSymMatrix& out) const override;
    bool ComputeLSLTrans(const IMCSymMatrix& L, IMCSymMatrix& out) const override;
    bool ComputeLTransSL(const IMCSymMatrix& L, IMCSymMatrix& out) const override;

    double ComputeVSWii(const std::vector<double>& v, const double* w, int incr) const; ///< v'*S*w
    double ComputeViiSW(const double* v, int incr, const std::vector<double>& w) const; ///< v'*S*w

    /// v'*S*w over the elements that the sparse vectors hold. Missing when one is not valid or reaches beyond n.
    double ComputeSpVSSpW(const MCSparseVector& v, const MCSparseVector& w) const;

    /// v'*B*w, where B is the block of nRows rows from firstRow on and nCols columns from firstCol on; v and w hold
    /// nRows and nCols values.
    double ComputeVBW(const std::vector<double>& v, int firstRow, int nRows, const std::vector<double>& w, int firstCol,
                      int nCols) const;

    /// v'*B*v and v'*B*w, where B is diagonal block number block (see SetNBlocks); v and w hold GetBlockSize() values.
    double ComputeBlockVSV(int block, const std::vector<double>& v) const;
    /// v'*B*w, where B is diagonal block number block; v and w hold GetBlockSize() values.
    double ComputeBlockVSW(int block, const std::vector<double>& v, const std::vector<double>& w) const;

    /// v'*SSub*w; v and w hold one value for each of the rows.
    double ComputeVSymSubW(const std::vector<double>& v, const std::vector<int>& rows,
                           const std::vector<double>& w) const;

    /// SSub*B*SSub.
    bool ComputeSSubBSSub(const std::vector<int>& rows, const IMCSymMatrix& B, IMCSymMatrix& out) const;

    /// R*S*R' with both triangles.
    bool ComputeRSRTrans2(const IMCRectMatrix& R, MCRectMatrix& out) const;

    /// (R*D)*S*(R*D)'
    bool ComputeRDiagSRDiagTrans(const IMCRectMatrix& R, const std::vector<double>& d, IMCSymMatrix& out) const;

    /// M*G*N, where G is this matrix; M has n columns, N has n rows.
    bool ComputeMGN(const IMCRectMatrix& M, const IMCRectMatrix& N, MCRectMatrix& out) const;

    bool ComputeRTransByR(const IMCRectMatrix& R);                           ///< S := R'*R
    bool ComputeRByRTrans(const IMCRectMatrix& R);                           ///< S := R*R'
    bool ComputeRTransSymR(const IMCRectMatrix& R, const IMCSymMatrix& sym); ///< S := R'*Sym*R

    /// Row i times row j of S, and row i times v, over the columns [first, first+count).
    double ComputeDotProduct2RowsPart(int i, int j, int first, int count) const;
    /// Row i times v over the columns [first, first+count).
    double ComputeDotProductRowPart(int i, const std::vector<double>& v, int first, int count) const;

    /// Row i times row j of L, thus over the columns up to the smaller of i and j.
    double ComputeDotProduct2LRows(int i, int j) const;

    /// S := v*v', of the order of v. False when v has more than kMaxRows values.
    bool SetToVV(const std::vector<double>& v);

    /// S := the lower triangle of v*w', elements v_i*w_j for i >= j. False unless v and w have the same length.
    bool SetToVW(const std::vector<double>& v, const std::vector<double>& w);

    /// S += v*v'. False when v is shorter than n, as in the three members that follow.
    bool IncrementByVV(const std::vector<double>& v);

    /// S += f*x*x': each element (i, j) receives (f*x_i)*x_j.
    bool UpdateXX(const std::vector<double>& x, double f);

    /// S += f*d*d' with d = x - means.
    bool UpdateXXCentered(const std::vector<double>& x, const std::vector<double>& means, double f);

    /// The same on the rows and columns [first, first+count) alone; x holds n values.
    bool UpdateXXPart(const std::vector<double>& x, int first, int count, double f);

    /// S += sum over the rows z of Z of w*z*z', row by row. False when Z has not n columns or there are fewer weights
    /// than rows.
    bool UpdateZZ(const IMCRectMatrix& Z, const std::vector<double>& weights);

    // ---------------------------------------------------------------------------------------------------------------
    // Matrices that need not be positive definite (MCSymMatrixIndefinite.cpp). All work on a copy of the matrix.

    /// By LINPACK's Dspco and Dspdi.
    bool ComputeDeterminant(double tol, double* det) const override;

    /// Solves S*x = b by LINPACK's Dspco and Dspsl, symmetric indefinite elimination. x may be b.
    /// @return  false, and x as it was, for order 0, b shorter than n, a negative tol, or an estimated reciprocal
    ///          condition that is not above tol
    bool SolveIndefinite(const std::vector<double>& b, std::vector<double>& x, double tol) const;

    /// Solves S*x = b with a generalised inverse: elimination with the complete pivoting of Bunch and Parlett (1971)
    /// ends when no remaining element is larger than tol times the largest element of S; the unknowns that remain are
    /// 0. For a singular S this solves the system if it has a solution. x may be b.
    /// @return  the rank found; -1, and x as it was, for b shorter than n, a negative tol or an element that is not finite
    int SolveIndefiniteGI(const std::vector<double>& b, std::vector<double>& x, double tol) const;

protected:
    void MultiplyByS(const double* a, std::size_t rows, double* out) const override;
    void MultiplyByL(const double* a, std::size_t rows, double* out) const override;
    void MultiplyByLTrans(const double* a, std::size_t rows, double* out) const override;
    void TakePacked(int n, std::vector<double>&& packed) override;

private:
    static constexpr int kOrderForBlocks = 48; // below, the plain loops are faster

    static constexpr bool IsOrder(int n) { return IsPackedOrder(n); }

    // 64 bits: the product i*(i+1) leaves 32 bits from row 46341 on.
    static constexpr std::size_t RowStart(int i) { return PackedSize(i); }
    static constexpr std::size_t PackedIndex(int i, int j)
    {
        return i >= j ? RowStart(i) + static_cast<std::size_t>(j) : RowStart(j) + static_cast<std::size_t>(i);
    }
    double* Row(int i) { return fvElem.data() + RowStart(i); }
    const double* Row(int i) const { return fvElem.data() + RowStart(i); }

    bool SweepArgumentsValid(double tol, const double* origDiag, const MCBitSet& swept) const;
    bool ReferenceValid(const std::vector<double>& origDiag) const;
    bool RowsValid(const std::vector<int>& rows) const;

    void SetOrder(int n)
    {
        fnRows = n;
        fnBlocks = 1;
    }
    void FillFullRows(int first, int count, double* rows) const;
    bool MultipliesLByTile(const double* a, std::size_t rows) const;
    bool StoreSmallSandwich(const IMCRectMatrix& R, bool transposed, IMCSymMatrix& out) const;
    bool StoreSandwich(const MCSymMatrix& L, bool transposed, IMCSymMatrix& out) const;
    bool MultiplyByOwnTranspose();
    bool InvertFactorByBlocks();
    void InvertFactorByRows();
    void MultiplyRowsByTransposed(const internal::TileWorkspace* work, int first, int last);
    void SubstituteForward(double* x) const;
    void SubstituteBack(double* x) const;

    int fnRows = 0;
    int fnBlocks = 1;
    std::vector<double> fvElem;
};

} // namespace MCMath_930
