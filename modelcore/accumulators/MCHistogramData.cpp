#include "modelcore/accumulators/MCHistogramData.h"

#include "modelcore/accumulators/internal/Bins.h"
#include "modelcore/common/MCDisplay.h"

#include <limits>

namespace MCMath_930 {

using MCCommon_930::MCMV;
using MCXML_930::MCVariateData;

MCHistogramData::MCHistogramData(double minimum, double maximum, int nBins, bool computeMoments, bool keepEmptyBins)
    : fnBins(std::max(nBins, 1)), fdBinLength((maximum - minimum) / fnBins),
      fvBinMeans(static_cast<std::size_t>(fnBins), MCMV::Missing()), fvBinFrequencies(static_cast<std::size_t>(fnBins)),
      fvBinWeights(static_cast<std::size_t>(fnBins)), fdMinimum(minimum), fdMaximum(maximum),
      fbComputeMoments(computeMoments), fbKeepEmptyBins(keepEmptyBins)
{}

bool MCHistogramData::UpdateData(double freqWeight, double regWeight, double value)
{
    using internal::IsChartWeight;
    if (!IsChartWeight(freqWeight) || !IsChartWeight(regWeight) || !internal::IsChartValue(value)) return false;
    const std::size_t bin = internal::BinOf(value, fdMinimum, fdBinLength, fnBins);
    fdTotalFrequency += freqWeight;
    fdNCases += 1.0;
    fvBinFrequencies[bin] += freqWeight;
    const double weight = freqWeight * regWeight;
    if (weight == 0.0) return true;

    const double before = fdTotalWeight;
    fdTotalWeight = before + weight;
    const double step = weight / fdTotalWeight * (value - fdMean);
    const double mean = fdMean + step;
    // What is left of two numbers that cancel is rounding error.
    const bool cancelled = std::fabs(mean) < 2.0 * std::fabs(fdMean) * std::numeric_limits<double>::epsilon();
    fdMean = cancelled ? 0.0 : mean;
    if (fbComputeMoments) {
        const double moment = MCMV::IsMissing(fdSecondMoment) ? 0.0 : fdSecondMoment;
        fdSecondMoment = before / weight * (step * step) + before / fdTotalWeight * moment;
    }

    double& binMean = fvBinMeans[bin];
    if (MCMV::IsMissing(binMean)) binMean = 0.0;
    fvBinWeights[bin] += weight;
    binMean += weight / fvBinWeights[bin] * (value - binMean);
    return true;
}

double MCHistogramData::GetStdDev() const
{
    if (!fbComputeMoments || !(fdTotalWeight > 1.0)) return MCMV::Missing();
    return std::sqrt(fdTotalWeight * fdSecondMoment / (fdTotalWeight - 1.0));
}

const MCVariateData& MCHistogramData::GenerateMCVariateData(const std::string& name)
{
    if (fbGenerated) return fVariateData;
    MCXML_930::MCXMLCoordinates observed{"observed", name, "", {}};
    MCXML_930::MCXMLCoordinates frequency{"frequency", "", "", {}};
    for (std::size_t bin = 0; bin < fvBinMeans.size(); ++bin) {
        const bool empty = !(fvBinFrequencies[bin] > 0.0);
        if (empty && !fbKeepEmptyBins) continue;
        const double middle = fdMinimum + (static_cast<double>(bin) + 0.5) * fdBinLength;
        observed.fValues.push_back(empty ? middle : fvBinMeans[bin]);
        frequency.fValues.push_back(fvBinFrequencies[bin]);
    }
    fVariateData = {"", {std::move(observed), std::move(frequency)}, {{"mean", fdMean}, {"stdDeviation", GetStdDev()}}};
    fbGenerated = true;
    return fVariateData;
}

void MCHistogramData::Display() const
{
    MCDisplay_930::DisplayStart("MCHistogramData");
    MCDisplay_930::Display("The number of bins", fnBins);
    MCDisplay_930::Display("The length of a bin", fdBinLength);
    MCDisplay_930::Display("The means of each bin", fvBinMeans);
    MCDisplay_930::Display("N cases of each bin considering frequency weight only", fvBinFrequencies);
    MCDisplay_930::Display("The weighted (both frequency and regression weight) N cases", fvBinWeights);
    MCDisplay_930::Display("Minimum value from constructor", fdMinimum);
    MCDisplay_930::Display("Maximum value from constructor", fdMaximum);
    MCDisplay_930::Display("Weighted number of cases including both weights", fdTotalWeight);
    MCDisplay_930::Display("Total frequency weight", fdTotalFrequency);
    MCDisplay_930::Display("The total unweighted number of cases", fdNCases);
    MCDisplay_930::Display("The mean of all cases", fdMean);
    MCDisplay_930::Display("The second moment around mean", fdSecondMoment);
    MCDisplay_930::DisplayEnd("MCHistogramData");
}

} // namespace MCMath_930
