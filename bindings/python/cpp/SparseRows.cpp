// SparseRows: the sparse matrix with a fixed number of slots in each row.
#include "Common.h"
#include "SymMatrix.h"

#include <cmath>

namespace modelcore_python {

namespace {

using MCMath_930::MCRectMatrix;
using MCMath_930::MCSparseRectMatrix;
using MCMath_930::MCSparseVector;
using MCMath_930::MCSymMatrix;

int Whole(double x, const char* what)
{
    if (!(x >= 0.0) || x > 2147483647.0 || x != std::floor(x)) Refuse(std::string(what) + ": whole numbers are needed");
    return static_cast<int>(x);
}

MCSparseRectMatrix FromCsr(nb::handle data, nb::handle indices, nb::handle indptr, int columns)
{
    const std::vector<double> values = ToVector(data);
    const std::vector<double> places = ToVector(indices);
    const std::vector<double> starts = ToVector(indptr);
    if (starts.empty() || starts.front() != 0.0 || starts.back() != static_cast<double>(values.size()) ||
        values.size() != places.size())
        Refuse("indptr runs from 0 to the number of values");
    const std::size_t rows = starts.size() - 1;
    std::size_t slots = 1;
    for (std::size_t i = 0; i < rows; ++i) {
        if (!(starts[i + 1] >= starts[i])) Refuse("indptr must not fall");
        slots = std::max(slots, static_cast<std::size_t>(starts[i + 1] - starts[i]));
    }
    MCSparseRectMatrix matrix(static_cast<int>(rows), columns, static_cast<int>(slots));
    if (columns < 1 || (rows > 0 && !matrix.IsValidMatrix())) Refuse("there can be no sparse matrix of that shape");
    std::vector<int> at;
    std::vector<double> with;
    for (std::size_t i = 0; i < rows; ++i) {
        at.clear();
        with.clear();
        for (auto k = static_cast<std::size_t>(starts[i]); k < static_cast<std::size_t>(starts[i + 1]); ++k) {
            at.push_back(Whole(places[k], "indices"));
            with.push_back(values[k]);
            if (at.back() >= columns || (at.size() > 1 && at.back() <= at[at.size() - 2]))
                Refuse("the indices of a row ascend and are below the number of columns");
        }
        matrix.AddRow();
        if (at.empty()) continue;
        const MCSparseVector row(at, with);
        if (at.size() == slots) {
            matrix.SetRow(static_cast<int>(i), row);
            continue;
        }
        // A row with empty slots comes from a matrix of its own, whose pattern it takes over.
        MCSparseRectMatrix one(1, columns, static_cast<int>(at.size()));
        one.AddRow(row);
        matrix.CopyRowToRow(one, 0, static_cast<int>(i));
    }
    return matrix;
}

MCRectMatrix ToRect(nb::handle x)
{
    const Table table(x);
    MCRectMatrix matrix(static_cast<int>(table.NRows()), static_cast<int>(table.NColumns()));
    table.Read(0, table.NRows(), matrix.GetPtr(), table.NColumns());
    return matrix;
}

} // namespace

void RegisterSparseRows(nb::module_& m)
{
    nb::class_<MCSparseRectMatrix>(
        m, "SparseRows",
        "A sparse matrix whose rows have at most n_slots elements: designs of categorical effects. Sums run over the "
        "stored elements in the order of their columns.\n\nC++: MCSparseRectMatrix.")
        .def(
            "__init__",
            [](MCSparseRectMatrix* self, nb::object data, nb::object indices, nb::object indptr, int columns) {
                new (self) MCSparseRectMatrix(FromCsr(data, indices, indptr, columns));
            },
            nb::arg("data"), nb::arg("indices"), nb::arg("indptr"), nb::arg("n_columns"),
            "The matrix of compressed rows: row i has data[indptr[i]:indptr[i+1]] in the columns "
            "indices[indptr[i]:indptr[i+1]], which ascend.")
        .def_static(
            "from_scipy",
            [](nb::object matrix) {
                nb::object csr = matrix.attr("tocsr")();
                csr.attr("sum_duplicates")();
                return FromCsr(csr.attr("data"), csr.attr("indices"), csr.attr("indptr"),
                               nb::cast<int>(csr.attr("shape")[nb::int_(1)]));
            },
            nb::arg("matrix"), "The same matrix as one of scipy.sparse.")
        .def_prop_ro(
            "shape", [](const MCSparseRectMatrix& self) { return nb::make_tuple(self.GetNRows(), self.GetNCols()); },
            nb::sig("def shape(self) -> tuple[int, int]"), "Rows and columns.")
        .def_prop_ro("n_slots", &MCSparseRectMatrix::GetNNZRowElements, "The most elements that a row can store.")
        .def(
            "to_csr",
            [](const MCSparseRectMatrix& self) {
                std::vector<double> data;
                std::vector<std::int64_t> indices, starts{0};
                std::vector<int> at;
                std::vector<double> with;
                for (int i = 0; i < self.GetNRows(); ++i) {
                    self.GetRow(i, at, with);
                    data.insert(data.end(), with.begin(), with.end());
                    indices.insert(indices.end(), at.begin(), at.end());
                    starts.push_back(static_cast<std::int64_t>(data.size()));
                }
                return nb::make_tuple(ToArray(data), ToIntArray(indices), ToIntArray(starts));
            },
            nb::sig("def to_csr(self) -> tuple[numpy.typing.NDArray[numpy.float64], numpy.typing.NDArray[numpy.int64], "
                    "numpy.typing.NDArray[numpy.int64]]"),
            "data, indices and indptr of the compressed rows.")
        .def(
            "to_dense",
            [](const MCSparseRectMatrix& self) {
                MCRectMatrix dense;
                if (!self.CreateFullMatrix(dense)) throw std::bad_alloc();
                return ToArray(dense.AsSpan(), static_cast<std::size_t>(dense.GetNRows()),
                               static_cast<std::size_t>(dense.GetNCols()));
            },
            "The dense array.")
        .def(
            "__matmul__",
            [](const MCSparseRectMatrix& self, ArrayLike b) {
                const Table table(b);
                if (table.NRows() != static_cast<std::size_t>(self.GetNCols()))
                    Refuse("one row for each column of the matrix is needed");
                const bool isVector =
                    nb::hasattr(b, "ndim") ? nb::cast<int>(b.attr("ndim")) == 1 : table.NColumns() == 1;
                if (isVector) {
                    std::vector<double> out;
                    self.ComputeRV(table.ReadColumn(0), out);
                    return ToArray(out);
                }
                MCRectMatrix out;
                if (!self.ComputeMatrixProduct(ToRect(b), out)) Refuse("the shapes do not fit");
                return ToArray(out.AsSpan(), static_cast<std::size_t>(out.GetNRows()),
                               static_cast<std::size_t>(out.GetNCols()));
            },
            nb::arg("b"), "The product with a vector or a dense array.")
        .def(
            "__rmatmul__",
            [](const MCSparseRectMatrix& self, ArrayLike v) {
                std::vector<double> out;
                if (!self.ComputeVR(ToVector(v), out)) Refuse("one value for each row of the matrix is needed");
                return ToArray(out);
            },
            nb::arg("v"), "The row vector v times the matrix.")
        .def(
            "cross_products",
            [](const MCSparseRectMatrix& self, nb::object weights) {
                const auto rows = static_cast<std::size_t>(self.GetNRows());
                const WeightList w = RowWeights(rows, nb::none(), weights);
                MCSymMatrix sums(self.GetNCols());
                if (sums.GetNRows() != self.GetNCols()) Refuse("there are too many columns");
                std::vector<int> at;
                std::vector<double> with;
                for (std::size_t i = 0; i < rows; ++i) {
                    if (std::isnan(w[i])) Refuse("a weight is missing");
                    self.GetRow(static_cast<int>(i), at, with);
                    MCSparseVector(at, with).QuadraticOuterProductIncr(sums, w[i]);
                }
                return SymMatrix(std::move(sums));
            },
            nb::arg("weights") = nb::none(),
            nb::sig("def cross_products(self, weights: typing.Any = None) -> SymMatrix"),
            "The sum of w*x*x' over the rows x, touching only the stored pairs.")
        .def("__getstate__",
             [](nb::object self) {
                 const nb::object csr = self.attr("to_csr")();
                 return nb::make_tuple(csr[nb::int_(0)], csr[nb::int_(1)], csr[nb::int_(2)],
                                       self.attr("shape")[nb::int_(1)]);
             })
        .def("__setstate__",
             [](MCSparseRectMatrix& self, const std::tuple<nb::object, nb::object, nb::object, int>& state) {
                 new (&self) MCSparseRectMatrix(
                     FromCsr(std::get<0>(state), std::get<1>(state), std::get<2>(state), std::get<3>(state)));
             })
        .def("__repr__",
             [](const MCSparseRectMatrix& self) {
                 return "SparseRows(shape=(" + std::to_string(self.GetNRows()) + ", " +
                        std::to_string(self.GetNCols()) + "), n_slots=" + std::to_string(self.GetNNZRowElements()) +
                        ")";
             })
        .attr("__array_ufunc__") = nb::none(); // so that numpy leaves v @ self to __rmatmul__
}

} // namespace modelcore_python
