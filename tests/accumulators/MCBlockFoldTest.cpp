#include "accumulators/AccumulatorsTesting.h"

#include <numeric>
#include <stdexcept>

TEST(MCBlockFold, FoldsInOrderWhateverTheOrderOfArrival)
{
    std::vector<std::size_t> arrival(6);
    std::iota(arrival.begin(), arrival.end(), std::size_t{0});
    do {
        std::string total;
        MCBlockFold<std::string> fold([&](std::string&& part) { total += part; });
        std::vector<bool> there(6);
        for (const std::size_t number : arrival) {
            EXPECT_TRUE(fold.Add(number, std::string(1, static_cast<char>('a' + number))));
            EXPECT_FALSE(fold.Add(number, "again"));
            there[number] = true;
            const auto gap = std::find(there.begin(), there.end(), false) - there.begin();
            EXPECT_EQ(fold.GetAwaited(), static_cast<std::size_t>(gap));
            EXPECT_EQ(fold.GetNKept(), static_cast<std::size_t>(std::count(there.begin(), there.end(), true) - gap));
        }
        EXPECT_EQ(total, "abcdef");
    } while (std::next_permutation(arrival.begin(), arrival.end()));
}

TEST(MCBlockFold, ABlockWhoseFoldThrowsIsNotFoldedAgain)
{
    std::vector<int> total;
    MCBlockFold<int> fold([&](int&& part) {
        if (part == 1) throw std::runtime_error("no");
        total.push_back(part);
    });
    EXPECT_TRUE(fold.Add(1, 1));
    EXPECT_TRUE(fold.Add(2, 2));
    EXPECT_THROW(fold.Add(0, 0), std::runtime_error);
    EXPECT_EQ(fold.GetAwaited(), 2u);
    EXPECT_TRUE(fold.Add(3, 3));
    EXPECT_EQ(total, (std::vector<int>{0, 2, 3}));
}
