// The segments of a gains table.
#pragma once

#include "modelcore/accumulators/LiftInfo.h"

#include <cstddef>
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

} // namespace MCMath_930::internal
