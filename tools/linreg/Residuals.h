// The second reading: residuals of blocks of cases, in twice the digits of a double.
#pragma once

#include "model/CaseReader.h"

#include <vector>

namespace linreg {

using namespace model;
using MCMath_930::MCExtended;

/// Sums over cases of weight w and residual r; y is the target less its mean (or as it is, without an intercept) and x
/// a design column.
struct ResidualSums {
    MCExtended r, rr, y, yy;
    std::vector<MCExtended> rx;

    void Append(const ResidualSums& next)
    {
        rx.resize(next.rx.size());
        r += next.r;
        rr += next.rr;
        y += next.y;
        yy += next.yy;
        for (std::size_t j = 0; j < rx.size(); ++j) rx[j] += next.rx[j];
    }
};

/// The model at which residuals are taken.
struct Prediction {
    MCExtended intercept;
    MCExtended centre;                ///< what is subtracted from the target in y and yy
    std::vector<double> coefficients; ///< by design column, 0 for the target and for those that are aliased
};

/// The sums over one block.
void ComputeResiduals(const CaseBlock& block, const Prediction& at, ResidualSums& out);

} // namespace linreg
