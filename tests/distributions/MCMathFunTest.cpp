#include "modelcore/distributions/MCMathFun.h"
#include "modelcore/common/MCMV.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

using MCCommon_930::MCMV;
using MCMath_930::MCMathFun;

TEST(MCMathFun, DigammaAndTrigammaAtKnownPoints)
{
    const double euler = 0.57721566490153286;
    const double pi = std::acos(-1.0);
    EXPECT_NEAR(MCMathFun::Digamma(1), -euler, 4e-15);
    EXPECT_NEAR(MCMathFun::Digamma(0.5), -euler - 2 * std::log(2.0), 4e-15);
    EXPECT_NEAR(MCMathFun::Digamma(10), 2.2517525890667211, 4e-15);
    EXPECT_EQ(MCMathFun::Digamma(1e-6), -0.5772156649015329 - 1e6);
    EXPECT_NEAR(MCMathFun::Trigamma(1), pi * pi / 6, 4e-15);
    EXPECT_NEAR(MCMathFun::Trigamma(0.5), pi * pi / 2, 1e-14);
    EXPECT_EQ(MCMathFun::Trigamma(1e-5), 1.0 / (1e-5 * 1e-5));
    // psi(x + 1) - psi(x) = 1/x across the change of formula and far out
    for (const double x : {1.1e-5, 0.3, 40.0, 1e8}) {
        EXPECT_NEAR((MCMathFun::Digamma(x + 1) - MCMathFun::Digamma(x)) * x, 1.0, 1e-14 * (1 + x)) << x;
        EXPECT_NEAR(MCMathFun::Trigamma(x) - MCMathFun::Trigamma(x + 1), 1 / (x * x),
                    (x < 1e-4 ? 2e-8 : 1e-14) / (x * x) + 1e-15)
            << x;
    }
    for (const double x : {0.0, -1.0, 1e-16, -HUGE_VAL, MCMV::Missing()}) {
        EXPECT_TRUE(MCMV::IsMissing(MCMathFun::Digamma(x))) << x;
        EXPECT_TRUE(MCMV::IsMissing(MCMathFun::Trigamma(x))) << x;
    }
    EXPECT_EQ(MCMathFun::Digamma(HUGE_VAL), HUGE_VAL);
    EXPECT_EQ(MCMathFun::Trigamma(HUGE_VAL), 0.0);
    EXPECT_TRUE(std::isnan(MCMathFun::Digamma(NAN)));
}

TEST(MCMathFun, BinSearchAgreesWithALinearScan)
{
    const std::vector<double> bounds{1, 2, 3, 5, 8};
    const std::vector<int> whole{1, 2, 3, 5, 8};
    for (const bool leftClosed : {false, true})
        for (int lo = 0; lo < 5; ++lo)
            for (int hi = lo; hi < 5; ++hi)
                for (int x = 0; x <= 9; ++x) {
                    int expected = -1;
                    for (int i = lo; i <= hi; ++i) {
                        const int below = i == 0 ? -1000 : whole[static_cast<std::size_t>(i) - 1];
                        const int above = whole[static_cast<std::size_t>(i)];
                        if (leftClosed ? below <= x && x < above : below < x && x <= above) expected = i;
                    }
                    EXPECT_EQ(MCMathFun::BinSearch(bounds, lo, hi, x, leftClosed), expected)
                        << lo << ' ' << hi << ' ' << x << ' ' << leftClosed;
                    EXPECT_EQ(MCMathFun::BinSearch(whole, lo, hi, x, leftClosed), expected);
                }
    EXPECT_EQ(MCMathFun::BinSearch(bounds, 0, 5, 2.0, true), -2);
    EXPECT_EQ(MCMathFun::BinSearch(bounds, 3, 2, 2.0, true), -2);
    EXPECT_EQ(MCMathFun::BinSearch(bounds, -1, 2, 2.0, true), -2);
    EXPECT_EQ(MCMathFun::BinSearch(bounds, 0, 4, NAN, true), -1);
}

TEST(MCMathFun, TwoLargest)
{
    const double missing = MCMV::Missing();
    struct Case {
        std::vector<double> v;
        double first, second, firstPresent, secondPresent;
    };
    const Case cases[] = {
        {{}, missing, missing, missing, missing},
        {{4}, 4, missing, 4, missing},
        {{1, 5, 3}, 5, 3, 5, 3},
        {{5, 5, 1}, 5, 5, 5, 5},
        {{missing, -7, missing}, -7, missing, -7, missing},
        {{missing, -7, -9}, -7, -9, -7, -9},
    };
    for (const Case& c : cases) {
        double first = 0, second = 0;
        MCMathFun::FindTwoLargest(c.v, first, second);
        EXPECT_EQ(first, c.first);
        EXPECT_EQ(second, c.second);
        MCMathFun::FindTwoLargestNonMiss(c.v, first, second);
        EXPECT_EQ(first, c.firstPresent);
        EXPECT_EQ(second, c.secondPresent);
    }
}

TEST(MCMathFun, SmallTests)
{
    const double max = std::numeric_limits<double>::max();
    EXPECT_TRUE(MCMathFun::IsValidDouble(-max) && MCMathFun::IsValidDouble(max));
    EXPECT_FALSE(MCMathFun::IsValidDouble(HUGE_VAL) || MCMathFun::IsValidDouble(NAN));
    EXPECT_TRUE(MCMathFun::QLReps(1e-17, 1) && !MCMathFun::QLReps(0, 0) && !MCMathFun::QLReps(0, -1));
    EXPECT_EQ(MCMathFun::ReplaceIfSmall(-1e-9, 1e-6), -1e-6);
    EXPECT_EQ(MCMathFun::ReplaceIfSmall(0, 1e-6), 1e-6);
    EXPECT_EQ(MCMathFun::ReplaceIfSmall(-1, 1e-6), -1);
    EXPECT_EQ(MCMathFun::VMaxRelDiff({}, {1}, 1), 0.0);
    EXPECT_EQ(MCMathFun::VMaxRelDiff({1, 2}, {3, 2, 9}, -1), 0.5);
    EXPECT_DOUBLE_EQ(MCMathFun::VMaxRelDiff({1}, {0}, 0), 1e6);
    EXPECT_EQ(MCMathFun::VNrm1Diff({1, 5}, {4, 1, 7}), 7.0);
}

TEST(MCMathFun, VectorKernelsKeepToTheirElements)
{
    const std::vector<double> x{1, -2, 3, -4, 5};
    EXPECT_EQ(MCMathFun::DASum(3, x, 0, 2), 9);
    EXPECT_EQ(MCMathFun::DSum(2, x, 3), 1);
    EXPECT_EQ(MCMathFun::DNrm2(2, x, 2, 1), 5);
    EXPECT_DOUBLE_EQ(MCMathFun::DNrm2(2, {3e200, 4e200}, 0, 1), 5e200);
    EXPECT_EQ(MCMathFun::DDot(2, x, 0, 1, x, 1, 2), 1 * -2 + -2 * -4);
    EXPECT_EQ(MCMathFun::IIDot(2, x, 4, -1, x, 0, 0), 5 - 4);
    std::vector<double> y = x;
    MCMathFun::Daxpy(2, 10, x, 0, 1, y, 3, 1);
    EXPECT_EQ(y, (std::vector<double>{1, -2, 3, 6, -15}));
    MCMathFun::IIAxpy(2, 1, x, 1, -1, y, 0, 1);
    EXPECT_EQ(y, (std::vector<double>{-1, -1, 3, 6, -15}));
    MCMathFun::DScal(2, 2, y, 0, 4);
    MCMathFun::LRZero(y, 1, 2);
    EXPECT_EQ(y, (std::vector<double>{-2, 0, 0, 6, -30}));
    MCMathFun::IIInit(2, 9, y, 4, -3);
    EXPECT_EQ(y, (std::vector<double>{-2, 9, 0, 6, 9}));

    const std::vector<double> before = y; // what would leave the vector, or is empty, does nothing
    MCMathFun::DLoad(3, 1, y, 3, 1);
    MCMathFun::DLoad(0, 1, y, 0, 1);
    MCMathFun::DScal(2, 0, y, -1, 1);
    MCMathFun::DScal(2, 0, y, 2, -1);
    MCMathFun::Daxpy(6, 1, x, 0, 1, y, 0, 1);
    EXPECT_EQ(y, before);
    EXPECT_EQ(MCMathFun::DSum(6, x, 0), 0.0);
    EXPECT_EQ(MCMathFun::IIDot(2147483647, x, 0, 2147483647, x, 0, 1), 0.0);
}

TEST(MCMathFun, SmallProducts)
{
    EXPECT_EQ(MCMathFun::VSV({1, 2}, {3, 4, 5}), 3 + 2 * 8 + 20);
    EXPECT_TRUE(MCMV::IsMissing(MCMathFun::VSV({1, 2}, {3, 4})));
    std::vector<double> v{1, 2};
    EXPECT_TRUE(MCMathFun::RVD(v, {3, 4}, v));
    EXPECT_EQ(v, (std::vector<double>{3, 8}));
    EXPECT_FALSE(MCMathFun::RVD(v, {3}, v));
    // L = (1 0; 2 3), G = (1 1; 1 2): L'GL = (13 15; 15 18)
    std::vector<double> g{1, 1, 2};
    EXPECT_TRUE(MCMathFun::LTGltl(2, {1, 2, 3}, g, g));
    EXPECT_EQ(g, (std::vector<double>{13, 15, 18}));
    EXPECT_FALSE(MCMathFun::LTGltl(2, {1, 2}, g, g));
}
