// Doubles as text in a caller's buffer, the same in every locale.
#include "modelcore/xml/internal/NumberText.h"

#include "modelcore/xml/internal/Digits.h"
#include "modelcore/xml/internal/PowersOfTen.h"

#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace MCXML_930::internal {

namespace {

constexpr int kDigits = 15;
constexpr std::uint64_t kDigitLimit = 1'000'000'000'000'000; // 10^15

/// A number of 15 digits: digits * 10^(power - 14) with 10^14 <= digits < 10^15.
struct Decimal {
    std::uint64_t digits;
    int power;
};

constexpr int kFractionBits = 52;
constexpr int kBias = 1023;

/// floor(log10(v)) for a normal v > 0 with these bits, or, for one value in forty, one less. Exponent and fraction read
/// as one number are log2(v), too small by up to 0.09; the factor is log10(2) * 2^32.
int LeadingPower(std::uint64_t bits)
{
    const std::int64_t log2 = static_cast<std::int64_t>(bits >> 32) - (std::int64_t{kBias} << 20);
    return static_cast<int>((log2 * 1292913986) >> (20 + 32));
}

/// Rounds a normal number > 0, given by its bits, to 15 digits by one product with a power of ten. False when the
/// number is a tie between two such roundings, or nearer to one than the product can tell.
bool Round(std::uint64_t bits, Decimal& decimal)
{
    constexpr std::uint64_t kHidden = std::uint64_t{1} << kFractionBits;
    const std::uint64_t m = (bits & (kHidden - 1)) | kHidden;
    const int exponent = static_cast<int>(bits >> kFractionBits) - kBias - kFractionBits;
    int power = LeadingPower(bits);
    for (;; ++power) {
        const int q = kDigits - 1 - power;
        const PowerOfTen& ten = kPowersOfTen[static_cast<std::size_t>(q - kLowestPower)];
        // The upper 117 bits of the product of 181. The bits cut off here and in the table are worth less than two
        // units of the last bit kept.
        Product product = Multiply(m, ten.high);
        const std::uint64_t carry = Multiply(m, ten.low).high;
        product.low += carry;
        product.high += product.low < carry ? 1 : 0;
        // m * 2^exponent * 10^q = product * 2^-(64 + shift); digits are what stands above the fraction.
        const int shift = -(exponent + ExponentOfTen(q)) - 128;
        if (shift < 1) continue;
        std::uint64_t digits = product.high >> shift;
        if (digits >= kDigitLimit) continue;

        const std::uint64_t half = std::uint64_t{1} << (shift - 1);
        const std::uint64_t fraction = product.high & (2 * half - 1);
        constexpr std::uint64_t kUnsure = 2;
        if (fraction == half && product.low < kUnsure) return false;
        if (fraction == half - 1 && product.low > ~kUnsure) return false;
        if (fraction >= half && ++digits == kDigitLimit) {
            digits /= 10;
            ++power;
        }
        decimal = {digits, power};
        return true;
    }
}

char* WriteDecimal(char* out, const Decimal& decimal)
{
    // The digits behind a zero, so that they are sixteen; room for copies that begin later.
    char text[32] = {};
    WriteEight(text, static_cast<std::uint32_t>(decimal.digits / 100'000'000));
    WriteEight(text + 8, static_cast<std::uint32_t>(decimal.digits % 100'000'000));
    const char* const digits = text + 1;
    int length = LengthWithoutZeros(text + 8) + 7;
    if (length == 7) length = LengthWithoutZeros(text) - 1;

    const int power = decimal.power;
    if (power >= 0 && power < kDigits) {
        CopySixteen(out, digits);
        if (length <= power + 1) return out + power + 1;
        out[power + 1] = '.';
        CopySixteen(out + power + 2, digits + power + 1);
        return out + length + 1;
    }
    if (power < 0 && power >= -4) {
        std::memcpy(out, "0.000", 5);
        CopySixteen(out + 1 - power, digits);
        return out + 1 - power + length;
    }
    *out++ = digits[0];
    if (length > 1) {
        *out = '.';
        CopySixteen(out + 1, digits + 1);
        out += length;
    }
    *out++ = 'e';
    *out++ = power < 0 ? '-' : '+';
    auto size = static_cast<std::uint32_t>(power < 0 ? -power : power);
    if (size >= 100) {
        *out++ = static_cast<char>('0' + size / 100);
        size %= 100;
    }
    WritePair(out, size);
    return out + 2;
}

} // namespace

char* WriteNumber(char* out, double v)
{
    const auto bits = std::bit_cast<std::uint64_t>(v);
    const std::uint64_t size = bits & ~(std::uint64_t{1} << 63);
    Decimal decimal;
    if (!std::isnormal(v) || !Round(size, decimal))
        return std::to_chars(out, out + kNumberRoom, v, std::chars_format::general, kDigits).ptr;
    *out = '-';
    return WriteDecimal(out + (bits >> 63), decimal);
}

char* WriteFixedNumber(char* out, double v)
{
    return std::to_chars(out, out + kNumberRoom, v, std::chars_format::fixed, 16).ptr;
}

} // namespace MCXML_930::internal
