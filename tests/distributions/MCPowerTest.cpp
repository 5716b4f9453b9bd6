#include "modelcore/distributions/MCPower.h"
#include "modelcore/distributions/MCExtremeNum.h"
#include "support/Testing.h"

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
    const Case cases[] = {
        {"plain", 3, 4, 0, 81},
        {"zero to zero", 0, 0, 7, 1},
        {"zero to negative", 0, -1, 6, kMissing},
        {"zero to positive", 0, 0.5, 0, 0},
        {"negative to zero", -2, 0, 5, 1},
        {"positive to zero", 2, 0, 0, 1},
        {"cube root of -8", -8, 1.0 / 3.0, 0, -2},
        {"fifth root of -32", -32, 0.2, 0, -2},
        {"square root of -8", -8, 0.5, 4, kMissing},
        {"negative to a fraction", -8, 2.0 / 3.0, 4, kMissing},
        {"odd power", -2, 3, 0, -8},
        {"even power", -2, 10, 0, 1024},
        {"negative odd power", -2, -3, 0, -0.125},
        {"overflow", 10, 400, 2, kMissing},
        {"even overflow", -10, 400, 2, kMissing},
        {"odd overflow", -10, 401, 3, kMissing},
        {"odd overflow of a small base", -0.1, -401, 2, kMissing},
        {"underflow", 10, -400, 1, 0},
        {"odd underflow", -10, -401, 1, -0.0},
        {"exponent beyond the integers", -1.5, 3e9, 4, kMissing},
        {"one to infinity", 1, kInf, 0, 1},
        {"minus one to minus infinity", -1, -kInf, 0, 1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        double result = 7;
        EXPECT_EQ(MCPower::Power(c.base, c.e, result), c.status);
        EXPECT_NEAR(result, c.result, 1e-14 * std::fabs(c.result));
        EXPECT_EQ(std::signbit(result), std::signbit(c.result));
    }
}

TEST(MCPower, LimitsWholeNumbersAndComparisons)
{
    struct Case {
        double x;
        int status;
        double result;
    };
    for (const Case& c :
         {Case{-709, 1, 0}, {-708.39, 0, std::exp(-708.39)}, {709, 0, std::exp(709.0)}, {709.1, 2, kMissing}}) {
        double result = 7;
        EXPECT_EQ(MCPower::Exponent(c.x, result), c.status);
        EXPECT_EQ(result, c.result);
        EXPECT_EQ(MCPower::ExpOverflow(c.x), c.status == 2);
        EXPECT_EQ(MCPower::ExpUnderflow(c.x), c.status == 1);
    }
    EXPECT_EQ(MCPower::Multiply(1e-200, 1e-200), 0.0);
    EXPECT_EQ(MCPower::Multiply(-1e200, 1e200), kMissing);
    EXPECT_EQ(MCPower::Multiply(-3, 7), -21);
    EXPECT_EQ(MCPower::Multiply(0, kInf), 0.0);

    EXPECT_TRUE(MCPower::IsInteger(2147483647.0) && MCPower::IsInteger(-1e300)); // only the upper end is limited
    EXPECT_TRUE(NoneOf({MCPower::IsInteger(2147483648.0), MCPower::IsInteger(kNan)}));
    EXPECT_TRUE(MCPower::IsEvenInteger(-4) && MCPower::IsOddInteger(-3) && MCPower::IsOneOverEvenInteger(0.25, 2));
    EXPECT_TRUE(NoneOf({MCPower::IsOddInteger(-4), MCPower::IsEvenInteger(-3), MCPower::IsOneOverOddInteger(0.25, 2),
                        MCPower::IsOneOverOddInteger(0, 32), MCPower::IsOneOverOddInteger(1e-10, 32)}));

    const double eps = MCPower::gMachineEpsilon;
    EXPECT_TRUE(MCPower::AlmostEqual(1, 1 + 2 * eps, 2) && MCPower::AlmostEqual(0, -0.0, 0));
    EXPECT_TRUE(NoneOf({MCPower::AlmostEqual(1, 1 + 4 * eps, 2), MCPower::AlmostEqual(0, 1e-320, 1000),
                        MCPower::AlmostEqual(1e-320, -1e-320, 1000), MCPower::AlmostEqual(kNan, kNan, 1000)}));
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
    double result = 7;
    EXPECT_TRUE(MCExtremeNum::SumSqRoot(0.4, 2.5, kNan, 1.2, result) && std::isnan(result));
}
