#include "modelcore/accumulators/MCClassificationMatrix.h"

namespace MCMath_930 {

MCClassificationMatrix::MCClassificationMatrix(int k) : fWeights(k, k)
{
    fnCategories = fWeights.GetNRows();
}

MCClassificationMatrix::~MCClassificationMatrix() = default;

bool MCClassificationMatrix::UpdateData(double weight, int row, int column)
{
    const auto isCategory = [&](int i) { return i >= 0 && i < fnCategories; };
    if (!(weight > 0.0) || !isCategory(row) || !isCategory(column)) return false;
    fWeights.SetElem(row, column, fWeights.GetElem(row, column) + weight);
    fdTotalWeight += weight;
    return true;
}

} // namespace MCMath_930
