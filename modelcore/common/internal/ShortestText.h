// The text of a double as people read it.
#pragma once

#include <string>

namespace MCCommon_930::internal {

/// The fewest digits that read back to the same double, independent of the locale; in plain notation for 0 and for
/// 1e-5 <= |x| < 1e16, so that a whole number looks like the integer, otherwise with an exponent ("1e+16"). "nan",
/// "inf", "-inf" and "-0" as such.
std::string ShortestText(double x);

} // namespace MCCommon_930::internal
