#include "modelcore/accumulators/MCBarChartData.h"

#include "modelcore/accumulators/internal/Bins.h"
#include "modelcore/common/MCDisplay.h"

#include <numeric>

namespace MCMath_930 {

using MCXML_930::MCVariateData;

MCBarChartData::MCBarChartData(std::vector<std::string> categories)
    : fvCategories(std::move(categories)), fvFrequencies(fvCategories.size()), fvWeights(fvCategories.size())
{}

bool MCBarChartData::UpdateData(double freqWeight, double regWeight, int category)
{
    if (category < 0 || static_cast<std::size_t>(category) >= fvCategories.size()) return false;
    if (!internal::IsChartWeight(freqWeight) || !internal::IsChartWeight(regWeight)) return false;
    const auto bar = static_cast<std::size_t>(category);
    const double weight = freqWeight * regWeight;
    fvFrequencies[bar] += freqWeight;
    fvWeights[bar] += weight;
    fdTotalFrequency += freqWeight;
    fdTotalWeight += weight;
    fdNCases += 1.0;
    return true;
}

const MCVariateData& MCBarChartData::GenerateMCVariateData(const std::string& name)
{
    if (fbGenerated) return fVariateData;
    MCXML_930::MCXMLCoordinates category{"category", name, "", std::vector<double>(fvCategories.size())};
    std::iota(category.fValues.begin(), category.fValues.end(), 0.0);
    fVariateData = {"", {std::move(category), {"frequency", "", "", fvFrequencies}}, {}};
    fbGenerated = true;
    return fVariateData;
}

void MCBarChartData::Display() const
{
    MCDisplay_930::DisplayStart("MCBarChartData");
    for (std::size_t bar = 0; bar < fvCategories.size(); ++bar)
        MCDisplay_930::Display(fvCategories[bar], fvFrequencies[bar]);
    MCDisplay_930::Display("The weighted (both frequency and regression weight) N cases", fvWeights);
    MCDisplay_930::Display("Weighted number of cases including both weights", fdTotalWeight);
    MCDisplay_930::Display("Total frequency weight", fdTotalFrequency);
    MCDisplay_930::Display("The total unweighted number of cases", fdNCases);
    MCDisplay_930::DisplayEnd("MCBarChartData");
}

} // namespace MCMath_930
