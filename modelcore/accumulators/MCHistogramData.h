// A histogram of one continuous field in one pass.
#pragma once

#include "modelcore/common/MCMV.h"
#include "modelcore/common/internal/EmptiedOnMove.h"
#include "modelcore/modelcore_export.h"
#include "modelcore/output/MCVariateData.h"

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <vector>

namespace MCMath_930 {

/// Bins of equal length from a minimum to a maximum; values beyond them fall into the first and the last bin. Each bin
/// keeps its mean, its frequency count and its weight (frequency weight times regression weight); over all cases the
/// mean and, if wanted, the second moment around it are kept.
class MODELCORE_EXPORT MCHistogramData {
public:
    /// nBins bins (at least 1) of length (maximum - minimum)/nBins.
    /// @param computeMoments  whether the second moment is kept, from which GetStdDev comes
    /// @param keepEmptyBins   whether GenerateMCVariateData has a row for bins without cases too: the middle of the bin
    ///                        and 0
    MCHistogramData(double minimum, double maximum, int nBins, bool computeMoments = true, bool keepEmptyBins = false);

    /// A deep copy.
    MCHistogramData(const MCHistogramData& other) = default;

    /// Deep as well. When memory runs out, this object is as it was.
    MCHistogramData& operator=(const MCHistogramData& other) { return internal::AssignByCopy(*this, other); }

    /// Takes everything over; other has no bins afterwards and refuses cases until it is assigned to.
    MCHistogramData(MCHistogramData&& other) noexcept = default;
    MCHistogramData& operator=(MCHistogramData&& other) noexcept = default;

    ~MCHistogramData() = default;

    /// Adds one case. A weight of 0 leaves all means as they are; the case is still counted.
    /// @return  false, and nothing changed, when the value is a NaN or system-missing, a weight is not >= 0 or there
    ///          are no bins
    bool UpdateData(double freqWeight, double regWeight, double value);

    /// Adds the cases of other. Counts and weights are added, means and moments pooled (Chan, Golub & LeVeque 1979).
    /// @return  false, and nothing changed, when the two differ in number of bins, minimum, maximum or whether the
    ///          second moment is kept
    bool Merge(const MCHistogramData& other);

    /// The number of bins.
    int GetNBins() const { return fnBins; }
    /// The length of a bin.
    double GetBinLength() const { return fdBinLength; }

    /// The mean of each bin; system-missing while the bin has no weight.
    const std::vector<double>& GetBinMeans() const { return fvBinMeans; }
    /// The sum of frequency weights in each bin.
    const std::vector<double>& GetBinFrequencies() const { return fvBinFrequencies; }
    /// The sum of the products of both weights in each bin.
    const std::vector<double>& GetBinWeights() const { return fvBinWeights; }

    /// The sum of the products of both weights.
    double GetTotalWeight() const { return fdTotalWeight; }
    /// The sum of frequency weights.
    double GetTotalFrequency() const { return fdTotalFrequency; }
    /// The number of cases, unweighted.
    double GetNCases() const { return fdNCases; }

    /// The mean of all cases; 0 while there is no weight. When a case brings the mean below twice the double epsilon
    /// times the mean of before, what is left is rounding error, and it is set to 0.
    double GetMean() const { return fdMean; }

    /// The standard deviation of all cases, with the total weight less 1 as the divisor; system-missing without moments
    /// and unless the total weight is above 1.
    double GetStdDev() const;

    /// The histogram as chart data: a variable "observed" of the given field name with the mean of each bin whose
    /// frequency count is above 0, a variable "frequency" with the counts, and the statistics "mean" and
    /// "stdDeviation". Every call returns the same object, built at the first and, under the name given then, built
    /// anew when cases have come since.
    const MCXML_930::MCVariateData& GenerateMCVariateData(const std::string& name);

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
    void AddToBin(std::size_t bin, double frequency, double weight, double value);
    void AddToMoments(double weight, double value);

    internal::EmptiedOnMove<std::int32_t> fnBins;
    double fdBinLength;
    std::vector<double> fvBinMeans;
    std::vector<double> fvBinFrequencies;
    std::vector<double> fvBinWeights;
    double fdMinimum;
    double fdMaximum;
    bool fbComputeMoments;
    bool fbKeepEmptyBins;
    internal::EmptiedOnMove<double> fdTotalWeight = 0.0;
    internal::EmptiedOnMove<double> fdTotalFrequency = 0.0;
    internal::EmptiedOnMove<double> fdNCases = 0.0;
    internal::EmptiedOnMove<double> fdMean = 0.0;
    double fdSecondMoment = MCCommon_930::MCMV::gMissingValue; // per unit of weight
    internal::EmptiedOnMove<bool> fbCurrent = false;           // whether fVariateData shows all cases
    MCXML_930::MCVariateData fVariateData;
};

} // namespace MCMath_930
