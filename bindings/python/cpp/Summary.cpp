// Summary: extremes, means, variances and quantiles of each column.
#include "State.h"

#include <cmath>

namespace modelcore_python {

namespace {

using MCCommon_930::MCMV;
using MCMath_930::MCContStats;
using MCMath_930::MCQuantileSketch;

double OrNaN(double x)
{
    return MCMV::IsMissing(x) ? kNaN : x;
}

class Summary {
public:
    static constexpr const char* kClass = "Summary";

    Summary(bool quantiles, int limit) : fbQuantiles(quantiles), fnLimit(MCQuantileSketch(limit).GetLimit()) {}

    void Update(const Table& table, nb::handle frequency, nb::handle weight, nb::object progress)
    {
        const Busy busy(fbBusy);
        CheckColumns(table);
        WeightList frequencies;
        const WeightList weights = RowWeights(table.NRows(), frequency, weight, &frequencies);
        Watch watch(std::move(progress));
        Summary copy(*this);
        copy.SetColumns(table);
        bool added = false;
        {
            const nb::gil_scoped_release release;
            added = copy.Add(table, weights, frequencies, watch);
        }
        if (!added) Refuse("infinite values, and weights of more than 2^1023 together, have no quantiles");
        watch.Finish();
        std::swap(*this, copy);
        fbBusy = true;
    }

    void Remove(const Table& table, nb::handle frequency, nb::handle weight)
    {
        const Busy busy(fbBusy);
        if (fbQuantiles) Refuse("values cannot be taken back from quantiles: use Summary(quantiles=False)");
        CheckColumns(table);
        if (fvColumns.empty()) Refuse("there is nothing to remove");
        WeightList frequencies;
        const WeightList weights = RowWeights(table.NRows(), frequency, weight, &frequencies);
        Summary copy(*this);
        std::vector<double> row(table.NColumns());
        for (std::size_t i = 0; i < table.NRows(); ++i) {
            table.Read(i, 1, row.data(), row.size());
            --copy.fnRows;
            for (std::size_t j = 0; j < row.size(); ++j)
                if (!copy.fvColumns[j].Remove(row[j], frequencies[i], weights[i]))
                    Refuse("no weight would be left, or more would be removed than was added; start anew instead");
        }
        if (copy.fnRows < 0) Refuse("more rows would be removed than were added");
        std::swap(*this, copy);
        fbBusy = true;
    }

    void Merge(const Summary& other)
    {
        const Busy busy(fbBusy);
        if (other.fvColumns.empty()) return;
        if (other.fbQuantiles != fbQuantiles || other.fnLimit != fnLimit)
            Refuse("the two differ in whether they keep quantiles, or in their limit");
        if (!fvColumns.empty() && fvColumns.size() != other.fvColumns.size())
            Refuse("the two differ in their number of columns");
        Summary copy(*this);
        copy.fvColumns.resize(other.fvColumns.size(), Field(fnLimit));
        for (std::size_t j = 0; j < copy.fvColumns.size(); ++j)
            if (!copy.fvColumns[j].Pool(other.fvColumns[j]))
                Refuse("the weights of both are more than 2^1023 together");
        copy.fnRows += other.fnRows;
        if (copy.fNames.empty()) copy.fNames = other.fNames;
        std::swap(*this, copy);
        fbBusy = true;
    }

    template <class Value>
    Array Each(Value value) const
    {
        std::vector<double> values;
        for (const Field& column : fvColumns) values.push_back(OrNaN(value(column)));
        return ToArray(values);
    }

    Array Quantile(nb::handle p) const
    {
        if (!fbQuantiles) Refuse("quantiles were not kept: use Summary(quantiles=True)");
        const std::vector<double> points = ToVector(p);
        std::vector<double> values;
        for (const double x : points)
            for (const Field& column : fvColumns)
                values.push_back(std::isnan(x) ? kNaN : OrNaN(column.sketch.GetQuantile(x)));
        return ToArray(values, points.size(), fvColumns.size());
    }

    std::string ToJson() const
    {
        JsonObject json;
        json.Set("class", kClass);
        json.Set("names", JsonObject::FromStrings(fNames));
        json.Set("quantiles", fbQuantiles);
        json.Set("limit", fnLimit);
        json.Set("n_rows", static_cast<long long>(fnRows));
        JsonObject columns = JsonObject::NewArray();
        for (const Field& field : fvColumns) {
            JsonObject column;
            column.Set("minimum", field.Minimum());
            column.Set("maximum", field.Maximum());
            column.Set("mean", field.stats.GetMean());
            column.Set("variance", field.stats.GetVariance());
            column.Set("n_missing", static_cast<long long>(field.missing));
            column.Set("knows_minimum", field.knowsMinimum);
            column.Set("knows_maximum", field.knowsMaximum);
            column.Set("state", StateText(field.stats));
            if (fbQuantiles) column.Set("sketch", StateText(field.sketch));
            columns.Append(std::move(column));
        }
        json.Set("columns", std::move(columns));
        return JsonText(json);
    }

    static Summary FromJson(const std::string& text)
    {
        const JsonObject json = ParseState(text, kClass);
        Summary result(Member<bool>(json, "quantiles"), Member<int>(json, "limit"));
        result.fNames = Member<std::vector<std::string>>(json, "names");
        result.fnRows = Member<long long>(json, "n_rows");
        for (const JsonObject& column : json["columns"].Elements()) {
            Field field(result.fnLimit);
            ReadState(field.stats, Member<std::string>(column, "state"));
            if (result.fbQuantiles) ReadState(field.sketch, Member<std::string>(column, "sketch"));
            field.missing = Member<long long>(column, "n_missing");
            field.knowsMinimum = Member<bool>(column, "knows_minimum");
            field.knowsMaximum = Member<bool>(column, "knows_maximum");
            result.fvColumns.push_back(std::move(field));
        }
        return result;
    }

    struct Field {
        explicit Field(int limit) : sketch(limit) {}

        double Minimum() const { return knowsMinimum ? stats.GetExtrema().first : MCMV::Missing(); }
        double Maximum() const { return knowsMaximum ? stats.GetExtrema().second : MCMV::Missing(); }

        /// West's update undone. An extreme that leaves is not known any more: it may have been there twice.
        bool Remove(double x, double frequency, double weight)
        {
            if (std::isnan(x) || std::isnan(weight)) return --missing >= 0;
            if (weight == 0.0) return true;
            auto [minimum, maximum, sumFrequencies, sumWeights, mean, squares] = stats.GetState();
            if (!(sumFrequencies - frequency > 0.0) || !(sumWeights - weight > 0.0)) return false;
            if (knowsMinimum && x <= minimum) knowsMinimum = false;
            if (knowsMaximum && x >= maximum) knowsMaximum = false;
            const double before = sumWeights - weight;
            const double deviation = x - mean;
            const double meanBefore = mean - deviation * (weight / before);
            squares = std::max(0.0, squares - weight * deviation * (x - meanBefore));
            stats.SetState({minimum, maximum, sumFrequencies - frequency, before, meanBefore, squares});
            return true;
        }

        /// Whether the sketch had room for the weights of both.
        bool Pool(const Field& other)
        {
            if (!sketch.Merge(other.sketch)) return false;
            stats.Pool(other.stats);
            missing += other.missing;
            knowsMinimum = knowsMinimum && other.knowsMinimum;
            knowsMaximum = knowsMaximum && other.knowsMaximum;
            return true;
        }

        MCContStats stats;
        MCQuantileSketch sketch;
        std::int64_t missing = 0;
        bool knowsMinimum = true;
        bool knowsMaximum = true;
    };

    template <class Self, class State>
    static void Fields(Self& self, State& state)
    {
        state.Field(self.fbQuantiles);
        state.Field(self.fnLimit);
        state.Field(self.fnRows);
        state.Field(self.fNames);
        auto columns = static_cast<unsigned long long>(self.fvColumns.size());
        state.Field(columns);
        for (unsigned long long j = 0; j < columns; ++j) {
            if constexpr (State::kReads) {
                if (!state.Good()) return;
                self.fvColumns.emplace_back(self.fnLimit);
            }
            auto& field = self.fvColumns[static_cast<std::size_t>(j)];
            state.Field(field.missing);
            state.Field(field.knowsMinimum);
            state.Field(field.knowsMaximum);
            state.Field(field.stats);
            if (self.fbQuantiles) state.Field(field.sketch);
        }
    }

    std::size_t NColumns() const { return fvColumns.size(); }
    std::int64_t NRows() const { return fnRows; }
    const std::vector<std::string>& Names() const { return fNames; }
    IntArray NMissing() const
    {
        std::vector<std::int64_t> values;
        for (const Field& column : fvColumns) values.push_back(column.missing);
        return ToIntArray(values);
    }

private:
    void CheckColumns(const Table& table) const
    {
        if (table.NColumns() < 1) Refuse("the rows have no columns");
        if (!fvColumns.empty() && table.NColumns() != fvColumns.size())
            Refuse("the rows have " + std::to_string(table.NColumns()) + " columns, those before had " +
                   std::to_string(fvColumns.size()));
    }

    void SetColumns(const Table& table)
    {
        if (fvColumns.empty()) fvColumns.assign(table.NColumns(), Field(fnLimit));
        if (fNames.empty()) fNames = table.Names();
    }

    /// False when the sketch has refused a value.
    bool Add(const Table& table, const WeightList& weights, const WeightList& frequencies, Watch& watch)
    {
        constexpr std::size_t kBlock = 1024;
        const std::size_t columns = table.NColumns();
        std::vector<double> rows(kBlock * columns);
        for (std::size_t first = 0; first < table.NRows();) {
            const std::size_t count = std::min(table.NRows() - first, kBlock);
            table.Read(first, count, rows.data(), columns);
            for (std::size_t j = 0; j < columns; ++j) {
                Field& field = fvColumns[j];
                for (std::size_t i = 0; i < count; ++i) {
                    const double x = rows[i * columns + j];
                    const double w = weights[first + i];
                    if (std::isnan(x) || std::isnan(w)) {
                        ++field.missing;
                        continue;
                    }
                    if (w == 0.0) continue;
                    const double f = frequencies[first + i];
                    field.stats.Update(x, f, w == f ? 1.0 : w / f);
                    if (fbQuantiles && !field.sketch.Update(x, w)) return false;
                }
            }
            fnRows += static_cast<std::int64_t>(count);
            first += count;
            if (watch.Stop(count)) break;
        }
        return true;
    }

    bool fbBusy = false;
    bool fbQuantiles;
    int fnLimit;
    std::int64_t fnRows = 0;
    std::vector<std::string> fNames;
    std::vector<Field> fvColumns;
};

} // namespace

void RegisterSummary(nb::module_& m)
{
    nb::class_<Summary> type(
        m, "Summary",
        "Count, extremes, weighted mean and variance of each column in one pass, and quantiles if wanted; updated, "
        "taken back, merged and saved.\n\n"
        "A missing value is counted in n_missing of its column and left out there. The variance divides the weighted "
        "sum "
        "of squares by the sum of frequencies - 1.\n\n"
        "C++: an MCContStats for each column (West 1979; Chan, Golub & LeVeque 1979), and an MCQuantileSketch.");
    type.def(nb::init<bool, int>(), nb::kw_only(), nb::arg("quantiles") = false,
             nb::arg("limit") = static_cast<int>(MCQuantileSketch::kDefaultLimit),
             "quantiles: keep a sketch of each column; infinite values are then refused, and weights of more than "
             "2^1023 together.\n"
             "limit: distinct values up to which quantiles are exact; beyond, they have small errors with certain "
             "bounds.")
        .def(
            "update",
            [](nb::object self, ArrayLike rows, OptionalArrayLike frequency, OptionalArrayLike weight,
               nb::object progress) {
                nb::cast<Summary&>(self).Update(Table(rows), frequency, weight, progress);
                return self;
            },
            nb::arg("rows"), nb::kw_only(), nb::arg("frequency") = nb::none(), nb::arg("weight") = nb::none(),
            nb::arg("progress") = nb::none(),
            nb::sig("def update(self, rows: typing.Any, *, frequency: typing.Any = None, weight: typing.Any = None, "
                    "progress: typing.Optional[typing.Callable[[int], object]] = None) -> Summary"),
            "Adds rows, n x columns; as CrossProducts.update.")
        .def(
            "remove",
            [](nb::object self, ArrayLike rows, OptionalArrayLike frequency, OptionalArrayLike weight) {
                nb::cast<Summary&>(self).Remove(Table(rows), frequency, weight);
                return self;
            },
            nb::arg("rows"), nb::kw_only(), nb::arg("frequency") = nb::none(), nb::arg("weight") = nb::none(),
            nb::sig("def remove(self, rows: typing.Any, *, frequency: typing.Any = None, weight: typing.Any = None) -> "
                    "Summary"),
            "Takes back rows that were added: mean and variance up to rounding. Where a removed value is the minimum "
            "or "
            "the maximum, that is NaN from then on. Not with quantiles.")
        .def(
            "merge",
            [](nb::object self, const Summary& other) {
                nb::cast<Summary&>(self).Merge(other);
                return self;
            },
            nb::arg("other"), nb::sig("def merge(self, other: Summary) -> Summary"),
            "Adds what another object has accumulated.")
        .def("__add__",
             [](const Summary& self, const Summary& other) {
                 Summary sum(self);
                 sum.Merge(other);
                 return sum;
             })
        .def(
            "copy", [](const Summary& self) { return Summary(self); }, "An independent copy.")
        .def_prop_ro("n_columns", &Summary::NColumns, "The number of columns.")
        .def_prop_ro("names", &Summary::Names, "Names of the columns, if a frame had some.")
        .def_prop_ro("n_rows", &Summary::NRows, "All rows given.")
        .def_prop_ro("n_missing", &Summary::NMissing, "Of each column the rows with a missing value or weight.")
        .def_prop_ro(
            "minimum", [](const Summary& s) { return s.Each([](const auto& f) { return f.Minimum(); }); },
            "NaN where there is no value.")
        .def_prop_ro(
            "maximum", [](const Summary& s) { return s.Each([](const auto& f) { return f.Maximum(); }); },
            "NaN where there is no value.")
        .def_prop_ro(
            "mean", [](const Summary& s) { return s.Each([](const auto& f) { return f.stats.GetMean(); }); },
            "Weighted means.")
        .def_prop_ro(
            "variance", [](const Summary& s) { return s.Each([](const auto& f) { return f.stats.GetVariance(); }); },
            "NaN unless the sum of frequencies is above 1.")
        .def_prop_ro(
            "std",
            [](const Summary& s) {
                return s.Each([](const auto& f) { return std::sqrt(OrNaN(f.stats.GetVariance())); });
            },
            "Roots of the variances.")
        .def_prop_ro(
            "sum_frequencies",
            [](const Summary& s) { return s.Each([](const auto& f) { return f.stats.GetSumFreqWeights(); }); },
            "Of each column the sum of frequencies of its values.")
        .def("quantile", &Summary::Quantile, nb::arg("p"), "The quantiles for each p (rows) of each column.")
        .def("to_json", &Summary::ToJson, "Results and state as JSON; from_json restores every bit of it.")
        .def_static("from_json", &Summary::FromJson, nb::arg("text"), "Restores what to_json gave.")
        .def("__repr__", [](const Summary& self) {
            return "Summary(n_columns=" + std::to_string(self.NColumns()) + ", n_rows=" + std::to_string(self.NRows()) +
                   ")";
        });
    DefineState(type, Summary::kClass, [] { return Summary(false, 1); });
}

} // namespace modelcore_python
