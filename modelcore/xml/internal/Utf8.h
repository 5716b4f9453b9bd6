// UTF-8: which bytes are a character.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace MCXML_930::internal {

/// The length of the character of two to four bytes that begins at a byte of 0x80 or more; 0 when none does: a trailing
/// byte, an overlong form, a surrogate, a code point above U+10FFFF or a character that is cut off.
inline std::size_t LongCharacter(const char* at, const char* end)
{
    const auto byte = [at](std::size_t i) { return static_cast<unsigned char>(at[i]); };
    const auto trails = [&byte](std::size_t i) { return (byte(i) & 0xC0) == 0x80; };
    const auto left = static_cast<std::size_t>(end - at);
    const unsigned first = byte(0);
    if (first < 0xE0) return first >= 0xC2 && left >= 2 && trails(1) ? 2 : 0;
    if (first < 0xF0) {
        if (left < 3 || !trails(1) || !trails(2)) return 0;
        if (first == 0xE0 && byte(1) < 0xA0) return 0; // fits in two bytes
        if (first == 0xED && byte(1) > 0x9F) return 0; // a surrogate
        return 3;
    }
    if (first > 0xF4 || left < 4 || !trails(1) || !trails(2) || !trails(3)) return 0;
    if (first == 0xF0 && byte(1) < 0x90) return 0; // fits in three bytes
    if (first == 0xF4 && byte(1) > 0x8F) return 0; // above U+10FFFF
    return 4;
}

/// Appends a code point, which must not be a surrogate.
inline void AppendCodePoint(std::string& out, std::uint32_t point)
{
    const auto put = [&out](std::uint32_t byte) { out.push_back(static_cast<char>(byte)); };
    const auto trail = [&put](std::uint32_t bits) { put(0x80u | (bits & 0x3Fu)); };
    if (point < 0x80) return put(point);
    if (point < 0x800) {
        put(0xC0u | point >> 6);
    } else {
        if (point < 0x10000) {
            put(0xE0u | point >> 12);
        } else {
            put(0xF0u | point >> 18);
            trail(point >> 12);
        }
        trail(point >> 6);
    }
    trail(point);
}

} // namespace MCXML_930::internal
