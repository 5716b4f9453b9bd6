// Scored cases, those with the same score together, in memory that does not grow without bound.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace evaluate {

/// All cases with one score.
struct ScoreGroup {
    double score = 0.0;
    double cases = 0.0;   ///< sum of the frequencies
    double hits = 0.0;    ///< of the events among them; in a regression the sum of frequency times outcome
    double records = 0.0; ///< rows
};

/// Collects cases by their score. There may be kLimit different scores; beyond it scores are rounded to fewer and fewer
/// bits, until they fit, and GetBits says how many are left. So any number of cases fits into some hundred MB, and up to
/// millions of different scores nothing is lost.
class Scores {
public:
    static constexpr std::size_t kLimit = std::size_t{1} << 22;

    void Add(double score, double frequency, double hits);

    /// Sorts the groups, the highest score first, and gives them. Ties are one group: no order of the file is left.
    const std::vector<ScoreGroup>& Finish();

    /// How many bits of the fraction of a score are told apart; 52 are all.
    int GetBits() const { return 52 - fDropped; }

private:
    void Compact();
    double Rounded(double score) const;

    std::vector<ScoreGroup> fGroups;
    int fDropped = 0;
};

} // namespace evaluate
