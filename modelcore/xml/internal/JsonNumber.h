// Numbers as JSON writes them.
#pragma once

#include "modelcore/xml/internal/Digits.h"
#include "modelcore/xml/internal/PowersOfTen.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace MCXML_930::internal {

/// Room for any number, and for the copies of fixed size that are made beyond its end.
inline constexpr std::size_t kJsonNumberRoom = 48;

/// Writes all digits of an integer and returns the end of the text.
char* WriteJsonInteger(char* out, long long value);

/// Writes a finite double with the fewest digits that read back to it, the nearest of them, and returns the end of the
/// text: in plain notation with a point for 0 and for 1e-5 <= |value| < 1e17, else with an exponent.
char* WriteJsonReal(char* out, double value);

/// The double nearest to digits * 10^power, ties to even. False, and value unchanged, when this cannot tell or the
/// result is not a normal double: it then takes a longer look at the text.
///
/// Up to 2^53 and 10^22 both factors are doubles and one operation rounds once (Clinger 1990). Beyond, the product with
/// the leading 128 bits of the power is cut off so that the true one is less than two units of its last bit above it;
/// where both ends of that interval round alike, that is the result (after Lemire, Software: Practice and Experience 51,
/// 2021).
inline bool NearestDouble(std::uint64_t digits, int power, double& value)
{
    constexpr std::array<double, 23> kExact{1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                                            1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
    constexpr int kLargest = static_cast<int>(kExact.size()) - 1;
    if (digits <= std::uint64_t{1} << 53 && power >= -kLargest && power <= kLargest) {
        const auto whole = static_cast<double>(digits);
        value = power < 0 ? whole / kExact[static_cast<std::size_t>(-power)]
                          : whole * kExact[static_cast<std::size_t>(power)];
        return true;
    }
    if (digits == 0) {
        value = 0.0;
        return true;
    }
    if (power < kLowestPower || power > kHighestPower) return false;

    const int zeros = std::countl_zero(digits);
    digits <<= zeros;
    const PowerOfTen& ten = kPowersOfTen[static_cast<std::size_t>(power - kLowestPower)];
    Product product = Multiply(digits, ten.high);
    const std::uint64_t carry = Multiply(digits, ten.low).high;
    product.low += carry;
    product.high += product.low < carry ? 1 : 0;

    // The upper 54 bits: those of the double and the one that rounds. What is below decides nothing but a tie.
    const int shift = 9 + static_cast<int>(product.high >> 63);
    const std::uint64_t upper = product.high >> shift;
    const std::uint64_t mask = (std::uint64_t{1} << shift) - 1;
    const std::uint64_t rest = product.high & mask;
    if (rest == mask && product.low >= ~std::uint64_t{1}) return false;  // the interval reaches the next 54 bits
    if ((upper & 1) != 0 && rest == 0 && product.low == 0) return false; // a tie, or just above one
    std::uint64_t significand = (upper + 1) >> 1;
    int exponent = shift + 1 + 128 + ExponentOfTen(power) - zeros + 1075;
    if (significand >> 53 != 0) {
        significand >>= 1;
        ++exponent;
    }
    if (exponent < 1 || exponent > 2046) return false;
    value = std::bit_cast<double>(static_cast<std::uint64_t>(exponent) << 52 |
                                  (significand & ((std::uint64_t{1} << 52) - 1)));
    return true;
}

/// Whether eight characters, the first in the lowest byte, are digits.
inline bool AreEightDigits(std::uint64_t text)
{
    constexpr std::uint64_t kUpper = 0xF0F0F0F0F0F0F0F0;
    return ((text & kUpper) | ((text + 0x0606060606060606) & kUpper) >> 4) == 0x3333333333333333;
}

/// The number that eight digits are: pairs, then fours, then all, each by one multiplication.
inline std::uint32_t ValueOfEight(std::uint64_t text)
{
    text -= 0x3030303030303030;
    text = text * 10 + (text >> 8);
    constexpr std::uint64_t kPair = 0x000000FF000000FF;
    return static_cast<std::uint32_t>(
        ((text & kPair) * 0x000F424000000064 + (text >> 16 & kPair) * 0x0000271000000001) >> 32);
}

} // namespace MCXML_930::internal
