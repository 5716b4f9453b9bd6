// Gains, ROC curves, histograms, bar charts and scatter plots.
#include "StatXml.h"
#include "State.h"

#include <nanobind/stl/pair.h>

#include <algorithm>
#include <cmath>
#include <numeric>

namespace modelcore_python {

namespace {

using namespace MCMath_930;
using MCCommon_930::MCMV;
using MCXML_930::MCStatXMLUtil;

double OrNaN(double x)
{
    return MCMV::IsMissing(x) ? kNaN : x;
}

/// Scores, outcomes and weights of the complete cases.
struct Scored {
    Scored(nb::handle y, nb::handle s, nb::handle weights)
    {
        const std::vector<double> outcomes = ToVector(y);
        const std::vector<double> given = ToVector(s);
        if (outcomes.size() != given.size()) Refuse("outcome and score differ in length");
        const WeightList w = RowWeights(given.size(), nb::none(), weights);
        for (std::size_t i = 0; i < given.size(); ++i) {
            if (std::isnan(outcomes[i]) || std::isnan(given[i]) || !(w[i] > 0.0)) continue;
            outcome.push_back(outcomes[i]);
            score.push_back(given[i]);
            weight.push_back(w[i]);
        }
    }
    void NeedBinary() const
    {
        for (const double x : outcome)
            if (x != 0.0 && x != 1.0) Refuse("the outcome is 0 or 1 in each case");
    }

    std::vector<double> outcome, score, weight;
};

nb::dict Gains(ArrayLike y, ArrayLike score, OptionalArrayLike frequency, int segments, bool isBinary)
{
    const Scored cases(y, score, frequency);
    if (segments < 1) Refuse("at least one segment is needed");
    std::vector<LiftInfo> table;
    if (isBinary) {
        cases.NeedBinary();
        std::vector<std::vector<ClassDataInfo>> categories(1);
        for (std::size_t i = 0; i < cases.score.size(); ++i)
            categories[0].push_back({cases.score[i], cases.outcome[i] == 1.0, cases.weight[i]});
        ClassGainsChart chart;
        chart.SetCountOfSegment(segments);
        const nb::gil_scoped_release release;
        table = chart.CalculateGains(categories)[0];
    } else {
        std::vector<RegDataInfo> data;
        for (std::size_t i = 0; i < cases.score.size(); ++i)
            data.push_back({cases.score[i], cases.outcome[i], cases.weight[i]});
        RegGainsChart chart;
        chart.SetCountOfSegment(segments);
        const nb::gil_scoped_release release;
        table = chart.CalculateGains(data);
    }
    std::vector<double> count, sum, least, mean, gain, lift;
    double total = 0.0;
    for (const LiftInfo& segment : table) total += OrNaN(segment.fdSegmentSum);
    double reached = 0.0;
    for (const LiftInfo& segment : table) {
        count.push_back(segment.fnCumulativeCount);
        sum.push_back(OrNaN(segment.fdSegmentSum));
        least.push_back(OrNaN(segment.fdMinScore));
        mean.push_back(OrNaN(segment.fdMeanScore));
        reached += sum.back();
        gain.push_back(reached / total);
    }
    for (std::size_t i = 0; i < gain.size(); ++i) lift.push_back(gain[i] / (count[i] / count.back()));
    nb::dict result;
    result["cumulative_count"] = ToArray(count);
    result["segment_sum"] = ToArray(sum);
    result["min_score"] = ToArray(least);
    result["mean_score"] = ToArray(mean);
    result["gain"] = ToArray(gain);
    result["lift"] = ToArray(lift);
    return result;
}

nb::dict Roc(ArrayLike y, ArrayLike score, OptionalArrayLike weight)
{
    const Scored cases(y, score, weight);
    cases.NeedBinary();
    std::vector<std::size_t> order(cases.score.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::ranges::stable_sort(order, std::greater<>(), [&](std::size_t i) { return cases.score[i]; });
    std::vector<double> hits{0.0}, alarms{0.0}, thresholds{HUGE_VAL};
    double positive = 0.0;
    double negative = 0.0;
    double area = 0.0; // pairs in the right order, ties half
    for (std::size_t k = 0; k < order.size();) {
        const double threshold = cases.score[order[k]];
        double in = 0.0;
        double out = 0.0;
        for (; k < order.size() && cases.score[order[k]] == threshold; ++k)
            (cases.outcome[order[k]] == 1.0 ? in : out) += cases.weight[order[k]];
        area += out * (positive + 0.5 * in);
        positive += in;
        negative += out;
        hits.push_back(positive);
        alarms.push_back(negative);
        thresholds.push_back(threshold);
    }
    for (double& x : hits) x /= positive; // NaN when there are none
    for (double& x : alarms) x /= negative;
    nb::dict result;
    result["fpr"] = ToArray(alarms);
    result["tpr"] = ToArray(hits);
    result["thresholds"] = ToArray(thresholds);
    result["auc"] = area / (positive * negative);
    return result;
}

/// Calls add(values of a row, frequency, regression weight) for each complete row.
template <class Add>
void Feed(const Table& table, nb::handle frequency, nb::handle weight, Add add)
{
    WeightList frequencies;
    const WeightList weights = RowWeights(table.NRows(), frequency, weight, &frequencies);
    std::vector<double> row(table.NColumns());
    for (std::size_t i = 0; i < table.NRows(); ++i) {
        table.Read(i, 1, row.data(), row.size());
        if (!(weights[i] > 0.0) || std::ranges::any_of(row, [](double x) { return std::isnan(x); })) continue;
        add(row.data(), frequencies[i], weights[i] / frequencies[i]);
    }
}

Table OneColumn(nb::handle x)
{
    Table table(x);
    if (table.NColumns() != 1) Refuse("one column is needed");
    return table;
}

} // namespace

void RegisterCharts(nb::module_& m)
{
    m.def(
        "gains", &Gains, nb::arg("y"), nb::arg("score"), nb::arg("frequency") = nb::none(), nb::kw_only(),
        nb::arg("segments") = 10, nb::arg("binary") = true,
        nb::sig("def gains(y: typing.Any, score: typing.Any, frequency: typing.Any = None, *, segments: int = 10, "
                "binary: bool = True) -> dict[str, numpy.typing.NDArray[numpy.float64]]"),
        "The gains table of a score: cases sorted by score, highest first, in segments of equal size (with more than "
        "50 "
        "cases a segment of the top 1 % comes first). binary: y is 0 or 1 and segment_sum the hits, each counting its "
        "frequency without the fraction; else y is a number and segment_sum the sum of frequency times y. gain is the "
        "share of the total reached, lift the gain divided by the share of cases. Incomplete cases are left out.\n\n"
        "C++: ClassGainsChart and RegGainsChart.");
    m.def("roc", &Roc, nb::arg("y"), nb::arg("score"), nb::arg("weight") = nb::none(),
          nb::sig("def roc(y: typing.Any, score: typing.Any, weight: typing.Any = None) -> dict[str, typing.Any]"),
          "The ROC curve of a score for the outcomes 0 and 1: fpr, tpr and thresholds, one point for each distinct "
          "score, "
          "and the area auc, ties counting half. NaN where there is no positive or no negative case.");

    nb::class_<MCHistogramData> histogram(
        m, "Histogram",
        "Bins of equal length from minimum to maximum; values beyond them fall into the end bins. "
        "Missing values are left out.\n\nC++: MCHistogramData.");
    histogram
        .def(
            "__init__",
            [](MCHistogramData* self, double minimum, double maximum, int bins) {
                if (!(maximum > minimum) || std::isinf(maximum - minimum) || bins < 1)
                    Refuse("minimum < maximum and at least one bin are needed");
                new (self) MCHistogramData(minimum, maximum, bins);
            },
            nb::arg("minimum"), nb::arg("maximum"), nb::arg("bins") = 20)
        .def(
            "update",
            [](nb::object self, ArrayLike values, OptionalArrayLike frequency, OptionalArrayLike weight) {
                MCHistogramData copy(nb::cast<MCHistogramData&>(self));
                Feed(OneColumn(values), frequency, weight,
                     [&](const double* x, double f, double w) { copy.UpdateData(f, w, x[0]); });
                nb::cast<MCHistogramData&>(self) = std::move(copy);
                return self;
            },
            nb::arg("values"), nb::kw_only(), nb::arg("frequency") = nb::none(), nb::arg("weight") = nb::none(),
            nb::sig(
                "def update(self, values: typing.Any, *, frequency: typing.Any = None, weight: typing.Any = None) -> "
                "Histogram"),
            "Adds values.")
        .def(
            "merge",
            [](nb::object self, const MCHistogramData& other) {
                if (!nb::cast<MCHistogramData&>(self).Merge(other)) Refuse("the two differ in their bins");
                return self;
            },
            nb::arg("other"), nb::sig("def merge(self, other: Histogram) -> Histogram"), "Adds another one's cases.")
        .def_prop_ro(
            "frequencies", [](const MCHistogramData& self) { return ToArray(self.GetBinFrequencies()); },
            "The sum of frequencies in each bin.")
        .def_prop_ro(
            "weights", [](const MCHistogramData& self) { return ToArray(self.GetBinWeights()); },
            "The sum of frequency times weight in each bin.")
        .def_prop_ro(
            "bin_means",
            [](const MCHistogramData& self) {
                std::vector<double> means = self.GetBinMeans();
                std::ranges::transform(means, means.begin(), OrNaN);
                return ToArray(means);
            },
            "The mean of each bin; NaN while it has no weight.")
        .def_prop_ro(
            "mean", [](const MCHistogramData& self) { return self.GetTotalWeight() > 0.0 ? self.GetMean() : kNaN; },
            "The mean of all.")
        .def_prop_ro(
            "std", [](const MCHistogramData& self) { return OrNaN(self.GetStdDev()); },
            "The standard deviation of all.")
        .def(
            "to_statxml",
            [](MCHistogramData& self, const std::string& field) {
                return Node(MCStatXMLUtil::CreateElemVarData(self.GenerateMCVariateData(field)));
            },
            nb::arg("field"), "The chart as an element of a StatXML document.");
    DefineState(histogram, "MCHistogramData", [] { return MCHistogramData(0.0, 1.0, 1); });

    nb::class_<MCScatterPlotData> grid(
        m, "ScatterGrid",
        "The points of a scatter plot in the cells of a grid, each with its mean point and "
        "weight; points beyond it fall into the cells at its edge.\n\nC++: MCScatterPlotData.");
    grid.def(
            "__init__",
            [](MCScatterPlotData* self, std::pair<double, double> x, std::pair<double, double> y, int xBins,
               int yBins) {
                if (!(x.second > x.first) || !(y.second > y.first) || xBins < 1 || yBins < 1)
                    Refuse("ranges (low, high) with low < high and at least one bin each way are needed");
                new (self) MCScatterPlotData(x.first, x.second, xBins, y.first, y.second, yBins);
            },
            nb::arg("x_range"), nb::arg("y_range"), nb::arg("x_bins") = 30, nb::arg("y_bins") = 30)
        .def(
            "update",
            [](nb::object self, ArrayLike points, OptionalArrayLike frequency, OptionalArrayLike weight) {
                MCScatterPlotData copy(nb::cast<MCScatterPlotData&>(self));
                const Table table(points);
                if (table.NColumns() != 2) Refuse("two columns, x and y, are needed");
                Feed(table, frequency, weight,
                     [&](const double* p, double f, double w) { copy.UpdateData(f, w, p[0], p[1]); });
                nb::cast<MCScatterPlotData&>(self) = std::move(copy);
                return self;
            },
            nb::arg("points"), nb::kw_only(), nb::arg("frequency") = nb::none(), nb::arg("weight") = nb::none(),
            nb::sig(
                "def update(self, points: typing.Any, *, frequency: typing.Any = None, weight: typing.Any = None) -> "
                "ScatterGrid"),
            "Adds points, n x 2.")
        .def(
            "merge",
            [](nb::object self, const MCScatterPlotData& other) {
                if (!nb::cast<MCScatterPlotData&>(self).Merge(other)) Refuse("the two differ in their grids");
                return self;
            },
            nb::arg("other"), nb::sig("def merge(self, other: ScatterGrid) -> ScatterGrid"),
            "Adds another one's points.")
        .def_prop_ro(
            "frequencies", [](const MCScatterPlotData& self) { return ToArray(self.GetCellFrequencies()); },
            "Of each cell; cell (i, j), i along x, is number i*y_bins + j.")
        .def_prop_ro(
            "mean_x", [](const MCScatterPlotData& self) { return ToArray(self.GetCellMeansX()); },
            "Of each cell; 0 where there is no weight.")
        .def_prop_ro(
            "mean_y", [](const MCScatterPlotData& self) { return ToArray(self.GetCellMeansY()); },
            "Of each cell; 0 where there is no weight.")
        .def(
            "to_statxml",
            [](const MCScatterPlotData& self) { return Node(MCStatXMLUtil::CreateElemVarData(self.GetCellData())); },
            "The chart as an element of a StatXML document.");

    DefineState(grid, "MCScatterPlotData", [] { return MCScatterPlotData(); });

    nb::class_<MCBarChartData> bars(m, "BarChart",
                                    "A bar for each named category: the sums of frequencies and of weights.\n\nC++: "
                                    "MCBarChartData.");
    bars.def(nb::init<std::vector<std::string>>(), nb::arg("categories"))
        .def(
            "update",
            [](nb::object self, ArrayLike codes, OptionalArrayLike frequency, OptionalArrayLike weight) {
                MCBarChartData copy(nb::cast<MCBarChartData&>(self));
                Feed(OneColumn(codes), frequency, weight, [&](const double* x, double f, double w) {
                    if (x[0] != std::floor(x[0]) || std::fabs(x[0]) > 2e9 ||
                        !copy.UpdateData(f, w, static_cast<int>(x[0])))
                        Refuse("a code is the number of a category");
                });
                nb::cast<MCBarChartData&>(self) = std::move(copy);
                return self;
            },
            nb::arg("codes"), nb::kw_only(), nb::arg("frequency") = nb::none(), nb::arg("weight") = nb::none(),
            nb::sig(
                "def update(self, codes: typing.Any, *, frequency: typing.Any = None, weight: typing.Any = None) -> "
                "BarChart"),
            "Adds cases by the number of their category, from 0.")
        .def(
            "merge",
            [](nb::object self, const MCBarChartData& other) {
                if (!nb::cast<MCBarChartData&>(self).Merge(other)) Refuse("the two differ in their categories");
                return self;
            },
            nb::arg("other"), nb::sig("def merge(self, other: BarChart) -> BarChart"), "Adds another one's cases.")
        .def_prop_ro("categories", &MCBarChartData::GetCategories, "Their names.")
        .def_prop_ro(
            "frequencies", [](const MCBarChartData& self) { return ToArray(self.GetFrequencies()); },
            "The sum of frequencies in each.")
        .def_prop_ro(
            "weights", [](const MCBarChartData& self) { return ToArray(self.GetWeights()); },
            "The sum of frequency times weight in each.");
    DefineState(bars, "MCBarChartData", [] { return MCBarChartData({}); });
}

} // namespace modelcore_python
