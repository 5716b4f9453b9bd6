// What is kept of one column while its rows go by, in memory that does not grow with them.
#pragma once

#include "modelcore/modelcore.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace describe {

/// An index or a count that is known not to be negative.
inline std::size_t At(int index)
{
    return static_cast<std::size_t>(index);
}

/// Sums of powers of x - c up to the fourth, weighted, in twice the digits of a double; c is the first value. In so many
/// digits the sums of parts, brought to one c, are those of the whole: what comes from saved parts is what one run
/// gives.
class PowerSums {
public:
    void Add(double x, double frequency, double weight);
    void Merge(const PowerSums& other);

    double GetFrequencies() const { return fFrequencies.high; }
    /// Sum of the products of both weights.
    double GetWeights() const { return fSums[0].high; }
    /// Missing while there is no weight.
    double GetMean() const;
    /// Weighted sum of squared deviations, divided by the sum of the frequencies less 1. Missing unless that is above 0.
    double GetVariance() const;
    /// The sample skewness G1 and excess kurtosis G2 of Joanes and Gill (1998), The Statistician 47, 183-189, in which
    /// the estimators of most programs are compared: unbiased for normal data. Missing for fewer than three, four cases
    /// and where nothing deviates.
    double GetSkewness() const;
    double GetKurtosis() const;

    /// c, the sum of the frequencies and the five sums, each as two doubles but c.
    std::array<double, 13> GetState() const;
    void SetState(const std::array<double, 13>& state);

private:
    /// Weighted means of the powers two to four of the deviations from the mean.
    std::array<double, 3> CentralMoments() const;

    bool fHasShift = false;
    double fShift = 0.0;
    MCMath_930::MCExtended fFrequencies;
    std::array<MCMath_930::MCExtended, 5> fSums; // of the powers 0 to 4
};

/// Counts of texts. Up to a limit of different texts each has its count. Beyond it only those with the smallest hash
/// values are kept, with counts that are still exact, and tell how many different texts there are: with k of them kept,
/// (k - 1)/(the largest of their hash values as a share of all) is off by about 1/sqrt(k) (Bar-Yossef et al. 2002). What
/// is kept depends on the texts alone, not on their order or on how they were cut into parts.
class LevelCounts {
public:
    static constexpr std::size_t kLimit = 8192;

    void Add(std::string_view text, double frequency);
    void Merge(const LevelCounts& other);

    bool IsExact() const { return !fDropped; }
    /// The different texts; an estimate when they are not exact.
    double GetDistinct() const;
    /// By text, in the order of bytes.
    const std::map<std::string, double, std::less<>>& GetCounts() const { return fCounts; }
    void Restore(std::map<std::string, double, std::less<>> counts, bool dropped);

private:
    void Trim();

    std::map<std::string, double, std::less<>> fCounts;
    std::map<std::uint64_t, std::string> fByHash; // the texts of fCounts, once some were dropped
    bool fDropped = false;
};

/// The state of a column.
struct ColumnState {
    std::string name;
    std::map<std::string, double> missing; ///< cases by the code that stands for "no value", "" for an empty field
    double textCases = 0.0;                ///< with a text that is no number
    double wholeCases = 0.0;               ///< with a whole number
    PowerSums sums;
    MCMath_930::MCQuantileSketch sketch; ///< of the numbers
    LevelCounts texts;

    double NumberCases() const { return sums.GetFrequencies(); }
    double Values() const { return NumberCases() + textCases; }
    double Missing() const;

    /// Adds the cases of other, a state of the same column.
    void Merge(const ColumnState& other);

    MCXML_930::JsonObject ToJson() const;
    /// False, and nothing changed, for anything but a state.
    bool FromJson(const MCXML_930::JsonObject& json);
};

} // namespace describe
