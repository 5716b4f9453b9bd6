// MCURandom: the binary record and the element of a flat value stream.
#include "modelcore/random/MCURandom.h"

#include "modelcore/xml/XMLObj.h"
#include "modelcore/xml/XMLValueStream.h"

#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <fstream>
#include <iostream>
#include <string_view>

namespace MCMath_930 {

namespace {

constexpr std::string_view kTag = "MCUR";
constexpr const char* kElementName = "MCURandom";
constexpr int kElementLines = 5;
constexpr std::size_t kSeedAt = 4;
constexpr std::size_t kPortableAt = 12;
constexpr std::size_t kTwisterAt = 16;
using Bytes = std::array<char, 20>;

template <class Word>
void PutWord(Bytes& bytes, std::size_t at, Word word)
{
    for (std::size_t i = 0; i < sizeof(Word); ++i) bytes[at + i] = static_cast<char>((word >> (8 * i)) & 0xFFu);
}

template <class Word>
Word GetWord(const Bytes& bytes, std::size_t at)
{
    Word word = 0;
    for (std::size_t i = 0; i < sizeof(Word); ++i)
        word |= static_cast<Word>(static_cast<unsigned char>(bytes[at + i])) << (8 * i);
    return word;
}

} // namespace

int MCURandom::WriteObject(std::fstream& stream) const
{
    if (!stream) return 0;
    Bytes bytes;
    kTag.copy(bytes.data(), kTag.size());
    PutWord(bytes, kSeedAt, std::bit_cast<std::uint64_t>(static_cast<double>(fnSeed)));
    PutWord(bytes, kPortableAt, std::uint32_t{fUsePortable});
    PutWord(bytes, kTwisterAt, std::uint32_t{fUseTwister});
    stream.write(bytes.data(), bytes.size());
    stream.flush();
    return stream ? static_cast<int>(bytes.size()) : 0;
}

int MCURandom::ReadObject(std::fstream& stream)
{
    if (!stream) return 0;
    Bytes bytes;
    if (!stream.read(bytes.data(), bytes.size())) return 0;
    if (std::string_view(bytes.data(), kTag.size()) != kTag) return 0;
    const double seed = std::bit_cast<double>(GetWord<std::uint64_t>(bytes, kSeedAt));
    if (!(seed >= 0.0 && seed <= 4294967295.0 && seed == std::floor(seed))) return 0;
    Restart(static_cast<std::uint32_t>(seed), GetWord<std::uint32_t>(bytes, kPortableAt) == 1,
            GetWord<std::uint32_t>(bytes, kTwisterAt) == 1, fpUserRNG);
    return static_cast<int>(bytes.size());
}

int MCURandom::WriteObjectXML(std::ostream& stream, int indent) const
{
    if (!stream) return 0;
    const MCXML_930::XMLObj element(kElementName, indent);
    element.StartObj(stream);
    element.WriteSubElement(stream, fnSeed);
    element.WriteSubElement(stream, fUsePortable);
    element.WriteSubElement(stream, fUseTwister);
    element.EndObj(stream);
    stream.flush();
    return stream ? kElementLines : 0;
}

int MCURandom::ReadObjectXML(std::ifstream& stream)
{
    std::uint32_t seed = 0;
    bool usePortable = false;
    bool useTwister = false;
    if (!MCXML_930::ParseStartObj(stream, kElementName) || !MCXML_930::ParseValue(stream, seed) ||
        !MCXML_930::ParseValue(stream, usePortable) || !MCXML_930::ParseValue(stream, useTwister) ||
        !MCXML_930::ParseEndObj(stream)) {
        std::cerr << "Failure reading MCURandom!\n";
        return 0;
    }
    Restart(seed, usePortable, useTwister, fpUserRNG);
    return kElementLines;
}

} // namespace MCMath_930
