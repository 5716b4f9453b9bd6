// The interface of symmetric matrices, whatever their storage.
#pragma once

#include "modelcore/modelcore_export.h"

#include <vector>

namespace MCMath_930 {

/// A symmetric matrix of order n. What is written against this interface runs on a packed, a diagonal and a
/// block-diagonal matrix alike, at the cost of what each of them stores.
///
/// Rows and columns are numbered from 0. The order of the virtual functions is part of the binary interface.
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

    /// The order n.
    virtual int GetNRows() const = 0;

    /// Element (i, j), 0 <= i, j < n, in either order; indexes are not checked. 0 where nothing is stored.
    virtual double GetElem(int i, int j) const = 0;

    /// Stores x as the elements (i, j) and (j, i); indexes are not checked.
    /// @return  false, and nothing changed, when the storage kind has no place for the element
    virtual bool SetElem(int i, int j, double x) = 0;

    /// Writes row i, n values, into row.
    /// @return  false, and row as it was, for i outside [0, n)
    virtual bool GetRow(int i, std::vector<double>& row) const = 0;

    /// Replaces row and column i by the first n values of row.
    /// @return  false, and nothing changed, for i outside [0, n), when row is shorter than n, or when a value other
    ///          than 0 belongs where the storage kind has no place
    virtual bool PutRow(int i, const std::vector<double>& row) = 0;

    /// Writes the n diagonal elements into diag.
    virtual void GetDiagonal(std::vector<double>& diag) const = 0;

    /// Adds x to every diagonal element.
    virtual void AddToDiagonal(double x) = 0;

    /// Multiplies every element by x.
    virtual void MultiplyByNumber(double x) = 0;

    /// Changes the sign of every element.
    virtual void ChangeSign() = 0;

    /// The sum of the diagonal elements, added in index order; 0 for order 0.
    virtual double Trace() const = 0;

    /// Sets every element to 0; the order stays.
    virtual void ZeroOut() = 0;

    /// Makes the matrix empty: order 0.
    virtual void Clear() = 0;

    /// Writes the matrix to the diagnostic text stream, between the lines "<Class> display start" and
    /// "<Class> display end".
    virtual void Display() const = 0;

protected:
    IMCSymMatrix() = default;
    IMCSymMatrix(const IMCSymMatrix&) = default;
    IMCSymMatrix(IMCSymMatrix&&) = default;
    IMCSymMatrix& operator=(const IMCSymMatrix&) = default;
    IMCSymMatrix& operator=(IMCSymMatrix&&) = default;
};

} // namespace MCMath_930
