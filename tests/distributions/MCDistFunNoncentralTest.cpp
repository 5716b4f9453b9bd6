#include "modelcore/common/MCMV.h"
#include "modelcore/distributions/MCDistFun.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>

using MCCommon_930::MCMV;
using MCMath_930::MCDistFun;

TEST(MCDistFunNoncentral, NoNoncentralityIsTheCentralDistribution)
{
    for (const double x : {1e-9, 0.5, 3.0, 40.0}) {
        EXPECT_EQ(MCDistFun::NonCentralCdfChi(x, 3, 0), MCDistFun::CdfChi(x, 3));
        EXPECT_EQ(MCDistFun::NonCentralCdfF(x, 3, 5, 0, 0), MCDistFun::CdfF(x, 3, 5));
        EXPECT_EQ(MCDistFun::NonCentralCdfT(x, 3, 0, 0), MCDistFun::CdfT(x, 3));
        for (const double nc : {1e-12, -1e-12}) {
            EXPECT_NEAR(MCDistFun::NonCentralCdfT(x, 3, nc, 0), MCDistFun::CdfT(x, 3), 1e-12);
            EXPECT_NEAR(MCDistFun::NonCentralCdfT(-x, 3, nc, 0), MCDistFun::CdfT(-x, 3), 1e-12);
        }
        EXPECT_NEAR(MCDistFun::NonCentralCdfChi(x, 3, 1e-12), MCDistFun::CdfChi(x, 3), 1e-12);
    }
    // T^2 of one degree of freedom is a noncentral F: P(|T| <= t) both ways.
    for (const double t : {0.1, 1.0, 4.0})
        EXPECT_NEAR(MCDistFun::NonCentralCdfT(t, 7, 1.5, 0) - MCDistFun::NonCentralCdfT(-t, 7, 1.5, 0),
                    MCDistFun::NonCentralCdfF(t * t, 1, 7, 2.25, 0), 1e-15);
}

TEST(MCDistFunNoncentral, GrowsWithXAndStaysAProbability)
{
    struct Case {
        const char* name;
        double from, to;
        std::function<double(double)> cdf;
    };
    const Case cases[] = {
        {"t where sums cancel", -20, 40, [](double x) { return MCDistFun::NonCentralCdfT(x, 8, 8.269, 0); }},
        {"t, tiny df", -50, 50, [](double x) { return MCDistFun::NonCentralCdfT(x, 0.05, 2, 0); }},
        {"t, large nc", 0, 120, [](double x) { return MCDistFun::NonCentralCdfT(x, 30, 60, 0); }},
        {"t, negative nc", -60, 5, [](double x) { return MCDistFun::NonCentralCdfT(x, 4, -20, 0); }},
        {"chi-square", 0.01, 3000, [](double x) { return MCDistFun::NonCentralCdfChi(x, 2, 1000); }},
        {"F", 0.01, 80, [](double x) { return MCDistFun::NonCentralCdfF(x, 3, 6, 40, 0); }},
    };
    for (const Case& c : cases) {
        double last = 0.0;
        for (int i = 0; i <= 400; ++i) {
            const double p = c.cdf(c.from + (c.to - c.from) * i / 400);
            EXPECT_GE(p, last * (1 - 1e-13)) << c.name << ' ' << i;
            EXPECT_LE(p, 1.0) << c.name << ' ' << i;
            last = p;
        }
    }
    EXPECT_GT(MCDistFun::NonCentralCdfT(-5, 8, 8.269, 0), MCDistFun::NonCentralCdfT(-10, 8, 8.269, 0));
    EXPECT_GT(MCDistFun::NonCentralCdfT(-10, 8, 8.269, 0), 0.0);
}

TEST(MCDistFunNoncentral, DensityIsTheSlopeOfTheDistribution)
{
    long err = 77;
    for (const double df : {0.7, 6.0, 90.0})
        for (const double nc : {-3.0, 0.4, 5.0})
            for (const double t : {-6.0, -0.5, 0.0, 1.5, 7.0}) {
                const double h = 1e-4;
                const double slope =
                    (MCDistFun::NonCentralCdfT(t + h, df, nc, 0) - MCDistFun::NonCentralCdfT(t - h, df, nc, 0)) /
                    (2 * h);
                EXPECT_NEAR(MCDistFun::NonCentralPdfT(t, df, nc, err), slope, 1e-7 * slope + 2e-12);
                EXPECT_EQ(err, 0);
            }
    EXPECT_TRUE(MCMV::IsMissing(MCDistFun::NonCentralPdfT(1, 0, 1, err)));
    EXPECT_EQ(err, 1);
}

TEST(MCDistFunNoncentral, DomainRefusals)
{
    for (const double bad : {0.0, -1.0, static_cast<double>(NAN), HUGE_VAL}) {
        EXPECT_TRUE(MCMV::IsMissing(MCDistFun::NonCentralCdfChi(1, bad, 1)));
        EXPECT_TRUE(MCMV::IsMissing(MCDistFun::NonCentralCdfF(1, bad, 2, 1, 0)));
        EXPECT_TRUE(MCMV::IsMissing(MCDistFun::NonCentralCdfF(1, 2, bad, 1, 0)));
        EXPECT_TRUE(MCMV::IsMissing(MCDistFun::NonCentralCdfT(1, bad, 1, 0)));
        if (bad != 0.0) {
            EXPECT_TRUE(MCMV::IsMissing(MCDistFun::NonCentralCdfChi(1, 1, bad)));
        }
    }
    EXPECT_EQ(MCDistFun::NonCentralCdfChi(-1, 2, 3), 0.0);
    EXPECT_EQ(MCDistFun::NonCentralCdfChi(HUGE_VAL, 2, 3), 1.0);
    EXPECT_EQ(MCDistFun::NonCentralCdfF(0, 2, 3, 4, 0), 0.0);
    EXPECT_EQ(MCDistFun::NonCentralCdfT(-HUGE_VAL, 2, 3, 0), 0.0);
}

TEST(MCDistFunFindNCParam, FindsOrRefuses)
{
    for (const double nc : {0.01, 3.0, 250.0}) {
        const double pChi = MCDistFun::NonCentralCdfChi(4 + nc, 4, nc);
        EXPECT_NEAR(MCDistFun::FindNCParamChi(4 + nc, 4, pChi, 0) / nc, 1.0, 1e-10);
        const double pF = MCDistFun::NonCentralCdfF(1 + nc / 4, 4, 20, nc, 0);
        EXPECT_NEAR(MCDistFun::FindNCParamF(1 + nc / 4, 4, 20, pF, 0) / nc, 1.0, 1e-10);
        for (const double sign : {1.0, -1.0}) {
            const double pT = MCDistFun::NonCentralCdfT(sign * nc + 1, 12, sign * nc, 0);
            EXPECT_NEAR(MCDistFun::FindNCParamT(sign * nc + 1, 12, pT, 0, 0) / nc, sign, 1e-10);
        }
    }
    EXPECT_EQ(MCDistFun::FindNCParamChi(3, 4, MCDistFun::CdfChi(3, 4), 0), 0.0);
    EXPECT_EQ(MCDistFun::FindNCParamT(1, 4, MCDistFun::CdfT(1, 4), 0, 0), 0.0);
    // No parameter reaches these: a noncentrality only lowers the distribution function.
    EXPECT_TRUE(MCMV::IsMissing(MCDistFun::FindNCParamChi(3, 4, 0.9, 0)));
    EXPECT_TRUE(MCMV::IsMissing(MCDistFun::FindNCParamF(1, 4, 20, 0.9, 0)));
    EXPECT_TRUE(MCMV::IsMissing(MCDistFun::FindNCParamT(1e9, 4, 0.5, 0, 0))); // beyond the range searched
    for (const double p : {0.0, 1.0, static_cast<double>(NAN)})
        EXPECT_TRUE(MCMV::IsMissing(MCDistFun::FindNCParamChi(3, 4, p, 0)));
    EXPECT_NEAR(MCDistFun::FindNCParamChi(30, 4, 0.5, 1e-3), MCDistFun::FindNCParamChi(30, 4, 0.5, 0), 0.05);
}
