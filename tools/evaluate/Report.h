// The evaluation as tables.
#pragma once

#include "Evaluation.h"
#include "common/Results.h"

namespace evaluate {

procedure::Results Report(const Options& options, const Evaluation& evaluation);

} // namespace evaluate
