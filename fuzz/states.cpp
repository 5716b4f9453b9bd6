// Saved states of accumulators and generators: read, written again, and the object then used.
#include "States.h"

using namespace MCMath_930;

namespace {

/// A row of sizes that fits any object of p columns.
std::vector<double> RowOf(Input& input, int p)
{
    std::vector<double> row(static_cast<std::size_t>(p));
    for (double& x : row) x = input.Real();
    return row;
}

/// Reads, then merges the object with itself and with the one before, and uses it.
template <class T, class Use>
void Try(const T& initial, Input& input, const char* kind, Use use)
{
    T object(initial);
    if (!ReadState(object, input, kind)) return;
    const T read(object);
    if constexpr (requires { object.Merge(read); }) {
        object.Merge(initial);
        object.Merge(read);
    }
    if constexpr (requires { object.Pool(read); }) object.Pool(read);
    use(object);
    object.Display();
    // What can be reached from a state that was taken can be saved and read as well.
    T again(initial);
    const std::string text = TextOf(object);
    REQUIRE(ReadText(again, text));
    REQUIRE(TextOf(again) == text);
}

void UseMeans(MCMeansXProdData& data)
{
    if (data.GetNVars() > 50) return;
    static constexpr std::array<std::uint8_t, 8> kNothing{};
    Input numbers(kNothing.data(), kNothing.size());
    data.AddCase(RowOf(numbers, data.GetNVars()), 2.0);
    data.DeleteCase(RowOf(numbers, data.GetNVars()), 1.0);
    data.GetXProds();
    if (data.GetNVars() > 0) data.AppendZeroVars(1);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    if (size == 0) return 0;
    const Silence silence;
    Input input(bytes, size);
    switch (input.Byte() % 13) {
    case 0: Try(MCMeansXProdData(2, true), input, "MCMeansXProdData", UseMeans); break;
    case 1: Try(MCProvMeans(2, true), input, "MCProvMeans", UseMeans); break;
    case 2:
        Try(MCMeansXProducts(2, true, true, false), input, "MCMeansXProducts", [](MCMeansXProducts& data) {
            UseMeans(data);
            if (data.GetNVars() > 50) return;
            const MCRectMatrix X(3, data.GetNVars() + data.IsFrequencyWeight() + data.IsRegressionWeight());
            data.Update(X, 0);
            data.UpdateOnePass(X, 2);
            data.FinishUpdateOnePass();
            data.Compute(X, 3);
        });
        break;
    case 3:
        Try(MCExactXProducts(2, true, true, false), input, "MCExactXProducts", [](MCExactXProducts& data) {
            if (data.GetNVars() > 50) return;
            const std::vector<double> row(static_cast<std::size_t>(data.GetNVars()), 0.1);
            data.AddCase(row, 0.7);
            std::vector<double> high, low;
            MCSymMatrix products, rest;
            data.GetNCases();
            data.GetMeans(high, low);
            data.GetXProds(products, rest);
            MCExactXProducts twice(data);
            REQUIRE(twice.DeleteCase(row, 0.7) && twice.AddCase(row, 0.7) && twice.Equal(data));
        });
        break;
    case 4:
        Try(MCAccumXProdPair(2, 4), input, "MCAccumXProdPair", [](MCAccumXProdPair& data) {
            if (data.GetNVars() > 50) return;
            data.Update(0, 1.5, data.GetNVars() - 1, 2.5, 1.0);
            data.GetCovar();
            data.Finish();
            data.GetCorr();
        });
        break;
    case 5:
        Try(MCContStats(), input, "MCContStats", [](MCContStats& data) {
            data.Update(2.0, 0.5, 3.0);
            data.GetMean();
            data.GetVariance();
        });
        break;
    case 6:
        Try(MCCatStats(std::vector<double>{1.0, 2.0}), input, "MCCatStats", [](MCCatStats& data) {
            data.Update(3.0, 1.0);
            data.Update(1e9, 1.0);
            data.GetNCategories(true);
            data.GetNCategories(false);
            data.GetSumCounts();
            data.GetCatCount(7);
        });
        break;
    case 7:
        Try(MCHistogramData(-1.0, 3.0, 3), input, "MCHistogramData", [](MCHistogramData& data) {
            for (const double x : {-1e300, -1.0, 0.3, 3.0, 1e300}) data.UpdateData(1.0, 2.0, x);
            data.GetStdDev();
            data.GenerateMCVariateData("x");
        });
        break;
    case 8:
    case 9:
        Try(bytes[0] % 13 == 8 ? MCScatterPlotData() : MCScatterPlotData(0.0, 1.0, 2, 0.0, 1.0, 3), input,
            "MCScatterPlotData", [](MCScatterPlotData& data) {
                for (const double x : {-1e300, 0.3, 1e300}) data.UpdateData(1.0, 2.0, x, -x);
                data.GetCellData();
            });
        break;
    case 10:
        Try(MCBarChartData({"a", "b"}), input, "MCBarChartData", [](MCBarChartData& data) {
            data.UpdateData(1.0, 2.0, 0);
            data.UpdateData(1.0, 2.0, 1);
            data.GenerateMCVariateData("x");
        });
        break;
    case 11:
        Try(MCClassificationMatrix(2), input, "MCClassificationMatrix",
            [](MCClassificationMatrix& data) { data.UpdateData(1.0, 0, 1); });
        break;
    default: {
        if (size > 1 && bytes[1] % 2 == 0) {
            MCURandom random;
            if (ReadState(random, input, "MCURandom")) random.GetRandom();
            break;
        }
        Try(MCQuantileSketch(16), input, "MCQuantileSketch", [](MCQuantileSketch& sketch) {
            for (const double x : {-1e300, 0.3, 0.31, 1e300}) sketch.Update(x, 0.5);
            double lowest = 0.0, highest = 0.0;
            for (const double p : {0.0, 0.3, 1.0}) {
                const double q = sketch.GetQuantile(p);
                REQUIRE(q >= sketch.GetMin() && q <= sketch.GetMax());
                REQUIRE(sketch.GetQuantileBounds(p, lowest, highest) && lowest <= q && q <= highest);
            }
            sketch.GetRank(0.3);
            sketch.GetPieces();
        });
    }
    }
    return 0;
}
