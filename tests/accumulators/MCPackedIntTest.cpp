#include "accumulators/AccumulatorsTesting.h"

TEST(MCPackedInt, HoldsWhatAPlainVectorHolds)
{
    TestRandom random(3);
    const std::vector<std::pair<std::uint64_t, unsigned>> bitsOfMax = {
        {0, 0},           {1, 1},          {2, 2},     {7, 3}, {8, 4}, {1000, 10}, {0x1FFFFFFFF, 33},
        {1ull << 62, 63}, {~0ull - 1, 64}, {~0ull, 64}};
    for (const auto& item : bitsOfMax) {
        const std::uint64_t max = item.first;
        SCOPED_TRACE(max);
        const auto draw = [&] {
            const double u = random.Uniform(0.0, 1.0);
            return u > 0.9 ? max : static_cast<std::uint64_t>(u * 0.5 * static_cast<double>(max));
        };
        MCPackedInt packed(max, 3);
        EXPECT_EQ(packed.GetNBits(), item.second);
        std::vector<std::uint64_t> plain(3);
        for (int step = 0; step < 300; ++step) {
            plain.push_back(draw());
            ASSERT_TRUE(packed.Append(plain.back()));
            const std::size_t i = static_cast<std::size_t>(random.Below(static_cast<int>(plain.size())));
            plain[i] = draw();
            ASSERT_TRUE(packed.Set(i, plain[i]));
            if (step % 70 == 69) { // cut values must not come back
                plain.resize(plain.size() - 41);
                plain.resize(plain.size() + 20);
                packed.Resize(plain.size() - 20);
                packed.Resize(plain.size());
            }
        }
        MCPackedInt same(max, plain.size());
        for (std::size_t i = 0; i < plain.size(); ++i) {
            EXPECT_EQ(packed.Get(i), plain[i]);
            same.Set(i, plain[i]);
        }
        EXPECT_TRUE(same == packed);
    }
}

TEST(MCPackedInt, RefusesWhatDoesNotFit)
{
    MCPackedInt packed(5, 2);
    EXPECT_TRUE(packed.Set(1, 5));
    const MCPackedInt before(packed);
    EXPECT_FALSE(packed.Set(2, 1));
    EXPECT_FALSE(packed.Set(0, 6)); // would fit in the three bits
    EXPECT_FALSE(packed.Append(6));
    EXPECT_EQ(packed.Get(2), 0u);
    EXPECT_TRUE(packed == before);
    EXPECT_FALSE(packed == MCPackedInt(6, 2));
}
