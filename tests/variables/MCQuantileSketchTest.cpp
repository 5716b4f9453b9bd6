#include "VariablesTesting.h"
#include "support/MovedFrom.h"

using MCMath_930::MCQuantileSketch;

namespace {

std::vector<double> Normals(std::size_t count)
{
    TestRandom random(5);
    std::vector<double> x(count);
    for (double& value : x) {
        value = -6.0;
        for (int k = 0; k < 12; ++k) value += random.Uniform(0.0, 1.0);
    }
    return x;
}

MCQuantileSketch Of(std::span<const double> x, int limit)
{
    MCQuantileSketch sketch(limit);
    sketch.UpdateBlock(x);
    return sketch;
}

} // namespace

TEST(MCQuantileSketch, IsExactUpToItsLimit)
{
    MCQuantileSketch sketch(16);
    EXPECT_EQ(sketch.GetQuantile(0.5), kMissing);
    EXPECT_EQ(sketch.GetRank(0.5), kMissing);
    for (const double bad : {kMissing, kNan, kInf, -kInf}) EXPECT_FALSE(sketch.Update(bad));
    for (const double bad : {kMissing, kNan, kInf, 0.0, -1.0}) EXPECT_FALSE(sketch.Update(1.0, bad));
    for (int i = 10; i >= 1; --i) EXPECT_TRUE(sketch.Update(i, i == 3 ? 4.0 : 1.0));
    sketch.Update(-0.0);
    sketch.Update(0.0);
    // 0 0 1 2 3 3 3 3 4 5 6 7 8 9 10
    EXPECT_EQ(sketch.GetNBuckets(), 11);
    EXPECT_TRUE(sketch.IsExact());
    EXPECT_EQ(sketch.GetTotalWeight(), 15.0);
    const double expected[][2] = {{0.0, 0}, {2.0 / 15, 0}, {0.2, 1}, {0.27, 3}, {8.0 / 15, 3}, {0.54, 4}, {1.0, 10}};
    for (const auto& [p, value] : expected) EXPECT_EQ(sketch.GetQuantile(p), value) << p;
    EXPECT_EQ(sketch.GetQuantile(1.01), kMissing);
    EXPECT_EQ(sketch.GetRank(3.0), 8.0 / 15.0);
    EXPECT_EQ(sketch.GetRank(-1.0), 0.0);
    const std::vector<double> block{0.5, kMissing, 3.0, kNan}, weights{2.0, 1.0, 0.0, 1.0};
    EXPECT_EQ(sketch.UpdateBlock(block), 2u);
    EXPECT_EQ(sketch.UpdateBlock(block, weights), 1u);
    EXPECT_EQ(sketch.GetTotalWeight(), 19.0);
}

TEST(MCQuantileSketch, StateIsThatOfTheSetOfValues)
{
    std::vector<double> x = Normals(20000);
    for (std::size_t i = 0; i < x.size(); i += 7) x[i] = 0.25; // a frequent one stays exact
    const MCQuantileSketch whole = Of(x, 1000);
    EXPECT_LE(whole.GetNBuckets(), 1000);
    EXPECT_LT(whole.GetFractionBits(), 52);

    std::vector<double> shuffled(x);
    TestRandom random(9);
    for (std::size_t i = shuffled.size(); i > 1; --i)
        std::swap(shuffled[i - 1], shuffled[static_cast<std::size_t>(random.Below(static_cast<int>(i)))]);
    EXPECT_TRUE(Of(shuffled, 1000) == whole);
    std::vector<MCQuantileSketch> parts;
    for (std::size_t from = 0; from < x.size();) {
        const std::size_t size = std::min(x.size() - from, static_cast<std::size_t>(random.Below(4000)));
        parts.push_back(Of(std::span(shuffled).subspan(from, size), 1000));
        from += size;
    }
    for (int round = 0; round < 3; ++round) {
        MCQuantileSketch merged(1000);
        std::rotate(parts.begin(), parts.begin() + 2, parts.end());
        for (const MCQuantileSketch& part : parts) EXPECT_TRUE(merged.Merge(part));
        EXPECT_TRUE(merged == whole);
    }
    EXPECT_FALSE(parts[0].Merge(MCQuantileSketch(999)));

    // Every quantile lies in the bounds that are given for it, within the relative error.
    std::sort(x.begin(), x.end());
    for (const double p : {0.0, 0.001, 0.1, 0.25, 0.5, 0.55, 0.9, 0.999, 1.0}) {
        const double exact = x[static_cast<std::size_t>(std::max(std::ceil(p * 20000.0) - 1.0, 0.0))];
        double lowest = kNan, highest = kNan;
        ASSERT_TRUE(whole.GetQuantileBounds(p, lowest, highest));
        EXPECT_TRUE(lowest <= exact && exact <= highest) << p;
        EXPECT_LE(std::fabs(whole.GetQuantile(p) - exact), std::ldexp(std::fabs(exact), -whole.GetFractionBits()));
        EXPECT_NEAR(whole.GetRank(exact), p, whole.GetRankError() + (exact == 0.25 ? 0.1429 : 1e-4)) << p;
    }
    EXPECT_EQ(whole.GetQuantile(0.58), 0.25) << "one of 2858 in a bucket with others";
}

TEST(MCQuantileSketch, HoldsAnyRangeOfDoubles)
{
    TestRandom random(3);
    MCQuantileSketch sketch(16);
    for (int i = 0; i < 5000; ++i) sketch.Update(std::ldexp(random.Uniform(-1.0, 1.0), random.Below(2096) - 1072), 0.5);
    sketch.Update(std::nextafter(kMissing, 0.0));
    sketch.Update(-kMissing);
    EXPECT_LE(sketch.GetNBuckets(), 16);
    EXPECT_EQ(sketch.GetMax(), -kMissing);
    EXPECT_TRUE(std::isfinite(sketch.GetQuantile(0.4)));
    MCQuantileSketch other(64);
    EXPECT_GT(Restore(other, Saved(sketch)), 0);
    EXPECT_TRUE(other == sketch);
    const std::string text = Saved(sketch);
    for (const char* cut : {"<item", "value=\"", "Double"}) {
        std::string damaged(text);
        damaged.replace(damaged.rfind(cut), 6, "x");
        EXPECT_EQ(Restore(other, damaged), 0);
    }
    auto buckets = sketch.GetBuckets();
    std::swap(buckets[0], buckets[1]);
    EXPECT_FALSE(other.Restore(16, sketch.GetFractionBits(), buckets));
    EXPECT_TRUE(other == sketch);
    const DisplayCapture capture;
    sketch.Display();
    EXPECT_NE(capture.Text().find("Bits of the fraction: -"), std::string::npos) << capture.Text();
}

// Weights whose sum would be infinite are refused before they are in: every state can be read again.
TEST(MCQuantileSketch, RefusesWeightsThatWouldSumUpToInfinity)
{
    MCQuantileSketch sketch(16), part(16);
    for (int i = 0; i < 40; ++i) {
        const std::string before = Saved(sketch);
        if (!sketch.Update(i % 20, 4e306)) {
            EXPECT_EQ(Saved(sketch), before);
        }
    }
    EXPECT_NEAR(sketch.GetTotalWeight() / 4e306, 22, 0.01); // 2^1023 is 8.99e307
    EXPECT_FALSE(sketch.Update(3.0, 1e308));
    EXPECT_TRUE(sketch.Update(3.0, 1e305));
    EXPECT_TRUE(sketch.Update(3.0));
    EXPECT_TRUE(part.Update(0.5, 8e307));
    const std::string before = Saved(sketch);
    EXPECT_FALSE(sketch.Merge(part));
    EXPECT_FALSE(sketch.Merge(sketch));
    EXPECT_EQ(Saved(sketch), before);
    EXPECT_GT(Restore(part, before), 0);
    EXPECT_TRUE(part == sketch);
    EXPECT_TRUE(std::isfinite(sketch.GetQuantile(0.5)));
    std::vector<MCQuantileSketch::Bucket> buckets = sketch.GetBuckets();
    buckets.back().weight = buckets.back().minWeight = buckets.back().maxWeight = 1e308;
    EXPECT_FALSE(part.Restore(16, sketch.GetFractionBits(), buckets));
}

TEST(MCQuantileSketch, WithoutMemoryItIsAsItWas)
{
    const std::vector<double> x = Normals(100);
    const MCQuantileSketch few = Of(std::span(x).first(16), 64), many = Of(x, 64);
    const SavedFile file(Saved(many));
    const auto whole = [&few](auto change) {
        ExpectWholeWhenMemoryRunsOut(few, MCQuantileSketch(64), change, [](const auto& each) { return Saved(each); });
    };
    whole([](MCQuantileSketch& s) { s.Update(7.0); });
    whole([&](MCQuantileSketch& s) { s.UpdateBlock(x); });
    whole([&](MCQuantileSketch& s) { s.Merge(many); });
    whole([&](MCQuantileSketch& s) { s.Merge(s); });
    whole([&](MCQuantileSketch& s) { s = many; });
    whole([&](MCQuantileSketch& s) { s.Coarsen(3); });
    whole([&](MCQuantileSketch& s) { s.Restore(64, many.GetFractionBits(), many.GetBuckets()); });
    whole([&](MCQuantileSketch& s) { Restore(s, file); });
}
