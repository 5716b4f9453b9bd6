// The loops behind the functions of arrays, compiled once for each level of instruction set as the kernels are.
//
// Each gives an element the bits of the function of a number: it does the same operations in the same order, from the same
// templates wherever there is more than a line of them. All work in place on whole multiples of kMostLanes elements, which
// belong to the range that the comment names. A result of NaN says that the function of a number has to be asked.
#pragma once

#include <cstddef>

namespace MCMath_930::internal {

struct GammaShape;

inline constexpr std::size_t kMostLanes = 16;

struct ArrayLoops {
    /// MCDistFun::CdfStdNorm for z > 0, and for z <= 0.
    void (*normalAbove)(double* z, std::size_t count);
    void (*normalBelow)(double* z, std::size_t count);

    /// mean + sd * MCDistFun::IdfStdNorm for |p - 0.5| <= kCentral, and for the rest of (0, 1).
    void (*normalCentre)(double* p, std::size_t count, double mean, double sd);
    void (*normalTails)(double* p, std::size_t count, double mean, double sd);

    /// 1 - exp(-x) or exp(-x), x > 0.
    void (*exponential)(double* x, std::size_t count, bool lowerTail);

    /// Tails of the gamma distribution for 1e-100 < x < 1e70 and shapes to 1e6: for x <= 1 with a shape below 1, for x up
    /// to the larger of 1 and the shape, and beyond.
    void (*gammaOfSmallShape)(double* x, std::size_t count, const GammaShape& shape, bool lowerTail);
    void (*gammaBySeries)(double* x, std::size_t count, const GammaShape& shape, bool lowerTail);
    void (*gammaByFraction)(double* x, std::size_t count, const GammaShape& shape, bool lowerTail);
};

/// The loops of the level whose kernels are in use.
const ArrayLoops& Loops();

} // namespace MCMath_930::internal
