// The dense rectangular matrix.
#pragma once

#include "modelcore/matrix/IMCRectMatrix.h"
#include "modelcore/modelcore_export.h"

#include <cstddef>
#include <span>
#include <vector>

namespace MCMath_930 {

class IMCSymMatrix;
class MCSparseVector;

/// A dense rectangular matrix R: blocks of data, design matrices, contrasts, coefficients.
///
/// The rows x columns elements stand in one array, row by row: element (i, j) at i*columns + j. The matrix owns its
/// elements; copies are deep. A shape with a negative side, or with more elements than an array can hold, is refused
/// wherever one is given. Extraction writes into dense matrices alone.
class MODELCORE_EXPORT MCRectMatrix : public IMCRectMatrix {
public:
    // ---------------------------------------------------------------------------------------------------------------
    // Storage and elements (MCRectMatrix.cpp)

    /// An empty matrix, 0 x 0.
    MCRectMatrix() = default;

    /// The zero matrix of the given shape; an empty one when the shape is refused.
    MCRectMatrix(int rows, int cols);

    /// The matrix with the given elements, row by row; an empty one when the shape is refused or there are not
    /// rows*cols of them.
    MCRectMatrix(int rows, int cols, std::span<const double> rowMajor);

    MCRectMatrix(const MCRectMatrix& other) = default;

    /// A copy that runs out of memory leaves the matrix as it was.
    MCRectMatrix& operator=(const MCRectMatrix& other);

    /// Takes the storage over; other is empty afterwards.
    MCRectMatrix(MCRectMatrix&& other) noexcept;
    MCRectMatrix& operator=(MCRectMatrix&& other) noexcept;

    ~MCRectMatrix() override;

    int GetMatrixType() const override { return kDenseMatrix; }
    int GetNRows() const override { return fnRows; }
    int GetNCols() const override { return fnCols; }
    double GetElem(int i, int j) const override { return fvElem[Index(i, j)]; }

    /// Stores x as element (i, j); indexes are not checked. Always true.
    bool SetElem(int i, int j, double x) override
    {
        fvElem[Index(i, j)] = x;
        return true;
    }

    /// The elements row by row; valid until the shape changes.
    double* GetPtr() { return fvElem.data(); }
    const double* GetPtr() const { return fvElem.data(); }
    /// The elements row by row as a span; valid until the shape changes.
    std::span<double> AsSpan() { return fvElem; }
    std::span<const double> AsSpan() const { return fvElem; }

    /// The first element of row i; null for i outside [0, rows).
    double* GetRowPtr(int i) { return IsRow(i) ? fvElem.data() + Index(i, 0) : nullptr; }
    const double* GetRowPtr(int i) const { return IsRow(i) ? fvElem.data() + Index(i, 0) : nullptr; }

    /// Element (0, j), of which the successors in the column lie GetNCols() doubles apart; null for j outside
    /// [0, columns) and in a matrix without rows.
    double* GetColPtr(int j) { return IsCol(j) && fnRows > 0 ? fvElem.data() + j : nullptr; }
    const double* GetColPtr(int j) const { return IsCol(j) && fnRows > 0 ? fvElem.data() + j : nullptr; }

    bool GetRow(int i, std::vector<double>& row) const override;
    bool GetCol(int j, std::vector<double>& col) const override;
    bool CopyColToVec(int j, int first, std::vector<double>& v) const override;

    /// Replaces row i by the first GetNCols() values of row, column j by the first GetNRows() values of col. False, and
    /// nothing changed, when there is no such row or column or the vector is too short.
    bool SetRow(int i, const std::vector<double>& row);
    /// Replaces column j by the first GetNRows() values of col; refused as SetRow is.
    bool SetCol(int j, const std::vector<double>& col);

    /// Shape and elements from an array stored row by row or column by column, and to one of rows*columns elements.
    bool CopyFromRowMajor(const double* elements, int rows, int cols);
    /// Shape and elements from an array stored column by column.
    bool CopyFromColMajor(const double* elements, int rows, int cols);
    /// Writes the elements row by row to an array of rows*columns elements.
    void CopyToRowMajor(double* elements) const;
    /// Writes the elements column by column to an array of rows*columns elements.
    void CopyToColMajor(double* elements) const;

    /// Whether the shape and the storage agree. They always do, unless memory was written that is not the program's.
    bool IsValidMatrix() const;

    // ---------------------------------------------------------------------------------------------------------------
    // Shape

    bool SetNRowsCols(int rows, int cols) override;
    bool Resize(int rows, int cols) override;

    /// Makes the shape for a result that will be written whole: what the elements are is not said.
    bool ResizeNRowsCols(int rows, int cols);

    void Clear() override;
    bool ShiftRows(int by) override;
    bool ShiftColumns(int by) override;

    /// Appends a row of zeros, a row or a column with the given values. A matrix without rows and columns takes the
    /// length of its first row or column from it.
    /// @return  the new number of rows or columns; -1 when the length of the vector is not right
    int AddRow();
    int AddRow(const std::vector<double>& row);
    /// Appends a column; see AddRow.
    int AddColumn(const std::vector<double>& col);

    /// Removes row i or column j. False, and nothing changed, when there is none such.
    bool DeleteOneRow(int i);
    /// Removes column j. False, and nothing changed, when there is none such.
    bool DeleteOneCol(int j);

    /// Spreads the matrix out: row i goes to row rowPositions[i], column j to column colPositions[j] of a rows x cols
    /// matrix of zeros. False unless there is one place for each row and column and no place is named twice.
    bool Expand(const std::vector<int>& rowPositions, int rows, const std::vector<int>& colPositions, int cols);

    /// The same with places given as bits.
    bool ExpandRectangular(const MCBitSet& keptRows, const MCBitSet& keptCols);
    bool ExpandSquare(const MCBitSet& kept) override;

    bool CreateBlockDiagonal(const std::vector<const IMCRectMatrix*>& blocks) override;

    /// The transpose, in place or into another matrix.
    void Transpose();
    void Transpose(MCRectMatrix& out) const;

    // ---------------------------------------------------------------------------------------------------------------
    // Copying and extracting

    bool CopyRowToRow(const IMCRectMatrix& source, int sourceRow, int row) override;
    bool CopyColToRow(const IMCRectMatrix& source, int sourceCol, int row) override;
    /// Column col := a column of source, which may be this matrix. False, and nothing changed, when there is none such
    /// or the lengths differ.
    bool CopyColToCol(const IMCRectMatrix& source, int sourceCol, int col);
    bool CopyRows(const IMCRectMatrix& source, int firstSource, int count, int first) override;

    /// Columns first to first+count-1 := the columns of source from firstSource on. The same as of CopyColToCol.
    bool CopyColumns(const IMCRectMatrix& source, int firstSource, int count, int first);
    bool ExtractRows(const std::vector<int>& rows, IMCRectMatrix& out) const override;
    bool ExtractColumns(const std::vector<int>& cols, IMCRectMatrix& out) const override;

    // ---------------------------------------------------------------------------------------------------------------
    // Products (MCRectMatrixProducts.cpp). A name spells the factors from left to right, with the letters of
    // IMCSymMatrix: R is this matrix, V and W are vectors, Diag is a diagonal matrix given as the vector of its
    // diagonal, S a symmetric matrix of any kind, SpV and SpW sparse vectors, R1 this matrix where there is also an R2.
    // Operands that do not fit are refused; a result may be an operand.

    bool ComputeRV(const std::vector<double>& v, std::vector<double>& out) const override;
    bool ComputeVR(const std::vector<double>& v, std::vector<double>& out) const override;
    bool ComputeMatrixProduct(const IMCRectMatrix& B, MCRectMatrix& out) const override;
    bool ComputeProductMatrixTrans(const IMCRectMatrix& B, MCRectMatrix& out) const override;

    double ComputeVRW(const std::vector<double>& v, const std::vector<double>& w) const; ///< v'*R*w
    bool ComputeRDiagV(const std::vector<double>& diag, const std::vector<double>& v,
                       std::vector<double>& out) const;                                              ///< R*Diag*v
    bool ComputeDiagR(const std::vector<double>& diag, MCRectMatrix& out) const;                     ///< Diag*R
    bool ComputeR1TransSR2(const IMCSymMatrix& S, const IMCRectMatrix& R2, MCRectMatrix& out) const; ///< R1'*S*R2

    /// BlockDiag(S, ..., S)*R, with as many blocks as R has times the rows of S. False when they do not come out even.
    bool ComputeBlockDiagSR(const IMCSymMatrix& S, MCRectMatrix& out) const;

    /// v'*R*w over the elements that the sparse vectors hold.
    double ComputeSpVRSpW(const MCSparseVector& v, const MCSparseVector& w) const;

    /// R := v*w'
    bool ComputeVecProduct(const std::vector<double>& v, const std::vector<double>& w);

    /// R := a*X + R, element by element.
    bool ComputeAXpY(double a, const IMCRectMatrix& X);

    /// R := R - S, for a square R. False when S is of another order.
    bool SubtractSymMatrix(const IMCSymMatrix& S);

    double DotProductCol(int j, const std::vector<double>& v) const override;
    double DotProductColCol(int j, const IMCRectMatrix& other, int k) const; ///< column j, column k of other
    double DotProductRows(int i, int k) const override;
    double DotProductRowCol(int i, const IMCRectMatrix& other, int j) const override;
    double DotProductRowRow(int i, const IMCRectMatrix& other, int k) const override;
    bool IncrVecByColumn(int j, double a, std::vector<double>& v) const override;

    /// trace(R*S) for a square R: the sum over the rows of the products of row i of R with row i of S.
    double TraceOfProductSqS(const IMCSymMatrix& S) const;

    /// The same for the square part of R that starts at (firstRow, firstCol) and has the order of S.
    double TraceOfProductSubMatSym(int firstRow, int firstCol, const IMCSymMatrix& S) const;

    // ---------------------------------------------------------------------------------------------------------------
    // Treatment of rows and columns

    double ColNorm(int j) const override;
    double RowNorm(int i) const override;

    /// Multiplies column j by a. False when there is no such column.
    bool ColScale(int j, double a);

    /// Sets to 0 the elements of column j whose magnitude is at most tol times the largest one of the column. Returns
    /// how many; -1 for a tol that is negative or NaN.
    int ColClean(int j, double tol);

    /// Adds x to every element of column j (false when there is none such), to every element (i, i).
    bool AddToColumn(int j, double x);
    /// Adds x to every element (i, i).
    void AddToDiagonal(double x);

    /// Sets column j to 0. False when there is none such.
    bool ZeroOutCol(int j);

    /// Sets row i to 0 but for its pivot, the element (i, pivot).
    bool ZeroOutPivotRow(int i, int pivot);
    bool ZeroOutRowPart(int i, int first, int count) override;

    /// Whether every element of column j is 0. False when there is no such column.
    bool IsColZero(int j) const;
    bool IsRowZero(int i) const override;

    /// Whether row i has exactly one element that is not 0.
    bool IsRowZeroButOne(int i) const;

    /// The first column in which row i is not 0; -1 when there is none.
    int FindFirstNonZeroInRow(int i) const;

    /// Whether every element of column j is exactly 1: an intercept. False in a matrix without rows.
    bool CheckForOnes(int j) const;

    // ---------------------------------------------------------------------------------------------------------------
    // Rank and estimability (MCRectMatrixRank.cpp). A row or column is redundant when the norm of its residual on the
    // earlier ones that are not is at most tol times its own norm; of dependent ones the earliest is kept. The tests
    // work on cross products, whose rounding errors hide what is below about 1e-8: that is the usual tolerance. A
    // negative or NaN tol is refused.

    /// Marks the independent rows (byRows) or columns: their bits are set, all others cleared; kept grows when needed.
    /// @return  the number of redundant ones; -1, and kept as it was, for a refused tol
    int FindRedundancies(double tol, MCBitSet& kept, bool byRows) const;

    /// The numbers of the independent rows or columns, ascending. Returns how many, the rank; -1 for a refused tol.
    int FindNonRedunIndices(double tol, bool byRows, std::vector<int>& indices) const;

    /// The matrix without its redundant rows or columns. Returns the rank; -1 for a refused tol.
    int ExtractFullRank(double tol, bool byRows, MCRectMatrix& out) const;

    /// Which columns of added are independent of the columns of this matrix and of each other: their bits are set.
    /// Returns how many are redundant; -1 for a refused tol or another number of rows.
    int CheckAddColRedundancies(const IMCRectMatrix& added, double tol, MCBitSet& kept) const;

    /// Whether row i is a multiple of another row: whether its residual on some other row has at most tol times its own
    /// norm. A zero row is 0 times any other.
    bool IsERowMultipleOfAnother(int i, double tol) const;

    /// Whether the linear function l'*b of the coefficients b of a linear model with this design matrix is estimable, l
    /// a combination of rows: no element of S*G*l - l, with S = R'*R and G its generalised inverse, is larger than tol
    /// times the largest element of l. l has one value per column.
    bool IsEstimable(const std::vector<double>& l, double tol) const;

    /// The same for every row l' of a matrix, with one factorisation for all: the bits of those that are estimable are
    /// set, all others cleared.
    /// @return  how many are estimable; -1, and estimable as it was, for a refused tol or another number of columns
    int FindEstimable(const IMCRectMatrix& functions, double tol, MCBitSet& estimable) const;

    /// The least-squares solution of R*x = b by a generalised inverse of the normal equations: 0 for redundant columns.
    /// x may be b. Returns the rank; -1 for a refused tol or when b is shorter than a column.
    int EstimateLinearGI(const std::vector<double>& b, std::vector<double>& x, double tol) const;

    /// What remains of v when its orthogonal projection onto the columns of R is taken away. The projection is done
    /// twice: the second takes away what the first leaves by rounding. resid may be v.
    bool ResidOfOrthProjection(const std::vector<double>& v, std::vector<double>& resid, double tol) const;

    // ---------------------------------------------------------------------------------------------------------------
    // Solutions by LINPACK (MCRectMatrixSolve.cpp), on copies of the matrix

    /// The Householder QR decomposition without pivoting (LINPACK's Dqrdc and Dqrsl): this matrix = Q*R with the m =
    /// min(rows, columns) columns of Q orthonormal and R upper trapezoidal, m x columns. False for an empty matrix.
    bool QRDecompositionH(MCRectMatrix& Q, MCRectMatrix& R) const;

    /// Solves R*x = b for a square matrix of order >= 1 by LINPACK's Dgeco and Dgesl. x may be b.
    /// @return  false, and x as it was, for another shape, a negative or NaN tol, b shorter than a column, or when the
    ///          estimated reciprocal condition does not exceed tol
    bool SolveLinearSquare(const std::vector<double>& b, std::vector<double>& x, double tol) const;

    // ---------------------------------------------------------------------------------------------------------------
    // Diagnostic text

    void Display() const override;
    void DisplayF() const override;

private:
    static bool IsShape(int rows, int cols);
    std::size_t Index(int i, int j) const
    {
        return static_cast<std::size_t>(i) * static_cast<std::size_t>(fnCols) + static_cast<std::size_t>(j);
    }
    std::size_t RowLength() const { return static_cast<std::size_t>(fnCols); }
    std::size_t ColLength() const { return static_cast<std::size_t>(fnRows); }

    int fnRows = 0;
    int fnCols = 0;
    std::vector<double> fvElem;
};

} // namespace MCMath_930
