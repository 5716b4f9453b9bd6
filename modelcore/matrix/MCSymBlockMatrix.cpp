#include "modelcore/matrix/MCSymBlockMatrix.h"

#include "modelcore/common/MCDisplay.h"

#include <algorithm>
#include <string>
#include <utility>

namespace MCMath_930 {

namespace {

bool IsOrder(int n)
{
    return n >= 0 && n <= MCSymMatrix::kMaxRows;
}

} // namespace

MCSymBlockMatrix::MCSymBlockMatrix(int nBlocks, int order)
{
    SetNRows(nBlocks, order);
}

bool MCSymBlockMatrix::SetNRows(int nBlocks, int order)
{
    if (!IsOrder(nBlocks) || !IsOrder(order)) return false;
    std::vector<MCSymMatrix> blocks(Index(nBlocks, 0), MCSymMatrix(order));
    fvBlocks.swap(blocks);
    fnRows = nBlocks;
    return true;
}

// Pairs stand row by row: those that stay do not move.
bool MCSymBlockMatrix::ResizeNRows(int nBlocks)
{
    if (!IsOrder(nBlocks)) return false;
    fvBlocks.resize(Index(nBlocks, 0), MCSymMatrix(fvBlocks.empty() ? 0 : fvBlocks.front().GetNRows()));
    fnRows = nBlocks;
    return true;
}

bool MCSymBlockMatrix::IsValid() const
{
    return std::all_of(fvBlocks.begin(), fvBlocks.end(),
                       [this](const MCSymMatrix& block) { return block.GetNRows() == fvBlocks.front().GetNRows(); });
}

bool MCSymBlockMatrix::CopyToSymMatrix(MCSymMatrix& out) const
{
    const int order = fvBlocks.empty() ? 0 : fvBlocks.front().GetNRows();
    if (!IsValid() || static_cast<long long>(fnRows) * order > MCSymMatrix::kMaxRows) return false;
    MCSymMatrix whole(fnRows * order);
    double* to = whole.GetPtr();
    std::vector<double> row;
    for (int b = 0; b < fnRows; ++b)
        for (int i = 0; i < order; ++i) {
            for (int c = 0; c < b; ++c) {
                GetElemSSRef(b, c).GetRow(i, row);
                to = std::copy(row.begin(), row.end(), to);
            }
            to = std::copy_n(GetElemSSRef(b, b).GetRowPtr(i), i + 1, to);
        }
    out = std::move(whole);
    return true;
}

void MCSymBlockMatrix::Clear()
{
    fvBlocks.clear();
    fnRows = 0;
}

void MCSymBlockMatrix::Display() const
{
    MCDisplay_930::DisplayStart("MCSymBlockMatrix");
    MCDisplay_930::Display("Number of rows of blocks", fnRows);
    for (int b = 0; b < fnRows; ++b)
        for (int c = 0; c <= b; ++c) {
            MCDisplay_930::DisplayLine("Pair (" + std::to_string(b) + ", " + std::to_string(c) + "):");
            MCDisplay_930::DisplaySymMatrix(GetElemSSRef(b, c).GetPtr(), GetElemSSRef(b, c).GetNRows());
        }
    MCDisplay_930::DisplayEnd("MCSymBlockMatrix");
}

} // namespace MCMath_930
