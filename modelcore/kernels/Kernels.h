// The inner loops that linalg, matrix and accumulators share, compiled once per instruction set.
//
// A kernel takes raw pointers and counts, allocates nothing and checks nothing. Its comment says what bits it promises:
// every version of a kernel gives the same bits, because vectors run across independent elements and never across the
// terms of one sum. Callers use the free functions at the end; which version runs is decided here and nowhere else.
#pragma once

#include "modelcore/common/internal/InternalExport.h"
#include "modelcore/kernels/KernelTable.h"

#include <atomic>
#include <cmath>
#include <cstddef>
#include <span>

namespace MCMath_930::internal {

/// The sets compiled into this binary that this processor can run, the plain one first, the fastest last.
MODELCORE_INTERNAL_EXPORT std::span<const KernelTable* const> UsableKernelTables();

/// Test hook: makes every later kernel call use the given set; nullptr goes back to the fastest one. Not for use while
/// other threads are inside kernels.
MODELCORE_INTERNAL_EXPORT void OverrideKernels(const KernelTable* table);

MODELCORE_INTERNAL_EXPORT extern std::atomic<const KernelTable*> activeKernels;
MODELCORE_INTERNAL_EXPORT const KernelTable& ChooseKernels();

inline const KernelTable& Kernels()
{
    const KernelTable* const table = activeKernels.load(std::memory_order_relaxed);
    return table != nullptr ? *table : ChooseKernels();
}

/// y[j] += c * x[j] for j in [0, count). Two roundings per element and no sum across elements, so every vector width
/// gives the same bits. x and y must not overlap.
inline void AddScaled(double* y, double c, const double* x, std::size_t count)
{
    Kernels().addScaled(y, c, x, count);
}

/// packed(i,j) += left[k][i] * right[k][j] for k = 0 .. count-1 in this order and all j <= i < order. packed is a lower
/// triangle row by row; left and right hold count rows of order values. Each product is rounded before it is added,
/// and each element adds its own terms in the order of k, so any grouping of elements or calls gives the same bits.
MODELCORE_INTERNAL_EXPORT void AddOuterProducts(double* packed, std::size_t order, const double* left, const double* right,
                                       std::size_t count);

/// y += factors[k*factorStep] * row k, `step` apart, for k = 0 .. count-1 in this order; y and the rows are `length`
/// elements long. Two roundings per term; a factor of 0 multiplies like any other. y must not overlap the rows.
inline void AddRows(double* y, const double* rows, std::ptrdiff_t step, std::size_t count, const double* factors,
                    std::ptrdiff_t factorStep, std::size_t length)
{
    Kernels().addRows(y, rows, step, count, factors, factorStep, length);
}

/// x[j] *= c for j in [0, count). One rounding per element.
inline void Scale(double* x, double c, std::size_t count)
{
    Kernels().scale(x, c, count);
}

/// Plane rotation: x[j], y[j] become c*x[j] + s*y[j] and c*y[j] - s*x[j]. Three roundings per element. x and y must not
/// overlap.
inline void Rotate(double* x, double* y, double c, double s, std::size_t count)
{
    Kernels().rotate(x, y, c, s, count);
}

/// The index of the first element of largest magnitude, as a loop finds it that starts at element 0 and moves on when
/// an element is larger; count >= 1.
inline std::size_t FirstLargest(const double* x, std::size_t count)
{
    const double largest = Kernels().largestMagnitude(x, count);
    for (std::size_t i = 0; i < count; ++i)
        if (std::fabs(x[i]) == largest) return i;
    return 0; // x[0] is a NaN
}

/// One tile of a product: lines[r][w] += left[k*kTileLines + r] * right[k*kTileWidth + w] for r < kTileLines and
/// w < kTileWidth, k = 0 .. depth-1 in this order, each product rounded before it is added. Operands are packed as
/// TileProduct.h does it; the lines must not overlap them.
inline void AddProductTile(double* const* lines, const double* left, const double* right, std::size_t depth)
{
    Kernels().addProductTile(lines, left, right, depth);
}

/// deviations[i] = x[i] - means[i], then means[i] += deviations[i] * share, for i in [0, count). The three must not
/// overlap.
inline void StepMeans(double* deviations, double* means, const double* x, double share, std::size_t count)
{
    Kernels().stepMeans(deviations, means, x, share, count);
}

/// Packs rows[k*rowStep + w] - origin[w] for w < width and k < count as a right operand of AddProductTile: strips of
/// kTileWidth columns, in each the rows one after the other. What stands beside the last columns of the last strip is
/// left as it is. One rounding per element.
inline void PackDifferences(double* packed, const double* rows, std::size_t rowStep, const double* origin, int width,
                            int count)
{
    Kernels().packDifferences(packed, rows, rowStep, origin, width, count);
}

/// Packs weights[k] * (rows[k*rowStep + r] - origin[r]) for r < lines <= kTileLines and k < count as a left operand of
/// AddProductTile, leaving the elements of further lines as they are. Two roundings per element.
inline void PackWeightedDifferences(double* packed, const double* rows, std::size_t rowStep, const double* origin,
                                    const double* weights, int lines, int count)
{
    Kernels().packWeightedDifferences(packed, rows, rowStep, origin, weights, lines, count);
}

/// Column j of c, columnStep apart, += factors[j*factorStep] * x for j in [0, columns), each column `count` elements
/// long. A column whose factor is 0 is not touched, so that signed zeros and infinities stay as they are. Two roundings
/// per element. x and the factors must not overlap what is written.
inline void AddOuterProduct(double* c, std::ptrdiff_t columnStep, std::size_t columns, const double* factors,
                            std::ptrdiff_t factorStep, const double* x, std::size_t count)
{
    Kernels().addOuterProduct(c, columnStep, columns, factors, factorStep, x, count);
}

/// y += factors[j] * column j of c, columnStep apart, for j = 0 .. columns-1 in this order, leaving out factors of 0; y
/// and the columns are `count` elements long. Two roundings per term. y must not overlap the columns.
inline void AddColumns(double* y, const double* c, std::ptrdiff_t columnStep, std::size_t columns,
                       const double* factors, std::size_t count)
{
    Kernels().addColumns(y, c, columnStep, columns, factors, count);
}

/// Applies a unit lower triangle to columns of c, in place: for k = 0 .. order-2, rows i > k of a column receive
/// lower(i, k) times its row k, unless that is 0. lower(i, k) is at lower[k*lowerStep + i]. Two roundings per term.
inline void ApplyUnitLower(double* c, std::ptrdiff_t columnStep, std::size_t columns, const double* lower,
                           std::ptrdiff_t lowerStep, int order)
{
    Kernels().applyUnitLower(c, columnStep, columns, lower, lowerStep, order);
}

/// AddProductTile with both operands in panels: element k of line r is left[k*kPanelLines + r], and so for the right.
inline void AddPanelTile(double* const* lines, const double* left, const double* right, std::size_t depth)
{
    Kernels().addPanelTile(lines, left, right, depth);
}

/// Finishes elements first .. last-1 of a panel of kPanelLines lines of a Cholesky factor. For each k in order, and all
/// lines r side by side, the sum sums[k][r] grows by diagonal[k][m] * panel[m][r] for m = 0 .. k-1, and panel[k][r]
/// becomes (own[k][r] - sum) / diagonal[k][k], or 0 when that pivot is 0. Every row of the four is kPanelLines long.
inline void FinishCholeskyPanel(double* panel, const double* sums, const double* own, const double* diagonal, int first,
                                int last)
{
    Kernels().finishCholeskyPanel(panel, sums, own, diagonal, first, last);
}

/// On a strip of kStripWidth columns stored row by row: row i += v[i]*factors, then dots += next[i] * row i, for i in
/// [0, rows) in order. Without v only the dots, without next only the first half is done. Two roundings per term.
inline void ReflectStrip(double* strip, const double* v, const double* factors, const double* next, double* dots,
                         std::size_t rows)
{
    Kernels().reflectStrip(strip, v, factors, next, dots, rows);
}

/// On kStripWidth rows of a matrix stored column by column: for k = 0 .. count-1 in this order the plane rotation
/// (c[k], s[k]) of columns k and k + 1, as Rotate does it.
inline void RotateStrip(double* strip, const double* c, const double* s, std::size_t count)
{
    Kernels().rotateStrip(strip, c, s, count);
}

/// On kStripWidth rows stored column by column: y += factors[j] * column j for j = 0 .. columns-1 in this order,
/// leaving out factors of 0. Two roundings per term. y must not be one of the columns.
inline void AddStripColumns(double* y, const double* strip, const double* factors, std::size_t columns)
{
    Kernels().addStripColumns(y, strip, factors, columns);
}

/// One pass over a symmetric matrix A, given as its packed lower triangle. First the update by two vectors:
/// A(j,k) -= u[j]*q[k], then A(j,k) -= q[j]*u[k]. Then the product of A and v, unless v is null: product[j] is
/// the sum of A(j,k)*v[k] over k = 0 .. j in this order, then of A(i,j)*v[i] over i = j+1 .. order-1. Two roundings per
/// term. No vector may overlap another or the matrix.
inline void UpdateAndMultiply(double* packed, std::size_t order, const double* u, const double* q, const double* v,
                              double* product)
{
    Kernels().updateAndMultiply(packed, order, u, q, v, product);
}

/// dots[j] = x . column j of c, columnStep apart, for j in [0, columns): each sum from 0 in index order, several of
/// them side by side. Two roundings per term.
inline void DotColumns(double* dots, const double* c, std::ptrdiff_t columnStep, std::size_t columns, const double* x,
                       std::size_t count)
{
    Kernels().dotColumns(dots, c, columnStep, columns, x, count);
}

/// Replaces the kTwisterWords words of MT19937 by the next block, and tempers them. The arrays must not overlap.
inline void Twist(std::uint32_t* words, std::uint32_t* tempered)
{
    Kernels().twist(words, tempered);
}

/// out = S*v for the symmetric matrix whose lower triangle is packed row by row: each sum from 0 in index order. Two
/// roundings per term. out must overlap neither.
inline void MultiplyPacked(const double* packed, std::size_t order, const double* v, double* out)
{
    Kernels().multiplyPacked(packed, order, v, out);
}

} // namespace MCMath_930::internal
