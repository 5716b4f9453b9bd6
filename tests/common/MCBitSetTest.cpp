#include "modelcore/common/MCBitSet.h"
#include "support/Testing.h"

#include <climits>

using MCMath_930::MCBitSet;

TEST(MCBitSet, IndexesOutsideAreRefused)
{
    MCBitSet set(33);
    EXPECT_TRUE(set.Set(0, true) && set.Set(32, true) && set.Set(5, false));
    for (const int i : {-1, 33, 64, INT_MAX, INT_MIN}) EXPECT_TRUE(NoneOf({set.Set(i, true), set.IsIn(i)})) << i;
    EXPECT_TRUE(set.Count() == 2 && set.Size() == 33);
    for (const auto& [a, b] : std::vector<std::pair<int, int>>{{-1, 3}, {2, 1}, {0, 33}, {33, 33}})
        EXPECT_EQ(set.InRange(a, b), -1) << a << ".." << b;
    const MCBitSet empty(-5);
    EXPECT_TRUE(empty.Size() == 0 && empty.InRange(0, 0) == -1 && empty.Count() == 0 && empty.Next(0) == -1);
}

TEST(MCBitSet, CountsAndWalksAsAVectorOfBool)
{
    TestRandom random(7);
    for (const int n : {1, 31, 32, 33, 64, 100}) {
        MCBitSet set(n);
        std::vector<int> plain(static_cast<std::size_t>(n));
        for (int step = 0; step < 2 * n; ++step) {
            const int i = random.Below(n);
            const bool on = random.Below(3) != 0;
            EXPECT_TRUE(set.Set(i, on));
            plain[static_cast<std::size_t>(i)] = on;
        }
        std::vector<int> members;
        for (int a = 0; a < n; ++a) {
            if (plain[static_cast<std::size_t>(a)] != 0) members.push_back(a);
            EXPECT_EQ(set.IsIn(a), plain[static_cast<std::size_t>(a)] != 0);
            int count = 0, next = -1;
            for (int b = a; b < n; ++b) {
                count += plain[static_cast<std::size_t>(b)];
                if (next < 0 && count == 1) next = b;
                ASSERT_EQ(set.InRange(a, b), count) << n << ": " << a << ".." << b;
            }
            ASSERT_EQ(set.Next(a), next);
        }
        EXPECT_TRUE(set.Next(n) == -1 && set.Members() == members);
    }
}

TEST(MCBitSet, ShrunkFlagsDoNotComeBack)
{
    MCBitSet set(40), same(70);
    set.SetAll();
    EXPECT_FALSE(set.Resize(-1));
    EXPECT_EQ(set.Count(), 40);
    EXPECT_TRUE(set.Resize(35) && set.Resize(70));
    EXPECT_EQ(set.Count(), 35);
    EXPECT_NE(same, set);
    for (int i = 0; i < 35; ++i) same.Set(i);
    EXPECT_EQ(same, set);
    EXPECT_NE(MCBitSet(3), MCBitSet(4));
    set.Clear();
    EXPECT_EQ(set, MCBitSet(70));
}
