// MCRNGUCongruential.
#include "modelcore/random/MCRNGUCongruential.h"

#include "modelcore/common/MCDisplay.h"
#include "modelcore/random/internal/Congruential.h"

#include <algorithm>
#include <cmath>

namespace MCMath_930 {

void MCRNGUCongruential::SetSeed(double s)
{
    if (std::isnan(s)) return;
    fnState = static_cast<std::uint32_t>(std::clamp(std::floor(std::fabs(s)), 1.0, 2147483647.0));
}

double MCRNGUCongruential::GetNext()
{
    fnState = internal::NextCongruential(fnState);
    return internal::CongruentialReal(fnState);
}

void MCRNGUCongruential::Display() const
{
    MCDisplay_930::DisplayStart("MCRNGUCongruential");
    MCDisplay_930::Display("State", fnState);
    MCDisplay_930::DisplayEnd("MCRNGUCongruential");
}

} // namespace MCMath_930
