// Sums without rounding, of columns and of their pairs.
#pragma once

#include "Pairs.h"

#include "modelcore/modelcore.h"

#include <iosfwd>
#include <span>
#include <string>
#include <vector>

namespace describe {

/// The moments of a part of the data, or of a block. Numeric columns are those of Description.
class ExactMoments {
public:
    /// Sums of nothing, for so many columns.
    void Start(std::size_t nColumns);

    /// Adds the numbers of a column. False when one is too large or a weight is.
    bool AddColumn(std::size_t column, const std::vector<double>& values, const std::vector<double>& weights);

    /// Adds a block for pairs. Of each variable there are, in every row, whether there is a value, the value, its square
    /// as two doubles and, with case weights, 1/sqrt(weight), which counts cases as in PairSums; the weight is the last
    /// column. False when a number is too large.
    bool AddPairs(const MCMath_930::MCRectMatrix& rows);
    static int Stride(bool hasWeight) { return hasWeight ? 5 : 4; }
    void DropPairs() { fPairs = MCMath_930::MCExactXProducts(0, false, true, false); }
    int NPairVariables() const { return fPairs.GetNVars(); }

    /// Adds other: its variable i in pairs is our variable places[i], of as many as nVariables in all.
    void Merge(const ExactMoments& other, std::span<const int> places, int nVariables, int stride);

    /// The mean of a column and its weighted sum of squared deviations, each rounded once; missing without weight.
    double Mean(std::size_t column) const;
    double Squares(std::size_t column) const;

    /// Makes what GetPair looks up.
    void Finish();
    PairStatistics GetPair(int i, int j, int stride) const;

    /// Elements of a flat value stream; the reading is of as many columns.
    std::string Text() const;
    bool Read(std::ifstream& stream, std::size_t nColumns);

private:
    std::vector<MCMath_930::MCExactXProducts> fColumns;
    MCMath_930::MCExactXProducts fPairs{0, false, true, false};
    MCMath_930::MCExtendedSym fProducts;
};

} // namespace describe
