// The symmetric matrix of blocks along the diagonal, behind the interface of symmetric matrices.
#pragma once

#include "modelcore/common/MCBitSet.h"
#include "modelcore/matrix/IMCSymMatrix.h"
#include "modelcore/matrix/MCDiagMatrix.h"
#include "modelcore/matrix/MCSymMatrix.h"
#include "modelcore/modelcore_export.h"

#include <cstddef>
#include <vector>

namespace MCMath_930 {

/// A symmetric matrix of order n that is 0 but for square blocks along its diagonal: normal equations and covariances
/// of parts that have nothing to do with each other. Work and memory are the sums over the blocks.
///
/// Each block is dense, an MCSymMatrix, or diagonal itself; they stand in two lists, each in block order. Tables say
/// for each block its size, kind, first row and place in its list, and for each row its block, so that an element is
/// found at once. What lies between the blocks is 0 and cannot be set to anything else, and so are the elements off the
/// diagonal of a diagonal block. The matrix owns its blocks; copies are deep.
///
/// Every operation runs block by block, dense blocks through their own operation. Where the other operand is
/// block-diagonal with blocks of the same sizes, traces of products are added up block by block, and symmetric results
/// can be stored in a block-diagonal matrix, which takes the structure of the result.
class MODELCORE_EXPORT MCSymBlockDiagMatrix : public IMCSymMatrix {
public:
    // ---------------------------------------------------------------------------------------------------------------
    // Blocks and structure (MCSymBlockDiagMatrix.cpp)

    /// An empty matrix: order 0, no blocks.
    MCSymBlockDiagMatrix() = default;

    /// The zero matrix with the structure that SetStructure takes; an empty one when that is refused.
    MCSymBlockDiagMatrix(const std::vector<int>& blockSizes, const MCBitSet& isDiagonal);

    /// The matrix of copies of the given blocks, as AddBlock takes them; an empty one when one is null or refused.
    explicit MCSymBlockDiagMatrix(const std::vector<IMCSymMatrix*>& blocks);

    MCSymBlockDiagMatrix(const MCSymBlockDiagMatrix& other) = default;

    /// Takes the blocks over; other is empty afterwards.
    MCSymBlockDiagMatrix(MCSymBlockDiagMatrix&& other) noexcept;
    MCSymBlockDiagMatrix& operator=(MCSymBlockDiagMatrix&& other) noexcept;
    MCSymBlockDiagMatrix& operator=(const MCSymBlockDiagMatrix& other);

    ~MCSymBlockDiagMatrix() override;

    int GetMatrixKind() const override { return kBlockDiagonalMatrix; }

    /// The same as GetMatrixKind.
    int GetType() const { return GetMatrixKind(); }

    int GetNRows() const override { return static_cast<int>(fvBlockOfRow.size()); }

    /// Makes this the zero matrix with blocks of the given sizes; bit b says that block b is diagonal, bits that are
    /// not there count as not set.
    /// @return  false, and nothing changed, when a size is below 1, a dense block larger than MCSymMatrix::kMaxRows,
    /// the
    ///          sum of the sizes no int, or when there are more bits than blocks
    bool SetStructure(const std::vector<int>& blockSizes, const MCBitSet& isDiagonal);

    /// Makes this the zero matrix with the structure of another one.
    void CopyStructure(const MCSymBlockDiagMatrix& other);

    /// Whether the blocks of both have the same sizes and kinds.
    bool IsSameStructure(const MCSymBlockDiagMatrix& other) const;

    /// Appends a copy of a matrix: a packed one as a dense block, a diagonal one as a diagonal block, a block-diagonal
    /// one as all its blocks. It may be this matrix. When memory runs out, this matrix is empty afterwards.
    /// @return  false, and nothing changed, for order 0 and when the order would be no int
    bool AddBlock(const IMCSymMatrix& block);

    /// Replaces block b by a copy of a packed or a diagonal matrix, whatever its order; the rows behind it move. Cost:
    /// that of the copy, and with another order or kind one pass over the tables.
    /// @return  false, and nothing changed, for b outside [0, blocks), a block-diagonal matrix, order 0, and when the
    ///          order would be no int
    bool ReplaceBlock(int b, const IMCSymMatrix& block);

    /// The number of blocks, and the order of each.
    int GetNBlocks() const { return static_cast<int>(fvSizes.size()); }
    /// The order of each block.
    const std::vector<int>& GetBlockSizes() const { return fvSizes; }

    /// The first row of each block.
    const std::vector<int>& GetStartingIndices() const { return fvStarts; }

    /// The block of each row.
    const std::vector<int>& GetBlockIndexForRow() const { return fvBlockOfRow; }

    /// The first row of block b; -1 for b outside [0, blocks).
    int GetBlockStartIndex(int b) const { return IsBlock(b) ? fvStarts[static_cast<std::size_t>(b)] : -1; }

    /// Whether block b is diagonal; false for b outside [0, blocks).
    bool GetIsBlockDiagonal(int b) const { return fIsDiagonal.IsIn(b); }

    /// The number of dense and of diagonal blocks.
    int GetNDenseBlocks() const { return static_cast<int>(fvDense.size()); }
    /// The number of diagonal blocks.
    int GetNDiagBlocks() const { return static_cast<int>(fvDiag.size()); }

    /// Dense block number k, counted among the dense ones in block order; null for k outside [0, GetNDenseBlocks()).
    /// This and the next are valid until the structure changes.
    const MCSymMatrix* GetDenseBlock(int k) const;

    /// The diagonal of diagonal block number k, counted among the diagonal ones; null for k outside
    /// [0, GetNDiagBlocks()).
    const std::vector<double>* GetDiagonalBlock(int k) const;

    /// Where element (i, j) is stored.
    /// @param storage     the number of its block among the dense or among the diagonal ones
    /// @param row         its row in the block, that of the larger of i and j
    /// @param column      its column in the block, <= row
    /// @param isDiagonal  whether the block is diagonal
    /// @return  false, and nothing written, for an element that is not stored and outside the matrix
    bool FindBlock(int i, int j, int& storage, int& row, int& column, bool& isDiagonal) const;

    /// The block of row i, its first row, the number of row i in it, and whether it is diagonal. False, and nothing
    /// written, for i outside [0, n).
    bool FindAbsBlockRelColIndex(int i, int& block, int& start, int& relative, bool& isDiagonal) const;

    // ---------------------------------------------------------------------------------------------------------------
    // Elements and rows

    /// Element (i, j); 0 where none is stored, which includes what lies outside the matrix.
    double GetElem(int i, int j) const override;

    /// Stores x as the elements (i, j) and (j, i). False, and nothing changed, where none is stored.
    bool SetElem(int i, int j, double x) override;

    bool GetRow(int i, std::vector<double>& row) const override;
    int GetIndexFirstInRow(int i) const override;
    int GetIndexLastInRow(int i) const override;

    // ---------------------------------------------------------------------------------------------------------------
    // Cholesky factor

    using IMCSymMatrix::LTChol;
    int LTChol(const std::vector<double>& refDiag, double tol, bool check) override;
    int LTChol(const std::vector<double>& refDiag, double tol, MCBitSet& kept, bool check) override;
    int LTDetInverse(double det[2], int job) override;
    int CholInverse(const std::vector<double>& refDiag, double tol, IMCSymMatrix& out) const override;
    bool LTSolve(const std::vector<double>& b, std::vector<double>& x) const override;
    void LTLLTrans() override;
    void LTLTransL() override;

    // ---------------------------------------------------------------------------------------------------------------
    // Products and reductions (MCSymBlockDiagMatrixProducts.cpp)

    bool ComputeAXpY(double a, const IMCSymMatrix& X) override;
    double ComputeDotProduct2Rows(int i, int j) const override;

    /// A block-diagonal result needs an L that is diagonal or has blocks of the same sizes.
    bool ComputeLSLTrans(const IMCSymMatrix& L, IMCSymMatrix& out) const override;
    bool ComputeLTransSL(const IMCSymMatrix& L, IMCSymMatrix& out) const override;

    bool ComputeSS(const IMCSymMatrix& second, MCRectMatrix& out) const override;
    bool ComputeSTransS(IMCSymMatrix& out) const override;

    double DotProductColVecIIncrPart(int j, const double* v, int incr, int first, int count) const override;
    bool ComputeVecIIncrPartByL(const double* v, int incr, int first, int count,
                                std::vector<double>& out) const override;
    bool UpdateDenseColumnPart(int j, double a, double* column, int incr, int first, int count) const override;

    /// The product of the determinants of the blocks; tol is compared with the condition of each dense block.
    bool ComputeDeterminant(double tol, double* det) const override;

    double TraceOfProduct(const IMCSymMatrix& B) const override;
    double TraceOfProductOfThree(const IMCSymMatrix& B, const IMCSymMatrix& C) const override;

    // ---------------------------------------------------------------------------------------------------------------
    // Editing and extraction

    void MultiplyByNumber(double x) override;
    void ChangeSign() override;
    void ZeroOut() override;
    void ZeroOutNonDiag() override;
    void Clear() override;
    void ClearAll() override;

    /// A block-diagonal result has a block for each run of rows from the same block. False as well when rows of a dense
    /// block stand in several runs, between which elements would be lost.
    using IMCSymMatrix::ExtractSubmatrix;
    bool ExtractSubmatrix(const std::vector<int>& rows, IMCSymMatrix& out) const override;
    bool FillDenseMatrix(MCSymMatrix& out) const override;

    void Display() const override;

protected:
    void MultiplyByS(const double* a, std::size_t rows, double* out) const override;
    void MultiplyByL(const double* a, std::size_t rows, double* out) const override;
    void MultiplyByLTrans(const double* a, std::size_t rows, double* out) const override;

private:
    /// Rows of a part that are in one block, counted from the block's first row.
    struct BlockPart {
        int first;
        int count;
    };

    bool IsBlock(int b) const { return b >= 0 && b < GetNBlocks(); }
    int SizeOf(int b) const { return fvSizes[static_cast<std::size_t>(b)]; }
    int StartOf(int b) const { return fvStarts[static_cast<std::size_t>(b)]; }
    int BlockOf(int i) const { return fvBlockOfRow[static_cast<std::size_t>(i)]; }
    IMCSymMatrix& Block(int b);
    const IMCSymMatrix& Block(int b) const;
    BlockPart PartInBlock(int b, int first, int count) const;
    void CopyPart(int b, const std::vector<double>& v, std::vector<double>& part) const;

    void Swap(MCSymBlockDiagMatrix& other) noexcept;
    bool HasRoomFor(int order, int others) const;
    void Append(MCSymMatrix block);
    void Append(MCDiagMatrix block);
    void AppendCopy(const IMCSymMatrix& block);
    void AppendToTables(int size, bool isDiagonal, std::size_t storage);
    void SetBlockIndicesForRow(int b);

    const MCSymBlockDiagMatrix* Alike(const IMCSymMatrix& other, MCSymBlockDiagMatrix& split) const;
    bool FormWithBlocks(const MCSymBlockDiagMatrix& other,
                        bool (IMCSymMatrix::*form)(const IMCSymMatrix&, IMCSymMatrix&) const, IMCSymMatrix& out) const;
    static bool CanStoreIn(const IMCSymMatrix& out) { return out.GetMatrixKind() != kDiagonalMatrix; }
    static bool Store(MCSymBlockDiagMatrix&& result, IMCSymMatrix& out);
    void MultiplyByBlocks(Factor factor, const double* a, std::size_t rows, double* out) const;

    std::vector<int> fvSizes;
    MCBitSet fIsDiagonal;
    std::vector<int> fvStarts;
    std::vector<int> fvStorage; // the place of each block in its list
    std::vector<int> fvBlockOfRow;
    std::vector<MCSymMatrix> fvDense;
    std::vector<MCDiagMatrix> fvDiag;
};

} // namespace MCMath_930
