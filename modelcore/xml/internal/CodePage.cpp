// Text of the process's code page as UTF-8.
#include "modelcore/xml/internal/CodePage.h"

#ifdef _WIN32
#define NOMINMAX
#include <windows.h>
#else
#include <bit>
#include <cerrno>
#include <cstdlib>
#include <iconv.h>
#include <langinfo.h>
#include <locale.h>
#endif

namespace MCXML_930::internal {

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

const std::string& ProcessCodePage()
{
    static const std::string codePage = CodePageOfEnvironment();
    return codePage;
}

#ifdef _WIN32

std::string CodePageOfEnvironment()
{
    return {};
}

CodePageReader::CodePageReader(const std::string&) {}
CodePageReader::~CodePageReader() = default;

void CodePageReader::AppendAsUTF8(std::string& out, std::string_view text)
{
    constexpr std::size_t kPiece = 1u << 30; // the system counts in int
    for (std::size_t at = 0; at < text.size(); at += kPiece) {
        const std::string_view piece = text.substr(at, kPiece);
        const int length = static_cast<int>(piece.size());
        fUnits.resize(piece.size());
        const int count =
            MultiByteToWideChar(GetACP(), 0, piece.data(), length, reinterpret_cast<wchar_t*>(fUnits.data()), length);
        fUnits.resize(static_cast<std::size_t>(count > 0 ? count : 0));
        AppendUTF16(out, fUnits);
    }
}

#else

namespace {

constexpr char kUTF8[] = "UTF-8";
constexpr const char* kUTF16 = std::endian::native == std::endian::little ? "UTF-16LE" : "UTF-16BE";

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
    iconv_t converter = iconv_open(kUTF16, codePage.c_str());
    if (converter == kNoConverter) converter = iconv_open(kUTF16, kUTF8);
    if (converter != kNoConverter) fConverter = converter;
}

CodePageReader::~CodePageReader()
{
    if (fConverter != nullptr) iconv_close(static_cast<iconv_t>(fConverter));
}

void CodePageReader::AppendAsUTF8(std::string& out, std::string_view text)
{
    const auto converter = static_cast<iconv_t>(fConverter);
    if (converter == nullptr) return;
    iconv(converter, nullptr, nullptr, nullptr, nullptr);

    // A byte gives at most two units in the code pages that exist; what does not fit goes round the loop again.
    char* in = const_cast<char*>(text.data());
    std::size_t left = text.size();
    while (left > 0) {
        fUnits.resize(left + 16);
        char* unit = reinterpret_cast<char*>(fUnits.data());
        std::size_t room = fUnits.size() * sizeof(char16_t);
        const std::size_t before = left;
        const bool failed = iconv(converter, &in, &left, &unit, &room) == static_cast<std::size_t>(-1);
        const bool full = failed && errno == E2BIG && left < before;
        fUnits.resize(fUnits.size() - room / sizeof(char16_t));
        if (failed && !full && left > 0) {
            fUnits.push_back(kReplacement);
            ++in;
            --left;
            iconv(converter, nullptr, nullptr, nullptr, nullptr);
        }
        AppendUTF16(out, fUnits);
    }
}

#endif

} // namespace MCXML_930::internal
