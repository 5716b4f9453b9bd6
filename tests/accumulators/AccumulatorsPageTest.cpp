// The code on docs/accumulators.md and docs/charts.md, and what the first says of digits.
#include "accumulators/AccumulatorsTesting.h"

#include <condition_variable>
#include <cstdio>
#include <fstream>
#include <mutex>
#include <thread>

// Any number of workers gives the bits of one block after the other.
TEST(AccumulatorsPage, ThreadsDoNotShowInTheResult)
{
    TestRandom random(77);
    std::vector<MCRectMatrix> blocks;
    MCMeansXProdData inOrder;
    for (int b = 0; b < 40; ++b) {
        blocks.push_back(RandomBlock(random, 1 + random.Below(60), 2, 0));
        MCMeansXProducts part(2, true, false, false);
        part.Compute(blocks.back(), 0);
        inOrder.Merge(part);
    }
    for (const int workers : {1, 2, 7}) {
        MCMeansXProducts total;
        MCBlockFold<MCMeansXProducts> fold([&](MCMeansXProducts&& part) { total.Merge(part); });
        std::mutex mutex;
        std::condition_variable folded;
        std::size_t next = 0;
        const auto work = [&] {
            for (;;) {
                std::unique_lock lock(mutex);
                folded.wait(lock, [&] { return next < fold.GetAwaited() + 4; }); // at most four results wait
                if (next == blocks.size()) return;
                const std::size_t number = next++;
                lock.unlock();
                MCMeansXProducts part(2, true, false, false);
                part.Compute(blocks[number], 0);
                lock.lock();
                fold.Add(number, std::move(part));
                folded.notify_all();
            }
        };
        std::vector<std::jthread> threads;
        for (int i = 0; i < workers; ++i) threads.emplace_back(work);
        threads.clear();
        EXPECT_TRUE(SameState(total, inOrder)) << workers;
    }
}

TEST(AccumulatorsPage, APartIsSavedAndMergedElsewhere)
{
    const std::string path = testing::TempDir() + "AccumulatorsPage.xml";
    MCProvMeans here(2, true);
    here.Update({1.0, 2.0}, 1.0);
    std::ofstream out(path);
    if (here.WriteObjectXML(out, 0) == 0) return; // the disk is full
    out.close();

    MCProvMeans there(2, true);
    there.Update({3.0, 5.0}, 2.0);
    MCProvMeans part;
    std::ifstream in(path);
    if (part.ReadObjectXML(in) == 0) return; // not a saved state: part is as it was
    there.Merge(part);

    EXPECT_EQ(there.GetNCases(), 3.0);
    EXPECT_DOUBLE_EQ(there.GetMeans()[1], 4.0);
    std::remove(path.c_str());
}

// A column 1 above and below a mean of 1e9, and one that lies 0.5 above and below the first.
TEST(AccumulatorsPage, LargeMeansKeepTheDigitsThatThePageNames)
{
    constexpr int kRows = 20000; // the sum of their centred products: deviations are whole halves
    constexpr int kBlock = 1000;
    MCMeansXProducts whole(2, true, false, false);
    MCMeansXProducts blocks(2, true, false, false);
    MCProvMeans cases(2, true);
    MCProvMeans merged(2, true);
    MCRectMatrix rows(kRows, 2);
    for (int first = 0; first < kRows; first += kBlock) {
        MCRectMatrix block(kBlock, 2);
        MCProvMeans part(2, true);
        for (int r = 0; r < kBlock; ++r) {
            const double x = 1e9 + 0.1 + (r % 4 < 2 ? 1.0 : -1.0);
            const std::vector<double> row = {x, x + (r % 2 == 0 ? 0.5 : -0.5)};
            rows.SetRow(first + r, row);
            block.SetRow(r, row);
            cases.Update(row, 1.0);
            part.Update(row, 1.0);
        }
        blocks.Update(block, 0);
        merged.Merge(part);
    }
    whole.Compute(rows, 0);
    for (const MCMeansXProdData* data : std::vector<const MCMeansXProdData*>{&whole, &blocks, &cases, &merged})
        EXPECT_NEAR(data->GetXProds().GetElem(1, 0), kRows, 1e-6 * kRows);
}

TEST(ChartsPage, GainsAndHistogram)
{
    std::vector<RegDataInfo> scored = {{0.9, 1.0, 1.0}, {0.7, 0.0, 1.0}, {0.8, 1.0, 1.0}, {0.1, 0.0, 1.0}};

    std::vector<std::vector<ClassDataInfo>> categories(1);
    for (const RegDataInfo& c : scored) categories[0].push_back({c.fdPredicted, c.fdObserved == 1.0, c.fdFreqWeight});
    ClassGainsChart chart;
    chart.SetCountOfSegment(2);
    const std::vector<LiftInfo> table = chart.CalculateGains(categories)[0];

    MCHistogramData histogram(0.0, 1.0, 10);
    MCClassificationMatrix matrix(2);
    for (const ClassDataInfo& c : categories[0]) {
        histogram.UpdateData(c.fdFreqWeight, 1.0, c.fdProbability);
        matrix.UpdateData(c.fdFreqWeight, c.fbHit, c.fdProbability >= 0.75); // observed by row, predicted by column
    }
    const MCXML_930::MCVariateData& bars = histogram.GenerateMCVariateData("score");

    EXPECT_EQ(table[0].fnCumulativeCount, 2);
    EXPECT_EQ(table[0].fdSegmentSum, 2.0); // hits
    EXPECT_EQ(table[0].fdMinScore, 0.8);
    EXPECT_EQ(matrix.GetMatrix().GetElem(1, 1), 2.0);
    EXPECT_EQ(bars.fVariables[0].fValues.size(), 4u);
}
