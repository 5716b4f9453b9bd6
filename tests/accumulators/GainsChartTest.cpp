#include "modelcore/accumulators/ClassGainsChart.h"
#include "modelcore/accumulators/RegGainsChart.h"
#include "support/Random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

using namespace MCMath_930;

namespace {

constexpr double kMissing = MCCommon_930::MCMV::gMissingValue;
const double kNan = std::numeric_limits<double>::quiet_NaN();

RegGainsChart RegChart(int segments)
{
    RegGainsChart chart;
    chart.SetCountOfSegment(segments);
    return chart;
}

/// The number of cases in each segment, from cases that weigh 1.
std::vector<int> Sizes(int cases, int segments)
{
    std::vector<RegDataInfo> data(static_cast<std::size_t>(cases), RegDataInfo{1.0, 1.0, 1.0});
    std::vector<int> sizes;
    int before = 0;
    for (const LiftInfo& info : RegChart(segments).CalculateGains(data)) {
        sizes.push_back(info.fnCumulativeCount - before);
        before = info.fnCumulativeCount;
        EXPECT_EQ(info.fdSegmentSum, sizes.back());
        EXPECT_EQ(info.fdMinScore, sizes.back() == 0 ? kMissing : 1.0);
        EXPECT_EQ(info.fdMeanScore, sizes.back() == 0 ? kMissing : 1.0);
    }
    return sizes;
}

} // namespace

TEST(GainsChart, EveryCaseFallsInOneSegment)
{
    const std::vector<std::tuple<int, int, std::vector<int>>> table = {
        {0, 10, {}},
        {1, 10, {1}},
        {7, 10, {1, 1, 1, 1, 1, 1, 1}},
        {10, 10, std::vector<int>(10, 1)},
        {25, 4, {6, 6, 6, 7}},
        {50, 2, {25, 25}},
        {51, 2, {1, 25, 25}},
        {51, 1, {1, 50}},
        {250, 3, {3, 83, 83, 81}},
        {100, 10, {2, 10, 10, 10, 10, 10, 10, 10, 10, 10, 8}},
        {5, 0, {}},
        {5, -3, {}},
    };
    for (const auto& [cases, segments, sizes] : table) EXPECT_EQ(Sizes(cases, segments), sizes) << cases;

    // The top segment reaches into the last ones: one case each, then none.
    const std::vector<int> few = Sizes(150, 200);
    EXPECT_EQ(few.size(), 150u);
    EXPECT_EQ(few[0], 2);
    EXPECT_EQ(few[148], 1);
    EXPECT_EQ(few[149], 0);
    const std::vector<int> many = Sizes(1000, 500);
    EXPECT_EQ(many.size(), 501u);
    EXPECT_EQ(many[0], 11);
    EXPECT_EQ(many[494], 2);
    EXPECT_EQ(many[495], 1);
    EXPECT_EQ(many[500], 0);
}

TEST(RegGainsChart, SumsUpEachSegment)
{
    std::vector<RegDataInfo> cases = {{1.0, 10.0, 1.9}, {4.0, 20.0, 2.5}, {2.0, -30.0, 1.0}, {3.0, 40.0, 0.5}};
    const std::vector<LiftInfo> table = RegChart(2).CalculateGains(cases);
    ASSERT_EQ(table.size(), 2u);
    EXPECT_EQ(table[0].fnCumulativeCount, 2); // weights 2.5 and 0.5 count as 2 and 0
    EXPECT_EQ(table[0].fdSegmentSum, 2.5 * 20.0 + 0.5 * 40.0);
    EXPECT_EQ(table[0].fdMinScore, 3.0);
    EXPECT_EQ(table[0].fdMeanScore, (2.5 * 4.0 + 0.5 * 3.0) / 2.0);
    EXPECT_EQ(table[1].fnCumulativeCount, 4);
    EXPECT_EQ(table[1].fdSegmentSum, -30.0 + 1.9 * 10.0);
    EXPECT_EQ(table[1].fdMinScore, 1.0);
    EXPECT_EQ(table[1].fdMeanScore, (2.0 + 1.9) / 2.0);
    EXPECT_EQ(cases[0].fdPredicted, 4.0);
    EXPECT_TRUE((RegDataInfo{2.0, 0.0, 1.0} < RegDataInfo{1.0, 0.0, 1.0}));
}

TEST(RegGainsChart, MissingAndNanStayInTheirSegment)
{
    std::vector<RegDataInfo> cases = {{5.0, 1.0, 1.0},  {4.0, kMissing, 1.0}, {3.0, 1.0, kMissing},
                                      {2.0, 1.0, 3.0},  {kMissing, 1.0, 1.0}, {1.0, 1.0, 1.0},
                                      {-1.0, 2.0, 0.2}, {-2.0, 2.0, 0.0}};
    const std::vector<LiftInfo> table = RegChart(4).CalculateGains(cases);
    ASSERT_EQ(table.size(), 4u);
    EXPECT_EQ(table[0].fdSegmentSum, kMissing);
    EXPECT_EQ(table[0].fdMeanScore, 4.5);
    EXPECT_EQ(table[1].fnCumulativeCount, 5);
    EXPECT_EQ(table[1].fdSegmentSum, kMissing);
    EXPECT_EQ(table[1].fdMinScore, 2.0);
    EXPECT_EQ(table[1].fdMeanScore, kMissing);
    EXPECT_EQ(table[2].fdSegmentSum, 1.4);
    EXPECT_EQ(table[3].fdMinScore, kMissing);
    EXPECT_EQ(table[3].fdMeanScore, kMissing);
    EXPECT_EQ(table[3].fdSegmentSum, 1.0);

    std::vector<RegDataInfo> weightless = {{2.0, 1.0, 0.5}, {1.0, 1.0, kNan}};
    const LiftInfo none = RegChart(2).CalculateGains(weightless)[0];
    EXPECT_EQ(none.fnCumulativeCount, 0);
    EXPECT_EQ(none.fdMeanScore, kMissing);

    std::vector<RegDataInfo> heavy(3, RegDataInfo{1.0, 1.0, 1e9});
    EXPECT_EQ(RegChart(1).CalculateGains(heavy)[0].fnCumulativeCount, 2147483647);
}

TEST(ClassGainsChart, CountsHitsInEachCategoryForItself)
{
    std::vector<std::vector<ClassDataInfo>> categories = {
        {{0.2, false, 1.0}, {0.9, true, 2.9}, {0.6, true, 1.0}, {0.4, false, 1.5}}, {}, {{0.5, true, 3.0}}};
    ClassGainsChart chart;
    chart.SetCountOfSegment(2);
    const auto tables = chart.CalculateGains(categories);
    ASSERT_EQ(tables.size(), 3u);
    ASSERT_EQ(tables[0].size(), 2u);
    EXPECT_EQ(tables[0][0].fnCumulativeCount, 3);
    EXPECT_EQ(tables[0][0].fdSegmentSum, 3.0);
    EXPECT_EQ(tables[0][0].fdMinScore, 0.6);
    EXPECT_EQ(tables[0][0].fdMeanScore, (2.9 * 0.9 + 0.6) / 3.0);
    EXPECT_EQ(tables[0][1].fnCumulativeCount, 5);
    EXPECT_EQ(tables[0][1].fdSegmentSum, 0.0);
    EXPECT_TRUE(tables[1].empty());
    ASSERT_EQ(tables[2].size(), 1u);
    EXPECT_EQ(tables[2][0].fdSegmentSum, 3.0);
}

// Both roads of the sort, with ties, both zeros, infinities, NaNs of both signs, missing and denormal scores.
TEST(GainsChart, SortsDescendingAndKeepsTheOrderOfTies)
{
    TestRandom random(44);
    const std::vector<double> special = {0.0,      -0.0, HUGE_VAL, -HUGE_VAL, kNan,    -kNan,
                                         kMissing, 1.0,  -1.0,     5e-324,    -5e-324, 1.7976931348623157e308};
    for (const int count : {2, 12, 1000, 1001, 5000}) {
        for (const bool mixed : {true, false}) {
            std::vector<RegDataInfo> cases;
            for (int i = 0; i < count; ++i) {
                const double score = random.Below(3) == 0 ? special[static_cast<std::size_t>(random.Below(12))]
                                                          : random.Uniform(-1.0, 1.0);
                cases.push_back({mixed ? score : std::floor(random.Uniform(0.0, 20.0)) / 20.0, double(i), 1.0});
            }
            std::vector<RegDataInfo> expected(cases);
            std::stable_sort(expected.begin(), expected.end(), [](const RegDataInfo& a, const RegDataInfo& b) {
                if (std::isnan(a.fdPredicted) || std::isnan(b.fdPredicted))
                    return !std::isnan(a.fdPredicted) && std::isnan(b.fdPredicted);
                return a.fdPredicted > b.fdPredicted;
            });
            RegChart(3).CalculateGains(cases);
            const auto same = [](const RegDataInfo& a, const RegDataInfo& b) { return a.fdObserved == b.fdObserved; };
            EXPECT_TRUE(std::equal(cases.begin(), cases.end(), expected.begin(), same)) << count;
        }
    }
}
