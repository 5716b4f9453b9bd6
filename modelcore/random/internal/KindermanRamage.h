// Standard normal variates.
#pragma once

#include "modelcore/common/MCMV.h"
#include "modelcore/distributions/internal/PortableMath.h"
#include "modelcore/random/internal/Rejection.h"

#include <algorithm>
#include <cmath>

namespace MCMath_930::internal {

constexpr double kTriangleHalfWidth = 2.216035867166471;

/// What the normal density leaves above the triangle of height 1/sqrt(2 pi) on (-2.216, 2.216). At 0 the two are equal,
/// which the rounded constants would miss by 4e-17.
inline double AboveTriangle(double t)
{
    if (t == 0.0) return 0.0;
    const double triangle = 0.180025191068563 * std::max(0.0, kTriangleHalfWidth - std::fabs(t));
    return std::max(0.0, 0.3989422804014327 * PortableExp(-t * t / 2.0) - triangle);
}

/// One of the three pieces, on either side of 0, into which that remainder is cut.
struct RemainderPiece {
    double start;      // t at the end where both uniforms are near 0
    double slope;      // t moves by slope * min(v, w)
    double quickLimit; // max(v, w) up to here is accepted at once
    double scale;
};
inline constexpr RemainderPiece kPieces[] = {
    {0.479727404222441, -0.59550713801594, 0.805577924423817, 0.053377549506886},
    {0.479727404222441, 1.10547366102207, 0.87283497667179, 0.049264496373128},
    {kTriangleHalfWidth, -0.63083480192196, 0.755591531667601, 0.034240503750111},
};

/// The variate whose first uniform is u >= 0.884. No guess of the processor's is worth anything here, so as little as
/// possible is left to branches.
template <class Uniform>
double BeyondTriangle(double u, Uniform& next)
{
    if (u >= 0.973310954173898) {
        constexpr double halfSquare = 2.45540748228413; // of the half-width
        const double side = u < 0.986655477086949 ? 1.0 : -1.0;
        for (int trial = 0; trial < kMaxTrials; ++trial) {
            const double v = next();
            const double w = next();
            const double x = halfSquare - PortableLog(w);
            // A w of 0 makes x infinite and, with v = 0, the product a NaN: both are refused.
            if (v * v * x <= halfSquare) return side * std::sqrt(2.0 * x);
        }
        return MCCommon_930::MCMV::Missing();
    }
    const RemainderPiece& piece = kPieces[(u >= 0.911312780288703) + (u >= 0.958720824790463)];
    for (int trial = 0; trial < kMaxTrials; ++trial) {
        const double v = next();
        const double w = next();
        const double t = piece.start + piece.slope * std::min(v, w);
        if (t < 0.0) continue; // the correction of 2004; only the inner piece reaches below 0
        if (std::max(v, w) <= piece.quickLimit || piece.scale * std::fabs(v - w) <= AboveTriangle(t))
            return (v < w ? 1.0 : -1.0) * t;
    }
    return MCCommon_930::MCMV::Missing();
}

/// A standard normal variate: A. J. Kinderman and J. G. Ramage, Journal of the American Statistical Association 71
/// (1976), 893-896, as corrected by G. Tirler, P. Dalgaard, W. Hoermann and J. Leydold, Computational Statistics and
/// Data Analysis 47 (2004), 433-440: without the correction the distribution function is wrong by up to 3.6e-4.
///
/// With probability 0.884 the sum of two uniforms (a triangle), else one of three pieces of the remainder or the tail.
/// @param next  called for each uniform in [0, 1): u, then v and w of each trial; 2.16 on average
template <class Uniform>
double StandardNormal(Uniform&& next)
{
    const double u = next();
    if (!(u < 0.884070402298758)) return BeyondTriangle(u, next);
    const double v = next();
    return kTriangleHalfWidth * (1.13113163544418 * u + v - 1.0);
}

} // namespace MCMath_930::internal
