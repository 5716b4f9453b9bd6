// One scored case of a regression model.
#pragma once

#include "modelcore/common/MCMV.h"
#include "modelcore/modelcore_export.h"

namespace MCMath_930 {

struct MODELCORE_EXPORT RegDataInfo {
    double fdPredicted = MCCommon_930::MCMV::gMissingValue;
    double fdObserved = MCCommon_930::MCMV::gMissingValue;
    double fdFreqWeight = 1.0;

    /// Reversed on purpose: sorting puts the highest predictions first.
    bool operator<(const RegDataInfo& other) const { return fdPredicted > other.fdPredicted; }
};

} // namespace MCMath_930
