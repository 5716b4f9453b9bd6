// The values of the flat value stream as binary tokens.
#pragma once

#include <cstdint>
#include <ios>
#include <string>
#include <string_view>

namespace MCXML_930::internal {

/// Tokens, one byte each and what follows it. A count is a base-128 varint, the lowest seven bits first.
enum class Token : unsigned char {
    Start = 1,    ///< count and bytes of a name
    End = 2,      ///< nothing
    False = 3,    ///< nothing
    True = 4,     ///< nothing
    Natural = 5,  ///< the integer as a count
    Negative = 6, ///< -1 less the integer as a count
    Real = 7,     ///< the eight bytes of its bits, the lowest first
    Text = 8      ///< count and bytes
};

/// Takes the tokens of what is written to a stream that it is attached to, which then writes no text.
class TokenSink {
public:
    /// The sink attached to the stream, or null.
    static TokenSink* Of(std::ios_base& stream);
    void AttachTo(std::ios_base& stream);

    void Put(Token token) { fBytes += static_cast<char>(token); }
    void PutCount(std::uint64_t count);
    void PutInteger(bool isNegative, std::uint64_t magnitude); ///< magnitude of a negative integer: -1 less it
    void PutReal(double value);
    void PutText(Token token, std::string_view text);

    std::string& Bytes() { return fBytes; }

private:
    std::string fBytes;
};

/// Gives the tokens to the readers of a stream that it is attached to, which then reads no text. The first fault makes
/// every later step fail.
class TokenSource {
public:
    explicit TokenSource(std::string_view bytes) : fRest(bytes) {}

    /// The source attached to the stream, or null.
    static TokenSource* Of(std::ios_base& stream);
    void AttachTo(std::ios_base& stream);

    bool Take(Token token);
    bool TakeBool(bool& value);
    /// @param isNegative  the integer is -1 - magnitude
    bool TakeInteger(bool& isNegative, std::uint64_t& magnitude);
    bool TakeReal(double& value);
    bool TakeText(Token token, std::string& text);
    /// Takes the start of an element, which must have that name.
    bool TakeStart(std::string_view name);

    /// The name of the element that was looked for first; empty before.
    const std::string& GetFirstName() const { return fFirstName; }
    /// Whether all was read without a fault.
    bool IsDone() const { return fbGood && fRest.empty(); }

private:
    bool Fail()
    {
        fbGood = false;
        return false;
    }
    bool TakeCount(std::uint64_t& count);
    int Peek() const { return fbGood && !fRest.empty() ? static_cast<unsigned char>(fRest.front()) : -1; }

    std::string_view fRest;
    bool fbGood = true;
    std::string fFirstName;
};

} // namespace MCXML_930::internal
