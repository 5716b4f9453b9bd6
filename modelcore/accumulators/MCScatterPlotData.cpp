#include "modelcore/accumulators/MCScatterPlotData.h"

#include "modelcore/accumulators/internal/Bins.h"
#include "modelcore/accumulators/internal/StateStream.h"
#include "modelcore/common/MCDisplay.h"
#include "modelcore/common/internal/Index.h"

#include <new>
#include <utility>

namespace MCMath_930 {

using internal::AsSize;
using MCXML_930::MCVariateData;

namespace {

MCVariateData NoPoints()
{
    return {"", {{"x", "", "", {}}, {"y", "", "", {}}, {"frequency", "", "", {}}}, {}};
}

/// The number of cells, when a vector can have so many.
std::size_t CellCount(int nXBins, int nYBins)
{
    const std::size_t cells = AsSize(nXBins) * AsSize(nYBins);
    if (cells > std::vector<double>().max_size()) throw std::bad_alloc(); // a vector would throw something else
    return cells;
}

/// Makes room for as many points again.
void GrowPoints(MCVariateData& points)
{
    for (MCXML_930::MCXMLCoordinates& variable : points.fVariables)
        variable.fValues.reserve(2 * variable.fValues.size() + 1);
}

/// Makes all room first: when memory runs out, points are as they were.
void AppendPoint(MCVariateData& points, double x, double y, double frequency)
{
    std::vector<double>& xs = points.fVariables[0].fValues;
    std::vector<double>& ys = points.fVariables[1].fValues;
    std::vector<double>& frequencies = points.fVariables[2].fValues;
    const auto full = [](const std::vector<double>& values) { return values.size() == values.capacity(); };
    if (full(xs) || full(ys) || full(frequencies)) [[unlikely]]
        GrowPoints(points);
    xs.push_back(x);
    ys.push_back(y);
    frequencies.push_back(frequency);
}

} // namespace

MCScatterPlotData::MCScatterPlotData() : fVariateData(NoPoints()) {}

MCScatterPlotData::MCScatterPlotData(double minX, double maxX, int nXBins, double minY, double maxY, int nYBins)
    : fnXBins(std::max(nXBins, 1)), fnYBins(std::max(nYBins, 1)), fdXLength(internal::BinLength(minX, maxX, fnXBins)),
      fdYLength(internal::BinLength(minY, maxY, fnYBins)), fdMinX(minX), fdMaxX(maxX), fdMinY(minY), fdMaxY(maxY),
      fbBinned(true), fvMeansX(CellCount(fnXBins, fnYBins)), fvMeansY(fvMeansX.size()), fvFrequencies(fvMeansX.size()),
      fvWeights(fvMeansX.size()), fVariateData(NoPoints())
{}

const std::vector<double>& MCScatterPlotData::PointValues(std::size_t variable) const
{
    static const std::vector<double> none;
    return fVariateData.fVariables.empty() ? none : fVariateData.fVariables[variable].fValues;
}

inline void MCScatterPlotData::AddToCell(std::size_t cell, double frequency, double weight, double x, double y)
{
    fvFrequencies[cell] += frequency;
    if (weight == 0.0) return;
    fvWeights[cell] += weight;
    const double share = weight / fvWeights[cell];
    fvMeansX[cell] += share * (x - fvMeansX[cell]);
    fvMeansY[cell] += share * (y - fvMeansY[cell]);
}

bool MCScatterPlotData::UpdateData(double freqWeight, double regWeight, double x, double y)
{
    using namespace internal;
    if (!IsChartWeight(freqWeight) || !IsChartValue(x) || !IsChartValue(y)) return false;
    if (!fbBinned) {
        if (fVariateData.fVariables.empty()) fVariateData = NoPoints();
        AppendPoint(fVariateData, x, y, freqWeight);
        fdTotalFrequency += freqWeight;
        return true;
    }
    if (!IsChartWeight(regWeight)) return false;
    const std::size_t cell =
        BinOf(x, fdMinX, fdXLength, fnXBins) * AsSize(fnYBins) + BinOf(y, fdMinY, fdYLength, fnYBins);
    const double weight = freqWeight * regWeight;
    fdTotalFrequency += freqWeight;
    fdNCases += 1.0;
    fdTotalWeight += weight;
    AddToCell(cell, freqWeight, weight, x, y);
    return true;
}

bool MCScatterPlotData::Merge(const MCScatterPlotData& other)
{
    if (fbBinned != other.fbBinned) return false;
    if (!fbBinned) {
        const std::size_t count = other.GetXCoordinates().size();
        if (fVariateData.fVariables.empty()) fVariateData = NoPoints();
        for (MCXML_930::MCXMLCoordinates& variable : fVariateData.fVariables)
            variable.fValues.reserve(variable.fValues.size() + count);
        for (std::size_t i = 0; i < count; ++i) // by number: other may be this object
            AppendPoint(fVariateData, other.GetXCoordinates()[i], other.GetYCoordinates()[i],
                        other.GetFrequencies()[i]);
    } else {
        if (fnXBins != other.fnXBins || fdMinX != other.fdMinX || fdMaxX != other.fdMaxX || fnYBins != other.fnYBins ||
            fdMinY != other.fdMinY || fdMaxY != other.fdMaxY)
            return false;
        for (std::size_t cell = 0; cell < fvWeights.size(); ++cell)
            AddToCell(cell, other.fvFrequencies[cell], other.fvWeights[cell], other.fvMeansX[cell],
                      other.fvMeansY[cell]);
    }
    fdTotalFrequency += other.fdTotalFrequency;
    fdTotalWeight += other.fdTotalWeight;
    fdNCases += other.fdNCases;
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
    MCDisplay_930::Display("Weighted number of cases including both weights", GetTotalWeight());
    MCDisplay_930::Display("Total frequency weight", GetTotalFrequency());
    MCDisplay_930::Display("The total unweighted number of cases", static_cast<double>(fdNCases));
    MCDisplay_930::DisplayEnd("MCScatterPlotData");
}

int MCScatterPlotData::WriteObjectXML(std::ostream& stream, int indent) const
{
    internal::StateWriter writer(stream, "MCScatterPlotData", indent);
    writer.Write(IsBinned());
    writer.Write(GetTotalFrequency());
    if (!fbBinned) {
        writer.WriteCount(GetXCoordinates().size());
        for (const auto* const values : {&GetXCoordinates(), &GetYCoordinates(), &GetFrequencies()})
            writer.Write(*values);
        return writer.Finish();
    }
    writer.Write(fnXBins);
    writer.Write(fnYBins);
    for (const double number : {fdMinX, fdMaxX, fdMinY, fdMaxY, GetTotalWeight(), static_cast<double>(fdNCases)})
        writer.Write(number);
    for (const std::vector<double>* const cells : {&fvMeansX, &fvMeansY, &fvFrequencies, &fvWeights})
        writer.Write(*cells);
    return writer.Finish();
}

int MCScatterPlotData::ReadObjectXML(std::ifstream& stream)
{
    internal::StateReader reader(stream, "MCScatterPlotData");
    MCScatterPlotData read;
    bool binned = false;
    double frequency = 0.0;
    reader.Read(binned);
    reader.Read(frequency);
    if (!binned) {
        std::size_t count = 0;
        reader.ReadCount(count);
        for (MCXML_930::MCXMLCoordinates& variable : read.fVariateData.fVariables) reader.Read(variable.fValues, count);
    } else {
        double weight = 0.0;
        double cases = 0.0;
        reader.Read(read.fnXBins);
        reader.Read(read.fnYBins);
        reader.Require(read.fnXBins >= 1 && read.fnYBins >= 1);
        for (double* const number : {&read.fdMinX, &read.fdMaxX, &read.fdMinY, &read.fdMaxY, &weight, &cases})
            reader.Read(*number);
        const std::size_t count = reader.Ok() ? AsSize(read.fnXBins) * AsSize(read.fnYBins) : 0;
        for (std::vector<double>* const cells : {&read.fvMeansX, &read.fvMeansY, &read.fvFrequencies, &read.fvWeights})
            reader.Read(*cells, count);
        read.fdXLength = internal::BinLength(read.fdMinX, read.fdMaxX, read.fnXBins);
        read.fdYLength = internal::BinLength(read.fdMinY, read.fdMaxY, read.fnYBins);
        read.fdTotalWeight = weight;
        read.fdNCases = cases;
    }
    read.fbBinned = binned;
    read.fdTotalFrequency = frequency;
    const int lines = reader.Finish();
    if (lines > 0) *this = std::move(read);
    return lines;
}

} // namespace MCMath_930
