// CrossProducts: weighted means and cross products of complete rows.
#include "State.h"
#include "SymMatrix.h"

#include <cmath>
#include <cstring>

namespace modelcore_python {

namespace {

using MCMath_930::MCMeansXProducts;
using MCMath_930::MCRectMatrix;
using MCMath_930::MCSymMatrix;

/// MCMeansXProducts fed by rows. Rows wait until a block of fixed size is full, so that the bits of the results do not
/// depend on how the rows were cut into updates.
class CrossProducts {
public:
    static constexpr const char* kClass = "CrossProducts";

    CrossProducts(int variables, bool intercept, int blockRows) : fbIntercept(intercept), fnBlock(blockRows)
    {
        if (variables < 0 || variables > MCSymMatrix::kMaxRows) Refuse("n_variables is out of range");
        if (blockRows < 1) Refuse("block_rows must be at least 1");
        if (variables > 0) SetVariables(variables);
    }

    void Update(const Table& table, nb::handle frequency, nb::handle weight, nb::object progress)
    {
        const Busy busy(fbBusy);
        CheckColumns(table);
        WeightList frequencies;
        const WeightList weights = RowWeights(table.NRows(), frequency, weight, &frequencies);
        if (fNames.empty()) fNames = table.Names();
        if (fSums.GetNVars() == 0) SetVariables(static_cast<int>(table.NColumns()));
        Watch watch(std::move(progress));
        if (table.NRows() <= 4 * static_cast<std::size_t>(fnBlock) && !table.MayRefuse()) {
            Add(table, weights, frequencies, nullptr);
            watch.Stop(table.NRows());
            watch.Finish();
            return;
        }
        // Others may read this object meanwhile, and nothing is to change when the work is stopped: a copy is filled.
        CrossProducts copy(*this);
        {
            const nb::gil_scoped_release release;
            copy.Add(table, weights, frequencies, &watch);
        }
        watch.Finish();
        Swap(copy);
    }

    void Remove(const Table& table, nb::handle frequency, nb::handle weight)
    {
        const Busy busy(fbBusy);
        if (fSums.GetNVars() == 0) Refuse("there is nothing to remove");
        CheckColumns(table);
        WeightList frequencies;
        const WeightList weights = RowWeights(table.NRows(), frequency, weight, &frequencies);
        CrossProducts copy(*this);
        copy.Fold();
        std::vector<double> row(table.NColumns());
        for (std::size_t i = 0; i < table.NRows(); ++i) {
            table.Read(i, 1, row.data(), row.size());
            if (!IsComplete(row.data(), row.size(), weights[i])) {
                --copy.fnMissing;
                continue;
            }
            if (weights[i] == 0.0) continue;
            if (!(copy.fSums.GetNCases() - weights[i] > 0.0)) Refuse("no weight would be left; start anew instead");
            copy.fSums.DeleteCase(row, weights[i]);
            copy.fdFrequencies -= frequencies[i];
            --copy.fnUsed;
        }
        if (copy.fnUsed < 1 || copy.fnMissing < 0) Refuse("more rows would be removed than were added");
        copy.fbBusy = true;
        Swap(copy);
    }

    void Merge(const CrossProducts& other)
    {
        const Busy busy(fbBusy);
        if (other.fSums.GetNVars() == 0) return;
        if (other.fbIntercept != fbIntercept) Refuse("one of the two has an intercept, the other has not");
        if (fSums.GetNVars() == 0) SetVariables(other.fSums.GetNVars());
        if (other.fSums.GetNVars() != fSums.GetNVars()) Refuse("the two differ in their number of variables");
        if (other.fnUsed == 0 || fnUsed == 0) { // nothing to add up: the rows that wait go on waiting
            CrossProducts copy(fnUsed == 0 && fnBlock == other.fnBlock ? other : *this);
            if (fnUsed == 0 && fnBlock != other.fnBlock) {
                CrossProducts theirs(other);
                theirs.Fold();
                copy.fSums = std::move(theirs.fSums);
            }
            copy.fnUsed = fnUsed + other.fnUsed;
            copy.fnMissing = fnMissing + other.fnMissing;
            copy.fdFrequencies = fdFrequencies + other.fdFrequencies;
            copy.fNames = fNames.empty() ? other.fNames : fNames;
            Swap(copy);
            return;
        }
        CrossProducts theirs(other);
        theirs.Fold();
        CrossProducts copy(*this);
        copy.Fold();
        copy.fSums.Merge(theirs.fSums);
        copy.fdFrequencies += theirs.fdFrequencies;
        copy.fnUsed += theirs.fnUsed;
        copy.fnMissing += theirs.fnMissing;
        if (copy.fNames.empty()) copy.fNames = theirs.fNames;
        copy.fbBusy = true;
        Swap(copy);
    }

    /// The sums of all rows, those that wait included; they stay waiting.
    MCMeansXProducts Current() const
    {
        MCMeansXProducts sums(fSums);
        if (fnWaiting > 0) sums.Update(fWaiting, fnWaiting);
        return sums;
    }

    int NVariables() const { return fSums.GetNVars(); }
    bool IsIntercept() const { return fbIntercept; }
    int BlockRows() const { return fnBlock; }
    std::int64_t NRows() const { return fnUsed; }
    std::int64_t NMissing() const { return fnMissing; }
    double SumFrequencies() const { return fdFrequencies; }
    const std::vector<std::string>& Names() const { return fNames; }

    Array Means() const
    {
        const MCMeansXProducts sums = Current();
        std::vector<double> means = sums.GetMeans();
        if (!(sums.GetNCases() > 0.0)) means.assign(means.size(), kNaN);
        return ToArray(means);
    }
    SymMatrix Products() const { return SymMatrix(Current().GetXProds()); }

    Array Covariance(double ddof) const
    {
        const MCMeansXProducts sums = Current();
        return Square(sums, [&, divisor = fdFrequencies - ddof](int i, int j) {
            double product = sums.GetXProds().GetElem(i, j);
            if (!fbIntercept)
                product -= sums.GetNCases() * sums.GetMeans()[static_cast<std::size_t>(i)] *
                           sums.GetMeans()[static_cast<std::size_t>(j)];
            return divisor > 0.0 ? product / divisor : kNaN;
        });
    }

    Array Correlation() const
    {
        if (!fbIntercept) Refuse("correlations need products of deviations: intercept=True");
        const MCMeansXProducts sums = Current();
        return Square(sums, [&](int i, int j) {
            const double a = sums.GetXProds().GetElem(i, i);
            const double b = sums.GetXProds().GetElem(j, j);
            if (!(a > 0.0) || !(b > 0.0)) return kNaN;
            return i == j ? 1.0 : sums.GetXProds().GetElem(i, j) / std::sqrt(a) / std::sqrt(b);
        });
    }

    std::string ToJson() const
    {
        JsonObject json;
        json.Set("class", kClass);
        json.Set("n_variables", NVariables());
        json.Set("names", JsonObject::FromStrings(fNames));
        json.Set("intercept", fbIntercept);
        json.Set("block_rows", fnBlock);
        json.Set("n_rows", static_cast<long long>(fnUsed));
        json.Set("n_missing", static_cast<long long>(fnMissing));
        json.Set("sum_frequencies", fdFrequencies);
        const MCMeansXProducts sums = Current();
        json.Set("sum_weights", sums.GetNCases());
        json.Set("means", JsonObject::FromReals(sums.GetMeans()));
        json.Set("products", JsonObject::FromReals(sums.GetXProds().AsSpan()));
        json.Set("state", StateText(fSums));
        json.Set("waiting", JsonObject::FromReals({fWaiting.GetPtr(), Width() * static_cast<std::size_t>(fnWaiting)}));
        return JsonText(json);
    }

    static CrossProducts FromJson(const std::string& text)
    {
        const JsonObject json = ParseState(text, kClass);
        CrossProducts result(Member<int>(json, "n_variables"), Member<bool>(json, "intercept"),
                             Member<int>(json, "block_rows"));
        result.fNames = Member<std::vector<std::string>>(json, "names");
        result.fnUsed = Member<long long>(json, "n_rows");
        result.fnMissing = Member<long long>(json, "n_missing");
        result.fdFrequencies = Member<double>(json, "sum_frequencies");
        MCMeansXProducts sums;
        ReadState(sums, Member<std::string>(json, "state"));
        if (sums.GetNVars() != result.NVariables() || sums.IsIntercept() != result.fbIntercept)
            Refuse("the state contradicts itself");
        result.fSums = std::move(sums);
        if (!result.SetWaiting(Member<std::vector<double>>(json, "waiting"))) Refuse("the state contradicts itself");
        return result;
    }

    template <class Self, class State>
    static void Fields(Self& self, State& state)
    {
        state.Field(self.fbIntercept);
        state.Field(self.fnBlock);
        state.Field(self.fnUsed);
        state.Field(self.fnMissing);
        state.Field(self.fdFrequencies);
        state.Field(self.fNames);
        state.Field(self.fSums);
        if constexpr (State::kReads) {
            std::vector<double> waiting;
            state.Field(waiting);
            state.Require(self.fnBlock >= 1 && self.fSums.IsIntercept() == self.fbIntercept);
            if (state.Good()) state.Require(self.SetWaiting(waiting));
        } else {
            const double* const rows = self.fWaiting.GetPtr();
            state.Field(std::vector<double>(rows, rows + self.Width() * static_cast<std::size_t>(self.fnWaiting)));
        }
    }

    /// Adds up the rows that wait, so that the state has none of them.
    void Finish()
    {
        const Busy busy(fbBusy);
        Fold();
    }

private:
    /// Takes rows that waited in an object that was saved; false when they cannot be.
    bool SetWaiting(const std::vector<double>& rows)
    {
        if (rows.size() % Width() != 0 || rows.size() >= Width() * static_cast<std::size_t>(fnBlock)) return false;
        if (fSums.GetNVars() == 0) return rows.empty();
        fWaiting = MCRectMatrix(fnBlock, fSums.GetNVars() + 1);
        if (fWaiting.GetNRows() != fnBlock) return false;
        fnWaiting = static_cast<int>(rows.size() / Width());
        std::copy(rows.begin(), rows.end(), fWaiting.GetPtr());
        return true;
    }

    std::size_t Width() const { return static_cast<std::size_t>(fSums.GetNVars()) + 1; }

    void SetVariables(int variables)
    {
        fSums = MCMeansXProducts(variables, fbIntercept, true, false);
        fWaiting = MCRectMatrix(fnBlock, variables + 1);
        if (fWaiting.GetNRows() != fnBlock) throw std::bad_alloc();
    }

    void CheckColumns(const Table& table) const
    {
        if (table.NColumns() < 1) Refuse("the rows have no columns");
        if (table.NColumns() > static_cast<std::size_t>(MCSymMatrix::kMaxRows)) Refuse("there are too many columns");
        if (fSums.GetNVars() == 0 || table.NColumns() == static_cast<std::size_t>(fSums.GetNVars())) return;
        Refuse("the rows have " + std::to_string(table.NColumns()) + " columns, those before had " +
               std::to_string(fSums.GetNVars()));
    }

    static bool IsComplete(const double* row, std::size_t columns, double weight)
    {
        double sum = weight; // a NaN among them comes out, and so may infinities of both signs
        for (std::size_t j = 0; j < columns; ++j) sum += row[j] * 0.0;
        if (!std::isnan(sum)) return true;
        for (std::size_t j = 0; j < columns; ++j)
            if (std::isnan(row[j])) return false;
        return !std::isnan(weight);
    }

    void Fold()
    {
        if (fnWaiting > 0) fSums.Update(fWaiting, fnWaiting);
        fnWaiting = 0;
    }

    void Add(const Table& table, const WeightList& weights, const WeightList& frequencies, Watch* watch)
    {
        const std::size_t columns = table.NColumns();
        const std::size_t width = columns + 1;
        const auto block = static_cast<std::size_t>(fnBlock);
        std::size_t first = 0;
        while (first < table.NRows()) {
            // Straight behind the rows that wait; then those that are to stay move together.
            double* out = fWaiting.GetPtr() + static_cast<std::size_t>(fnWaiting) * width;
            const std::size_t count = std::min(table.NRows() - first, block - static_cast<std::size_t>(fnWaiting));
            table.Read(first, count, out, width);
            const double* row = out;
            for (std::size_t i = first; i < first + count; ++i, row += width) {
                if (!IsComplete(row, columns, weights[i])) {
                    ++fnMissing;
                    continue;
                }
                if (weights[i] == 0.0) continue;
                if (out != row) std::memmove(out, row, columns * sizeof(double));
                out[columns] = weights[i];
                out += width;
                fdFrequencies += frequencies[i];
                ++fnUsed;
                ++fnWaiting;
            }
            first += count;
            if (fnWaiting == fnBlock) Fold();
            if (watch != nullptr && watch->Stop(count)) return;
        }
    }

    template <class Element>
    Array Square(const MCMeansXProducts& sums, Element element) const
    {
        const int n = sums.GetNVars();
        const std::size_t shape[] = {static_cast<std::size_t>(n), static_cast<std::size_t>(n)};
        double* out = nullptr;
        Array array = NewArray(shape, out);
        for (int i = 0; i < n; ++i)
            for (int j = 0; j <= i; ++j)
                out[static_cast<std::size_t>(i) * shape[0] + static_cast<std::size_t>(j)] =
                    out[static_cast<std::size_t>(j) * shape[0] + static_cast<std::size_t>(i)] = element(i, j);
        return array;
    }

    /// Takes the other's state; who is busy stays so.
    void Swap(CrossProducts& other)
    {
        const bool mine = fbBusy;
        std::swap(*this, other);
        fbBusy = mine;
    }

    bool fbBusy = false;
    bool fbIntercept;
    int fnBlock;
    int fnWaiting = 0;
    std::int64_t fnUsed = 0;
    std::int64_t fnMissing = 0;
    double fdFrequencies = 0.0;
    std::vector<std::string> fNames;
    MCMeansXProducts fSums;
    MCRectMatrix fWaiting; // rows of the variables and the weight
};

} // namespace

void RegisterCrossProducts(nb::module_& m)
{
    nb::class_<CrossProducts> type(
        m, "CrossProducts",
        "Weighted means and cross products of the rows of data, added in pieces, taken back, "
        "merged and saved.\n\n"
        "With the intercept the products are those of deviations from the means, "
        "sum of w*(x_i - m_i)*(x_j - m_j); without it sum of w*x_i*x_j. A row weighs its frequency "
        "times its weight. A row with a missing value or weight is left out and counted. Rows are "
        "taken in blocks of block_rows, so the bits of the results are the same however the rows "
        "are cut into updates. Merged parts agree with the whole to rounding.\n\n"
        "C++: MCMeansXProducts, fed with blocks of block_rows rows.");
    type.def(nb::init<int, bool, int>(), nb::kw_only(), nb::arg("n_variables") = 0, nb::arg("intercept") = true,
             nb::arg("block_rows") = 1024,
             "n_variables: 0 takes the number of columns of the first update.\n"
             "intercept: products of deviations from the means.\n"
             "block_rows: rows of a block, which the last bits of the results depend on.")
        .def(
            "update",
            [](nb::object self, ArrayLike rows, OptionalArrayLike frequency, OptionalArrayLike weight,
               nb::object progress) {
                nb::cast<CrossProducts&>(self).Update(Table(rows), frequency, weight, progress);
                return self;
            },
            nb::arg("rows"), nb::kw_only(), nb::arg("frequency") = nb::none(), nb::arg("weight") = nb::none(),
            nb::arg("progress") = nb::none(),
            nb::sig("def update(self, rows: typing.Any, *, frequency: typing.Any = None, weight: typing.Any = None, "
                    "progress: typing.Optional[typing.Callable[[int], object]] = None) -> CrossProducts"),
            "Adds rows, n x n_variables. frequency and weight: n values >= 0; a row counts frequency times in the "
            "number of cases. progress is called with the number of rows done since its last call. Ctrl-C stops it "
            "and leaves everything as it was. Returns the object.")
        .def(
            "remove",
            [](nb::object self, ArrayLike rows, OptionalArrayLike frequency, OptionalArrayLike weight) {
                nb::cast<CrossProducts&>(self).Remove(Table(rows), frequency, weight);
                return self;
            },
            nb::arg("rows"), nb::kw_only(), nb::arg("frequency") = nb::none(), nb::arg("weight") = nb::none(),
            nb::sig("def remove(self, rows: typing.Any, *, frequency: typing.Any = None, weight: typing.Any = None) -> "
                    "CrossProducts"),
            "Takes back rows that were added with these weights: update undone, up to rounding. Digits that an outlier "
            "has pushed out do not come back. Some weight must be left.")
        .def(
            "merge",
            [](nb::object self, const CrossProducts& other) {
                nb::cast<CrossProducts&>(self).Merge(other);
                return self;
            },
            nb::arg("other"), nb::sig("def merge(self, other: CrossProducts) -> CrossProducts"),
            "Adds what another object has accumulated (Chan, Golub & LeVeque 1979). The bits depend on the order of "
            "merging.")
        .def("__add__",
             [](const CrossProducts& self, const CrossProducts& other) {
                 CrossProducts sum(self);
                 sum.Merge(other);
                 return sum;
             })
        .def(
            "copy", [](const CrossProducts& self) { return CrossProducts(self); }, "An independent copy.")
        .def_prop_ro("n_variables", &CrossProducts::NVariables, "The number of variables p.")
        .def_prop_ro("names", &CrossProducts::Names, "Names of the variables, from the first frame that had them.")
        .def_prop_ro("intercept", &CrossProducts::IsIntercept, "Whether products are those of deviations.")
        .def_prop_ro("block_rows", &CrossProducts::BlockRows, "Rows of a block.")
        .def_prop_ro("n_rows", &CrossProducts::NRows, "Complete rows of a weight above 0.")
        .def_prop_ro("n_missing", &CrossProducts::NMissing, "Rows left out for a missing value or weight.")
        .def_prop_ro("sum_frequencies", &CrossProducts::SumFrequencies, "The number of cases: the sum of frequencies.")
        .def_prop_ro(
            "sum_weights", [](const CrossProducts& self) { return self.Current().GetNCases(); },
            "The sum of frequency times weight.")
        .def_prop_ro("means", &CrossProducts::Means, "The p weighted means; NaN while there are no cases.")
        .def(
            "products", [](const CrossProducts& self) { return self.Products(); },
            "The p x p cross products, a SymMatrix.")
        .def("covariance", &CrossProducts::Covariance, nb::arg("ddof") = 1.0,
             "The p x p covariances: products of deviations divided by sum_frequencies - ddof; NaN where that is not "
             "above 0.")
        .def("correlation", &CrossProducts::Correlation,
             "The p x p correlations; NaN where a variable has no variance.")
        .def("to_json", &CrossProducts::ToJson, "Results and state as JSON; from_json restores every bit of it.")
        .def_static("from_json", &CrossProducts::FromJson, nb::arg("text"), "Restores what to_json gave.")
        .def(
            "finish",
            [](nb::object self) {
                nb::cast<CrossProducts&>(self).Finish();
                return self;
            },
            nb::sig("def finish(self) -> CrossProducts"),
            "Adds up the rows that wait for a block to be full: the state is small then, and merging gives the same "
            "bits. Rows that come later begin a new block. Returns the object.")
        .def("__repr__", [](const CrossProducts& self) {
            return "CrossProducts(n_variables=" + std::to_string(self.NVariables()) +
                   ", n_rows=" + std::to_string(self.NRows()) + ", n_missing=" + std::to_string(self.NMissing()) + ")";
        });
    DefineState(type, CrossProducts::kClass, [] { return CrossProducts(0, true, 1); });
}

} // namespace modelcore_python
