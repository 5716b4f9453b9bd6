// The fit as a StatXML document for programs.
#pragma once

#include "Fit.h"
#include "Options.h"

#include <ostream>

namespace linreg {

/// Writes the whole document in UTF-8. A number that does not exist has the value "__MISSING__".
void WriteDocument(const Options& options, const Fit& fit, std::ostream& out);

} // namespace linreg
