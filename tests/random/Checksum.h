// A checksum of a long run of numbers: FNV-1a over the bits of each, lowest byte first.
#pragma once

#include <bit>
#include <cstdint>

/// Of count doubles that next returns.
template <class Next>
std::uint64_t Checksum(int count, Next next)
{
    std::uint64_t sum = 0xCBF29CE484222325u;
    for (int i = 0; i < count; ++i) {
        const auto bits = std::bit_cast<std::uint64_t>(next());
        for (int shift = 0; shift < 64; shift += 8) sum = (sum ^ ((bits >> shift) & 0xFFu)) * 0x100000001B3u;
    }
    return sum;
}
