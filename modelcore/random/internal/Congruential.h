// The multiplicative congruential generator that MCRNGUCongruential and MCURandom share.
#pragma once

#include <cstdint>

namespace MCMath_930::internal {

constexpr std::uint32_t kCongruentialModulus = 2147483647u;

/// x * 397204094 mod (2^31 - 1), with 1 in place of 0, which would repeat for ever; x <= 2^32 - 1.
constexpr std::uint32_t NextCongruential(std::uint32_t x)
{
    // 2^31 is 1 modulo the modulus, so the upper bits are added to the lower ones: a sum below 2^30 + 2^31.
    const std::uint64_t product = std::uint64_t{x} * 397204094u;
    const auto sum = static_cast<std::uint32_t>((product & kCongruentialModulus) + (product >> 31));
    const std::uint32_t next = sum >= kCongruentialModulus ? sum - kCongruentialModulus : sum;
    return next != 0 ? next : 1;
}

/// x / 2^31. The divisor is not the modulus; the result stays below 1 all the same.
constexpr double CongruentialReal(std::uint32_t x)
{
    return x * 0x1p-31;
}

} // namespace MCMath_930::internal
