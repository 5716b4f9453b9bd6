#include "modelcore/common/MCMV.h"
#include "modelcore/distributions/MCDistFun.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using MCCommon_930::MCMV;
using MCMath_930::MCDistFun;

TEST(MCDistFunLogGamma, ExactValuesAndRefusals)
{
    EXPECT_EQ(MCDistFun::tavodnlgam(1.0), 0.0);
    EXPECT_EQ(MCDistFun::tavodnlgam(2.0), 0.0);
    EXPECT_EQ(MCDistFun::tavodnlgam(0.5), 0.5723649429247001);
    for (const double x : {0.0, -0.0, -1.0, -2.5, -HUGE_VAL, MCMV::Missing()})
        EXPECT_TRUE(MCMV::IsMissing(MCDistFun::tavodnlgam(x))) << x;
    EXPECT_EQ(MCDistFun::tavodnlgam(HUGE_VAL), HUGE_VAL);
    EXPECT_TRUE(std::isnan(MCDistFun::tavodnlgam(NAN)));
}

// ln Gamma(n + 1) of small whole numbers by their factorials, and Gamma(x + 1) = x Gamma(x) across every boundary
// between two polynomials: a wrong digit opens a gap.
TEST(MCDistFunLogGamma, FactorialsAndRecurrenceAcrossThePieces)
{
    double factorial = 1.0;
    for (int n = 1; n <= 18; ++n) {
        factorial *= n;
        EXPECT_NEAR(MCDistFun::tavodnlgam(n + 1.0), std::log(factorial), 2e-15 * (1.0 + std::log(factorial))) << n;
    }
    for (const double x : {0.25, 0.5, 0.712214450449026, 1.0, 1.3860009363293826, 1.8860009363293826, 2.0, 2.5,
                           3.212214450449026, 3.5, 4.0, 5.0, 6.0, 7.0, 8.0, 9.0})
        for (const double beside : {x * (1 - 1e-15), x * (1 + 1e-15), x + 0.1})
            EXPECT_NEAR(MCDistFun::tavodnlgam(beside + 1.0) - MCDistFun::tavodnlgam(beside), std::log(beside), 8e-15)
                << beside;
}
