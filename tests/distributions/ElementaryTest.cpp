// The exponential, the logarithm and the ratios of gamma functions behind the distributions, at each row of the tables.
#include "modelcore/distributions/MCDistFun.h"
#include "modelcore/distributions/internal/AccurateLog.h"
#include "support/Testing.h"

#include <cfloat>

using namespace MCMath_930::internal;
using MCMath_930::MCDistFun;

namespace {

// Where a long double has no digits to spare the oracle itself is out by half a unit.
constexpr bool kHasMoreDigits = LDBL_MANT_DIG >= 64;

/// How many units in the last place of the exact value.
double UlpError(double actual, long double exact)
{
    const double rounded = std::fabs(static_cast<double>(exact));
    const double unit = std::nextafter(rounded, kInf) - rounded;
    return static_cast<double>(std::fabs(actual - exact) / unit);
}

} // namespace

TEST(Elementary, ExponentialIsWithinItsBoundAtEveryRow)
{
    constexpr double kSixteenth = 0.69314718055994530942 / 16.0;
    for (int n = -11000; n <= 11300; ++n) // 16 rows to a power of 2, and the ends and the middle of each
        for (const double away : {-0.4999, -0.2, 0.0, 0.31, 0.4999}) {
            const double x = (n + away) * kSixteenth;
            const long double exact = std::exp(static_cast<long double>(x));
            const ExpValues<double> found = ExpBoth(x, 0.0);
            ASSERT_LE(UlpError(found.value, exact), kHasMoreDigits ? 0.56 : 1.1) << x;
            ASSERT_LE(UlpError(found.complement, -std::expm1(static_cast<long double>(x))), 2.0) << x;
        }
    EXPECT_EQ(Exp(-746.0, 0.0), 0.0);
    EXPECT_EQ(Exp(-1e300, -1e280), 0.0);
    EXPECT_EQ(Exp(710.0, 0.0), kInf);
    for (const double x : {-708.5, -740.0, -745.0}) // denormal results are rounded once
        EXPECT_EQ(Exp(x, 0.0), static_cast<double>(std::exp(static_cast<long double>(x))));
    EXPECT_NEAR(Exp(-600.0, 1e-15) / Exp(-600.0, 0.0) - 1.0, 1e-15, 2.3e-16); // a tail counts
}

TEST(Elementary, AccurateLogHasElevenBitsToSpareAtEveryRow)
{
    if (!kHasMoreDigits) GTEST_SKIP() << "no oracle";
    for (int row = 90; row <= 181; ++row)
        for (const double away : {-0.499, -0.1, 0.3, 0.499})
            for (const double power : {1.0, 0x1p-1030, 0x1p90}) {
                const double x = (row + away) / 128.0 * power;
                const DoubleDouble found = AccurateLog({x});
                const long double exact = std::log(static_cast<long double>(x));
                const long double error = (static_cast<long double>(found.head) + found.tail) / exact - 1.0L;
                EXPECT_LE(std::fabs(error), 0x1p-62L) << x;
                EXPECT_LE(UlpError(Log(std::max(x, DBL_MIN)), std::log(std::max<long double>(x, DBL_MIN))), 1.0) << x;
            }
}

// At its mode a gamma density is x^x exp(-x) / Gamma(x); far below its median F with one and b degrees of freedom is a
// root times Gamma((b + 1)/2) / Gamma(b/2).
TEST(Elementary, RatiosOfGammaFunctionsAreRightInEveryPiece)
{
    for (const double end : {0.5, 2.0 / 3.0, 1.0, 2.0, 4.0, 8.0, 60.0, 3000.0})
        for (const double factor : {1.0, 1.0 - 1e-12, 1.0 + 1e-12, 1.02, 1.1, 1.2}) {
            const double x = end * factor;
            const long double wide = x, gamma = std::lgamma(wide);
            const double tolerance = 1e-15 + (kHasMoreDigits ? 1e-19 : 1e-15) * x * std::fabs(std::log(x));
            const long double weight = std::exp(wide * std::log(wide) - wide - gamma);
            EXPECT_NEAR(static_cast<double>(MCDistFun::PdfGamma(x, x, 1.0) * x / weight), 1.0, tolerance) << x;
            const long double ratio = std::exp(std::lgamma(wide + 0.5L) - gamma) / std::tgamma(1.5L);
            const double tail = MCDistFun::CdfF(1e-30 * 2.0 * x, 1.0, 2.0 * x);
            EXPECT_NEAR(static_cast<double>(tail / (1e-15L * ratio)), 1.0, tolerance) << x;
        }
}
