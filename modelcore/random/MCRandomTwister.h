// The Mersenne Twister as an object of its own, with all its integer and real outputs.
#pragma once

#include "modelcore/modelcore_export.h"

#include <memory>

namespace MCMath_930 {

namespace internal {
class Twister;
}

/// The Mersenne Twister MT19937 (Matsumoto and Nishimura 1998, with the authors' initialisation of 2002): 32-bit words
/// with a period of 2^19937 - 1, equidistributed in 623 dimensions. Not for cryptography: 624 words give the rest away.
///
/// The object owns its state, 624 words and a position. A copy goes on where the original stands. A generator that was
/// never seeded seeds itself with 5489 at the first draw. The sequence is the published one on every platform.
class MODELCORE_EXPORT MCRandomTwister {
public:
    /// Never seeded.
    MCRandomTwister();

    MCRandomTwister(const MCRandomTwister& other);
    MCRandomTwister& operator=(const MCRandomTwister& other);
    ~MCRandomTwister();

    /// Seeds with one word, the low 32 bits of s (init_genrand of the authors' program).
    void Initialize(unsigned long s);

    /// Seeds with an array of words, the low 32 bits of each, however many there are (init_by_array). No key at all, a
    /// null pointer or length 0, is refused: nothing changes.
    void InitByArray(const unsigned long key[], unsigned long length);

    /// The next word, in [0, 2^32).
    unsigned long GetInteger32();

    /// The upper 31 bits of the next word, in [0, 2^31).
    long GetInteger31();

    /// The next word / (2^32 - 1), in [0, 1].
    double GetRealClosed();

    /// The next word / 2^32, in [0, 1).
    double GetRealClosedOpen();

    /// (The next word + 0.5) / 2^32, in (0, 1).
    double GetRealOpen();

    /// 53 random bits in [0, 1): with a the upper 27 bits of the next word and b the upper 26 bits of the one after it,
    /// (a * 2^26 + b) / 2^53.
    double GetRealRes53();

    /// Writes the position to the diagnostic text stream.
    void Display() const;

private:
    std::unique_ptr<internal::Twister> fpState;
};

} // namespace MCMath_930
