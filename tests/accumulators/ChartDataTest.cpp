// MCHistogramData, MCScatterPlotData, MCBarChartData and MCClassificationMatrix.
#include "accumulators/AccumulatorsTesting.h"

#include <new>

TEST(MCHistogramData, EveryValueFallsInItsBin)
{
    struct Row {
        double minimum, maximum;
        int bins;
        std::vector<Doubles> valuesOfBin;
    };
    const std::vector<Row> table = {
        {0.0, 10.0, 4, {{-HUGE_VAL, -1e300, -0.1, 0.0, 2.4999}, {2.5}, {7.4999}, {7.5, 9.99, 10.0, 1e300, HUGE_VAL}}},
        {3.0, 3.0, 1, {{3.0}}}, // no length
        {3.0, 3.0, 0, {{3.0}}},
        {3.0, 3.0, -5, {{3.0}}},
        {3.0, 3.0, 2, {{2.0, 3.0}, {4.0}}},
        {-1.5e308, 1.5e308, 3, {{-1.6e308, -6e307, -HUGE_VAL}, {-4e307, 0.0, 4e307}, {6e307, 1.7e308, HUGE_VAL}}}};
    for (const Row& row : table)
        for (std::size_t bin = 0; bin < row.valuesOfBin.size(); ++bin)
            for (const double value : row.valuesOfBin[bin]) {
                MCHistogramData data(row.minimum, row.maximum, row.bins);
                EXPECT_TRUE(data.UpdateData(1.0, 1.0, value));
                EXPECT_EQ(data.GetBinFrequencies()[bin], 1.0) << row.bins << " bins, " << value;
            }
}

TEST(MCHistogramData, MomentsAreThoseOfAllCasesHoweverTheyAreCut)
{
    TestRandom random(12);
    MCHistogramData whole(0.0, 1.0, 8), merged(0.0, 1.0, 8), plain(0.0, 1.0, 8, false);
    std::vector<MCHistogramData> parts(4, merged);              // the last one stays empty
    std::vector<MCProvMeans> expected(9, MCProvMeans(1, true)); // of the bins, then of all
    Doubles frequencies(9);
    for (int i = 0; i < 500; ++i) {
        const double frequency = random.Uniform(0.2, 3.0), w = random.Uniform(0.5, 2.0), x = random.Uniform(-0.1, 1.1);
        EXPECT_TRUE(whole.UpdateData(frequency, w, x));
        parts[static_cast<std::size_t>(i < 100 ? 0 : i % 2 + 1)].UpdateData(frequency, w, x);
        plain.UpdateData(frequency, w, x);
        for (const std::size_t at :
             {static_cast<std::size_t>(std::fmin(std::fmax(x * 8.0, 0.0), 7.0)), std::size_t{8}}) {
            frequencies[at] += frequency;
            expected[at].Update({x}, frequency * w);
        }
    }
    for (const MCHistogramData& part : {parts[3], parts[1], parts[0], parts[2]}) EXPECT_TRUE(merged.Merge(part));
    for (const MCHistogramData& data : {whole, merged}) {
        EXPECT_NEAR(data.GetTotalWeight(), expected[8].GetNCases(), 1e-10);
        EXPECT_NEAR(data.GetTotalFrequency(), frequencies[8], 1e-10);
        EXPECT_EQ(data.GetNCases(), 500.0);
        EXPECT_NEAR(data.GetMean(), expected[8].GetMeans()[0], 1e-14);
        const double variance = expected[8].GetXProds().GetElem(0, 0) / (data.GetTotalWeight() - 1.0);
        EXPECT_NEAR(data.GetStdDev(), std::sqrt(variance), 1e-14);
        for (std::size_t bin = 0; bin < 8; ++bin) {
            EXPECT_NEAR(data.GetBinFrequencies()[bin], frequencies[bin], 1e-11);
            EXPECT_NEAR(data.GetBinWeights()[bin], expected[bin].GetNCases(), 1e-11);
            EXPECT_NEAR(data.GetBinMeans()[bin], expected[bin].GetMeans()[0], 1e-14);
        }
    }
    EXPECT_EQ(plain.GetStdDev(), kMissing);
    EXPECT_EQ(plain.GetMean(), whole.GetMean());
    const double mean = merged.GetMean();
    EXPECT_TRUE(merged.Merge(merged));
    EXPECT_EQ(merged.GetMean(), mean);
    EXPECT_EQ(merged.GetNCases(), 1000.0);
    EXPECT_TRUE(NoneOf({whole.Merge(plain), whole.Merge(MCHistogramData(0.0, 1.0, 7)),
                        whole.Merge(MCHistogramData(0.1, 1.0, 8)), whole.Merge(MCHistogramData(0.0, 1.1, 8))}));
    EXPECT_EQ(whole.GetNCases(), 500.0);
}

TEST(MCHistogramData, RefusalsWeightlessCasesAndExtremes)
{
    MCHistogramData data(0.0, 4.0, 2);
    for (const double bad : {kNan, kMissing}) EXPECT_FALSE(data.UpdateData(1.0, 1.0, bad));
    for (const double bad : {kNan, kMissing, -1.0})
        EXPECT_TRUE(NoneOf({data.UpdateData(bad, 1.0, 1.0), data.UpdateData(1.0, bad, 1.0)}));
    EXPECT_EQ(data.GetNCases(), 0.0);
    EXPECT_TRUE(data.UpdateData(2.0, 0.0, 3.0)); // first of all, where 0/0 would be
    EXPECT_EQ(data.GetMean(), 0.0);
    EXPECT_EQ(data.GetBinMeans(), (Doubles{kMissing, kMissing}));
    EXPECT_EQ(data.GetBinFrequencies(), (Doubles{0.0, 2.0}));
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
    MCHistogramData large(0.0, 1.0, 1); // twice the mean is infinite
    for (const double x : {1e308, 1.5e308, 1.2e308}) large.UpdateData(1.0, 1.0, x);
    EXPECT_DOUBLE_EQ(large.GetMean(), 3.7 / 3.0 * 1e308);
    MCHistogramData constant(0.0, 1.0, 1); // the square of the first value is infinite
    for (int i = 0; i < 3; ++i) constant.UpdateData(1.0, 1.0, 1e200);
    EXPECT_EQ(constant.GetStdDev(), 0.0);
}

TEST(MCHistogramData, HandsItsBinsOut)
{
    MCHistogramData data(0.0, 3.0, 3), all(0.0, 3.0, 3, true, true);
    for (MCHistogramData* const each : {&data, &all}) {
        each->UpdateData(2.0, 1.0, 0.25);
        each->UpdateData(1.0, 1.0, 2.5);
    }
    const MCXML_930::MCVariateData& chart = data.GenerateMCVariateData("age");
    ASSERT_TRUE(chart.fVariables.size() == 2 && chart.fStatistics.size() == 2);
    EXPECT_EQ(chart.fVariables[0].fFeature, "observed");
    EXPECT_EQ(chart.fVariables[0].fField, "age");
    EXPECT_EQ(chart.fVariables[0].fValues, (Doubles{0.25, 2.5}));
    EXPECT_EQ(chart.fVariables[1].fFeature, "frequency");
    EXPECT_EQ(chart.fVariables[1].fValues, (Doubles{2.0, 1.0}));
    EXPECT_EQ(chart.fStatistics[0], (std::pair<std::string, double>("mean", 1.0)));
    EXPECT_EQ(chart.fStatistics[1], (std::pair<std::string, double>("stdDeviation", data.GetStdDev())));
    EXPECT_EQ(all.GenerateMCVariateData("").fVariables[0].fValues, (Doubles{0.25, 1.5, 2.5}));
    EXPECT_EQ(all.GenerateMCVariateData("").fVariables[1].fValues, (Doubles{2.0, 0.0, 1.0}));

    data.UpdateData(1.0, 1.0, 1.5);
    EXPECT_EQ(&data.GenerateMCVariateData("other"), &chart);
    EXPECT_EQ(chart.fVariables[0].fField, "age");
    EXPECT_EQ(chart.fVariables[0].fValues, (Doubles{0.25, 1.5, 2.5}));
    data.Merge(all);
    EXPECT_EQ(data.GenerateMCVariateData("").fVariables[1].fValues, (Doubles{4.0, 1.0, 2.0}));
}

TEST(MCScatterPlotData, KeepsRawPointsWithoutBins)
{
    MCScatterPlotData points;
    EXPECT_TRUE(points.UpdateData(2.0, kNan, 1.5, -1.0)); // has no use for the regression weight
    EXPECT_TRUE(points.UpdateData(1.0, 1.0, HUGE_VAL, 4.0));
    for (const double bad : {kNan, kMissing})
        EXPECT_TRUE(
            NoneOf({points.UpdateData(bad, 1.0, 1.0, 1.0), points.UpdateData(1.0, 1.0, bad, 1.0),
                    points.UpdateData(1.0, 1.0, 1.0, bad), points.Merge(MCScatterPlotData(0.0, 1.0, 1, 0.0, 1.0, 1))}));
    EXPECT_TRUE(points.Merge(points));
    EXPECT_EQ(points.GetXCoordinates(), (Doubles{1.5, HUGE_VAL, 1.5, HUGE_VAL}));
    EXPECT_EQ(points.GetYCoordinates(), (Doubles{-1.0, 4.0, -1.0, 4.0}));
    EXPECT_EQ(points.GetFrequencies(), (Doubles{2.0, 1.0, 2.0, 1.0}));
    EXPECT_EQ(points.GetTotalFrequency(), 6.0);
    EXPECT_EQ(points.GetTotalWeight(), 0.0);
    EXPECT_FALSE(points.IsBinned());
    EXPECT_EQ(points.GetMCVariateData().fVariables[2].fFeature, "frequency");
}

TEST(MCScatterPlotData, CellsKeepTheirMeanPoints)
{
    MCScatterPlotData cells(0.0, 4.0, 2, -1.0, 2.0, 3), rest(cells); // cells 2 x 1
    EXPECT_TRUE(cells.UpdateData(1.0, 1.0, 0.5, 0.25));              // (0, 1)
    EXPECT_TRUE(rest.UpdateData(2.0, 1.5, 1.5, 0.75));               // (0, 1)
    EXPECT_TRUE(cells.UpdateData(1.0, 1.0, 9.0, 1e300));             // (1, 2), beyond the grid
    EXPECT_TRUE(rest.UpdateData(1.0, 0.0, 2.0, -7.0));               // (1, 0), no weight
    EXPECT_FALSE(cells.UpdateData(1.0, -1.0, 0.0, 0.0));
    EXPECT_TRUE(cells.Merge(rest));
    EXPECT_EQ(cells.GetCellFrequencies(), (Doubles{0, 3, 0, 1, 0, 1}));
    EXPECT_EQ(cells.GetCellWeights(), (Doubles{0, 4, 0, 0, 0, 1}));
    EXPECT_EQ(cells.GetCellMeansX(), (Doubles{0, 1.25, 0, 0, 0, 9}));
    EXPECT_EQ(cells.GetCellMeansY(), (Doubles{0, 0.625, 0, 0, 0, 1e300}));
    EXPECT_EQ(cells.GetTotalWeight(), 5.0);
    EXPECT_EQ(cells.GetTotalFrequency(), 5.0);
    EXPECT_TRUE(cells.GetXCoordinates().empty());
    const MCXML_930::MCVariateData data = cells.GetCellData();
    EXPECT_EQ(data.fVariables[0].fValues, (Doubles{1.25, 9.0}));
    EXPECT_EQ(data.fVariables[1].fValues, (Doubles{0.625, 1e300}));
    EXPECT_EQ(data.fVariables[2].fValues, (Doubles{3.0, 1.0}));
    using Grid = MCScatterPlotData;
    for (const Grid& other :
         {Grid(), Grid(0.0, 4.0, 3, -1.0, 2.0, 3), Grid(0.0, 4.0, 2, -1.0, 2.0, 2), Grid(0.1, 4.0, 2, -1.0, 2.0, 3),
          Grid(0.0, 4.1, 2, -1.0, 2.0, 3), Grid(0.0, 4.0, 2, -1.1, 2.0, 3), Grid(0.0, 4.0, 2, -1.0, 2.1, 3)})
        EXPECT_FALSE(cells.Merge(other));
    MCScatterPlotData one(0.0, 0.0, 0, 0.0, 0.0, -1);
    EXPECT_TRUE(one.UpdateData(1.0, 1.0, 5.0, 5.0));
    EXPECT_EQ(one.GetCellWeights(), Doubles{1.0});
    EXPECT_THROW(MCScatterPlotData(0.0, 1.0, 2147483647, 0.0, 1.0, 2147483647), std::bad_alloc);
}

TEST(MCBarChartData, CountsItsCategories)
{
    MCBarChartData bars({"low", "mid", "high"}), rest(bars);
    EXPECT_TRUE(bars.UpdateData(2.0, 0.5, 0));
    const MCXML_930::MCVariateData& chart = bars.GenerateMCVariateData("size");
    EXPECT_TRUE(rest.UpdateData(1.0, 2.0, 2));
    EXPECT_TRUE(NoneOf({bars.UpdateData(1.0, 1.0, 3), bars.UpdateData(1.0, 1.0, -1), bars.UpdateData(kMissing, 1.0, 0),
                        bars.UpdateData(1.0, kNan, 0), bars.Merge(MCBarChartData({"low", "high", "mid"}))}));
    EXPECT_TRUE(bars.Merge(rest));
    EXPECT_EQ(bars.GetFrequencies(), (Doubles{2, 0, 1}));
    EXPECT_EQ(bars.GetWeights(), (Doubles{1, 0, 2}));
    EXPECT_EQ(bars.GetTotalFrequency(), 3.0);
    EXPECT_EQ(bars.GetTotalWeight(), 3.0);
    EXPECT_EQ(bars.GetNCases(), 2.0);
    EXPECT_EQ(&bars.GenerateMCVariateData(""), &chart);
    EXPECT_EQ(chart.fVariables[0].fField, "size");
    EXPECT_EQ(chart.fVariables[0].fValues, (Doubles{0, 1, 2}));
    EXPECT_EQ(chart.fVariables[1].fValues, (Doubles{2, 0, 1}));
    std::string element;
    MCXML_930::ExportFormat format;
    std::unique_ptr<MCXML_930::XMLElement>(chart.fVariables[0].GetCoordinates())->ToString(element, format);
    EXPECT_NE(element.find(">low mid high<"), std::string::npos) << element;
}

TEST(MCClassificationMatrix, AddsPositiveWeightsInsideTheTable)
{
    MCClassificationMatrix matrix(2), rest(matrix);
    EXPECT_TRUE(matrix.UpdateData(1.5, 0, 1));
    EXPECT_TRUE(rest.UpdateData(2.0, 0, 1));
    EXPECT_TRUE(rest.UpdateData(1.0, 1, 1));
    for (const double weight : {0.0, -1.0, kNan, kMissing}) EXPECT_FALSE(matrix.UpdateData(weight, 0, 0));
    for (const auto& [row, column] : {std::pair{2, 0}, {0, 2}, {-1, 0}, {0, -1}})
        EXPECT_FALSE(matrix.UpdateData(1.0, row, column));
    EXPECT_TRUE(matrix.Merge(rest));
    EXPECT_FALSE(matrix.Merge(MCClassificationMatrix(3)));
    EXPECT_TRUE(SameBits(std::span(matrix.GetMatrix().GetPtr(), 4), Doubles{0.0, 3.5, 0.0, 1.0}));
    EXPECT_FALSE(MCClassificationMatrix(-3).UpdateData(1.0, 0, 0));
}
