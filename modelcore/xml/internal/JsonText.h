// What the reader and the writer of JSON text agree on.
#pragma once

#include <bit>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <string_view>

namespace MCXML_930::internal {

/// Whether a character stands in a string as it is: ASCII and no quote, backslash or control character.
inline bool IsPlain(char c)
{
    return static_cast<unsigned char>(c - ' ') < 0x80 - ' ' && c != '"' && c != '\\';
}

/// Of eight characters, the first in the lowest byte: the highest bit of a byte of the result is set when it is not plain
/// in a string, that is a quote, a backslash, a control character or, unless long characters are plain, a byte of 0x80
/// or more. Exact up to the first such byte; those behind it may be marked wrongly.
inline std::uint64_t SpecialCharacters(std::uint64_t text, bool longArePlain)
{
    constexpr std::uint64_t kOnes = 0x0101010101010101, kHigh = 0x8080808080808080;
    const auto zeroBytes = [](std::uint64_t word) { return (word - kOnes) & ~word & kHigh; };
    const std::uint64_t control = (text - 0x20 * kOnes) & ~text & kHigh;
    const std::uint64_t marked = control | zeroBytes(text ^ '"' * kOnes) | zeroBytes(text ^ '\\' * kOnes);
    return longArePlain ? marked : marked | (text & kHigh);
}

/// Eight characters, the first in the lowest byte.
inline std::uint64_t EightCharacters(const char* at)
{
    std::uint64_t word = 0;
    if constexpr (std::endian::native == std::endian::little)
        std::memcpy(&word, at, sizeof word);
    else
        for (int i = 7; i >= 0; --i) word = word << 8 | static_cast<unsigned char>(at[i]);
    return word;
}

/// The number of characters before the first that is marked; marks are not 0.
inline std::size_t PlainCharacters(std::uint64_t marks)
{
    return static_cast<std::size_t>(std::countr_zero(marks)) / 8;
}

/// The text of a NaN or an infinity: "NaN" for the one that calculations give, else with all its bits.
inline std::string NonFiniteText(double value)
{
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    if (value == kInfinity) return "Infinity";
    if (value == -kInfinity) return "-Infinity";
    const auto bits = std::bit_cast<std::uint64_t>(value);
    if (bits == std::bit_cast<std::uint64_t>(std::numeric_limits<double>::quiet_NaN())) return "NaN";
    char digits[16];
    char* const end = std::to_chars(digits, digits + sizeof digits, bits, 16).ptr;
    return "NaN(" + std::string(digits, end) + ")";
}

/// Reads what NonFiniteText gives and nothing else; value is unchanged on failure.
inline bool ReadNonFinite(std::string_view text, double& value)
{
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    double read = 0.0;
    if (text == "Infinity") {
        read = kInfinity;
    } else if (text == "-Infinity") {
        read = -kInfinity;
    } else if (text == "NaN") {
        read = std::numeric_limits<double>::quiet_NaN();
    } else {
        // The exponent of a NaN is all ones, so its digits are always sixteen.
        if (text.size() != 21 || !text.starts_with("NaN(") || text.back() != ')') return false;
        std::uint64_t bits = 0;
        const char* const end = text.data() + text.size() - 1;
        const auto [at, fault] = std::from_chars(text.data() + 4, end, bits, 16);
        read = std::bit_cast<double>(bits);
        if (fault != std::errc() || at != end || read == read || NonFiniteText(read) != text) return false;
    }
    value = read;
    return true;
}

} // namespace MCXML_930::internal
