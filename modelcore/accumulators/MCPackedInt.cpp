#include "modelcore/accumulators/MCPackedInt.h"

#include "modelcore/common/MCDisplay.h"

#include <bit>
#include <new>

namespace MCMath_930 {

namespace {

constexpr unsigned kWordBits = 64;

/// Where a value begins. The bit number itself could leave 64 bits.
struct Place {
    Place(std::size_t i, unsigned bits)
        : word(i / kWordBits * bits + i % kWordBits * bits / kWordBits),
          shift(static_cast<unsigned>(i % kWordBits * bits % kWordBits))
    {}
    bool Straddles(unsigned bits) const { return shift + bits > kWordBits; }

    std::size_t word;
    unsigned shift;
};

constexpr std::uint64_t LowBits(unsigned count)
{
    return count == 0 ? 0 : ~std::uint64_t{0} >> (kWordBits - count);
}

} // namespace

MCPackedInt::MCPackedInt(std::uint64_t max, std::size_t size)
    : fnMax(max), fnBits(static_cast<unsigned>(std::bit_width(max)))
{
    Resize(size);
}

std::size_t MCPackedInt::NWords(std::size_t size) const
{
    const Place end(size, fnBits);
    return end.word + (end.shift > 0 ? 1 : 0);
}

std::uint64_t MCPackedInt::Get(std::size_t i) const
{
    if (i >= fnSize || fnBits == 0) return 0;
    const Place place(i, fnBits);
    std::uint64_t value = fvWords[place.word] >> place.shift;
    if (place.Straddles(fnBits)) value |= fvWords[place.word + 1] << (kWordBits - place.shift);
    return value & LowBits(fnBits);
}

bool MCPackedInt::Set(std::size_t i, std::uint64_t value)
{
    if (i >= fnSize || value > fnMax) return false;
    if (fnBits == 0) return true;
    const Place place(i, fnBits);
    const std::uint64_t mask = LowBits(fnBits);
    std::uint64_t& word = fvWords[place.word];
    word = (word & ~(mask << place.shift)) | (value << place.shift);
    if (place.Straddles(fnBits)) {
        const unsigned done = kWordBits - place.shift;
        std::uint64_t& next = fvWords[place.word + 1];
        next = (next & ~(mask >> done)) | (value >> done);
    }
    return true;
}

bool MCPackedInt::Append(std::uint64_t value)
{
    if (value > fnMax) return false;
    if (NWords(fnSize + 1) > fvWords.size())
        Resize(fnSize + 1);
    else
        fnSize += 1; // the bits are there, and they are 0
    return Set(fnSize - 1, value);
}

void MCPackedInt::Resize(std::size_t size)
{
    const std::size_t words = NWords(size);
    if (words > fvWords.max_size()) throw std::bad_alloc(); // the vector would throw something else
    fvWords.resize(words);
    const bool cut = size < fnSize;
    fnSize = size;
    const Place end(size, fnBits);
    if (cut && end.shift > 0) fvWords.back() &= LowBits(end.shift);
}

void MCPackedInt::Display() const
{
    std::vector<double> values;
    for (std::size_t i = 0; i < fnSize; ++i) values.push_back(static_cast<double>(Get(i)));
    MCDisplay_930::DisplayStart("MCPackedInt");
    MCDisplay_930::Display("Largest value", static_cast<unsigned long long>(fnMax));
    MCDisplay_930::Display("Bits of a value", fnBits);
    MCDisplay_930::Display("Number of values", Size());
    MCDisplay_930::Display("Values", values);
    MCDisplay_930::DisplayEnd("MCPackedInt");
}

} // namespace MCMath_930
