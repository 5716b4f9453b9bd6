// Cases, weights, merges and saved states in any order, beside sums in 128-bit integers.
#include "Input.h"

#include "modelcore/modelcore.h"

#include <map>

using namespace MCMath_930;
using MCXML_930::MCStateBytes;

namespace {

using Wide = __int128;

/// Sums of whole weights and values, exact.
struct Sums {
    explicit Sums(int p) : x(static_cast<std::size_t>(p)), xx(x.size() * x.size()) {}

    void Add(const std::vector<double>& row, double weight)
    {
        const auto w = static_cast<Wide>(weight);
        total += w;
        for (std::size_t i = 0; i < x.size(); ++i) {
            x[i] += w * static_cast<Wide>(row[i]);
            for (std::size_t j = 0; j < x.size(); ++j)
                xx[i * x.size() + j] += w * static_cast<Wide>(row[i]) * static_cast<Wide>(row[j]);
        }
    }
    /// W times the element.
    Wide Product(std::size_t i, std::size_t j, bool intercept) const
    {
        return total * xx[i * x.size() + j] - (intercept ? x[i] * x[j] : 0);
    }

    Wide total = 0;
    std::vector<Wide> x, xx;
};

/// Whether the double is the quotient within so many units of 2^-53 of it, and slack.
bool IsQuotient(double value, Wide numerator, Wide denominator, double units, double slack = 0.0)
{
    const long double expected = static_cast<long double>(numerator) / static_cast<long double>(denominator);
    const long double bound = units * 0x1p-53L * std::fabs(expected) + slack;
    return std::fabs(static_cast<long double>(value) - expected) <= bound;
}

/// Whole numbers of up to 20 bits, most of them of few.
double Whole(Input& input)
{
    const double x = static_cast<std::int8_t>(input.Byte());
    return x * (input.Byte() % 8 == 0 ? 4096.0 : 1.0);
}

void Exact(Input& input)
{
    const int p = input.Int(0, 4);
    const bool intercept = input.Bool();
    std::vector<MCExactXProducts> parts(3, MCExactXProducts(p, intercept, true, false));
    MCExactXProducts whole(p, intercept, true, false);
    Sums sums(p);
    while (!input.IsDone()) {
        MCExactXProducts& part = parts[input.Index(parts.size())];
        const int rows = input.Byte() % 8 == 0 ? input.Int(1, 600) : 1;
        std::vector<double> row(static_cast<std::size_t>(p));
        for (double& x : row) x = Whole(input);
        const double weight = input.Int(0, 9);
        switch (input.Byte() % 6) {
        case 0: {
            MCRectMatrix block(rows, p + 1);
            std::vector<double> weighed(row);
            weighed.push_back(weight);
            for (int i = 0; i < rows; ++i) block.SetRow(i, weighed);
            REQUIRE(part.Update(block, 0) && whole.Update(block, 0));
            for (int i = 0; i < rows; ++i) sums.Add(row, weight);
            if (input.Bool()) break;
            REQUIRE(part.Remove(block, 0) && whole.Remove(block, rows));
            for (int i = 0; i < rows; ++i) sums.Add(row, -weight);
            break;
        }
        case 1: {
            MCExactXProducts restored;
            REQUIRE(MCStateBytes::Restore(MCStateBytes::Save(part), restored) == MCStateBytes::Ok);
            REQUIRE(restored.Equal(part));
            part = restored;
            break;
        }
        case 2: {
            // Awkward values that come and go leave nothing, or are refused without a trace.
            std::vector<double> awkward(row);
            for (double& x : awkward) x = input.Real();
            const double w = input.Real();
            const MCExactXProducts before(part);
            if (part.AddCase(awkward, w)) REQUIRE(part.DeleteCase(awkward, w));
            REQUIRE(part.Equal(before));
            break;
        }
        case 3: part.FinishUpdate(); break;
        default: {
            REQUIRE(part.AddCase(row, weight) && whole.AddCase(row, weight));
            sums.Add(row, weight);
        }
        }
    }
    MCExactXProducts merged;
    for (const MCExactXProducts& part : parts) REQUIRE(merged.Merge(part) || p == 0);
    if (p == 0) return;
    REQUIRE(merged.Equal(whole) && merged.GetNCases() == static_cast<double>(sums.total));
    std::vector<double> means;
    MCSymMatrix products;
    REQUIRE(merged.GetMeans(means) == (sums.total != 0));
    REQUIRE(merged.GetXProds(products) == (sums.total != 0 || !intercept));
    merged.Display();
    if (sums.total == 0) return;
    for (std::size_t i = 0; i < means.size(); ++i) {
        REQUIRE(IsQuotient(means[i], sums.x[i], sums.total, 1.01));
        for (std::size_t j = 0; j <= i; ++j)
            REQUIRE(IsQuotient(products.GetElem(static_cast<int>(i), static_cast<int>(j)),
                               sums.Product(i, j, intercept), sums.total, 1.01));
    }
}

/// The accumulators that round: within what their rounding can be.
void Rounded(Input& input)
{
    const int p = input.Int(1, 4);
    const bool intercept = input.Bool();
    MCProvMeans cases(p, intercept);
    MCMeansXProducts blocks(p, intercept, true, false), parts(p, intercept, true, false),
        onePass(p, intercept, true, false);
    MCAccumXProdPair pairs(2, input.Int(1, 9));
    MCContStats field, rest;
    Sums sums(p);
    double largest = 1.0, count = 0.0;
    while (!input.IsDone() && count < 2000.0) {
        std::vector<double> row(static_cast<std::size_t>(p));
        for (double& x : row) largest = std::max(largest, std::fabs(x = Whole(input)));
        const double weight = input.Int(1, 9);
        MCRectMatrix block(1, p + 1);
        for (int j = 0; j < p; ++j) block.SetElem(0, j, row[static_cast<std::size_t>(j)]);
        block.SetElem(0, p, weight);
        cases.Update(row, weight);
        (input.Bool() ? blocks : parts).Update(block, 0);
        onePass.UpdateOnePass(block, 0);
        (input.Bool() ? field : rest).Update(row[0], weight, 1.0);
        pairs.Update(1, row[0], 0, row.back(), weight);
        sums.Add(row, weight);
        count += 1.0;
    }
    if (count == 0.0) return;
    blocks.Merge(parts);
    onePass.FinishUpdateOnePass();
    field.Pool(rest);
    const double total = static_cast<double>(sums.total);
    const double slack = 64.0 * count * 0x1p-52 * total * largest * largest;
    for (const MCMeansXProdData* const data :
         {static_cast<const MCMeansXProdData*>(&cases), static_cast<const MCMeansXProdData*>(&blocks),
          static_cast<const MCMeansXProdData*>(&onePass)}) {
        REQUIRE(data->GetNCases() == total);
        for (std::size_t i = 0; i < sums.x.size(); ++i) {
            REQUIRE(IsQuotient(data->GetMeans()[i], sums.x[i], sums.total, 0.0, slack / total));
            for (std::size_t j = 0; j <= i; ++j)
                REQUIRE(IsQuotient(data->GetXProds().GetElem(static_cast<int>(i), static_cast<int>(j)),
                                   sums.Product(i, j, intercept || data == &onePass), sums.total, 0.0, slack));
        }
    }
    REQUIRE(IsQuotient(field.GetMean(), sums.x[0], sums.total, 0.0, slack / total));
    if (total > 1.0)
        REQUIRE(std::fabs(field.GetVariance() * (total - 1.0) * total -
                          static_cast<double>(sums.Product(0, 0, true))) <= slack * total);
    if (pairs.Finish() && total > 1.0) pairs.GetCorr();
    field.Display();
    pairs.Display();
}

/// Charts: what is accepted is there in the totals, each in one bin; parts merge to the whole.
void Charts(Input& input)
{
    const double minimum = input.Real(), maximum = input.Real();
    const int bins = input.Int(-1, 12);
    MCHistogramData histogram(minimum, maximum, bins, input.Bool(), input.Bool()), half(histogram);
    MCScatterPlotData cells(minimum, maximum, bins, -1.0, 1.0, 3), points;
    MCBarChartData bars({"a", "b", "c"});
    MCClassificationMatrix matrix(3);
    double inHistogram = 0.0, inBars = 0.0, inMatrix = 0.0;
    bool isWhole = true; // sums of whole weights are the same in any order
    while (!input.IsDone()) {
        const double x = input.Real(), weight = input.Byte() % 16 == 0 ? input.Real() : input.Int(0, 9);
        const int i = input.Int(-1, 3), j = input.Int(-1, 3);
        const bool isFinite = std::isfinite(weight) && weight < 1e15;
        if ((input.Bool() ? histogram : half).UpdateData(weight, 1.0, x)) {
            inHistogram += weight;
            isWhole = isWhole && std::floor(weight) == weight;
        }
        if (isFinite && bars.UpdateData(weight, 1.0, i)) {
            inBars += weight;
            REQUIRE(i >= 0 && i < 3);
        }
        if (isFinite && matrix.UpdateData(weight, i, j)) {
            inMatrix += weight;
            REQUIRE(std::min(i, j) >= 0 && std::max(i, j) < 3);
        }
        cells.UpdateData(weight, 1.0, x, input.Real());
        points.UpdateData(weight, 1.0, x, x);
    }
    if (std::isnan(minimum) || std::isnan(maximum)) { // limits that are no numbers are equal to none
        REQUIRE(!histogram.Merge(half));
        return;
    }
    REQUIRE(histogram.Merge(half));
    double sum = 0.0;
    for (const double f : histogram.GetBinFrequencies()) sum += f;
    if (isWhole && inHistogram < 1e15)
        REQUIRE(histogram.GetTotalFrequency() == inHistogram && (sum == inHistogram || bins < 1));
    REQUIRE(bars.GetTotalFrequency() == inBars);
    sum = 0.0;
    for (const double w : matrix.GetMatrix().AsSpan()) sum += w;
    REQUIRE(sum == inMatrix);
    const MCHistogramData copy(histogram);
    REQUIRE(histogram.Merge(copy));
    histogram.GetStdDev();
    histogram.GenerateMCVariateData("x");
    cells.Merge(MCScatterPlotData(cells));
    cells.GetCellData();
    points.Display();
    cells.Display();
    histogram.Display();
    bars.GenerateMCVariateData("b");
}

/// Quantiles beside the sorted cases.
void Sketches(Input& input)
{
    MCQuantileSketch sketch(16), part(16), wide;
    std::map<double, double> cases;
    double total = 0.0;
    const std::string probes = input.Text(8);
    while (!input.IsDone()) {
        const double x = input.Real(), weight = input.Int(0, 5);
        const bool isTaken = wide.Update(x, weight);
        REQUIRE((input.Bool() ? sketch : part).Update(x, weight) == isTaken);
        if (!isTaken) continue;
        cases[x == 0.0 ? 0.0 : x] += weight;
        total += weight;
    }
    REQUIRE(sketch.Merge(part));
    MCQuantileSketch restored;
    REQUIRE(MCStateBytes::Restore(MCStateBytes::Save(sketch), restored) == MCStateBytes::Ok && restored == sketch);
    REQUIRE(sketch.GetTotalWeight() == total && wide.GetTotalWeight() == total && wide.IsExact());
    if (cases.empty()) return;
    REQUIRE(sketch.GetMin() == cases.begin()->first && sketch.GetMax() == cases.rbegin()->first);
    REQUIRE(wide.GetMin() == sketch.GetMin() && wide.GetMax() == sketch.GetMax());
    for (const char probe : probes) {
        const double p = static_cast<unsigned char>(probe) / 256.0;
        double sum = 0.0, expected = cases.rbegin()->first;
        for (const auto& [x, weight] : cases)
            if ((sum += weight) >= p * total) {
                expected = x;
                break;
            }
        double lowest = 0.0, highest = 0.0;
        REQUIRE(wide.GetQuantile(p) == expected);
        REQUIRE(sketch.GetQuantileBounds(p, lowest, highest) && lowest <= expected && expected <= highest);
        const double q = sketch.GetQuantile(p);
        REQUIRE(lowest <= q && q <= highest);
    }
    sketch.Display();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    const Silence silence;
    Input input(bytes, size);
    switch (input.Byte() % 4) {
    case 0: Exact(input); break;
    case 1: Rounded(input); break;
    case 2: Charts(input); break;
    default: Sketches(input);
    }
    return 0;
}
