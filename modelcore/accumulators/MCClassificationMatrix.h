// Observed against predicted categories.
#pragma once

#include "modelcore/matrix/MCRectMatrix.h"
#include "modelcore/modelcore_export.h"

#include <cstdint>

namespace MCMath_930 {

/// The weight of the cases in each combination of two categories out of k, such as the observed one (row) and the
/// predicted one (column).
class MODELCORE_EXPORT MCClassificationMatrix {
public:
    /// k x k zeros; no categories when k < 0.
    explicit MCClassificationMatrix(int k);
    virtual ~MCClassificationMatrix();

    /// Adds the weight to the cell (row, column).
    /// @return  false, and nothing changed, unless weight > 0 and both indices lie in [0, k - 1]
    bool UpdateData(double weight, int row, int column);

    /// The weights, k x k.
    const MCRectMatrix& GetMatrix() const { return fWeights; }

private:
    std::int32_t fnCategories;
    double fdTotalWeight = 0.0;
    MCRectMatrix fWeights;
};

} // namespace MCMath_930
