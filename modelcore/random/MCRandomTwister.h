// The Mersenne Twister as an object of its own, with all its integer and real outputs.
#pragma once

#include "modelcore/modelcore_export.h"

#include <cstdint>
#include <memory>

namespace MCMath_930 {

namespace internal {
class TwisterUniforms;
}

/// The Mersenne Twister MT19937 (Matsumoto and Nishimura 1998, with the authors' initialisation of 2002): 32-bit words
/// with a period of 2^19937 - 1, equidistributed in 623 dimensions. Not for cryptography: 624 words give the rest away.
///
/// The object owns its state, 624 words and the position of the next one. A copy goes on where the original stands. A
/// generator that was never seeded seeds itself with 5489 at the first draw. The sequence is the published one on every
/// platform.
class MODELCORE_EXPORT MCRandomTwister {
public:
    /// Never seeded.
    MCRandomTwister();

    /// Goes on where other stands.
    MCRandomTwister(const MCRandomTwister& other);

    /// The same; when memory runs out, this object is as it was.
    MCRandomTwister& operator=(const MCRandomTwister& other);

    /// Frees the state.
    ~MCRandomTwister();

    /// Seeds with one word, the low 32 bits of s (init_genrand of the authors' program).
    void Initialize(unsigned long s);

    /// Seeds with an array of words, the low 32 bits of each, however many there are (init_by_array). No key at all, a
    /// null pointer or length 0, is refused: nothing changes.
    void InitByArray(const unsigned long key[], unsigned long length);

    // Drawing is inline; no operation here rounds, so that a user's compiler flags cannot change a result.

    /// The next word, in [0, 2^32).
    unsigned long GetInteger32() { return NextWord(); }

    /// The upper 31 bits of the next word, in [0, 2^31).
    long GetInteger31() { return static_cast<long>(NextWord() >> 1); }

    /// The next word / (2^32 - 1), in [0, 1].
    double GetRealClosed();

    /// The next word / 2^32, in [0, 1).
    double GetRealClosedOpen() { return NextWord() * 0x1p-32; }

    /// (The next word + 0.5) / 2^32, in (0, 1).
    double GetRealOpen() { return (NextWord() + 0.5) * 0x1p-32; }

    /// 53 random bits in [0, 1): with a the upper 27 bits of the next word and b the upper 26 bits of the one after it,
    /// (a * 2^26 + b) / 2^53.
    double GetRealRes53()
    {
        if (fpEnd - fpNext < 2) return Res53AcrossBlocks();
        const std::uint32_t* const pair = fpNext;
        fpNext += 2;
        return Res53(pair[0], pair[1]);
    }

    /// Writes the position, 625 when never seeded, to the diagnostic text stream.
    void Display() const;

private:
    friend class internal::TwisterUniforms;

    struct Block;

    std::uint32_t NextWord()
    {
        if (fpNext == fpEnd) Regenerate();
        return *fpNext++;
    }
    static double Res53(std::uint32_t first, std::uint32_t second)
    {
        const std::uint64_t bits = std::uint64_t{first >> 5} << 26 | second >> 6;
        return static_cast<double>(static_cast<std::int64_t>(bits)) * 0x1p-53; // signed: one instruction converts it
    }
    double Res53AcrossBlocks();
    void Regenerate();
    int WordsLeft() const;
    void SetPosition(int position);

    std::unique_ptr<Block> fpBlock;
    // The words of the block that are still to be drawn. The position stands here, not in the block, since one memory
    // access less halves the time of a draw.
    const std::uint32_t* fpNext;
    const std::uint32_t* fpEnd;
};

} // namespace MCMath_930
