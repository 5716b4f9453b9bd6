// The code on docs/accumulators.md and docs/charts.md, and what the first says of digits.
#include "modelcore/modelcore.h"

#include <gtest/gtest.h>

#include <cmath>
#include <condition_variable>
#include <cstdio>
#include <fstream>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

using namespace MCMath_930;

namespace {

/// A column 1 above and below the mean, and one that lies 0.5 above and below the first: the sum of their centred
/// products is the number of rows.
MCRectMatrix Rows(double mean, int fours)
{
    MCRectMatrix rows(4 * fours, 2);
    for (int r = 0; r < 4 * fours; ++r) {
        rows.SetElem(r, 0, mean + (r % 4 < 2 ? 1.0 : -1.0));
        rows.SetElem(r, 1, rows.GetElem(r, 0) + (r % 2 == 0 ? 0.5 : -0.5));
    }
    return rows;
}

} // namespace

TEST(AccumulatorsPage, ThreadsDoNotShowInTheResult)
{
    std::vector<MCRectMatrix> blocks;
    for (int b = 0; b < 20; ++b) blocks.push_back(Rows(100.0 + b, 25));

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
    {
        const std::jthread one(work);
        const std::jthread two(work);
    }

    MCMeansXProducts inOrder(2, true, false, false);
    for (const MCRectMatrix& block : blocks) inOrder.Update(block, 0);
    EXPECT_EQ(total.GetNCases(), 2000.0);
    EXPECT_NEAR(total.GetXProds().GetElem(1, 0), inOrder.GetXProds().GetElem(1, 0), 1e-9);
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

TEST(AccumulatorsPage, LargeMeansKeepTheDigitsThatThePageNames)
{
    constexpr int kFours = 5000;
    const MCRectMatrix rows = Rows(1e9 + 0.1, kFours);
    const double exact = 4.0 * kFours; // the deviations are whole halves, in which the mean is exact
    const auto digits = [&](const MCMeansXProdData& data) {
        return -std::log10(std::fabs(data.GetXProds().GetElem(1, 0) / exact - 1.0) + 1e-16);
    };
    MCMeansXProducts whole(2, true, false, false);
    MCMeansXProducts blocks(2, true, false, false);
    MCProvMeans cases(2, true);
    MCProvMeans merged(2, true);
    whole.Compute(rows, 0);
    std::vector<double> row;
    for (int first = 0; first < 4 * kFours; first += 1000) {
        MCRectMatrix block(1000, 2);
        MCProvMeans part(2, true);
        for (int r = 0; r < 1000; ++r) {
            rows.GetRow(first + r, row);
            block.SetRow(r, row);
            cases.Update(row, 1.0);
            part.Update(row, 1.0);
        }
        blocks.Update(block, 0);
        merged.Merge(part);
    }
    for (const MCMeansXProdData* const data :
         std::initializer_list<const MCMeansXProdData*>{&whole, &blocks, &cases, &merged})
        EXPECT_GT(digits(*data), 6.0);
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
