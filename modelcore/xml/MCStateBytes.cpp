// The envelope of a saved state, and the streams that fill and read it.
#include "modelcore/xml/MCStateBytes.h"

#include "modelcore/xml/internal/StateTokens.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>
#include <sstream>

namespace MCXML_930 {

namespace {

// The first byte is no text, so that neither a text file nor a transport that spoils bytes above 127 goes unnoticed.
constexpr std::string_view kMagic("\xD3MCS", 4);
constexpr std::size_t kHead = 16;
constexpr std::size_t kTail = 4;

/// tables[j][b]: the remainder of byte b followed by j zero bytes.
constexpr auto MakeTables()
{
    std::array<std::array<std::uint32_t, 256>, 8> tables{};
    for (std::uint32_t b = 0; b < 256; ++b) {
        std::uint32_t remainder = b;
        for (int bit = 0; bit < 8; ++bit) remainder = remainder >> 1 ^ ((remainder & 1) != 0 ? 0x82F63B78u : 0u);
        tables[0][b] = remainder;
    }
    for (std::size_t b = 0; b < 256; ++b)
        for (std::size_t j = 1; j < 8; ++j) tables[j][b] = tables[j - 1][b] >> 8 ^ tables[0][tables[j - 1][b] & 0xFF];
    return tables;
}

/// CRC-32C, eight bytes at a time; of "123456789" E3069283.
std::uint32_t Checksum(std::string_view bytes)
{
    static constexpr auto tables = MakeTables();
    const auto at = [&bytes](std::size_t i) {
        return static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[i]));
    };
    std::uint32_t crc = ~std::uint32_t{0};
    for (; bytes.size() >= 8; bytes.remove_prefix(8)) {
        crc ^= at(0) | at(1) << 8 | at(2) << 16 | at(3) << 24;
        crc = tables[7][crc & 0xFF] ^ tables[6][crc >> 8 & 0xFF] ^ tables[5][crc >> 16 & 0xFF] ^ tables[4][crc >> 24] ^
              tables[3][at(4)] ^ tables[2][at(5)] ^ tables[1][at(6)] ^ tables[0][at(7)];
    }
    for (; !bytes.empty(); bytes.remove_prefix(1)) crc = crc >> 8 ^ tables[0][(crc ^ at(0)) & 0xFF];
    return ~crc;
}

void AppendInteger(std::string& out, std::uint64_t value, int bytes)
{
    for (int i = 0; i < bytes; ++i) out += static_cast<char>(value >> (8 * i) & 0xFF);
}

std::uint64_t Integer(std::string_view bytes, std::size_t first, std::size_t count)
{
    std::uint64_t value = 0;
    for (std::size_t i = count; i-- > 0;) value = value << 8 | static_cast<unsigned char>(bytes[first + i]);
    return value;
}

} // namespace

const char* MCStateBytes::GetText(Fault fault)
{
    switch (fault) {
    case Ok: return "the state is good";
    case Foreign: return "these bytes are no saved state";
    case OtherVersion: return "the state has a version of the form that this library does not read";
    case Truncated: return "the state is truncated";
    case Damaged: return "the state is damaged: its checksum or length differs";
    case OtherKind: return "the state is that of an object of another class";
    case Contradictory: return "the state contradicts itself";
    }
    return "no such fault";
}

std::string MCStateBytes::Wrap(std::string_view kind, std::string_view content)
{
    kind = kind.substr(0, std::numeric_limits<std::uint16_t>::max());
    std::string bytes;
    bytes.reserve(kHead + kind.size() + content.size() + kTail);
    bytes += kMagic;
    AppendInteger(bytes, kVersion, 2);
    AppendInteger(bytes, kind.size(), 2);
    AppendInteger(bytes, content.size(), 8);
    bytes.append(kind).append(content);
    AppendInteger(bytes, Checksum(bytes), 4);
    return bytes;
}

MCStateBytes::Fault MCStateBytes::Unwrap(std::string_view bytes, std::string_view& kind, std::string_view& content)
{
    const std::size_t begin = std::min(bytes.size(), kMagic.size());
    if (bytes.substr(0, begin) != kMagic.substr(0, begin)) return Foreign;
    if (bytes.size() < 6) return Truncated;
    if (Integer(bytes, 4, 2) != kVersion) return OtherVersion; // what follows may mean something else
    if (bytes.size() < kHead + kTail) return Truncated;
    const auto kindSize = static_cast<std::size_t>(Integer(bytes, 6, 2));
    const std::uint64_t contentSize = Integer(bytes, 8, 8);
    const std::size_t room = bytes.size() - kHead - kTail;
    if (kindSize > room || contentSize > room - kindSize) return Truncated;
    const std::size_t end = bytes.size() - kTail;
    if (contentSize != room - kindSize || Integer(bytes, end, 4) != Checksum(bytes.substr(0, end))) return Damaged;
    kind = bytes.substr(kHead, kindSize);
    content = bytes.substr(kHead + kindSize, room - kindSize);
    return Ok;
}

MCStateBytes::Writer::Writer()
    : fpSink(std::make_unique<internal::TokenSink>()), fpStream(std::make_unique<std::ostringstream>())
{
    fpSink->AttachTo(*fpStream);
}

MCStateBytes::Writer::~Writer() = default;

std::string MCStateBytes::Writer::Finish()
{
    std::string kind;
    internal::TokenSource(fpSink->Bytes()).TakeText(internal::Token::Start, kind);
    return Wrap(kind, fpSink->Bytes());
}

MCStateBytes::Reader::Reader(std::string_view bytes)
{
    std::string_view content;
    fFault = Unwrap(bytes, fKind, content);
    fpSource = std::make_unique<internal::TokenSource>(content);
    fpSource->AttachTo(fStream);
}

MCStateBytes::Reader::~Reader() = default;

MCStateBytes::Fault MCStateBytes::Reader::Finish(bool isRead) const
{
    if (fFault != Ok) return fFault;
    if (isRead && fpSource->IsDone()) return Ok;
    return fpSource->GetFirstName() != fKind ? OtherKind : Contradictory;
}

} // namespace MCXML_930
