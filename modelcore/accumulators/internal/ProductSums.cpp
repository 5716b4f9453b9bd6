#include "modelcore/accumulators/internal/ProductSums.h"

#include "modelcore/kernels/TileProduct.h"

#include <algorithm>

namespace MCMath_930::internal {

namespace {

// The products of so many rows are added at one pass over the matrix: six columns of them stay in the innermost cache.
// An odd number, so that the strips of a row do not compete for the same few lines of it.
constexpr int kRowsAtOnce = 191;
constexpr int kColumnsAtOnce = 512; // the deviations of as many columns stay in the second cache

} // namespace

void AddMergedRow(double* to, const double* from, double s, const double* a, double t, const double* b,
                  std::size_t count)
{
    for (std::size_t k = 0; k < count; ++k) to[k] += from[k] + s * a[k] + t * b[k];
}

// What stands beside the last line and the last column is of no account, since its products go to elements that do not
// exist; but it is read, and some bit patterns would be slow.
ProductSums::ProductSums(const WeightedRows& block) : fvZeros(static_cast<std::size_t>(block.nVars))
{
    const int rows = static_cast<int>(std::min<std::size_t>(block.nRows, kRowsAtOnce));
    const int strips = (std::min(block.nVars, kColumnsAtOnce) + kTileWidth - 1) / kTileWidth;
    const int left = kTileLines * rows;
    const int strip = kTileWidth * rows;
    fRoom = std::make_unique_for_overwrite<double[]>(static_cast<std::size_t>(left + strips * strip));
    fLeft = fRoom.get();
    fRight = fLeft + left;
    std::fill_n(fLeft, left, 0.0);
    if (strips > 0) std::fill_n(fRight + (strips - 1) * strip, strip, 0.0);
}

void ProductSums::Add(const WeightedRows& block, const double* means, MCSymMatrix& xProds) noexcept
{
    const double* const origin = means != nullptr ? means : fvZeros.data();
    double weights[kRowsAtOnce];
    for (std::size_t row = 0; row < block.nRows; row += kRowsAtOnce) {
        const double* const rows = block.Row(row);
        const int count = static_cast<int>(std::min<std::size_t>(kRowsAtOnce, block.nRows - row));
        block.GetWeights(row, static_cast<std::size_t>(count), weights);
        for (int w0 = 0; w0 < block.nVars; w0 += kColumnsAtOnce) {
            const int width = std::min(kColumnsAtOnce, block.nVars - w0);
            PackDifferences(fRight, rows + w0, block.stride, origin + w0, width, count);
            for (int first = w0 / kTileLines * kTileLines; first < block.nVars; first += kTileLines) {
                const int lines = std::min(kTileLines, block.nVars - first);
                PackWeightedDifferences(fLeft, rows + first, block.stride, origin + first, weights, lines, count);
                AddProductToLines([&](int r) { return xProds.GetRowPtr(first + r) + w0; },
                                  [&](int r) { return std::clamp(first + r + 1 - w0, 0, width); }, lines, fLeft, fRight,
                                  count);
            }
        }
    }
}

} // namespace MCMath_930::internal
