// The bracketed search that all quantiles share.
#pragma once

#include "modelcore/distributions/internal/PortableMath.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>

namespace MCMath_930::internal {

/// What one evaluation tells about the root.
struct Probe {
    int side;    ///< sign of (x - root); 0 when x will do as it is
    double next; ///< where a Newton or Halley step from x leads
    bool close;  ///< next is the root as well as it can be told
};

struct Root {
    double x;
    bool found; ///< false when nothing between the ends reaches the root
};

/// Finds the root between two positive ends (0 counts as positive) from a start, which may be anything.
///
/// Newton steps are taken as long as they stay inside the bracket; when three in a row have not halved the number of
/// doubles in it, the middle one of these doubles comes next. There are fewer than 2^63 doubles in any bracket, so that
/// at most 4 * 63 evaluations are made, whatever the function and the start.
template <class Evaluate>
Root SearchRoot(double start, double low, double high, Evaluate evaluate)
{
    constexpr int kStepsPerHalving = 3;
    const auto order = [](double x) { return std::bit_cast<std::uint64_t>(x + 0.0); };
    const auto middle = [&] { return std::bit_cast<double>(order(low) + (order(high) - order(low)) / 2); };
    bool highIsAbove = false;
    std::uint64_t width = order(high) - order(low);
    int steps = 0;
    double x = start > low && start < high ? start : middle();
    while (true) {
        const Probe probe = evaluate(x);
        if (probe.side == 0) return {x, true};
        if (probe.side > 0) {
            high = x;
            highIsAbove = true;
        } else {
            low = x;
        }
        // The ends count: at the root to the last digit the step is 0.
        if (probe.close && probe.next >= low && probe.next <= high) return {probe.next, true};
        if (order(high) - order(low) <= 1) return {probe.side > 0 ? x : high, highIsAbove};
        const bool inside = probe.next > low && probe.next < high;
        ++steps;
        if (order(high) - order(low) <= width / 2) {
            width = order(high) - order(low);
            steps = 0;
        }
        if (inside && steps < kStepsPerHalving) {
            x = probe.next;
        } else {
            x = middle();
            steps = 0;
            width = order(high) - order(low);
        }
    }
}

/// The longest last step of ProbeTail, in ln x.
inline constexpr double kLongestLastStep = 0.02;

/// How a tail of a distribution on the positive axis moves at x.
struct TailAt {
    double tail;
    double weight; ///< x times the density
    double slope;  ///< x times the derivative of ln weight
    bool isLower;
};

/// The probe for tail(x) = target: Halley's step for ln(tail/target) as a function of ln x. Where a tail is a power of
/// x the step is exact, where it is nearly normal it converges fast, and no target is too small for it.
///
/// Where the density has vanished there is no step: next is not a number then, and the search halves its bracket.
///
/// @param tolerance  of ln(tail/target) before the last step, which cubes it
inline Probe ProbeTail(double x, const TailAt& at, double target, double tolerance)
{
    const double excess = PortableLog(at.tail / target);
    const double rate = (at.isLower ? at.weight : -at.weight) / at.tail;
    const double newton = excess / rate;
    const double bend = 1.0 - 0.5 * newton * (at.slope - rate);
    const double step = bend > 0.5 ? newton / bend : newton;
    const int side = (excess > 0.0) - (excess < 0.0);
    // Between two masses a tail hardly moves: a small excess is then far from the root, and the step is no last one.
    const bool close = std::fabs(excess) <= tolerance && std::fabs(step) <= kLongestLastStep;
    return {at.isLower ? side : -side, at.weight > 0.0 ? x * PortableExp(-step) : std::nan(""), close};
}

/// Tolerance of ProbeTail for full accuracy.
inline constexpr double kFullTolerance = 4e-6;

} // namespace MCMath_930::internal
