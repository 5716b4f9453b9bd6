#include "Residuals.h"

#include <cstddef>

namespace linreg {

void ComputeResiduals(const CaseBlock& block, const Prediction& at, ResidualSums& out)
{
    const std::size_t nValues = block.values.size() / At(block.cases);
    const std::size_t nFactors = block.levelColumns.size() / At(block.cases);
    out.r = out.rr = out.y = out.yy = {};
    out.rx.assign(at.coefficients.size(), {});
    for (std::size_t i = 0; i < At(block.cases); ++i) {
        const double* const values = block.values.data() + i * nValues;
        const int* const levels = block.levelColumns.data() + i * nFactors;
        const DoubleDouble target{values[0]};
        DoubleDouble residual = target - at.intercept;
        for (std::size_t j = 1; j < nValues; ++j) residual += -ExactProduct(at.coefficients[j], values[j]);
        for (std::size_t f = 0; f < nFactors; ++f) residual += {-at.coefficients[At(levels[f])]};

        const double weight =
            (block.frequencies.empty() ? 1.0 : block.frequencies[i]) * (block.weights.empty() ? 1.0 : block.weights[i]);
        const DoubleDouble y = target - at.centre;
        const DoubleDouble weighted = residual * weight;
        out.r += weighted;
        out.rr += weighted * residual;
        out.y += y * weight;
        out.yy += y * weight * y;
        for (std::size_t j = 1; j < nValues; ++j) out.rx[j] += weighted * values[j];
        for (std::size_t f = 0; f < nFactors; ++f) out.rx[At(levels[f])] += weighted;
    }
}

} // namespace linreg
