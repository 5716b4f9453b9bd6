// The interface of rectangular matrices, whatever their storage.
#pragma once

#include "modelcore/modelcore_export.h"

#include <vector>

namespace MCMath_930 {

/// A rectangular matrix. What is written against this interface runs on a dense and on a sparse matrix alike, at the
/// cost of what each of them stores.
///
/// Rows and columns are numbered from 0. The order of the virtual functions is part of the binary interface.
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

    virtual int GetNRows() const = 0;
    virtual int GetNCols() const = 0;

    /// Element (i, j), 0 <= i < rows, 0 <= j < columns; indexes are not checked. 0 where nothing is stored.
    virtual double GetElem(int i, int j) const = 0;

    /// Stores x as element (i, j); indexes are not checked.
    /// @return  false, and nothing changed, when the storage has no place for the element
    virtual bool SetElem(int i, int j, double x) = 0;

    /// Writes row i, one value per column, into row.
    /// @return  false, and row as it was, for i outside [0, rows)
    virtual bool GetRow(int i, std::vector<double>& row) const = 0;

    /// Writes column j, one value per row, into col.
    /// @return  false, and col as it was, for j outside [0, columns)
    virtual bool GetCol(int j, std::vector<double>& col) const = 0;

    /// Changes the shape. Elements that lie in both the old and the new matrix stay, new ones are 0.
    /// @return  false, and nothing changed, for a shape that the storage cannot have
    virtual bool Resize(int rows, int cols) = 0;

    /// Makes this the zero matrix of the given shape.
    /// @return  false, and nothing changed, for a shape that the storage cannot have
    virtual bool SetNRowsCols(int rows, int cols) = 0;

    /// Makes the matrix empty.
    virtual void Clear() = 0;

    /// Writes the matrix to the diagnostic text stream, between the lines "<Class> display start" and
    /// "<Class> display end".
    virtual void Display() const = 0;

protected:
    IMCRectMatrix() = default;
    IMCRectMatrix(const IMCRectMatrix&) = default;
    IMCRectMatrix(IMCRectMatrix&&) = default;
    IMCRectMatrix& operator=(const IMCRectMatrix&) = default;
    IMCRectMatrix& operator=(IMCRectMatrix&&) = default;
};

} // namespace MCMath_930
