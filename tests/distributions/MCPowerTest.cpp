#include "modelcore/distributions/MCPower.h"
#include "modelcore/common/MCMV.h"
#include "modelcore/distributions/MCExtremeNum.h"
#include "support/Bits.h"

#include <gtest/gtest.h>

#include <cmath>

using MCCommon_930::MCMV;
using MCMath_930::MCExtremeNum;
using MCMath_930::MCPower;

TEST(MCPower, PowerByKindOfBaseAndExponent)
{
    struct Case {
        const char* name;
        double base, e;
        int status;
        double result;
    };
    const double missing = MCMV::Missing();
    const Case cases[] = {
        {"plain", 3, 4, 0, 81},
        {"zero to zero", 0, 0, 7, 1},
        {"zero to negative", 0, -1, 6, missing},
        {"zero to positive", 0, 0.5, 0, 0},
        {"negative to zero", -2, 0, 5, 1},
        {"positive to zero", 2, 0, 0, 1},
        {"cube root of -8", -8, 1.0 / 3.0, 0, -2},
        {"fifth root of -32", -32, 0.2, 0, -2},
        {"square root of -8", -8, 0.5, 4, missing},
        {"negative to a fraction", -8, 2.0 / 3.0, 4, missing},
        {"odd power", -2, 3, 0, -8},
        {"even power", -2, 10, 0, 1024},
        {"negative odd power", -2, -3, 0, -0.125},
        {"overflow", 10, 400, 2, missing},
        {"even overflow", -10, 400, 2, missing},
        {"odd overflow", -10, 401, 3, missing},
        {"odd overflow of a small base", -0.1, -401, 2, missing},
        {"underflow", 10, -400, 1, 0},
        {"odd underflow", -10, -401, 1, -0.0},
        {"exponent beyond the integers", -1.5, 3e9, 4, missing},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        double result = 7;
        EXPECT_EQ(MCPower::Power(c.base, c.e, result), c.status);
        EXPECT_NEAR(result, c.result, 1e-14 * std::fabs(c.result));
        EXPECT_EQ(std::signbit(result), std::signbit(c.result));
    }
}

TEST(MCPower, ExponentAndItsLimits)
{
    double result = 7;
    EXPECT_EQ(MCPower::Exponent(-709, result), MCPower::Underflow);
    EXPECT_EQ(result, 0.0);
    EXPECT_EQ(MCPower::Exponent(-708.39, result), MCPower::Success);
    EXPECT_GT(result, 0.0);
    EXPECT_EQ(MCPower::Exponent(709, result), MCPower::Success);
    EXPECT_EQ(MCPower::Exponent(709.1, result), MCPower::Overflow);
    EXPECT_TRUE(MCMV::IsMissing(result));
    EXPECT_EQ(MCPower::Multiply(1e-200, 1e-200), 0.0);
    EXPECT_TRUE(MCMV::IsMissing(MCPower::Multiply(-1e200, 1e200)));
    EXPECT_EQ(MCPower::Multiply(-3, 7), -21);
    EXPECT_EQ(MCPower::Multiply(0, HUGE_VAL), 0.0);
}

TEST(MCPower, WholeNumbersAndComparisons)
{
    EXPECT_TRUE(MCPower::IsInteger(2147483647.0));
    EXPECT_FALSE(MCPower::IsInteger(2147483648.0));
    EXPECT_TRUE(MCPower::IsInteger(-1e300)); // only the upper end is limited
    EXPECT_TRUE(MCPower::IsEvenInteger(-4) && !MCPower::IsOddInteger(-4));
    EXPECT_TRUE(MCPower::IsOddInteger(-3) && !MCPower::IsEvenInteger(-3));
    EXPECT_FALSE(MCPower::IsInteger(NAN));
    EXPECT_TRUE(MCPower::IsOneOverEvenInteger(0.25, 2) && !MCPower::IsOneOverOddInteger(0.25, 2));
    EXPECT_FALSE(MCPower::IsOneOverOddInteger(0, 32));
    EXPECT_FALSE(MCPower::IsOneOverOddInteger(1e-10, 32));

    const double eps = MCPower::gMachineEpsilon;
    EXPECT_TRUE(MCPower::AlmostEqual(1, 1 + 2 * eps, 2));
    EXPECT_FALSE(MCPower::AlmostEqual(1, 1 + 4 * eps, 2));
    EXPECT_TRUE(MCPower::AlmostEqual(0, -0.0, 0));
    EXPECT_FALSE(MCPower::AlmostEqual(0, 1e-320, 1000));
    EXPECT_FALSE(MCPower::AlmostEqual(1e-320, -1e-320, 1000));
    EXPECT_FALSE(MCPower::AlmostEqual(NAN, NAN, 1000));
}

TEST(MCExtremeNum, SumSqRoot)
{
    struct Case {
        const char* name;
        double a, b, c, d;
        bool done;
        double result;
    };
    const Case cases[] = {
        {"3-4-5", 3, 1, -4, 1, true, 5},
        {"no overflow", 3e200, 1, 4e200, 1, true, 5e200},
        {"equal terms", 1e300, 1, 1e150, 1e300, true, std::sqrt(2.0) * 1e300},
        {"difference", 5, 1, 3, -1, true, 4},
        {"difference, other side", 3, -1, 5, 1, true, 4},
        {"equal and opposite", 2, 9, 3, -4, true, 0},
        {"negative sum", 3, 1, 5, -1, false, 7},
        {"both negative", 1, -1, 1, -1, false, 7},
        {"both negative zeroes", 0, -1, 0, -1, false, 7},
        {"nothing", 0, 0, 0, 0, true, 0},
    };
    for (const Case& c : cases) {
        double result = 7;
        EXPECT_EQ(MCExtremeNum::SumSqRoot(c.a, c.b, c.c, c.d, result), c.done) << c.name;
        EXPECT_LE(UlpDistance(result, c.result), 1u) << c.name;
    }
}
