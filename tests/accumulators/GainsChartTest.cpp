#include "accumulators/AccumulatorsTesting.h"

namespace {

RegGainsChart RegChart(int segments)
{
    RegGainsChart chart;
    chart.SetCountOfSegment(segments);
    return chart;
}

void ExpectSegment(const LiftInfo& info, int cumulative, double sum, double minimum, double mean)
{
    EXPECT_EQ(info.fnCumulativeCount, cumulative);
    EXPECT_EQ(info.fdSegmentSum, sum);
    EXPECT_EQ(info.fdMinScore, minimum);
    EXPECT_EQ(info.fdMeanScore, mean);
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
        const double score = sizes.back() == 0 ? kMissing : 1.0;
        ExpectSegment(info, before, sizes.back(), score, score);
    }
    return sizes;
}

} // namespace

TEST(GainsChart, EveryCaseFallsInOneSegment)
{
    const std::vector<std::tuple<int, int, std::vector<int>>> table = {
        {0, 10, {}},          {7, 10, {1, 1, 1, 1, 1, 1, 1}}, {25, 4, {6, 6, 6, 7}}, {50, 2, {25, 25}},
        {51, 2, {1, 25, 25}}, {250, 3, {3, 83, 83, 81}},      {51, 1, {1, 50}},      {5, 0, {}},
        {5, -3, {}}};
    for (const auto& [cases, segments, sizes] : table) EXPECT_EQ(Sizes(cases, segments), sizes) << cases;

    EXPECT_EQ(Sizes(100, 10), (std::vector<int>{2, 10, 10, 10, 10, 10, 10, 10, 10, 10, 8}));
    std::vector<int> few(150, 1), many(501, 2);
    few[0] = 2; // the top segment reaches into the last ones: one case each, then none
    few[149] = 0;
    EXPECT_EQ(Sizes(150, 200), few);
    many[0] = 11;
    many[495] = 1;
    std::fill(many.begin() + 496, many.end(), 0);
    EXPECT_EQ(Sizes(1000, 500), many);
}

TEST(RegGainsChart, SumsUpEachSegment)
{
    std::vector<RegDataInfo> cases = {{1.0, 10.0, 1.9}, {4.0, 20.0, 2.5}, {2.0, -30.0, 1.0}, {3.0, 40.0, 0.5}};
    const std::vector<LiftInfo> table = RegChart(2).CalculateGains(cases);
    ASSERT_EQ(table.size(), 2u);
    // weights 2.5 and 0.5 count as 2 and 0
    ExpectSegment(table[0], 2, 2.5 * 20.0 + 0.5 * 40.0, 3.0, (2.5 * 4.0 + 0.5 * 3.0) / 2.0);
    ExpectSegment(table[1], 4, -30.0 + 1.9 * 10.0, 1.0, (2.0 + 1.9) / 2.0);
    EXPECT_TRUE((RegDataInfo{2.0, 0.0, 1.0} < RegDataInfo{1.0, 0.0, 1.0}));
}

TEST(RegGainsChart, MissingAndNanStayInTheirSegment)
{
    std::vector<RegDataInfo> cases = {{5.0, 1.0, 1.0},  {4.0, kMissing, 1.0}, {3.0, 1.0, kMissing},
                                      {2.0, 1.0, 3.0},  {kMissing, 1.0, 1.0}, {1.0, 1.0, 1.0},
                                      {-1.0, 2.0, 0.2}, {-2.0, 2.0, 0.0}};
    const std::vector<LiftInfo> table = RegChart(4).CalculateGains(cases);
    ASSERT_EQ(table.size(), 4u);
    ExpectSegment(table[0], 2, kMissing, 4.0, 4.5);
    ExpectSegment(table[1], 5, kMissing, 2.0, kMissing);
    ExpectSegment(table[2], 6, 1.4, -1.0, 0.8);
    ExpectSegment(table[3], 7, 1.0, kMissing, kMissing);

    std::vector<RegDataInfo> weightless = {{2.0, 1.0, 0.5}, {1.0, 1.0, kNan}};
    ExpectSegment(RegChart(2).CalculateGains(weightless)[0], 0, 0.5, 2.0, kMissing);
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
    ASSERT_TRUE(tables.size() == 3 && tables[0].size() == 2 && tables[1].empty() && tables[2].size() == 1);
    ExpectSegment(tables[0][0], 3, 3.0, 0.6, (2.9 * 0.9 + 0.6) / 3.0);
    ExpectSegment(tables[0][1], 5, 0.0, 0.2, (1.5 * 0.4 + 0.2) / 2.0);
    ExpectSegment(tables[2][0], 3, 3.0, 0.5, 0.5);
}

// All roads of the sort, with ties, both zeros, infinities, NaNs of both signs, missing and denormal scores; and what
// the table adds up is what stands where the order puts it.
TEST(GainsChart, SortsDescendingAndKeepsTheOrderOfTies)
{
    TestRandom random(44);
    const std::vector<double> special = {0.0,      -0.0, HUGE_VAL, -HUGE_VAL, kNan,    -kNan,
                                         kMissing, 1.0,  -1.0,     5e-324,    -5e-324, 1.7976931348623157e308};
    const auto mixed = [&] {
        return random.Below(3) == 0 ? special[static_cast<std::size_t>(random.Below(12))] : random.Uniform(-1.0, 1.0);
    };
    const auto tied = [&] { return std::floor(random.Uniform(0.0, 20.0)) / 20.0; };
    const auto skew = [&] { return std::exp(random.Uniform(-30.0, 30.0)); };
    const auto constant = [&] { return random.Below(1000) == 0 ? random.Uniform(-1.0, 1.0) : 0.5; };
    for (const int count : {2, 12, 1000, 1001, 5000, 16384, 40000, 131073}) {
        for (const std::function<double()>& score : std::vector<std::function<double()>>{mixed, tied, skew, constant}) {
            std::vector<RegDataInfo> cases;
            for (int i = 0; i < count; ++i) cases.push_back({score(), double(i), 1.0});
            std::vector<RegDataInfo> expected(cases);
            std::stable_sort(expected.begin(), expected.end(), [](const RegDataInfo& a, const RegDataInfo& b) {
                if (std::isnan(a.fdPredicted) || std::isnan(b.fdPredicted))
                    return !std::isnan(a.fdPredicted) && std::isnan(b.fdPredicted);
                return a.fdPredicted > b.fdPredicted;
            });
            const std::vector<LiftInfo> table = RegChart(3).CalculateGains(cases);
            const auto same = [](const RegDataInfo& a, const RegDataInfo& b) { return a.fdObserved == b.fdObserved; };
            EXPECT_TRUE(std::equal(cases.begin(), cases.end(), expected.begin(), same)) << count;
            int i = 0;
            for (const LiftInfo& segment : table) {
                double sum = 0.0; // of whole numbers, so any order gives it
                for (; i < segment.fnCumulativeCount; ++i) sum += expected[static_cast<std::size_t>(i)].fdObserved;
                EXPECT_EQ(segment.fdSegmentSum, sum) << count;
            }
            EXPECT_EQ(i, count);
        }
    }
}

TEST(GainsChart, ShowsHowManySegmentsWereAskedFor)
{
    ClassGainsChart chart;
    chart.SetCountOfSegment(7);
    const std::string inner = "GainsChart display start\nRequested number of segments: 7\nGainsChart display end\n";
    EXPECT_EQ(Shown(chart), "ClassGainsChart display start\n" + inner + "ClassGainsChart display end\n");
    EXPECT_EQ(Shown(RegChart(7)), "RegGainsChart display start\n" + inner + "RegGainsChart display end\n");
}
