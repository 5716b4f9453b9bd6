// The recurrence of MT19937, a block at a time.
#pragma once

#include <cstddef>
#include <cstdint>

namespace MCMath_930::internal {

/// The state of MT19937: this many words, each made from itself, its successor and the word this far on.
inline constexpr std::size_t kTwisterWords = 624;
inline constexpr std::size_t kTwisterMiddle = 397;

// Each replaces the kTwisterWords words by the next block, and tempers them. The arrays must not overlap.
namespace baseline {
void Twist(std::uint32_t* words, std::uint32_t* tempered);
}
namespace v3 {
void Twist(std::uint32_t* words, std::uint32_t* tempered);
}
namespace v4 {
void Twist(std::uint32_t* words, std::uint32_t* tempered);
}

} // namespace MCMath_930::internal
