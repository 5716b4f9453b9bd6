// The Mersenne Twister as a uniform source.
#pragma once

#include "modelcore/modelcore_export.h"
#include "modelcore/random/MCRNGenerator.h"
#include "modelcore/random/MCRandomTwister.h"

namespace MCMath_930 {

namespace internal {
class TwisterUniforms;
}

/// Uniform numbers in [0, 1) with 53 random bits from the Mersenne Twister MT19937 (Matsumoto and Nishimura 1998): the
/// source to choose unless an old result has to be repeated.
///
/// The object owns its state. A copy goes on where the original stands. A generator that was never seeded draws the
/// sequence of seed 5489.
class MODELCORE_EXPORT MCRNGUTwister : public MCRNGenerator {
public:
    /// Seeds with s. Different doubles give different sequences, save that -0.0 counts as 0.0.
    ///
    /// A whole number in [0, 2147483647] is the one-word seed of MCRandomTwister::Initialize. Any other finite s,
    /// negative whole numbers too, seeds by array with three words that hold its exponent, signs and significand: with
    /// m = |s| halved or doubled k times until 0.5 <= m < 1 (k = 0 for s = 0),
    /// key = { 8k + 4[|s| >= 1] + 2[s < 0] + [s = 0], floor(m * 2^26), floor((m * 2^26 - key[1]) * 2^27) }.
    /// A NaN or an infinity is refused: nothing changes.
    void SetSeed(double s) override;

    /// The next 53-bit number in [0, 1), from two words (MCRandomTwister::GetRealRes53).
    double GetNext() override;

    /// Writes the position to the diagnostic text stream.
    void Display() const;

private:
    friend class internal::TwisterUniforms;

    MCRandomTwister fTwister;
};

} // namespace MCMath_930
