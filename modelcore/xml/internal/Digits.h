// Products of 128 bits and decimal digits: what the writers and readers of numbers share.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace MCXML_930::internal {

struct Product {
    std::uint64_t high, low;
};

/// a * b, all 128 bits.
inline Product Multiply(std::uint64_t a, std::uint64_t b)
{
#ifdef __SIZEOF_INT128__
    __extension__ using Wide = unsigned __int128;
    const Wide product = static_cast<Wide>(a) * b;
    return {static_cast<std::uint64_t>(product >> 64), static_cast<std::uint64_t>(product)};
#else
    constexpr std::uint64_t kLow = 0xFFFFFFFF;
    const std::uint64_t low = (a & kLow) * (b & kLow);
    const std::uint64_t mid = (a >> 32) * (b & kLow) + (low >> 32);
    const std::uint64_t cross = (a & kLow) * (b >> 32) + (mid & kLow);
    return {(a >> 32) * (b >> 32) + (mid >> 32) + (cross >> 32), cross << 32 | (low & kLow)};
#endif
}

inline constexpr auto kPairs = [] {
    std::array<char, 200> pairs{};
    for (std::size_t i = 0; i < 100; ++i) {
        pairs[2 * i] = static_cast<char>('0' + i / 10);
        pairs[2 * i + 1] = static_cast<char>('0' + i % 10);
    }
    return pairs;
}();

/// The two digits of a number below 100.
inline void WritePair(char* out, std::uint32_t value)
{
    std::memcpy(out, kPairs.data() + 2 * value, 2);
}

/// The eight digits of a number below 10^8, with leading zeros.
inline void WriteEight(char* out, std::uint32_t value)
{
    const std::uint32_t upper = value / 10000, lower = value % 10000;
    WritePair(out, upper / 100);
    WritePair(out + 2, upper % 100);
    WritePair(out + 4, lower / 100);
    WritePair(out + 6, lower % 100);
}

/// How many of eight characters come before trailing zeros.
inline int LengthWithoutZeros(const char* text)
{
    std::uint64_t word;
    std::memcpy(&word, text, sizeof word);
    word ^= 0x3030303030303030;
    const int zeroBits = std::endian::native == std::endian::little ? std::countl_zero(word) : std::countr_zero(word);
    return 8 - zeroBits / 8;
}

/// Copies are of 16 characters whatever is needed: a fixed size is one move, and the buffer has room.
inline void CopySixteen(char* out, const char* from)
{
    std::memcpy(out, from, 16);
}

} // namespace MCXML_930::internal
