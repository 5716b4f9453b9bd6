// JsonObject: reading JSON text.
#include "modelcore/xml/JsonObject.h"
#include "modelcore/xml/internal/JsonBlock.h"
#include "modelcore/xml/internal/JsonNumber.h"
#include "modelcore/xml/internal/JsonText.h"
#include "modelcore/xml/internal/Utf8.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>

namespace MCXML_930 {

using namespace internal;

namespace {

bool IsBlank(char c)
{
    return c == ' ' || c == '\n' || c == '\r' || c == '\t';
}

bool IsDigit(char c)
{
    return static_cast<unsigned char>(c - '0') < 10;
}

/// The value of a hexadecimal digit, 16 for another character.
unsigned HexDigit(char c)
{
    if (IsDigit(c)) return static_cast<unsigned>(c - '0');
    const char lower = static_cast<char>(c | 0x20);
    return lower >= 'a' && lower <= 'f' ? static_cast<unsigned>(lower - 'a' + 10) : 16;
}

} // namespace

/// One pass over a text. Values that are complete stand on a stack; where an array or object begins, there stands a mark
/// that knows the mark around it. At its end the values above the mark are moved into one block of their exact number,
/// and the mark becomes the value. So no element is moved more than once, but when the stack grows.
///
/// The text ends with a closing bracket, or a zero can be read behind it: every scan stops there of itself. Only behind
/// a closing bracket and in strings must the parser look whether the text has ended.
class JsonObject::Parser {
public:
    /// @param text  its last byte is ']' or '}', or the byte behind it is a zero that can be read
    Parser(std::string_view text, const Limits& limits)
        : fBegin(text.data()), fEnd(text.data() + text.size()), fLimits(limits)
    {}
    Parser(const Parser&) = delete;
    Parser& operator=(const Parser&) = delete;
    ~Parser()
    {
        for (std::size_t i = 0; i < fTop; ++i)
            if (fStack[i].fLength != kMark) fStack[i].~JsonObject();
        ::operator delete(fStack);
    }

    bool Run(JsonObject& result)
    {
        const char* at = Values(fBegin);
        while (at != nullptr && at != fEnd && IsBlank(*at)) ++at;
        if (at != fEnd) {
            if (at != nullptr) Fail(TrailingText, at);
            return false;
        }
        result.Swap(fStack[0]);
        return true;
    }

    Code GetCode() const { return fCode; }
    std::size_t GetOffset() const { return static_cast<std::size_t>(fFault - fBegin); }

private:
    static constexpr std::size_t kNone = SIZE_MAX;
    static constexpr std::uint8_t kMark = kOnHeap - 1; // no value has this length

    /// Notes the fault; @return null, which stands for it.
    const char* Fail(Code code, const char* at)
    {
        fCode = code;
        fFault = at;
        return nullptr;
    }

    /// The next free place of the stack, now counted in. The caller fills it at once.
    JsonObject* Push()
    {
        if (fTop == fRoom) Grow();
        return fStack + fTop++;
    }
    void Grow()
    {
        const std::size_t room = fRoom == 0 ? 64 : 2 * fRoom;
        auto* const stack = static_cast<JsonObject*>(::operator new(room * sizeof(JsonObject)));
        if (fTop != 0) Make::Relocate(stack, fStack, fTop);
        ::operator delete(fStack);
        fStack = stack;
        fRoom = room;
    }

    static const char* SkipBlanks(const char* at)
    {
        while (static_cast<unsigned char>(*at) <= ' ' && IsBlank(*at)) ++at;
        return at;
    }

    // Each takes the place where a part begins and returns where the text goes on, or null for a fault.
    const char* Values(const char* at);
    const char* Open(const char* at, Type type);
    const char* Close(const char* at);
    const char* Name(const char* at);
    const char* String(const char* at);
    const char* Escape(const char* at);
    const char* FourDigits(const char* at, unsigned& unit);
    const char* Number(const char* at);
    const char* Exponent(const char* at, long long& power);
    const char* LongNumber(const char* begin, const char* end, bool large);
    const char* Word(const char* at, std::string_view word, Type type, std::uint64_t data);

    const char* ShortString(const char* at);
    const char* PlainEnd(const char* at) const;
    void PushReal(double value);
    bool CheckNames(Block& block, std::size_t begin);
    static void KeepLast(Block& block);
    const char* PlaceOfName(std::size_t object, std::size_t number) const;

    const char* const fBegin;
    const char* const fEnd;
    const Limits fLimits;
    Code fCode = ParseOk;
    const char* fFault = nullptr;

    JsonObject* fStack = nullptr;
    std::size_t fTop = 0, fRoom = 0;
    std::size_t fMark = kNone; // of the innermost array or object
    bool fbInObject = false;
    int fDepth = 0;
    std::string fUnescaped;
};

/// A string of up to 14 plain characters that ends within the next 16, as names and most texts do; its node is made of
/// the two words that were looked at. Null, and nothing done, for any other.
inline const char* JsonObject::Parser::ShortString(const char* at)
{
    const char* const run = at + 1;
    if (std::endian::native != std::endian::little || fEnd - run < 16) return nullptr;
    const auto first = [](std::uint64_t word, std::size_t count) {
        return word & ((std::uint64_t{1} << 8 * count) - 1);
    };
    std::uint64_t head = EightCharacters(run), tail = 0;
    std::uint64_t marks = SpecialCharacters(head, false);
    std::size_t size = 0;
    if (marks != 0) {
        size = PlainCharacters(marks);
        head = first(head, size);
    } else {
        tail = EightCharacters(run + 8);
        marks = SpecialCharacters(tail, false);
        size = marks != 0 ? 8 + PlainCharacters(marks) : 16;
        if (size > kInPlace) return nullptr;
        tail = first(tail, size - 8);
    }
    if (run[size] != '"') return nullptr;
    Make::PlaceString(Push(), size, head, tail);
    return run + size + 1;
}

/// A member's name and the colon.
inline const char* JsonObject::Parser::Name(const char* at)
{
    if (*at != '"') return Fail(BadSyntax, at);
    const char* end = ShortString(at);
    if (end == nullptr) end = String(at);
    if (end == nullptr) return nullptr;
    at = SkipBlanks(end);
    return *at == ':' ? at + 1 : Fail(BadSyntax, at);
}

const char* JsonObject::Parser::Values(const char* at)
{
    for (;;) {
        // A value begins here.
        at = SkipBlanks(at);
        switch (*at) {
        case '"': {
            const char* const end = ShortString(at);
            at = end != nullptr ? end : String(at);
            break;
        }
        case '{':
            at = Open(at, TypeObject);
            if (at == nullptr) return nullptr;
            at = SkipBlanks(at);
            if (*at == '}') break;
            at = Name(at);
            if (at == nullptr) return nullptr;
            continue;
        case '[':
            at = Open(at, TypeArray);
            if (at == nullptr) return nullptr;
            at = SkipBlanks(at);
            if (*at == ']') break;
            continue;
        case 't': at = Word(at, "true", TypeBool, 1); break;
        case 'f': at = Word(at, "false", TypeBool, 0); break;
        case 'n': at = Word(at, "null", TypeNull, 0); break;
        default: at = Number(at);
        }
        if (at == nullptr) return nullptr;
        // A value is complete, or an array or object is open that is empty. What ends with it is closed, too.
        for (;;) {
            if (fDepth == 0) return at;
            if (at == fEnd) return Fail(BadSyntax, at);
            at = SkipBlanks(at);
            if (*at == ',') {
                ++at;
                if (!fbInObject) break;
                at = Name(SkipBlanks(at));
                if (at == nullptr) return nullptr;
                break;
            }
            if (*at != (fbInObject ? '}' : ']')) return Fail(BadSyntax, at);
            at = Close(at);
            if (at == nullptr) return nullptr;
        }
    }
}

// Arrays and objects

/// Puts a mark: a container whose content is the place of the mark around it, and where a string has its first bytes,
/// its own place in the text.
const char* JsonObject::Parser::Open(const char* at, Type type)
{
    if (fDepth >= fLimits.maxDepth) return Fail(TooDeep, at);
    JsonObject* const mark = Push();
    Make::Scalar(mark, type, fMark);
    mark->fLength = kMark;
    const auto place = static_cast<std::uint64_t>(at - fBegin);
    for (std::size_t i = 0; i < 3; ++i) mark->fRoom[i] = static_cast<std::uint16_t>(place >> 16 * i);
    fMark = fTop - 1;
    fbInObject = type == TypeObject;
    ++fDepth;
    return at + 1;
}

const char* JsonObject::Parser::Close(const char* at)
{
    JsonObject& mark = fStack[fMark];
    const Type type = mark.GetType();
    const std::size_t around = mark.fData;
    const std::size_t begin = mark.fRoom[0] | std::size_t{mark.fRoom[1]} << 16 | std::size_t{mark.fRoom[2]} << 32;
    const std::size_t values = fTop - fMark - 1;
    Block* block = nullptr;
    if (values != 0) {
        const std::size_t width = type == TypeObject ? 2 : 1;
        Make::IndexMemory index(width == 2 ? Block::NewIndex(values / 2) : nullptr);
        block = Block::New(values);
        Make::Relocate(block->Values(), &mark + 1, values);
        block->count = values / width;
        block->index = index.release();
    }
    Make::Container(&mark, type, block);
    fTop = fMark + 1;
    fMark = around;
    if (type == TypeObject && block != nullptr && !CheckNames(*block, begin)) return nullptr;
    --fDepth;
    fbInObject = fMark != kNone && fStack[fMark].fType == TypeObject;
    return at + 1;
}

bool JsonObject::Parser::CheckNames(Block& block, std::size_t begin)
{
    // Without a table, a set of 64 bits tells mostly that a name is new without a look at those before it.
    std::uint64_t seen = 0;
    for (std::size_t i = 0; i < block.count; ++i) {
        if (block.index == nullptr) {
            const JsonObject& name = block.Values()[2 * i];
            if (name.fLength != kOnHeap) {
                const std::uint64_t words = name.fData ^ Make::Head(name);
                const std::uint64_t bit = std::uint64_t{1} << (words * 0x9E3779B97F4A7C15 >> 58);
                const bool isNew = (seen & bit) == 0;
                seen |= bit;
                if (isNew) continue;
            }
        }
        if (block.EnterOrFind(i) == i) continue;
        if (!fLimits.keepLastDuplicate) return Fail(DuplicateName, PlaceOfName(begin, i)) != nullptr;
        KeepLast(block);
        break;
    }
    return true;
}

/// The first member of each name gets the value of the last; the others go.
void JsonObject::Parser::KeepLast(Block& block)
{
    if (block.index != nullptr) block.FreeSlots();
    std::size_t kept = 0;
    for (std::size_t i = 0; i < block.count; ++i) {
        JsonObject* const member = block.Values() + 2 * kept;
        if (i != kept) Make::Relocate(member, block.Values() + 2 * i, 2);
        const std::size_t same = block.EnterOrFind(kept);
        if (same == kept) {
            ++kept;
            continue;
        }
        block.Values()[2 * same + 1].Swap(member[1]);
        member[0].~JsonObject();
        member[1].~JsonObject();
    }
    block.count = kept;
}

/// Where in the text a member's name begins. Looks for it again: nothing but a refusal asks, so names keep no places.
///
/// @param object  where the object begins; up to its end the text has no other fault
const char* JsonObject::Parser::PlaceOfName(std::size_t object, std::size_t number) const
{
    int depth = 0;
    bool isName = false;
    for (const char* at = fBegin + object;; ++at) {
        switch (*at) {
        case '{':
        case '[':
            isName = depth == 0;
            ++depth;
            break;
        case '}':
        case ']': --depth; break;
        case ',': isName = depth == 1; break;
        case '"':
            if (isName && number-- == 0) return at;
            isName = false;
            for (++at; *at != '"'; ++at) at += *at == '\\' ? 1 : 0;
            break;
        default: break;
        }
    }
}

// Strings

/// The first character that is not plain, or the end of the text.
const char* JsonObject::Parser::PlainEnd(const char* at) const
{
    for (; fEnd - at >= 8; at += 8)
        if (const std::uint64_t marks = SpecialCharacters(EightCharacters(at), false); marks != 0)
            return at + PlainCharacters(marks);
    while (at != fEnd && IsPlain(*at)) ++at;
    return at;
}

const char* JsonObject::Parser::String(const char* at)
{
    ++at;
    const char* run = at; // what comes before is in fUnescaped
    bool escapes = false;
    for (;;) {
        at = PlainEnd(at);
        if (at == fEnd) return Fail(BadSyntax, at);
        if (*at == '"') break;
        if (*at == '\\') {
            if (!escapes) fUnescaped.clear();
            escapes = true;
            fUnescaped.append(run, at);
            at = run = Escape(at);
            if (at == nullptr) return nullptr;
        } else if (static_cast<unsigned char>(*at) >= 0x80) {
            const std::size_t length = LongCharacter(at, fEnd);
            if (length == 0) return Fail(BadUTF8, at);
            at += length;
        } else {
            return Fail(BadString, at);
        }
    }
    const auto size = static_cast<std::size_t>(at - run);
    JsonObject* const string = Make::Null(Push());
    if (escapes)
        Make::String(string, fUnescaped.append(run, size));
    else
        Make::String(string, {run, size});
    return at + 1;
}

/// Appends what an escape stands for; @return what follows it, or null when it is at fault.
const char* JsonObject::Parser::Escape(const char* at)
{
    const char* const backslash = at++;
    if (at == fEnd) return Fail(BadSyntax, at);
    char c = *at++;
    switch (c) {
    case '"':
    case '\\':
    case '/': break;
    case 'b': c = '\b'; break;
    case 'f': c = '\f'; break;
    case 'n': c = '\n'; break;
    case 'r': c = '\r'; break;
    case 't': c = '\t'; break;
    case 'u': {
        unsigned unit = 0;
        at = FourDigits(at, unit);
        if (at == nullptr) return nullptr;
        std::uint32_t point = unit;
        if (unit >= 0xDC00 && unit < 0xE000) return Fail(BadString, backslash);
        if (unit >= 0xD800 && unit < 0xDC00) {
            if (fEnd - at < 2 || at[0] != '\\' || at[1] != 'u') return Fail(BadString, backslash);
            at = FourDigits(at + 2, unit);
            if (at == nullptr) return nullptr;
            if (unit < 0xDC00 || unit >= 0xE000) return Fail(BadString, backslash);
            point = 0x10000 + ((point - 0xD800) << 10) + (unit - 0xDC00);
        }
        AppendCodePoint(fUnescaped, point);
        return at;
    }
    default: return Fail(BadString, at - 1);
    }
    fUnescaped.push_back(c);
    return at;
}

const char* JsonObject::Parser::FourDigits(const char* at, unsigned& unit)
{
    unit = 0;
    for (int i = 0; i < 4; ++i, ++at) {
        const unsigned digit = at == fEnd ? 16 : HexDigit(*at);
        if (digit == 16) return Fail(at == fEnd ? BadSyntax : BadString, at);
        unit = unit << 4 | digit;
    }
    return at;
}

// Numbers and words

const char* JsonObject::Parser::Number(const char* at)
{
    const char* const begin = at;
    const bool negative = *at == '-';
    at += negative ? 1 : 0;
    if (!IsDigit(*at)) return Fail(negative ? BadNumber : BadSyntax, at);
    const char* const first = at;
    // All digits as one number. It is wrong when there are more than 19 of them behind leading zeros.
    auto digits = static_cast<std::uint64_t>(*at++ - '0');
    if (digits == 0 && IsDigit(*at)) return Fail(BadNumber, at);
    for (; IsDigit(*at); ++at) digits = 10 * digits + static_cast<std::uint64_t>(*at - '0');
    std::ptrdiff_t count = at - first;

    const bool isInteger = *at != '.' && (*at | 0x20) != 'e';
    long long power = 0;
    if (*at == '.') {
        const char* const fraction = ++at;
        for (; fEnd - at >= 8; at += 8) {
            const std::uint64_t text = EightCharacters(at);
            if (!AreEightDigits(text)) break;
            digits = 100'000'000 * digits + ValueOfEight(text);
        }
        for (; IsDigit(*at); ++at) digits = 10 * digits + static_cast<std::uint64_t>(*at - '0');
        if (at == fraction) return Fail(BadNumber, at);
        power = fraction - at;
        count += at - fraction;
    }
    if ((*at | 0x20) == 'e') {
        at = Exponent(at + 1, power);
        if (at == nullptr) return nullptr;
    }
    if (count > 19)
        for (const char* zero = first; (*zero == '0' || *zero == '.') && zero != at; ++zero)
            count -= *zero == '0' ? 1 : 0;

    const bool exact = count <= 19;
    constexpr auto kLargest = static_cast<std::uint64_t>(std::numeric_limits<long long>::max());
    if (isInteger && exact && digits <= kLargest + (negative ? 1 : 0) && !(negative && digits == 0)) {
        Make::Scalar(Push(), TypeInteger, negative ? 0 - digits : digits);
        return at;
    }
    constexpr long long kFar = 100000;
    double value = 0.0;
    if (!exact || !NearestDouble(digits, static_cast<int>(std::clamp(power, -kFar, kFar)), value))
        return LongNumber(begin, at, power + count > 0);
    PushReal(negative ? -value : value);
    return at;
}

/// Adds the exponent behind an 'e' to the power; one that no double and no text reaches stays what it is, too.
const char* JsonObject::Parser::Exponent(const char* at, long long& power)
{
    const bool negative = *at == '-';
    if (negative || *at == '+') ++at;
    if (!IsDigit(*at)) return Fail(BadNumber, at);
    constexpr long long kEnough = 1'000'000'000'000'000;
    long long exponent = 0;
    for (; IsDigit(*at); ++at)
        if (exponent < kEnough) exponent = 10 * exponent + (*at - '0');
    power += negative ? -exponent : exponent;
    return at;
}

/// A number that takes more than 64 bits or one product to decide.
///
/// @param large  whether it is large rather than small when no double is near it
const char* JsonObject::Parser::LongNumber(const char* begin, const char* end, bool large)
{
    double value = 0.0;
    if (std::from_chars(begin, end, value).ec != std::errc()) {
        if (large) return Fail(BadNumber, begin);
        value = *begin == '-' ? -0.0 : 0.0;
    }
    PushReal(value);
    return end;
}

void JsonObject::Parser::PushReal(double value)
{
    ::new (static_cast<void*>(Push())) JsonObject(value);
}

const char* JsonObject::Parser::Word(const char* at, std::string_view word, Type type, std::uint64_t data)
{
    for (const char c : word)
        if (*at++ != c) return Fail(BadSyntax, at - 1);
    Make::Scalar(Push(), type, data);
    return at;
}

// The interface

std::string JsonObject::Problem::GetText() const
{
    constexpr std::array<const char*, 8> kTexts{
        "no fault",
        "this cannot stand here",
        "not a number, or one that is too large",
        "a control character, an unknown escape or half of a surrogate pair in a string",
        "bytes that are not UTF-8",
        "the object has this name already",
        "too many arrays and objects within each other",
        "text behind the value",
    };
    if (code == ParseOk) return kTexts[0];
    return "line " + std::to_string(line) + ", column " + std::to_string(column) + ": " +
           kTexts[static_cast<std::size_t>(code)];
}

bool JsonObject::Parse(std::string_view utf8, JsonObject& result, Problem* problem)
{
    return Parse(utf8, result, problem, Limits());
}

bool JsonObject::Parse(std::string_view utf8, JsonObject& result, Problem* problem, const Limits& limits)
{
    Problem fault;
    const auto run = [&](std::string_view text) {
        Parser parser(text, limits);
        if (parser.Run(result)) return true;
        fault.code = parser.GetCode();
        fault.offset = parser.GetOffset();
        return false;
    };
    const std::size_t last = utf8.find_last_not_of(" \n\r\t");
    bool done = false, decided = false;
    if (last != std::string_view::npos && (utf8[last] == ']' || utf8[last] == '}')) {
        done = run(utf8.substr(0, last + 1));
        // A text that is cut short was not yet seen to its end.
        decided = done || fault.offset <= last;
    }
    if (!decided) done = run(std::string(utf8));

    if (problem == nullptr) return done;
    *problem = Problem();
    if (done) return true;
    *problem = fault;
    problem->line = problem->column = 1;
    for (std::size_t i = 0; i < fault.offset; ++i) {
        const char c = utf8[i];
        const bool endsLine = c == '\n' || (c == '\r' && !(i + 1 < utf8.size() && utf8[i + 1] == '\n'));
        if (endsLine) {
            ++problem->line;
            problem->column = 1;
        } else if ((static_cast<unsigned char>(c) & 0xC0) != 0x80) {
            ++problem->column;
        }
    }
    return false;
}

} // namespace MCXML_930
