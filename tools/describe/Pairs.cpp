#include "Pairs.h"

#include <algorithm>
#include <cmath>

namespace describe {

using MCCommon_930::MCMV;

namespace {

// The columns of one variable.
constexpr int kThere = 0;
constexpr int kValue = 1;
constexpr int kSquare = 2;
constexpr int kCase = 3;

} // namespace

std::size_t PairSums::Place(int row, int column)
{
    const auto i = static_cast<std::size_t>(std::max(row, column));
    return i * (i + 1) / 2 + static_cast<std::size_t>(std::min(row, column));
}

double PairSums::Sum(int row, int column) const
{
    const std::size_t place = Place(row, column);
    return place < fSums.size() ? fSums[place] : 0.0;
}

void PairSums::Append(const MCMath_930::MCSymMatrix& products)
{
    const auto order = static_cast<std::size_t>(products.GetNRows());
    const std::size_t size = order * (order + 1) / 2;
    if (fSums.size() < size) fSums.resize(size);
    const double* const from = products.GetPtr();
    for (std::size_t k = 0; k < size; ++k) fSums[k] += from[k];
}

void PairSums::Merge(const PairSums& other, std::span<const int> places, std::span<const double> shifts,
                     std::span<const double> otherShifts, int stride)
{
    int last = -1;
    for (const int place : places) last = std::max(last, place);
    const std::size_t size = last < 0 ? 0 : Place(stride * (last + 1) - 1, stride * (last + 1) - 1) + 1;
    if (fSums.size() < size) fSums.resize(size);
    const int n = static_cast<int>(places.size());
    const auto shiftOf = [&](int i) {
        const auto at = static_cast<std::size_t>(i);
        return otherShifts[at] - shifts[static_cast<std::size_t>(places[at])];
    };
    for (int i = 0; i < n; ++i)
        for (int j = 0; j <= i; ++j) {
            const int a = stride * i;
            const int b = stride * j;
            const int toA = stride * places[static_cast<std::size_t>(i)];
            const int toB = stride * places[static_cast<std::size_t>(j)];
            const double d = shiftOf(i); // x' = x + d
            const double e = shiftOf(j); // y' = y + e
            const double w = other.Sum(a + kThere, b + kThere);
            const double x = other.Sum(a + kValue, b + kThere);
            const double y = other.Sum(a + kThere, b + kValue);
            const auto add = [&](int row, int column, double sum) { fSums[Place(row, column)] += sum; };
            add(toA + kThere, toB + kThere, w);
            add(toA + kValue, toB + kThere, x + d * w);
            add(toA + kSquare, toB + kThere, other.Sum(a + kSquare, b + kThere) + 2.0 * d * x + d * d * w);
            if (stride > kCase) add(toA + kCase, toB + kCase, other.Sum(a + kCase, b + kCase));
            if (i == j) {
                add(toA + kValue, toB + kValue, other.Sum(a + kValue, b + kValue) + 2.0 * d * x + d * d * w);
                continue;
            }
            add(toA + kThere, toB + kValue, y + e * w);
            add(toA + kThere, toB + kSquare, other.Sum(a + kThere, b + kSquare) + 2.0 * e * y + e * e * w);
            add(toA + kValue, toB + kValue, other.Sum(a + kValue, b + kValue) + e * x + d * y + d * e * w);
        }
}

PairStatistics PairSums::Get(int i, int j, int stride) const
{
    const int a = stride * i;
    const int b = stride * j;
    const double w = Sum(a + kThere, b + kThere);
    constexpr double kNoise = 1e-13;
    return Correlate<double>({w, Sum(a + kValue, b + kThere), Sum(a + kThere, b + kValue), Sum(a + kSquare, b + kThere),
                              Sum(a + kThere, b + kSquare), Sum(a + kValue, b + kValue)},
                             stride > kCase, stride > kCase ? Sum(a + kCase, b + kCase) : w, kNoise);
}

namespace {

double Double(double x)
{
    return x;
}
double Double(MCMath_930::MCExtended x)
{
    return x.high;
}

} // namespace

template <class Number>
PairStatistics Correlate(const SumsOfPair<Number>& sums, bool hasWeight, double cases, double noise)
{
    PairStatistics out;
    const Number w = sums.w;
    out.cases = hasWeight ? std::round(cases * 1e6) / 1e6 : cases;
    if (!(Double(w) > 0.0) || !(out.cases > 1.0)) return out;
    const Number x = sums.x / w;
    const Number y = sums.y / w;
    const double xx = Double(sums.xx - x * x * w);
    const double yy = Double(sums.yy - y * y * w);
    // What is left of a sum of squares of a constant is rounding error.
    if (!(xx > noise * Double(sums.xx)) || !(yy > noise * Double(sums.yy))) return out;
    const double xy = Double(sums.xy - x * y * w);
    const double r = std::clamp(xy / std::sqrt(xx) / std::sqrt(yy), -1.0, 1.0);
    out.correlation = r;
    const double df = out.cases - 2.0;
    if (!(df > 0.0)) return out;
    // 1 - r*r from its factors: near 1 the difference has all digits.
    const double rest = (1.0 - std::fabs(r)) * (1.0 + std::fabs(r));
    if (!(rest > 1e-15)) {
        out.significance = 0.0;
        return out;
    }
    out.t = r * std::sqrt(df / rest);
    out.significance = 2.0 * MCMath_930::MCDistFun::CdfT(-std::fabs(out.t), df);
    return out;
}

template PairStatistics Correlate(const SumsOfPair<double>& sums, bool hasWeight, double cases, double noise);
template PairStatistics Correlate(const SumsOfPair<MCMath_930::MCExtended>& sums, bool hasWeight, double cases,
                                  double noise);

} // namespace describe
