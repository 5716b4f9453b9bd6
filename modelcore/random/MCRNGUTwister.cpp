// MCRNGUTwister.
#include "modelcore/random/MCRNGUTwister.h"

#include "modelcore/common/MCDisplay.h"

#include <array>
#include <cmath>
#include <cstdlib>

namespace MCMath_930 {

namespace {

// Exact in double arithmetic: the last two words hold the 53 bits of the significand.
std::array<unsigned long, 3> KeyOf(double s)
{
    int exponent = 0;
    const double m = std::frexp(std::fabs(s), &exponent);
    const unsigned long signs = (std::fabs(s) >= 1.0 ? 4u : 0u) + (s < 0.0 ? 2u : 0u) + (s == 0.0 ? 1u : 0u);
    const double high = std::floor(m * 0x1p26);
    const double low = std::floor((m * 0x1p26 - high) * 0x1p27);
    return {8ul * static_cast<unsigned long>(std::abs(exponent)) + signs, static_cast<unsigned long>(high),
            static_cast<unsigned long>(low)};
}

} // namespace

void MCRNGUTwister::SetSeed(double s)
{
    if (!std::isfinite(s)) return;
    if (s >= 0.0 && s <= 2147483647.0 && s == std::floor(s)) {
        fTwister.Initialize(static_cast<unsigned long>(s));
    } else {
        const std::array<unsigned long, 3> key = KeyOf(s);
        fTwister.InitByArray(key.data(), key.size());
    }
}

double MCRNGUTwister::GetNext()
{
    return fTwister.GetRealRes53();
}

void MCRNGUTwister::Display() const
{
    MCDisplay_930::DisplayStart("MCRNGUTwister");
    fTwister.Display();
    MCDisplay_930::DisplayEnd("MCRNGUTwister");
}

} // namespace MCMath_930
