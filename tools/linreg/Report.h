// The fit as a table for people.
#pragma once

#include "Fit.h"
#include "Options.h"

#include <string>
#include <vector>

namespace linreg {

/// A line for each predictor that became a factor by a text among numbers.
std::vector<std::string> Warnings(const Fit& fit);

/// The whole printed output. Numbers have seven significant digits; "." stands for one that does not exist.
std::string FormatReport(const Options& options, const Fit& fit);

} // namespace linreg
