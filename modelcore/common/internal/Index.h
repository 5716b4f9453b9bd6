// Counts and indices of the interfaces, which are int, as what containers take.
#pragma once

#include <cstddef>

namespace MCMath_930::internal {

/// A count or an index that is known to be >= 0.
constexpr std::size_t AsSize(int i) noexcept
{
    return static_cast<std::size_t>(i);
}

} // namespace MCMath_930::internal
