// Sequences of operations on packed, diagonal, block-diagonal, dense and sparse matrices, beside plain dense arrays.
// Elements are numbers of a few bits, so that every sum is exact and whoever sums in another order gets the same.
#include "Input.h"

#include "modelcore/modelcore.h"

#include <memory>

using namespace MCMath_930;

namespace {

using Row = std::vector<double>;
using Plain = std::vector<Row>;

std::size_t At(int i)
{
    return static_cast<std::size_t>(i);
}

Row AnyRow(Input& input, int n)
{
    Row row(At(n));
    for (double& x : row) x = input.Small();
    return row;
}

Plain Zero(int rows, int cols)
{
    return Plain(At(rows), Row(At(cols)));
}

Plain Times(const Plain& a, const Plain& b, int inner, int cols)
{
    Plain out = Zero(static_cast<int>(a.size()), cols);
    for (std::size_t i = 0; i < out.size(); ++i)
        for (std::size_t j = 0; j < At(cols); ++j)
            for (std::size_t k = 0; k < At(inner); ++k) out[i][j] += a[i][k] * b[k][j];
    return out;
}

Plain Transposed(const Plain& a, int cols)
{
    Plain out = Zero(cols, static_cast<int>(a.size()));
    for (std::size_t i = 0; i < a.size(); ++i)
        for (std::size_t j = 0; j < At(cols); ++j) out[j][i] = a[i][j];
    return out;
}

void Compare(const IMCRectMatrix& matrix, const Plain& model, int cols)
{
    REQUIRE(matrix.GetNRows() == static_cast<int>(model.size()) && matrix.GetNCols() == cols);
    for (int i = 0; i < matrix.GetNRows(); ++i)
        for (int j = 0; j < cols; ++j) REQUIRE(matrix.GetElem(i, j) == model[At(i)][At(j)]);
}

void Compare(const IMCSymMatrix& matrix, const Plain& model)
{
    REQUIRE(matrix.GetNRows() == static_cast<int>(model.size()));
    Row row;
    for (int i = 0; i < matrix.GetNRows(); ++i) {
        REQUIRE(matrix.GetRow(i, row) && row == model[At(i)]);
        for (int j = 0; j < matrix.GetNRows(); ++j) REQUIRE(matrix.GetElem(i, j) == model[At(i)][At(j)]);
    }
}

/// Products of any kind of symmetric matrix.
void Products(const IMCSymMatrix& s, const Plain& model, Input& input)
{
    const int n = s.GetNRows();
    const Row v = AnyRow(input, n), w = AnyRow(input, n);
    Row out;
    REQUIRE(s.ComputeSV(v, out));
    const Plain expected = Times(model, Transposed({v}, n), n, 1);
    for (int i = 0; i < n; ++i) REQUIRE(out[At(i)] == expected[At(i)][0]);
    double vsw = 0.0;
    for (int i = 0; i < n; ++i) vsw += w[At(i)] * out[At(i)];
    REQUIRE(s.ComputeVSW(v, w) == vsw && s.ComputeVSW(w, v) == vsw);
    const int rows = input.Int(0, 4);
    MCRectMatrix r(rows, n), product;
    Plain plain = Zero(rows, n);
    for (int i = 0; i < rows; ++i) {
        plain[At(i)] = AnyRow(input, n);
        r.SetRow(i, plain[At(i)]);
    }
    REQUIRE(s.ComputeRS(r, product));
    const Plain rs = Times(plain, model, n, n);
    Compare(product, rs, n);
    MCSymMatrix square;
    REQUIRE(s.ComputeRSRTrans(r, square));
    Compare(square, Times(rs, Transposed(plain, n), n, rows));
    REQUIRE(s.ComputeSS(s, product));
    Compare(product, Times(model, model, n, n), n);
    REQUIRE(s.ComputeSTransS(square));
    Compare(square, Times(model, model, n, n));
    MCSymMatrix dense;
    REQUIRE(s.FillDenseMatrix(dense));
    Compare(dense, model);
    if (n > 0) REQUIRE(s.ComputeSV(Row(At(n - 1)), out) == false);
}

/// Factors, solves and inverts whatever the matrix is: no crash, no change where that is promised.
void Factor(IMCSymMatrix& s)
{
    Row diagonal;
    s.GetNCheckDiagonal(1.0, diagonal);
    MCSymMatrix inverse;
    s.CholInverse(diagonal, 1e-12, inverse);
    double det[2];
    s.ComputeDeterminant(1e-12, det);
    if (s.LTChol(diagonal, 1e-12, true) < 0) return;
    Row x;
    REQUIRE(s.LTSolve(diagonal, x));
    s.LTLLTrans();
    s.LTDetInverse(det, 11);
    s.LTLTransL();
    s.Display();
}

void Packed(Input& input)
{
    MCSymMatrix s;
    Plain model;
    for (int steps = 0; steps < 200 && !input.IsDone(); ++steps) {
        const int n = s.GetNRows(), size = input.Int(-1, 9), i = input.Int(-1, n), j = n > 0 ? input.Int(0, n - 1) : 0;
        const bool isRow = i >= 0 && i < n;
        switch (input.Byte() % 10) {
        case 0: {
            REQUIRE(s.Resize(size) == (size >= 0));
            if (size < 0) break;
            model.resize(At(size));
            for (Row& row : model) row.resize(At(size));
            break;
        }
        case 1: {
            REQUIRE(s.SetNRows(size) == (size >= 0));
            if (size >= 0) model = Zero(size, size);
            break;
        }
        case 2: {
            const Row row = AnyRow(input, n);
            REQUIRE(s.PutRow(i, row) == isRow);
            for (int k = 0; isRow && k < n; ++k) model[At(i)][At(k)] = model[At(k)][At(i)] = row[At(k)];
            break;
        }
        case 3: {
            const double a = input.Small();
            MCSymMatrix x(n);
            Plain y = Zero(n, n);
            for (int r = 0; r < n; ++r)
                for (int c = 0; c <= r; ++c) x.SetElem(r, c, y[At(r)][At(c)] = y[At(c)][At(r)] = input.Small());
            REQUIRE(s.ComputeAXpY(a, x));
            // Kept to a few bits.
            s = x;
            model = y;
            break;
        }
        case 4: {
            REQUIRE(s.ZeroOutRow(i) == isRow);
            for (int k = 0; isRow && k < n; ++k) model[At(i)][At(k)] = model[At(k)][At(i)] = 0.0;
            break;
        }
        case 5: Products(s, model, input); break;
        case 6: {
            MCSymMatrix copy(s);
            Factor(copy);
            break;
        }
        case 7: {
            std::vector<int> rows;
            for (int k = 0; k < n; ++k)
                if (input.Bool()) rows.push_back(k);
            MCSymMatrix part;
            REQUIRE(s.ExtractSubmatrix(rows, part));
            for (std::size_t a = 0; a < rows.size(); ++a)
                for (std::size_t b = 0; b < rows.size(); ++b)
                    REQUIRE(part.GetElem(static_cast<int>(a), static_cast<int>(b)) == model[At(rows[a])][At(rows[b])]);
            break;
        }
        case 8: {
            Row reference;
            MCBitSet swept(n);
            MCSymMatrix copy(s);
            copy.GetDiagonal(reference);
            for (int k = 0; k < 2 * n; ++k) copy.Sweep(input.Int(-1, n), 1e-8, reference, swept, true);
            break;
        }
        default:
            if (isRow) {
                const double x = input.Small();
                s.SetElem(i, j, x);
                model[At(i)][At(j)] = model[At(j)][At(i)] = x;
            }
        }
    }
    Compare(s, model);
}

void Blocks(Input& input)
{
    MCSymBlockDiagMatrix s;
    Plain model;
    std::vector<int> sizes;
    const auto append = [&](const IMCSymMatrix& block) {
        const std::size_t from = model.size(), to = from + At(block.GetNRows());
        model.resize(to);
        for (Row& row : model) row.resize(to);
        for (std::size_t i = from; i < to; ++i)
            for (std::size_t j = from; j < to; ++j)
                model[i][j] = block.GetElem(static_cast<int>(i - from), static_cast<int>(j - from));
        sizes.push_back(block.GetNRows());
    };
    for (int steps = 0; steps < 60 && !input.IsDone(); ++steps) {
        const int n = s.GetNRows(), i = input.Int(-1, n), j = input.Int(-1, n);
        std::unique_ptr<IMCSymMatrix> block;
        const int order = input.Int(0, 4);
        if (input.Bool()) {
            auto dense = std::make_unique<MCSymMatrix>(order);
            for (double& x : dense->AsSpan()) x = input.Small();
            block = std::move(dense);
        } else {
            block = std::make_unique<MCDiagMatrix>(AnyRow(input, order));
        }
        switch (input.Byte() % 6) {
        case 0:
        case 1: {
            if (n > 30) break;
            REQUIRE(s.AddBlock(*block) == (order > 0));
            if (order > 0) append(*block);
            break;
        }
        case 2: {
            const int b = input.Int(-1, s.GetNBlocks());
            const bool fits = b >= 0 && b < s.GetNBlocks() && order > 0;
            REQUIRE(s.ReplaceBlock(b, *block) == fits);
            if (!fits) break;
            const MCSymBlockDiagMatrix now(s);
            model.clear(), sizes.clear();
            int dense = 0, diagonal = 0;
            for (int k = 0; k < now.GetNBlocks(); ++k)
                if (now.GetIsBlockDiagonal(k))
                    append(MCDiagMatrix(*now.GetDiagonalBlock(diagonal++)));
                else
                    append(*now.GetDenseBlock(dense++));
            REQUIRE(sizes[At(b)] == order);
            break;
        }
        case 3: {
            const double x = input.Small();
            int storage = 0, row = 0, column = 0;
            bool isDiagonal = false;
            const bool isStored = s.FindBlock(i, j, storage, row, column, isDiagonal);
            REQUIRE(s.SetElem(i, j, x) == isStored);
            if (isStored) model[At(i)][At(j)] = model[At(j)][At(i)] = x;
            break;
        }
        case 4: Products(s, model, input); break;
        default: {
            MCSymBlockDiagMatrix copy(s), sum(s);
            Factor(copy);
            REQUIRE(sum.ComputeAXpY(-1.0, s));
            Compare(sum, Zero(n, n));
        }
        }
        REQUIRE(s.GetBlockSizes() == sizes);
    }
    Compare(s, model);
}

void Dense(Input& input)
{
    MCRectMatrix r;
    Plain model;
    int cols = 0;
    for (int steps = 0; steps < 200 && !input.IsDone(); ++steps) {
        const int rows = r.GetNRows(), i = input.Int(-1, 7), j = input.Int(-1, 7);
        const bool isRow = i >= 0 && i < rows, isCol = j >= 0 && j < cols;
        switch (input.Byte() % 10) {
        case 0: {
            REQUIRE(r.Resize(i, j) == (i >= 0 && j >= 0));
            if (i < 0 || j < 0) break;
            model.resize(At(i));
            cols = j;
            for (Row& row : model) row.resize(At(cols));
            break;
        }
        case 1: {
            if (rows > 8) break;
            const Row row = AnyRow(input, cols);
            REQUIRE(r.AddRow(row) == rows + 1);
            model.push_back(row);
            break;
        }
        case 2: {
            if (cols > 8) break;
            const Row col = AnyRow(input, rows);
            REQUIRE(r.AddColumn(col) == cols + 1);
            ++cols;
            for (std::size_t k = 0; k < model.size(); ++k) model[k].push_back(col[k]);
            break;
        }
        case 3: {
            REQUIRE(r.DeleteOneRow(i) == isRow);
            if (isRow) model.erase(model.begin() + i);
            break;
        }
        case 4: {
            REQUIRE(r.DeleteOneCol(j) == isCol);
            if (!isCol) break;
            --cols;
            for (Row& row : model) row.erase(row.begin() + j);
            break;
        }
        case 5: {
            r.Transpose();
            model = Transposed(model, cols);
            cols = rows;
            break;
        }
        case 6: {
            const int inner = input.Int(0, 4);
            MCRectMatrix b(cols, inner), product;
            Plain plain = Zero(cols, inner);
            for (int k = 0; k < cols; ++k) {
                plain[At(k)] = AnyRow(input, inner);
                b.SetRow(k, plain[At(k)]);
            }
            REQUIRE(r.ComputeMatrixProduct(b, product));
            Compare(product, Times(model, plain, cols, inner), inner);
            REQUIRE(r.ComputeProductMatrixTrans(r, product));
            Compare(product, Times(model, Transposed(model, cols), cols, rows), rows);
            break;
        }
        case 7: {
            MCBitSet kept;
            MCRectMatrix out, q;
            const bool byRows = input.Bool();
            const int redundant = r.FindRedundancies(1e-8, kept, byRows);
            REQUIRE(redundant >= 0 && kept.Count() == (byRows ? rows : cols) - redundant);
            r.ExtractFullRank(1e-8, input.Bool(), out);
            r.QRDecompositionH(q, out);
            Row x;
            r.EstimateLinearGI(AnyRow(input, rows), x, 1e-8);
            r.SolveLinearSquare(AnyRow(input, rows), x, 1e-12);
            break;
        }
        case 8: {
            std::vector<int> some;
            for (int k = 0; k < cols; ++k)
                if (input.Bool()) some.push_back(cols - 1 - k);
            MCRectMatrix out;
            REQUIRE(r.ExtractColumns(some, out) && out.GetNCols() == static_cast<int>(some.size()));
            for (int k = 0; k < rows; ++k)
                for (std::size_t c = 0; c < some.size(); ++c)
                    REQUIRE(out.GetElem(k, static_cast<int>(c)) == model[At(k)][At(some[c])]);
            break;
        }
        default: {
            const Row row = AnyRow(input, cols);
            REQUIRE(r.SetRow(i, row) == isRow);
            if (isRow) model[At(i)] = row;
        }
        }
    }
    Compare(r, model, cols);
    r.Display();
}

void Sparse(Input& input)
{
    const int cols = input.Int(1, 9), slots = input.Int(1, cols);
    MCSparseRectMatrix r(input.Int(0, 3), cols, slots);
    Plain model;
    for (int steps = 0; steps < 200 && !input.IsDone(); ++steps) {
        const int rows = r.GetNRows(), i = input.Int(-1, rows), j = input.Int(-1, cols);
        const bool isRow = i >= 0 && i < rows, isCol = j >= 0 && j < cols;
        switch (input.Byte() % 8) {
        case 0: {
            REQUIRE(r.AddRow() == rows + 1);
            model.emplace_back(At(cols));
            break;
        }
        case 1:
        case 2: {
            std::vector<int> indices;
            for (int k = 0; k < cols + 1; ++k)
                if (input.Int(0, 2) != 0) indices.push_back(k);
            const Row values = AnyRow(input, static_cast<int>(indices.size()));
            const MCSparseVector v(indices, values);
            const bool fits = static_cast<int>(indices.size()) == slots && indices.back() < cols;
            Row row(At(cols));
            for (std::size_t k = 0; fits && k < indices.size(); ++k) row[At(indices[k])] = values[k];
            if (input.Bool() && rows < 20) {
                REQUIRE(r.AddRow(v) == (fits ? rows + 1 : -1));
                if (fits) model.push_back(row);
            } else {
                REQUIRE(r.SetRow(i, v) == (fits && isRow));
                if (fits && isRow) model[At(i)] = row;
            }
            break;
        }
        case 3: {
            const double x = input.Small(), before = r.GetElem(i, j);
            const bool isSet = r.SetElem(i, j, x);
            REQUIRE(isRow && isCol ? isSet == (r.GetElem(i, j) == x) : !isSet);
            if (isSet) model[At(i)][At(j)] = x;
            REQUIRE(isSet || r.GetElem(i, j) == before);
            break;
        }
        case 4: {
            Row out;
            const Row v = AnyRow(input, cols), w = AnyRow(input, rows);
            REQUIRE(r.ComputeRV(v, out));
            const Plain rv = Times(model, Transposed({v}, cols), cols, 1);
            for (std::size_t k = 0; k < rv.size(); ++k) REQUIRE(out[k] == rv[k][0]);
            REQUIRE(r.ComputeVR(w, out) && out == Times({w}, model, rows, cols)[0]);
            MCRectMatrix product;
            REQUIRE(r.ComputeProductMatrixTrans(r, product));
            Compare(product, Times(model, Transposed(model, cols), cols, rows), rows);
            break;
        }
        case 5: {
            REQUIRE(r.ShiftRows(i) || i < 0 || !r.IsValidMatrix());
            MCRectMatrix full;
            REQUIRE(r.CreateFullMatrix(full));
            model = Zero(full.GetNRows(), cols);
            for (int k = 0; k < full.GetNRows(); ++k) full.GetRow(k, model[At(k)]);
            break;
        }
        case 6: {
            if (rows == 0) break;
            MCSparseRectMatrix part;
            const int first = input.Int(0, cols - 1), width = input.Int(1, cols - first);
            REQUIRE(r.ExtractSubSparseRectMat(0, rows, first, width, part));
            for (int k = 0; k < rows; ++k)
                for (int c = 0; c < width; ++c) REQUIRE(part.GetElem(k, c) == model[At(k)][At(first + c)]);
            break;
        }
        default: {
            std::vector<std::size_t> starts;
            std::vector<int> rowNumbers;
            Row values;
            r.GetSparseMatrixColumns(starts, rowNumbers, values);
            REQUIRE(starts.size() == At(cols) + 1 && starts.back() == values.size());
            for (int c = 0; c < cols; ++c)
                for (std::size_t k = starts[At(c)]; k < starts[At(c) + 1]; ++k)
                    REQUIRE(values[k] == model[At(rowNumbers[k])][At(c)]);
        }
        }
    }
    Compare(r, model, cols);
    r.Display();
    r.DisplayF();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    const Silence silence;
    Input input(bytes, size);
    switch (input.Byte() % 4) {
    case 0: Packed(input); break;
    case 1: Blocks(input); break;
    case 2: Dense(input); break;
    default: Sparse(input);
    }
    return 0;
}
