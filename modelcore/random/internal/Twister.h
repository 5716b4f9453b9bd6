// The Mersenne Twister that every class here draws from.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace MCMath_930::internal {

/// MT19937 (M. Matsumoto and T. Nishimura, ACM Transactions on Modeling and Computer Simulation 8 (1998), 3-30, with
/// the authors' initialisation of 2002): 32-bit words of period 2^19937 - 1.
///
/// The state is 624 words and the position of the next one: 624 when the block is used up, 625 while never seeded. The
/// block is regenerated and tempered as a whole, since then neighbouring words are independent of each other and the
/// compiler uses vectors; the tempered words follow from the state and are not part of it.
class Twister {
public:
    /// The seed of a generator that is used before it was given one.
    static constexpr std::uint32_t kDefaultSeed = 5489u;

    void Seed(std::uint32_t seed);

    /// Takes the low 32 bits of each of length >= 1 key words, all of them however many there are.
    void SeedByArray(const unsigned long* key, std::size_t length);

    std::uint32_t NextWord()
    {
        if (fPosition >= kWords) Regenerate();
        return fTempered[static_cast<std::size_t>(fPosition++)];
    }

    /// Uniform in [0, 1), 53 random bits from two words.
    double NextRes53()
    {
        const std::uint32_t high = NextWord() >> 5;
        const std::uint32_t low = NextWord() >> 6;
        return (high * 67108864.0 + low) * 0x1p-53;
    }

    /// Uniform in (0, 1), from one word.
    double NextOpen() { return (NextWord() + 0.5) * 0x1p-32; }

    bool IsSeeded() const { return fPosition <= kWords; }
    int Position() const { return fPosition; }

private:
    static constexpr std::int32_t kWords = 624;

    void Regenerate();

    std::array<std::uint32_t, kWords> fWords{};
    std::int32_t fPosition = kWords + 1;
    std::array<std::uint32_t, kWords> fTempered{};
};

} // namespace MCMath_930::internal
