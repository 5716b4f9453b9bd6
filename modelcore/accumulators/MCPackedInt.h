// A sequence of small integers in little memory.
#pragma once

#include "modelcore/common/internal/EmptiedOnMove.h"
#include "modelcore/modelcore_export.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace MCMath_930 {

/// A sequence of integers from 0 to a stated maximum, each in the fewest bits that hold the maximum: level numbers of a
/// factor, bins, cluster memberships of many cases. Value i takes the bits i*b to i*b + b - 1 of an array of 64-bit
/// words, counted from the least significant one; b is GetNBits(). Values are read and written by number in constant
/// time.
class MODELCORE_EXPORT MCPackedInt {
public:
    /// size zeros, each able to grow to max.
    explicit MCPackedInt(std::uint64_t max = 1, std::size_t size = 0);

    /// A deep copy.
    MCPackedInt(const MCPackedInt& other) = default;

    /// Deep as well. When memory runs out, this object is as it was.
    MCPackedInt& operator=(const MCPackedInt& other) { return internal::AssignByCopy(*this, other); }

    /// Takes everything over; other has no values afterwards and keeps its maximum.
    MCPackedInt(MCPackedInt&& other) noexcept = default;
    MCPackedInt& operator=(MCPackedInt&& other) noexcept = default;

    ~MCPackedInt() = default;

    /// The largest value that can be stored.
    std::uint64_t GetMax() const { return fnMax; }

    /// The bits of one value: 0 when the maximum is 0, 64 at most.
    unsigned GetNBits() const { return fnBits; }

    /// The number of values.
    std::size_t Size() const { return fnSize; }

    /// Value i; 0 when i >= Size().
    std::uint64_t Get(std::size_t i) const;

    /// Replaces value i.
    /// @return  false, and nothing changed, when i >= Size() or value > GetMax()
    bool Set(std::size_t i, std::uint64_t value);

    /// Adds a value at the end.
    /// @return  false, and nothing changed, when value > GetMax()
    bool Append(std::uint64_t value);

    /// Cuts the sequence or lengthens it by zeros. Throws std::bad_alloc, and changes nothing, when there is no memory
    /// for so many.
    void Resize(std::size_t size);

    /// Drops all values; the maximum stays.
    void Clear() { Resize(0); }

    /// The same maximum and the same values.
    bool operator==(const MCPackedInt& other) const = default;

    /// Writes the state to the diagnostic text stream.
    void Display() const;

private:
    std::size_t NWords(std::size_t size) const;

    std::uint64_t fnMax;
    unsigned fnBits;
    internal::EmptiedOnMove<std::size_t> fnSize = 0;
    std::vector<std::uint64_t> fvWords; // the bits after the last value are 0
};

} // namespace MCMath_930
