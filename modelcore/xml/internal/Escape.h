// Character references in attribute values and texts.
#pragma once

#include <string>
#include <string_view>

namespace MCXML_930::internal {

/// True when no byte is above 127.
bool IsASCII(std::string_view text);

/// True when the value is ASCII and AppendEscapedValue would not change it.
bool IsPlainValue(std::string_view value);
/// True when the text is ASCII and AppendEscapedText would not change it.
bool IsPlainText(std::string_view text);

/// Appends an attribute value: see XMLUtil::Escape.
void AppendEscapedValue(std::string& out, std::string_view value);
/// Appends a text with & and < as references.
void AppendEscapedText(std::string& out, std::string_view text);

} // namespace MCXML_930::internal
