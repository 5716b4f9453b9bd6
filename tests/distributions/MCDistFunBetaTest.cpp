#include "modelcore/common/MCMV.h"
#include "modelcore/distributions/MCDistFun.h"
#include "support/Bits.h"
#include "support/Random.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using MCCommon_930::MCMV;
using MCMath_930::MCDistFun;

namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

} // namespace

TEST(MCDistFunBeta, ClosedForms)
{
    for (const double x : {1e-200, 1e-17, 0.01, 0.3, 0.5, 0.75, 0.999}) {
        EXPECT_LE(UlpDistance(MCDistFun::CdfBeta(x, 1, 1), x), 8u) << x;
        EXPECT_LE(UlpDistance(MCDistFun::CdfBeta(x, 1, 3), -std::expm1(3 * std::log1p(-x))), 16u) << x;
        EXPECT_LE(UlpDistance(MCDistFun::CdfBeta(x, 2.5, 1), std::pow(x, 2.5)), 16u) << x;
    }
    // Mass in the ends: I is b/(a + b) to first order, and x^a for b = 1 although x^a is nearly 1.
    EXPECT_NEAR(MCDistFun::CdfBeta(0.5, 1e-9, 1e-9), 0.5, 1e-16);
    EXPECT_NEAR(1.0 - MCDistFun::CdfBeta(1e-8, 1e-6, 1), -std::expm1(1e-6 * std::log(1e-8)), 1e-16);
    EXPECT_LE(UlpDistance(MCDistFun::CdfBeta(1e-8, 1, 1e-6), -std::expm1(1e-6 * std::log1p(-1e-8))), 8u);
}

TEST(MCDistFunF, ClosedFormsInBothTails)
{
    // SigF(x, 2, 2) = 1/(1 + x);  SigF(x, 1, 1) = 1 - (2/pi) atan(sqrt(x)) = (2/pi) atan(1/sqrt(x)).
    for (const double x : {1e-300, 1e-12, 0.5, 1.0, 3.0, 1e10, 1e300}) {
        EXPECT_LE(UlpDistance(MCDistFun::SigF(x, 2, 2), 1.0 / (1.0 + x)), 8u) << x;
        EXPECT_LE(UlpDistance(MCDistFun::CdfF(x, 2, 2), 1.0 / (1.0 + 1.0 / x)), 8u) << x;
        EXPECT_LE(UlpDistance(MCDistFun::SigF(x, 1, 1), std::atan(1.0 / std::sqrt(x)) / std::atan(1.0) / 2.0), 8u) << x;
    }
}

TEST(MCDistFunT, ClosedFormsInTheTails)
{
    for (const double t : {1e-300, 1e-3, 0.9, 1.1, 40.0, 1e5}) {
        // df = 2: P(T > t) = (1 - t/sqrt(2 + t^2))/2 = 1/(sqrt(2 + t^2) (sqrt(2 + t^2) + t)).
        const double root = std::hypot(std::sqrt(2.0), t);
        EXPECT_LE(UlpDistance(MCDistFun::SigT(t, 2), 1.0 / (root * (root + t))), 8u) << t;
        EXPECT_LE(UlpDistance(MCDistFun::CdfT(-t, 2), MCDistFun::SigT(t, 2)), 0u) << t;
        EXPECT_LE(UlpDistance(MCDistFun::CdfT(-t, 1), std::atan(1.0 / t) / std::acos(-1.0)), 4u) << t;
        EXPECT_EQ(MCDistFun::SigT(t, 1), 0.5 - std::atan(t) / std::acos(-1.0)) << t;
    }
    // Far out the tail falls as t^-df whatever the scale, also where t^2 is no longer a double.
    EXPECT_NEAR(MCDistFun::SigT(1e300, 0.25) / MCDistFun::SigT(1e120, 0.25), 1e-45, 1e-58);
    EXPECT_NEAR(MCDistFun::SigT(3.0, 1e40), MCDistFun::CdfStdNorm(-3.0), 1e-18);
}

TEST(MCDistFunBetaFamily, EdgesOfTheDomain)
{
    struct Case {
        const char* name;
        double actual, expected;
    };
    const double missing = MCMV::Missing();
    const Case cases[] = {
        {"beta below", MCDistFun::CdfBeta(-0.5, 2, 3), 0.0},
        {"beta at 0", MCDistFun::CdfBeta(0.0, 2, 3), 0.0},
        {"beta at 1", MCDistFun::CdfBeta(1.0, 2, 3), 1.0},
        {"beta above", MCDistFun::CdfBeta(kInf, 2, 3), 1.0},
        {"beta a = 0", MCDistFun::CdfBeta(0.5, 0, 3), missing},
        {"beta b < 0", MCDistFun::CdfBeta(0.5, 1, -3), missing},
        {"beta NaN a", MCDistFun::CdfBeta(0.5, kNaN, 3), missing},
        {"beta infinite b", MCDistFun::CdfBeta(0.5, 1, kInf), missing},
        {"T at 0", MCDistFun::CdfT(0.0, 3), 0.5},
        {"T at -infinity", MCDistFun::CdfT(-kInf, 3), 0.0},
        {"T at infinity", MCDistFun::CdfT(kInf, 3), 1.0},
        {"T df 0", MCDistFun::CdfT(1.0, 0), missing},
        {"T NaN df", MCDistFun::CdfT(1.0, kNaN), missing},
        {"SigT at 0", MCDistFun::SigT(0.0, 7.5), 0.5},
        {"SigT at infinity", MCDistFun::SigT(kInf, 3), 0.0},
        {"SigT df < 0", MCDistFun::SigT(1.0, -1), missing},
        {"SigT NaN df at 0", MCDistFun::SigT(0.0, kNaN), missing},
        {"F below 0", MCDistFun::CdfF(-1.0, 3, 4), 0.0},
        {"F at infinity", MCDistFun::CdfF(kInf, 3, 4), 1.0},
        {"F df1 0", MCDistFun::CdfF(1.0, 0, 4), missing},
        {"SigF below 0", MCDistFun::SigF(-1.0, 3, 4), 1.0},
        {"SigF at infinity", MCDistFun::SigF(kInf, 3, 4), 0.0},
        {"SigF NaN df2", MCDistFun::SigF(1.0, 3, kNaN), missing},
        {"IdfT p 0", MCDistFun::IdfT(0.0, 3, 1e-12, 1e-20), missing},
        {"IdfT p 1", MCDistFun::IdfT(1.0, 3, 1e-12, 1e-20), missing},
        {"IdfT NaN p", MCDistFun::IdfT(kNaN, 3, 1e-12, 1e-20), missing},
        {"IdfT df 0", MCDistFun::IdfT(0.3, 0, 1e-12, 1e-20), missing},
        {"IdfT half", MCDistFun::IdfT(0.5, 3, 1e-12, 1e-20), 0.0},
        {"IdfT beyond a double", MCDistFun::IdfT(1e-9, 0.01, 1e-12, 1e-20), missing},
    };
    for (const Case& c : cases) EXPECT_EQ(c.actual, c.expected) << c.name;
    EXPECT_TRUE(std::isnan(MCDistFun::CdfBeta(kNaN, 2, 3)));
    EXPECT_TRUE(std::isnan(MCDistFun::CdfT(kNaN, 3)));
    EXPECT_TRUE(std::isnan(MCDistFun::SigF(kNaN, 3, 4)));
}

TEST(MCDistFunT, QuantileReturnsToItsProbability)
{
    TestRandom random(11);
    for (int i = 0; i < 2000; ++i) {
        const double df = std::exp(random.Uniform(std::log(0.02), std::log(1e7)));
        const double q = i % 2 == 0 ? random.Uniform(0.0, 0.5) : std::exp(random.Uniform(-200.0, std::log(0.5)));
        const double t = MCDistFun::IdfT(q, df, 1e-12, 1e-20);
        if (MCMV::IsMissing(t)) {
            EXPECT_GT(MCDistFun::CdfT(-1.7e308, df), q) << "df " << df;
            continue;
        }
        EXPECT_NEAR(MCDistFun::CdfT(t, df) / q, 1.0, 1e-12) << "p " << q << " df " << df;
    }
    EXPECT_LE(UlpDistance(MCDistFun::IdfT(0.975, 1, 0, 0), 12.706204736174698), 4u); // tan(0.475 pi)
    EXPECT_LE(UlpDistance(MCDistFun::IdfT(0.25, 2, 0, 0), -std::sqrt(2.0 / 3.0)), 2u);
    EXPECT_NEAR(MCDistFun::IdfT(0.9, 7.5, 1e-3, 1e-20), MCDistFun::IdfT(0.9, 7.5, 0, 0), 1e-3);
}
