// One scored case of a classification model, seen from one target category.
#pragma once

#include "modelcore/common/MCMV.h"
#include "modelcore/modelcore_export.h"

namespace MCMath_930 {

/// A scored case of a classification model, as it is seen from one target category.
struct MODELCORE_EXPORT ClassDataInfo {
    double fdProbability = MCCommon_930::MCMV::gMissingValue; ///< predicted for this category
    bool fbHit = false;                                       ///< whether this category was observed
    double fdFreqWeight = 1.0;                                ///< how many cases it stands for

    /// Reversed on purpose: sorting puts the highest probabilities first.
    bool operator<(const ClassDataInfo& other) const { return fdProbability > other.fdProbability; }
};

} // namespace MCMath_930
