// Text between the process's code page and UTF-8, whole or not at all.
#include "modelcore/xml/internal/CodePageText.h"

#include "modelcore/xml/JsonObject.h"

#include <algorithm>
#include <limits>

#ifdef _WIN32
#include <windows.h>
#else
#include <cerrno>
#include <iconv.h>
#endif

namespace MCXML_930::internal {

#ifdef _WIN32

class CodePageText::Platform {
public:
    static std::unique_ptr<Platform> For(const std::string&)
    {
        return GetACP() == CP_UTF8 ? nullptr : std::make_unique<Platform>();
    }
    bool ToUTF8(std::string_view text, std::string& out) { return Convert(GetACP(), CP_UTF8, text, out); }
    bool FromUTF8(std::string_view text, std::string& out) { return Convert(CP_UTF8, GetACP(), text, out); }

private:
    static bool Convert(UINT from, UINT to, std::string_view text, std::string& out)
    {
        if (text.size() > std::numeric_limits<int>::max() / 4) return false; // the system counts in int
        const int length = static_cast<int>(text.size());
        std::wstring units(text.size(), L'\0');
        const int count = MultiByteToWideChar(from, MB_ERR_INVALID_CHARS, text.data(), length, units.data(), length);
        if (count == 0 && length > 0) return false;
        std::string made(4 * text.size(), '\0');
        BOOL lacked = FALSE; // must be null for UTF-8
        const int size =
            WideCharToMultiByte(to, to == CP_UTF8 ? 0 : WC_NO_BEST_FIT_CHARS, units.data(), count, made.data(),
                                static_cast<int>(made.size()), nullptr, to == CP_UTF8 ? nullptr : &lacked);
        if (lacked || (size == 0 && count > 0)) return false;
        made.resize(static_cast<std::size_t>(size));
        out.swap(made);
        return true;
    }
};

#else

class CodePageText::Platform {
public:
    static std::unique_ptr<Platform> For(const std::string& codePage)
    {
        if (codePage == kUTF8) return nullptr;
        auto made = std::make_unique<Platform>();
        made->fTo = iconv_open(kUTF8, codePage.c_str());
        made->fFrom = iconv_open(codePage.c_str(), kUTF8);
        return made->fTo != None() && made->fFrom != None() ? std::move(made) : nullptr;
    }
    Platform() = default;
    Platform(const Platform&) = delete;
    Platform& operator=(const Platform&) = delete;
    ~Platform()
    {
        for (const iconv_t converter : {fTo, fFrom})
            if (converter != None()) iconv_close(converter);
    }
    bool ToUTF8(std::string_view text, std::string& out) const { return Convert(fTo, text, out); }
    bool FromUTF8(std::string_view text, std::string& out) const { return Convert(fFrom, text, out); }

private:
    static constexpr char kUTF8[] = "UTF-8";
    static iconv_t None() { return reinterpret_cast<iconv_t>(-1); }

    static bool Convert(iconv_t converter, std::string_view text, std::string& out)
    {
        iconv(converter, nullptr, nullptr, nullptr, nullptr);
        std::string made;
        char* in = const_cast<char*>(text.data());
        std::size_t left = text.size();
        // Twice: what a code page with shift states keeps back comes with the second call.
        for (bool finish = false;;) {
            char piece[1024];
            char* at = piece;
            std::size_t room = sizeof piece;
            const std::size_t result =
                finish ? iconv(converter, nullptr, nullptr, &at, &room) : iconv(converter, &in, &left, &at, &room);
            made.append(piece, at);
            if (result == static_cast<std::size_t>(-1)) {
                if (errno != E2BIG) return false;
            } else if (result != 0 || finish) {
                if (result != 0) return false; // characters were replaced by others
                break;
            } else {
                finish = true;
            }
        }
        out.swap(made);
        return true;
    }

    iconv_t fTo = None(), fFrom = None();
};

#endif

CodePageText::CodePageText(const std::string& codePage) : fPlatform(Platform::For(codePage)) {}

CodePageText::~CodePageText() = default;

bool CodePageText::ToUTF8(std::string_view text, std::string& out)
{
    if (fPlatform != nullptr && !std::all_of(text.begin(), text.end(), [](char c) { return c > 0; }))
        return fPlatform->ToUTF8(text, out);
    if (!JsonObject::IsUTF8(text)) return false;
    out = text;
    return true;
}

bool CodePageText::FromUTF8(std::string_view utf8, std::string& out)
{
    if (!JsonObject::IsUTF8(utf8)) return false;
    if (fPlatform != nullptr) return fPlatform->FromUTF8(utf8, out);
    out = utf8;
    return true;
}

} // namespace MCXML_930::internal
