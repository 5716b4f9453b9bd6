// The results as a terminal shows them.
#pragma once

#include "Evaluation.h"

#include <string>

namespace evaluate {

std::string FormatReport(const Options& options, const Evaluation& evaluation);

} // namespace evaluate
