// Numbers as text, independent of the program's locale except where said.
#pragma once

#include "modelcore/modelcore_export.h"

#include <string>

namespace MCXML_930 {

/// "%.15g": numbers have at most 15 significant digits unless something else is asked for.
MODELCORE_EXPORT std::string GetDefaultNumericFormat();

/// The decimal point of the C locale that is current in the program (localeconv).
MODELCORE_EXPORT std::string GetDecimalCharacter();

/// ";".
MODELCORE_EXPORT std::string GetListSeparator();

/// v with at most 15 significant digits and a decimal point, as a stream of the classic locale prints it at precision
/// 15: "0.1", "1e-05", "123456789012345", "1.23456789012346e+15", "nan", "-inf".
MODELCORE_EXPORT std::string ReplaceSep(double v);

/// v in fixed notation with 16 digits after the decimal point, as a stream of the classic locale prints it. The text
/// has up to 327 characters. The second argument only selects this form and is not used.
MODELCORE_EXPORT std::string ReplaceSep(double v, const char* fixed);

/// v as text.
///
/// @param useFormat  false: as ReplaceSep(v), and fmt is not used
/// @param fmt        a format of printf for one double, followed in the program's current C locale; null is "%.15g"
MODELCORE_EXPORT std::string Format(double v, bool useFormat, const char* fmt);

/// The value converted to double and written as ReplaceSep(double) does: beyond 15 digits it is rounded.
MODELCORE_EXPORT std::string Format(long value);

} // namespace MCXML_930
