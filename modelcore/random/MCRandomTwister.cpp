// MCRandomTwister.
#include "modelcore/random/MCRandomTwister.h"

#include "modelcore/common/MCDisplay.h"
#include "modelcore/random/internal/Twister.h"

namespace MCMath_930 {

MCRandomTwister::MCRandomTwister() : fpState(std::make_unique<internal::Twister>()) {}

MCRandomTwister::MCRandomTwister(const MCRandomTwister& other)
    : fpState(std::make_unique<internal::Twister>(*other.fpState))
{}

MCRandomTwister& MCRandomTwister::operator=(const MCRandomTwister& other)
{
    if (this != &other) *fpState = *other.fpState;
    return *this;
}

MCRandomTwister::~MCRandomTwister() = default;

void MCRandomTwister::Initialize(unsigned long s)
{
    fpState->Seed(static_cast<std::uint32_t>(s & 0xFFFFFFFFu));
}

void MCRandomTwister::InitByArray(const unsigned long key[], unsigned long length)
{
    if (key != nullptr && length > 0) fpState->SeedByArray(key, length);
}

unsigned long MCRandomTwister::GetInteger32()
{
    return fpState->NextWord();
}

long MCRandomTwister::GetInteger31()
{
    return static_cast<long>(fpState->NextWord() >> 1);
}

double MCRandomTwister::GetRealClosed()
{
    return fpState->NextWord() / 4294967295.0;
}

double MCRandomTwister::GetRealClosedOpen()
{
    return fpState->NextWord() * 0x1p-32;
}

double MCRandomTwister::GetRealOpen()
{
    return fpState->NextOpen();
}

double MCRandomTwister::GetRealRes53()
{
    return fpState->NextRes53();
}

void MCRandomTwister::Display() const
{
    MCDisplay_930::DisplayStart("MCRandomTwister");
    MCDisplay_930::Display("Seeded indicator", fpState->IsSeeded());
    MCDisplay_930::Display("Position in the block", fpState->Position());
    MCDisplay_930::DisplayEnd("MCRandomTwister");
}

} // namespace MCMath_930
