// One scored case of a regression model.
#pragma once

#include "modelcore/common/MCMV.h"
#include "modelcore/modelcore_export.h"

namespace MCMath_930 {

/// A scored case of a regression model.
struct MODELCORE_EXPORT RegDataInfo {
    double fdPredicted = MCCommon_930::MCMV::gMissingValue; ///< what the model says
    double fdObserved = MCCommon_930::MCMV::gMissingValue;  ///< what happened
    double fdFreqWeight = 1.0;                              ///< how many cases it stands for

    /// Reversed on purpose: sorting puts the highest predictions first.
    bool operator<(const RegDataInfo& other) const { return fdPredicted > other.fdPredicted; }
};

} // namespace MCMath_930
