#include "modelcore/matrix/IMCRectMatrix.h"

#include <limits>

namespace MCMath_930 {

// Here, so that the table of virtual functions is emitted in the library and nowhere else.
IMCRectMatrix::~IMCRectMatrix() = default;

bool IMCRectMatrix::SumOfShapes(const std::vector<const IMCRectMatrix*>& blocks, int& rows, int& cols)
{
    long long sumOfRows = 0;
    long long sumOfCols = 0;
    for (const IMCRectMatrix* const block : blocks) {
        if (block == nullptr) return false;
        sumOfRows += block->GetNRows();
        sumOfCols += block->GetNCols();
    }
    constexpr long long kMost = std::numeric_limits<int>::max();
    if (sumOfRows > kMost || sumOfCols > kMost) return false;
    rows = static_cast<int>(sumOfRows);
    cols = static_cast<int>(sumOfCols);
    return true;
}

} // namespace MCMath_930
