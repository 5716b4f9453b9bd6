// Lists of row or column numbers, each of which names one place.
#pragma once

#include "modelcore/common/MCBitSet.h"

#include <algorithm>
#include <vector>

namespace MCMath_930::internal {

/// Whether all numbers are in [0, size) and none comes twice.
inline bool AreDistinct(const std::vector<int>& places, int size)
{
    MCBitSet taken(size);
    return std::all_of(places.begin(), places.end(), [&](int i) { return !taken.IsIn(i) && taken.Set(i); });
}

} // namespace MCMath_930::internal
