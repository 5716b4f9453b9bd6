// Powers of ten as 128-bit numbers, computed by the compiler.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace MCXML_930::internal {

/// The leading 128 bits of a power of ten, the rest cut off: 10^q = (high * 2^64 + low + d) * 2^ExponentOfTen(q) with
/// 0 <= d < 1, and the highest bit of high set.
struct PowerOfTen {
    std::uint64_t high, low;
};

/// The powers that bring any normal double to 15 digits before the point.
inline constexpr int kLowestPower = -294;
inline constexpr int kHighestPower = 322;

/// floor(log2(10^q)) - 127; the factor is log2(10) * 2^16.
constexpr int ExponentOfTen(int q)
{
    return ((q * 217706) >> 16) - 127;
}

/// An unsigned integer of up to 832 bits, least significant limb first: enough for 5^322, and for 2^831 / 5^294 to keep
/// 128 bits.
class WideInteger {
public:
    static constexpr int kLimbs = 26;

    constexpr explicit WideInteger(int powerOfTwo)
    {
        fLimbs[static_cast<std::size_t>(powerOfTwo / 32)] = std::uint32_t{1} << (powerOfTwo % 32);
    }
    constexpr void MultiplyByFive()
    {
        std::uint64_t carry = 0;
        for (std::uint32_t& limb : fLimbs) {
            carry += std::uint64_t{limb} * 5;
            limb = static_cast<std::uint32_t>(carry);
            carry >>= 32;
        }
    }
    /// Rounds down. Several such steps are together one division, rounded down once.
    constexpr void DivideByFive()
    {
        std::uint64_t rest = 0;
        for (std::size_t i = kLimbs; i-- > 0;) {
            rest = rest << 32 | fLimbs[i];
            fLimbs[i] = static_cast<std::uint32_t>(rest / 5);
            rest %= 5;
        }
    }
    constexpr int BitLength() const
    {
        int limb = kLimbs - 1;
        while (Limb(limb) == 0) --limb;
        return 32 * limb + static_cast<int>(std::bit_width(Limb(limb)));
    }
    constexpr PowerOfTen LeadingBits() const
    {
        const int length = BitLength();
        return {Bits64(length - 64), Bits64(length - 128)};
    }

private:
    /// Limb number i, 0 below the lowest one.
    constexpr std::uint64_t Limb(int i) const { return i < 0 ? 0 : fLimbs[static_cast<std::size_t>(i)]; }
    /// The 64 bits from position at on, which may be negative.
    constexpr std::uint64_t Bits64(int at) const
    {
        const int limb = at >= 0 ? at / 32 : -((31 - at) / 32);
        const int shift = at - 32 * limb;
        const std::uint64_t bits = Limb(limb) | Limb(limb + 1) << 32;
        return shift == 0 ? bits : bits >> shift | Limb(limb + 2) << (64 - shift);
    }

    std::array<std::uint32_t, kLimbs> fLimbs{};
};

/// 10^q for q from kLowestPower to kHighestPower. 10^q and 5^q have the same leading bits.
inline constexpr auto kPowersOfTen = [] {
    std::array<PowerOfTen, kHighestPower - kLowestPower + 1> table{};
    WideInteger power(0);
    for (int q = 0; q <= kHighestPower; ++q) {
        table[static_cast<std::size_t>(q - kLowestPower)] = power.LeadingBits();
        if (power.BitLength() + q - 128 != ExponentOfTen(q)) table.fill({}); // the check below fails
        power.MultiplyByFive();
    }
    constexpr int kStart = 32 * WideInteger::kLimbs - 1;
    WideInteger inverse(kStart);
    for (int q = -1; q >= kLowestPower; --q) {
        inverse.DivideByFive();
        table[static_cast<std::size_t>(q - kLowestPower)] = inverse.LeadingBits();
        if (inverse.BitLength() - kStart + q - 128 != ExponentOfTen(q)) table.fill({});
    }
    return table;
}();
static_assert(kPowersOfTen.front().high >> 63 == 1 && kPowersOfTen.back().high >> 63 == 1,
              "an exponent is not what ExponentOfTen says");

} // namespace MCXML_930::internal
