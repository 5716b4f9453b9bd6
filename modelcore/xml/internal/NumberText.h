// Doubles as text in a caller's buffer, the same in every locale.
#pragma once

namespace MCXML_930::internal {

/// Room for the text of any double in either form: the longest is -1.8e308 with 16 digits after the point.
inline constexpr int kNumberRoom = 344;

/// Writes v as printf's "%.15g" does in the C locale and returns the end of the text.
char* WriteNumber(char* out, double v);

/// Writes v as printf's "%.16f" does in the C locale and returns the end of the text.
char* WriteFixedNumber(char* out, double v);

} // namespace MCXML_930::internal
