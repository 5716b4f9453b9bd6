// A set of numbered flags.
#pragma once

#include "modelcore/common/internal/EmptiedOnMove.h"
#include "modelcore/modelcore_export.h"

#include <cstdint>
#include <vector>

namespace MCMath_930 {

/// A set of N flags numbered 0 to N-1, for example the rows of a matrix that are swept. Packed 32 to a word: flag i is
/// bit i mod 32 of word i/32, and the bits of the last word from N on are always 0. A set that was moved from has no
/// flags; an assignment that runs out of memory leaves the set as it was.
class MODELCORE_EXPORT MCBitSet {
public:
    /// No flags.
    MCBitSet() = default;

    /// size flags, all off; none when size is negative.
    explicit MCBitSet(int size);

    MCBitSet(const MCBitSet&) = default;
    MCBitSet(MCBitSet&&) = default;
    MCBitSet& operator=(const MCBitSet& other) { return internal::AssignByCopy(*this, other); }
    MCBitSet& operator=(MCBitSet&&) = default;
    ~MCBitSet() = default;

    /// Turns flag i on or off. False, with nothing changed, when not 0 <= i < N.
    bool Set(int i, bool on = true);

    /// Whether flag i is on; false when not 0 <= i < N.
    bool IsIn(int i) const
    {
        return i >= 0 && i < fnSize &&
               ((fvWords[static_cast<unsigned>(i) / 32] >> (static_cast<unsigned>(i) % 32)) & 1u);
    }

    /// The number of flags that are on among a..b, both included; -1 when not 0 <= a <= b < N.
    int InRange(int a, int b) const;

    /// N, the number of flags, on or off.
    int Size() const { return fnSize; }

    /// The number of flags that are on.
    int Count() const;

    /// The first flag at or after i that is on, -1 when there is none:
    /// for (int k = s.Next(0); k >= 0; k = s.Next(k + 1)).
    int Next(int i) const;

    /// The numbers of the flags that are on, ascending.
    std::vector<int> Members() const;

    /// Turns every flag off; N stays.
    void Clear();

    /// Turns every flag on.
    void SetAll();

    /// Changes N: flags below both the old and the new N keep their state, new ones are off. False, with nothing
    /// changed, when size is negative.
    bool Resize(int size);

    /// The same N and the same flags on.
    bool operator==(const MCBitSet& other) const = default;

    /// Writes N and the numbers of the flags that are on to the diagnostic text stream.
    void Display() const;

private:
    void ClearBitsFromSizeOn();

    internal::EmptiedOnMove<int> fnSize = 0;
    std::vector<std::uint32_t> fvWords;
};

} // namespace MCMath_930
