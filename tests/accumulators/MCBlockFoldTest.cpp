#include "modelcore/accumulators/MCBlockFold.h"
#include "accumulators/MeansTesting.h"
#include "modelcore/accumulators/MCMeansXProducts.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <numeric>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

using namespace MCMath_930;

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

// The pattern of the class comment: any number of workers gives the same bits, and few results pile up.
TEST(MCBlockFold, WorkersDoNotShowInTheBits)
{
    constexpr std::size_t kBlocks = 40;
    constexpr std::size_t kLimit = 5;
    TestRandom random(77);
    std::vector<MCRectMatrix> blocks;
    for (std::size_t i = 0; i < kBlocks; ++i) blocks.push_back(RandomBlock(random, 1 + random.Below(60), 4, 1));

    MCMeansXProdData expected;
    for (const int workers : {1, 2, 7}) {
        MCMeansXProdData total;
        MCBlockFold<MCMeansXProducts> fold([&](MCMeansXProducts&& part) { total.Merge(part); });
        std::mutex mutex;
        std::condition_variable folded;
        std::size_t next = 0;
        std::size_t most = 0;
        const auto work = [&] {
            std::unique_lock<std::mutex> lock(mutex);
            while (next < kBlocks) {
                const std::size_t number = next++;
                folded.wait(lock, [&] { return number < fold.GetAwaited() + kLimit; });
                lock.unlock();
                MCMeansXProducts part(4, true, true, false);
                part.Compute(blocks[number], 0);
                lock.lock();
                fold.Add(number, std::move(part));
                most = std::max(most, fold.GetNKept());
                folded.notify_all();
            }
        };
        {
            std::vector<std::jthread> threads;
            for (int i = 0; i < workers; ++i) threads.emplace_back(work);
        }
        EXPECT_EQ(fold.GetAwaited(), kBlocks);
        EXPECT_LT(most, kLimit);
        if (workers == 1) expected = total;
        EXPECT_TRUE(SameState(total, expected));
    }
}
