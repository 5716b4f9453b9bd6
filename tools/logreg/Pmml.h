// The fit as a PMML document for scoring engines.
#pragma once

#include "Fit.h"
#include "Options.h"
#include "common/PmmlModel.h"

namespace logreg {

/// Throws Failure for a model that has no finite estimates.
procedure::PmmlModel MakePmmlModel(const Options& options, const Fit& fit);

} // namespace logreg
