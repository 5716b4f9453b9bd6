// ExactProducts: weighted means and cross products without rounding.
#include "State.h"
#include "SymMatrix.h"

#include <algorithm>
#include <cmath>

namespace modelcore_python {

namespace {

using MCMath_930::MCExactXProducts;
using MCMath_930::MCSymMatrix;

class ExactProducts {
public:
    static constexpr const char* kClass = "ExactProducts";

    ExactProducts(int variables, bool intercept)
        : fSums(variables, intercept, false, true), fFrequencies(1, false, false, true)
    {
        if (variables < 0 || variables > MCSymMatrix::kMaxRows) Refuse("n_variables is out of range");
    }

    void Add(const Table& table, nb::handle frequency, nb::handle weight, nb::object progress, bool remove)
    {
        const Busy busy(fbBusy);
        if (table.NColumns() < 1) Refuse("the rows have no columns");
        if (table.NColumns() > static_cast<std::size_t>(MCSymMatrix::kMaxRows)) Refuse("there are too many columns");
        if (NVariables() > 0 && table.NColumns() != static_cast<std::size_t>(NVariables()))
            Refuse("the rows have " + std::to_string(table.NColumns()) + " columns, those before had " +
                   std::to_string(NVariables()));
        WeightList frequencies;
        const WeightList weights = RowWeights(table.NRows(), frequency, weight, &frequencies);
        Watch watch(std::move(progress));
        ExactProducts copy(*this);
        if (NVariables() == 0)
            copy.fSums = MCExactXProducts(static_cast<int>(table.NColumns()), IsIntercept(), false, true);
        bool added = true;
        {
            const nb::gil_scoped_release release;
            added = copy.AddBlocks(table, weights, frequencies, watch, remove);
        }
        watch.Finish();
        if (!added) Refuse("an infinite value cannot be added exactly");
        if (remove && (copy.fnUsed < 0 || copy.fnMissing < 0)) Refuse("more rows would be removed than were added");
        if (copy.fNames.empty()) copy.fNames = table.Names();
        std::swap(*this, copy);
        fbBusy = true;
    }

    void Merge(const ExactProducts& other)
    {
        const Busy busy(fbBusy);
        if (other.IsIntercept() != IsIntercept()) Refuse("one of the two has an intercept, the other has not");
        if (other.NVariables() == 0) return;
        if (NVariables() != 0 && NVariables() != other.NVariables())
            Refuse("the two differ in their number of variables");
        ExactProducts copy(*this);
        copy.fSums.Merge(other.fSums);
        copy.fFrequencies.Merge(other.fFrequencies);
        copy.fnUsed += other.fnUsed;
        copy.fnMissing += other.fnMissing;
        if (copy.fNames.empty()) copy.fNames = other.fNames;
        std::swap(*this, copy);
        fbBusy = true;
    }

    int NVariables() const { return fSums.GetNVars(); }
    bool IsIntercept() const { return fSums.IsIntercept(); }
    std::int64_t NRows() const { return fnUsed; }
    std::int64_t NMissing() const { return fnMissing; }
    double SumFrequencies() const { return fFrequencies.GetNCases(); }
    double SumWeights() const { return fSums.GetNCases(); }
    const std::vector<std::string>& Names() const { return fNames; }

    Array Means() const
    {
        std::vector<double> means(static_cast<std::size_t>(NVariables()), kNaN);
        fSums.GetMeans(means);
        return ToArray(means);
    }
    MCSymMatrix XProds() const
    {
        MCSymMatrix products(NVariables());
        fSums.GetXProds(products);
        return products;
    }
    Array Covariance(double ddof) const
    {
        const double divisor = SumFrequencies() - ddof;
        if (!IsIntercept()) Refuse("covariances need products of deviations: intercept=True");
        const MCSymMatrix products = XProds();
        const auto n = static_cast<std::size_t>(NVariables());
        std::vector<double> square(n * n);
        products.CopyToSquare(square.data());
        for (double& x : square) x = divisor > 0.0 ? x / divisor : kNaN;
        return ToArray(square, n, n);
    }

    template <class Self, class State>
    static void Fields(Self& self, State& state)
    {
        state.Field(self.fnUsed);
        state.Field(self.fnMissing);
        state.Field(self.fNames);
        state.Field(self.fSums);
        state.Field(self.fFrequencies);
        if constexpr (State::kReads) state.Require(self.fFrequencies.GetNVars() == 1);
    }

private:
    bool AddBlocks(const Table& table, const WeightList& weights, const WeightList& frequencies, Watch& watch,
                   bool remove)
    {
        constexpr std::size_t kBlock = 4096;
        const std::size_t columns = table.NColumns();
        std::vector<double> rows(kBlock * columns), across(kBlock * columns), w(kBlock), f(kBlock);
        const std::vector<double> zeros(kBlock, 0.0);
        for (std::size_t first = 0; first < table.NRows(); first += kBlock) {
            const std::size_t count = std::min(kBlock, table.NRows() - first);
            table.Read(first, count, rows.data(), columns);
            std::size_t kept = 0;
            std::int64_t missing = 0;
            for (std::size_t i = 0; i < count; ++i) {
                const double* const row = rows.data() + i * columns;
                const double weight = weights[first + i];
                if (std::isnan(weight) || std::any_of(row, row + columns, [](double x) { return std::isnan(x); })) {
                    ++missing;
                    continue;
                }
                if (weight == 0.0) continue;
                for (std::size_t j = 0; j < columns; ++j) across[j * kBlock + kept] = row[j];
                // Taking away is adding with the weight turned round, just as exactly.
                w[kept] = remove ? -weight : weight;
                f[kept++] = remove ? -frequencies[first + i] : frequencies[first + i];
            }
            if (!fSums.UpdateColumns(across.data(), kBlock, kept, w.data()) ||
                !fFrequencies.UpdateColumns(zeros.data(), kBlock, kept, f.data()))
                return false;
            fnUsed += remove ? -static_cast<std::int64_t>(kept) : static_cast<std::int64_t>(kept);
            fnMissing += remove ? -missing : missing;
            if (watch.Stop(count)) return true;
        }
        fSums.FinishUpdate();
        fFrequencies.FinishUpdate();
        return true;
    }

    bool fbBusy = false;
    std::int64_t fnUsed = 0;
    std::int64_t fnMissing = 0;
    std::vector<std::string> fNames;
    MCExactXProducts fSums;
    MCExactXProducts fFrequencies; // of one variable that is 0: the exact sum of frequencies alone
};

} // namespace

void RegisterExactProducts(nb::module_& m)
{
    nb::class_<ExactProducts> type(
        m, "ExactProducts",
        "Weighted means and cross products as CrossProducts has them, kept without any rounding until they are "
        "read.\n\n"
        "The results depend on the set of rows alone: in any order, cut into any parts and merged in any order they "
        "are "
        "the same to the bit, each the double nearest to the exact value. Rows are taken back as exactly. Infinite "
        "values are refused.\n\n"
        "C++: MCExactXProducts.");
    type.def(nb::init<int, bool>(), nb::kw_only(), nb::arg("n_variables") = 0, nb::arg("intercept") = true,
             "n_variables: 0 takes the number of columns of the first update.\n"
             "intercept: products of deviations from the means.")
        .def(
            "update",
            [](nb::object self, ArrayLike rows, OptionalArrayLike frequency, OptionalArrayLike weight,
               nb::object progress) {
                nb::cast<ExactProducts&>(self).Add(Table(rows), frequency, weight, progress, false);
                return self;
            },
            nb::arg("rows"), nb::kw_only(), nb::arg("frequency") = nb::none(), nb::arg("weight") = nb::none(),
            nb::arg("progress") = nb::none(),
            nb::sig("def update(self, rows: typing.Any, *, frequency: typing.Any = None, weight: typing.Any = None, "
                    "progress: typing.Optional[typing.Callable[[int], object]] = None) -> ExactProducts"),
            "Adds rows, n x n_variables; as CrossProducts.update.")
        .def(
            "remove",
            [](nb::object self, ArrayLike rows, OptionalArrayLike frequency, OptionalArrayLike weight) {
                nb::cast<ExactProducts&>(self).Add(Table(rows), frequency, weight, nb::none(), true);
                return self;
            },
            nb::arg("rows"), nb::kw_only(), nb::arg("frequency") = nb::none(), nb::arg("weight") = nb::none(),
            nb::sig("def remove(self, rows: typing.Any, *, frequency: typing.Any = None, weight: typing.Any = None) -> "
                    "ExactProducts"),
            "Takes back rows that were added with these weights, exactly.")
        .def(
            "merge",
            [](nb::object self, const ExactProducts& other) {
                nb::cast<ExactProducts&>(self).Merge(other);
                return self;
            },
            nb::arg("other"), nb::sig("def merge(self, other: ExactProducts) -> ExactProducts"),
            "Adds what another object has accumulated; in any order.")
        .def("__add__",
             [](const ExactProducts& self, const ExactProducts& other) {
                 ExactProducts sum(self);
                 sum.Merge(other);
                 return sum;
             })
        .def(
            "copy", [](const ExactProducts& self) { return ExactProducts(self); }, "An independent copy.")
        .def(
            "finish", [](nb::object self) { return self; }, nb::sig("def finish(self) -> ExactProducts"),
            "As CrossProducts.finish; nothing waits here.")
        .def_prop_ro("n_variables", &ExactProducts::NVariables, "The number of variables p.")
        .def_prop_ro("names", &ExactProducts::Names, "Names of the variables, from the first frame that had them.")
        .def_prop_ro("intercept", &ExactProducts::IsIntercept, "Whether products are those of deviations.")
        .def_prop_ro("n_rows", &ExactProducts::NRows, "Complete rows of a weight above 0.")
        .def_prop_ro("n_missing", &ExactProducts::NMissing, "Rows left out for a missing value or weight.")
        .def_prop_ro("sum_frequencies", &ExactProducts::SumFrequencies, "The number of cases: the sum of frequencies.")
        .def_prop_ro("sum_weights", &ExactProducts::SumWeights, "The sum of frequency times weight.")
        .def_prop_ro("means", &ExactProducts::Means, "The p weighted means; NaN while there are no cases.")
        .def(
            "products", [](const ExactProducts& self) { return SymMatrix(self.XProds()); },
            "The p x p cross products, a SymMatrix.")
        .def("covariance", &ExactProducts::Covariance, nb::arg("ddof") = 1.0,
             "The p x p covariances: products of deviations divided by sum_frequencies - ddof; NaN where that is not "
             "above 0.")
        .def("__repr__", [](const ExactProducts& self) {
            return "ExactProducts(n_variables=" + std::to_string(self.NVariables()) +
                   ", n_rows=" + std::to_string(self.NRows()) + ", n_missing=" + std::to_string(self.NMissing()) + ")";
        });
    DefineState(type, ExactProducts::kClass, [] { return ExactProducts(0, true); });
}

} // namespace modelcore_python
