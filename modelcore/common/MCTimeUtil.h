// Timing of a computation.
#pragma once

#include "modelcore/modelcore_export.h"

#include <chrono>
#include <string>

namespace MCCommon_930 {

/// A stopwatch for wall and processor time, started when it is constructed.
class MODELCORE_EXPORT MCTimeUtil {
public:
    /// Starts both times.
    MCTimeUtil() { Start(); }

    /// Starts both times again from 0.
    void Start();

    /// Seconds of wall time since the start. Measured on a clock that never goes back when the system's time is set.
    double GetWallSeconds() const;

    /// Seconds of processor time that the process has used since the start, over all its threads; system-missing where
    /// the platform does not tell.
    double GetProcessorSeconds() const;

    /// Seconds of wall time since 1970-01-01 00:00 UTC.
    static double WallTime();

    /// Seconds of processor time that the process has used; system-missing where the platform does not tell.
    static double ProcessorTime();

    /// A duration as people read it: "250 us", "1.50 s", "2 min 05 s", "3 h 00 min 07 s", "2 d 01 h 00 min". Below a
    /// minute three digits, rounded; from there on whole seconds. A minus sign leads a negative one; a missing, NaN or
    /// infinite one, or one of more than a billion days, is "unknown".
    static std::string FormatDuration(double seconds);

    /// Writes both times to the diagnostic text stream.
    void Display() const;

private:
    std::chrono::steady_clock::time_point fStart;
    double fProcessorStart = 0.0;
};

} // namespace MCCommon_930
