// The outcome of an operation that can fail or warn.
#pragma once

#include "modelcore/modelcore_export.h"

#include <array>
#include <cstdint>

namespace MCCommon_930 {

/// The outcome of an operation: OK, a warning or an error, with a code and up to six numbers that qualify it (for
/// example the index of a variable and the tolerance that it crossed). A plain value; what a code means is agreed
/// between the operation that returns it and its caller.
class MODELCORE_EXPORT MCStatus {
public:
    /// OK: code 0 and all data 0.
    MCStatus() = default;

    /// A warning or an error with all data 0. The code is kept in 32 bits: a larger long is truncated to them.
    MCStatus(long code, bool isWarning);

    /// Neither a warning nor an error.
    bool IsOK() const { return fSeverity == 0; }
    /// Whether the operation failed.
    bool IsError() const { return fSeverity < 0; }
    /// Whether the operation worked and has something to say.
    bool IsWarning() const { return fSeverity > 0; }
    /// The code of the warning or the error; 0 when OK.
    long GetErrorCode() const { return fCode; }

    /// Integer qualifier i, 0 <= i < 3; the index is not checked.
    long GetDiscreteDatum(unsigned i) const { return fvDiscrete[i]; }

    /// Sets integer qualifier i, 0 <= i < 3 (not checked). It is kept in 32 bits: a larger long is truncated to them.
    void SetDiscreteDatum(unsigned i, long v) { fvDiscrete[i] = static_cast<std::int32_t>(v); }

    /// Real qualifier i, 0 <= i < 3; the index is not checked.
    double GetScaleDatum(unsigned i) const { return fvScale[i]; }

    /// Sets real qualifier i, 0 <= i < 3 (not checked).
    void SetScaleDatum(unsigned i, double v) { fvScale[i] = v; }

    /// Code, severity and all six data are equal. A NaN datum makes a status unequal to every status, itself included.
    bool operator==(const MCStatus& other) const = default;

    /// Writes the fields to the diagnostic text stream.
    void Display() const;

private:
    std::int32_t fCode = 0;
    std::int16_t fSeverity = 0;
    std::array<std::int32_t, 3> fvDiscrete{};
    std::array<double, 3> fvScale{};
};

} // namespace MCCommon_930
