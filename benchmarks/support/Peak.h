// What one core can do at most: the measure for the speed of loops that multiply and add.
#pragma once

#include <vector>

namespace peers {

/// The most additions and multiplications a second of one core, in GFLOP/s, with vectors of one width.
struct Peak {
    int bits = 0;         ///< of a vector
    double unfused = 0.0; ///< each product rounded before it is added, as modelcore must do
    double fused = 0.0;   ///< multiplied and added in one instruction, as BLAS libraries do; 0 where there is none
};

/// Measured once, in a few milliseconds each, for every width that the processor has; narrowest first.
///
/// Sums that do not wait for each other stay in registers, so that nothing but the pipes is measured. The best of several
/// short runs counts: what others do on the machine can only take away.
const std::vector<Peak>& MeasurePeaks();

/// The highest unfused peak of all widths.
double UnfusedPeak();

} // namespace peers
