// The dense rectangular matrix: storage, elements, rows and columns.
#pragma once

#include "modelcore/matrix/IMCRectMatrix.h"
#include "modelcore/modelcore_export.h"

#include <cstddef>
#include <span>
#include <vector>

namespace MCMath_930 {

/// A dense rectangular matrix: blocks of data, design matrices, contrasts, coefficients.
///
/// The rows x columns elements stand in one array, row by row: element (i, j) at i*columns + j. The matrix owns its
/// elements; copies are deep. A shape with a negative side, or with more elements than an array can hold, is refused
/// wherever one is given.
class MODELCORE_EXPORT MCRectMatrix : public IMCRectMatrix {
public:
    /// An empty matrix, 0 x 0.
    MCRectMatrix() = default;

    /// The zero matrix of the given shape; an empty one when the shape is refused.
    MCRectMatrix(int rows, int cols);

    MCRectMatrix(const MCRectMatrix& other) = default;
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
    std::span<double> AsSpan() { return fvElem; }
    std::span<const double> AsSpan() const { return fvElem; }

    /// The first element of row i; null for i outside [0, rows).
    double* GetRowPtr(int i) { return i >= 0 && i < fnRows ? fvElem.data() + Index(i, 0) : nullptr; }
    const double* GetRowPtr(int i) const { return i >= 0 && i < fnRows ? fvElem.data() + Index(i, 0) : nullptr; }

    /// Element (0, j), of which the successors in the column lie GetNCols() doubles apart; null for j outside
    /// [0, columns) and in a matrix without rows.
    double* GetColPtr(int j) { return j >= 0 && j < fnCols && fnRows > 0 ? fvElem.data() + j : nullptr; }
    const double* GetColPtr(int j) const { return j >= 0 && j < fnCols && fnRows > 0 ? fvElem.data() + j : nullptr; }

    bool Resize(int rows, int cols) override;
    bool SetNRowsCols(int rows, int cols) override;
    void Clear() override;

    bool GetRow(int i, std::vector<double>& row) const override;
    bool GetCol(int j, std::vector<double>& col) const override;

    /// Replaces row i by the first GetNCols() values of row.
    /// @return  false, and nothing changed, for i outside [0, rows) or when row is too short
    bool SetRow(int i, const std::vector<double>& row);

    void Display() const override;

private:
    static bool IsShape(int rows, int cols);
    std::size_t Index(int i, int j) const
    {
        return static_cast<std::size_t>(i) * static_cast<std::size_t>(fnCols) + static_cast<std::size_t>(j);
    }

    int fnRows = 0;
    int fnCols = 0;
    std::vector<double> fvElem;
};

} // namespace MCMath_930
