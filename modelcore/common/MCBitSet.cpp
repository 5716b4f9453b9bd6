// MCBitSet.
#include "modelcore/common/MCBitSet.h"

#include "modelcore/common/MCDisplay.h"
#include "modelcore/common/internal/Index.h"

#include <algorithm>
#include <bit>
#include <cstddef>

namespace MCMath_930 {

namespace {

constexpr int kWordBits = 32;
constexpr std::uint32_t kAllOn = 0xFFFFFFFFu;

std::size_t WordsFor(int size)
{
    return (internal::AsSize(size) + kWordBits - 1) / kWordBits;
}

std::size_t WordOf(int i)
{
    return internal::AsSize(i) / kWordBits;
}

// The bits from i on within i's word.
std::uint32_t From(int i)
{
    return kAllOn << (static_cast<unsigned>(i) % kWordBits);
}

} // namespace

MCBitSet::MCBitSet(int size) : fnSize(std::max(size, 0)), fvWords(WordsFor(fnSize)) {}

bool MCBitSet::Set(int i, bool on)
{
    if (i < 0 || i >= fnSize) return false;
    const std::uint32_t bit = 1u << (static_cast<unsigned>(i) % kWordBits);
    std::uint32_t& word = fvWords[WordOf(i)];
    word = on ? word | bit : word & ~bit;
    return true;
}

int MCBitSet::InRange(int a, int b) const
{
    if (a < 0 || a > b || b >= fnSize) return -1;
    int count = 0;
    for (std::size_t w = WordOf(a); w <= WordOf(b); ++w) {
        std::uint32_t word = fvWords[w];
        if (w == WordOf(a)) word &= From(a);
        if (w == WordOf(b)) word &= ~(From(b) << 1);
        count += std::popcount(word);
    }
    return count;
}

int MCBitSet::Count() const
{
    return fnSize == 0 ? 0 : InRange(0, fnSize - 1);
}

int MCBitSet::Next(int i) const
{
    i = std::max(i, 0);
    if (i >= fnSize) return -1;
    std::size_t w = WordOf(i);
    std::uint32_t word = fvWords[w] & From(i);
    while (word == 0) {
        if (++w == fvWords.size()) return -1;
        word = fvWords[w];
    }
    return static_cast<int>(w) * kWordBits + std::countr_zero(word);
}

std::vector<int> MCBitSet::Members() const
{
    std::vector<int> members;
    members.reserve(internal::AsSize(Count()));
    for (int i = Next(0); i >= 0; i = Next(i + 1)) members.push_back(i);
    return members;
}

void MCBitSet::Clear()
{
    std::fill(fvWords.begin(), fvWords.end(), 0u);
}

void MCBitSet::SetAll()
{
    std::fill(fvWords.begin(), fvWords.end(), kAllOn);
    ClearBitsFromSizeOn();
}

bool MCBitSet::Resize(int size)
{
    if (size < 0) return false;
    fvWords.resize(WordsFor(size));
    fnSize = size;
    ClearBitsFromSizeOn();
    return true;
}

// Flags that a set does not have are off, so that counting, comparing and growing need not look at N again.
void MCBitSet::ClearBitsFromSizeOn()
{
    if (fnSize % kWordBits != 0) fvWords.back() &= ~From(fnSize);
}

void MCBitSet::Display() const
{
    MCDisplay_930::DisplayStart("MCBitSet");
    MCDisplay_930::Display("Number of flags", fnSize);
    MCDisplay_930::Display("Flags on", Members());
    MCDisplay_930::DisplayEnd("MCBitSet");
}

} // namespace MCMath_930
