// MCSymBlockDiagMatrix: products and reductions, block by block.
#include "modelcore/common/MCMV.h"
#include "modelcore/matrix/MCRectMatrix.h"
#include "modelcore/matrix/MCSymBlockDiagMatrix.h"
#include "modelcore/matrix/internal/FactorDeterminant.h"

#include <algorithm>
#include <utility>

namespace MCMath_930 {

using MCCommon_930::MCMV;

// The columns of a block are brought together for it, unless there is but one row or one block.
void MCSymBlockDiagMatrix::MultiplyByBlocks(Factor factor, const double* a, std::size_t rows, double* out) const
{
    const auto n = static_cast<std::size_t>(GetNRows());
    std::vector<double> columns;
    std::vector<double> product;
    for (int b = 0; b < GetNBlocks(); ++b) {
        const auto start = static_cast<std::size_t>(StartOf(b));
        const auto size = static_cast<std::size_t>(SizeOf(b));
        if (rows == 1 || size == n) {
            MultiplyBy(factor, Block(b), a + start, rows, out + start);
            continue;
        }
        columns.resize(rows * size);
        product.resize(rows * size);
        for (std::size_t i = 0; i < rows; ++i) std::copy_n(a + i * n + start, size, columns.data() + i * size);
        MultiplyBy(factor, Block(b), columns.data(), rows, product.data());
        for (std::size_t i = 0; i < rows; ++i) std::copy_n(product.data() + i * size, size, out + i * n + start);
    }
}

void MCSymBlockDiagMatrix::MultiplyByS(const double* a, std::size_t rows, double* out) const
{
    MultiplyByBlocks(Factor::kS, a, rows, out);
}

void MCSymBlockDiagMatrix::MultiplyByL(const double* a, std::size_t rows, double* out) const
{
    MultiplyByBlocks(Factor::kL, a, rows, out);
}

void MCSymBlockDiagMatrix::MultiplyByLTrans(const double* a, std::size_t rows, double* out) const
{
    MultiplyByBlocks(Factor::kLTrans, a, rows, out);
}

// The other matrix as one with blocks of the same sizes: itself, for a diagonal one a copy in split, null for any
// other.
const MCSymBlockDiagMatrix* MCSymBlockDiagMatrix::Alike(const IMCSymMatrix& other, MCSymBlockDiagMatrix& split) const
{
    if (other.GetNRows() != GetNRows()) return nullptr;
    if (other.GetMatrixKind() == kBlockDiagonalMatrix) {
        const auto& blocks = static_cast<const MCSymBlockDiagMatrix&>(other);
        return blocks.fvSizes == fvSizes ? &blocks : nullptr;
    }
    if (other.GetMatrixKind() != kDiagonalMatrix) return nullptr;
    const std::vector<double>& diagonal = static_cast<const MCDiagMatrix&>(other).AsVector();
    std::vector<double> part;
    for (int b = 0; b < GetNBlocks(); ++b) {
        CopyPart(b, diagonal, part);
        split.Append(MCDiagMatrix(part));
    }
    return &split;
}

// A block of the result is diagonal when both factors are.
bool MCSymBlockDiagMatrix::FormWithBlocks(const MCSymBlockDiagMatrix& other,
                                          bool (IMCSymMatrix::*form)(const IMCSymMatrix&, IMCSymMatrix&) const,
                                          IMCSymMatrix& out) const
{
    if (!CanStoreIn(out)) return false;
    MCBitSet isDiagonal(GetNBlocks());
    for (int b = 0; b < GetNBlocks(); ++b) isDiagonal.Set(b, fIsDiagonal.IsIn(b) && other.fIsDiagonal.IsIn(b));
    MCSymBlockDiagMatrix result;
    if (!result.SetStructure(fvSizes, isDiagonal)) return false;
    for (int b = 0; b < GetNBlocks(); ++b)
        if (!(Block(b).*form)(other.Block(b), result.Block(b))) return false;
    return Store(std::move(result), out);
}

bool MCSymBlockDiagMatrix::ComputeLSLTrans(const IMCSymMatrix& L, IMCSymMatrix& out) const
{
    MCSymBlockDiagMatrix split;
    if (const MCSymBlockDiagMatrix* const blocks = Alike(L, split))
        return FormWithBlocks(*blocks, &IMCSymMatrix::ComputeLSLTrans, out);
    return IMCSymMatrix::ComputeLSLTrans(L, out);
}

bool MCSymBlockDiagMatrix::ComputeLTransSL(const IMCSymMatrix& L, IMCSymMatrix& out) const
{
    MCSymBlockDiagMatrix split;
    if (const MCSymBlockDiagMatrix* const blocks = Alike(L, split))
        return FormWithBlocks(*blocks, &IMCSymMatrix::ComputeLTransSL, out);
    return IMCSymMatrix::ComputeLTransSL(L, out);
}

bool MCSymBlockDiagMatrix::ComputeSTransS(IMCSymMatrix& out) const
{
    if (!CanStoreIn(out)) return false;
    MCSymBlockDiagMatrix square;
    square.CopyStructure(*this);
    for (int b = 0; b < GetNBlocks(); ++b) Block(b).ComputeSTransS(square.Block(b));
    return Store(std::move(square), out);
}

// S*second is the transpose of second*S, where S is the block-diagonal factor of a product of rows.
bool MCSymBlockDiagMatrix::ComputeSS(const IMCSymMatrix& second, MCRectMatrix& out) const
{
    MCRectMatrix result;
    if (second.GetNRows() != GetNRows() || !result.SetNRowsCols(GetNRows(), GetNRows())) return false;
    MCSymBlockDiagMatrix split;
    if (const MCSymBlockDiagMatrix* const blocks = Alike(second, split)) {
        MCRectMatrix product;
        for (int b = 0; b < GetNBlocks(); ++b) {
            if (!Block(b).ComputeSS(blocks->Block(b), product)) return false;
            for (int i = 0; i < SizeOf(b); ++i)
                std::copy_n(product.GetRowPtr(i), SizeOf(b), result.GetRowPtr(StartOf(b) + i) + StartOf(b));
        }
        out = std::move(result);
        return true;
    }
    std::vector<double> row;
    for (int i = 0; i < GetNRows(); ++i) {
        second.GetRow(i, row);
        result.SetRow(i, row);
    }
    if (!ComputeRS(result, result)) return false;
    result.Transpose();
    out = std::move(result);
    return true;
}

bool MCSymBlockDiagMatrix::ComputeAXpY(double a, const IMCSymMatrix& X)
{
    if (X.GetNRows() != GetNRows()) return false;
    if (X.GetMatrixKind() == kBlockDiagonalMatrix && IsSameStructure(static_cast<const MCSymBlockDiagMatrix&>(X))) {
        const auto& x = static_cast<const MCSymBlockDiagMatrix&>(X);
        for (int b = 0; b < GetNBlocks(); ++b) Block(b).ComputeAXpY(a, x.Block(b));
        return true;
    }
    for (int i = 0; i < GetNRows(); ++i)
        for (int j = X.GetIndexFirstInRow(i); j < GetIndexFirstInRow(i); ++j)
            if (X.GetElem(i, j) != 0.0) return false;
    for (int i = 0; i < GetNRows(); ++i)
        for (int j = std::max(X.GetIndexFirstInRow(i), GetIndexFirstInRow(i)); j <= i; ++j)
            SetElem(i, j, GetElem(i, j) + a * X.GetElem(i, j));
    return true;
}

double MCSymBlockDiagMatrix::ComputeDotProduct2Rows(int i, int j) const
{
    if (!IsRow(i) || !IsRow(j)) return MCMV::Missing();
    const int b = BlockOf(i);
    return BlockOf(j) == b ? Block(b).ComputeDotProduct2Rows(i - StartOf(b), j - StartOf(b)) : 0.0;
}

MCSymBlockDiagMatrix::BlockPart MCSymBlockDiagMatrix::PartInBlock(int b, int first, int count) const
{
    const int begin = std::clamp(first - StartOf(b), 0, SizeOf(b));
    const int end = std::clamp(first + count - StartOf(b), begin, SizeOf(b));
    return {begin, end - begin};
}

double MCSymBlockDiagMatrix::DotProductColVecIIncrPart(int j, const double* v, int incr, int first, int count) const
{
    if (!IsRow(j) || !IsPart(first, count)) return MCMV::Missing();
    const int b = BlockOf(j);
    const BlockPart part = PartInBlock(b, first, count);
    if (part.count == 0) return 0.0;
    return Block(b).DotProductColVecIIncrPart(j - StartOf(b), v + static_cast<std::ptrdiff_t>(StartOf(b)) * incr, incr,
                                              part.first, part.count);
}

bool MCSymBlockDiagMatrix::UpdateDenseColumnPart(int j, double a, double* column, int incr, int first, int count) const
{
    if (!IsRow(j) || !IsPart(first, count)) return false;
    const int b = BlockOf(j);
    const BlockPart part = PartInBlock(b, first, count);
    if (part.count == 0) return true;
    return Block(b).UpdateDenseColumnPart(j - StartOf(b), a, column + static_cast<std::ptrdiff_t>(StartOf(b)) * incr,
                                          incr, part.first, part.count);
}

bool MCSymBlockDiagMatrix::ComputeVecIIncrPartByL(const double* v, int incr, int first, int count,
                                                  std::vector<double>& out) const
{
    if (!IsPart(first, count)) return false;
    std::vector<double> result(fvBlockOfRow.size());
    std::vector<double> product;
    for (int i = first; i < first + count;) {
        const int b = BlockOf(i);
        const BlockPart part = PartInBlock(b, first, count);
        Block(b).ComputeVecIIncrPartByL(v + static_cast<std::ptrdiff_t>(StartOf(b)) * incr, incr, part.first,
                                        part.count, product);
        std::copy(product.begin(), product.end(), result.begin() + StartOf(b));
        i = StartOf(b) + SizeOf(b);
    }
    out.swap(result);
    return true;
}

bool MCSymBlockDiagMatrix::ComputeDeterminant(double tol, double* det) const
{
    if (GetNRows() < 1 || !(tol >= 0.0)) return false;
    internal::ScaledDeterminant product(det);
    double exponent = 0.0;
    for (int b = 0; b < GetNBlocks(); ++b) {
        double detOfBlock[2];
        Block(b).ComputeDeterminant(tol, detOfBlock);
        exponent += detOfBlock[1];
        if (!product.Multiply(detOfBlock[0])) break;
    }
    det[1] = det[0] == 0.0 ? 0.0 : det[1] + exponent;
    return true;
}

double MCSymBlockDiagMatrix::TraceOfProduct(const IMCSymMatrix& B) const
{
    MCSymBlockDiagMatrix split;
    const MCSymBlockDiagMatrix* const blocks = Alike(B, split);
    if (blocks == nullptr) return IMCSymMatrix::TraceOfProduct(B);
    double trace = 0.0;
    for (int b = 0; b < GetNBlocks(); ++b) trace += Block(b).TraceOfProduct(blocks->Block(b));
    return trace;
}

double MCSymBlockDiagMatrix::TraceOfProductOfThree(const IMCSymMatrix& B, const IMCSymMatrix& C) const
{
    MCSymBlockDiagMatrix splitB;
    MCSymBlockDiagMatrix splitC;
    const MCSymBlockDiagMatrix* const blocksB = Alike(B, splitB);
    const MCSymBlockDiagMatrix* const blocksC = Alike(C, splitC);
    if (blocksB == nullptr || blocksC == nullptr) return IMCSymMatrix::TraceOfProductOfThree(B, C);
    double trace = 0.0;
    for (int b = 0; b < GetNBlocks(); ++b)
        trace += Block(b).TraceOfProductOfThree(blocksB->Block(b), blocksC->Block(b));
    return trace;
}

} // namespace MCMath_930
