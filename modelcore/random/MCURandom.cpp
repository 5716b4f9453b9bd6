// MCURandom and the interface of a caller's generator.
#include "modelcore/random/MCURandom.h"

#include "modelcore/common/MCDisplay.h"
#include "modelcore/random/MCRandom.h"
#include "modelcore/random/MCRandomTwister.h"
#include "modelcore/random/internal/Congruential.h"

#include <cstdlib>

namespace MCCommon_930 {

MCRandom::~MCRandom() = default;

} // namespace MCCommon_930

namespace MCMath_930 {

namespace {

std::uint32_t LowWord(unsigned long s)
{
    return static_cast<std::uint32_t>(s & 0xFFFFFFFFu);
}

} // namespace

MCURandom::MCURandom() : MCURandom(34567, true, true, nullptr) {}

MCURandom::MCURandom(unsigned long seed, bool usePortable, bool useTwister, MCCommon_930::MCRandom* userRNG)
{
    Restart(LowWord(seed), usePortable, useTwister, userRNG);
}

MCURandom::MCURandom(const MCURandom& other)
{
    Restart(other.fnSeed, other.fUsePortable, other.fUseTwister, other.fpUserRNG);
}

MCURandom& MCURandom::operator=(const MCURandom& other)
{
    if (this != &other) Restart(other.fnSeed, other.fUsePortable, other.fUseTwister, other.fpUserRNG);
    return *this;
}

MCURandom::~MCURandom() = default;

// Writes every field. There is a Twister exactly when useTwister is set.
void MCURandom::Restart(std::uint32_t seed, bool usePortable, bool useTwister, MCCommon_930::MCRandom* userRNG)
{
    useTwister = useTwister && usePortable && userRNG == nullptr;
    if (!useTwister) {
        fpTwister.reset();
    } else {
        if (fpTwister == nullptr) fpTwister = std::make_unique<MCRandomTwister>();
        fpTwister->Initialize(seed);
    }
    fnSeed = seed;
    fUsePortable = usePortable;
    fUseTwister = useTwister;
    fpUserRNG = userRNG;
}

void MCURandom::SetSeed(unsigned long s)
{
    fnSeed = LowWord(s);
    if (!fUsePortable)
        std::srand(fnSeed);
    else if (fUseTwister)
        fpTwister->Initialize(fnSeed);
}

void MCURandom::SetUsePortable(bool on)
{
    fUsePortable = on;
    if (on) return;
    fpTwister.reset();
    fUseTwister = false;
}

double MCURandom::GetRandom()
{
    if (fpTwister != nullptr) return fpTwister->GetRealOpen(); // then the others are out of use
    if (fpUserRNG != nullptr) return fpUserRNG->GetRandom();
    if (!fUsePortable) return std::rand() / static_cast<double>(RAND_MAX);
    fnSeed = internal::NextCongruential(fnSeed);
    return internal::CongruentialReal(fnSeed);
}

void MCURandom::Display() const
{
    MCDisplay_930::DisplayStart("MCURandom");
    MCDisplay_930::Display("The seed", fnSeed);
    MCDisplay_930::Display("Portable RNG indicator", fUsePortable);
    MCDisplay_930::Display("Mersenne Twister RNG indicator", fUseTwister);
    MCDisplay_930::DisplayEnd("MCURandom");
}

} // namespace MCMath_930
