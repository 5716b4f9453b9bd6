// MCExactNumber and MCExactSums.
#include "modelcore/accumulators/internal/MCExactNumber.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <utility>

namespace MCMath_930::internal {

namespace {

using Word = std::uint32_t;
using Words = std::vector<Word>;

constexpr int kWordBits = 32;
constexpr int kDigits = 53; // of a double
constexpr int kLowestExponent = -1074;

std::size_t At(int index)
{
    return static_cast<std::size_t>(index);
}

int BitsOf(const Words& words)
{
    return words.empty() ? 0 : static_cast<int>(words.size()) * kWordBits - std::countl_zero(words.back());
}

/// words << bits
Words ShiftedUp(const Words& words, int bits)
{
    const std::size_t whole = At(bits / kWordBits);
    const int rest = bits % kWordBits;
    Words shifted(words.size() + whole + 1);
    for (std::size_t i = 0; i < words.size(); ++i) {
        const std::uint64_t both = std::uint64_t{words[i]} << rest;
        shifted[i + whole] |= static_cast<Word>(both);
        shifted[i + whole + 1] = static_cast<Word>(both >> kWordBits);
    }
    while (!shifted.empty() && shifted.back() == 0) shifted.pop_back();
    return shifted;
}

/// a - b, where a is not smaller.
void Subtract(Words& a, const Words& b)
{
    std::uint64_t borrow = 0;
    for (std::size_t i = 0; i < a.size(); ++i) {
        const std::uint64_t difference = std::uint64_t{a[i]} - (i < b.size() ? b[i] : 0) - borrow;
        a[i] = static_cast<Word>(difference);
        borrow = difference >> 63;
    }
}

void AddTo(Words& a, const Words& b)
{
    a.resize(std::max(a.size(), b.size()) + 1);
    std::uint64_t carry = 0;
    for (std::size_t i = 0; i < a.size(); ++i) {
        carry += std::uint64_t{a[i]} + (i < b.size() ? b[i] : 0);
        a[i] = static_cast<Word>(carry);
        carry >>= kWordBits;
    }
}

bool IsLess(const Words& a, const Words& b)
{
    if (a.size() != b.size()) return a.size() < b.size();
    return std::lexicographical_compare(a.rbegin(), a.rend(), b.rbegin(), b.rend());
}

/// The whole quotient; what remains stays in a. Knuth, TAOCP vol. 2, 4.3.1, algorithm D. b is not 0.
Words Divide(Words& a, Words b)
{
    if (IsLess(a, b)) return {};
    const int shift = std::countl_zero(b.back());
    b = ShiftedUp(b, shift);
    a = ShiftedUp(a, shift); // the remainder too is that many bits up, which does not matter to its being 0
    const std::size_t n = b.size();
    a.push_back(0);
    Words quotient(a.size() - n);
    for (std::size_t j = quotient.size(); j-- > 0;) {
        const std::uint64_t top = std::uint64_t{a[j + n]} << kWordBits | a[j + n - 1];
        std::uint64_t guess = top / b[n - 1];
        std::uint64_t rest = top % b[n - 1];
        while (guess >> kWordBits != 0 || (n > 1 && guess * b[n - 2] > (rest << kWordBits | a[j + n - 2]))) {
            --guess;
            rest += b[n - 1];
            if (rest >> kWordBits != 0) break;
        }
        std::uint64_t carry = 0, borrow = 0;
        for (std::size_t i = 0; i < n; ++i) {
            carry += guess * b[i];
            const std::uint64_t difference = std::uint64_t{a[i + j]} - static_cast<Word>(carry) - borrow;
            a[i + j] = static_cast<Word>(difference);
            borrow = difference >> 63;
            carry >>= kWordBits;
        }
        const std::uint64_t difference = std::uint64_t{a[j + n]} - carry - borrow;
        a[j + n] = static_cast<Word>(difference);
        if (difference >> 63 != 0) { // one too many, which is rare
            --guess;
            std::uint64_t back = 0;
            for (std::size_t i = 0; i < n; ++i) {
                back += std::uint64_t{a[i + j]} + b[i];
                a[i + j] = static_cast<Word>(back);
                back >>= kWordBits;
            }
            a[j + n] += static_cast<Word>(back);
        }
        quotient[j] = static_cast<Word>(guess);
    }
    return quotient;
}

} // namespace

MCExactNumber::MCExactNumber(double x) : fbNegative(x < 0.0)
{
    int exponent = 0;
    const auto digits = static_cast<std::uint64_t>(std::ldexp(std::frexp(std::fabs(x), &exponent), kDigits));
    fvWords = {static_cast<Word>(digits), static_cast<Word>(digits >> kWordBits)};
    fnExponent = exponent - kDigits;
    Normalize();
}

MCExactNumber::MCExactNumber(bool negative, std::vector<std::uint32_t> words, int exponent)
    : fbNegative(negative), fvWords(std::move(words)), fnExponent(exponent)
{
    Normalize();
}

void MCExactNumber::Normalize()
{
    while (!fvWords.empty() && fvWords.back() == 0) fvWords.pop_back();
    if (!fvWords.empty()) return;
    fbNegative = false;
    fnExponent = 0;
}

int MCExactNumber::GetBits() const
{
    return BitsOf(fvWords);
}

// The same number with an exponent that is not higher.
MCExactNumber MCExactNumber::At(int exponent) const
{
    return {fbNegative, ShiftedUp(fvWords, fnExponent - exponent), exponent};
}

MCExactNumber operator*(const MCExactNumber& a, const MCExactNumber& b)
{
    Words product(a.fvWords.size() + b.fvWords.size());
    for (std::size_t i = 0; i < a.fvWords.size(); ++i) {
        std::uint64_t carry = 0;
        for (std::size_t j = 0; j < b.fvWords.size(); ++j) {
            carry += std::uint64_t{a.fvWords[i]} * b.fvWords[j] + product[i + j];
            product[i + j] = static_cast<Word>(carry);
            carry >>= kWordBits;
        }
        product[i + b.fvWords.size()] = static_cast<Word>(carry);
    }
    return {a.fbNegative != b.fbNegative, std::move(product), a.fnExponent + b.fnExponent};
}

MCExactNumber operator-(const MCExactNumber& a, const MCExactNumber& b)
{
    if (b.IsZero()) return a;
    if (a.IsZero()) return {!b.fbNegative, b.fvWords, b.fnExponent};
    const int exponent = std::min(a.fnExponent, b.fnExponent);
    MCExactNumber first = a.At(exponent), second = b.At(exponent);
    if (first.fbNegative != second.fbNegative) {
        AddTo(first.fvWords, second.fvWords);
    } else {
        if (IsLess(first.fvWords, second.fvWords)) {
            std::swap(first.fvWords, second.fvWords);
            first.fbNegative = !first.fbNegative;
        }
        Subtract(first.fvWords, second.fvWords);
    }
    first.Normalize();
    return first;
}

MCExactNumber operator+(const MCExactNumber& a, const MCExactNumber& b)
{
    return a - MCExactNumber(!b.fbNegative, b.fvWords, b.fnExponent);
}

// Rounded to the nearest, of two to the even one; `more` says that the magnitude is larger by less than a unit of the last bit.
double MCExactNumber::Nearest(bool more) const
{
    const int bits = GetBits();
    const int drop = std::max({bits - kDigits, kLowestExponent - fnExponent, 0});
    const auto bit = [&](int k) {
        return k >= 0 && k < bits && (fvWords[internal::At(k / kWordBits)] >> (k % kWordBits) & 1) != 0;
    };
    std::uint64_t digits = 0;
    for (int k = bits - 1; k >= drop; --k) digits = digits << 1 | (bit(k) ? 1 : 0);
    if (bit(drop - 1)) {
        bool above = more || (digits & 1) != 0;
        for (int k = drop - 2; k >= 0 && !above; --k) above = bit(k);
        if (above) ++digits;
    }
    const double magnitude = std::ldexp(static_cast<double>(digits), fnExponent + drop);
    return fbNegative ? -magnitude : magnitude;
}

MCExtended MCExactNumber::TwoNearest(const MCExactNumber& number, bool more)
{
    if (number.IsZero()) return {};
    const double high = number.Nearest(more);
    if (!std::isfinite(high)) return {high, 0.0};
    return {high, (number - MCExactNumber(high)).Nearest(false)};
}

MCExtended MCExactNumber::Quotient(const MCExactNumber& a, const MCExactNumber& b)
{
    if (a.IsZero()) return {};
    // The low double may begin many bits below the high one; 200 leave it 70 of its own unless 77 bits in a row are equal.
    constexpr int kBits = 200;
    const int shift = std::max(0, kBits - (a.GetBits() - b.GetBits()));
    Words rest = ShiftedUp(a.fvWords, shift);
    Words quotient = Divide(rest, b.fvWords);
    const bool more = std::any_of(rest.begin(), rest.end(), [](Word word) { return word != 0; });
    return TwoNearest({a.fbNegative != b.fbNegative, std::move(quotient), a.fnExponent - b.fnExponent - shift}, more);
}

std::string MCExactNumber::Text() const
{
    if (IsZero()) return "0";
    int zeros = 0;
    while ((fvWords[internal::At(zeros / kWordBits)] >> (zeros % kWordBits) & 1) == 0) ++zeros;
    std::string digits; // the lowest first
    for (int k = zeros; k < GetBits(); k += 4) {
        unsigned digit = 0;
        for (int b = 0; b < 4; ++b) {
            const std::size_t word = internal::At((k + b) / kWordBits);
            if (word < fvWords.size()) digit |= (fvWords[word] >> ((k + b) % kWordBits) & 1u) << b;
        }
        digits += "0123456789abcdef"[digit];
    }
    std::string text = fbNegative ? "-" : "";
    text.append(digits.rbegin(), digits.rend());
    text += 'p';
    text += std::to_string(fnExponent + zeros);
    return text;
}

bool MCExactNumber::ReadText(std::string_view text, int limit)
{
    if (text == "0") {
        *this = {};
        return true;
    }
    const bool negative = text.starts_with('-');
    const std::size_t first = negative ? 1 : 0;
    const std::size_t p = text.find('p');
    if (p == std::string_view::npos || p == first || p - first > internal::At(limit) / 2) return false;
    int exponent = 0;
    const char* const end = text.data() + text.size();
    const auto [read, fault] = std::from_chars(text.data() + p + 1, end, exponent);
    if (fault != std::errc() || read != end || exponent < -limit || exponent > limit) return false;
    Words words((p - first + 7) / 8);
    for (std::size_t k = 0; k < p - first; ++k) {
        const char c = text[p - 1 - k];
        const bool decimal = c >= '0' && c <= '9';
        if (!decimal && (c < 'a' || c > 'f')) return false;
        words[k / 8] |= static_cast<Word>(decimal ? c - '0' : c - 'a' + 10) << (k % 8 * 4);
    }
    MCExactNumber number(negative, std::move(words), exponent);
    if (number.Text() != text || exponent + number.GetBits() > limit) return false;
    *this = std::move(number);
    return true;
}

// ---------------------------------------------------------------------------------------------------------------------
// Sums

namespace {

using Wide = std::uint64_t;
constexpr int kWideBits = 64;

/// Floor of a / 64.
int PlaceOf(int exponent)
{
    return exponent >> 6;
}

bool IsSet(Wide word)
{
    return word >> 63 != 0;
}

/// The words of a number from place on, `count` of them, += the words given, then the sign of the last of them.
inline void AddRun(Wide* to, std::size_t count, const Wide* words, std::size_t nWords)
{
    Wide carry = 0;
    std::size_t i = 0;
    for (const std::size_t end = std::min(count, nWords); i < end; ++i) {
        const Wide sum = to[i] + words[i];
        const Wide carried = sum + carry;
        carry = (sum < words[i] ? 1u : 0u) + (carried < carry ? 1u : 0u);
        to[i] = carried;
    }
    // Above, the number grows by 0 or -1, and by what is carried: mostly that is nothing.
    if (IsSet(words[nWords - 1])) {
        if (carry != 0) return;
        for (; i < count; ++i)
            if (to[i]-- != 0) return;
    } else if (carry != 0) {
        for (; i < count; ++i)
            if (++to[i] != 0) return;
    }
}

/// a * b as high and low word.
std::pair<Wide, Wide> Product(Wide a, Wide b)
{
    const Wide a0 = a & 0xffffffffu, a1 = a >> 32, b0 = b & 0xffffffffu, b1 = b >> 32;
    const Wide middle = a1 * b0 + (a0 * b0 >> 32);
    const Wide other = a0 * b1 + (middle & 0xffffffffu);
    return {a1 * b1 + (middle >> 32) + (other >> 32), a * b};
}

} // namespace

void MCExactSums::Append(std::size_t count)
{
    fvWords.resize((fnCount + count) * fnWords);
    fnCount += count;
}

MCExactSums MCExactSums::Rearranged(const std::vector<std::size_t>& sources) const
{
    MCExactSums result(sources.size());
    result.fnWords = fnWords;
    result.fnLow = fnLow;
    result.fnBound = fnBound;
    result.fvWords.resize(sources.size() * fnWords);
    for (std::size_t k = 0; k < sources.size(); ++k)
        if (sources[k] != kNowhere) std::copy_n(Words(sources[k]), fnWords, result.Words(k));
    return result;
}

// The least one.
int MCExactSums::Bound() const
{
    int highest = fnLow * kWideBits;
    for (std::size_t k = 0; k < fnCount; ++k) {
        const Wide* const words = Words(k);
        const Wide sign = fnWords > 0 && IsSet(words[fnWords - 1]) ? ~Wide{0} : 0;
        std::size_t n = fnWords;
        while (n > 0 && words[n - 1] == sign) --n;
        if (n == 0) {
            if (sign != 0) highest = std::max(highest, fnLow * kWideBits + 1); // -1, and that is not below 2^0
            continue;
        }
        const int bits = kWideBits - std::countl_zero(words[n - 1] ^ sign);
        highest = std::max(highest, (fnLow + static_cast<int>(n) - 1) * kWideBits + bits + (sign != 0 ? 1 : 0));
    }
    return highest;
}

// Every number keeps its value; the window gets the words [low, top).
void MCExactSums::Widen(int low, int top)
{
    const auto words = static_cast<std::size_t>(top - low);
    std::vector<Wide> wider(fnCount * words);
    for (std::size_t k = 0; k < fnCount; ++k)
        for (int place = low; place < top; ++place)
            wider[k * words + static_cast<std::size_t>(place - low)] = WordAt(k, place);
    fvWords.swap(wider);
    fnWords = words;
    fnLow = low;
}

void MCExactSums::Reserve(int lowest, int highest)
{
    const int low = PlaceOf(lowest);
    if (fnWords == 0) {
        Widen(low, std::max(low, PlaceOf(highest)) + 1);
        fnBound = low * kWideBits;
    }
    // A sum has one bit more than the larger of its terms, and the window one above that for the sign. As this counts a bit
    // for each call, it is looked from time to time how large the numbers have really become.
    int bound = std::max(fnBound, highest) + 1;
    int top = Top();
    if (bound >= top * kWideBits) {
        bound = std::max(Bound(), highest) + 1;
        constexpr int kCallsBetween = 32;
        while (bound + kCallsBetween >= top * kWideBits) ++top;
    }
    if (low < fnLow || top > Top()) Widen(std::min(low, fnLow), top);
    fnBound = bound;
}

void MCExactSums::Add(std::size_t k, std::int64_t value, int exponent) noexcept
{
    const int shift = exponent & 63;
    const Wide words[] = {static_cast<Wide>(value) << shift, static_cast<Wide>(value >> 1 >> (63 - shift))};
    const auto at = static_cast<std::size_t>(PlaceOf(exponent) - fnLow);
    AddRun(Words(k) + at, fnWords - at, words, 2);
}

void MCExactSums::AddWords(std::size_t k, std::uint64_t low, std::uint64_t high, int exponent) noexcept
{
    const int shift = exponent & 63;
    const Wide sign = IsSet(high) ? ~Wide{0} : 0;
    const Wide words[] = {low << shift, high << shift | low >> 1 >> (63 - shift),
                          sign << shift | high >> 1 >> (63 - shift)};
    const auto at = static_cast<std::size_t>(PlaceOf(exponent) - fnLow);
    AddRun(Words(k) + at, fnWords - at, words, 3);
}

void MCExactSums::Add(std::size_t k, double x, bool negate) noexcept
{
    constexpr int kBias = 1075;
    const auto bits = std::bit_cast<std::uint64_t>(x);
    const int field = static_cast<int>(bits >> 52 & 2047);
    const auto digits =
        static_cast<std::int64_t>((bits & 0xfffffffffffffu) | (field != 0 ? std::uint64_t{1} << 52 : 0));
    if (digits == 0) return;
    // Of what is added only the multiples of 2^lowest are promised to be in the window.
    const int zeros = std::countr_zero(static_cast<std::uint64_t>(digits));
    const std::int64_t odd = digits >> zeros;
    Add(k, IsSet(bits) != negate ? -odd : odd, std::max(field, 1) - kBias + zeros);
}

void MCExactSums::AddProduct(std::size_t k, std::uint64_t a, std::uint64_t b, std::uint64_t c, bool negative,
                             int exponent) noexcept
{
    const auto [high, low] = Product(a, b);
    const auto [lowHigh, word0] = Product(low, c);
    const auto [highHigh, highLow] = Product(high, c);
    const Wide word1 = lowHigh + highLow;
    const Wide word2 = highHigh + (word1 < lowHigh ? 1 : 0);
    const int shift = exponent & 63; // 159 bits and these leave one of four words for the sign
    Wide words[4] = {word0 << shift, word1 << shift, word2 << shift, 0};
    if (shift != 0) {
        words[1] |= word0 >> (kWideBits - shift);
        words[2] |= word1 >> (kWideBits - shift);
        words[3] = word2 >> (kWideBits - shift);
    }
    if (negative) {
        Wide carry = 1;
        for (Wide& word : words) {
            word = ~word + carry;
            carry = carry != 0 && word == 0 ? 1 : 0;
        }
    }
    const auto at = static_cast<std::size_t>(PlaceOf(exponent) - fnLow);
    AddRun(Words(k) + at, fnWords - at, words, 4);
}

void MCExactSums::Merge(const MCExactSums& other)
{
    if (other.fnWords == 0 || fnCount == 0) return;
    Reserve(other.fnLow * kWideBits, other.Bound());
    // Words of other beyond the window are its sign.
    const auto at = static_cast<std::size_t>(other.fnLow - fnLow);
    const std::size_t count = std::min(other.fnWords, fnWords - at);
    for (std::size_t k = 0; k < fnCount; ++k) AddRun(Words(k) + at, fnWords - at, other.Words(k), count);
}

std::uint64_t MCExactSums::WordAt(std::size_t k, int place) const
{
    if (fnWords == 0 || place < fnLow) return 0;
    const Wide* const words = Words(k);
    return place < Top() ? words[place - fnLow] : IsSet(words[fnWords - 1]) ? ~Wide{0} : 0;
}

bool MCExactSums::operator==(const MCExactSums& other) const
{
    if (fnCount != other.fnCount) return false;
    const int low = std::min(fnLow, other.fnLow), top = std::max(Top(), other.Top());
    for (std::size_t k = 0; k < fnCount; ++k)
        for (int place = low; place < top; ++place)
            if (WordAt(k, place) != other.WordAt(k, place)) return false;
    return true;
}

MCExactNumber MCExactSums::Number(std::size_t k) const
{
    if (fnWords == 0) return {};
    const Wide* const words = Words(k);
    const bool negative = IsSet(words[fnWords - 1]);
    std::vector<std::uint32_t> magnitude;
    magnitude.reserve(2 * fnWords);
    Wide carry = negative ? 1 : 0;
    for (std::size_t i = 0; i < fnWords; ++i) {
        const Wide word = (negative ? ~words[i] : words[i]) + carry;
        if (word != 0) carry = 0;
        magnitude.push_back(static_cast<std::uint32_t>(word));
        magnitude.push_back(static_cast<std::uint32_t>(word >> 32));
    }
    return {negative, std::move(magnitude), fnLow * kWideBits};
}

void MCExactSums::Set(std::size_t k, const MCExactNumber& number) noexcept
{
    const std::vector<std::uint32_t>& words = number.GetWords();
    for (std::size_t i = 0; i < words.size(); ++i) {
        const auto word = static_cast<std::int64_t>(words[i]);
        Add(k, number.IsNegative() ? -word : word, number.GetExponent() + static_cast<int>(i) * kWordBits);
    }
}

} // namespace MCMath_930::internal
