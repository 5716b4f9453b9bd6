#include "modelcore/common/MCMV.h"
#include "modelcore/distributions/MCDistFun.h"
#include "support/Bits.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>

using MCCommon_930::MCMV;
using MCMath_930::MCDistFun;

namespace {

const double kMissing = MCMV::Missing();

} // namespace

TEST(MCDistFunBinomial, ValuesAndCodes)
{
    struct Case {
        const char* name;
        double (*function)(double, double, double, long&);
        double x, n, p, expected;
        long err;
    };
    const Case cases[] = {
        {"pdf inside", MCDistFun::PdfBin, 3, 10, 0.5, 120.0 / 1024, 0},
        {"pdf all", MCDistFun::PdfBin, 10, 10, 0.5, 1.0 / 1024, 0},
        {"pdf none", MCDistFun::PdfBin, 0, 3, 0.25, 27.0 / 64, 0},
        {"pdf x not whole", MCDistFun::PdfBin, 2.5, 10, 0.3, 0.0, 0},
        {"pdf x negative", MCDistFun::PdfBin, -1, 10, 0.3, 0.0, 0},
        {"pdf x beyond n", MCDistFun::PdfBin, 11, 10, 0.3, 0.0, 0},
        {"pdf p above 1", MCDistFun::PdfBin, 3, 10, 1.2, kMissing, 1},
        {"pdf NaN p", MCDistFun::PdfBin, 3, 10, NAN, kMissing, 1},
        {"pdf n below 1", MCDistFun::PdfBin, 0, 0.5, 0.3, kMissing, 1},
        {"pdf p 0 at 0", MCDistFun::PdfBin, 0, 10, 0, 1.0, 0},
        {"pdf p 0 elsewhere", MCDistFun::PdfBin, 1, 10, 0, 0.0, 0},
        {"pdf p 1 at n", MCDistFun::PdfBin, 10, 10, 1, 1.0, 0},
        {"pdf underflow", MCDistFun::PdfBin, 500, 1000, 1e-3, 0.0, 0},
        {"cdf inside", MCDistFun::CdfBin, 3.9, 10, 0.5, 176.0 / 1024, 0},
        {"cdf above the mode", MCDistFun::CdfBin, 8, 10, 0.5, 1013.0 / 1024, 0},
        {"cdf below 0", MCDistFun::CdfBin, -0.1, 10, 0.5, 0.0, 0},
        {"cdf at 0", MCDistFun::CdfBin, 0, 3, 0.25, 27.0 / 64, 0},
        {"cdf at n", MCDistFun::CdfBin, 10, 10, 0.5, 1.0, 0},
        {"cdf p 0", MCDistFun::CdfBin, 0, 10, 0, 1.0, 0},
        {"cdf p 1 below n", MCDistFun::CdfBin, 9, 10, 1, 0.0, 0},
        {"cdf n not whole", MCDistFun::CdfBin, 3, 10.5, 0.5, kMissing, 3},
        {"cdf NaN n", MCDistFun::CdfBin, 3, NAN, 0.5, kMissing, 3},
        {"cdf n 0", MCDistFun::CdfBin, 0, 0, 0.5, kMissing, 1},
        {"cdf p negative", MCDistFun::CdfBin, 3, 10, -0.1, kMissing, 1},
        {"idf hits a step", MCDistFun::IdfBin, 176.0 / 1024, 10, 0.5, 3.0, 0},
        {"idf just above it", MCDistFun::IdfBin, 0.1719, 10, 0.5, 4.0, 0},
        {"idf p 0", MCDistFun::IdfBin, 0, 10, 0.5, 0.0, 0},
        {"idf p 1", MCDistFun::IdfBin, 1, 10, 0.5, 10.0, 0},
        {"idf p 2", MCDistFun::IdfBin, 2, 10, 0.5, kMissing, 1},
        {"idf n not whole", MCDistFun::IdfBin, 0.5, 1.5, 0.5, kMissing, 1},
        {"negbin first possible trial", MCDistFun::PdfNegBin, 2, 2, 0.25, 1.0 / 16, 0},
        {"negbin later", MCDistFun::PdfNegBin, 4, 2, 0.5, 3.0 / 16, 0},
        {"negbin too early", MCDistFun::PdfNegBin, 1, 2, 0.5, 0.0, 0},
        {"negbin r 0", MCDistFun::PdfNegBin, 1, 0, 0.5, kMissing, 1},
    };
    for (const Case& c : cases) {
        long err = 77;
        EXPECT_LE(UlpDistance(c.function(c.x, c.n, c.p, err), c.expected), 8u) << c.name;
        EXPECT_EQ(err, c.err) << c.name;
    }
}

// The outward sum and the incomplete beta that takes over below exp(-708) must meet: P(X <= k) by both sides of the
// switch, from the recurrence cdf(k) - cdf(k - 1) = pdf(k).
TEST(MCDistFunBinomial, DistributionGrowsByItsDensity)
{
    long err = 0;
    for (const double n : {20.0, 3000.0, 1e6}) {
        for (const double p : {0.5, 0.02, 0.997}) {
            const double sd = std::sqrt(n * p * (1 - p));
            for (const double z : {-36.0, -9.0, -2.0, 0.0, 1.0}) {
                const double k = std::floor(n * p + z * sd);
                if (k < 1 || k > n) continue;
                const double grown = MCDistFun::CdfBin(k, n, p, err) - MCDistFun::CdfBin(k - 1, n, p, err);
                EXPECT_NEAR(grown, MCDistFun::PdfBin(k, n, p, err), 1e-12 * MCDistFun::CdfBin(k, n, p, err) + 1e-307)
                    << n << ' ' << p << ' ' << z;
                const double back = MCDistFun::IdfBin(MCDistFun::CdfBin(k, n, p, err), n, p, err);
                if (z < 1) {
                    EXPECT_EQ(back, k) << n << ' ' << p << ' ' << z;
                }
            }
        }
    }
}

TEST(MCDistFunHyper, ValuesAndCodes)
{
    EXPECT_LE(UlpDistance(MCDistFun::PdfHyper(1, 10, 4, 3), 60.0 / 120), 8u);
    EXPECT_LE(UlpDistance(MCDistFun::PdfHyper(0, 10, 4, 3), 20.0 / 120), 8u);
    EXPECT_EQ(MCDistFun::PdfHyper(4, 10, 4, 3), 0.0);
    EXPECT_EQ(MCDistFun::PdfHyper(0, 10, 9, 3), 0.0); // at least two marked ones are drawn
    for (const auto& [N, M, n] : {std::array{0L, 0L, 0L}, {10L, 11L, 3L}, {10L, -1L, 3L}, {10L, 4L, 11L}})
        EXPECT_TRUE(MCMV::IsMissing(MCDistFun::PdfHyper(1, N, M, n)));
    EXPECT_EQ(MCDistFun::PdfHyper(std::numeric_limits<long>::min(), 10, 4, 3), 0.0);

    int err = 77;
    for (const auto& [N, M, n] : {std::array{10L, 4L, 3L}, {40L, 30L, 25L}, {500L, 250L, 100L}}) {
        double sum = 0;
        for (long k = 0; k <= n; ++k) {
            sum += MCDistFun::PdfHyper(k, N, M, n);
            const double cdf = MCDistFun::CDFHyper(static_cast<double>(k) + 0.5, static_cast<double>(N),
                                                   static_cast<double>(M), static_cast<double>(n), err);
            EXPECT_NEAR(cdf, sum, 4e-14) << N << ' ' << k;
            EXPECT_EQ(err, 0);
        }
    }
    EXPECT_NEAR(MCDistFun::CDFHyper(2.5e11, 1e12, 5e11, 5e11, err), 0.5, 1e-5); // the normal approximation
    EXPECT_TRUE(MCMV::IsMissing(MCDistFun::CDFHyper(1, 10.5, 4, 3, err)));
    EXPECT_EQ(err, 1);
    EXPECT_TRUE(MCMV::IsMissing(MCDistFun::CDFHyper(1, 10, NAN, 3, err)));
    EXPECT_EQ(err, 1);
}
