// MCHistogramData, MCScatterPlotData, MCBarChartData and MCClassificationMatrix.
#include "accumulators/AccumulatorsTesting.h"

TEST(MCHistogramData, EveryValueFallsInItsBin)
{
    const std::vector<std::vector<double>> valuesOfBin = {
        {-HUGE_VAL, -1e300, -0.1, 0.0, 2.4999}, {2.5}, {7.4999}, {7.5, 9.99, 10.0, 1e300, HUGE_VAL}};
    for (std::size_t bin = 0; bin < 4; ++bin)
        for (const double value : valuesOfBin[bin]) {
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
    std::vector<long double> frequencies(9), weights(9), sums(9); // of the bins, then of all
    for (int i = 0; i < 500; ++i) {
        const double frequency = random.Uniform(0.2, 3.0), w = random.Uniform(0.5, 2.0), x = random.Uniform(-0.1, 1.1);
        EXPECT_TRUE(data.UpdateData(frequency, w, x));
        plain.UpdateData(frequency, w, x);
        const long double weight = static_cast<long double>(frequency) * w;
        for (const std::size_t at :
             {static_cast<std::size_t>(std::fmin(std::fmax(x * 8.0, 0.0), 7.0)), std::size_t{8}}) {
            frequencies[at] += frequency;
            weights[at] += weight;
            sums[at] += weight * x;
        }
        cases.push_back({static_cast<double>(weight), x});
    }
    long double squares = 0.0L;
    for (const auto& c : cases) squares += c[0] * (c[1] - sums[8] / weights[8]) * (c[1] - sums[8] / weights[8]);
    EXPECT_NEAR(data.GetTotalWeight(), static_cast<double>(weights[8]), 1e-10);
    EXPECT_NEAR(data.GetTotalFrequency(), static_cast<double>(frequencies[8]), 1e-10);
    EXPECT_EQ(data.GetNCases(), 500.0);
    EXPECT_NEAR(data.GetMean(), static_cast<double>(sums[8] / weights[8]), 1e-14);
    EXPECT_NEAR(data.GetStdDev(), static_cast<double>(std::sqrt(squares / (weights[8] - 1.0L))), 1e-14);
    EXPECT_EQ(plain.GetStdDev(), kMissing);
    EXPECT_EQ(plain.GetMean(), data.GetMean());
    for (std::size_t bin = 0; bin < 8; ++bin) {
        EXPECT_NEAR(data.GetBinFrequencies()[bin], static_cast<double>(frequencies[bin]), 1e-11);
        EXPECT_NEAR(data.GetBinWeights()[bin], static_cast<double>(weights[bin]), 1e-11);
        EXPECT_NEAR(data.GetBinMeans()[bin], static_cast<double>(sums[bin] / weights[bin]), 1e-14);
    }
}

TEST(MCHistogramData, RefusalsAndWeightlessCases)
{
    MCHistogramData data(0.0, 4.0, 2);
    for (const double bad : {kNan, kMissing}) EXPECT_FALSE(data.UpdateData(1.0, 1.0, bad));
    for (const double bad : {kNan, kMissing, -1.0})
        EXPECT_FALSE(data.UpdateData(bad, 1.0, 1.0) || data.UpdateData(1.0, bad, 1.0));
    EXPECT_EQ(data.GetNCases(), 0.0);
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
    ASSERT_TRUE(chart.fVariables.size() == 2 && chart.fStatistics.size() == 2);
    EXPECT_EQ(chart.fVariables[0].fFeature, "observed");
    EXPECT_EQ(chart.fVariables[0].fField, "age");
    EXPECT_EQ(chart.fVariables[0].fValues, (std::vector<double>{0.25, 2.5}));
    EXPECT_EQ(chart.fVariables[1].fFeature, "frequency");
    EXPECT_EQ(chart.fVariables[1].fValues, (std::vector<double>{2.0, 1.0}));
    EXPECT_EQ(chart.fStatistics[0], (std::pair<std::string, double>("mean", 1.0)));
    EXPECT_EQ(chart.fStatistics[1], (std::pair<std::string, double>("stdDeviation", data.GetStdDev())));
    EXPECT_EQ(data.GenerateMCVariateData("other").fVariables[0].fField, "age");
    EXPECT_EQ(all.GenerateMCVariateData("").fVariables[0].fValues, (std::vector<double>{0.25, 1.5, 2.5}));
    EXPECT_EQ(all.GenerateMCVariateData("").fVariables[1].fValues, (std::vector<double>{2.0, 0.0, 1.0}));
}

TEST(MCScatterPlotData, KeepsRawPointsWithoutBins)
{
    MCScatterPlotData points;
    EXPECT_TRUE(points.UpdateData(2.0, 5.0, 1.5, -1.0));
    EXPECT_TRUE(points.UpdateData(1.0, 1.0, HUGE_VAL, 4.0));
    for (const double bad : {kNan, kMissing})
        EXPECT_FALSE(points.UpdateData(bad, 1.0, 1.0, 1.0) || points.UpdateData(1.0, 1.0, bad, 1.0) ||
                     points.UpdateData(1.0, 1.0, 1.0, bad));
    EXPECT_EQ(points.GetXCoordinates(), (std::vector<double>{1.5, HUGE_VAL}));
    EXPECT_EQ(points.GetYCoordinates(), (std::vector<double>{-1.0, 4.0}));
    EXPECT_EQ(points.GetFrequencies(), (std::vector<double>{2.0, 1.0}));
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
    MCScatterPlotData one(0.0, 0.0, 0, 0.0, 0.0, -1);
    EXPECT_TRUE(one.UpdateData(1.0, 1.0, 5.0, 5.0));
    EXPECT_EQ(one.GetCellWeights(), std::vector<double>{1.0});
}

TEST(MCBarChartData, CountsItsCategories)
{
    MCBarChartData bars({"low", "mid", "high"});
    EXPECT_TRUE(bars.UpdateData(2.0, 0.5, 0));
    EXPECT_TRUE(bars.UpdateData(1.0, 2.0, 2));
    EXPECT_FALSE(bars.UpdateData(1.0, 1.0, 3) || bars.UpdateData(1.0, 1.0, -1) || bars.UpdateData(kMissing, 1.0, 0) ||
                 bars.UpdateData(1.0, kNan, 0));
    EXPECT_EQ(bars.GetFrequencies(), (std::vector<double>{2, 0, 1}));
    EXPECT_EQ(bars.GetWeights(), (std::vector<double>{1, 0, 2}));
    EXPECT_EQ(bars.GetTotalFrequency(), 3.0);
    EXPECT_EQ(bars.GetTotalWeight(), 3.0);
    EXPECT_EQ(bars.GetNCases(), 2.0);
    const MCXML_930::MCVariateData& chart = bars.GenerateMCVariateData("size");
    EXPECT_EQ(chart.fVariables[0].fValues, (std::vector<double>{0, 1, 2}));
    EXPECT_EQ(chart.fVariables[1].fValues, (std::vector<double>{2, 0, 1}));
    EXPECT_EQ(bars.GenerateMCVariateData("").fVariables[0].fField, "size");
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
