// A symmetric grid of symmetric matrices.
#pragma once

#include "modelcore/common/internal/EmptiedOnMove.h"
#include "modelcore/matrix/MCSymMatrix.h"
#include "modelcore/modelcore_export.h"

#include <cstddef>
#include <vector>

namespace MCMath_930 {

/// A symmetric matrix of B x B blocks, each of which is symmetric itself and of the same order m: the information
/// matrix of a multinomial model, whose block for the categories (b, c) is X' diag(w) X.
///
/// One MCSymMatrix is held for each pair b >= c, pairs row by row: (b, c) at b(b+1)/2 + c; pair (c, b) is the same. The
/// matrix owns its sub-matrices; copies are deep.
class MODELCORE_EXPORT MCSymBlockMatrix {
public:
    /// No blocks.
    MCSymBlockMatrix() = default;

    /// The matrix that SetNRows makes; one without blocks when that is refused.
    explicit MCSymBlockMatrix(int nBlocks, int order = 0);

    MCSymBlockMatrix(const MCSymBlockMatrix& other) = default;

    /// A copy that runs out of memory leaves the matrix as it was.
    MCSymBlockMatrix& operator=(const MCSymBlockMatrix& other) { return internal::AssignByCopy(*this, other); }

    /// Takes the sub-matrices over; other has no blocks afterwards.
    MCSymBlockMatrix(MCSymBlockMatrix&& other) = default;
    MCSymBlockMatrix& operator=(MCSymBlockMatrix&& other) = default;
    ~MCSymBlockMatrix() = default;

    /// B, the number of rows of blocks.
    int GetNRows() const { return fnRows; }

    /// Makes this nBlocks rows of blocks, all of them the zero matrix of the given order; of order 0 when they get
    /// theirs one by one, through GetElemSSRef.
    /// @return  false, and nothing changed, when a number is not in [0, MCSymMatrix::kMaxRows]
    bool SetNRows(int nBlocks, int order = 0);

    /// Changes the number of rows of blocks. Pairs that are in both the old and the new matrix stay, new ones are the
    /// zero matrix of the order of pair (0, 0). False, and nothing changed, as SetNRows.
    bool ResizeNRows(int nBlocks);

    /// The sub-matrix of the pair (b, c), 0 <= b, c < B, in either order; not checked. Valid until the number of rows
    /// changes. It may be given another order: IsValid says whether all agree again.
    MCSymMatrix& GetElemSSRef(int b, int c) { return fvBlocks[Index(b, c)]; }
    const MCSymMatrix& GetElemSSRef(int b, int c) const { return fvBlocks[Index(b, c)]; }

    /// Whether all sub-matrices have the same order.
    bool IsValid() const;

    /// Assembles the matrix of order B*m: element (b*m + i, c*m + j) is element (i, j) of pair (b, c).
    /// @return  false, and out as it was, when this is not valid or the order would be above MCSymMatrix::kMaxRows
    bool CopyToSymMatrix(MCSymMatrix& out) const;

    /// Removes all blocks.
    void Clear();

    /// Writes the number of rows of blocks and each sub-matrix to the diagnostic text stream.
    void Display() const;

private:
    static std::size_t Index(int b, int c)
    {
        const auto row = static_cast<std::size_t>(b >= c ? b : c);
        return row * (row + 1) / 2 + static_cast<std::size_t>(b >= c ? c : b);
    }

    internal::EmptiedOnMove<int> fnRows = 0;
    std::vector<MCSymMatrix> fvBlocks;
};

} // namespace MCMath_930
