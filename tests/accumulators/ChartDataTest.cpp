// MCHistogramData, MCScatterPlotData, MCBarChartData and MCClassificationMatrix.
#include "modelcore/accumulators/MCBarChartData.h"
#include "modelcore/accumulators/MCClassificationMatrix.h"
#include "modelcore/accumulators/MCHistogramData.h"
#include "modelcore/accumulators/MCScatterPlotData.h"
#include "modelcore/common/MCMV.h"
#include "support/DisplayCapture.h"
#include "support/Random.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

using namespace MCMath_930;

namespace {

constexpr double kMissing = MCCommon_930::MCMV::gMissingValue;
const double kNan = std::numeric_limits<double>::quiet_NaN();

template <class Chart>
std::string Shown(const Chart& chart)
{
    const DisplayCapture capture;
    chart.Display();
    return capture.Text();
}

void ExpectInOrder(const std::string& text, const std::vector<const char*>& items)
{
    std::size_t at = 0;
    for (const char* item : items) {
        at = text.find(item, at);
        ASSERT_NE(at, std::string::npos) << item;
    }
}

} // namespace

TEST(MCHistogramData, EveryValueFallsInItsBin)
{
    const std::vector<std::pair<double, std::size_t>> table = {{-HUGE_VAL, 0}, {-1e300, 0}, {-0.1, 0},   {0.0, 0},
                                                               {2.4999, 0},    {2.5, 1},    {7.4999, 2}, {7.5, 3},
                                                               {9.99, 3},      {10.0, 3},   {1e300, 3},  {HUGE_VAL, 3}};
    for (const auto& [value, bin] : table) {
        MCHistogramData data(0.0, 10.0, 4);
        EXPECT_TRUE(data.UpdateData(1.0, 1.0, value));
        EXPECT_EQ(data.GetBinFrequencies()[bin], 1.0) << value;
    }
    for (const int bins : {1, 0, -5}) {
        MCHistogramData data(3.0, 3.0, bins); // no length: all in one bin
        EXPECT_TRUE(data.UpdateData(1.0, 1.0, 3.0));
        EXPECT_EQ(data.GetBinFrequencies(), std::vector<double>{1.0});
    }
    MCHistogramData flat(3.0, 3.0, 2);
    for (const double value : {2.0, 3.0, 4.0}) EXPECT_TRUE(flat.UpdateData(1.0, 1.0, value));
    EXPECT_EQ(flat.GetBinFrequencies(), (std::vector<double>{2.0, 1.0}));
}

TEST(MCHistogramData, MomentsAreThoseOfAllCases)
{
    TestRandom random(12);
    MCHistogramData data(0.0, 1.0, 8);
    MCHistogramData plain(0.0, 1.0, 8, false);
    std::vector<std::vector<double>> cases;
    for (int i = 0; i < 500; ++i) {
        cases.push_back({random.Uniform(0.2, 3.0), random.Uniform(0.5, 2.0), random.Uniform(-0.1, 1.1)});
        EXPECT_TRUE(data.UpdateData(cases.back()[0], cases.back()[1], cases.back()[2]));
        plain.UpdateData(cases.back()[0], cases.back()[1], cases.back()[2]);
    }
    long double total = 0.0L, frequency = 0.0L, mean = 0.0L, squares = 0.0L;
    std::vector<long double> binFrequency(8), binWeight(8), binSum(8);
    for (const auto& c : cases) {
        const long double w = static_cast<long double>(c[0]) * c[1];
        const auto bin = static_cast<std::size_t>(std::fmin(std::fmax(std::floor(c[2] * 8.0), 0.0), 7.0));
        total += w;
        frequency += c[0];
        mean += w * c[2];
        binFrequency[bin] += c[0];
        binWeight[bin] += w;
        binSum[bin] += w * c[2];
    }
    mean /= total;
    for (const auto& c : cases) squares += static_cast<long double>(c[0]) * c[1] * (c[2] - mean) * (c[2] - mean);
    EXPECT_NEAR(data.GetTotalWeight(), static_cast<double>(total), 1e-10);
    EXPECT_NEAR(data.GetTotalFrequency(), static_cast<double>(frequency), 1e-10);
    EXPECT_EQ(data.GetNCases(), 500.0);
    EXPECT_NEAR(data.GetMean(), static_cast<double>(mean), 1e-14);
    EXPECT_NEAR(data.GetStdDev(), static_cast<double>(std::sqrt(squares / (total - 1.0L))), 1e-14);
    EXPECT_EQ(plain.GetStdDev(), kMissing);
    EXPECT_EQ(plain.GetMean(), data.GetMean());
    for (std::size_t bin = 0; bin < 8; ++bin) {
        EXPECT_NEAR(data.GetBinFrequencies()[bin], static_cast<double>(binFrequency[bin]), 1e-11);
        EXPECT_NEAR(data.GetBinWeights()[bin], static_cast<double>(binWeight[bin]), 1e-11);
        EXPECT_NEAR(data.GetBinMeans()[bin], static_cast<double>(binSum[bin] / binWeight[bin]), 1e-14);
    }
}

TEST(MCHistogramData, RefusalsAndWeightlessCases)
{
    MCHistogramData data(0.0, 4.0, 2);
    const std::string fresh = Shown(data);
    for (const double value : {kNan, kMissing}) EXPECT_FALSE(data.UpdateData(1.0, 1.0, value));
    for (const double weight : {kNan, kMissing, -1.0}) {
        EXPECT_FALSE(data.UpdateData(weight, 1.0, 1.0));
        EXPECT_FALSE(data.UpdateData(1.0, weight, 1.0));
    }
    EXPECT_EQ(Shown(data), fresh);
    EXPECT_TRUE(data.UpdateData(2.0, 0.0, 3.0)); // first of all, where 0/0 would be
    EXPECT_EQ(data.GetMean(), 0.0);
    EXPECT_EQ(data.GetBinMeans(), (std::vector<double>{kMissing, kMissing}));
    EXPECT_EQ(data.GetBinFrequencies(), (std::vector<double>{0.0, 2.0}));
    EXPECT_TRUE(data.UpdateData(1.0, 1.0, 3.0));
    EXPECT_EQ(data.GetStdDev(), kMissing); // total weight 1
    EXPECT_TRUE(data.UpdateData(1.0, 1.0, 2.0));
    EXPECT_EQ(data.GetStdDev(), std::sqrt(0.5));
    EXPECT_EQ(data.GetNCases(), 3.0);

    MCHistogramData cancelling(-1.0, 1.0, 1);
    cancelling.UpdateData(1.0, 1.0, 0.1);
    cancelling.UpdateData(2.0, 1.0, -0.05 * (1.0 + 1e-16));
    EXPECT_EQ(cancelling.GetMean(), 0.0);
    EXPECT_FALSE(std::signbit(cancelling.GetMean()));
}

TEST(MCHistogramData, HandsItsBinsOut)
{
    MCHistogramData data(0.0, 3.0, 3);
    MCHistogramData all(0.0, 3.0, 3, true, true);
    for (MCHistogramData* const each : {&data, &all}) {
        each->UpdateData(2.0, 1.0, 0.25);
        each->UpdateData(1.0, 1.0, 2.5);
    }
    const MCXML_930::MCVariateData& chart = data.GenerateMCVariateData("age");
    ASSERT_EQ(chart.fVariables.size(), 2u);
    EXPECT_EQ(chart.fVariables[0].fFeature, "observed");
    EXPECT_EQ(chart.fVariables[0].fField, "age");
    EXPECT_EQ(chart.fVariables[0].fValues, (std::vector<double>{0.25, 2.5}));
    EXPECT_EQ(chart.fVariables[1].fFeature, "frequency");
    EXPECT_EQ(chart.fVariables[1].fValues, (std::vector<double>{2.0, 1.0}));
    ASSERT_EQ(chart.fStatistics.size(), 2u);
    EXPECT_EQ(chart.fStatistics[0], (std::pair<std::string, double>("mean", 1.0)));
    EXPECT_EQ(chart.fStatistics[1], (std::pair<std::string, double>("stdDeviation", data.GetStdDev())));
    EXPECT_EQ(&data.GenerateMCVariateData("other"), &chart);
    EXPECT_EQ(chart.fVariables[0].fField, "age");
    EXPECT_EQ(all.GenerateMCVariateData("").fVariables[0].fValues, (std::vector<double>{0.25, 1.5, 2.5}));
    EXPECT_EQ(all.GenerateMCVariateData("").fVariables[1].fValues, (std::vector<double>{2.0, 0.0, 1.0}));

    ExpectInOrder(
        Shown(data),
        {"MCHistogramData display start\nThe number of bins: 3\nThe length of a bin: 1\nThe means of each bin",
         "\nN cases of each bin considering frequency weight only",
         "\nThe weighted (both frequency and regression weight) N cases",
         "\nMinimum value from constructor: 0\nMaximum value from constructor: 3\nWeighted number of cases "
         "including both weights: 3\nTotal frequency weight: 3\nThe total unweighted number of cases: 2\nThe "
         "mean of all cases: 1\nThe second moment around mean: ",
         "\nMCHistogramData display end\n"});
}

TEST(MCScatterPlotData, KeepsRawPointsWithoutBins)
{
    MCScatterPlotData points;
    EXPECT_TRUE(points.UpdateData(2.0, 5.0, 1.5, -1.0));
    EXPECT_TRUE(points.UpdateData(1.0, 1.0, HUGE_VAL, 4.0));
    for (const double bad : {kNan, kMissing}) {
        EXPECT_FALSE(points.UpdateData(bad, 1.0, 1.0, 1.0));
        EXPECT_FALSE(points.UpdateData(1.0, bad, 1.0, 1.0));
        EXPECT_FALSE(points.UpdateData(1.0, 1.0, bad, 1.0));
        EXPECT_FALSE(points.UpdateData(1.0, 1.0, 1.0, bad));
    }
    EXPECT_EQ(points.GetXCoordinates(), (std::vector<double>{1.5, HUGE_VAL}));
    EXPECT_EQ(points.GetYCoordinates(), (std::vector<double>{-1.0, 4.0}));
    EXPECT_EQ(points.GetFrequencies(), (std::vector<double>{2.0, 1.0}));
    EXPECT_EQ(points.GetMCVariateData().fVariables.size(), 3u);
    EXPECT_EQ(points.GetTotalFrequency(), 3.0);
    EXPECT_EQ(points.GetTotalWeight(), 0.0);
}

TEST(MCScatterPlotData, CellsKeepTheirMeanPoints)
{
    MCScatterPlotData cells(0.0, 4.0, 2, -1.0, 2.0, 3);  // cells 2 x 1
    EXPECT_TRUE(cells.UpdateData(1.0, 1.0, 0.5, 0.25));  // (0, 1)
    EXPECT_TRUE(cells.UpdateData(2.0, 1.5, 1.5, 0.75));  // (0, 1)
    EXPECT_TRUE(cells.UpdateData(1.0, 1.0, 9.0, 1e300)); // (1, 2), beyond the grid
    EXPECT_TRUE(cells.UpdateData(1.0, 0.0, 2.0, -7.0));  // (1, 0), no weight
    EXPECT_FALSE(cells.UpdateData(1.0, -1.0, 0.0, 0.0));
    EXPECT_EQ(cells.GetCellFrequencies(), (std::vector<double>{0, 3, 0, 1, 0, 1}));
    EXPECT_EQ(cells.GetCellWeights(), (std::vector<double>{0, 4, 0, 0, 0, 1}));
    EXPECT_EQ(cells.GetCellMeansX(), (std::vector<double>{0, 1.25, 0, 0, 0, 9}));
    EXPECT_EQ(cells.GetCellMeansY(), (std::vector<double>{0, 0.625, 0, 0, 0, 1e300}));
    EXPECT_EQ(cells.GetTotalWeight(), 5.0);
    EXPECT_EQ(cells.GetTotalFrequency(), 5.0);
    EXPECT_TRUE(cells.GetXCoordinates().empty());
    const MCXML_930::MCVariateData data = cells.GetCellData();
    EXPECT_EQ(data.fVariables[0].fValues, (std::vector<double>{1.25, 9.0}));
    EXPECT_EQ(data.fVariables[1].fValues, (std::vector<double>{0.625, 1e300}));
    EXPECT_EQ(data.fVariables[2].fValues, (std::vector<double>{3.0, 1.0}));
    ExpectInOrder(Shown(cells),
                  {"MCScatterPlotData display start\nThe number of bins for X: 2\nThe number of bins for Y: "
                   "3\nThe length of a bin for X: 2\nThe length of a bin for Y: 1\nThe means for X in each bin",
                   "\nThe means for Y in each bin", "\nN cases of each bin considering frequency weight only",
                   "\nThe weighted (frequency and regression weight) N cases",
                   "\nMinimum X value from constructor: 0\nMaximum X value from constructor: 4\nMinimum Y "
                   "value from constructor: -1\nMaximum Y value from constructor: 2\nWeighted number of "
                   "cases including both weights: 5\nTotal frequency weight: 5\nThe total unweighted number "
                   "of cases: 4\nMCScatterPlotData display end\n"});
    MCScatterPlotData one(0.0, 0.0, 0, 0.0, 0.0, -1);
    EXPECT_TRUE(one.UpdateData(1.0, 1.0, 5.0, 5.0));
    EXPECT_EQ(one.GetCellWeights(), std::vector<double>{1.0});
}

TEST(MCBarChartData, CountsItsCategories)
{
    MCBarChartData bars({"low", "mid", "high"});
    EXPECT_TRUE(bars.UpdateData(2.0, 0.5, 0));
    EXPECT_TRUE(bars.UpdateData(1.0, 2.0, 2));
    EXPECT_FALSE(bars.UpdateData(1.0, 1.0, 3));
    EXPECT_FALSE(bars.UpdateData(1.0, 1.0, -1));
    EXPECT_FALSE(bars.UpdateData(kMissing, 1.0, 0));
    EXPECT_FALSE(bars.UpdateData(1.0, kNan, 0));
    EXPECT_EQ(bars.GetFrequencies(), (std::vector<double>{2, 0, 1}));
    EXPECT_EQ(bars.GetWeights(), (std::vector<double>{1, 0, 2}));
    EXPECT_EQ(bars.GetTotalFrequency(), 3.0);
    EXPECT_EQ(bars.GetTotalWeight(), 3.0);
    EXPECT_EQ(bars.GetNCases(), 2.0);
    const MCXML_930::MCVariateData& chart = bars.GenerateMCVariateData("size");
    EXPECT_EQ(chart.fVariables[0].fField, "size");
    EXPECT_EQ(chart.fVariables[0].fValues, (std::vector<double>{0, 1, 2}));
    EXPECT_EQ(chart.fVariables[1].fValues, (std::vector<double>{2, 0, 1}));
    EXPECT_EQ(&bars.GenerateMCVariateData(""), &chart);
    ExpectInOrder(Shown(bars),
                  {"MCBarChartData display start\nlow: 2\nmid: 0\nhigh: 1\n", "MCBarChartData display end\n"});
}

TEST(MCClassificationMatrix, AddsPositiveWeightsInsideTheTable)
{
    MCClassificationMatrix matrix(2);
    EXPECT_TRUE(matrix.UpdateData(1.5, 0, 1));
    EXPECT_TRUE(matrix.UpdateData(2.0, 0, 1));
    EXPECT_TRUE(matrix.UpdateData(1.0, 1, 1));
    for (const double weight : {0.0, -1.0, kNan, kMissing}) EXPECT_FALSE(matrix.UpdateData(weight, 0, 0));
    for (const auto& [row, column] : {std::pair{2, 0}, {0, 2}, {-1, 0}, {0, -1}})
        EXPECT_FALSE(matrix.UpdateData(1.0, row, column));
    const double expected[] = {0.0, 3.5, 0.0, 1.0};
    for (int i = 0; i < 4; ++i) EXPECT_EQ(matrix.GetMatrix().GetElem(i / 2, i % 2), expected[i]);
    EXPECT_FALSE(MCClassificationMatrix(-3).UpdateData(1.0, 0, 0));
}
