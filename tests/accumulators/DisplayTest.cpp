// What the accumulators show of themselves.
#include "accumulators/AccumulatorsTesting.h"

namespace {

template <class T>
void ExpectShown(const T& object, const std::vector<const char*>& items)
{
    const std::string text = Shown(object);
    std::size_t at = 0;
    for (const char* item : items) {
        at = text.find(item, at);
        ASSERT_NE(at, std::string::npos) << item << " in\n" << text;
    }
}

} // namespace

TEST(Display, NamesTheItemsInTheirOrder)
{
    ExpectShown(MCProvMeans(1, false),
                {"MCMeansXProdData display start\nNumber of variables: 1\nIntercept indicator: false\n"
                 "Weighted number of cases: 0\nVector of means",
                 "\nMatrix of cross-products:\nMCSymMatrix display start\n",
                 "MCSymMatrix display end\nMCMeansXProdData display end\n"});
    MCMeansXProducts products(1, true, true, false);
    ExpectShown(products, {"MCMeansXProducts display start\nMCMeansXProdData display start\n",
                           "Frequency weight indicator: true\nRegression weight indicator: false\n"
                           "MCMeansXProducts display end\n"});
    MCRectMatrix X(1, 2);
    X.SetElem(0, 1, 2.0);
    products.UpdateOnePass(X, 0);
    ExpectShown(products, {"\nWeighted number of cases accumulated by UpdateOnePass: 2\n"
                           "Weighted sums accumulated by UpdateOnePass",
                           "\nWeighted sums of products accumulated by UpdateOnePass:\n"});
    ExpectShown(MCContStats(), {"MCContStats display start\nMin & max", "\nSum of freq. wgts, composite wgts",
                                "\nMean: missing\n", "\nMCContStats display end\n"});
    ExpectShown(MCCatStats(), {"MCCatStats display start\n", ": (empty)\nMCCatStats display end\n"});
    ExpectShown(MCPackedInt(5, 2), {"Bits of a value: 3\nNumber of values: 2\n"});

    MCHistogramData histogram(0.0, 3.0, 3);
    histogram.UpdateData(2.0, 1.5, 1.0);
    ExpectShown(histogram,
                {"MCHistogramData display start\nThe number of bins: 3\nThe length of a bin: 1\nThe means of each bin",
                 "\nN cases of each bin considering frequency weight only",
                 "\nThe weighted (both frequency and regression weight) N cases",
                 "\nMinimum value from constructor: 0\nMaximum value from constructor: 3\n"
                 "Weighted number of cases including both weights: 3\nTotal frequency weight: 2\n"
                 "The total unweighted number of cases: 1\nThe mean of all cases: 1\n"
                 "The second moment around mean: 0\nMCHistogramData display end\n"});
    MCScatterPlotData cells(0.0, 4.0, 2, -1.0, 2.0, 3);
    cells.UpdateData(2.0, 1.5, 1.0, 1.0);
    ExpectShown(cells, {"MCScatterPlotData display start\nThe number of bins for X: 2\nThe number of bins for Y: 3\n"
                        "The length of a bin for X: 2\nThe length of a bin for Y: 1\nThe means for X in each bin",
                        "\nThe means for Y in each bin", "\nN cases of each bin considering frequency weight only",
                        "\nThe weighted (frequency and regression weight) N cases",
                        "\nMinimum X value from constructor: 0\nMaximum X value from constructor: 4\n"
                        "Minimum Y value from constructor: -1\nMaximum Y value from constructor: 2\n"
                        "Weighted number of cases including both weights: 3\nTotal frequency weight: 2\n"
                        "The total unweighted number of cases: 1\nMCScatterPlotData display end\n"});
    MCBarChartData bars({"low", "high"});
    bars.UpdateData(2.0, 0.5, 0);
    ExpectShown(bars, {"MCBarChartData display start\nlow: 2\nhigh: 0\n", "MCBarChartData display end\n"});
}
