// Observed against predicted categories.
#pragma once

#include "modelcore/common/internal/EmptiedOnMove.h"
#include "modelcore/matrix/MCRectMatrix.h"
#include "modelcore/modelcore_export.h"

#include <cstdint>
#include <iosfwd>

namespace MCMath_930 {

/// The weight of the cases in each combination of two categories out of k, such as the observed one (row) and the
/// predicted one (column).
class MODELCORE_EXPORT MCClassificationMatrix {
public:
    /// k x k zeros; no categories when k < 0.
    explicit MCClassificationMatrix(int k);

    /// A deep copy.
    MCClassificationMatrix(const MCClassificationMatrix& other) = default;

    /// Deep as well. When memory runs out, this object is as it was.
    MCClassificationMatrix& operator=(const MCClassificationMatrix& other)
    {
        return internal::AssignByCopy(*this, other);
    }

    /// Takes everything over; other has no categories afterwards.
    MCClassificationMatrix(MCClassificationMatrix&& other) noexcept = default;
    MCClassificationMatrix& operator=(MCClassificationMatrix&& other) noexcept = default;

    virtual ~MCClassificationMatrix();

    /// Adds the weight to the cell (row, column).
    /// @return  false, and nothing changed, unless weight > 0 and both indices lie in [0, k - 1]
    bool UpdateData(double weight, int row, int column);

    /// Adds the weights of other.
    /// @return  false, and nothing changed, when the two differ in the number of categories
    bool Merge(const MCClassificationMatrix& other);

    /// The weights, k x k.
    const MCRectMatrix& GetMatrix() const { return fWeights; }

    /// Writes the fields to the diagnostic text stream.
    void Display() const;

    /// Saves the state as an element of a flat value stream, every bit of it.
    /// @param indent  the depth of its tags, in tabs
    /// @return  the number of lines written; 0 when writing failed
    int WriteObjectXML(std::ostream& stream, int indent) const;

    /// Restores a state that was saved so. The stream stands before its element.
    /// @return  the number of lines read; 0, and nothing changed but the place in the stream, when they are not such a
    ///          state
    int ReadObjectXML(std::ifstream& stream);

private:
    internal::EmptiedOnMove<std::int32_t> fnCategories;
    internal::EmptiedOnMove<double> fdTotalWeight = 0.0;
    MCRectMatrix fWeights;
};

} // namespace MCMath_930
