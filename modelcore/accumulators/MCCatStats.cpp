#include "modelcore/accumulators/MCCatStats.h"

#include "modelcore/accumulators/internal/StateStream.h"
#include "modelcore/common/MCDisplay.h"
#include "modelcore/common/MCMV.h"

#include <numeric>

namespace MCMath_930 {

using MCCommon_930::MCMV;

bool MCCatStats::Update(double category, double freqWeight)
{
    if (MCMV::IsMissing(freqWeight)) return false;
    if (!(category >= 0.0 && category < kMaxCategory + 1.0)) return false; // missing and NaN among them
    const auto index = static_cast<std::size_t>(category);
    if (index >= fvCounts.size()) fvCounts.resize(index + 1);
    fvCounts[index] += freqWeight <= 0.0 ? 1.0 : freqWeight;
    return true;
}

void MCCatStats::Pool(const MCCatStats& other)
{
    if (fvCounts.size() < other.fvCounts.size()) fvCounts.resize(other.fvCounts.size());
    for (std::size_t i = 0; i < other.fvCounts.size(); ++i) fvCounts[i] += other.fvCounts[i];
}

int MCCatStats::GetNCategories(bool all) const
{
    std::size_t count = fvCounts.size();
    if (!all)
        for (std::size_t i = 0; i < count; ++i)
            if (fvCounts[i] == 0.0) --count;
    return static_cast<int>(count);
}

double MCCatStats::GetSumCounts() const
{
    return std::accumulate(fvCounts.begin(), fvCounts.end(), 0.0);
}

double MCCatStats::GetCatCount(unsigned category) const
{
    return category < fvCounts.size() ? fvCounts[category] : 0.0;
}

void MCCatStats::Display() const
{
    MCDisplay_930::DisplayStart("MCCatStats");
    MCDisplay_930::Display("Weighted counts of the categories", fvCounts);
    MCDisplay_930::DisplayEnd("MCCatStats");
}

int MCCatStats::WriteObjectXML(std::ostream& stream, int indent) const
{
    internal::StateWriter writer(stream, "MCCatStats", indent);
    writer.Write(static_cast<int>(fvCounts.size()));
    writer.Write(fvCounts);
    return writer.Finish();
}

int MCCatStats::ReadObjectXML(std::ifstream& stream)
{
    internal::StateReader reader(stream, "MCCatStats");
    int size = 0;
    std::vector<double> counts;
    reader.Read(size);
    reader.Require(size >= 0);
    reader.Read(counts, static_cast<std::size_t>(size));
    const int lines = reader.Finish();
    if (lines > 0) fvCounts.swap(counts);
    return lines;
}

} // namespace MCMath_930
