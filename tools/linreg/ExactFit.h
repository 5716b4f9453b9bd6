// The regression from exact moments: one reading, the same bits for every order of the cases, and standard errors as
// exact as coefficients.
#pragma once

#include "model/CaseReader.h"

#include "modelcore/modelcore.h"

#include <vector>

namespace linreg {

using namespace model;

/// Where the columns of a design stand among those that are summed exactly. A product that a double rounds takes two of
/// them, and so does every cell when one of its terms is such a product.
class ExactColumns {
public:
    /// The design knows which terms are of covariates alone.
    explicit ExactColumns(const Design& design);

    /// How many there are when the design has so many.
    int Count(int designColumns) const { return fFirstCell + fCellWidth * (designColumns - AsInt(fPairs.size())); }

    /// Those of a column of the design.
    MCMath_930::MCColumnPair Of(int column) const;

    /// Case i as a row of as many columns as there are.
    void FillRow(const CaseBlock& block, std::size_t i, double* row) const;

private:
    static int AsInt(std::size_t count) { return static_cast<int>(count); }

    std::vector<MCMath_930::MCColumnPair> fPairs; // of the target and the terms of covariates alone
    std::vector<int> fRests;                      // their low columns
    int fFirstCell = 0;
    int fCellWidth = 1;
};

/// The moments of a part of the data.
struct ExactSums {
    /// Takes others in whose columns are these, maybe more: those were 0 in every case so far.
    void Append(const ExactSums& others);

    /// Sums over one block in place of what was there. False when a number or a weight is not finite.
    bool Compute(const CaseBlock& block, const ExactColumns& columns, bool intercept);

    MCMath_930::MCExactXProducts products{0, true, false, false};
    MCMath_930::MCExactXProducts frequencies{0, false, true, false}; ///< of the frequency weights alone
    MCMath_930::MCRectMatrix rows;                                   ///< room for a block
};

/// Sweeps on the given rows in turn, whatever their scales. Returns those that were not refused: see
/// MCExtendedSym::Sweep. Throws Interrupted when the user stops it.
std::vector<int> SweepExactly(MCMath_930::MCExtendedSym& products, const std::vector<int>& rows, double tolerance,
                              MCMath_930::MCCancelInfo& cancel);

} // namespace linreg
