// The segments of a gains table.
#pragma once

#include "modelcore/accumulators/LiftInfo.h"
#include "modelcore/common/MCMV.h"

#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace MCMath_930::internal {

/// Where each of the segments of count sorted cases ends; segment s begins where segment s - 1 ends. None without cases
/// or when requested < 1. Every case lies in exactly one segment; trailing segments may be empty.
std::vector<std::size_t> SegmentEnds(std::size_t count, int requested);

/// A frequency weight as it is counted: without the fraction; missing and NaN weights do not count.
inline double CountedWeight(double weight)
{
    // What an integer can hold takes one instruction each way, where std::trunc is a call.
    if (std::fabs(weight) < 0x1p62) return static_cast<double>(static_cast<std::int64_t>(weight));
    return MCCommon_930::MCMV::IsMissing(weight) || std::isnan(weight) ? 0.0 : std::trunc(weight);
}

/// What enters the sums of a segment for one case.
struct ScoredCase {
    double score;
    double weight;
    double gain; ///< system-missing when unknown
};

/// Sums up the cases of one segment after the other.
class SegmentSums {
public:
    /// describe(case) is the ScoredCase of a case.
    template <class Case, class Describe>
    void Add(std::span<const Case> cases, Describe describe)
    {
        if (cases.empty()) return;
        SegmentSums sums(*this); // a local one can stay in registers
        if (fbEmpty) sums.fdMinimum = describe(cases[0]).score;
        sums.fbEmpty = false;
        for (const Case& c : cases) sums.AddCase(describe(c));
        *this = sums;
    }

    /// The record of the segment; the sums start again, only the cumulative count goes on.
    LiftInfo Finish();

private:
    // One comparison of integers, where a comparison of doubles has to look after NaNs too.
    static bool HasMissingBits(double x)
    {
        return std::bit_cast<std::uint64_t>(x) == std::bit_cast<std::uint64_t>(MCCommon_930::MCMV::gMissingValue);
    }

    // No sum is read once its mark is set, so that what is missing may go into it: there is no branch here.
    void AddCase(const ScoredCase& c)
    {
        fdCount += CountedWeight(c.weight);
        fdGain += c.gain;
        fdScore += c.weight * c.score;
        fdMinimum = c.score < fdMinimum ? c.score : fdMinimum;
        fbWeightMissing |= HasMissingBits(c.weight);
        fbScoreMissing |= HasMissingBits(c.score);
        fbGainMissing |= HasMissingBits(c.gain);
    }

    double fdCumulative = 0.0;
    double fdCount = 0.0;
    double fdGain = 0.0;
    double fdScore = 0.0;
    double fdMinimum = 0.0;
    bool fbEmpty = true;
    bool fbScoreMissing = false;
    bool fbWeightMissing = false;
    bool fbGainMissing = false;
};

} // namespace MCMath_930::internal
