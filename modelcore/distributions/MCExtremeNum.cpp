// MCExtremeNum: sums of squares without overflow.
#include "modelcore/distributions/MCExtremeNum.h"

#include <algorithm>
#include <cmath>

namespace MCMath_930 {

bool MCExtremeNum::SumSqRoot(double a, double b, double c, double d, double& result)
{
    constexpr double kRootOfTwo = 1.4142135623730951;
    const double p = std::fabs(a) * std::sqrt(std::fabs(b));
    const double q = std::fabs(c) * std::sqrt(std::fabs(d));
    if (std::isnan(p) || std::isnan(q)) { // a maximum or minimum would lose it
        result = p + q;
        return true;
    }
    if (b < 0.0 && d < 0.0) return false;
    if (b < 0.0 || d < 0.0) {
        const double positive = b < 0.0 ? q : p;
        const double negative = b < 0.0 ? p : q;
        if (negative > positive) return false;
        const double ratio = negative / positive;
        result = p == q ? 0.0 : positive * std::sqrt((1.0 - ratio) * (1.0 + ratio));
        return true;
    }
    if (p == q) {
        result = kRootOfTwo * p;
        return true;
    }
    const double larger = std::max(p, q);
    const double ratio = std::min(p, q) / larger;
    result = larger * std::sqrt(1.0 + ratio * ratio);
    return true;
}

} // namespace MCMath_930
