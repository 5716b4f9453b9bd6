// The system-missing value as numeric code sees it.
#pragma once

#include "modelcore/modelcore_export.h"

namespace MCCommon_930 {

/// The system-missing value for code that works on plain doubles: an absent datum, and the result of a numerical
/// function that has none. It is one reserved number, the most negative finite double, so it takes no room beside the
/// data; it must be tested for before it meets arithmetic. NaN and the infinities are data, not missing.
class MODELCORE_EXPORT MCMV {
public:
    /// -1.7976931348623157e+308, bits 0xFFEFFFFFFFFFFFFF; the same constant as Value::SYSMISVALUE.
    static constexpr double gMissingValue = -1.7976931348623157e+308;

    /// gMissingValue.
    static constexpr double Missing() { return gMissingValue; }

    /// True exactly when x is the system-missing value: the neighbouring double, a NaN and -infinity are not.
    static constexpr bool IsMissing(double x) { return x == gMissingValue; }
};

} // namespace MCCommon_930
