// MCContStats and MCCatStats.
#include "accumulators/AccumulatorsTesting.h"

namespace {

struct Case {
    double x, frequency, weight;
};

void ExpectSummary(const MCContStats& stats, const std::vector<Case>& cases)
{
    long double sum = 0.0L, total = 0.0L, frequencies = 0.0L, squares = 0.0L;
    double least = cases[0].x, largest = cases[0].x;
    for (const Case& c : cases) {
        const long double w = static_cast<long double>(c.frequency) * c.weight;
        total += w;
        sum += w * c.x;
        frequencies += c.frequency;
        least = std::fmin(least, c.x);
        largest = std::fmax(largest, c.x);
    }
    for (const Case& c : cases)
        squares += static_cast<long double>(c.frequency) * c.weight * (c.x - sum / total) * (c.x - sum / total);
    const double variance = static_cast<double>(squares / (frequencies - 1.0L));
    EXPECT_EQ(stats.GetExtrema(), std::pair(least, largest));
    EXPECT_NEAR(stats.GetSumFreqWeights(), static_cast<double>(frequencies), 1e-13 * static_cast<double>(frequencies));
    EXPECT_NEAR(stats.GetMean(), static_cast<double>(sum / total), 1e-13);
    EXPECT_NEAR(stats.GetVariance(), variance, 1e-13 * variance);
}

} // namespace

TEST(MCContStats, GivesTheSumsOfTheWholeHoweverItIsCut)
{
    TestRandom random(5);
    std::vector<Case> cases;
    for (int i = 0; i < 200; ++i)
        cases.push_back({random.Uniform(-1.0, 3.0), random.Uniform(0.5, 3.0), random.Uniform(0.1, 2.0)});
    MCContStats whole;
    for (const Case& c : cases) EXPECT_TRUE(whole.Update(c.x, c.frequency, c.weight));
    ExpectSummary(whole, cases);
    for (const std::size_t cut : {0u, 1u, 77u, 199u, 200u}) {
        MCContStats first, second;
        for (std::size_t i = 0; i < cases.size(); ++i)
            (i < cut ? first : second).Update(cases[i].x, cases[i].frequency, cases[i].weight);
        second.Pool(first);
        ExpectSummary(second, cases);
    }
    MCContStats twice(whole);
    twice.Pool(twice);
    EXPECT_EQ(twice.GetMean(), whole.GetMean());
    EXPECT_EQ(twice.GetSumFreqWeights(), 2.0 * whole.GetSumFreqWeights());
}

TEST(MCContStats, WeightsThatAreNotAboveZeroCountAsOne)
{
    MCContStats stats;
    EXPECT_EQ(stats.GetMean(), kMissing);
    EXPECT_TRUE(stats.Update(5.0, 0.0, 0.0));
    EXPECT_EQ(stats.GetSumFreqWeights(), 1.0);
    EXPECT_EQ(stats.GetMean(), 5.0);
    EXPECT_EQ(stats.GetVariance(), kMissing);
    EXPECT_TRUE(stats.Update(7.0, -3.0, 2.0)); // weighs 2
    EXPECT_EQ(stats.GetSumFreqWeights(), 2.0);
    EXPECT_NEAR(stats.GetMean(), 19.0 / 3.0, 1e-15);
    EXPECT_NEAR(stats.GetVariance(), 8.0 / 3.0, 1e-15); // the divisor counts frequencies alone
}

TEST(MCContStats, MissingArgumentsChangeNothing)
{
    MCContStats stats;
    EXPECT_FALSE(stats.Update(kMissing));
    EXPECT_EQ(stats.GetExtrema(), std::pair(kMissing, kMissing));
    stats.Update(2.0, 3.0, 1.0);
    const std::string before = Saved(stats);
    EXPECT_FALSE(stats.Update(kMissing, 1.0, 1.0));
    EXPECT_FALSE(stats.Update(1.0, kMissing, 1.0));
    EXPECT_FALSE(stats.Update(1.0, 1.0, kMissing));
    stats.Pool(MCContStats());
    EXPECT_EQ(Saved(stats), before);
    EXPECT_TRUE(stats.Update(kNan));
    EXPECT_TRUE(std::isnan(stats.GetMean()));
    EXPECT_EQ(stats.GetExtrema(), std::pair(2.0, 2.0));
}

TEST(MCCatStats, CountsGrowToTheCategoriesThatOccur)
{
    MCCatStats stats;
    EXPECT_TRUE(stats.Update(7.9, 2.0));
    EXPECT_TRUE(stats.Update(-0.0, 0.0));
    EXPECT_TRUE(stats.Update(7.0, -4.0));
    EXPECT_EQ(stats.GetCatCounts(), (std::vector<double>{1, 0, 0, 0, 0, 0, 0, 3}));
    EXPECT_EQ(stats.GetCatCount(7), 3.0);
    EXPECT_EQ(stats.GetCatCount(8), 0.0);
    EXPECT_EQ(stats.GetSumCounts(), 4.0);

    const std::vector<double> before = stats.GetCatCounts();
    for (const double category : {-1.0, -0.5, kMissing, kNan, 2147483647.0, 1e300, HUGE_VAL})
        EXPECT_FALSE(stats.Update(category, 1.0)) << category;
    EXPECT_FALSE(stats.Update(3.0, kMissing));
    EXPECT_EQ(stats.GetCatCounts(), before);

    MCCatStats small;
    small.Update(1.0, 5.0);
    small.Pool(stats);
    EXPECT_EQ(small.GetCatCounts(), (std::vector<double>{1, 5, 0, 0, 0, 0, 0, 3}));
    stats.Pool(MCCatStats());
    EXPECT_EQ(stats.GetCatCounts(), before);
}

TEST(MCCatStats, TheScanForEmptyCategoriesShrinks)
{
    const std::vector<std::pair<std::vector<double>, int>> table = {
        {{}, 0}, {{3}, 1}, {{0, 5, 0}, 2}, {{5, 0, 5}, 2}, {{0, 0}, 1}, {{0, 0, 0}, 1}, {{0, 0, 0, 0}, 2}};
    for (const auto& [counts, expected] : table) {
        EXPECT_EQ(MCCatStats(counts).GetNCategories(false), expected);
        EXPECT_EQ(MCCatStats(counts).GetNCategories(true), static_cast<int>(counts.size()));
    }
}
