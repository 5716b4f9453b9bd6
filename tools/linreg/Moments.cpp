#include "Moments.h"

namespace linreg {

void ComputeMoments(const CaseBlock& block, bool intercept, const std::vector<double>& shift, BlockMoments& out)
{
    const bool frequency = !block.frequencies.empty();
    const bool weight = !block.weights.empty();
    const int columns = block.columns + (frequency ? 1 : 0) + (weight ? 1 : 0);
    if (out.rows.GetNRows() != block.cases || out.rows.GetNCols() != columns)
        out.rows.SetNRowsCols(block.cases, columns);
    if (out.products.GetNVars() != block.columns)
        out.products = MCMath_930::MCMeansXProducts(block.columns, intercept, frequency, weight);

    out.frequencies = frequency ? 0.0 : block.cases;
    for (int i = 0; i < block.cases; ++i) {
        double* const row = out.rows.GetRowPtr(i);
        FillDesignRow(block, At(i), shift, row);
        double* next = row + block.columns;
        if (frequency) out.frequencies += * next++ = block.frequencies[At(i)];
        if (weight) *next = block.weights[At(i)];
    }
    out.products.Compute(out.rows, block.cases);
}

} // namespace linreg
