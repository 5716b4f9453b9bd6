// Points of a scatter plot, as they are or in the cells of a grid.
#pragma once

#include "modelcore/modelcore_export.h"
#include "modelcore/output/MCVariateData.h"

#include <cstdint>
#include <vector>

namespace MCMath_930 {

/// The data of a scatter plot: raw points with their frequencies, or, for many cases, a grid of nXBins times nYBins
/// cells of equal size; points beyond the grid fall into the cells at its edge. Each cell keeps its mean point, its
/// frequency count and its weight (frequency weight times regression weight). Cell (i, j), i along X, is number
/// i*nYBins + j.
class MODELCORE_EXPORT MCScatterPlotData {
public:
    /// Raw points.
    MCScatterPlotData();

    /// Cells; at least one bin each way, of length (maximum - minimum)/bins.
    MCScatterPlotData(double minX, double maxX, int nXBins, double minY, double maxY, int nYBins);

    /// Adds one case: a point (of which only the total frequency is kept besides), or a case of its cell. A weight of 0
    /// leaves the means of the cell as they are.
    /// @return  false, and nothing changed, when a value is a NaN or system-missing or a weight is not >= 0
    bool UpdateData(double freqWeight, double regWeight, double x, double y);

    bool IsBinned() const { return fbBinned; }

    /// The sum of the products of both weights; 0 for raw points.
    double GetTotalWeight() const { return fdTotalWeight; }
    double GetTotalFrequency() const { return fdTotalFrequency; }

    /// The raw points; none with cells.
    const std::vector<double>& GetXCoordinates() const { return fVariateData.fVariables[0].fValues; }
    const std::vector<double>& GetYCoordinates() const { return fVariateData.fVariables[1].fValues; }
    const std::vector<double>& GetFrequencies() const { return fVariateData.fVariables[2].fValues; }

    /// The raw points as chart data: the variables "x", "y" and "frequency".
    const MCXML_930::MCVariateData& GetMCVariateData() const { return fVariateData; }

    /// Of each cell; 0 where there is no weight.
    const std::vector<double>& GetCellMeansX() const { return fvMeansX; }
    const std::vector<double>& GetCellMeansY() const { return fvMeansY; }
    const std::vector<double>& GetCellFrequencies() const { return fvFrequencies; }
    const std::vector<double>& GetCellWeights() const { return fvWeights; }

    /// The mean points of the cells whose weight is above 0, with their frequency counts, as chart data like that of
    /// raw points.
    MCXML_930::MCVariateData GetCellData() const;

    /// Writes the fields to the diagnostic text stream.
    void Display() const;

private:
    std::int32_t fnXBins = 1;
    std::int32_t fnYBins = 1;
    double fdXLength = 2.0;
    double fdYLength = 2.0;
    double fdMinX = -1.0;
    double fdMaxX = 1.0;
    double fdMinY = -1.0;
    double fdMaxY = 1.0;
    bool fbBinned = false;
    std::vector<double> fvMeansX;
    std::vector<double> fvMeansY;
    std::vector<double> fvFrequencies;
    std::vector<double> fvWeights;
    double fdTotalWeight = 0.0;
    double fdTotalFrequency = 0.0;
    double fdNCases = 0.0;
    MCXML_930::MCVariateData fVariateData;
};

} // namespace MCMath_930
