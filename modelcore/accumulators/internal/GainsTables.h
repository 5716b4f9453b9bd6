// The gains tables of groups of scored cases.
#pragma once

#include "modelcore/accumulators/internal/Segments.h"
#include "modelcore/accumulators/internal/SortByScore.h"

#include <algorithm>
#include <cstddef>
#include <span>
#include <vector>

namespace MCMath_930::internal {

/// Sorts each group by its scores, highest first, and makes its table; describe(case) is the ScoredCase of a case.
/// Equal scores keep their order, NaNs come last. All room is made before the first group is sorted, so that either all
/// are or, when memory runs out, none. With requested < 1 the tables are empty and nothing is sorted.
template <class Case, class Score, class Describe>
std::vector<std::vector<LiftInfo>> SortAndTabulate(std::span<std::vector<Case>> groups, int requested, Score score,
                                                   Describe describe)
{
    std::vector<std::vector<LiftInfo>> tables(groups.size());
    if (requested < 1) return tables;
    std::vector<std::vector<std::size_t>> ends(groups.size());
    std::size_t most = 0;
    for (std::size_t g = 0; g < groups.size(); ++g) {
        ends[g] = SegmentEnds(groups[g].size(), requested);
        tables[g].resize(ends[g].size());
        most = std::max(most, groups[g].size());
    }
    ScoreSorter<Case, Score> sorter(score, most);

    for (std::size_t g = 0; g < groups.size(); ++g) {
        SegmentSums sums;
        std::size_t done = 0;
        std::size_t segment = 0;
        const auto addUpTo = [&](std::size_t end) {
            sums.Add(std::span<const Case>(groups[g]).subspan(done, end - done), describe);
            done = end;
        };
        sorter.Sort(groups[g], [&](std::size_t sorted) {
            for (; segment < ends[g].size() && ends[g][segment] <= sorted; ++segment) {
                addUpTo(ends[g][segment]);
                tables[g][segment] = sums.Finish();
            }
            addUpTo(sorted);
        });
    }
    return tables;
}

} // namespace MCMath_930::internal
