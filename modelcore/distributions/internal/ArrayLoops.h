// The loops behind the functions of arrays, compiled once for each level of instruction set as the kernels are.
//
// Each gives an element the bits of the function of a number: it does the same operations in the same order, from the same
// templates wherever there is more than a line of them. All work in place on whole multiples of kMostLanes elements, which
// belong to the range that the comment names. A result of NaN says that the function of a number has to be asked.
#pragma once

#include <cstddef>

namespace MCMath_930::internal {

struct BetaShapes;
struct GammaShape;

/// How the incomplete beta function is asked for many points.
struct BetaTask {
    /// F(x; df1, df2), Student's t for any sign with df in df1, or x itself.
    enum class Kind { fisher, student, plain } kind;
    double df1, df2;
    bool opposite;  ///< the sum is for the tail at 1
    bool wantLower; ///< the tail at 0 is wanted
};

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

    /// Tails of the incomplete beta function at points whose coordinates are far from the limits of a double, for shapes
    /// that are prepared for it: where the series serves, on the side that it serves, and otherwise for points on the side
    /// of the mean that task.opposite says. Of Student's t P(T <= t).
    void (*betaBySeries)(double* x, std::size_t count, const BetaShapes& shapes, const BetaTask& task);
    void (*betaByFraction)(double* x, std::size_t count, const BetaShapes& shapes, const BetaTask& task);
};

/// The loops of the level whose kernels are in use.
const ArrayLoops& Loops();

} // namespace MCMath_930::internal
