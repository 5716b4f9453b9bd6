// Numbers as JSON writes them.
#include "modelcore/xml/internal/JsonNumber.h"

#include <charconv>
#include <cstring>

namespace MCXML_930::internal {

namespace {

/// digits * 10^power.
struct Decimal {
    std::uint64_t digits;
    int power;
};

/// The upper 64 bits of g * c / 2^64 with the last bit set when anything below is: so compared, products behave like
/// exact ones (round to odd). The least bit below may be the excess of g.
std::uint64_t OddProduct(const PowerOfTen& g, std::uint64_t c)
{
    Product product = Multiply(g.high, c);
    const std::uint64_t carry = Multiply(g.low, c).high;
    product.low += carry;
    product.high += product.low < carry ? 1 : 0;
    return product.high | (product.low > 1 ? 1 : 0);
}

/// floor(q * log10(2)), or floor(log10(3/4 * 2^q)) for the lowest significand of a binade, whose lower neighbour is
/// nearer. The factors are log10(2) and log10(4/3), times 2^22.
int FloorLog10OfPowerOfTwo(int q, bool lowest)
{
    return (q * 1262611 - (lowest ? 524031 : 0)) >> 22;
}

/// The shortest decimal in the interval of numbers that round to a normal double > 0, the nearest to it of those
/// (Giulietti, "The Schubfach way to render doubles", 2020). False when its power of ten is not in the table.
bool ShortestDecimal(std::uint64_t bits, Decimal& decimal)
{
    constexpr std::uint64_t kHidden = std::uint64_t{1} << 52;
    const std::uint64_t fraction = bits & (kHidden - 1);
    const int biased = static_cast<int>(bits >> 52);
    const std::uint64_t c = fraction | kHidden;
    const int q = biased - 1075;
    if (q <= 0 && q > -53 && (c & ((std::uint64_t{1} << -q) - 1)) == 0) {
        decimal = {c >> -q, 0};
        return true;
    }

    // Everything is four times as large, so that the ends of the interval are integers.
    const bool lowest = fraction == 0 && biased > 1;
    const std::uint64_t lowerEnd = 4 * c - 2 + (lowest ? 1 : 0), middle = 4 * c, upperEnd = 4 * c + 2;
    const int k = FloorLog10OfPowerOfTwo(q, lowest);
    if (-k < kLowestPower || -k > kHighestPower) return false;
    PowerOfTen ten = kPowersOfTen[static_cast<std::size_t>(-k - kLowestPower)];
    // The table cuts off, and the method wants an upper bound where the power is not exact.
    constexpr int kLargestExact = 55;
    if (-k < 0 || -k > kLargestExact) {
        ten.low += 1;
        ten.high += ten.low == 0 ? 1 : 0;
    }
    const int h = q + ExponentOfTen(-k) + 128;
    const std::uint64_t v = OddProduct(ten, middle << h);
    const std::uint64_t odd = c & 1; // an interval of an odd significand is without its ends
    const std::uint64_t lower = OddProduct(ten, lowerEnd << h) + odd;
    const std::uint64_t upper = OddProduct(ten, upperEnd << h) - odd;

    const std::uint64_t s = v / 4;
    const std::uint64_t tenth = s / 10;
    const bool belowInside = lower <= 40 * tenth;
    const bool aboveInside = 40 * tenth + 40 <= upper;
    if (belowInside != aboveInside) {
        decimal = {tenth + (aboveInside ? 1 : 0), k + 1};
        return true;
    }
    const bool sInside = lower <= 4 * s;
    const bool nextInside = 4 * s + 4 <= upper;
    bool up = nextInside;
    if (sInside == nextInside) {
        const std::uint64_t half = 4 * s + 2;
        up = v > half || (v == half && (s & 1) != 0);
    }
    decimal = {s + (up ? 1 : 0), k};
    return true;
}

/// What the table does not reach, by the standard library: subnormal numbers and the smallest normal ones.
Decimal DecimalOfStandard(double value)
{
    char text[32];
    const char* const end = std::to_chars(text, text + sizeof text, value, std::chars_format::scientific).ptr;
    Decimal decimal{0, 0};
    const char* at = text;
    for (; at != end && *at != 'e'; ++at) {
        if (*at == '.') continue;
        decimal.digits = 10 * decimal.digits + static_cast<std::uint64_t>(*at - '0');
        if (at != text) --decimal.power;
    }
    int exponent = 0;
    if (at != end) std::from_chars(at + (at[1] == '+' ? 2 : 1), end, exponent);
    decimal.power += exponent;
    return decimal;
}

char* WriteExponent(char* out, int exponent)
{
    *out++ = 'e';
    if (exponent < 0) *out++ = '-';
    auto size = static_cast<std::uint32_t>(exponent < 0 ? -exponent : exponent);
    if (size >= 100) {
        *out++ = static_cast<char>('0' + size / 100);
        size %= 100;
        WritePair(out, size);
        return out + 2;
    }
    if (size >= 10) {
        WritePair(out, size);
        return out + 2;
    }
    *out = static_cast<char>('0' + size);
    return out + 1;
}

/// The eight digits of a number below 10^8, one in each byte, the first in the lowest: fours, then pairs, then single
/// digits, divided beside each other in one word. 10486 / 2^20 is 1/100 for numbers below 10^4, 103 / 2^10 is 1/10 below
/// 100.
std::uint64_t DigitsOfEight(std::uint32_t value)
{
    const std::uint64_t fours = value / 10000 | std::uint64_t{value % 10000} << 32;
    const std::uint64_t hundreds = (fours * 10486) >> 20 & 0x0000007F0000007F;
    const std::uint64_t pairs = hundreds | (fours - 100 * hundreds) << 16;
    const std::uint64_t tens = (pairs * 103) >> 10 & 0x000F000F000F000F;
    return tens | (pairs - 10 * tens) << 8;
}

/// Writes such digits as characters.
void StoreDigits(char* out, std::uint64_t digits)
{
    digits |= 0x3030303030303030;
    if constexpr (std::endian::native == std::endian::little)
        std::memcpy(out, &digits, sizeof digits);
    else
        for (int i = 0; i < 8; ++i) out[i] = static_cast<char>(digits >> 8 * i);
}

/// Lays out a decimal of 1 to 17 digits.
char* WriteDecimal(char* out, Decimal decimal)
{
    constexpr std::uint64_t kSixteenDigits = 10'000'000'000'000'000; // 10^16
    while (decimal.digits < kSixteenDigits) {
        // Seldom more than one step: only whole numbers and subnormal ones have fewer than 16 digits here.
        const bool far = decimal.digits < kSixteenDigits / 1'000'000'000;
        decimal.digits *= far ? 100'000'000 : 10;
        decimal.power -= far ? 8 : 1;
    }
    // The first digit, and two words of eight: they are not read again as memory where that can be avoided, since a
    // load that spans several stores waits for them.
    const std::uint64_t rest = decimal.digits % kSixteenDigits;
    const char first = static_cast<char>('0' + decimal.digits / kSixteenDigits);
    const std::uint64_t upper = DigitsOfEight(static_cast<std::uint32_t>(rest / 100'000'000));
    const std::uint64_t lower = DigitsOfEight(static_cast<std::uint32_t>(rest % 100'000'000));
    const int length = lower != 0 ? 17 - std::countl_zero(lower) / 8 : 9 - std::countl_zero(upper) / 8;
    const auto writeDigits = [&](char* digits) {
        digits[0] = first;
        StoreDigits(digits + 1, upper);
        StoreDigits(digits + 9, lower);
    };

    const int point = decimal.power + 17; // the number is 0.digits * 10^point
    if (point <= 0 && point > -5) {
        std::memcpy(out, "0.0000", 6);
        writeDigits(out + 2 - point);
        return out + 2 - point + length;
    }
    if (point > 1 && point <= 17) {
        writeDigits(out);
        char* const fraction = out + point + 1;
        std::memmove(fraction, out + point, 16);
        out[point] = '.';
        if (length <= point) {
            *fraction = '0'; // the digits before the point end with the zeros that were left
            return fraction + 1;
        }
        return out + length + 1;
    }
    out[0] = first;
    out[1] = '.';
    StoreDigits(out + 2, upper);
    StoreDigits(out + 10, lower);
    if (point == 1) return out + (length == 1 ? 3 : length + 1);
    return WriteExponent(length == 1 ? out + 1 : out + length + 1, point - 1);
}

} // namespace

char* WriteJsonInteger(char* out, long long value)
{
    auto size = static_cast<std::uint64_t>(value);
    if (value < 0) {
        *out++ = '-';
        size = 0 - size;
    }
    char text[32];
    char* at = text + 20; // of the longest 19 digits; behind them room for the copies
    while (size >= 10000) {
        at -= 4;
        const auto four = static_cast<std::uint32_t>(size % 10000);
        WritePair(at, four / 100);
        WritePair(at + 2, four % 100);
        size /= 10000;
    }
    const auto rest = static_cast<std::uint32_t>(size);
    if (rest >= 100) {
        at -= 2;
        WritePair(at, rest % 100);
    }
    const std::uint32_t leading = rest >= 100 ? rest / 100 : rest;
    at -= 2;
    WritePair(at, leading);
    at += leading < 10 ? 1 : 0;
    const std::ptrdiff_t length = text + 20 - at;
    // Copies of fixed size, which are one move each; there is room.
    std::memcpy(out, at, 8);
    if (length > 8) std::memcpy(out + 8, at + 8, 12);
    return out + length;
}

char* WriteJsonReal(char* out, double value)
{
    auto bits = std::bit_cast<std::uint64_t>(value);
    *out = '-';
    out += bits >> 63;
    bits &= ~std::uint64_t{0} >> 1;
    if (bits == 0) {
        std::memcpy(out, "0.0", 3);
        return out + 3;
    }
    Decimal decimal;
    if (bits >> 52 == 0 || !ShortestDecimal(bits, decimal)) decimal = DecimalOfStandard(std::bit_cast<double>(bits));
    return WriteDecimal(out, decimal);
}

} // namespace MCXML_930::internal
