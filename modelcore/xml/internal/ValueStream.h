// The words that writers and readers of the flat value stream share.
#pragma once

#include <string>
#include <string_view>

namespace MCXML_930::internal {

inline constexpr char kRootName[] = "MCXMLRoot";
inline constexpr char kCopyright[] = "copyright";
inline constexpr char kItemName[] = "item";
inline constexpr char kTypeAttribute[] = "type";
inline constexpr char kValueAttribute[] = "value";
inline constexpr char kDoubleType[] = "Double";
inline constexpr char kStringType[] = "String";
inline constexpr std::string_view kTrue = "true";
inline constexpr std::string_view kFalse = "false";
inline constexpr std::string_view kMissingReal = "Missing";
inline constexpr std::string_view kInfinity = "Infinity";
inline constexpr std::string_view kMinusInfinity = "-Infinity";
inline constexpr std::string_view kNaN = "NaN(";

/// The text of a string between the quotes of an attribute: printable ASCII that AppendDecoded turns back.
void AppendEncoded(std::string& out, std::string_view bytes);

/// Appends the bytes that a text of AppendEncoded stands for; false when it is none.
bool AppendDecoded(std::string& out, std::string_view text);

} // namespace MCXML_930::internal
