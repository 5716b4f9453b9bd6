// Points of a scatter plot, as they are or in the cells of a grid.
#pragma once

#include "modelcore/common/internal/EmptiedOnMove.h"
#include "modelcore/modelcore_export.h"
#include "modelcore/output/MCVariateData.h"

#include <cstddef>
#include <cstdint>
#include <iosfwd>
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
    /// Throws std::bad_alloc when there is no memory for so many.
    MCScatterPlotData(double minX, double maxX, int nXBins, double minY, double maxY, int nYBins);

    /// A deep copy.
    MCScatterPlotData(const MCScatterPlotData& other) = default;

    /// Deep as well. When memory runs out, this object is as it was.
    MCScatterPlotData& operator=(const MCScatterPlotData& other) { return internal::AssignByCopy(*this, other); }

    /// Takes everything over; other has neither points nor cells afterwards and keeps raw points from then on.
    MCScatterPlotData(MCScatterPlotData&& other) noexcept = default;
    MCScatterPlotData& operator=(MCScatterPlotData&& other) noexcept = default;

    ~MCScatterPlotData() = default;

    /// Adds one case: a point (of which only the total frequency is kept besides), or a case of its cell. A weight of 0
    /// leaves the means of the cell as they are. Raw points have no use for the regression weight, which is not looked
    /// at. When memory runs out, nothing has changed.
    /// @return  false, and nothing changed, when a value is a NaN or system-missing or a weight is not >= 0
    bool UpdateData(double freqWeight, double regWeight, double x, double y);

    /// Adds the cases of other: its points behind those of this object, or its counts, weights and means to those of
    /// the cells. When memory runs out, nothing has changed.
    /// @return  false, and nothing changed, when one keeps points and the other cells, or other cells
    bool Merge(const MCScatterPlotData& other);

    /// Whether there are cells instead of raw points.
    bool IsBinned() const { return fbBinned; }

    /// The sum of the products of both weights; 0 for raw points.
    double GetTotalWeight() const { return fdTotalWeight; }
    /// The sum of frequency weights.
    double GetTotalFrequency() const { return fdTotalFrequency; }

    /// The raw points and their frequencies; none with cells.
    const std::vector<double>& GetXCoordinates() const { return PointValues(0); }
    /// The y coordinates of the raw points; none with cells.
    const std::vector<double>& GetYCoordinates() const { return PointValues(1); }
    /// The frequencies of the raw points; none with cells.
    const std::vector<double>& GetFrequencies() const { return PointValues(2); }

    /// The raw points as chart data: the variables "x", "y" and "frequency". An object that was moved from has no
    /// variables until its next point.
    const MCXML_930::MCVariateData& GetMCVariateData() const { return fVariateData; }

    /// Of each cell; 0 where there is no weight.
    const std::vector<double>& GetCellMeansX() const { return fvMeansX; }
    /// The mean y of each cell; 0 where there is no weight.
    const std::vector<double>& GetCellMeansY() const { return fvMeansY; }
    /// The sum of frequency weights of each cell.
    const std::vector<double>& GetCellFrequencies() const { return fvFrequencies; }
    /// The sum of weights of each cell.
    const std::vector<double>& GetCellWeights() const { return fvWeights; }

    /// The mean points of the cells whose weight is above 0, with their frequency counts, as chart data like that of
    /// raw points.
    MCXML_930::MCVariateData GetCellData() const;

    /// Writes the fields to the diagnostic text stream.
    void Display() const;

    /// Saves the state as an element of a flat value stream, every bit of it.
    /// @param indent  the depth of its tags, in tabs
    /// @return  the number of lines written; 0 when writing failed
    int WriteObjectXML(std::ostream& stream, int indent) const;

    /// Restores a state that was saved so. The stream stands before its element.
    /// @return  the number of lines read; 0, and nothing changed but the place in the stream, when they are not such a
    ///          state
    int ReadObjectXML(std::ifstream& stream);

private:
    const std::vector<double>& PointValues(std::size_t variable) const;
    void AddToCell(std::size_t cell, double frequency, double weight, double x, double y);

    std::int32_t fnXBins = 1;
    std::int32_t fnYBins = 1;
    double fdXLength = 2.0;
    double fdYLength = 2.0;
    double fdMinX = -1.0;
    double fdMaxX = 1.0;
    double fdMinY = -1.0;
    double fdMaxY = 1.0;
    internal::EmptiedOnMove<bool> fbBinned = false;
    std::vector<double> fvMeansX;
    std::vector<double> fvMeansY;
    std::vector<double> fvFrequencies;
    std::vector<double> fvWeights;
    internal::EmptiedOnMove<double> fdTotalWeight = 0.0;
    internal::EmptiedOnMove<double> fdTotalFrequency = 0.0;
    internal::EmptiedOnMove<double> fdNCases = 0.0;
    MCXML_930::MCVariateData fVariateData;
};

} // namespace MCMath_930
