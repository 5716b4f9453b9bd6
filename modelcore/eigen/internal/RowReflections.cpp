// RowReflections: the triangle of a block, and the three products that apply it.
#include "modelcore/eigen/internal/RowReflections.h"

#include <algorithm>
#include <new>

namespace MCMath_930::internal {

RowReflections::RowReflections(int length, int rows)
    : fLength(length), fVectors(MakeAlignedDoubles(Offset(kBlock, length))),
      fTriangle(MakeAlignedDoubles(Offset(kBlock, kBlock))), fProducts(MakeAlignedDoubles(Offset(rows, kBlock))),
      fFactors(MakeAlignedDoubles(Offset(rows, kBlock))), fTiles(std::max(length, kBlock))
{
    if (fVectors == nullptr || fTriangle == nullptr || fProducts == nullptr || fFactors == nullptr || !fTiles)
        throw std::bad_alloc();
}

/// Column q of T is 1 on the diagonal and -T * (V'*v) above it.
void RowReflections::FormTriangle(int length, int count)
{
    double dots[kBlock][kBlock] = {}; // row q: of vector q with those before it
    AddProduct<ZeroFactor::Multiplies>(
        fTiles, count, length, [&](int r) { return dots[r]; }, [](int r) { return r; },
        [&](int r, int k) { return Vector(r)[k]; }, LinesOperand{[&](int w) { return Vector(w); }});
    double* const triangle = fTriangle.get();
    std::fill_n(triangle, Offset(kBlock, kBlock), 0.0);
    for (int q = 0; q < count; ++q) {
        for (int p = 0; p < q; ++p) {
            double sum = 0.0; // with the sign of -T twice
            for (int k = p; k < q; ++k) sum += triangle[p * kBlock + k] * dots[q][k];
            triangle[p * kBlock + q] = -sum;
        }
        triangle[q * kBlock + q] = -1.0;
    }
}

void RowReflections::Apply(double* rows, int stride, int nRows, int first, int length, int count)
{
    FormTriangle(length, count);
    std::fill_n(fProducts.get(), Offset(nRows, kBlock), 0.0);
    std::fill_n(fFactors.get(), Offset(nRows, kBlock), 0.0);
    const auto row = [&](int r) { return rows + Offset(r, stride) + first; };
    const auto product = [&](int r) { return fProducts.get() + Offset(r, kBlock); };
    const auto factor = [&](int r) { return fFactors.get() + Offset(r, kBlock); };
    const auto nVectors = [&](int) { return count; };
    const auto vector = [&](int q) { return Vector(q); };
    AddProduct<ZeroFactor::Multiplies>(
        fTiles, nRows, length, product, nVectors, [&](int r, int k) { return row(r)[k]; }, LinesOperand{vector});
    AddProduct<ZeroFactor::Multiplies>(
        fTiles, nRows, count, factor, nVectors, [&](int r, int k) { return product(r)[k]; },
        RowsOperand{[&](int k) { return fTriangle.get() + Offset(k, kBlock); }});
    AddProduct<ZeroFactor::Multiplies>(
        fTiles, nRows, count, row, [&](int) { return length; }, [&](int r, int k) { return factor(r)[k]; },
        RowsOperand{vector});
}

} // namespace MCMath_930::internal
