// The charts of residuals.
#pragma once

#include "Fit.h"
#include "common/Chart.h"

namespace linreg {

/// Residuals against fitted values: points, or where there are many the cells of a grid, darker for more cases.
procedure::Chart DrawResiduals(const Options& options, const ResidualPicture& residuals);

/// Quantiles of the residuals against those of a normal distribution.
procedure::Chart DrawNormal(const Options& options, const ResidualPicture& residuals);

} // namespace linreg
