// PairwiseProducts: covariances of all pairs of variables, each from the rows that have both values.
#include "State.h"

#include <cmath>

namespace modelcore_python {

namespace {

using MCMath_930::MCAccumXProdPair;
using MCMath_930::MCSymMatrix;

class PairwiseProducts {
public:
    static constexpr const char* kClass = "PairwiseProducts";

    PairwiseProducts(int variables, nb::handle origin, int batch) : fSums(variables, batch), fnBatch(batch)
    {
        if (variables < 0 || variables > MCSymMatrix::kMaxRows) Refuse("n_variables is out of range");
        if (batch < 1) Refuse("batch must be at least 1");
        if (origin.is_none()) return;
        fvOrigin = ToVector(origin);
        for (const double x : fvOrigin)
            if (!std::isfinite(x)) Refuse("origin: finite values are needed");
        if (variables > 0 && fvOrigin.size() != static_cast<std::size_t>(variables))
            Refuse("origin: one value for each variable is needed");
    }

    void Update(const Table& table, nb::handle frequency, nb::handle weight, nb::object progress)
    {
        const Busy busy(fbBusy);
        const std::size_t columns = table.NColumns();
        if (columns < 1) Refuse("the rows have no columns");
        if (columns > static_cast<std::size_t>(MCSymMatrix::kMaxRows)) Refuse("there are too many columns");
        const int before = fSums.GetNVars();
        if ((before > 0 && columns != static_cast<std::size_t>(before)) ||
            (!fvOrigin.empty() && columns != fvOrigin.size()))
            Refuse("the rows have another number of columns than those before or the origin");
        const WeightList weights = RowWeights(table.NRows(), frequency, weight);
        Watch watch(std::move(progress));
        PairwiseProducts copy(*this);
        if (before == 0) copy.fSums = MCAccumXProdPair(static_cast<int>(columns), fnBatch);
        {
            const nb::gil_scoped_release release;
            copy.Add(table, weights, watch);
        }
        watch.Finish();
        if (copy.fNames.empty()) copy.fNames = table.Names();
        std::swap(*this, copy);
        fbBusy = true;
    }

    void Merge(const PairwiseProducts& other)
    {
        const Busy busy(fbBusy);
        if (other.fSums.GetNVars() == 0) return;
        if (fSums.GetNVars() != 0 && fvOrigin != other.fvOrigin) Refuse("the two differ in their origin");
        MCAccumXProdPair sums(fSums);
        if (!sums.Merge(other.fSums)) Refuse("the two differ in their number of variables");
        fSums = std::move(sums);
        fvOrigin = other.fvOrigin;
        fnRows += other.fnRows;
        if (fNames.empty()) fNames = other.fNames;
    }

    MCAccumXProdPair Current() const
    {
        MCAccumXProdPair sums(fSums);
        sums.Finish();
        return sums;
    }

    Array Matrix(bool correlation) const
    {
        const MCAccumXProdPair sums = Current();
        const int n = sums.GetNVars();
        const MCSymMatrix& covariances = sums.GetCovar();
        std::vector<double> square(static_cast<std::size_t>(n) * static_cast<std::size_t>(n));
        covariances.CopyToSquare(square.data());
        if (correlation)
            for (int i = 0; i < n; ++i)
                for (int j = 0; j < n; ++j) {
                    const double a = covariances.GetElem(i, i);
                    const double b = covariances.GetElem(j, j);
                    double& x = square[static_cast<std::size_t>(i * n + j)];
                    x = !(a > 0.0) || !(b > 0.0) ? kNaN : i == j ? 1.0 : x / std::sqrt(a) / std::sqrt(b);
                }
        return ToArray(square, static_cast<std::size_t>(n), static_cast<std::size_t>(n));
    }

    int NVariables() const { return fSums.GetNVars(); }
    std::int64_t NRows() const { return fnRows; }
    const std::vector<std::string>& Names() const { return fNames; }

    std::string ToJson() const
    {
        JsonObject json;
        json.Set("class", kClass);
        json.Set("n_variables", NVariables());
        json.Set("names", JsonObject::FromStrings(fNames));
        json.Set("n_rows", static_cast<long long>(fnRows));
        json.Set("batch", fnBatch);
        json.Set("origin", JsonObject::FromReals(fvOrigin));
        const MCAccumXProdPair sums = Current();
        json.Set("covariances", JsonObject::FromReals(sums.GetCovar().AsSpan()));
        json.Set("state", StateText(fSums));
        return JsonText(json);
    }

    static PairwiseProducts FromJson(const std::string& text)
    {
        const JsonObject json = ParseState(text, kClass);
        PairwiseProducts result(0, nb::none(), Member<int>(json, "batch"));
        ReadState(result.fSums, Member<std::string>(json, "state"));
        result.fvOrigin = Member<std::vector<double>>(json, "origin");
        result.fNames = Member<std::vector<std::string>>(json, "names");
        result.fnRows = Member<long long>(json, "n_rows");
        return result;
    }

    template <class Self, class State>
    static void Fields(Self& self, State& state)
    {
        state.Field(self.fnBatch);
        state.Field(self.fnRows);
        state.Field(self.fvOrigin);
        state.Field(self.fNames);
        state.Field(self.fSums);
        if constexpr (State::kReads)
            state.Require(self.fnBatch >= 1 && (self.fvOrigin.empty() || self.fSums.GetNVars() == 0 ||
                                                self.fvOrigin.size() == static_cast<std::size_t>(self.NVariables())));
    }

private:
    void Add(const Table& table, const WeightList& weights, Watch& watch)
    {
        const std::size_t columns = table.NColumns();
        constexpr std::size_t kBlock = 256;
        std::vector<double> rows(kBlock * columns);
        for (std::size_t first = 0; first < table.NRows();) {
            const std::size_t count = std::min(table.NRows() - first, kBlock);
            table.Read(first, count, rows.data(), columns);
            for (std::size_t r = 0; r < count; ++r) {
                double* const x = rows.data() + r * columns;
                const double w = weights[first + r];
                ++fnRows;
                if (!(w > 0.0)) continue;
                for (std::size_t i = 0; i < fvOrigin.size(); ++i) x[i] -= fvOrigin[i];
                int pair = 0;
                for (std::size_t i = 1; i < columns; ++i) {
                    if (std::isnan(x[i])) {
                        pair += static_cast<int>(i);
                        continue;
                    }
                    for (std::size_t j = 0; j < i; ++j, ++pair)
                        if (!std::isnan(x[j])) fSums.Update(pair, x[i], x[j], w);
                }
            }
            first += count;
            if (watch.Stop(count)) return;
        }
    }

    bool fbBusy = false;
    MCAccumXProdPair fSums;
    int fnBatch;
    std::int64_t fnRows = 0;
    std::vector<double> fvOrigin;
    std::vector<std::string> fNames;
};

} // namespace

void RegisterPairwiseProducts(nb::module_& m)
{
    nb::class_<PairwiseProducts> type(
        m, "PairwiseProducts",
        "Covariances of all pairs of variables, each from the rows that have both values; updated, merged and "
        "saved.\n\n"
        "A missing value leaves out the pairs that it belongs to, a missing weight the row. Sums are raw ones of "
        "x - origin, in batches; an origin near the means keeps the digits that large means would cost. A pair needs a "
        "total weight above 1. There is no remove: raw batches that were folded cannot be taken apart.\n\n"
        "C++: MCAccumXProdPair.");
    type.def(nb::init<int, OptionalArrayLike, int>(), nb::kw_only(), nb::arg("n_variables") = 0,
             nb::arg("origin") = nb::none(), nb::arg("batch") = 100,
             "n_variables: 0 takes the number of columns of the first update.\n"
             "origin: a value for each variable that is subtracted before anything else; none means zeros.\n"
             "batch: cases of a pair that are summed before they are folded into its statistics.")
        .def(
            "update",
            [](nb::object self, ArrayLike rows, OptionalArrayLike frequency, OptionalArrayLike weight,
               nb::object progress) {
                nb::cast<PairwiseProducts&>(self).Update(Table(rows), frequency, weight, progress);
                return self;
            },
            nb::arg("rows"), nb::kw_only(), nb::arg("frequency") = nb::none(), nb::arg("weight") = nb::none(),
            nb::arg("progress") = nb::none(),
            nb::sig("def update(self, rows: typing.Any, *, frequency: typing.Any = None, weight: typing.Any = None, "
                    "progress: typing.Optional[typing.Callable[[int], object]] = None) -> PairwiseProducts"),
            "Adds rows, n x n_variables; as CrossProducts.update.")
        .def(
            "merge",
            [](nb::object self, const PairwiseProducts& other) {
                nb::cast<PairwiseProducts&>(self).Merge(other);
                return self;
            },
            nb::arg("other"), nb::sig("def merge(self, other: PairwiseProducts) -> PairwiseProducts"),
            "Adds what another object of the same origin has accumulated.")
        .def("__add__",
             [](const PairwiseProducts& self, const PairwiseProducts& other) {
                 PairwiseProducts sum(self);
                 sum.Merge(other);
                 return sum;
             })
        .def(
            "copy", [](const PairwiseProducts& self) { return PairwiseProducts(self); }, "An independent copy.")
        .def_prop_ro("n_variables", &PairwiseProducts::NVariables, "The number of variables.")
        .def_prop_ro("names", &PairwiseProducts::Names, "Names of the variables, if a frame had some.")
        .def_prop_ro("n_rows", &PairwiseProducts::NRows, "All rows given.")
        .def(
            "covariance", [](const PairwiseProducts& self) { return self.Matrix(false); },
            "The covariances, divisor sum of weights - 1. The variance of a variable is that of its pair with the most "
            "weight. 0 where a pair has nothing.")
        .def(
            "correlation", [](const PairwiseProducts& self) { return self.Matrix(true); },
            "Each covariance divided by the roots of those variances; NaN where one is not above 0.")
        .def("to_json", &PairwiseProducts::ToJson, "Results and state as JSON; from_json restores every bit of it.")
        .def_static("from_json", &PairwiseProducts::FromJson, nb::arg("text"), "Restores what to_json gave.")
        .def("__repr__", [](const PairwiseProducts& self) {
            return "PairwiseProducts(n_variables=" + std::to_string(self.NVariables()) +
                   ", n_rows=" + std::to_string(self.NRows()) + ")";
        });
    DefineState(type, PairwiseProducts::kClass, [] { return PairwiseProducts(0, nb::none(), 1); });
}

} // namespace modelcore_python
