// Sums of squares without overflow.
#pragma once

#include "modelcore/modelcore_export.h"

namespace MCMath_930 {

/// Arithmetic that does not overflow on the way to a result that exists.
class MODELCORE_EXPORT MCExtremeNum {
public:
    /// result = sqrt(a^2 b + c^2 d), where b or d, but not both, may be negative; NaN when an argument is.
    ///
    /// @return  false, and result untouched, when the sum is negative: the negative term has the larger magnitude, or
    ///          both b and d are negative
    static bool SumSqRoot(double a, double b, double c, double d, double& result);
};

} // namespace MCMath_930
