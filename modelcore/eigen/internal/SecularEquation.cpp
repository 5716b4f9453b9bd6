// SecularEquation: one root at a time, from a guess by its two neighbouring poles.
#include "modelcore/eigen/internal/SecularEquation.h"

#include <algorithm>
#include <cmath>

namespace MCMath_930::internal {

namespace {

constexpr double kRounding = 0x1p-53;
constexpr int kFreeSteps = 12; // steps of the middle way; from then on every second one divides the bracket
constexpr int kMaxSteps = 400; // a bracket divided half as often has no double left in it

/// A point between low and high, which do not differ in sign: by ratio when they are far apart.
double Between(double low, double high)
{
    const double sign = low < 0.0 ? -1.0 : 1.0;
    const double less = std::min(std::fabs(low), std::fabs(high));
    const double more = std::max(std::fabs(low), std::fabs(high));
    if (less == 0.0) return sign * (more * 0x1p-10);
    if (more > 4.0 * less) return sign * (std::sqrt(less) * std::sqrt(more));
    return sign * (less + (more - less) * 0.5);
}

/// The root of c*x*x - a*x + b that is the nearer to 0.
double SmallerRoot(double a, double b, double c)
{
    const double root = std::sqrt(std::fabs(a * a - 4.0 * b * c));
    return a <= 0.0 ? (a - root) / (2.0 * c) : 2.0 * b / (a + root);
}

} // namespace

double SecularEquation::Gap(int j, int k) const
{
    const double a = fPoles[j];
    const double b = fPoles[k];
    return fKind == Poles::Squared ? (a - b) * (a + b) : a - b;
}

void SecularEquation::SetOrigin(int k, double* gaps) const
{
    for (int j = 0; j < fnPoles; ++j) gaps[j] = Gap(j, k);
}

/// From the far poles to the near ones on both sides, so that what is small is added up first.
SecularEquation::Sums SecularEquation::Evaluate(const double* gaps, int split, double x) const
{
    double below = 0.0, belowSlope = 0.0, above = 0.0, aboveSlope = 0.0, partial = 0.0;
    for (int j = 0; j <= split; ++j) {
        const double inverse = 1.0 / (gaps[j] - x);
        const double term = fWeights[j] * inverse;
        below += term;
        belowSlope += term * inverse;
        partial -= below;
    }
    for (int j = fnPoles - 1; j > split; --j) {
        const double inverse = 1.0 / (gaps[j] - x);
        const double term = fWeights[j] * inverse;
        above += term;
        aboveSlope += term * inverse;
        partial += above;
    }
    return {below, belowSlope, above, aboveSlope, kRounding * (2.0 + 5.0 * (above - below) + partial)};
}

/// The root between poles i and i + 1, `gap` apart, of the equation in which all others stay as they are in the middle,
/// where its value is given: from the lower pole when it is not negative there, else from the upper one.
double SecularEquation::GuessInside(int i, double gap, double value) const
{
    const bool lower = value >= 0.0;
    const double low = fWeights[i];
    const double high = fWeights[i + 1];
    const double rest = value + (low - high) / (0.5 * gap);
    return lower ? SmallerRoot(rest * gap + low + high, low * gap, rest)
                 : SmallerRoot(-(rest * gap) + low + high, -(high * gap), rest);
}

/// The same for the root above the last pole, the others as they are half way to its highest place.
double SecularEquation::GuessLast(const double* gaps, double highest) const
{
    const int last = fnPoles - 1;
    const double gap = -gaps[last - 1];
    double rest = 1.0;
    for (int j = 0; j < last - 1; ++j) rest += fWeights[j] / (gaps[j] - 0.5 * highest);
    const double a = fWeights[last - 1] + fWeights[last] - rest * gap;
    const double b = fWeights[last] * gap;
    const double root = std::sqrt(std::fabs(a * a + 4.0 * b * rest));
    return a < 0.0 ? 2.0 * b / (root - a) : (a + root) / (2.0 * rest);
}

double SecularEquation::Iterate(int i, const double* gaps, double x, double low, double high) const
{
    const bool isLast = i == fnPoles - 1;
    const int split = isLast ? i - 1 : i;
    for (int step = 0; step < kMaxSteps; ++step) {
        if (!(x > low && x < high)) {
            x = Between(low, high);
            if (!(x > low && x < high)) return low != 0.0 ? low : high; // neighbours
        }
        const Sums sums = Evaluate(gaps, split, x);
        const double value = sums.Value();
        if (std::fabs(value) <= sums.bound) return x;
        (value < 0.0 ? low : high) = x;
        if (step >= kFreeSteps && step % 2 == 0) {
            x = Between(low, high);
            continue;
        }
        const double first = gaps[split] - x;
        const double second = gaps[split + 1] - x;
        double c = value - first * sums.belowSlope - second * sums.aboveSlope;
        const double a = (first + second) * value - first * second * (sums.belowSlope + sums.aboveSlope);
        const double b = first * second * value;
        double change = 0.0;
        if (isLast) {
            c = std::fabs(c);
            const double root = std::sqrt(std::fabs(a * a - 4.0 * b * c));
            change = a >= 0.0 ? (a + root) / (2.0 * c) : 2.0 * b / (a - root);
        } else {
            change = SmallerRoot(a, b, c);
        }
        // A step against the sign of the sum comes from rounding alone.
        if (!(value * change < 0.0)) change = -value / (sums.belowSlope + sums.aboveSlope);
        x += change;
    }
    return x;
}

double SecularEquation::FindRoot(int i, double* differences) const
{
    const int last = fnPoles - 1;
    int origin = i;
    double x = 0.0;
    if (last == 0) {
        x = fWeights[0];
        SetOrigin(0, differences);
    } else if (i == last) {
        SetOrigin(last, differences);
        double highest = 0.0;
        for (int j = 0; j <= last; ++j) highest += fWeights[j];
        x = Iterate(i, differences, GuessLast(differences, highest), 0.0, highest);
    } else {
        SetOrigin(i, differences);
        const double gap = differences[i + 1];
        const double middle = 0.5 * gap;
        const double value = Evaluate(differences, i, middle).Value();
        const double guess = GuessInside(i, gap, value);
        if (value >= 0.0) {
            x = Iterate(i, differences, guess, 0.0, middle);
        } else {
            origin = i + 1;
            SetOrigin(origin, differences);
            x = Iterate(i, differences, guess, -middle, 0.0);
        }
    }
    for (int j = 0; j <= last; ++j) differences[j] -= x;
    const double pole = fPoles[origin];
    if (fKind == Poles::AsGiven) return pole + x;
    const double square = pole * pole + x;
    return pole + x / (pole + std::sqrt(square));
}

} // namespace MCMath_930::internal
