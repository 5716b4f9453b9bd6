#include "distributions/ExactTable.h"
#include "support/Testing.h"

#include <map>

// The bounds are those of docs/distributions.md, which MCDistFun.h repeats. Where a domain ends, the value is exact.
TEST(MCDistFunAccuracy, EveryFunctionMeetsItsBoundOnTheExactTable)
{
    const std::map<std::string, double> bounds = ReadBounds(MODELCORE_TEST_DATA "/../../docs/distributions.md");
    std::map<std::string, int> points, ends;
    for (const ExactPoint& point : ReadExactTable(MODELCORE_TEST_DATA "/distributions.txt")) {
        SCOPED_TRACE(point.function + ' ' + point.region + ' ' + ::testing::PrintToString(point.args));
        const double actual = ExactCalls().at(point.function).call(point.args);
        if (point.region == "domain") {
            ++ends[point.function];
            EXPECT_TRUE(actual == point.expected || (std::isnan(actual) && std::isnan(point.expected))) << actual;
            continue;
        }
        ++points[point.function];
        EXPECT_LE(PointError(point, actual), bounds.at(point.function)) << actual << " should be " << point.expected;
    }
    EXPECT_GE(bounds.size(), 27u);
    for (const auto& [function, bound] : bounds) EXPECT_GE(points[function], 10) << function;
    for (const auto& [function, call] : ExactCalls()) EXPECT_GE(ends[function], 1) << function;
}
