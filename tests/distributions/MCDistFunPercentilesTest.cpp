#include "modelcore/common/MCMV.h"
#include "modelcore/distributions/MCDistFun.h"
#include "support/Testing.h"

using MCCommon_930::MCMV;
using MCMath_930::MCDistFun;

TEST(MCDistFunGPTile, RulesAndCodes)
{
    const std::vector<double> values{1, 2, 4};
    const std::vector<double> weights{2, 4, 2};
    const std::vector<double> halves{0.5, 0.5, 1.5};
    struct Case {
        const char* name;
        long n;
        double q;
        long mode;
        double expected;
        long err;
    };
    const Case cases[] = {
        // cumulative weights centred on the values: 1, 4, 7 of 8
        {"rule 1 at a value", 3, 50, 0, 2, 0},
        {"rule 1 between", 3, 31.25, -1, 1.5, 0},
        {"rule 1 at the first", 3, 12.5, 0, 1, 0},
        {"rule 1 below the first", 3, 12, 0, kMissing, 1},
        {"rule 1 at the last", 3, 87.5, 0, 4, 0},
        {"rule 1 beyond the last", 3, 88, 0, kMissing, 2},
        {"one value", 1, 50, 0, kMissing, -1},
        {"vectors too short", 4, 50, 0, kMissing, 1},
        {"NaN percentage", 3, kNan, 0, kMissing, 1},
        // classes 0.5-1.5, 1.5-2.5, 2.5-5.5 hold 2, 4, 2
        {"rule 2 inside a class", 3, 50, 1, 2, 0},
        {"rule 2 at a limit", 3, 25, 1, 1.5, 0},
        {"rule 2 at the start", 3, 0, 1, 0.5, 0},
        {"rule 2 at the end", 3, 100, 1, 5.5, 0},
        {"rule 2 above the end", 3, 101, 1, kMissing, 2},
        {"rule 2 below the start", 3, -1, 1, kMissing, 1},
        // middles carry 1, 4, 7 of 8, the ends 0 and 8
        {"rule 3 between middles", 3, 31.25, 2, 1.5, 0},
        {"rule 3 in the first half class", 3, 6.25, 3, 0.75, 0},
        {"rule 3 in the last half class", 3, 93.75, 2, 4.75, 0},
        {"rule 3 at the end", 3, 100, 2, 5.5, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        double result = 77;
        long err = 77;
        const double returned = MCDistFun::GPTile(c.n, c.q, values, weights, halves, c.mode, result, err);
        EXPECT_EQ(returned, c.expected);
        EXPECT_EQ(result, c.expected);
        EXPECT_EQ(err, c.err);
    }
    for (const long mode : {0L, 1L, 2L}) {
        double result = 77;
        long err = 77;
        EXPECT_TRUE(MCMV::IsMissing(MCDistFun::GPTile(3, 50, values, {2, kNan, 2}, halves, mode, result, err)));
        EXPECT_EQ(err, 1);
        // 100 percent of this total rounds above it
        const double most = MCDistFun::GPTile(3, 100, values, {0.9, 0.03, 0.03}, halves, mode, result, err);
        EXPECT_EQ(most, mode == 0 ? kMissing : 5.5);
    }
}

TEST(MCDistFunMednci, OrderStatisticsAroundTheMedian)
{
    // Ten cases, the second half of them through weights. Ranks 2 and 9 miss the median with probability 22/1024.
    const std::vector<double> values{1, 2, 3, 4, 5, 6, 7};
    const std::vector<double> weights{1, 1, 1, 1, 1, 2, 3};
    double median = 0, lower = 0, upper = 0;
    EXPECT_NEAR(MCDistFun::Mednci(7, values, weights, 95, 0, true, median, lower, upper), 100 * (1 - 22.0 / 1024),
                1e-10);
    EXPECT_EQ(median, 5.5);
    EXPECT_EQ(lower, 2);
    EXPECT_EQ(upper, 7);
    EXPECT_EQ(MCDistFun::Mednci(7, values, weights, 95, 0, false, median, lower, upper), 95);
    EXPECT_GT(lower, 2);
    EXPECT_LT(lower, 3);
    // Ranks 5 and 6: nothing narrower to interpolate to.
    EXPECT_NEAR(MCDistFun::Mednci(7, values, weights, 5, 0, false, median, lower, upper), 100 * 252.0 / 1024, 1e-10);
    EXPECT_TRUE(lower == 5 && upper == 6);

    EXPECT_TRUE(MCMV::IsMissing(MCDistFun::Mednci(2, {3, 5}, {1, 1}, 95, 0, true, median, lower, upper)));
    EXPECT_EQ(median, 4);
    MCDistFun::Mednci(4, {1, 2, 3, 9}, {1, 1, 1, 1}, 95, 0, true, median, lower, upper);
    EXPECT_EQ(median, 2.5);
    EXPECT_TRUE(MCMV::IsMissing(lower) && MCMV::IsMissing(upper)); // two cases cannot bound it so surely
    // 9.5 is rounded to ten cases; the tenth is the last that weighs anything.
    EXPECT_NEAR(MCDistFun::Mednci(7, {-3, 1, 2, 3, 4, 5, 9}, {0, 1.9, 1.9, 1.9, 1.9, 1.9, 0}, 99, 0, true, median,
                                  lower, upper),
                100 * (1 - 2.0 / 1024), 1e-10);
    EXPECT_TRUE(median == 3.5 && lower == 1 && upper == 5) << median << " " << lower << " " << upper;
    for (const double level : {0.0, 100.0, kNan})
        EXPECT_TRUE(MCMV::IsMissing(MCDistFun::Mednci(7, values, weights, level, 0, true, median, lower, upper)));
    EXPECT_TRUE(MCMV::IsMissing(MCDistFun::Mednci(8, values, weights, 95, 0, true, median, lower, upper)));
    EXPECT_TRUE(MCMV::IsMissing(median));
}
