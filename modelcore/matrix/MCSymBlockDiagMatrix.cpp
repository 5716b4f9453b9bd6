// MCSymBlockDiagMatrix: blocks and structure, elements and rows, Cholesky factor, editing, extraction, display.
#include "modelcore/matrix/MCSymBlockDiagMatrix.h"

#include "modelcore/common/MCDisplay.h"
#include "modelcore/common/internal/EmptiedOnMove.h"
#include "modelcore/common/internal/Index.h"
#include "modelcore/matrix/internal/FactorDeterminant.h"
#include "modelcore/matrix/internal/Places.h"
#include "modelcore/matrix/internal/ReferenceDiagonal.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace MCMath_930 {

// ---------------------------------------------------------------------------------------------------------------------
// Blocks and structure

MCSymBlockDiagMatrix::MCSymBlockDiagMatrix(const std::vector<int>& blockSizes, const MCBitSet& isDiagonal)
{
    SetStructure(blockSizes, isDiagonal);
}

MCSymBlockDiagMatrix::MCSymBlockDiagMatrix(const std::vector<IMCSymMatrix*>& blocks)
{
    for (const IMCSymMatrix* const block : blocks)
        if (block == nullptr || !AddBlock(*block)) {
            ClearAll();
            return;
        }
}

MCSymBlockDiagMatrix::MCSymBlockDiagMatrix(MCSymBlockDiagMatrix&& other) noexcept
{
    Swap(other);
}

MCSymBlockDiagMatrix& MCSymBlockDiagMatrix::operator=(MCSymBlockDiagMatrix&& other) noexcept
{
    MCSymBlockDiagMatrix taken(std::move(other));
    Swap(taken);
    return *this;
}

MCSymBlockDiagMatrix& MCSymBlockDiagMatrix::operator=(const MCSymBlockDiagMatrix& other)
{
    return internal::AssignByCopy(*this, other);
}

MCSymBlockDiagMatrix::~MCSymBlockDiagMatrix() = default;

void MCSymBlockDiagMatrix::Swap(MCSymBlockDiagMatrix& other) noexcept
{
    fvSizes.swap(other.fvSizes);
    std::swap(fIsDiagonal, other.fIsDiagonal);
    fvStarts.swap(other.fvStarts);
    fvStorage.swap(other.fvStorage);
    fvBlockOfRow.swap(other.fvBlockOfRow);
    fvDense.swap(other.fvDense);
    fvDiag.swap(other.fvDiag);
}

bool MCSymBlockDiagMatrix::SetStructure(const std::vector<int>& blockSizes, const MCBitSet& isDiagonal)
{
    if (static_cast<std::size_t>(isDiagonal.Size()) > blockSizes.size()) return false;
    long long order = 0;
    for (std::size_t b = 0; b < blockSizes.size(); ++b) {
        const int size = blockSizes[b];
        if (size < 1 || (size > MCSymMatrix::kMaxRows && !isDiagonal.IsIn(static_cast<int>(b)))) return false;
        order += size;
    }
    if (order > std::numeric_limits<int>::max()) return false;

    MCSymBlockDiagMatrix zero;
    for (std::size_t b = 0; b < blockSizes.size(); ++b)
        if (isDiagonal.IsIn(static_cast<int>(b)))
            zero.Append(MCDiagMatrix(blockSizes[b]));
        else
            zero.Append(MCSymMatrix(blockSizes[b]));
    Swap(zero);
    return true;
}

void MCSymBlockDiagMatrix::CopyStructure(const MCSymBlockDiagMatrix& other)
{
    SetStructure(other.fvSizes, other.fIsDiagonal);
}

bool MCSymBlockDiagMatrix::IsSameStructure(const MCSymBlockDiagMatrix& other) const
{
    return fvSizes == other.fvSizes && fIsDiagonal == other.fIsDiagonal;
}

// Whether a block of that order can stand beside others that take that many rows.
bool MCSymBlockDiagMatrix::HasRoomFor(int order, int others) const
{
    return order >= 1 && order <= std::numeric_limits<int>::max() - others;
}

bool MCSymBlockDiagMatrix::AddBlock(const IMCSymMatrix& block)
{
    if (!HasRoomFor(block.GetNRows(), GetNRows())) return false;
    try {
        AppendCopy(block);
    } catch (...) { // a block without its place in every table would be worse than no matrix
        ClearAll();
        throw;
    }
    return true;
}

bool MCSymBlockDiagMatrix::ReplaceBlock(int b, const IMCSymMatrix& block)
{
    if (!IsBlock(b) || block.GetMatrixKind() == kBlockDiagonalMatrix ||
        !HasRoomFor(block.GetNRows(), GetNRows() - SizeOf(b)))
        return false;
    const bool toDiagonal = block.GetMatrixKind() == kDiagonalMatrix;
    MCSymMatrix dense;
    MCDiagMatrix diagonal;
    if (toDiagonal)
        diagonal = static_cast<const MCDiagMatrix&>(block);
    else
        dense = static_cast<const MCSymMatrix&>(block);
    const auto storage = internal::AsSize(fvStorage[internal::AsSize(b)]);
    if (toDiagonal == fIsDiagonal.IsIn(b) && block.GetNRows() == SizeOf(b)) {
        if (toDiagonal)
            fvDiag[storage] = std::move(diagonal);
        else
            fvDense[storage] = std::move(dense);
        return true;
    }

    // New tables, into which the other blocks move once there is room for all.
    MCSymBlockDiagMatrix changed;
    std::size_t places[] = {0, 0}; // dense, diagonal
    for (int k = 0; k < GetNBlocks(); ++k) {
        const bool isDiagonal = k == b ? toDiagonal : fIsDiagonal.IsIn(k);
        changed.AppendToTables(k == b ? block.GetNRows() : SizeOf(k), isDiagonal, places[isDiagonal ? 1 : 0]++);
    }
    changed.fvDense.resize(places[0]);
    changed.fvDiag.resize(places[1]);
    for (int k = 0; k < GetNBlocks(); ++k)
        if (changed.fIsDiagonal.IsIn(k))
            static_cast<MCDiagMatrix&>(changed.Block(k)) =
                std::move(k == b ? diagonal : static_cast<MCDiagMatrix&>(Block(k)));
        else
            static_cast<MCSymMatrix&>(changed.Block(k)) =
                std::move(k == b ? dense : static_cast<MCSymMatrix&>(Block(k)));
    Swap(changed);
    return true;
}

// The number of blocks is read before the first is appended: block may be this matrix.
void MCSymBlockDiagMatrix::AppendCopy(const IMCSymMatrix& block)
{
    if (IsPacked(block)) return Append(static_cast<const MCSymMatrix&>(block));
    if (block.GetMatrixKind() == kDiagonalMatrix) return Append(static_cast<const MCDiagMatrix&>(block));
    const auto& blocks = static_cast<const MCSymBlockDiagMatrix&>(block);
    const int count = blocks.GetNBlocks();
    for (int b = 0; b < count; ++b) AppendCopy(blocks.Block(b));
}

void MCSymBlockDiagMatrix::Append(MCSymMatrix block)
{
    AppendToTables(block.GetNRows(), false, fvDense.size());
    fvDense.push_back(std::move(block));
}

void MCSymBlockDiagMatrix::Append(MCDiagMatrix block)
{
    AppendToTables(block.GetNRows(), true, fvDiag.size());
    fvDiag.push_back(std::move(block));
}

void MCSymBlockDiagMatrix::AppendToTables(int size, bool isDiagonal, std::size_t storage)
{
    const int b = GetNBlocks();
    fvStarts.push_back(GetNRows());
    fvSizes.push_back(size);
    fvStorage.push_back(static_cast<int>(storage));
    fIsDiagonal.Resize(b + 1);
    fIsDiagonal.Set(b, isDiagonal);
    SetBlockIndicesForRow(b);
}

void MCSymBlockDiagMatrix::SetBlockIndicesForRow(int b)
{
    fvBlockOfRow.resize(static_cast<std::size_t>(StartOf(b)) + static_cast<std::size_t>(SizeOf(b)), b);
}

const MCSymMatrix* MCSymBlockDiagMatrix::GetDenseBlock(int k) const
{
    return k >= 0 && k < GetNDenseBlocks() ? &fvDense[static_cast<std::size_t>(k)] : nullptr;
}

const std::vector<double>* MCSymBlockDiagMatrix::GetDiagonalBlock(int k) const
{
    return k >= 0 && k < GetNDiagBlocks() ? &fvDiag[static_cast<std::size_t>(k)].AsVector() : nullptr;
}

const IMCSymMatrix& MCSymBlockDiagMatrix::Block(int b) const
{
    const auto storage = static_cast<std::size_t>(fvStorage[static_cast<std::size_t>(b)]);
    if (fIsDiagonal.IsIn(b)) return fvDiag[storage];
    return fvDense[storage];
}

IMCSymMatrix& MCSymBlockDiagMatrix::Block(int b)
{
    return const_cast<IMCSymMatrix&>(std::as_const(*this).Block(b));
}

bool MCSymBlockDiagMatrix::FindAbsBlockRelColIndex(int i, int& block, int& start, int& relative, bool& isDiagonal) const
{
    if (!IsRow(i)) return false;
    block = BlockOf(i);
    start = StartOf(block);
    relative = i - start;
    isDiagonal = fIsDiagonal.IsIn(block);
    return true;
}

bool MCSymBlockDiagMatrix::FindBlock(int i, int j, int& storage, int& row, int& column, bool& isDiagonal) const
{
    const int larger = std::max(i, j);
    const int smaller = std::min(i, j);
    if (!IsRow(larger) || smaller < 0) return false;
    const int b = BlockOf(larger);
    const bool diagonal = fIsDiagonal.IsIn(b);
    if (diagonal ? smaller != larger : smaller < StartOf(b)) return false;
    storage = fvStorage[static_cast<std::size_t>(b)];
    row = larger - StartOf(b);
    column = smaller - StartOf(b);
    isDiagonal = diagonal;
    return true;
}

// The values of v that belong to the rows of block b.
void MCSymBlockDiagMatrix::CopyPart(int b, const std::vector<double>& v, std::vector<double>& part) const
{
    const auto first = v.begin() + StartOf(b);
    part.assign(first, first + SizeOf(b));
}

// ---------------------------------------------------------------------------------------------------------------------
// Elements and rows

double MCSymBlockDiagMatrix::GetElem(int i, int j) const
{
    int storage, row, column;
    bool isDiagonal;
    if (!FindBlock(i, j, storage, row, column, isDiagonal)) return 0.0;
    const auto k = static_cast<std::size_t>(storage);
    return isDiagonal ? fvDiag[k].AsVector()[static_cast<std::size_t>(row)]
                      : fvDense[k].MCSymMatrix::GetElem(row, column);
}

bool MCSymBlockDiagMatrix::SetElem(int i, int j, double x)
{
    int storage, row, column;
    bool isDiagonal;
    if (!FindBlock(i, j, storage, row, column, isDiagonal)) return false;
    const auto k = static_cast<std::size_t>(storage);
    return isDiagonal ? fvDiag[k].SetElem(row, column, x) : fvDense[k].SetElem(row, column, x);
}

bool MCSymBlockDiagMatrix::GetRow(int i, std::vector<double>& row) const
{
    if (!IsRow(i)) return false;
    const int b = BlockOf(i);
    std::vector<double> part;
    Block(b).GetRow(i - StartOf(b), part);
    row.assign(static_cast<std::size_t>(GetNRows()), 0.0);
    std::copy(part.begin(), part.end(), row.begin() + StartOf(b));
    return true;
}

int MCSymBlockDiagMatrix::GetIndexFirstInRow(int i) const
{
    if (!IsRow(i)) return -1;
    const int b = BlockOf(i);
    return fIsDiagonal.IsIn(b) ? i : StartOf(b);
}

int MCSymBlockDiagMatrix::GetIndexLastInRow(int i) const
{
    if (!IsRow(i)) return -1;
    const int b = BlockOf(i);
    return fIsDiagonal.IsIn(b) ? i : StartOf(b) + SizeOf(b) - 1;
}

// ---------------------------------------------------------------------------------------------------------------------
// Cholesky factor

int MCSymBlockDiagMatrix::LTChol(const std::vector<double>& refDiag, double tol, bool check)
{
    if (check && !internal::CholeskyArgumentsValid(refDiag, tol, GetNRows())) return -1;
    MCBitSet kept;
    return LTChol(refDiag, tol, kept, false);
}

int MCSymBlockDiagMatrix::LTChol(const std::vector<double>& refDiag, double tol, MCBitSet& kept, bool check)
{
    if (check && !internal::CholeskyArgumentsValid(refDiag, tol, GetNRows())) return -1;
    // Room for the largest block before the first is factored: then none can fail.
    const int largest = fvSizes.empty() ? 0 : *std::max_element(fvSizes.begin(), fvSizes.end());
    MCBitSet keptOfBlock(largest);
    std::vector<double> part(internal::AsSize(largest));
    if (kept.Size() < GetNRows()) kept.Resize(GetNRows());
    kept.Clear();
    int refused = 0;
    for (int b = 0; b < GetNBlocks(); ++b) {
        CopyPart(b, refDiag, part);
        keptOfBlock.Resize(SizeOf(b));
        refused += Block(b).LTChol(part, tol, keptOfBlock, false);
        for (int i = keptOfBlock.Next(0); i >= 0; i = keptOfBlock.Next(i + 1)) kept.Set(StartOf(b) + i);
    }
    return refused;
}

int MCSymBlockDiagMatrix::LTDetInverse(double det[2], int job)
{
    std::vector<double> diag;
    GetDiagonal(diag);
    const auto zeros = static_cast<int>(std::count(diag.begin(), diag.end(), 0.0));
    if (job % 10 != 0)
        internal::SetFactorDeterminant(det, GetNRows(), zeros, [&](int i) { return diag[internal::AsSize(i)]; });
    if (job / 10 % 10 != 0)
        for (int b = 0; b < GetNBlocks(); ++b) Block(b).LTDetInverse(nullptr, 10);
    return zeros;
}

int MCSymBlockDiagMatrix::CholInverse(const std::vector<double>& refDiag, double tol, IMCSymMatrix& out) const
{
    if (!CanStoreIn(out) || !Fits(refDiag)) return -1;
    MCSymBlockDiagMatrix inverse;
    inverse.CopyStructure(*this);
    int rank = 0;
    std::vector<double> part;
    for (int b = 0; b < GetNBlocks(); ++b) {
        CopyPart(b, refDiag, part);
        const int rankOfBlock = Block(b).CholInverse(part, tol, inverse.Block(b));
        if (rankOfBlock < 0) return -1;
        rank += rankOfBlock;
    }
    return Store(std::move(inverse), out) ? rank : -1;
}

bool MCSymBlockDiagMatrix::LTSolve(const std::vector<double>& b, std::vector<double>& x) const
{
    if (!Fits(b)) return false;
    std::vector<double> solution(fvBlockOfRow.size());
    std::vector<double> part;
    for (int k = 0; k < GetNBlocks(); ++k) {
        CopyPart(k, b, part);
        Block(k).LTSolve(part, part);
        std::copy(part.begin(), part.end(), solution.begin() + StartOf(k));
    }
    x.swap(solution);
    return true;
}

void MCSymBlockDiagMatrix::LTLLTrans()
{
    for (int b = 0; b < GetNBlocks(); ++b) Block(b).LTLLTrans();
}

void MCSymBlockDiagMatrix::LTLTransL()
{
    for (int b = 0; b < GetNBlocks(); ++b) Block(b).LTLTransL();
}

// ---------------------------------------------------------------------------------------------------------------------
// Editing and extraction

void MCSymBlockDiagMatrix::MultiplyByNumber(double x)
{
    for (int b = 0; b < GetNBlocks(); ++b) Block(b).MultiplyByNumber(x);
}

void MCSymBlockDiagMatrix::ChangeSign()
{
    for (int b = 0; b < GetNBlocks(); ++b) Block(b).ChangeSign();
}

void MCSymBlockDiagMatrix::ZeroOut()
{
    for (int b = 0; b < GetNBlocks(); ++b) Block(b).ZeroOut();
}

void MCSymBlockDiagMatrix::ZeroOutNonDiag()
{
    for (int b = 0; b < GetNBlocks(); ++b) Block(b).ZeroOutNonDiag();
}

// The blocks go; the tables keep their memory.
void MCSymBlockDiagMatrix::Clear()
{
    fvSizes.clear();
    fIsDiagonal.Resize(0);
    fvStarts.clear();
    fvStorage.clear();
    fvBlockOfRow.clear();
    fvDense.clear();
    fvDiag.clear();
}

void MCSymBlockDiagMatrix::ClearAll()
{
    MCSymBlockDiagMatrix empty;
    Swap(empty);
}

// Stores a block-diagonal result that was formed aside. False, and out as it was, when out is diagonal, or packed and
// too small a kind for the order.
bool MCSymBlockDiagMatrix::Store(MCSymBlockDiagMatrix&& result, IMCSymMatrix& out)
{
    if (IsPacked(out)) return result.FillDenseMatrix(static_cast<MCSymMatrix&>(out));
    if (!CanStoreIn(out)) return false;
    static_cast<MCSymBlockDiagMatrix&>(out) = std::move(result);
    return true;
}

bool MCSymBlockDiagMatrix::FillDenseMatrix(MCSymMatrix& out) const
{
    std::vector<double> packed;
    return CopyLowerTriangle(packed) && StorePacked(GetNRows(), std::move(packed), out);
}

bool MCSymBlockDiagMatrix::ExtractSubmatrix(const std::vector<int>& rows, IMCSymMatrix& out) const
{
    if (out.GetMatrixKind() != kBlockDiagonalMatrix) return IMCSymMatrix::ExtractSubmatrix(rows, out);
    if (!internal::AreDistinct(rows, GetNRows())) return false;
    MCSymBlockDiagMatrix part;
    MCBitSet seen(GetNBlocks());
    std::vector<int> run; // rows of one block that stand together, counted from its first
    for (std::size_t k = 0; k < rows.size(); ++k) {
        const int b = BlockOf(rows[k]);
        run.push_back(rows[k] - StartOf(b));
        if (k + 1 < rows.size() && BlockOf(rows[k + 1]) == b) continue;
        MCDiagMatrix diagonal;
        MCSymMatrix dense;
        if (fIsDiagonal.IsIn(b)) {
            Block(b).ExtractSubmatrix(run, diagonal);
            part.Append(std::move(diagonal));
        } else {
            if (seen.IsIn(b)) return false;
            Block(b).ExtractSubmatrix(run, dense);
            part.Append(std::move(dense));
        }
        seen.Set(b);
        run.clear();
    }
    return Store(std::move(part), out);
}

void MCSymBlockDiagMatrix::Display() const
{
    MCDisplay_930::DisplayStart("MCSymBlockDiagMatrix");
    MCDisplay_930::Display("Number of rows", GetNRows());
    MCDisplay_930::Display("Number of blocks", GetNBlocks());
    for (int b = 0; b < GetNBlocks(); ++b) {
        MCDisplay_930::Display("Block", b);
        MCDisplay_930::Display("First row", StartOf(b));
        const auto k = static_cast<std::size_t>(fvStorage[static_cast<std::size_t>(b)]);
        if (fIsDiagonal.IsIn(b))
            MCDisplay_930::Display("Diagonal", fvDiag[k].AsVector());
        else
            MCDisplay_930::DisplaySymMatrix(fvDense[k].GetPtr(), SizeOf(b));
    }
    MCDisplay_930::DisplayEnd("MCSymBlockDiagMatrix");
}

} // namespace MCMath_930
