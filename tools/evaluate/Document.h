// The results as a StatXML document.
#pragma once

#include "Evaluation.h"

#include <ostream>

namespace evaluate {

void WriteDocument(const Options& options, const Evaluation& evaluation, std::ostream& out);

} // namespace evaluate
