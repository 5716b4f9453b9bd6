#include "ExactFit.h"

#include "common/Failure.h"
#include "model/SweepRows.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace linreg {

using MCMath_930::MCBitSet;
using MCMath_930::MCColumnPair;
using MCMath_930::MCExactXProducts;
using MCMath_930::MCExtended;
using MCMath_930::MCExtendedSym;

ExactColumns::ExactColumns(const Design& design)
{
    fPairs.push_back({0, -1});
    for (std::size_t i = 0; i < design.CovariateTerms().size(); ++i) fPairs.push_back({AsInt(i) + 1, -1});
    fFirstCell = AsInt(fPairs.size());
    for (std::size_t i = 1; i < fPairs.size(); ++i)
        if (design.Terms()[design.CovariateTerms()[i - 1]].IsRounded()) fRests.push_back(fPairs[i].low = fFirstCell++);
    for (const std::size_t t : design.FactorTerms())
        if (design.Terms()[t].IsRounded()) fCellWidth = 2;
}

MCColumnPair ExactColumns::Of(int column) const
{
    if (At(column) < fPairs.size()) return fPairs[At(column)];
    const int high = Count(column);
    return {high, fCellWidth == 2 ? high + 1 : -1};
}

void ExactColumns::FillRow(const CaseBlock& block, std::size_t i, double* row) const
{
    const std::size_t nCells = block.cellColumns.size() / At(block.cases);
    std::copy_n(block.values.data() + i * fPairs.size(), fPairs.size(), row);
    std::copy_n(block.rests.data() + i * fRests.size(), fRests.size(), row + fPairs.size());
    std::fill(row + fFirstCell, row + Count(block.columns), 0.0);
    for (std::size_t c = i * nCells; c < (i + 1) * nCells; ++c) {
        const MCColumnPair cell = Of(block.cellColumns[c]);
        row[cell.high] = block.CellValue(c);
        if (cell.low >= 0) row[cell.low] = block.cellRests[c];
    }
}

void ExactSums::Append(const ExactSums& others)
{
    products.AppendZeroVars(products.GetNVars() == 0 ? 0 : others.products.GetNVars() - products.GetNVars());
    products.Merge(others.products);
    frequencies.Merge(others.frequencies);
}

bool ExactSums::Compute(const CaseBlock& block, const ExactColumns& columns, bool intercept)
{
    const bool frequency = !block.frequencies.empty(), weight = !block.weights.empty();
    const int count = columns.Count(block.columns);
    if (products.GetNVars() == count)
        products.Clear(); // its memory is used again
    else
        products = MCExactXProducts(count, intercept, frequency, weight);
    frequencies.Clear();
    bool added = true;
    if (!frequency) added = frequencies.AddCase({}, block.cases);
    rows.SetNRowsCols(block.cases, count + (frequency ? 1 : 0) + (weight ? 1 : 0));
    for (int i = 0; i < block.cases && added; ++i) {
        double* const row = rows.GetRowPtr(i);
        columns.FillRow(block, At(i), row);
        double* next = row + count;
        if (frequency) added = frequencies.AddCase({}, *next++ = block.frequencies[At(i)]);
        if (weight) *next = block.weights[At(i)];
    }
    added = added && products.Update(rows, block.cases);
    products.FinishUpdate();
    frequencies.FinishUpdate();
    return added;
}

std::vector<int> SweepExactly(MCExtendedSym& products, const std::vector<int>& rows, double tolerance,
                              MCMath_930::MCCancelInfo& cancel)
{
    // Columns get scales near 1, so that no product leaves the range of a double.
    std::vector<int> scales;
    products.Equilibrate(scales);
    std::vector<double> diagonal;
    products.GetDiagonal(diagonal);
    MCBitSet swept(products.GetNRows());
    std::vector<int> independent = SweepRows(products, rows, tolerance, diagonal, swept, [&] {
        if (cancel.IsCancel()) throw procedure::Interrupted();
    });
    for (int i = 0; i < products.GetNRows(); ++i)
        for (int j = 0; j <= i; ++j) {
            const int exponent =
                (swept.IsIn(i) ? scales[At(i)] : -scales[At(i)]) + (swept.IsIn(j) ? scales[At(j)] : -scales[At(j)]);
            const MCExtended x = products.GetElem(i, j);
            products.SetElem(i, j, {std::ldexp(x.high, exponent), std::ldexp(x.low, exponent)});
        }
    return independent;
}

} // namespace linreg
