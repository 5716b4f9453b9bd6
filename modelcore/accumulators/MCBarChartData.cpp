#include "modelcore/accumulators/MCBarChartData.h"

#include "modelcore/accumulators/internal/Bins.h"
#include "modelcore/accumulators/internal/StateStream.h"
#include "modelcore/common/MCDisplay.h"

#include <numeric>
#include <utility>

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
    fbCurrent = false;
    return true;
}

bool MCBarChartData::Merge(const MCBarChartData& other)
{
    if (fvCategories != other.fvCategories) return false;
    for (std::size_t bar = 0; bar < fvCategories.size(); ++bar) {
        fvFrequencies[bar] += other.fvFrequencies[bar];
        fvWeights[bar] += other.fvWeights[bar];
    }
    fdTotalFrequency += other.fdTotalFrequency;
    fdTotalWeight += other.fdTotalWeight;
    fdNCases += other.fdNCases;
    fbCurrent = false;
    return true;
}

const MCVariateData& MCBarChartData::GenerateMCVariateData(const std::string& name)
{
    if (fbCurrent) return fVariateData;
    const bool first = fVariateData.fVariables.empty();
    MCXML_930::MCXMLCoordinates category{"category", first ? name : fVariateData.fVariables[0].fField, "", {}};
    category.fValues.resize(fvCategories.size());
    std::iota(category.fValues.begin(), category.fValues.end(), 0.0);
    category.fTexts = fvCategories;
    fVariateData = {"", {std::move(category), {"frequency", "", "", fvFrequencies}}, {}};
    fbCurrent = true;
    return fVariateData;
}

void MCBarChartData::Display() const
{
    MCDisplay_930::DisplayStart("MCBarChartData");
    for (std::size_t bar = 0; bar < fvCategories.size(); ++bar)
        MCDisplay_930::Display(fvCategories[bar], fvFrequencies[bar]);
    MCDisplay_930::Display("The weighted (both frequency and regression weight) N cases", fvWeights);
    MCDisplay_930::Display("Weighted number of cases including both weights", GetTotalWeight());
    MCDisplay_930::Display("Total frequency weight", GetTotalFrequency());
    MCDisplay_930::Display("The total unweighted number of cases", GetNCases());
    MCDisplay_930::DisplayEnd("MCBarChartData");
}

int MCBarChartData::WriteObjectXML(std::ostream& stream, int indent) const
{
    internal::StateWriter writer(stream, "MCBarChartData", indent);
    writer.WriteCount(fvCategories.size());
    for (const std::string& category : fvCategories) writer.Write(category);
    for (const double number : {GetTotalWeight(), GetTotalFrequency(), GetNCases()}) writer.Write(number);
    writer.Write(fvFrequencies);
    writer.Write(fvWeights);
    return writer.Finish();
}

int MCBarChartData::ReadObjectXML(std::ifstream& stream)
{
    internal::StateReader reader(stream, "MCBarChartData");
    MCBarChartData read({});
    std::size_t count = 0;
    reader.ReadCount(count);
    for (std::string category; read.fvCategories.size() < count && reader.Read(category);)
        read.fvCategories.push_back(category);
    for (internal::EmptiedOnMove<double>* const number : {&read.fdTotalWeight, &read.fdTotalFrequency, &read.fdNCases})
        reader.Read(static_cast<double&>(*number));
    reader.Read(read.fvFrequencies, count);
    reader.Read(read.fvWeights, count);
    const int lines = reader.Finish();
    if (lines > 0) *this = std::move(read);
    return lines;
}

} // namespace MCMath_930
