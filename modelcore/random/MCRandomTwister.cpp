// MCRandomTwister: seeding, regeneration and copies.
#include "modelcore/random/MCRandomTwister.h"

#include "modelcore/common/MCDisplay.h"
#include "modelcore/kernels/Kernels.h"
#include "modelcore/random/internal/Twist.h"

#include <algorithm>
#include <cstddef>

namespace MCMath_930 {

namespace {

constexpr int kUsedUp = 624;
constexpr int kNeverSeeded = 625;
constexpr std::size_t kCount = internal::kTwisterWords;
constexpr std::uint32_t kDefaultSeed = 5489u;

std::uint32_t Mixed(std::uint32_t previous, std::uint32_t multiplier)
{
    return (previous ^ (previous >> 30)) * multiplier;
}

std::uint32_t LowWord(unsigned long word)
{
    return static_cast<std::uint32_t>(word & 0xFFFFFFFFu); // an unsigned long may have 64 bits
}

void Twist(std::uint32_t* words, std::uint32_t* tempered)
{
#ifdef MODELCORE_KERNELS_V4
    if (internal::Kernels().level == internal::Level::v4) return internal::v4::Twist(words, tempered);
#endif
#ifdef MODELCORE_KERNELS_V3
    if (internal::Kernels().level == internal::Level::v3) return internal::v3::Twist(words, tempered);
#endif
    internal::baseline::Twist(words, tempered);
}

} // namespace

// The words of the recurrence, and what tempering makes of them, which is what is drawn.
struct MCRandomTwister::Block {
    std::uint32_t words[kCount];
    std::uint32_t tempered[kCount];
    bool isSeeded;
};

MCRandomTwister::MCRandomTwister() : fpBlock(new Block())
{
    SetPosition(kUsedUp);
}

MCRandomTwister::MCRandomTwister(const MCRandomTwister& other) : fpBlock(new Block(*other.fpBlock))
{
    SetPosition(kUsedUp - other.WordsLeft());
}

MCRandomTwister& MCRandomTwister::operator=(const MCRandomTwister& other)
{
    if (this == &other) return *this;
    *fpBlock = *other.fpBlock;
    SetPosition(kUsedUp - other.WordsLeft());
    return *this;
}

MCRandomTwister::~MCRandomTwister() = default;

void MCRandomTwister::SetPosition(int position)
{
    fpNext = fpBlock->tempered + position;
    fpEnd = fpBlock->tempered + kCount;
}

int MCRandomTwister::WordsLeft() const
{
    return static_cast<int>(fpEnd - fpNext);
}

void MCRandomTwister::Initialize(unsigned long s)
{
    std::uint32_t* const w = fpBlock->words;
    w[0] = LowWord(s);
    for (std::uint32_t i = 1; i < kCount; ++i) w[i] = Mixed(w[i - 1], 1812433253u) + i;
    fpBlock->isSeeded = true;
    SetPosition(kUsedUp);
}

void MCRandomTwister::InitByArray(const unsigned long key[], unsigned long length)
{
    if (key == nullptr || length == 0) return;
    Initialize(19650218u);
    std::uint32_t* const w = fpBlock->words;
    std::size_t i = 1;
    const auto advance = [&] {
        if (++i < kCount) return;
        w[0] = w[kCount - 1];
        i = 1;
    };
    std::size_t j = 0;
    for (std::size_t step = std::max(kCount, std::size_t{length}); step > 0; --step) {
        w[i] = (w[i] ^ Mixed(w[i - 1], 1664525u)) + LowWord(key[j]) + static_cast<std::uint32_t>(j);
        advance();
        if (++j >= length) j = 0;
    }
    for (std::size_t step = kCount - 1; step > 0; --step) {
        w[i] = (w[i] ^ Mixed(w[i - 1], 1566083941u)) - static_cast<std::uint32_t>(i);
        advance();
    }
    w[0] = 0x80000000u;
}

// The block is made and tempered as a whole, since then neighbouring words are independent of each other and vectors
// run across them.
void MCRandomTwister::Regenerate()
{
    if (!fpBlock->isSeeded) Initialize(kDefaultSeed);
    Twist(fpBlock->words, fpBlock->tempered);
    SetPosition(0);
}

double MCRandomTwister::Res53AcrossBlocks()
{
    const std::uint32_t first = NextWord();
    const std::uint32_t second = NextWord();
    return Res53(first, second);
}

double MCRandomTwister::GetRealClosed()
{
    return NextWord() / 4294967295.0;
}

void MCRandomTwister::Display() const
{
    MCDisplay_930::DisplayStart("MCRandomTwister");
    MCDisplay_930::Display("Position in the block", fpBlock->isSeeded ? kUsedUp - WordsLeft() : kNeverSeeded);
    MCDisplay_930::DisplayEnd("MCRandomTwister");
}

} // namespace MCMath_930
