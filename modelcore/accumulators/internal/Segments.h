// The segments of a gains table.
#pragma once

#include "modelcore/accumulators/LiftInfo.h"

#include <cstddef>
#include <span>
#include <vector>

namespace MCMath_930::internal {

/// Where each of the segments of count sorted cases ends; segment s begins where segment s - 1 ends. None without cases
/// or when requested < 1. Every case lies in exactly one segment; trailing segments may be empty.
std::vector<std::size_t> SegmentEnds(std::size_t count, int requested);

/// What enters the sums of a segment for one case.
struct ScoredCase {
    double score;
    double weight;
    double gain; ///< system-missing when unknown
};

/// Sums up the cases of one segment after the other.
class SegmentSums {
public:
    void Add(const ScoredCase& c);

    /// The record of the segment; the sums start again, only the cumulative count goes on.
    LiftInfo Finish();

private:
    double fdCumulative = 0.0;
    double fdCount = 0.0;
    double fdGain = 0.0;
    double fdScore = 0.0;
    double fdMinimum = 0.0;
    bool fbEmpty = true;
    bool fbScoreMissing = false;
    bool fbMeanMissing = false;
    bool fbGainMissing = false;
};

/// A frequency weight as it is counted: without the fraction; missing and NaN weights do not count.
double CountedWeight(double weight);

/// The table of cases that are sorted already; describe(case) is its ScoredCase.
template <class Case, class Describe>
std::vector<LiftInfo> TabulateGains(std::span<const Case> cases, int requested, Describe describe)
{
    std::vector<LiftInfo> table;
    SegmentSums sums;
    std::size_t i = 0;
    for (const std::size_t end : SegmentEnds(cases.size(), requested)) {
        for (; i < end; ++i) sums.Add(describe(cases[i]));
        table.push_back(sums.Finish());
    }
    return table;
}

} // namespace MCMath_930::internal
