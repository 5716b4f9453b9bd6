// The multiplicative congruential generator that MCRNGUCongruential and MCURandom share.
#pragma once

#include <cstdint>

namespace MCMath_930::internal {

constexpr std::uint32_t kCongruentialModulus = 2147483647u;

/// x * 397204094 mod (2^31 - 1), with 1 in place of 0, which would repeat for ever.
constexpr std::uint32_t NextCongruential(std::uint32_t x)
{
    const auto next = static_cast<std::uint32_t>(std::uint64_t{x} * 397204094u % kCongruentialModulus);
    return next != 0 ? next : 1;
}

/// x / 2^31. The divisor is not the modulus; the result stays below 1 all the same.
constexpr double CongruentialReal(std::uint32_t x)
{
    return x * 0x1p-31;
}

} // namespace MCMath_930::internal
