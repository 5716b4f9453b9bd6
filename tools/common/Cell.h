// The text of one field.
#pragma once

#include <string>
#include <string_view>

namespace procedure {

enum class Cell { Missing, Number, Text, OutOfRange };

/// Reads a field as a number with a point as the decimal sign, whatever the locale, or with a comma. Nothing, NA and a
/// point alone are missing values. value is set when the result is Number.
Cell ParseCell(std::string_view text, double& value, bool decimalComma = false);

/// The text in single quotes for a message, cut after 40 bytes, with blanks for control characters.
std::string Quoted(std::string_view text);

} // namespace procedure
