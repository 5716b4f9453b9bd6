// The first reading: means and cross products of blocks of cases.
#pragma once

#include "model/CaseReader.h"

#include "modelcore/modelcore.h"

#include <vector>

namespace linreg {

using namespace model;

/// What one block gives, with the room to compute it in.
struct BlockMoments {
    MCMath_930::MCRectMatrix rows;
    MCMath_930::MCMeansXProducts products;
    double frequencies = 0.0;
};

/// The moments of all blocks so far.
struct Moments {
    /// Takes the next block in. Columns that it has in excess are indicators of levels that no earlier case had.
    void Append(const BlockMoments& block)
    {
        products.AppendZeroVars(block.products.GetNVars() - products.GetNVars());
        products.Merge(block.products);
        frequencies += block.frequencies;
    }

    MCMath_930::MCMeansXProdData products;
    double frequencies = 0.0; ///< sum of the frequency weights
};

/// The moments of one block. shift is subtracted from the target and the covariates; it is empty when nothing is to be
/// subtracted.
void ComputeMoments(const CaseBlock& block, bool intercept, const std::vector<double>& shift, BlockMoments& out);

} // namespace linreg
