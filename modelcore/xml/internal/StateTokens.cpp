// The values of the flat value stream as binary tokens.
#include "modelcore/xml/internal/StateTokens.h"

#include <bit>

namespace MCXML_930::internal {

namespace {

// A word of the stream's own storage says what it is attached to: the writers and readers of all classes have streams
// for their arguments, and none of them has to know which form it writes.
int SinkWord()
{
    static const int word = std::ios_base::xalloc();
    return word;
}
int SourceWord()
{
    static const int word = std::ios_base::xalloc();
    return word;
}

} // namespace

TokenSink* TokenSink::Of(std::ios_base& stream)
{
    return static_cast<TokenSink*>(stream.pword(SinkWord()));
}

void TokenSink::AttachTo(std::ios_base& stream)
{
    stream.pword(SinkWord()) = this;
}

void TokenSink::PutCount(std::uint64_t count)
{
    for (; count >= 0x80; count >>= 7) fBytes += static_cast<char>(0x80 | (count & 0x7F));
    fBytes += static_cast<char>(count);
}

void TokenSink::PutInteger(bool isNegative, std::uint64_t magnitude)
{
    Put(isNegative ? Token::Negative : Token::Natural);
    PutCount(magnitude);
}

void TokenSink::PutReal(double value)
{
    char token[9] = {static_cast<char>(Token::Real)};
    const auto bits = std::bit_cast<std::uint64_t>(value);
    for (int i = 0; i < 8; ++i) token[i + 1] = static_cast<char>(bits >> (8 * i) & 0xFF);
    fBytes.append(token, sizeof token);
}

void TokenSink::PutText(Token token, std::string_view text)
{
    Put(token);
    PutCount(text.size());
    fBytes += text;
}

TokenSource* TokenSource::Of(std::ios_base& stream)
{
    return static_cast<TokenSource*>(stream.pword(SourceWord()));
}

void TokenSource::AttachTo(std::ios_base& stream)
{
    stream.pword(SourceWord()) = this;
}

bool TokenSource::Take(Token token)
{
    if (Peek() != static_cast<int>(token)) return Fail();
    fRest.remove_prefix(1);
    return true;
}

bool TokenSource::TakeBool(bool& value)
{
    const bool isTrue = Peek() == static_cast<int>(Token::True);
    if (!Take(isTrue ? Token::True : Token::False)) return false;
    value = isTrue;
    return true;
}

bool TokenSource::TakeInteger(bool& isNegative, std::uint64_t& magnitude)
{
    isNegative = Peek() == static_cast<int>(Token::Negative);
    return Take(isNegative ? Token::Negative : Token::Natural) && TakeCount(magnitude);
}

bool TokenSource::TakeReal(double& value)
{
    if (!Take(Token::Real) || fRest.size() < 8) return Fail();
    std::uint64_t bits = 0;
    for (std::size_t i = 8; i-- > 0;) bits = bits << 8 | static_cast<unsigned char>(fRest[i]);
    fRest.remove_prefix(8);
    value = std::bit_cast<double>(bits);
    return true;
}

bool TokenSource::TakeText(Token token, std::string& text)
{
    std::uint64_t count = 0;
    if (!Take(token) || !TakeCount(count) || count > fRest.size()) return Fail();
    text.assign(fRest.substr(0, static_cast<std::size_t>(count)));
    fRest.remove_prefix(static_cast<std::size_t>(count));
    return true;
}

bool TokenSource::TakeStart(std::string_view name)
{
    std::string found;
    if (fFirstName.empty()) fFirstName = name;
    if (!TakeText(Token::Start, found)) return false;
    return found == name || Fail();
}

bool TokenSource::TakeCount(std::uint64_t& count)
{
    count = 0;
    for (int shift = 0; shift < 64 && !fRest.empty(); shift += 7) {
        const auto byte = static_cast<unsigned char>(fRest.front());
        fRest.remove_prefix(1);
        if (shift == 63 && byte > 1) break;
        count |= static_cast<std::uint64_t>(byte & 0x7F) << shift;
        if (byte < 0x80) return true;
    }
    return Fail();
}

} // namespace MCXML_930::internal
