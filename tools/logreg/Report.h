// The fit as tables and as a document.
#pragma once

#include "Fit.h"
#include "common/Results.h"

#include <ostream>

namespace logreg {

procedure::Results Report(const Options& options, const Fit& fit);

/// A StatXML document.
void WriteDocument(const Options& options, const Fit& fit, std::ostream& out);

} // namespace logreg
