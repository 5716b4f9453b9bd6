// Summary of one continuous field in one pass.
#pragma once

#include "modelcore/common/MCMV.h"
#include "modelcore/modelcore_export.h"

#include <array>
#include <iosfwd>
#include <utility>

namespace MCMath_930 {

/// Minimum, maximum, weighted mean and weighted sum of squared deviations of one continuous field. A case weighs its
/// frequency weight times its regression weight. Summaries of pieces of the data pool into that of the whole.
class MODELCORE_EXPORT MCContStats {
public:
    /// Adds one case (West 1979). A weight that is not above 0 counts as 1. A NaN flows into the mean and the
    /// deviations.
    /// @return  false, and nothing changed, when an argument is system-missing
    bool Update(double x, double freqWeight, double regWeight);

    /// Adds one case of weight 1.
    /// @return  false, and nothing changed, when x is system-missing
    bool Update(double x) { return Update(x, 1.0, 1.0); }

    /// Adds the cases of other (Chan, Golub & LeVeque 1979).
    void Pool(const MCContStats& other);

    /// Minimum and maximum; system-missing both while there is no case.
    std::pair<double, double> GetExtrema() const { return {fdMin, fdMax}; }

    /// The weighted mean; system-missing while there is no case.
    double GetMean() const;

    /// The weighted sum of squared deviations divided by the sum of frequency weights less 1, whatever the regression
    /// weights are; system-missing unless that sum is above 1.
    double GetVariance() const;

    /// The sum of frequency weights.
    double GetSumFreqWeights() const { return fdSumFreqWeights; }

    /// Writes the state to the diagnostic text stream.
    void Display() const;

    /// Saves the state as an element of a flat value stream, every bit of it: the six numbers.
    /// @param indent  the depth of its tags, in tabs
    /// @return  the number of lines written; 0 when writing failed
    int WriteObjectXML(std::ostream& stream, int indent) const;

    /// Restores a state that was saved so. The stream stands before its element.
    /// @return  the number of lines read; 0, and nothing changed but the place in the stream, when they are not such a
    ///          state
    int ReadObjectXML(std::ifstream& stream);

    /// The state as the six numbers that WriteObjectXML writes: minimum, maximum, sums of frequency weights and of the
    /// products of both weights, mean, sum of squared deviations.
    std::array<double, 6> GetState() const
    {
        return {fdMin, fdMax, fdSumFreqWeights, fdSumWeights, fdMean, fdSumSquares};
    }

    /// Restores what GetState returned. The numbers are taken as they are.
    void SetState(const std::array<double, 6>& state);

private:
    double fdMin = MCCommon_930::MCMV::gMissingValue;
    double fdMax = MCCommon_930::MCMV::gMissingValue;
    double fdSumFreqWeights = 0.0;
    double fdSumWeights = 0.0; // of the products of both weights
    double fdMean = 0.0;
    double fdSumSquares = 0.0; // of the deviations from the mean
};

} // namespace MCMath_930
