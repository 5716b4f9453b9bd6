// MT19937: initialisation and regeneration of the block.
#include "modelcore/random/internal/Twister.h"

#include <algorithm>

namespace MCMath_930::internal {

namespace {

constexpr std::size_t kCount = 624;
constexpr std::size_t kMiddle = 397;

std::uint32_t Mixed(std::uint32_t previous, std::uint32_t multiplier)
{
    return (previous ^ (previous >> 30)) * multiplier;
}

std::uint32_t Twisted(std::uint32_t upper, std::uint32_t lower, std::uint32_t far)
{
    const std::uint32_t y = (upper & 0x80000000u) | (lower & 0x7FFFFFFFu);
    return far ^ (y >> 1) ^ ((0u - (y & 1u)) & 0x9908B0DFu);
}

std::uint32_t Tempered(std::uint32_t y)
{
    y ^= y >> 11;
    y ^= (y << 7) & 0x9D2C5680u;
    y ^= (y << 15) & 0xEFC60000u;
    return y ^ (y >> 18);
}

} // namespace

void Twister::Seed(std::uint32_t seed)
{
    fWords[0] = seed;
    for (std::uint32_t i = 1; i < kCount; ++i) fWords[i] = Mixed(fWords[i - 1], 1812433253u) + i;
    fPosition = kWords;
}

void Twister::SeedByArray(const unsigned long* key, std::size_t length)
{
    Seed(19650218u);
    std::size_t i = 1;
    const auto advance = [&] {
        if (++i < kCount) return;
        fWords[0] = fWords[kCount - 1];
        i = 1;
    };
    std::size_t j = 0;
    for (std::size_t step = std::max(kCount, length); step > 0; --step) {
        const auto word = static_cast<std::uint32_t>(key[j] & 0xFFFFFFFFu);
        fWords[i] = (fWords[i] ^ Mixed(fWords[i - 1], 1664525u)) + word + static_cast<std::uint32_t>(j);
        advance();
        if (++j >= length) j = 0;
    }
    for (std::size_t step = kCount - 1; step > 0; --step) {
        fWords[i] = (fWords[i] ^ Mixed(fWords[i - 1], 1566083941u)) - static_cast<std::uint32_t>(i);
        advance();
    }
    fWords[0] = 0x80000000u;
}

// A word is made from itself, its successor and the word 397 places on, which for the later ones is 227 places back in
// the block just made: no vector is as long, so each of the first two loops runs across independent words.
void Twister::Regenerate()
{
    if (!IsSeeded()) Seed(kDefaultSeed);
    std::uint32_t* const w = fWords.data();
    constexpr std::size_t wrap = kCount - kMiddle;
    for (std::size_t k = 0; k < wrap; ++k) w[k] = Twisted(w[k], w[k + 1], w[k + kMiddle]);
    for (std::size_t k = wrap; k < kCount - 1; ++k) w[k] = Twisted(w[k], w[k + 1], w[k - wrap]);
    w[kCount - 1] = Twisted(w[kCount - 1], w[0], w[kMiddle - 1]);
    for (std::size_t k = 0; k < kCount; ++k) fTempered[k] = Tempered(w[k]);
    fPosition = 0;
}

} // namespace MCMath_930::internal
