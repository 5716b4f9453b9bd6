// The interface of rectangular matrices, whatever their storage.
#pragma once

#include "modelcore/modelcore_export.h"

#include <vector>

namespace MCMath_930 {

class MCBitSet;
class MCRectMatrix;

/// A rectangular matrix R. What is written against this interface runs on a dense and on a sparse matrix alike, at the
/// cost of what each of them stores.
///
/// Rows and columns are numbered from 0. The order of the virtual functions is part of the binary interface.
///
/// Conventions of all members, as those of IMCSymMatrix: operands first, results last; a result takes its shape and may
/// be an operand; a vector holds at least as many values as are needed; a refusal (false, -1, or the system-missing
/// value where a number is returned) changes nothing; sums are taken in index order, starting from 0, over what is
/// stored. Column and row numbers out of range are refused by all members but GetElem and SetElem, which do not check.
class MODELCORE_EXPORT IMCRectMatrix {
public:
    /// The storage types that GetMatrixType tells apart.
    enum MatrixType {
        kDenseMatrix = 0, ///< MCRectMatrix: every element, row by row
        kSparseMatrix = 1 ///< MCSparseRectMatrix: at most a fixed number of elements in each row
    };

    virtual ~IMCRectMatrix();

    /// The storage type, one of MatrixType.
    virtual int GetMatrixType() const = 0;

    // ---------------------------------------------------------------------------------------------------------------
    // Elements, rows and columns

    virtual int GetNRows() const = 0; ///< the number of rows
    virtual int GetNCols() const = 0; ///< the number of columns

    /// Element (i, j), 0 <= i < rows, 0 <= j < columns; indexes are not checked. 0 where nothing is stored.
    virtual double GetElem(int i, int j) const = 0;

    /// Stores x as element (i, j); indexes are not checked.
    /// @return  false, and nothing changed, when the storage has no place for the element
    virtual bool SetElem(int i, int j, double x) = 0;

    /// Writes row i, one value per column, into row.
    virtual bool GetRow(int i, std::vector<double>& row) const = 0;

    /// Writes column j, one value per row, into col.
    virtual bool GetCol(int j, std::vector<double>& col) const = 0;

    /// Writes column j into v from element first on; the other elements of v stay. False when v is too short.
    virtual bool CopyColToVec(int j, int first, std::vector<double>& v) const = 0;

    // ---------------------------------------------------------------------------------------------------------------
    // Shape

    /// Makes this the zero matrix of the given shape. False for a shape that the storage cannot have.
    virtual bool SetNRowsCols(int rows, int cols) = 0;

    /// Changes the shape. Elements that lie in both the old and the new matrix stay, new ones are 0. False for a shape
    /// that the storage cannot have.
    virtual bool Resize(int rows, int cols) = 0;

    /// Makes the matrix empty. The memory is kept for the next use.
    virtual void Clear() = 0;

    /// Moves every row down by the given number of rows (up when it is negative), every column to the right. What
    /// leaves the matrix is lost, what is vacated becomes 0; the shape stays. True, unless the storage has no place.
    virtual bool ShiftRows(int by) = 0;
    /// ShiftRows for columns: to the right, to the left when by is negative.
    virtual bool ShiftColumns(int by) = 0;

    /// Spreads a square matrix out to order kept.Size(): its rows and columns go in order to the set bits, all other
    /// elements are 0. False unless the matrix is square and has as many rows as bits are set.
    virtual bool ExpandSquare(const MCBitSet& kept) = 0;

    /// Makes this the matrix with the given blocks along its diagonal, from the upper left corner on, and 0 elsewhere.
    /// False when an entry is null. The blocks may include this matrix.
    virtual bool CreateBlockDiagonal(const std::vector<const IMCRectMatrix*>& blocks) = 0;

    // ---------------------------------------------------------------------------------------------------------------
    // Copying and extracting. Sources may be this matrix.

    /// Row `row` := row or column of source. False when the lengths differ or the storage has no place for an element.
    virtual bool CopyRowToRow(const IMCRectMatrix& source, int sourceRow, int row) = 0;
    /// Row `row` := column sourceCol of source, refused as CopyRowToRow is.
    virtual bool CopyColToRow(const IMCRectMatrix& source, int sourceCol, int row) = 0;

    /// Rows first to first+count-1 := the rows of source from firstSource on.
    virtual bool CopyRows(const IMCRectMatrix& source, int firstSource, int count, int first) = 0;

    /// The given rows or columns, in the order given; a number may come twice. out is dense, or of this matrix's type.
    virtual bool ExtractRows(const std::vector<int>& rows, IMCRectMatrix& out) const = 0;
    /// The given columns in the order given; out as for ExtractRows.
    virtual bool ExtractColumns(const std::vector<int>& cols, IMCRectMatrix& out) const = 0;

    // ---------------------------------------------------------------------------------------------------------------
    // Products. R is this matrix, V a vector (v' in front of R), B another rectangular matrix.

    virtual bool ComputeRV(const std::vector<double>& v, std::vector<double>& out) const = 0;    ///< R*v
    virtual bool ComputeVR(const std::vector<double>& v, std::vector<double>& out) const = 0;    ///< v'*R
    virtual bool ComputeMatrixProduct(const IMCRectMatrix& B, MCRectMatrix& out) const = 0;      ///< R*B
    virtual bool ComputeProductMatrixTrans(const IMCRectMatrix& B, MCRectMatrix& out) const = 0; ///< R*B'

    virtual double DotProductCol(int j, const std::vector<double>& v) const = 0;         ///< column j times v
    virtual double DotProductRows(int i, int k) const = 0;                               ///< row i times row k
    virtual double DotProductRowCol(int i, const IMCRectMatrix& other, int j) const = 0; ///< row i, column j of other
    virtual double DotProductRowRow(int i, const IMCRectMatrix& other, int k) const = 0; ///< row i, row k of other
    virtual bool IncrVecByColumn(int j, double a, std::vector<double>& v) const = 0;     ///< v += a * column j

    // ---------------------------------------------------------------------------------------------------------------
    // Norms and zeros

    /// The square root of the sum of squares of column j or row i. Missing when there is none such.
    virtual double ColNorm(int j) const = 0;
    /// The square root of the sum of squares of row i. Missing when there is none such.
    virtual double RowNorm(int i) const = 0;

    /// Whether every element of row i is 0.
    virtual bool IsRowZero(int i) const = 0;

    /// Sets the elements of row i in the columns [first, first+count) to 0.
    virtual bool ZeroOutRowPart(int i, int first, int count) = 0;

    // ---------------------------------------------------------------------------------------------------------------
    // Diagnostic text

    /// Writes the matrix to the diagnostic text stream, between the lines "<Class> display start" and
    /// "<Class> display end": the elements that are stored.
    virtual void Display() const = 0;

    /// The same with all elements, stored or not.
    virtual void DisplayF() const = 0;

protected:
    IMCRectMatrix() = default;
    IMCRectMatrix(const IMCRectMatrix&) = default;
    IMCRectMatrix(IMCRectMatrix&&) = default;
    IMCRectMatrix& operator=(const IMCRectMatrix&) = default;
    IMCRectMatrix& operator=(IMCRectMatrix&&) = default;

    /// Whether there is a row i.
    bool IsRow(int i) const { return i >= 0 && i < GetNRows(); }
    /// Whether there is a column j.
    bool IsCol(int j) const { return j >= 0 && j < GetNCols(); }

    /// The shape of blocks along a diagonal. False when one is null or the shape is beyond an int.
    static bool SumOfShapes(const std::vector<const IMCRectMatrix*>& blocks, int& rows, int& cols);

    /// Whether source has `count` rows from firstSource on, and this matrix as many from first on.
    bool HasRows(const IMCRectMatrix& source, int firstSource, int count, int first) const
    {
        return count >= 0 && firstSource >= 0 && count <= source.GetNRows() - firstSource && first >= 0 &&
               count <= GetNRows() - first;
    }
};

} // namespace MCMath_930
