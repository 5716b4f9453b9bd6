// The multiplicative congruential generator as a uniform source.
#pragma once

#include "modelcore/modelcore_export.h"
#include "modelcore/random/MCRNGenerator.h"

#include <cstdint>

namespace MCMath_930 {

namespace internal {
class CongruentialUniforms;
}

/// Uniform numbers in (0, 1) from x <- 397204094 * x mod (2^31 - 1), the multiplier being one of those that G. S.
/// Fishman and L. R. Moore found best (SIAM Journal on Scientific and Statistical Computing 7 (1986), 24-45).
///
/// It is there to repeat results that were made with it. Its period of 2^31 - 2 and its 31 bits are too few for a
/// simulation of today, and it fails the minimum distance tests of dieharder in three dimensions and more
/// (docs/random.md); MCRNGUTwister passes them all.
/// One 32-bit word of state; a copy goes on where the original stands.
class MODELCORE_EXPORT MCRNGUCongruential : public MCRNGenerator {
public:
    /// State 1.
    MCRNGUCongruential() = default;

    /// The state becomes the whole part of |s|, but at least 1 and at most 2147483647. From 2147483647, which is 0
    /// modulo the modulus, the sequence goes on with 1. A NaN is refused: nothing changes.
    void SetSeed(double s) override;

    /// The new state / 2^31, in (0, 1).
    double GetNext() override;

    /// Writes the state to the diagnostic text stream.
    void Display() const;

private:
    friend class internal::CongruentialUniforms;

    std::uint32_t fnState = 1;
};

} // namespace MCMath_930
