// Text of the process's code page as UTF-8.
#pragma once

#include "modelcore/common/internal/InternalExport.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace MCXML_930::internal {

/// The code page of the process's strings: "" on Windows, where the system knows it, elsewhere the name of the
/// character set of the locale that the environment asks for. Settled at the first call.
MODELCORE_INTERNAL_EXPORT const std::string& ProcessCodePage();

/// The name of the character set that a locale named by the environment stands for. A locale that is not installed is
/// taken at its word: "de_DE.ISO-8859-1" names ISO-8859-1. Without any such word, and for C and POSIX, UTF-8.
MODELCORE_INTERNAL_EXPORT std::string CodePageOfEnvironment();

/// Reads one code page. One object is used by one thread.
class MODELCORE_INTERNAL_EXPORT CodePageReader {
public:
    /// A code page that the platform does not know, or has no converter for, is read as UTF-8. UTF-8 itself needs no
    /// converter of the platform.
    explicit CodePageReader(const std::string& codePage);
    ~CodePageReader();
    CodePageReader(const CodePageReader&) = delete;
    CodePageReader& operator=(const CodePageReader&) = delete;

    /// Appends text as UTF-8. Each byte that does not convert becomes U+FFFD. Takes time linear in the length.
    void AppendAsUTF8(std::string& out, std::string_view text);

    /// The bytes of the character that text, which is not empty, begins with; 1 for a byte that does not convert.
    std::size_t CharacterLength(std::string_view text);

    /// Whether all ASCII bytes stand for themselves. Shift-JIS may have the sign of the yen in the place of a backslash.
    bool KeepsASCII();

private:
    void* fConverter = nullptr; // null: UTF-8 on our own
};

/// KeepsASCII of the process's code page, settled at the first call.
MODELCORE_INTERNAL_EXPORT bool ProcessCodePageKeepsASCII();

} // namespace MCXML_930::internal
