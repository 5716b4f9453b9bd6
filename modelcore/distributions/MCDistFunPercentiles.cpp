// MCDistFun: weighted percentiles and the median with its confidence interval.
#include "modelcore/distributions/MCDistFun.h"

#include "modelcore/common/MCMV.h"
#include "modelcore/distributions/internal/Domain.h"
#include "modelcore/distributions/internal/IncompleteBeta.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace MCMath_930 {

using MCCommon_930::MCMV;

namespace {

bool HoldsAtLeast(const std::vector<double>& v, std::size_t count)
{
    return v.size() >= count;
}

} // namespace

double MCDistFun::GPTile(long n, double q, const std::vector<double>& values, const std::vector<double>& weights,
                         const std::vector<double>& bounds, long mode, double& result, long& err)
{
    err = 0;
    result = MCMV::Missing();
    if (n < 2) {
        err = -1;
        return result;
    }
    const auto count = static_cast<std::size_t>(n);
    const bool intervals = mode > 0;
    if (!HoldsAtLeast(values, count) || !HoldsAtLeast(weights, count) || (intervals && !HoldsAtLeast(bounds, count)) ||
        std::isnan(q)) {
        err = 1;
        return result;
    }
    double total = 0.0;
    for (std::size_t i = 0; i < count; ++i) total += weights[i];
    // 100 percent of the total may round to more than it.
    const double target = q <= 100.0 ? std::min(total * q / 100.0, total) : total * q / 100.0;
    if (std::isnan(target)) {
        err = 1;
        return result;
    }

    if (!intervals) {
        // Rule 1: the weight of a value is centred on it.
        double before = 0.0;
        double cumulative = 0.0;
        for (std::size_t i = 0; i < count; ++i) {
            const double previous = cumulative;
            cumulative = before + 0.5 * weights[i];
            before += weights[i];
            if (cumulative < target) continue;
            if (i == 0) {
                if (cumulative > target) {
                    err = 1;
                    return result;
                }
                return result = values[0];
            }
            const double f = (target - previous) / (cumulative - previous);
            return result = (1.0 - f) * values[i - 1] + f * values[i];
        }
        err = 2;
        return result;
    }

    // Rules 2 and 3: value i stands for the class from values[i] - bounds[i] to values[i] + bounds[i], over which rule
    // 2 spreads its weight evenly. Rule 3 joins the middles of the classes instead, each carrying the weight up to it,
    // and uses the half-widths at both ends only.
    if (target < 0.0 || target > total || !(total > 0.0)) {
        err = target < 0.0 ? 1 : 2;
        return result;
    }
    double before = 0.0;
    double pointBelow = values[0] - bounds[0];
    double weightBelow = 0.0;
    for (std::size_t i = 0; i < count; ++i) {
        const double top = values[i] + bounds[i];
        if (mode == 1) {
            if (target <= before + weights[i] && weights[i] > 0.0) {
                const double f = std::min((target - before) / weights[i], 1.0);
                return result = (1.0 - f) * (values[i] - bounds[i]) + f * top;
            }
        } else {
            const double middle = before + 0.5 * weights[i];
            if (target <= middle && middle > weightBelow) {
                const double f = (target - weightBelow) / (middle - weightBelow);
                return result = (1.0 - f) * pointBelow + f * values[i];
            }
            pointBelow = values[i];
            weightBelow = middle;
        }
        before += weights[i];
    }
    const std::size_t last = count - 1;
    const double end = values[last] + bounds[last];
    if (mode == 1 || !(total > weightBelow)) return result = end;
    const double f = std::min((target - weightBelow) / (total - weightBelow), 1.0);
    return result = (1.0 - f) * pointBelow + f * end;
}

double MCDistFun::Mednci(long n, const std::vector<double>& values, const std::vector<double>& weights, double level,
                         double e, bool flag, double& median, double& lower, double& upper)
{
    median = lower = upper = MCMV::Missing();
    const auto count = static_cast<std::size_t>(std::max(n, 0L));
    if (n < 1 || !HoldsAtLeast(values, count) || !HoldsAtLeast(weights, count) || !(level > 0.0) || !(level < 100.0))
        return MCMV::Missing();
    double total = 0.0;
    for (std::size_t i = 0; i < count; ++i) total += std::max(weights[i], 0.0);
    const double cases = std::floor(total + 0.5);
    if (!(cases >= 1.0) || std::isinf(cases)) return MCMV::Missing();

    const double slack = (e > 0.0 ? e : 1e-12) * cases;
    // The case with the given rank, 1 to cases, when each value stands for as many cases as its weight.
    const auto ranked = [&](double rank) {
        double cumulative = 0.0;
        double value = MCMV::Missing();
        for (std::size_t i = 0; i < count && cumulative + slack < rank; ++i) {
            if (!(weights[i] > 0.0))
                continue; // stands for no case: not the last one either, when the sum was rounded up
            cumulative += weights[i];
            value = values[i];
        }
        return value;
    };
    const double half = std::floor(0.5 * cases);
    const bool even = 2.0 * half == cases;
    median = even ? 0.5 * ranked(half) + 0.5 * ranked(half + 1.0) : ranked(half + 1.0);

    // The interval from the d-th smallest to the d-th largest case misses the median with twice the binomial
    // probability, at 1/2, of fewer than d: d is the largest that keeps this within what the level allows.
    const double wanted = level / 100.0;
    const double tail = 0.5 * (1.0 - wanted);
    long fault = 0;
    double depth = IdfBin(tail, cases, 0.5, fault) + 1.0;
    if (fault == 0 && CdfBin(depth - 1.0, cases, 0.5, fault) > tail) depth -= 1.0;
    if (fault != 0 || depth < 1.0) return MCMV::Missing(); // too few cases for this level
    const auto coverage = [&](double d) { return 1.0 - 2.0 * cdfbet(0.5, cases - d + 1.0, d, fault); };
    lower = ranked(depth);
    upper = ranked(cases - depth + 1.0);
    const double reached = coverage(depth);
    if (flag || reached <= wanted || 2.0 * depth >= cases) return 100.0 * reached;
    const double excess = (reached - wanted) / (reached - coverage(depth + 1.0));
    const double share = (cases - depth) * excess / (depth + (cases - 2.0 * depth) * excess);
    lower = (1.0 - share) * lower + share * ranked(depth + 1.0);
    upper = (1.0 - share) * upper + share * ranked(cases - depth);
    return level;
}

} // namespace MCMath_930
