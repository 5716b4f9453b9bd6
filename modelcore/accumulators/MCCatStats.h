// Counts of one categorical field in one pass.
#pragma once

#include "modelcore/common/internal/EmptiedOnMove.h"
#include "modelcore/modelcore_export.h"

#include <cstddef>
#include <iosfwd>
#include <limits>
#include <map>
#include <vector>

namespace MCMath_930 {

/// The weighted count of each category 0, 1, 2, ... of one categorical field. Counts of pieces of the data pool into
/// those of the whole.
///
/// There is a count for each category up to the largest that occurred. Those below 65536 stand in a row, and so do
/// larger ones while about one in sixteen of these is in use; a category far beyond the row is kept by itself, so that
/// memory is that of the categories that occur and not that of their numbers.
class MODELCORE_EXPORT MCCatStats {
public:
    /// The largest category that is counted.
    static constexpr int kMaxCategory = std::numeric_limits<int>::max() - 1;

    /// No cases.
    MCCatStats() = default;

    /// Counts taken elsewhere: counts[i] is the weighted count of category i.
    explicit MCCatStats(std::vector<double> counts);

    /// A deep copy.
    MCCatStats(const MCCatStats& other) = default;

    /// Deep as well. When memory runs out, this object is as it was.
    MCCatStats& operator=(const MCCatStats& other) { return internal::AssignByCopy(*this, other); }

    /// Takes everything over; other has no counts afterwards.
    MCCatStats(MCCatStats&& other) noexcept = default;
    MCCatStats& operator=(MCCatStats&& other) noexcept = default;

    ~MCCatStats() = default;

    /// Adds a case to a category, truncated to an integer; the counts grow up to it. A weight that is not above 0
    /// counts as 1. When memory runs out, nothing has changed.
    /// @return  false, and nothing changed, when an argument is system-missing or the category is a NaN, below 0 or,
    ///          truncated, above kMaxCategory
    bool Update(double category, double freqWeight);

    /// Adds the counts of other, category by category. When memory runs out, nothing has changed.
    void Pool(const MCCatStats& other);

    /// With all: how many categories have a place in the counts. Without: that number less the counts of exactly 0 that
    /// a scan from the front finds, where each one found also takes the last place out of the scan. Empty categories
    /// near the end can therefore stay uncounted, or count: {0, 5, 0} gives 2, {0, 0} gives 1.
    int GetNCategories(bool all) const;

    /// The sum of all counts.
    double GetSumCounts() const;

    /// The weighted count of a category; 0 for one that never occurred.
    double GetCatCount(unsigned category) const;

    /// The counts of all categories up to the largest that occurred, however many they are: 16 GB for category 2e9.
    std::vector<double> GetCatCounts() const;

    /// Writes the state to the diagnostic text stream.
    void Display() const;

    /// Saves the state as an element of a flat value stream, every bit of it: how many counts there are in a
    /// row, and those counts. With categories beyond them the number is negative, less 1, and behind the counts come
    /// how many such categories there are, and number and count of each.
    /// @param indent  the depth of its tags, in tabs
    /// @return  the number of lines written; 0 when writing failed
    int WriteObjectXML(std::ostream& stream, int indent) const;

    /// Restores a state that was saved so. The stream stands before its element.
    /// @return  the number of lines read; 0, and nothing changed but the place in the stream, when they are not such a
    ///          state
    int ReadObjectXML(std::ifstream& stream);

private:
    std::size_t Size() const { return fFar.empty() ? fvCounts.size() : fFar.rbegin()->first + 1; }
    void GrowRow(std::size_t size);
    void AddTo(std::size_t category, double weight);

    std::vector<double> fvCounts;       // of the first categories
    std::map<std::size_t, double> fFar; // of categories beyond those
};

} // namespace MCMath_930
