#include "common/Axis.h"

#include "common/TextTable.h"

#include <algorithm>
#include <cmath>

namespace procedure {

int Axis::Steps() const
{
    return static_cast<int>(std::lround((max - min) / step));
}

Axis RoundAxis(double low, double high, int steps)
{
    constexpr double kLargest = 1e300; // beyond, lengths would overflow; the ends then catch what lies outside
    low = std::clamp(low, -kLargest, kLargest);
    high = std::clamp(high, -kLargest, kLargest);
    constexpr double kSmallest = 1e-290; // below, steps would underflow
    const double size = std::max(std::fabs(low), std::fabs(high));
    if (!(high - low > std::max(1e-9 * size, kSmallest))) {
        const double half = size > kSmallest ? 1e-3 * size : 0.5;
        low -= half;
        high += half;
    }
    double power = PowerOfTen(DecimalExponent((high - low) / steps));
    for (;; power *= 10.0)
        for (const double digit : {1.0, 2.0, 5.0}) {
            const double step = digit * power;
            const double first = std::floor(low / step + 1e-9);
            const double last = std::max(std::ceil(high / step - 1e-9), first + 1.0);
            if (last - first <= steps) return {first * step, last * step, step};
        }
}

} // namespace procedure
