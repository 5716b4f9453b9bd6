#include "modelcore/accumulators/MCScatterPlotData.h"

#include "modelcore/accumulators/internal/Bins.h"
#include "modelcore/common/MCDisplay.h"

namespace MCMath_930 {

using MCXML_930::MCVariateData;

namespace {

MCVariateData NoPoints()
{
    return {"", {{"x", "", "", {}}, {"y", "", "", {}}, {"frequency", "", "", {}}}, {}};
}

void AppendPoint(MCVariateData& points, double x, double y, double frequency)
{
    points.fVariables[0].fValues.push_back(x);
    points.fVariables[1].fValues.push_back(y);
    points.fVariables[2].fValues.push_back(frequency);
}

} // namespace

MCScatterPlotData::MCScatterPlotData() : fVariateData(NoPoints()) {}

MCScatterPlotData::MCScatterPlotData(double minX, double maxX, int nXBins, double minY, double maxY, int nYBins)
    : fnXBins(std::max(nXBins, 1)), fnYBins(std::max(nYBins, 1)), fdXLength((maxX - minX) / fnXBins),
      fdYLength((maxY - minY) / fnYBins), fdMinX(minX), fdMaxX(maxX), fdMinY(minY), fdMaxY(maxY), fbBinned(true),
      fvMeansX(static_cast<std::size_t>(fnXBins) * static_cast<std::size_t>(fnYBins)), fvMeansY(fvMeansX.size()),
      fvFrequencies(fvMeansX.size()), fvWeights(fvMeansX.size()), fVariateData(NoPoints())
{}

bool MCScatterPlotData::UpdateData(double freqWeight, double regWeight, double x, double y)
{
    using namespace internal;
    if (!IsChartWeight(freqWeight) || !IsChartWeight(regWeight) || !IsChartValue(x) || !IsChartValue(y)) return false;
    fdTotalFrequency += freqWeight;
    if (!fbBinned) {
        AppendPoint(fVariateData, x, y, freqWeight);
        return true;
    }
    const std::size_t cell =
        BinOf(x, fdMinX, fdXLength, fnXBins) * static_cast<std::size_t>(fnYBins) + BinOf(y, fdMinY, fdYLength, fnYBins);
    const double weight = freqWeight * regWeight;
    fdNCases += 1.0;
    fdTotalWeight += weight;
    fvFrequencies[cell] += freqWeight;
    if (weight == 0.0) return true;
    fvWeights[cell] += weight;
    const double share = weight / fvWeights[cell];
    fvMeansX[cell] += share * (x - fvMeansX[cell]);
    fvMeansY[cell] += share * (y - fvMeansY[cell]);
    return true;
}

MCVariateData MCScatterPlotData::GetCellData() const
{
    MCVariateData points = NoPoints();
    for (std::size_t cell = 0; cell < fvWeights.size(); ++cell)
        if (fvWeights[cell] > 0.0) AppendPoint(points, fvMeansX[cell], fvMeansY[cell], fvFrequencies[cell]);
    return points;
}

void MCScatterPlotData::Display() const
{
    MCDisplay_930::DisplayStart("MCScatterPlotData");
    MCDisplay_930::Display("The number of bins for X", fnXBins);
    MCDisplay_930::Display("The number of bins for Y", fnYBins);
    MCDisplay_930::Display("The length of a bin for X", fdXLength);
    MCDisplay_930::Display("The length of a bin for Y", fdYLength);
    MCDisplay_930::Display("The means for X in each bin", fvMeansX);
    MCDisplay_930::Display("The means for Y in each bin", fvMeansY);
    MCDisplay_930::Display("N cases of each bin considering frequency weight only", fvFrequencies);
    MCDisplay_930::Display("The weighted (frequency and regression weight) N cases", fvWeights);
    MCDisplay_930::Display("Minimum X value from constructor", fdMinX);
    MCDisplay_930::Display("Maximum X value from constructor", fdMaxX);
    MCDisplay_930::Display("Minimum Y value from constructor", fdMinY);
    MCDisplay_930::Display("Maximum Y value from constructor", fdMaxY);
    MCDisplay_930::Display("Weighted number of cases including both weights", fdTotalWeight);
    MCDisplay_930::Display("Total frequency weight", fdTotalFrequency);
    MCDisplay_930::Display("The total unweighted number of cases", fdNCases);
    MCDisplay_930::DisplayEnd("MCScatterPlotData");
}

} // namespace MCMath_930
