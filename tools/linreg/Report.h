// The fit as a table for people.
#pragma once

#include "Fit.h"
#include "Options.h"

#include <string>

namespace linreg {

/// The whole printed output. Numbers have seven significant digits; "." stands for one that does not exist.
std::string FormatReport(const Options& options, const Fit& fit);

} // namespace linreg
