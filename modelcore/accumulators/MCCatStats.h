// Counts of one categorical field in one pass.
#pragma once

#include "modelcore/modelcore_export.h"

#include <iosfwd>
#include <limits>
#include <utility>
#include <vector>

namespace MCMath_930 {

/// The weighted count of each category 0, 1, 2, ... of one categorical field. Counts of pieces of the data pool into
/// those of the whole.
class MODELCORE_EXPORT MCCatStats {
public:
    /// The largest category that is counted.
    static constexpr int kMaxCategory = std::numeric_limits<int>::max() - 1;

    /// No cases.
    MCCatStats() = default;

    /// Counts taken elsewhere: counts[i] is the weighted count of category i.
    explicit MCCatStats(std::vector<double> counts) : fvCounts(std::move(counts)) {}

    /// Adds a case to a category, truncated to an integer; the counts grow up to it. A weight that is not above 0
    /// counts as 1.
    /// @return  false, and nothing changed, when an argument is system-missing or the category is a NaN, below 0 or,
    ///          truncated, above kMaxCategory
    bool Update(double category, double freqWeight);

    /// Adds the counts of other, category by category.
    void Pool(const MCCatStats& other);

    /// With all: how many categories have a place in the counts. Without: that number less the counts of exactly 0 that
    /// a scan from the front finds, where each one found also takes the last place out of the scan. Empty categories
    /// near the end can therefore stay uncounted, or count: {0, 5, 0} gives 2, {0, 0} gives 1.
    int GetNCategories(bool all) const;

    double GetSumCounts() const;

    /// The weighted count of a category; 0 for one that never occurred.
    double GetCatCount(unsigned category) const;

    const std::vector<double>& GetCatCounts() const { return fvCounts; }

    /// Writes the state to the diagnostic text stream.
    void Display() const;

    /// Saves the state as an element of a flat value stream, every bit of it: how many counts there are, and the
    /// counts.
    /// @param indent  the depth of its tags, in tabs
    /// @return  the number of lines written; 0 when writing failed
    int WriteObjectXML(std::ostream& stream, int indent) const;

    /// Restores a state that was saved so. The stream stands before its element.
    /// @return  the number of lines read; 0, and nothing changed but the place in the stream, when they are not such a
    ///          state
    int ReadObjectXML(std::ifstream& stream);

private:
    std::vector<double> fvCounts;
};

} // namespace MCMath_930
