#include "modelcore/common/MCMV.h"
#include "modelcore/distributions/MCDistFun.h"
#include "support/Bits.h"

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

TEST(MCDistFunChi, ClosedFormsInBothTails)
{
    for (const double x : {1e-300, 1e-9, 0.3, 1.0, 5.0, 300.0, 1400.0}) {
        EXPECT_LE(UlpDistance(MCDistFun::SigChi(x, 2), std::exp(-x / 2)), 1u) << x;
        EXPECT_LE(UlpDistance(MCDistFun::CdfChi(x, 2), -std::expm1(-x / 2)), 1u) << x;
        EXPECT_LE(UlpDistance(MCDistFun::SigChi(x, 4), std::exp(-x / 2) * (1 + x / 2)), 16u) << x;
        EXPECT_LE(UlpDistance(MCDistFun::SigChi(x, 1), std::erfc(std::sqrt(x / 2))), 256u)
            << x; // libm's argument rounds
    }
    // A mass near 0 must not swallow the other tail: Q(a, x) is a E1(x) to first order, E1(0.5) = 0.559773594776...
    EXPECT_NEAR(MCDistFun::SigChi(1.0, 2e-9) / 1e-9, 0.5597735947761608, 1e-8);
}

TEST(MCDistFunChi, HugeShapesTakeTheNormalApproximation)
{
    for (const double df : {1e9, 1e15, 1e200})
        for (const double z : {-1.0, 0.0, 1.0}) {
            const double x = df + z * std::sqrt(2.0 * df);
            const double normal = MCDistFun::CdfStdNorm((x - df) / std::sqrt(2.0 * df));
            EXPECT_NEAR(MCDistFun::CdfChi(x, df), normal, 2.0 / std::sqrt(df) + 1e-9) << df;
            EXPECT_NEAR(MCDistFun::CdfChi(x, df) + MCDistFun::SigChi(x, df), 1.0, 1e-9) << df;
        }
}

TEST(MCDistFunGammaFamily, EdgesOfTheDomain)
{
    struct Case {
        const char* name;
        double actual, expected;
    };
    const double missing = MCMV::Missing();
    const Case cases[] = {
        {"chi at 0", MCDistFun::CdfChi(0, 3), 0.0},
        {"chi sig at 0", MCDistFun::SigChi(0, 3), 1.0},
        {"chi sig below 0", MCDistFun::SigChi(-1, 0.1), 1.0},
        {"chi df 0", MCDistFun::CdfChi(1, 0), missing},
        {"chi df 0 at 0", MCDistFun::SigChi(0, 0), missing},
        {"chi NaN df", MCDistFun::CdfChi(1, NAN), missing},
        {"chi at infinity", MCDistFun::CdfChi(HUGE_VAL, 3), 1.0},
        {"chi sig underflow", MCDistFun::SigChi(1417, 2), 0.0},
        {"gamma exponential shortcut", MCDistFun::CdfGam(709, 1, 1), 1.0},
        {"gamma overflowing product", MCDistFun::CdfGam(1e200, 2, 1e200), 1.0},
        {"gamma rate 0", MCDistFun::CdfGam(1, 1, 0), missing},
        {"gamma shape < 0", MCDistFun::CdfGam(1, -1, 1), missing},
        {"gamma density at 0, shape 1", MCDistFun::PdfGamma(0, 1, 2.5), 2.5},
        {"gamma density at 0, shape 2", MCDistFun::PdfGamma(0, 2, 2.5), 0.0},
        {"gamma density at 0, infinite", MCDistFun::PdfGamma(0, 0.5, 1), missing},
        {"gamma density below 0", MCDistFun::PdfGamma(-1, 0.5, 1), 0.0},
        {"chi quantile of 0", MCDistFun::IdfChi(0, 3), 0.0},
        {"chi quantile of 1", MCDistFun::IdfChi(1, 3), missing},
        {"chi quantile of NaN", MCDistFun::IdfChi(NAN, 3), missing},
        {"chi quantile below the least double", MCDistFun::IdfChi(0.1, 1e-4), 0.0},
        {"gamma quantile of 0 at shape 0", MCDistFun::IdfGam(0, 0, 1), 0.0},
        {"gamma quantile at shape 0", MCDistFun::IdfGam(0.5, 0, 1), missing},
        {"gamma quantile p < 0", MCDistFun::IdfGam(-0.1, 1, 1), missing},
    };
    for (const Case& c : cases) EXPECT_EQ(c.actual, c.expected) << c.name;
}

// From published tables of chi-square, and round trips where AS 91 alone overflows, stalls or loses digits.
TEST(MCDistFunChi, Quantiles)
{
    EXPECT_LE(UlpDistance(MCDistFun::IdfChi(0.05, 1), 0.0039321400000195232), 4u);
    EXPECT_LE(UlpDistance(MCDistFun::IdfChi(0.95, 10), 18.307038053275144), 4u);
    EXPECT_LE(UlpDistance(MCDistFun::IdfChi(0.001, 0.5), 1.3499395786230751e-12), 4u); // AS 91 alone: 8 digits
    EXPECT_LE(UlpDistance(MCDistFun::IdfChi(0.9, 0.2), 0.53230910747767571), 4u);
    EXPECT_LE(UlpDistance(MCDistFun::IdfGam(0.95, 5, 2), 18.307038053275144 / 4), 4u);
    for (const double df : {0.05, 0.3, 1.0, 2.5, 40.0, 81.0, 1e4, 1e6}) {
        for (const double p : {1e-300, 1e-100, 1e-12, 2e-6, 0.1, 0.5}) {
            const double x = MCDistFun::IdfChi(p, df);
            if (x == 0.0) continue; // below the least double
            EXPECT_NEAR(MCDistFun::CdfChi(x, df) / p, 1.0, 1e-14 * (10 + 40 * std::sqrt(df))) << p << ' ' << df;
        }
        for (const double q : {1e-15, 1e-9, 2e-6, 0.25}) {
            const double p = 1.0 - q;
            EXPECT_NEAR(MCDistFun::SigChi(MCDistFun::IdfChi(p, df), df) / (1.0 - p), 1.0, 1e-12) << q << ' ' << df;
        }
    }
}
