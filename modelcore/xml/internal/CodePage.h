// Text of the process's code page as UTF-8.
#pragma once

#include "modelcore/modelcore_export.h"

#include <string>
#include <string_view>

namespace MCXML_930::internal {

/// The code page of the process's strings: "" on Windows, where the system knows it, elsewhere the name of the
/// character set of the locale that the environment asks for. Settled at the first call.
MODELCORE_EXPORT const std::string& ProcessCodePage();

/// The name of the character set that a locale named by the environment stands for. A locale that is not installed is
/// taken at its word: "de_DE.ISO-8859-1" names ISO-8859-1. Without any such word, and for C and POSIX, UTF-8.
MODELCORE_EXPORT std::string CodePageOfEnvironment();

/// Converts one code page to UTF-8. One object is used by one thread.
class MODELCORE_EXPORT CodePageReader {
public:
    /// A code page that the platform does not know is read as UTF-8.
    explicit CodePageReader(const std::string& codePage);
    ~CodePageReader();
    CodePageReader(const CodePageReader&) = delete;
    CodePageReader& operator=(const CodePageReader&) = delete;

    /// Appends text as UTF-8. Each byte that does not convert becomes U+FFFD.
    void AppendAsUTF8(std::string& out, std::string_view text);

private:
    void* fConverter = nullptr;
    std::u16string fUnits;
};

} // namespace MCXML_930::internal
