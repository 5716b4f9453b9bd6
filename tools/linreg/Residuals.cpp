#include "Residuals.h"

#include <cstddef>

namespace linreg {

using namespace procedure;
using MCMath_930::ExactProduct;

void ComputeResiduals(const CaseBlock& block, const Prediction& at, ResidualSums& out)
{
    const std::size_t nValues = block.values.size() / At(block.cases);
    const std::size_t nCells = block.cellColumns.size() / At(block.cases);
    out.r = out.rr = out.y = out.yy = {};
    out.rx.assign(at.coefficients.size(), {});
    for (std::size_t i = 0; i < At(block.cases); ++i) {
        const double* const values = block.values.data() + i * nValues;
        const MCExtended target{values[0]};
        MCExtended residual = target - at.intercept;
        for (std::size_t j = 1; j < nValues; ++j) residual += -ExactProduct(at.coefficients[j], values[j]);
        for (std::size_t c = i * nCells; c < (i + 1) * nCells; ++c) {
            const double coefficient = at.coefficients[At(block.cellColumns[c])];
            residual +=
                block.cellValues.empty() ? MCExtended{-coefficient} : -ExactProduct(coefficient, block.cellValues[c]);
        }

        const double weight = block.Frequency(i) * block.Weight(i);
        const MCExtended y = target - at.centre;
        const MCExtended weighted = residual * weight;
        out.r += weighted;
        out.rr += weighted * residual;
        out.y += y * weight;
        out.yy += y * weight * y;
        for (std::size_t j = 1; j < nValues; ++j) out.rx[j] += weighted * values[j];
        for (std::size_t c = i * nCells; c < (i + 1) * nCells; ++c)
            out.rx[At(block.cellColumns[c])] += block.cellValues.empty() ? weighted : weighted * block.cellValues[c];
    }
}

} // namespace linreg
