// The recurrence of MT19937, a block at a time.
#pragma once

#include <cstddef>
#include <cstdint>

namespace MCMath_930::internal {

/// The state of MT19937: this many words, each made from itself, its successor and the word this far on.
inline constexpr std::size_t kTwisterWords = 624;
inline constexpr std::size_t kTwisterMiddle = 397;

// Twist replaces the kTwisterWords words by the next block, and tempers them. Reals53 makes the 53-bit number of each two
// tempered words, as MCRandomTwister::GetRealRes53 does. The arrays must not overlap.
namespace baseline {
void Twist(std::uint32_t* words, std::uint32_t* tempered);
void Reals53(const std::uint32_t* tempered, double* reals);
} // namespace baseline
namespace v3 {
void Twist(std::uint32_t* words, std::uint32_t* tempered);
void Reals53(const std::uint32_t* tempered, double* reals);
} // namespace v3
namespace v4 {
void Twist(std::uint32_t* words, std::uint32_t* tempered);
void Reals53(const std::uint32_t* tempered, double* reals);
} // namespace v4

} // namespace MCMath_930::internal
