// The sparse rectangular matrix with a fixed number of slots in each row.
#pragma once

#include "modelcore/matrix/IMCRectMatrix.h"
#include "modelcore/modelcore_export.h"

#include <cstddef>
#include <vector>

namespace MCMath_930 {

class MCSparseVector;

/// A sparse rectangular matrix A whose rows each store at most K elements: design matrices of categorical effects.
///
/// Values and column indices stand in two arrays of capacity*K slots, slot k of row i at i*K + k. The indices of a row
/// ascend strictly; a slot without element has the index -1 and the value 0 and lies in front of the row's elements, so
/// that a row whose first index is not -1 is full. Slots of rows beyond GetNRows() are empty. Which elements a row
/// stores, its pattern, is set by row operations; SetElem writes into it and never extends it. A stored element may be
/// 0. The matrix owns its arrays; copies are deep.
///
/// Access to a row takes the time of its K slots, to an element log K, to a column log K for each row; products take
/// that of the slots.
class MODELCORE_EXPORT MCSparseRectMatrix : public IMCRectMatrix {
public:
    // ---------------------------------------------------------------------------------------------------------------
    // Storage and elements (MCSparseRectMatrix.cpp)

    /// A matrix without rows, columns and slots, which is not valid: something to assign to or to extract into.
    MCSparseRectMatrix() = default;

    /// A matrix without rows, with room for capacity rows of nCols columns and K slots each. One that is not valid when
    /// nCols or K is below 1, K is above nCols, or there can be no arrays of that size; with capacity 0 it becomes valid
    /// with its first row.
    MCSparseRectMatrix(int capacity, int nCols, int K);

    MCSparseRectMatrix(const MCSparseRectMatrix& other) = default;

    /// Takes the storage over; other is as after default construction.
    MCSparseRectMatrix(MCSparseRectMatrix&& other) noexcept;
    MCSparseRectMatrix& operator=(MCSparseRectMatrix&& other) noexcept;
    MCSparseRectMatrix& operator=(const MCSparseRectMatrix& other);

    ~MCSparseRectMatrix() override;

    int GetMatrixType() const override { return kSparseMatrix; }
    int GetNRows() const override { return fnRows; }
    int GetNCols() const override { return fnCols; }

    /// The number of rows that fit without new memory.
    int GetRowCapacity() const { return fnCapacity; }

    /// K, the number of slots in each row.
    int GetNNZRowElements() const { return fnSlots; }

    /// The values and the column indices of all slots, capacity*K of them; valid until the next change of the shape.
    const std::vector<double>& NZElemsAsVector() const { return fvValues; }
    /// The column indices of all slots, capacity*K of them; valid until the next change of the shape.
    const std::vector<int>& NZColIndicesAsVector() const { return fvIndices; }

    /// Whether 0 <= rows <= capacity, capacity >= 1, columns >= 1, 1 <= K <= columns, and the arrays have the size that
    /// belongs to them.
    bool IsValidMatrix() const;

    /// Element (i, j); 0 where none is stored or there is none such.
    double GetElem(int i, int j) const override;

    /// Stores x when element (i, j) is in the pattern of row i. Elsewhere nothing is stored.
    /// @return  whether element (i, j) is x now; false for one that is not in the matrix
    bool SetElem(int i, int j, double x) override;

    /// Appends a row whose slots are empty. When the capacity is used up it becomes 10 if it is at most 6, else half as
    /// much again.
    /// @return  the new number of rows; -1 when the matrix is not valid or can have no more rows
    int AddRow();

    /// Appends a row with the elements of a sparse vector, or with count of them from stored element first on.
    /// @return  the new number of rows; -1, and nothing changed, unless the vector is valid, has these elements,
    ///          exactly K of them, and no index beyond the columns
    int AddRow(const MCSparseVector& v);
    int AddRow(const MCSparseVector& v, int first, int count);

    /// Replaces row i by the elements of a sparse vector. False, and nothing changed, for i outside [0, rows) and when
    /// AddRow would refuse the vector.
    bool SetRow(int i, const MCSparseVector& v);

    /// The whole row, one value per column.
    bool GetRow(int i, std::vector<double>& row) const override;

    /// The stored elements of row i: ascending column indices and their values, empty slots left out.
    bool GetRow(int i, std::vector<int>& indices, std::vector<double>& values) const;

    /// The K slots of row i in place, empty ones included; valid until the next change of the shape.
    bool GetRow(int i, const int*& indices, const double*& values) const;

    bool GetCol(int j, std::vector<double>& col) const override;
    bool CopyColToVec(int j, int first, std::vector<double>& v) const override;

    /// The last column, one value per row. False when there is none.
    bool ExtractLastCol(std::vector<double>& col) const;

    /// The stored elements column by column, for work that goes down columns: those of column j are at the positions
    /// starts[j] to starts[j+1]-1 of rows and values, the row numbers ascending. starts gets one value per column and
    /// the number of elements at its end.
    void GetSparseMatrixColumns(std::vector<std::size_t>& starts, std::vector<int>& rows,
                                std::vector<double>& values) const;

    /// The dense matrix with the same elements. False, and out as it was, when it is larger than those can be.
    bool CreateFullMatrix(MCRectMatrix& out) const;

    // ---------------------------------------------------------------------------------------------------------------
    // Shape (MCSparseRectMatrixShape.cpp). K stays what it is unless something else is said. A shape is refused that
    // has fewer columns than K.

    bool SetNRowsCols(int rows, int cols) override;
    bool Resize(int rows, int cols) override;

    /// Removes all rows; columns, K and the memory stay.
    void Clear() override;

    bool ShiftRows(int by) override;
    bool ShiftColumns(int by) override;
    bool ExpandSquare(const MCBitSet& kept) override;

    /// Of a dense block the elements that are not 0 are stored. K becomes what the fullest row needs, at least 1. False
    /// as well when the blocks have no columns.
    bool CreateBlockDiagonal(const std::vector<const IMCRectMatrix*>& blocks) override;

    // ---------------------------------------------------------------------------------------------------------------
    // Copying and extracting (MCSparseRectMatrixShape.cpp). A row takes over the pattern of a sparse source, of a dense
    // one the elements that are not 0; when these are more than K, nothing is copied.

    bool CopyRowToRow(const IMCRectMatrix& source, int sourceRow, int row) override;
    bool CopyColToRow(const IMCRectMatrix& source, int sourceCol, int row) override;
    bool CopyRows(const IMCRectMatrix& source, int firstSource, int count, int first) override;
    bool ExtractRows(const std::vector<int>& rows, IMCRectMatrix& out) const override;

    /// A sparse result has as many slots as its fullest row needs, at least 1, and cannot be without columns.
    bool ExtractColumns(const std::vector<int>& cols, IMCRectMatrix& out) const override;

    /// The block of nRows rows from firstRow on and nCols >= 1 columns from firstCol on, with slots as ExtractColumns.
    bool ExtractSubSparseRectMat(int firstRow, int nRows, int firstCol, int nCols, MCSparseRectMatrix& out) const;

    // ---------------------------------------------------------------------------------------------------------------
    // Products, norms and zeros over the stored elements (MCSparseRectMatrixProducts.cpp). What is not stored takes no
    // part, as a 0 that stays 0 whatever it meets.

    bool ComputeRV(const std::vector<double>& v, std::vector<double>& out) const override;
    bool ComputeVR(const std::vector<double>& v, std::vector<double>& out) const override;
    bool ComputeMatrixProduct(const IMCRectMatrix& B, MCRectMatrix& out) const override;
    bool ComputeProductMatrixTrans(const IMCRectMatrix& B, MCRectMatrix& out) const override;

    double DotProductCol(int j, const std::vector<double>& v) const override;
    double DotProductRows(int i, int k) const override;
    double DotProductRowCol(int i, const IMCRectMatrix& other, int j) const override;
    double DotProductRowRow(int i, const IMCRectMatrix& other, int k) const override;
    bool IncrVecByColumn(int j, double a, std::vector<double>& v) const override;

    double ColNorm(int j) const override;
    double RowNorm(int i) const override;
    bool IsRowZero(int i) const override;

    /// The elements stay in the pattern, with the value 0.
    bool ZeroOutRowPart(int i, int first, int count) override;

    // ---------------------------------------------------------------------------------------------------------------
    // Diagnostic text

    void Display() const override;
    void DisplayF() const override;

private:
    /// The stored elements of a row, the empty slots in front left out.
    struct Stored {
        const int* indices;
        const double* values;
        int count;
    };
    struct RowList;

    static bool IsShape(int capacity, int cols, int slots);
    void SetShape(int capacity, int cols, int slots);
    void Swap(MCSparseRectMatrix& other) noexcept;

    std::size_t Slot(int i, int k) const
    {
        return static_cast<std::size_t>(i) * static_cast<std::size_t>(fnSlots) + static_cast<std::size_t>(k);
    }
    Stored StoredRow(int i) const;
    int FindIndex(int i, int j) const;
    bool TakesRow(const MCSparseVector& v, int first, int count) const;
    void Reserve(int capacity);
    void WriteRow(int i, const int* indices, const double* values, int count);
    void EmptyRows(int first, int count);
    void MoveRowColumns(int i, long long by, int cols);
    bool Assign(const RowList& list, int cols);

    int fnRows = 0;
    int fnCapacity = 0;
    int fnCols = 0;
    int fnSlots = 0; // K
    std::vector<double> fvValues;
    std::vector<int> fvIndices;
};

} // namespace MCMath_930
