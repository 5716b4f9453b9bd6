// MCContStats and MCCatStats.
#include "accumulators/AccumulatorsTesting.h"

TEST(MCContStats, GivesTheSumsOfTheWholeHoweverItIsCut)
{
    for (const int cut : {0, 1, 77, 199, 200}) {
        TestRandom random(5);
        MCContStats first, second;
        MCProvMeans whole(1, true);
        double least = HUGE_VAL, largest = -HUGE_VAL, frequencies = 0.0;
        for (int i = 0; i < 200; ++i) {
            const double x = random.Uniform(-1.0, 3.0), f = random.Uniform(0.5, 3.0), w = random.Uniform(0.1, 2.0);
            EXPECT_TRUE((i < cut ? first : second).Update(x, f, w));
            whole.Update({x}, f * w);
            least = std::fmin(least, x);
            largest = std::fmax(largest, x);
            frequencies += f;
        }
        second.Pool(first);
        const double variance = whole.GetXProds().GetElem(0, 0) / (frequencies - 1.0);
        EXPECT_EQ(second.GetExtrema(), std::pair(least, largest));
        EXPECT_NEAR(second.GetSumFreqWeights(), frequencies, 1e-13 * frequencies);
        EXPECT_NEAR(second.GetMean(), whole.GetMeans()[0], 1e-13);
        EXPECT_NEAR(second.GetVariance(), variance, 1e-13 * variance);
    }
    // From left to right: 2^53 + 0.5 + 1, in which each sum is rounded to 2^53.
    MCContStats large, small;
    for (const double x : {-0x1p26, 0x1p26}) large.Update(x);
    for (const double x : {0.5, 1.5}) small.Update(x);
    large.Pool(small);
    EXPECT_EQ(large.GetVariance(), 0x1p53 / 3.0);
    MCContStats constant; // the square of the first value is infinite
    for (int i = 0; i < 2; ++i) constant.Update(-1e200);
    EXPECT_EQ(constant.GetVariance(), 0.0);
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
    EXPECT_TRUE(
        NoneOf({stats.Update(kMissing, 1.0, 1.0), stats.Update(1.0, kMissing, 1.0), stats.Update(1.0, 1.0, kMissing)}));
    stats.Pool(MCContStats());
    EXPECT_EQ(Saved(stats), before);
    EXPECT_TRUE(stats.Update(kNan));
    EXPECT_TRUE(std::isnan(stats.GetMean()));
    EXPECT_EQ(stats.GetExtrema(), std::pair(2.0, 2.0));
}

TEST(MCCatStats, CountsGrowToTheCategoriesThatOccur)
{
    MCCatStats stats;
    EXPECT_TRUE(stats.Update(7.9, 2.0) && stats.Update(-0.0, 0.0) && stats.Update(7.0, -4.0));
    const Doubles before = {1, 0, 0, 0, 0, 0, 0, 3};
    for (const double category : {-1.0, -0.5, kMissing, kNan, 2147483647.0, 1e300, HUGE_VAL})
        EXPECT_FALSE(stats.Update(category, 1.0)) << category;
    EXPECT_FALSE(stats.Update(3.0, kMissing));
    EXPECT_EQ(stats.GetCatCounts(), before);
    EXPECT_EQ(stats.GetSumCounts(), 4.0);

    MCCatStats small;
    small.Update(1.0, 5.0);
    small.Pool(stats);
    EXPECT_EQ(small.GetCatCounts(), (Doubles{1, 5, 0, 0, 0, 0, 0, 3}));
    small.Pool(small);
    EXPECT_EQ(small.GetCatCount(1), 10.0);
    EXPECT_EQ(small.GetCatCount(8), 0.0);
    stats.Pool(MCCatStats());
    EXPECT_EQ(stats.GetCatCounts(), before);
}

// The same in whatever order they come: first those beyond the row of counts, then those that lengthen it over them.
TEST(MCCatStats, FarCategoriesTakeTheMemoryOfThemselvesOnly)
{
    MCCatStats stats;
    EXPECT_TRUE(stats.Update(2e9, 1.0) && stats.Update(2147483646.0, 2.0) && stats.Update(2e9, 4.0));
    EXPECT_EQ(stats.GetNCategories(true), 2147483647);
    EXPECT_EQ(stats.GetCatCount(2000000000), 5.0);
    EXPECT_EQ(stats.GetCatCount(1999999999), 0.0);
    EXPECT_EQ(stats.GetSumCounts(), 7.0);
    EXPECT_EQ(stats.GetNCategories(false), 1073741823); // the scan ends among the empty ones
    for (const char* category : {"2000000000", "2000000001", "-1", "2147483647"}) { // the last is none
        std::string text = Saved(stats);
        text.replace(text.find("2000000000"), 10, category);
        MCCatStats read;
        EXPECT_EQ(Restore(read, text) > 0, category[0] == '2' && category[1] == '0') << category;
    }

    Doubles expected(200000);
    MCCatStats far, near;
    for (std::size_t i = expected.size() - 1; i > 0; i -= i < 20 ? 1 : i / 20) {
        expected[i] += static_cast<double>(i);
        (i % 2 == 0 ? far : near).Update(static_cast<double>(i), static_cast<double>(i));
    }
    for (std::size_t i = 0; i < 20000; ++i) {
        expected[i] += 1.0;
        far.Update(static_cast<double>(i), 1.0);
    }
    EXPECT_TRUE(far.Update(190001.0, 3.0));
    expected[190001] += 3.0;
    far.Pool(near);
    EXPECT_EQ(far.GetCatCounts(), expected);
    EXPECT_EQ(far.GetNCategories(false), MCCatStats(expected).GetNCategories(false));
    MCCatStats sum(expected);
    sum.Pool(stats);
    EXPECT_EQ(sum.GetSumCounts(), far.GetSumCounts() + 7.0);
}

TEST(MCCatStats, TheScanForEmptyCategoriesShrinks)
{
    const std::vector<std::pair<Doubles, int>> table = {{{}, 0},     {{3}, 1},       {{0, 5, 0}, 2},   {{5, 0, 5}, 2},
                                                        {{0, 0}, 1}, {{0, 0, 0}, 1}, {{0, 0, 0, 0}, 2}};
    for (const auto& [counts, expected] : table) {
        EXPECT_EQ(MCCatStats(counts).GetNCategories(false), expected);
        EXPECT_EQ(MCCatStats(counts).GetNCategories(true), static_cast<int>(counts.size()));
    }
    // The same scan where the counts beyond a row of none are kept one by one.
    TestRandom random(6);
    for (int round = 0; round < 50; ++round) {
        Doubles counts(static_cast<std::size_t>(80000 + random.Below(80000)));
        MCCatStats sparse;
        for (int i = 0; i < round; ++i)
            counts[static_cast<std::size_t>(random.Below(static_cast<int>(counts.size())))] = 1.0;
        counts.back() = 1.0;
        for (std::size_t i = counts.size(); i-- > 0;)
            if (counts[i] != 0.0) sparse.Update(static_cast<double>(i), 1.0);
        EXPECT_EQ(sparse.GetNCategories(false), MCCatStats(counts).GetNCategories(false));
    }
}
