#include "Moments.h"

#include <algorithm>
#include <cstddef>

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

    const std::size_t nValues = block.values.size() / At(block.cases);
    const std::size_t nFactors = block.levelColumns.size() / At(block.cases);
    out.frequencies = frequency ? 0.0 : block.cases;
    for (int i = 0; i < block.cases; ++i) {
        double* const row = out.rows.GetRowPtr(i);
        const double* const values = block.values.data() + At(i) * nValues;
        const int* const levels = block.levelColumns.data() + At(i) * nFactors;
        if (shift.empty())
            std::copy_n(values, nValues, row);
        else
            std::transform(values, values + nValues, shift.begin(), row, [](double x, double s) { return x - s; });
        std::fill(row + nValues, row + block.columns, 0.0);
        for (std::size_t f = 0; f < nFactors; ++f) row[levels[f]] = 1.0;
        double* next = row + block.columns;
        if (frequency) out.frequencies += * next++ = block.frequencies[At(i)];
        if (weight) *next = block.weights[At(i)];
    }
    out.products.Compute(out.rows, block.cases);
}

} // namespace linreg
