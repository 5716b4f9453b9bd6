// SymMatrix: the packed symmetric matrix with its sweep, factor, eigenvalues and solutions.
#include "SymMatrix.h"

#include "Common.h"
#include "Docstrings.h"

#include <cmath>

namespace modelcore_python {

namespace {

using MCMath_930::MCBitSet;
using MCMath_930::MCEigenValues;
using MCMath_930::MCRectMatrix;
using MCMath_930::MCSymMatrix;

MCSymMatrix FromSquare(ArrayLike square, bool check)
{
    const Table table(square);
    if (table.NRows() != table.NColumns()) Refuse("a square array is needed");
    if (table.NRows() > static_cast<std::size_t>(MCSymMatrix::kMaxRows)) Refuse("the order is too large");
    const std::size_t n = table.NRows();
    std::vector<double> elements(n * n);
    table.Read(0, n, elements.data(), n);
    for (std::size_t i = 0; check && i < n; ++i)
        for (std::size_t j = 0; j < i; ++j)
            if (elements[i * n + j] != elements[j * n + i])
                Refuse("the array is not symmetric (or has a NaN); check=False takes the lower triangle");
    MCSymMatrix matrix;
    matrix.CopyFromSquare(elements.data(), static_cast<int>(n));
    return matrix;
}

std::vector<int> RowNumbers(nb::handle rows, int n)
{
    std::vector<int> numbers;
    if (rows.is_none()) {
        for (int k = 0; k < n; ++k) numbers.push_back(k);
        return numbers;
    }
    const bool isOne = PyLong_Check(rows.ptr()) != 0;
    for (const double x : isOne ? std::vector<double>{nb::cast<double>(rows)} : ToVector(rows)) {
        const double k = x < 0.0 ? x + n : x;
        if (!(k >= 0.0) || !(k < n) || k != std::floor(k)) throw nb::index_error("a row number is outside the matrix");
        numbers.push_back(static_cast<int>(k));
    }
    return numbers;
}

nb::list BitList(const MCBitSet& bits)
{
    nb::list list;
    for (const int k : bits.Members()) list.append(k);
    return list;
}

} // namespace

SymMatrix::SymMatrix(MCSymMatrix elements) : matrix(std::move(elements)), swept(matrix.GetNRows())
{
    matrix.GetDiagonal(diagonal);
}

nb::list SymMatrix::Sweep(nb::handle rows, double tolerance)
{
    const std::vector<int> numbers = RowNumbers(rows, matrix.GetNRows());
    if (!(tolerance > 0.0)) Refuse("tolerance must be above 0");
    for (const double d : diagonal)
        if (!(d >= 0.0)) Refuse("a diagonal element is negative or a NaN: this matrix cannot be swept");
    nb::list refused;
    const MCBitSet before(swept);
    // Above this order a sweep of all rows takes long enough to let other threads run.
    if (matrix.GetNRows() > 200 && numbers.size() > 1) {
        const Busy guard(busy);
        SymMatrix copy(*this);
        {
            const nb::gil_scoped_release release;
            copy.matrix.SweepOnMany(numbers, tolerance, diagonal, copy.swept, false);
        }
        matrix = std::move(copy.matrix);
        swept = std::move(copy.swept);
    } else {
        matrix.SweepOnMany(numbers, tolerance, diagonal, swept, false);
    }
    for (const int k : numbers)
        if (swept.IsIn(k) == before.IsIn(k)) refused.append(k);
    return refused;
}

Array SymMatrix::ToSquare() const
{
    const auto n = static_cast<std::size_t>(matrix.GetNRows());
    const std::size_t shape[] = {n, n};
    double* elements = nullptr;
    Array array = NewArray(shape, elements);
    matrix.CopyToSquare(elements);
    return array;
}

void RegisterSymMatrix(nb::module_& m)
{
    const auto factored = [](const SymMatrix& self, double tolerance, MCBitSet& kept) {
        MCSymMatrix factor(self.matrix);
        std::vector<double> diagonal;
        if (!factor.GetNCheckDiagonal(1.0, diagonal)) Refuse("a diagonal element is negative or a NaN");
        if (!(tolerance >= 0.0)) Refuse("tolerance must not be negative");
        kept = MCBitSet(factor.GetNRows());
        const nb::gil_scoped_release release;
        factor.LTChol(diagonal, tolerance, kept, false);
        return factor;
    };

    nb::class_<SymMatrix>(m, "SymMatrix", doc::MCSymMatrix)
        .def(
            "__init__",
            [](SymMatrix* self, ArrayLike square, bool check) { new (self) SymMatrix(FromSquare(square, check)); },
            nb::arg("square"), nb::kw_only(), nb::arg("check") = true,
            "The symmetric matrix of a square array. check: raise ValueError when it is not symmetric; else the lower "
            "triangle counts.")
        .def_static(
            "from_packed",
            [](ArrayLike packed) {
                MCSymMatrix matrix;
                if (!matrix.CopyFromPacked(ToVector(packed))) Refuse("n(n+1)/2 elements are needed");
                return SymMatrix(std::move(matrix));
            },
            nb::arg("packed"), "The matrix of its lower triangle, row by row, n(n+1)/2 elements.")
        .def_prop_ro(
            "n", [](const SymMatrix& self) { return self.matrix.GetNRows(); }, "The order.")
        .def_prop_ro(
            "shape",
            [](const SymMatrix& self) { return nb::make_tuple(self.matrix.GetNRows(), self.matrix.GetNRows()); },
            nb::sig("def shape(self) -> tuple[int, int]"), "(n, n)")
        .def("to_numpy", &SymMatrix::ToSquare, "The n x n array.")
        .def(
            "__array__",
            [](const SymMatrix& self, nb::object type, nb::object) {
                nb::object array = self.ToSquare();
                return type.is_none() ? array : nb::object(array.attr("astype")(type));
            },
            nb::arg("dtype") = nb::none(), nb::arg("copy") = nb::none())
        .def_prop_ro(
            "packed", [](const SymMatrix& self) { return ToArray(self.matrix.AsSpan()); },
            "The lower triangle, row by row.")
        .def_prop_ro(
            "diagonal",
            [](const SymMatrix& self) {
                std::vector<double> diagonal;
                self.matrix.GetDiagonal(diagonal);
                return ToArray(diagonal);
            },
            "The n diagonal elements as they are now.")
        .def(
            "__getitem__",
            [](const SymMatrix& self, std::pair<int, int> at) {
                const int n = self.matrix.GetNRows();
                const int i = at.first < 0 ? at.first + n : at.first;
                const int j = at.second < 0 ? at.second + n : at.second;
                if (i < 0 || j < 0 || i >= n || j >= n) throw nb::index_error("outside the matrix");
                return self.matrix.GetElem(i, j);
            },
            nb::sig("def __getitem__(self, at: tuple[int, int], /) -> float"))
        .def("__len__", [](const SymMatrix& self) { return self.matrix.GetNRows(); })
        .def_prop_ro(
            "swept", [](const SymMatrix& self) { return BitList(self.swept); }, nb::sig("def swept(self) -> list[int]"),
            "The rows that are swept, ascending.")
        .def("sweep", &SymMatrix::Sweep, nb::arg("rows") = nb::none(), nb::kw_only(), nb::arg("tolerance") = 1e-12,
             nb::sig("def sweep(self, rows: typing.Any = None, *, tolerance: float = 1e-12) -> list[int]"),
             (std::string("Sweeps in place on the given rows in turn, all of them by default; a row that is swept "
                          "already is swept back. The object keeps the diagonal of before and the set of swept rows. "
                          "Returns the rows that were refused: they are aliased and stay as they were.\n\n") +
              doc::MCSymMatrix_Sweep)
                 .c_str())
        .def(
            "cholesky",
            [factored](const SymMatrix& self, double tolerance) {
                MCBitSet kept;
                const MCSymMatrix factor = factored(self, tolerance, kept);
                const auto n = static_cast<std::size_t>(factor.GetNRows());
                std::vector<double> square(n * n);
                for (std::size_t i = 0; i < n; ++i)
                    for (std::size_t j = 0; j <= i; ++j)
                        square[i * n + j] = factor.GetElem(static_cast<int>(i), static_cast<int>(j));
                return nb::make_tuple(ToArray(square, n, n), BitList(kept));
            },
            nb::arg("tolerance") = 1e-12,
            nb::sig("def cholesky(self, tolerance: float = 1e-12) -> tuple[numpy.typing.NDArray[numpy.float64], "
                    "list[int]]"),
            "L with L*L' = S, lower triangular, n x n, and the rows that were kept. A row whose pivot is at most "
            "tolerance times its diagonal element has a zero diagonal element and column in L.")
        .def(
            "solve",
            [factored](const SymMatrix& self, ArrayLike b, double tolerance) {
                MCBitSet kept;
                const MCSymMatrix factor = factored(self, tolerance, kept);
                const Table right(b);
                const auto n = static_cast<std::size_t>(factor.GetNRows());
                if (right.NRows() != n) Refuse("b: one row for each row of the matrix is needed");
                std::vector<double> solution(n * right.NColumns());
                std::vector<double> x;
                for (std::size_t j = 0; j < right.NColumns(); ++j) {
                    x = right.ReadColumn(j);
                    factor.LTSolve(x, x);
                    for (std::size_t i = 0; i < n; ++i) solution[i * right.NColumns() + j] = x[i];
                }
                const bool isVector =
                    nb::hasattr(b, "ndim") ? nb::cast<int>(b.attr("ndim")) == 1 : right.NColumns() == 1;
                return isVector ? ToArray(solution) : ToArray(solution, n, right.NColumns());
            },
            nb::arg("b"), nb::kw_only(), nb::arg("tolerance") = 1e-12,
            "Solves S*x = b for a positive semi-definite S by its Cholesky factor; x is 0 in redundant rows. b: n or "
            "n x k values.")
        .def(
            "solve_indefinite",
            [](const SymMatrix& self, ArrayLike b, double tolerance) {
                std::vector<double> x = ToVector(b);
                if (x.size() != static_cast<std::size_t>(self.matrix.GetNRows()))
                    Refuse("b: one value for each row of the matrix is needed");
                if (!self.matrix.SolveIndefinite(x, x, tolerance))
                    throw std::domain_error("the matrix is singular to the tolerance");
                return ToArray(x);
            },
            nb::arg("b"), nb::kw_only(), nb::arg("tolerance") = 1e-15,
            "Solves S*x = b by symmetric indefinite elimination (LINPACK's Dspco and Dspsl). Raises ValueError when "
            "the "
            "estimated reciprocal condition is not above tolerance.")
        .def(
            "inverse",
            [](const SymMatrix& self, double tolerance) {
                std::vector<double> diagonal;
                if (!self.matrix.GetNCheckDiagonal(1.0, diagonal)) Refuse("a diagonal element is negative or a NaN");
                MCSymMatrix out;
                {
                    const nb::gil_scoped_release release;
                    self.matrix.CholInverse(diagonal, tolerance, out);
                }
                return SymMatrix(std::move(out));
            },
            nb::arg("tolerance") = 1e-12,
            "The inverse of a positive semi-definite matrix; rows and columns of redundant rows are 0.")
        .def(
            "log_determinant",
            [](const SymMatrix& self, double tolerance) {
                MCSymMatrix factor(self.matrix);
                double logDet = 0.0;
                const int refused = factor.LTChol(tolerance, logDet, true);
                if (refused < 0) Refuse("a diagonal element is negative or a NaN");
                return nb::make_tuple(logDet, factor.GetNRows() - refused);
            },
            nb::arg("tolerance") = 1e-12,
            nb::sig("def log_determinant(self, tolerance: float = 1e-12) -> tuple[float, int]"),
            "The logarithm of the determinant over the rows that are kept, and how many they are: the rank.")
        .def(
            "eigen",
            [](const SymMatrix& self, bool vectors, double tolerance, int iterations) {
                if (!(tolerance > 0.0) || iterations < 1) Refuse("tolerance and iterations must be above 0");
                MCEigenValues problem(self.matrix, tolerance, iterations);
                std::vector<double> values;
                MCRectMatrix columns;
                int found = 0;
                {
                    const nb::gil_scoped_release release;
                    if (vectors)
                        found = problem.Compute(values, columns);
                    else
                        found = problem.Compute(values);
                    if (found == self.matrix.GetNRows()) {
                        if (vectors)
                            problem.GetSorted(values, columns, false);
                        else
                            std::sort(values.begin(), values.end());
                    }
                }
                if (found != self.matrix.GetNRows())
                    throw std::domain_error("an eigenvalue did not converge, or an element is a NaN");
                const auto n = static_cast<std::size_t>(found);
                const nb::object second =
                    vectors ? nb::object(ToArray(columns.AsSpan(), n, n)) : nb::object(nb::none());
                return nb::make_tuple(ToArray(values), second);
            },
            nb::kw_only(), nb::arg("vectors") = true, nb::arg("tolerance") = 2.2e-16, nb::arg("iterations") = 300,
            nb::sig("def eigen(self, *, vectors: bool = True, tolerance: float = 2.2e-16, iterations: int = 300) -> "
                    "tuple[numpy.typing.NDArray[numpy.float64], typing.Any]"),
            "The n eigenvalues, ascending, and the n x n eigenvectors of length 1, a column each, or None. Raises "
            "ValueError when one does not converge.")
        .def(
            "copy", [](const SymMatrix& self) { return SymMatrix(self); }, "An independent copy.")
        .def("__add__",
             [](const SymMatrix& self, const SymMatrix& other) {
                 MCSymMatrix sum(self.matrix);
                 if (!sum.ComputeAXpY(1.0, other.matrix)) Refuse("the two differ in order");
                 return SymMatrix(std::move(sum));
             })
        .def("__matmul__",
             [](const SymMatrix& self, ArrayLike b) {
                 return self.ToSquare().attr("__matmul__")(nb::module_::import_("numpy").attr("asarray")(b));
             })
        .def("__getstate__",
             [](const SymMatrix& self) {
                 return nb::make_tuple(ToArray(self.matrix.AsSpan()), ToArray(self.diagonal), BitList(self.swept));
             })
        .def("__setstate__",
             [](SymMatrix& self, const std::tuple<ArrayLike, ArrayLike, std::vector<int>>& state) {
                 MCSymMatrix matrix;
                 if (!matrix.CopyFromPacked(ToVector(std::get<0>(state)))) Refuse("the state contradicts itself");
                 new (&self) SymMatrix(std::move(matrix));
                 self.diagonal = ToVector(std::get<1>(state));
                 for (const int k : std::get<2>(state)) self.swept.Set(k);
             })
        .def("__repr__",
             [](const SymMatrix& self) { return "SymMatrix(n=" + std::to_string(self.matrix.GetNRows()) + ")"; });
}

} // namespace modelcore_python
