// Products of arrays of rows, each element the sum of its terms in index order.
#pragma once

#include "modelcore/kernels/Kernels.h"
#include "modelcore/kernels/TileProduct.h"
#include "modelcore/matrix/MCRectMatrix.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace MCMath_930::internal {

/// The sum of a[i]*b[i*stride] in index order, from 0.
inline double DotInOrder(const double* a, const double* b, std::size_t count, std::size_t stride = 1)
{
    double sum = 0.0;
    for (std::size_t i = 0; i < count; ++i) sum += a[i] * b[i * stride];
    return sum;
}

/// out += a*b for a of rows x inner, b of inner x cols and out of rows x cols elements, all row by row. Each element
/// receives its terms in index order, so the tiles and the plain loop give the same bits.
inline void AddRowsTimesRows(double* out, const double* a, std::size_t aStride, std::size_t rows, std::size_t inner,
                             const double* b, std::size_t cols)
{
    // A small right operand is used where it stands; for a large one the tile wants packed operands, which does not pay for
    // few rows.
    constexpr std::size_t kFewRows = 3;
    constexpr std::size_t kSmallOperand = 64 * 64;
    const auto step = static_cast<std::ptrdiff_t>(cols);
    if (rows > 1 && inner * cols <= kSmallOperand)
        return AddSmallProduct(out, a, static_cast<std::ptrdiff_t>(aStride), rows, inner, b, cols);
    if (rows > kFewRows) {
        const auto at = [](auto i) { return static_cast<std::size_t>(i); };
        if (const TileWorkspace work(static_cast<int>(cols)); work)
            return AddProduct<ZeroFactor::Multiplies>(
                work, static_cast<int>(rows), static_cast<int>(inner), [&](int i) { return out + at(i) * cols; },
                [&](int) { return static_cast<int>(cols); }, [&](int i, int k) { return a[at(i) * aStride + at(k)]; },
                RowsOperand{[&](int k) { return b + at(k) * cols; }});
    }
    for (std::size_t i = 0; i < rows; ++i) AddRows(out + i * cols, b, step, inner, a + i * aStride, 1, cols);
}

/// Stores the product a*b of rows x inner and inner x cols elements. False, and out as it was, when there can be no
/// matrix of that shape.
inline bool StoreProduct(const double* a, std::size_t rows, std::size_t inner, const double* b, std::size_t cols,
                         MCRectMatrix& out)
{
    const bool fits =
        static_cast<std::size_t>(out.GetNRows()) == rows && static_cast<std::size_t>(out.GetNCols()) == cols;
    if (fits && out.GetPtr() != a && out.GetPtr() != b) {
        std::fill_n(out.GetPtr(), rows * cols, 0.0);
        AddRowsTimesRows(out.GetPtr(), a, inner, rows, inner, b, cols);
        return true;
    }
    MCRectMatrix result;
    if (!result.SetNRowsCols(static_cast<int>(rows), static_cast<int>(cols))) return false;
    AddRowsTimesRows(result.GetPtr(), a, inner, rows, inner, b, cols);
    out = std::move(result);
    return true;
}

} // namespace MCMath_930::internal
