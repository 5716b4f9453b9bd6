// Readers of the flat value stream.
#include "modelcore/xml/XMLValueStream.h"

#include "modelcore/common/MCMV.h"
#include "modelcore/xml/internal/StateTokens.h"
#include "modelcore/xml/internal/ValueStream.h"

#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <fstream>
#include <limits>
#include <string_view>
#include <type_traits>
#include <utility>

namespace MCXML_930 {

namespace {

// Longer tokens are never written, so that damage in a large file is noticed before much of it is read.
constexpr std::size_t kLongestWord = 1024;
constexpr std::size_t kLongestNumber = 32;
constexpr std::size_t kLongestProlog = std::size_t{1} << 20;
constexpr std::size_t kLongestString = std::size_t{1} << 30;

bool IsSpace(int c)
{
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}
bool IsMarkup(int c)
{
    return c == '<' || c == '>' || c == '=' || c == '"';
}

/// Reads tokens from the stream's buffer. The first fault makes every later step fail.
class Scanner {
public:
    explicit Scanner(std::ifstream& is) : fStream(is), fGood(is.good()) {}

    bool Good() const { return fGood; }

    /// Skips spaces and takes c, which must be there.
    bool Take(char c)
    {
        SkipSpaces();
        if (Peek() != c) return Fail();
        Next();
        return fGood;
    }
    /// Skips spaces and takes c if it is there.
    bool TakeIf(char c)
    {
        SkipSpaces();
        if (!fGood || Peek() != c) return false;
        Next();
        return true;
    }
    /// A run of characters that are neither spaces nor markup nor a slash, at least one.
    std::string Word()
    {
        SkipSpaces();
        std::string word;
        while (fGood && !IsSpace(Peek()) && !IsMarkup(Peek()) && Peek() != '/') {
            if (word.size() == kLongestWord) Fail();
            word += static_cast<char>(Next());
        }
        if (word.empty()) Fail();
        return word;
    }
    /// What follows the bracket of a tag.
    std::string TagName() { return Take('<') ? Word() : std::string(); }

    /// The text between an equals sign with a quote and the next quote.
    std::string Quoted(std::size_t longest)
    {
        std::string text;
        if (!Take('=') || !Take('"')) return text;
        while (fGood && Peek() != '"') {
            // A reader that lost its place stops at the next tag or line.
            if (text.size() == longest || Peek() == '<' || Peek() == '\n') Fail();
            text += static_cast<char>(Next());
        }
        Next();
        return text;
    }
    /// Skips the rest of a declaration or document type.
    void SkipDeclaration()
    {
        int quote = 0;
        bool inBrackets = false;
        for (std::size_t length = 0; fGood; ++length) {
            if (length == kLongestProlog) Fail();
            const int c = Next();
            if (quote != 0) {
                if (c == quote) quote = 0;
            } else if (c == '"' || c == '\'') {
                quote = c;
            } else if (c == '[') {
                inBrackets = true;
            } else if (c == ']') {
                inBrackets = false;
            } else if (c == '>' && !inBrackets) {
                return;
            }
        }
    }

private:
    bool Fail()
    {
        fGood = false;
        return false;
    }
    int Peek()
    {
        // The end of the stream is below 0x20 too.
        const int c = fGood ? fStream.rdbuf()->sgetc() : std::char_traits<char>::eof();
        if (c < 0x20 && !IsSpace(c)) Fail();
        return c;
    }
    int Next()
    {
        const int c = Peek();
        if (fGood) fStream.rdbuf()->sbumpc();
        return c;
    }
    void SkipSpaces()
    {
        while (fGood && IsSpace(Peek())) Next();
    }

    std::ifstream& fStream;
    bool fGood;
};

/// Reads one item and hands its text to convert when the type is the wanted one.
template <class Convert>
bool ParseItem(std::ifstream& is, std::string_view wantedType, std::size_t longest, Convert convert)
{
    Scanner scan(is);
    if (scan.TagName() != internal::kItemName) return false;
    std::string type, value;
    bool hasType = false, hasValue = false;
    while (scan.Good() && !scan.TakeIf('/')) {
        const std::string attribute = scan.Word();
        if (attribute == internal::kTypeAttribute && !hasType) {
            hasType = true;
            type = scan.Quoted(kLongestWord);
        } else if (attribute == internal::kValueAttribute && !hasValue) {
            hasValue = true;
            value = scan.Quoted(longest);
        } else {
            return false;
        }
    }
    return scan.Take('>') && hasValue && type == wantedType && convert(std::string_view(value));
}

/// Converts the whole text or nothing.
template <class Number, class... Base>
bool Convert(std::string_view text, Number& number, Base... base)
{
    Number result{};
    const char* const end = text.data() + text.size();
    const auto [stop, fault] = std::from_chars(text.data(), end, result, base...);
    if (fault != std::errc() || stop != end) return false;
    number = result;
    return true;
}

bool ConvertReal(std::string_view text, double& number)
{
    constexpr double infinity = std::numeric_limits<double>::infinity();
    if (text == internal::kMissingReal) {
        number = MCCommon_930::MCMV::Missing();
    } else if (text == internal::kInfinity) {
        number = infinity;
    } else if (text == internal::kMinusInfinity) {
        number = -infinity;
    } else if (text.starts_with(internal::kNaN)) {
        std::uint64_t bits = 0;
        if (!text.ends_with(")")) return false;
        text.remove_prefix(internal::kNaN.size());
        text.remove_suffix(1);
        if (!Convert(text, bits, 16) || !std::isnan(std::bit_cast<double>(bits))) return false;
        number = std::bit_cast<double>(bits);
    } else {
        double result = 0.0;
        if (!Convert(text, result) || !std::isfinite(result)) return false; // the words of from_chars are not ours
        number = result;
    }
    return true;
}

template <class Integer>
bool ParseInteger(std::ifstream& is, Integer& value)
{
    if (internal::TokenSource* const source = internal::TokenSource::Of(is)) {
        bool isNegative = false;
        std::uint64_t magnitude = 0;
        if (!source->TakeInteger(isNegative, magnitude) || !std::in_range<Integer>(magnitude)) return false;
        if (isNegative && std::is_unsigned_v<Integer>) return false;
        value = isNegative ? static_cast<Integer>(~static_cast<Integer>(magnitude)) : static_cast<Integer>(magnitude);
        return true;
    }
    return ParseItem(is, "", kLongestNumber, [&value](std::string_view text) { return Convert(text, value); });
}

} // namespace

bool ParseStartXML(std::ifstream& is)
{
    Scanner scan(is);
    std::string word = scan.TagName();
    for (const char* const prolog : {"?xml", "!DOCTYPE"}) {
        if (word != prolog) continue;
        scan.SkipDeclaration();
        word = scan.TagName();
    }
    if (word != internal::kRootName) return false;
    while (scan.Good() && !scan.TakeIf('>')) {
        std::string text;
        scan.Word();
        if (!internal::AppendDecoded(text, scan.Quoted(kLongestString))) return false;
    }
    return scan.Good();
}

bool ParseStartObj(std::ifstream& is, const std::string& name)
{
    if (internal::TokenSource* const source = internal::TokenSource::Of(is)) return source->TakeStart(name);
    Scanner scan(is);
    return scan.TagName() == name && scan.Take('>');
}

bool ParseEndObj(std::ifstream& is)
{
    if (internal::TokenSource* const source = internal::TokenSource::Of(is)) return source->Take(internal::Token::End);
    Scanner scan(is);
    if (!scan.Take('<') || !scan.Take('/')) return false;
    scan.Word();
    return scan.Good() && scan.Take('>');
}

bool ParseValue(std::ifstream& is, int& value)
{
    return ParseInteger(is, value);
}

bool ParseValue(std::ifstream& is, unsigned int& value)
{
    return ParseInteger(is, value);
}

bool ParseValue(std::ifstream& is, long& value)
{
    return ParseInteger(is, value);
}

bool ParseValue(std::ifstream& is, unsigned long& value)
{
    return ParseInteger(is, value);
}

bool ParseValue(std::ifstream& is, long long& value)
{
    return ParseInteger(is, value);
}

bool ParseValue(std::ifstream& is, unsigned long long& value)
{
    return ParseInteger(is, value);
}

bool ParseValue(std::ifstream& is, bool& value)
{
    if (internal::TokenSource* const source = internal::TokenSource::Of(is)) return source->TakeBool(value);
    return ParseItem(is, "", kLongestNumber, [&value](std::string_view text) {
        if (text != internal::kTrue && text != internal::kFalse) return false;
        value = text == internal::kTrue;
        return true;
    });
}

bool ParseValue(std::ifstream& is, double& value)
{
    if (internal::TokenSource* const source = internal::TokenSource::Of(is)) return source->TakeReal(value);
    return ParseItem(is, internal::kDoubleType, kLongestNumber,
                     [&value](std::string_view text) { return ConvertReal(text, value); });
}

bool ParseValue(std::ifstream& is, std::string& value)
{
    if (internal::TokenSource* const source = internal::TokenSource::Of(is))
        return source->TakeText(internal::Token::Text, value);
    return ParseItem(is, internal::kStringType, kLongestString, [&value](std::string_view text) {
        std::string decoded;
        if (!internal::AppendDecoded(decoded, text)) return false;
        value.swap(decoded);
        return true;
    });
}

} // namespace MCXML_930
