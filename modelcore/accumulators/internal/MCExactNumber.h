// Exact numbers of any size, and sums of doubles that are never rounded.
#pragma once

#include "modelcore/matrix/MCExtended.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace MCMath_930::internal {

/// A sign, an integer of any size and a power of two: every finite double is one, and so are their sums and products.
class MCExactNumber {
public:
    /// 0
    MCExactNumber() = default;

    /// x, which is finite.
    explicit MCExactNumber(double x);

    /// +-integer * 2^exponent; the words have 32 bits, the lowest comes first.
    MCExactNumber(bool negative, std::vector<std::uint32_t> words, int exponent);

    bool IsZero() const { return fvWords.empty(); }
    bool IsNegative() const { return fbNegative; }
    int GetExponent() const { return fnExponent; }

    /// The bits of the integer.
    int GetBits() const;
    const std::vector<std::uint32_t>& GetWords() const { return fvWords; }

    /// The nearest double, of two the even one; infinite when the number is larger than all doubles.
    double Rounded() const { return Nearest(false); }

    /// The number as sum of two doubles: the nearest one, and the nearest to the rest.
    MCExtended Extended() const { return TwoNearest(*this, false); }

    /// An integer without factors 2 in hexadecimal digits, "p" and the power of two: "-1f3p-12"; "0". Equal numbers have
    /// equal texts.
    std::string Text() const;

    /// Reads what Text writes and nothing else.
    /// @param limit  the largest magnitude of an exponent, that of the number's highest bit too
    /// @return  false, and nothing changed, for other text
    bool ReadText(std::string_view text, int limit);

    friend MCExactNumber operator*(const MCExactNumber& a, const MCExactNumber& b);
    friend MCExactNumber operator+(const MCExactNumber& a, const MCExactNumber& b);
    friend MCExactNumber operator-(const MCExactNumber& a, const MCExactNumber& b);

    /// a / b, which is not 0, as Extended does it. The nearest double is exact; the second has at least 70 bits of the
    /// quotient to be found in.
    static MCExtended Quotient(const MCExactNumber& a, const MCExactNumber& b);

private:
    double Nearest(bool more) const;
    static MCExtended TwoNearest(const MCExactNumber& number, bool more);
    MCExactNumber At(int exponent) const;
    void Normalize();

    bool fbNegative = false;
    std::vector<std::uint32_t> fvWords; // the highest is not 0
    int fnExponent = 0;
};

/// Numbers in fixed point, which doubles and integers times powers of two are added to exactly: two's complement, with
/// one window of bits for all of them that grows as it must.
///
/// Reserve makes room and may throw; what is added then must fit, and does not throw.
class MCExactSums {
public:
    /// count zeros.
    explicit MCExactSums(std::size_t count = 0) : fnCount(count) {}

    std::size_t Size() const { return fnCount; }

    /// Appends zeros.
    void Append(std::size_t count);

    /// As many numbers as there are sources: number k is what number sources[k] is here, or 0.
    MCExactSums Rearranged(const std::vector<std::size_t>& sources) const;

    /// The source of a 0.
    static constexpr auto kNowhere = static_cast<std::size_t>(-1);

    /// Makes room for adding to each number in all less than 2^highest in magnitude, in multiples of 2^lowest.
    void Reserve(int lowest, int highest);

    /// Number k += value * 2^exponent.
    void Add(std::size_t k, std::int64_t value, int exponent) noexcept;

    /// Number k += value * 2^exponent, the value two's complement in two words.
    void AddWords(std::size_t k, std::uint64_t low, std::uint64_t high, int exponent) noexcept;

    /// Number k += x, or -x.
    void Add(std::size_t k, double x, bool negate) noexcept;

    /// Number k += +-a*b*c*2^exponent, a and b below 2^53 and c below 2^53 too.
    void AddProduct(std::size_t k, std::uint64_t a, std::uint64_t b, std::uint64_t c, bool negative,
                    int exponent) noexcept;

    /// Adds the numbers of other, of which there are as many.
    void Merge(const MCExactSums& other);

    /// Whether the numbers are the same, however wide the windows.
    bool operator==(const MCExactSums& other) const;

    MCExactNumber Number(std::size_t k) const;

    /// Sets number k, which was 0, to one that fits.
    void Set(std::size_t k, const MCExactNumber& number) noexcept;

private:
    std::uint64_t* Words(std::size_t k) { return fvWords.data() + k * fnWords; }
    const std::uint64_t* Words(std::size_t k) const { return fvWords.data() + k * fnWords; }
    std::uint64_t WordAt(std::size_t k, int place) const;
    int Top() const { return fnLow + static_cast<int>(fnWords); }
    int Bound() const;
    void Widen(int low, int top);

    std::size_t fnCount;
    std::size_t fnWords = 0; // of each number
    int fnLow = 0;           // bit 0 of word 0 stands for 2^(64*fnLow)
    int fnBound = 0;         // all numbers are below 2^fnBound in magnitude
    std::vector<std::uint64_t> fvWords;
};

} // namespace MCMath_930::internal
