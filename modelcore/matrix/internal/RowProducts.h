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

/// An operand of so many elements stays in the second cache.
inline constexpr std::size_t kSmallOperand = 128 * 128;

/// A right operand of no more elements is used where it stands: packing it would cost more than the tile gains.
inline bool IsSmallOperand(std::size_t rows, std::size_t cols)
{
    return rows * cols <= kSmallOperand;
}

/// The left operand of a product: element (i, k) is at a[i*lineStep + k*termStep].
struct LeftOperand {
    const double* a;
    std::ptrdiff_t lineStep;
    std::ptrdiff_t termStep = 1;

    LeftOperand(const double* elements, std::size_t step, std::size_t stepOfTerms = 1)
        : a(elements), lineStep(static_cast<std::ptrdiff_t>(step)), termStep(static_cast<std::ptrdiff_t>(stepOfTerms))
    {}
};

/// out += a*b for a of rows x inner, b of inner x cols and out of rows x cols elements, the last two row by row; out =
/// a*b when it is fresh. Each element receives its terms in index order, so the tiles and the plain loop give the same
/// bits.
inline void AddRowsTimesRows(double* out, const LeftOperand& left, std::size_t rows, std::size_t inner, const double* b,
                             std::size_t cols, bool fresh)
{
    constexpr std::size_t kFewRows = 3; // for which packed operands do not pay
    const auto step = static_cast<std::ptrdiff_t>(cols);
    if (rows > 1 && IsSmallOperand(inner, cols)) {
        const std::size_t most = kSmallOperand / std::max({inner, cols, std::size_t{1}}) + 1;
        for (std::size_t first = 0; first < rows; first += most)
            AddSmallProduct(out + first * cols, step, left.a + static_cast<std::ptrdiff_t>(first) * left.lineStep,
                            left.lineStep, left.termStep, std::min(most, rows - first), inner, b, step, cols, fresh);
        return;
    }
    if (fresh) std::fill_n(out, rows * cols, 0.0);
    if (rows > kFewRows) {
        const auto at = [](auto i) { return static_cast<std::size_t>(i); };
        if (const TileWorkspace work(static_cast<int>(cols)); work)
            return AddProduct<ZeroFactor::Multiplies>(
                work, static_cast<int>(rows), static_cast<int>(inner), [&](int i) { return out + at(i) * cols; },
                [&](int) { return static_cast<int>(cols); },
                [&](int i, int k) { return left.a[i * left.lineStep + k * left.termStep]; },
                RowsOperand{[&](int k) { return b + at(k) * cols; }});
    }
    for (std::size_t i = 0; i < rows; ++i)
        AddRows(out + i * cols, b, step, inner, left.a + static_cast<std::ptrdiff_t>(i) * left.lineStep, left.termStep,
                cols);
}

/// Stores the product a*b of rows x inner and inner x cols elements. False, and out as it was, when there can be no
/// matrix of that shape.
inline bool StoreProduct(const double* a, std::size_t rows, std::size_t inner, const double* b, std::size_t cols,
                         MCRectMatrix& out)
{
    const bool fits =
        static_cast<std::size_t>(out.GetNRows()) == rows && static_cast<std::size_t>(out.GetNCols()) == cols;
    if (fits && out.GetPtr() != a && out.GetPtr() != b) {
        AddRowsTimesRows(out.GetPtr(), {a, inner}, rows, inner, b, cols, true);
        return true;
    }
    MCRectMatrix result;
    if (!result.SetNRowsCols(static_cast<int>(rows), static_cast<int>(cols))) return false;
    AddRowsTimesRows(result.GetPtr(), {a, inner}, rows, inner, b, cols, false);
    out = std::move(result);
    return true;
}

} // namespace MCMath_930::internal
