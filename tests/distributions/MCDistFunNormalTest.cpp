#include "modelcore/common/MCMV.h"
#include "modelcore/distributions/MCDistFun.h"
#include "modelcore/distributions/internal/NormalTables.h"
#include "support/Bits.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <limits>

using MCCommon_930::MCMV;
using MCMath_930::MCDistFun;

namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();

double Mantissa(double x)
{
    return x / std::pow(10.0, std::floor(std::log10(x)));
}

} // namespace

// The sums of the decimal mantissas that Wichura (1988) prints; the constant 1 of the denominators is not counted.
TEST(MCDistFunNormal, CoefficientsOfAs241AddUpToThePublishedSums)
{
    constexpr std::array<double, 3> kSums{55.8831928806149014439, 49.33206503301610289036, 47.52583317549289671629};
    for (std::size_t range = 0; range < 3; ++range) {
        double sum = -1.0;
        for (const std::size_t row : {2 * range, 2 * range + 1})
            for (const double coefficient : MCMath_930::internal::kProbit[row]) sum += Mantissa(coefficient);
        EXPECT_NEAR(sum, kSums[range], 1e-13);
    }
}

// Each polynomial must meet its neighbour: a wrong digit in any coefficient opens a gap at one end of its interval.
TEST(MCDistFunNormal, PiecesMeetAtTheEndsOfTheirIntervals)
{
    for (const double w : {1.0, std::sqrt(2.0), std::sqrt(3.0), 2.0, 2.2, 3.0, 4.0, 5.0, 6.0, 6.9}) {
        const double x = w * std::sqrt(2.0);
        for (int side = -1; side <= 1; side += 2) {
            const double beside = x * (1.0 + side * 4e-15);
            EXPECT_LE(UlpDistance(MCDistFun::CdfStdNorm(beside), 0.5 * std::erfc(-beside / std::sqrt(2.0))), 8u) << w;
        }
    }
    for (const double p : {0.075, std::exp(-25.0)})
        EXPECT_LE(UlpDistance(MCDistFun::IdfStdNorm(p * (1 - 1e-15)), MCDistFun::IdfStdNorm(p * (1 + 1e-15))), 16u)
            << p;
}

TEST(MCDistFunNormal, EdgesOfTheDomain)
{
    struct Case {
        double x, cdf;
    };
    for (const Case& c : {Case{0.0, 0.5},
                          {-0.0, 0.5},
                          {kInf, 1.0},
                          {-kInf, 0.0},
                          {9.0, 1.0},
                          {-40.0, 0.0},
                          {1e300, 1.0},
                          {-1e300, 0.0},
                          {MCMV::Missing(), 0.0}})
        EXPECT_EQ(MCDistFun::CdfStdNorm(c.x), c.cdf) << c.x;
    EXPECT_TRUE(std::isnan(MCDistFun::CdfStdNorm(NAN)));
    EXPECT_GT(MCDistFun::CdfStdNorm(-38.0), 0.0); // subnormal, not lost

    EXPECT_EQ(MCDistFun::IdfStdNorm(0.5), 0.0);
    for (const double p : {0.0, 1.0, -0.1, 1.5, kInf, -kInf, static_cast<double>(NAN), MCMV::Missing()})
        EXPECT_TRUE(MCMV::IsMissing(MCDistFun::IdfStdNorm(p))) << p;
    EXPECT_NEAR(MCDistFun::IdfStdNorm(std::numeric_limits<double>::denorm_min()), -38.467405617144346, 1e-13);
}
