// The fit as tables.
#pragma once

#include "Fit.h"
#include "Options.h"
#include "common/Results.h"

namespace linreg {

/// All that is printed. Numbers have seven significant digits on the terminal; "." stands for one that does not exist.
procedure::Results Report(const Options& options, const Fit& fit);

} // namespace linreg
