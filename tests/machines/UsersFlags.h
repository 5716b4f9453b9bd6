// Calls into a public header that is compiled as a user compiles it, with flags that the library has not.
#pragma once

#include <array>

/// High and low of a*b, a*b.high, a/b and the root of a, of which high and low are given.
std::array<double, 8> ExtendedWithUsersFlags(double aHigh, double aLow, double bHigh, double bLow);
