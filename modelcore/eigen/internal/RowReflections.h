// Householder reflections applied to the rows of a matrix, many at a time.
#pragma once

#include "modelcore/kernels/AlignedDoubles.h"
#include "modelcore/kernels/TileProduct.h"

namespace MCMath_930::internal {

/// Applies blocks of reflections I - v*v', where v has the length sqrt(2) or 0, to row vectors: the product of a block is
/// I - V*T*V' with a triangular T (Schreiber and Van Loan, SIAM J. Sci. Stat. Comput. 10, 1989), so that nearly all of
/// the work is in matrix products.
class RowReflections {
public:
    static constexpr int kBlock = 48;

    /// Room for blocks of reflections of vectors with up to `length` elements, on up to `rows` rows. Throws
    /// std::bad_alloc.
    RowReflections(int length, int rows);

    /// Where to store vector q of the block, q < kBlock: elements from `first` to `first + length - 1` of Apply.
    double* Vector(int q) { return fVectors.get() + Offset(q, fLength); }

    /// Multiplies each row by the reflections 0, 1 ... count - 1 from the right, in this order.
    /// @param rows  element 0 of row 0, rows being `stride` apart
    void Apply(double* rows, int stride, int nRows, int first, int length, int count);

private:
    static std::size_t Offset(int line, int stride)
    {
        return static_cast<std::size_t>(line) * static_cast<std::size_t>(stride);
    }
    void FormTriangle(int length, int count);

    int fLength;
    AlignedDoubles fVectors;
    AlignedDoubles fTriangle; // -T, row by row
    AlignedDoubles fProducts; // of the rows and the vectors
    AlignedDoubles fFactors;  // those times -T
    TileWorkspace fTiles;
};

} // namespace MCMath_930::internal
