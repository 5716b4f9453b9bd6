// JsonObject: writing JSON text.
#include "modelcore/xml/JsonObject.h"
#include "modelcore/xml/internal/JsonBlock.h"
#include "modelcore/xml/internal/JsonNumber.h"
#include "modelcore/xml/internal/JsonText.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <ostream>

namespace MCXML_930 {

using namespace internal;

/// Writes a value through a buffer of fixed size to a string or a stream. Where it is in the value stands on a list, an
/// entry for each array or object that is not yet at its end.
class JsonObject::Writer {
public:
    Writer(bool indented, NonFinite rule, std::string* text, std::ostream* stream)
        : fIndented(indented), fRule(rule), fText(text), fStream(stream), fBuffer(new char[kBufferSize]),
          fOut(fBuffer.get())
    {}

    /// False as soon as a number is not finite and the rule is Refuse.
    bool Run(const JsonObject& value);

    /// Whether a NaN or an infinity is anywhere in the value.
    static bool HasNonFinite(const JsonObject& value);

private:
    struct Place {
        const JsonObject *at, *end;
        bool isObject, onOneLine, isFirst;
    };
    static constexpr std::size_t kBufferSize = 1u << 14;
    static constexpr std::size_t kRoom = 192; // for a short name and a number with all that stands around them
    static constexpr std::size_t kDeepestIndent = 50;

    bool Value(const JsonObject& value);
    void Open(const JsonObject& container);
    void Close();
    void NewLine();
    bool Real(double value);
    void String(const JsonObject& string);
    void Quoted(std::string_view text);
    void Escape(char c);

    void Flush()
    {
        const auto size = static_cast<std::size_t>(fOut - fBuffer.get());
        if (fText != nullptr) {
            if (fText->size() + size > fText->capacity()) Foresee(fText->size() + size);
            fText->append(fBuffer.get(), size);
        } else
            fStream->write(fBuffer.get(), static_cast<std::streamsize>(size));
        fOut = fBuffer.get();
    }
    void Foresee(std::size_t written);
    /// Room for so many characters, at most kBufferSize.
    void NeedRoom(std::size_t size)
    {
        if (static_cast<std::size_t>(fBuffer.get() + kBufferSize - fOut) < size) Flush();
    }
    template <std::size_t N>
    void Put(const char (&text)[N])
    {
        std::memcpy(fOut, text, N - 1);
        fOut += N - 1;
    }

    const bool fIndented;
    const NonFinite fRule;
    std::string* const fText;
    std::ostream* const fStream;
    const std::unique_ptr<char[]> fBuffer;
    char* fOut;
    Place fPlace{}; // in the innermost array or object
    std::vector<Place> fvAround;
    const JsonObject* fOutermost = nullptr; // the first value in the outermost array or object
};

bool JsonObject::Writer::Run(const JsonObject& value)
{
    if (!Value(value)) return false;
    while (!fvAround.empty()) {
        NeedRoom(kRoom);
        if (fPlace.at == fPlace.end) {
            Close();
            continue;
        }
        if (!fPlace.isFirst) *fOut++ = ',';
        if (fIndented && !fPlace.onOneLine)
            NewLine();
        else if (fIndented && !fPlace.isFirst)
            *fOut++ = ' ';
        fPlace.isFirst = false;
        if (fPlace.isObject) {
            String(*fPlace.at++);
            *fOut++ = ':';
            if (fIndented) *fOut++ = ' ';
        }
        if (!Value(*fPlace.at++)) return false;
    }
    Flush();
    return true;
}

/// Makes room in the string for what the whole will probably take, from the part of the outermost array or object that is
/// done: else the string would be copied again and again while it grows.
void JsonObject::Writer::Foresee(std::size_t written)
{
    constexpr double kMargin = 1.05, kMost = 64.0;
    if (fvAround.empty()) return;
    const Place& outermost = fvAround.size() > 1 ? fvAround[1] : fPlace;
    const auto done = static_cast<double>(outermost.at - fOutermost);
    const double share = static_cast<double>(outermost.end - fOutermost) / std::max(done, 1.0);
    fText->reserve(static_cast<std::size_t>(static_cast<double>(written) * std::min(kMargin * share, kMost)));
}

/// Writes a scalar or the opening bracket of an array or object. There is room for it.
bool JsonObject::Writer::Value(const JsonObject& value)
{
    switch (value.fType) {
    case TypeNull: Put("null"); break;
    case TypeBool: value.fData != 0 ? Put("true") : Put("false"); break;
    case TypeInteger: fOut = WriteJsonInteger(fOut, static_cast<long long>(value.fData)); break;
    case TypeReal: return Real(std::bit_cast<double>(value.fData));
    case TypeString: String(value); break;
    default: Open(value);
    }
    return true;
}

void JsonObject::Writer::Open(const JsonObject& container)
{
    const bool isObject = container.fType == TypeObject;
    const Block* const block = container.GetBlock();
    const std::size_t size = block != nullptr ? block->count : 0;
    *fOut++ = isObject ? '{' : '[';
    if (size == 0) {
        *fOut++ = isObject ? '}' : ']';
        return;
    }
    fvAround.push_back(fPlace);
    const JsonObject* const first = block->Values();
    if (fvAround.size() == 1) fOutermost = first;
    fPlace = {first, first + (isObject ? 2 * size : size), isObject, false, true};
    if (fIndented && !isObject)
        fPlace.onOneLine =
            std::all_of(fPlace.at, fPlace.end, [](const JsonObject& element) { return element.fType < TypeString; });
}

void JsonObject::Writer::Close()
{
    const Place closed = fPlace;
    fPlace = fvAround.back();
    fvAround.pop_back();
    if (fIndented && !closed.onOneLine) NewLine();
    *fOut++ = closed.isObject ? '}' : ']';
}

/// A new line at the level of what is on the list; there is room for the next character, too. Deep levels are not
/// shown, since the text would grow with the square of the depth.
void JsonObject::Writer::NewLine()
{
    const std::size_t blanks = 2 * std::min(fvAround.size(), kDeepestIndent);
    NeedRoom(blanks + kRoom);
    *fOut++ = '\n';
    std::memset(fOut, ' ', blanks);
    fOut += blanks;
}

bool JsonObject::Writer::Real(double value)
{
    if (std::isfinite(value)) {
        fOut = WriteJsonReal(fOut, value);
        return true;
    }
    if (fRule == Refuse) return false;
    if (fRule == AsNull)
        Put("null");
    else
        Quoted(NonFiniteText(value));
    return true;
}

/// A string in place is mostly plain: then it is written as two overlapping words, whatever its length. A longer one
/// leaves room again for what stands behind a name.
void JsonObject::Writer::String(const JsonObject& string)
{
    if (string.fLength == kOnHeap || (string.fLength & kPlain) == 0) return Quoted(string.TextOfString());
    constexpr std::size_t kHead = 6;
    *fOut++ = '"';
    std::memcpy(fOut, string.InPlace(), 8);
    std::memcpy(fOut + kHead, string.InPlace() + kHead, 8);
    fOut += string.fLength & kLengthBits;
    *fOut++ = '"';
}

void JsonObject::Writer::Quoted(std::string_view text)
{
    constexpr std::size_t kPiece = 2048;
    constexpr std::size_t kLongestEscape = 6;
    NeedRoom(1);
    *fOut++ = '"';
    for (; !text.empty(); text.remove_prefix(std::min(text.size(), kPiece))) {
        NeedRoom(kLongestEscape * kPiece);
        const char* at = text.data();
        const char* const end = at + std::min(text.size(), kPiece);
        while (at != end) {
            if (end - at >= 8) {
                const std::uint64_t marks = SpecialCharacters(EightCharacters(at), true);
                std::memcpy(fOut, at, 8);
                const std::size_t plain = marks == 0 ? 8 : PlainCharacters(marks);
                at += plain;
                fOut += plain;
                if (marks == 0) continue;
            }
            const char c = *at++;
            if (IsPlain(c) || static_cast<unsigned char>(c) >= 0x80)
                *fOut++ = c;
            else
                Escape(c);
        }
    }
    NeedRoom(kRoom);
    *fOut++ = '"';
}

/// A character that must be escaped.
void JsonObject::Writer::Escape(char c)
{
    constexpr std::string_view kControls = "\b\t\n\f\r\"\\", kLetters = "btnfr\"\\";
    const auto byte = static_cast<unsigned char>(c);
    if (const std::size_t i = kControls.find(c); i != std::string_view::npos) {
        *fOut++ = '\\';
        *fOut++ = kLetters[i];
    } else {
        Put("\\u00");
        *fOut++ = static_cast<char>('0' + (byte >> 4));
        *fOut++ = "0123456789abcdef"[byte & 15];
    }
}

bool JsonObject::Writer::HasNonFinite(const JsonObject& value)
{
    std::vector<std::pair<const JsonObject*, const JsonObject*>> open{{&value, &value + 1}};
    while (!open.empty()) {
        auto& [at, end] = open.back();
        if (at == end) {
            open.pop_back();
            continue;
        }
        const JsonObject& next = *at++;
        if (next.fType == TypeReal && !std::isfinite(std::bit_cast<double>(next.fData))) return true;
        if (!next.IsContainer() || next.Size() == 0) continue;
        const JsonObject* const first = next.GetBlock()->Values();
        open.emplace_back(first, first + next.Size() * (next.fType == TypeObject ? 2 : 1));
    }
    return false;
}

bool JsonObject::ToText(std::string& text, bool indented, NonFinite rule) const
{
    std::string made;
    if (!Writer(indented, rule, &made, nullptr).Run(*this)) return false;
    text.swap(made);
    return true;
}

int JsonObject::Write(std::ostream& stream, bool indented, NonFinite rule) const
{
    if (rule == Refuse && Writer::HasNonFinite(*this)) return -1;
    Writer(indented, rule, nullptr, &stream).Run(*this);
    return 0;
}

} // namespace MCXML_930
