// The procedures' source of uniform numbers, which can be saved and restored.
#pragma once

#include "modelcore/modelcore_export.h"

#include <cstdint>
#include <iosfwd>
#include <memory>

namespace MCCommon_930 {
class MCRandom;
}

namespace MCMath_930 {

class MCRandomTwister;

/// Uniform numbers for sampling, partitioning and simulation, from one of four generators that is chosen at run time,
/// in this order:
///
///   1. the caller's own, when one was given;
///   2. the C runtime's rand(), when usePortable is false: one state for the whole process, other numbers on every
///      platform;
///   3. the congruential generator of MCRNGUCongruential, when useTwister is false: the seed is its running state;
///   4. the Mersenne Twister.
///
/// What is saved is the seed and the two flags. A Twister that is copied, assigned or restored therefore starts again
/// from its seed; the congruential generator goes on, because its seed moves with it. The object owns its Twister, but
/// not the caller's generator, which must outlive it.
class MODELCORE_EXPORT MCURandom {
public:
    /// The Twister with seed 34567.
    MCURandom();

    /// @param seed         its low 32 bits are the seed. The C runtime's generator is not seeded here, only by SetSeed.
    /// @param usePortable  false means the C runtime's generator
    /// @param useTwister   whether the portable generator is the Twister; counts as false when usePortable is false or
    ///                     a caller's generator is given
    /// @param userRNG      the caller's generator, not owned, or null
    MCURandom(unsigned long seed, bool usePortable, bool useTwister, MCCommon_930::MCRandom* userRNG);

    /// The same seed, flags and caller's generator; a Twister starts again from the seed. Assigning an object to itself
    /// changes nothing.
    MCURandom(const MCURandom& other);

    /// As the copy; when memory runs out, this object is as it was.
    MCURandom& operator=(const MCURandom& other);

    /// The caller's generator stays.
    ~MCURandom();

    /// Stores the low 32 bits of s and seeds the generator that the flags choose: srand, the congruential state or the
    /// Twister. A caller's generator is not told.
    void SetSeed(unsigned long s);

    /// Switching off frees the Twister for good; switching on again chooses the congruential generator.
    void SetUsePortable(bool on);

    /// Whether the Twister is in use.
    bool GetUseTwister() const { return fUseTwister; }

    /// The next uniform number: in (0, 1) from the portable generators (32 random bits from the Twister, 31 from the
    /// congruential one), in [0, 1], as rand() / RAND_MAX, from the C runtime's.
    double GetRandom();

    // Saving and restoring. A restored object keeps its caller's generator, and then uses no Twister. What is refused
    // changes nothing; the stream stands where reading stopped.

    /// Writes a record of 20 bytes, the same on every platform: "MCUR", the seed as an IEEE double, the two flags as
    /// 4-byte integers 0 or 1, all with the lowest byte first. The stream is flushed, so that a full disk is noticed.
    /// @return  20; 0 when the stream is in a failed state or writing fails
    int WriteObject(std::fstream& stream) const;

    /// Reads such a record. A flag is on when its integer is 1, and the Twister is used when both are on.
    /// @return  20; 0 when the stream is in a failed state, the record is cut short or begins with another tag, or its
    ///          seed is not a whole number below 2^32
    int ReadObject(std::fstream& stream);

    /// Writes an element "MCURandom" with the seed and the two flags in this order to a flat value stream.
    /// @param indent  the depth of its tags, in tabs
    /// @return  5, the number of lines; 0 when the stream is in a failed state or writing fails
    int WriteObjectXML(std::ostream& stream, int indent) const;

    /// Reads such an element, with the same rules as ReadObject. The stream stands before it.
    /// @return  5; 0 on any failure, after the line "Failure reading MCURandom!" on standard error
    int ReadObjectXML(std::ifstream& stream);

    /// Writes the seed and the two flags to the diagnostic text stream.
    void Display() const;

private:
    friend class MCRandomValues;

    void Restart(std::uint32_t seed, bool usePortable, bool useTwister, MCCommon_930::MCRandom* userRNG);

    std::uint32_t fnSeed;
    bool fUsePortable;
    bool fUseTwister;
    std::unique_ptr<MCRandomTwister> fpTwister; // null when not in use
    MCCommon_930::MCRandom* fpUserRNG;
};

} // namespace MCMath_930
