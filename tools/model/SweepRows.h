// The sweep on the parameters of a model.
#pragma once

#include "modelcore/modelcore.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <vector>

namespace model {

/// Sweeps on rows in turn, many in one pass over a large matrix. Their bits in swept are not set before. pause is called
/// now and then and may throw. Returns the rows that could be swept: the others depend on those before them.
/// @tparam Matrix  MCSymMatrix or MCExtendedSym
template <class Matrix>
std::vector<int> SweepRows(Matrix& matrix, const std::vector<int>& rows, double tolerance,
                           const std::vector<double>& diagonal, MCMath_930::MCBitSet& swept,
                           const std::function<void()>& pause = {})
{
    constexpr std::ptrdiff_t kBatch = 192;
    for (auto from = rows.begin(); from != rows.end();) {
        if (pause) pause();
        const auto to = from + std::min(kBatch, rows.end() - from);
        matrix.SweepOnMany({from, to}, tolerance, diagonal, swept, false);
        from = to;
    }
    std::vector<int> independent;
    std::ranges::copy_if(rows, std::back_inserter(independent), [&](int k) { return swept.IsIn(k); });
    return independent;
}

} // namespace model
