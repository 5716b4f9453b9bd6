#include "modelcore/accumulators/MCCatStats.h"

#include "modelcore/accumulators/internal/StateStream.h"
#include "modelcore/common/MCDisplay.h"
#include "modelcore/common/MCMV.h"
#include "modelcore/common/internal/Index.h"

#include <algorithm>
#include <numeric>
#include <string>
#include <utility>

namespace MCMath_930 {

using MCCommon_930::MCMV;

MCCatStats::MCCatStats(std::vector<double> counts) : fvCounts(std::move(counts)) {}

/// Makes room before anything changes.
inline void MCCatStats::AddTo(std::size_t category, double weight)
{
    if (category >= fvCounts.size()) {
        // A row that is long already, or longer than that of 65536, grows when one in sixteen of its new counts is
        // used.
        const std::size_t limit = std::max<std::size_t>(65536, fvCounts.size()) + 16 * (fFar.size() + 1);
        if (category >= limit) {
            fFar[category] += weight;
            return;
        }
        GrowRow(category + 1);
    }
    fvCounts[category] += weight;
}

bool MCCatStats::Update(double category, double freqWeight)
{
    if (MCMV::IsMissing(freqWeight)) return false;
    if (!(category >= 0.0 && category < kMaxCategory + 1.0)) return false; // missing and NaN among them
    AddTo(static_cast<std::size_t>(category), freqWeight <= 0.0 ? 1.0 : freqWeight);
    return true;
}

/// The row takes the categories that it reaches by now from those beyond it.
void MCCatStats::GrowRow(std::size_t size)
{
    if (size <= fvCounts.size()) return;
    fvCounts.resize(size);
    const auto end = fFar.lower_bound(size);
    for (auto at = fFar.begin(); at != end; ++at) fvCounts[at->first] = at->second;
    fFar.erase(fFar.begin(), end);
}

void MCCatStats::Pool(const MCCatStats& other)
{
    MCCatStats sum(*this);
    sum.GrowRow(other.fvCounts.size());
    for (std::size_t i = 0; i < other.fvCounts.size(); ++i) sum.fvCounts[i] += other.fvCounts[i];
    for (const auto& [category, count] : other.fFar) sum.AddTo(category, count);
    *this = std::move(sum);
}

int MCCatStats::GetNCategories(bool all) const
{
    std::size_t count = Size();
    if (all) return static_cast<int>(count);
    std::size_t i = 0;
    for (; i < count && i < fvCounts.size(); ++i)
        if (fvCounts[i] == 0.0) --count;
    for (const auto& [category, weight] : fFar) {
        if (i >= count) break;
        const std::size_t empty = std::min(category - i, (count - i + 1) / 2); // each makes the rest two shorter
        i += empty;
        count -= empty;
        if (i < count) ++i; // the category itself
    }
    return static_cast<int>(count);
}

double MCCatStats::GetSumCounts() const
{
    const auto add = [](double sum, const auto& far) { return sum + far.second; };
    return std::accumulate(fFar.begin(), fFar.end(), std::accumulate(fvCounts.begin(), fvCounts.end(), 0.0), add);
}

double MCCatStats::GetCatCount(unsigned category) const
{
    if (category < fvCounts.size()) return fvCounts[category];
    const auto far = fFar.find(category);
    return far != fFar.end() ? far->second : 0.0;
}

std::vector<double> MCCatStats::GetCatCounts() const
{
    std::vector<double> counts(Size());
    std::copy(fvCounts.begin(), fvCounts.end(), counts.begin());
    for (const auto& [category, count] : fFar) counts[category] = count;
    return counts;
}

void MCCatStats::Display() const
{
    MCDisplay_930::DisplayStart("MCCatStats");
    MCDisplay_930::Display("Weighted counts of the categories", fvCounts);
    for (const auto& [category, count] : fFar) MCDisplay_930::Display("Category " + std::to_string(category), count);
    MCDisplay_930::DisplayEnd("MCCatStats");
}

int MCCatStats::WriteObjectXML(std::ostream& stream, int indent) const
{
    internal::StateWriter writer(stream, "MCCatStats", indent);
    const int inRow = static_cast<int>(fvCounts.size());
    writer.Write(fFar.empty() ? inRow : -inRow - 1);
    writer.Write(fvCounts);
    if (!fFar.empty()) {
        writer.WriteCount(fFar.size());
        for (const auto& [category, count] : fFar) {
            writer.Write(static_cast<int>(category));
            writer.Write(count);
        }
    }
    return writer.Finish();
}

int MCCatStats::ReadObjectXML(std::ifstream& stream)
{
    internal::StateReader reader(stream, "MCCatStats");
    int inRow = 0;
    std::vector<double> counts;
    reader.Read(inRow);
    const bool beyond = inRow < 0;
    reader.Read(counts, internal::AsSize(beyond ? -(inRow + 1) : inRow));
    MCCatStats read(std::move(counts));
    std::size_t far = 0;
    if (beyond) reader.ReadCount(far);
    while (reader.Ok() && read.fFar.size() < far) {
        int category = 0;
        double count = 0.0;
        reader.Read(category);
        reader.Read(count);
        if (reader.Require(category >= 0 && category <= kMaxCategory && internal::AsSize(category) >= read.Size()))
            read.fFar.emplace(category, count);
    }
    const int lines = reader.Finish();
    if (lines > 0) *this = std::move(read);
    return lines;
}

} // namespace MCMath_930
