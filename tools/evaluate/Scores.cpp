#include "Scores.h"

#include <algorithm>
#include <bit>

namespace evaluate {

void Scores::Add(double score, double frequency, double hits)
{
    if (fGroups.size() == 2 * kLimit) Compact();
    fGroups.push_back({Rounded(score), frequency, hits, 1.0});
}

double Scores::Rounded(double score) const
{
    if (fDropped == 0) return score == 0.0 ? 0.0 : score; // -0.0 is 0.0
    const std::uint64_t mask = ~std::uint64_t{0} << fDropped;
    return std::bit_cast<double>(std::bit_cast<std::uint64_t>(score) & mask);
}

void Scores::Compact()
{
    const auto merge = [&] {
        std::ranges::stable_sort(fGroups, [](const ScoreGroup& a, const ScoreGroup& b) { return a.score > b.score; });
        std::size_t kept = 0;
        for (std::size_t i = 0; i < fGroups.size(); ++i) {
            if (kept > 0 && fGroups[kept - 1].score == fGroups[i].score) {
                fGroups[kept - 1].cases += fGroups[i].cases;
                fGroups[kept - 1].hits += fGroups[i].hits;
                fGroups[kept - 1].records += fGroups[i].records;
            } else {
                fGroups[kept++] = fGroups[i];
            }
        }
        fGroups.resize(kept);
    };
    merge();
    while (fGroups.size() > kLimit) {
        ++fDropped;
        for (ScoreGroup& group : fGroups) group.score = Rounded(group.score);
        merge();
    }
}

const std::vector<ScoreGroup>& Scores::Finish()
{
    Compact();
    return fGroups;
}

} // namespace evaluate
