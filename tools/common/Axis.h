// Round numbers along an axis.
#pragma once

namespace procedure {

/// From min to max in equal steps, all of them round numbers.
struct Axis {
    double min = 0.0;
    double max = 1.0;
    double step = 1.0;

    int Steps() const;
    double At(int i) const { return i == Steps() ? max : min + i * step; }
};

/// The axis with the most steps, at most `steps` >= 2 of them, that holds low to high: a step is 1, 2 or 5 times a
/// power of ten. An interval that is no wider than rounding error is widened.
Axis RoundAxis(double low, double high, int steps);

} // namespace procedure
