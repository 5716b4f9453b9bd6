#include "modelcore/accumulators/MCHistogramData.h"

#include "modelcore/accumulators/internal/Bins.h"
#include "modelcore/accumulators/internal/StateStream.h"
#include "modelcore/common/MCDisplay.h"
#include "modelcore/common/internal/Index.h"

#include <initializer_list>
#include <limits>
#include <utility>

namespace MCMath_930 {

using internal::AsSize;
using MCCommon_930::MCMV;
using MCXML_930::MCVariateData;

MCHistogramData::MCHistogramData(double minimum, double maximum, int nBins, bool computeMoments, bool keepEmptyBins)
    : fnBins(std::max(nBins, 1)), fdBinLength(internal::BinLength(minimum, maximum, fnBins)),
      fvBinMeans(AsSize(fnBins), MCMV::Missing()), fvBinFrequencies(AsSize(fnBins)), fvBinWeights(AsSize(fnBins)),
      fdMinimum(minimum), fdMaximum(maximum), fbComputeMoments(computeMoments), fbKeepEmptyBins(keepEmptyBins)
{}

// Inline, since nothing else of this class that is exported may be copied into its callers.
inline void MCHistogramData::AddToBin(std::size_t bin, double frequency, double weight, double value)
{
    fvBinFrequencies[bin] += frequency;
    if (weight == 0.0) return;
    double& mean = fvBinMeans[bin];
    if (MCMV::IsMissing(mean)) mean = 0.0;
    fvBinWeights[bin] += weight;
    mean += weight / fvBinWeights[bin] * (value - mean);
}

inline void MCHistogramData::AddToMoments(double weight, double value)
{
    const double before = fdTotalWeight;
    const double total = before + weight;
    const double step = weight / total * (value - fdMean);
    const double mean = fdMean + step;
    // What is left of two numbers that cancel is rounding error. Twice the old mean itself could be infinite.
    const bool cancelled = std::fabs(mean) < std::fabs(fdMean) * (2.0 * std::numeric_limits<double>::epsilon());
    fdMean = cancelled ? 0.0 : mean;
    if (fbComputeMoments) {
        const double moment = MCMV::IsMissing(fdSecondMoment) ? 0.0 : fdSecondMoment;
        // The first case has no deviation. Its square could be infinite, and 0 times that is a NaN.
        fdSecondMoment =
            before > 0.0 ? before / weight * (step * step) + before / total * moment : 0.0 * std::fabs(step);
    }
    fdTotalWeight = total;
}

bool MCHistogramData::UpdateData(double freqWeight, double regWeight, double value)
{
    using internal::IsChartWeight;
    if (!IsChartWeight(freqWeight) || !IsChartWeight(regWeight) || !internal::IsChartValue(value)) return false;
    if (fnBins < 1) return false;
    const double weight = freqWeight * regWeight;
    fdTotalFrequency += freqWeight;
    fdNCases += 1.0;
    AddToBin(internal::BinOf(value, fdMinimum, fdBinLength, fnBins), freqWeight, weight, value);
    if (weight != 0.0) AddToMoments(weight, value);
    fbCurrent = false;
    return true;
}

bool MCHistogramData::Merge(const MCHistogramData& other)
{
    if (fnBins != other.fnBins || fdMinimum != other.fdMinimum || fdMaximum != other.fdMaximum ||
        fbComputeMoments != other.fbComputeMoments)
        return false;
    for (std::size_t bin = 0; bin < fvBinMeans.size(); ++bin)
        AddToBin(bin, other.fvBinFrequencies[bin], other.fvBinWeights[bin], other.fvBinMeans[bin]);
    fdTotalFrequency += other.fdTotalFrequency;
    fdNCases += other.fdNCases;
    const double weight = other.fdTotalWeight; // other may be this object
    const double moment = other.fdSecondMoment;
    if (weight != 0.0) {
        AddToMoments(weight, other.fdMean); // as of cases that lie on their mean
        if (fbComputeMoments) fdSecondMoment += weight / fdTotalWeight * moment;
    }
    fbCurrent = false;
    return true;
}

double MCHistogramData::GetStdDev() const
{
    if (!fbComputeMoments || !(fdTotalWeight > 1.0)) return MCMV::Missing();
    return std::sqrt(fdTotalWeight * fdSecondMoment / (fdTotalWeight - 1.0));
}

const MCVariateData& MCHistogramData::GenerateMCVariateData(const std::string& name)
{
    if (fbCurrent) return fVariateData;
    const bool first = fVariateData.fVariables.empty();
    MCXML_930::MCXMLCoordinates observed{"observed", first ? name : fVariateData.fVariables[0].fField, "", {}};
    MCXML_930::MCXMLCoordinates frequency{"frequency", "", "", {}};
    for (std::size_t bin = 0; bin < fvBinMeans.size(); ++bin) {
        const bool empty = !(fvBinFrequencies[bin] > 0.0);
        if (empty && !fbKeepEmptyBins) continue;
        const double middle = fdMinimum + (static_cast<double>(bin) + 0.5) * fdBinLength;
        observed.fValues.push_back(empty ? middle : fvBinMeans[bin]);
        frequency.fValues.push_back(fvBinFrequencies[bin]);
    }
    fVariateData = {
        "", {std::move(observed), std::move(frequency)}, {{"mean", GetMean()}, {"stdDeviation", GetStdDev()}}};
    fbCurrent = true;
    return fVariateData;
}

void MCHistogramData::Display() const
{
    MCDisplay_930::DisplayStart("MCHistogramData");
    MCDisplay_930::Display("The number of bins", GetNBins());
    MCDisplay_930::Display("The length of a bin", fdBinLength);
    MCDisplay_930::Display("The means of each bin", fvBinMeans);
    MCDisplay_930::Display("N cases of each bin considering frequency weight only", fvBinFrequencies);
    MCDisplay_930::Display("The weighted (both frequency and regression weight) N cases", fvBinWeights);
    MCDisplay_930::Display("Minimum value from constructor", fdMinimum);
    MCDisplay_930::Display("Maximum value from constructor", fdMaximum);
    MCDisplay_930::Display("Weighted number of cases including both weights", GetTotalWeight());
    MCDisplay_930::Display("Total frequency weight", GetTotalFrequency());
    MCDisplay_930::Display("The total unweighted number of cases", GetNCases());
    MCDisplay_930::Display("The mean of all cases", GetMean());
    MCDisplay_930::Display("The second moment around mean", fdSecondMoment);
    MCDisplay_930::DisplayEnd("MCHistogramData");
}

int MCHistogramData::WriteObjectXML(std::ostream& stream, int indent) const
{
    internal::StateWriter writer(stream, "MCHistogramData", indent);
    writer.Write(GetNBins());
    writer.Write(fbComputeMoments);
    writer.Write(fbKeepEmptyBins);
    for (const double number :
         {fdMinimum, fdMaximum, GetTotalWeight(), GetTotalFrequency(), GetNCases(), GetMean(), fdSecondMoment})
        writer.Write(number);
    for (const std::vector<double>* const bins : {&fvBinMeans, &fvBinFrequencies, &fvBinWeights}) writer.Write(*bins);
    return writer.Finish();
}

int MCHistogramData::ReadObjectXML(std::ifstream& stream)
{
    internal::StateReader reader(stream, "MCHistogramData");
    MCHistogramData read(0.0, 0.0, 1);
    int nBins = 0;
    reader.Read(nBins);
    reader.Require(nBins >= 0);
    reader.Read(read.fbComputeMoments);
    reader.Read(read.fbKeepEmptyBins);
    for (double* const number : std::initializer_list<double*>{
             &read.fdMinimum, &read.fdMaximum, &static_cast<double&>(read.fdTotalWeight),
             &static_cast<double&>(read.fdTotalFrequency), &static_cast<double&>(read.fdNCases),
             &static_cast<double&>(read.fdMean), &read.fdSecondMoment})
        reader.Read(*number);
    for (std::vector<double>* const bins : {&read.fvBinMeans, &read.fvBinFrequencies, &read.fvBinWeights})
        reader.Read(*bins, AsSize(nBins));
    read.fnBins = nBins;
    read.fdBinLength = internal::BinLength(read.fdMinimum, read.fdMaximum, nBins);
    const int lines = reader.Finish();
    if (lines > 0) *this = std::move(read);
    return lines;
}

} // namespace MCMath_930
