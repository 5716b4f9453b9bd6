// Text of the process's code page as UTF-8.
#include "modelcore/xml/internal/CodePage.h"

#include <algorithm>

#ifdef _WIN32
#include <windows.h>
#else
#include <cerrno>
#include <cstdlib>
#include <iconv.h>
#include <langinfo.h>
#include <locale.h>
#endif

namespace MCXML_930::internal {

const std::string& ProcessCodePage()
{
    static const std::string codePage = CodePageOfEnvironment();
    return codePage;
}

bool ProcessCodePageKeepsASCII()
{
    static const bool keeps = CodePageReader(ProcessCodePage()).KeepsASCII();
    return keeps;
}

bool CodePageReader::KeepsASCII()
{
    std::string all, converted;
    for (int c = 0; c < 128; ++c) all += static_cast<char>(c);
    AppendAsUTF8(converted, all);
    return converted == all;
}

#ifdef _WIN32

namespace {

constexpr char16_t kReplacement = 0xFFFD;

bool IsHighSurrogate(char16_t unit)
{
    return unit >= 0xD800 && unit <= 0xDBFF;
}
bool IsLowSurrogate(char16_t unit)
{
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

void AppendUTF16(std::string& out, const std::u16string& units)
{
    const auto put = [&out](unsigned byte) { out.push_back(static_cast<char>(byte)); };
    const auto trail = [&put](unsigned bits) { put(0x80u | (bits & 0x3Fu)); };
    for (std::size_t i = 0; i < units.size(); ++i) {
        unsigned unit = units[i];
        if (unit < 0x80) {
            put(unit);
        } else if (unit < 0x800) {
            put(0xC0u | (unit >> 6));
            trail(unit);
        } else if (IsHighSurrogate(units[i]) && i + 1 < units.size() && IsLowSurrogate(units[i + 1])) {
            const unsigned point = 0x10000u + ((unit - 0xD800u) << 10) + (units[i + 1] - 0xDC00u);
            put(0xF0u | (point >> 18));
            trail(point >> 12);
            trail(point >> 6);
            trail(point);
            ++i;
        } else {
            if (unit >= 0xD800 && unit <= 0xDFFF) unit = kReplacement;
            put(0xE0u | (unit >> 12));
            trail(unit >> 6);
            trail(unit);
        }
    }
}

} // namespace

std::string CodePageOfEnvironment()
{
    return {};
}

CodePageReader::CodePageReader(const std::string&) {}
CodePageReader::~CodePageReader() = default;

void CodePageReader::AppendAsUTF8(std::string& out, std::string_view text)
{
    constexpr std::size_t kPiece = 1u << 30; // the system counts in int
    std::u16string units;
    for (std::size_t at = 0; at < text.size(); at += kPiece) {
        const std::string_view piece = text.substr(at, kPiece);
        const int length = static_cast<int>(piece.size());
        units.resize(piece.size());
        const int count =
            MultiByteToWideChar(GetACP(), 0, piece.data(), length, reinterpret_cast<wchar_t*>(units.data()), length);
        units.resize(static_cast<std::size_t>(count > 0 ? count : 0));
        AppendUTF16(out, units);
    }
}

std::size_t CodePageReader::CharacterLength(std::string_view text)
{
    return text.size() > 1 && IsDBCSLeadByte(static_cast<BYTE>(text[0])) != 0 ? 2 : 1;
}

#else

namespace {

constexpr char kUTF8[] = "UTF-8";
constexpr char kReplacement[] = "\xEF\xBF\xBD"; // U+FFFD

const iconv_t kNoConverter = reinterpret_cast<iconv_t>(-1);

/// The value of the first of the variables that is set and not empty: that is how the C runtime ranks them.
std::string LocaleOfEnvironment()
{
    for (const char* const name : {"LC_ALL", "LC_CTYPE", "LANG"}) {
        const char* const value = std::getenv(name);
        if (value != nullptr && *value != '\0') return value;
    }
    return "C";
}

/// The bytes of the UTF-8 character that text begins with, 0 when it begins with none. The limits of the second byte
/// keep out overlong forms, surrogates and what is beyond U+10FFFF (RFC 3629).
std::size_t UTF8Length(std::string_view text)
{
    const auto within = [text](std::size_t i, unsigned char low, unsigned char high) {
        return i < text.size() && static_cast<unsigned char>(text[i]) >= low &&
               static_cast<unsigned char>(text[i]) <= high;
    };
    if (within(0, 0x00, 0x7F)) return 1;
    if (within(0, 0xC2, 0xDF)) return within(1, 0x80, 0xBF) ? 2 : 0;
    if (within(0, 0xE0, 0xEF)) {
        const bool second = within(1, text[0] == '\xE0' ? 0xA0 : 0x80, text[0] == '\xED' ? 0x9F : 0xBF);
        return second && within(2, 0x80, 0xBF) ? 3 : 0;
    }
    if (!within(0, 0xF0, 0xF4)) return 0;
    const bool second = within(1, text[0] == '\xF0' ? 0x90 : 0x80, text[0] == '\xF4' ? 0x8F : 0xBF);
    return second && within(2, 0x80, 0xBF) && within(3, 0x80, 0xBF) ? 4 : 0;
}

void AppendValidUTF8(std::string& out, std::string_view text)
{
    std::size_t copied = 0;
    for (std::size_t i = 0; i < text.size();) {
        const std::size_t length = UTF8Length(text.substr(i));
        if (length == 0) {
            out.append(text.substr(copied, i - copied)).append(kReplacement);
            copied = i + 1;
        }
        i += std::max<std::size_t>(length, 1);
    }
    out.append(text.substr(copied));
}

} // namespace

std::string CodePageOfEnvironment()
{
    const std::string name = LocaleOfEnvironment();
    if (name == "C" || name == "POSIX") return kUTF8;
    if (const locale_t locale = newlocale(LC_CTYPE_MASK, name.c_str(), nullptr); locale != nullptr) {
        const std::string codePage = nl_langinfo_l(CODESET, locale);
        freelocale(locale);
        return codePage.empty() ? kUTF8 : codePage;
    }
    const std::size_t dot = name.find('.');
    if (dot == std::string::npos) return kUTF8;
    const std::string codePage = name.substr(dot + 1, name.find('@', dot) - dot - 1);
    return codePage.empty() ? kUTF8 : codePage;
}

CodePageReader::CodePageReader(const std::string& codePage)
{
    // Systems without the C runtime's converters, minimal images among them, still write UTF-8.
    if (codePage == kUTF8) return;
    const iconv_t converter = iconv_open(kUTF8, codePage.c_str());
    if (converter != kNoConverter) fConverter = converter;
}

CodePageReader::~CodePageReader()
{
    if (fConverter != nullptr) iconv_close(static_cast<iconv_t>(fConverter));
}

void CodePageReader::AppendAsUTF8(std::string& out, std::string_view text)
{
    const auto converter = static_cast<iconv_t>(fConverter);
    if (converter == nullptr) return AppendValidUTF8(out, text);
    iconv(converter, nullptr, nullptr, nullptr, nullptr);

    // Piece by piece, so that a bad byte costs no more than a good one. Pieces of the input too: a sanitizer looks at all
    // of it in each call. Returns 0, or errno.
    constexpr std::size_t kPiece = 4096;
    const auto convert = [&out, converter](char** in, std::size_t* left) {
        char piece[kPiece];
        char* to = piece;
        std::size_t room = sizeof piece;
        const int fault = iconv(converter, in, left, &to, &room) == static_cast<std::size_t>(-1) ? errno : 0;
        out.append(piece, to);
        return fault;
    };
    char* in = const_cast<char*>(text.data());
    std::size_t left = text.size();
    while (left > 0) {
        const std::size_t given = std::min(left, kPiece);
        std::size_t rest = given;
        const int fault = convert(&in, &rest);
        const bool isCut = fault == EINVAL && given < left && rest < given; // a character across the end of the piece
        left -= given - rest;
        if (fault == 0 || fault == E2BIG || isCut) continue;
        convert(nullptr, nullptr); // what the converter holds back stands before the bad byte
        out.append(kReplacement);
        ++in;
        --left;
    }
    // Where accents follow their letter, as in CP1258, the last letter is held back until the text ends.
    convert(nullptr, nullptr);
}

std::size_t CodePageReader::CharacterLength(std::string_view text)
{
    const auto converter = static_cast<iconv_t>(fConverter);
    if (converter == nullptr) return std::max<std::size_t>(UTF8Length(text), 1);
    constexpr std::size_t kLongest = 4;
    for (std::size_t length = 1; length <= std::min(kLongest, text.size()); ++length) {
        char* in = const_cast<char*>(text.data());
        std::size_t left = length;
        char piece[64];
        char* to = piece;
        std::size_t room = sizeof piece;
        iconv(converter, nullptr, nullptr, nullptr, nullptr);
        if (iconv(converter, &in, &left, &to, &room) != static_cast<std::size_t>(-1)) return length;
        if (errno != EINVAL) return 1; // EINVAL: the character has more bytes
    }
    return 1;
}

#endif

} // namespace MCXML_930::internal
