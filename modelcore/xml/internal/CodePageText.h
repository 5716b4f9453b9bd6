// Text between the process's code page and UTF-8, whole or not at all.
#pragma once

#include "modelcore/modelcore_export.h"

#include <memory>
#include <string>
#include <string_view>

namespace MCXML_930::internal {

/// Converts strings between a code page and UTF-8 and says when it cannot. Where the code page is UTF-8, texts are only
/// checked. One object is used by one thread.
class MODELCORE_EXPORT CodePageText {
public:
    /// @param codePage  as ProcessCodePage names it; one that the platform does not know is taken for UTF-8
    explicit CodePageText(const std::string& codePage);
    ~CodePageText();
    CodePageText(const CodePageText&) = delete;
    CodePageText& operator=(const CodePageText&) = delete;

    /// False, and out is unchanged, when a byte is no character of the code page.
    bool ToUTF8(std::string_view text, std::string& out);
    /// False, and out is unchanged, when the text is not UTF-8 or the code page lacks a character.
    bool FromUTF8(std::string_view utf8, std::string& out);

private:
    class Platform;
    std::unique_ptr<Platform> fPlatform; // null: UTF-8
};

} // namespace MCXML_930::internal
