// Correlations of all pairs of numeric columns, each from the cases that have both values.
#pragma once

#include "modelcore/modelcore.h"

#include <cstddef>
#include <span>
#include <vector>

namespace describe {

/// What is known of two columns from the cases that have values in both.
struct PairStatistics {
    double cases = 0.0; ///< sum of the frequencies
    double correlation = MCCommon_930::MCMV::Missing();
    double t = MCCommon_930::MCMV::Missing();            ///< with cases - 2 degrees of freedom
    double significance = MCCommon_930::MCMV::Missing(); ///< two-sided
};

/// The six sums of a pair, in doubles or in twice their digits.
template <class Number>
struct SumsOfPair {
    Number w, x, y, xx, yy, xy;
};

/// The correlation that sums tell.
/// @param cases   the sum of the frequencies; with case weights rounding has to be taken away
/// @param noise   what is left of a sum of squares, as a share of it, is rounding error up to this
template <class Number>
PairStatistics Correlate(const SumsOfPair<Number>& sums, bool hasWeight, double cases, double noise);

/// Sums of products over pairs of columns. Of each column that has shown a number there are, in every row, whether there
/// is a value, the value less its shift, and the square of that; with case weights also 1/sqrt(weight), so that the
/// weighted sum of two of them counts cases. The products of these columns are all sums that a pair needs, and the
/// blocked products of the library make them.
class PairSums {
public:
    /// How many columns stand for each variable.
    static int Stride(bool hasWeight) { return hasWeight ? 4 : 3; }

    /// Adds the raw products of a block, with at least as many variables as before.
    void Append(const MCMath_930::MCSymMatrix& products);
    /// Adds the sums of other: its variable i is our variable places[i], at or behind the end where it is new; its
    /// shifts are brought to ours.
    void Merge(const PairSums& other, std::span<const int> places, std::span<const double> shifts,
               std::span<const double> otherShifts, int stride);

    PairStatistics Get(int i, int j, int stride) const;

    const std::vector<double>& GetState() const { return fSums; }
    void SetState(std::vector<double> sums) { fSums = std::move(sums); }

private:
    static std::size_t Place(int row, int column);
    double Sum(int row, int column) const;

    std::vector<double> fSums; // packed lower triangle
};

} // namespace describe
