#include "matrix/Matrices.h"

namespace {

MCRectMatrix FromRows(const std::vector<std::vector<double>>& rows)
{
    MCRectMatrix matrix;
    for (const std::vector<double>& row : rows) matrix.AddRow(row);
    return matrix;
}

/// A list of row numbers or of elements, whichever is wanted.
template <class... T>
auto List(T... values)
{
    struct Values {
        std::vector<int> list;
        operator std::vector<int>() const { return list; }
        operator std::vector<double>() const { return {list.begin(), list.end()}; }
    };
    return Values{{values...}};
}

std::vector<const IMCRectMatrix*> Two(const IMCRectMatrix* first, const IMCRectMatrix* second)
{
    return {first, second};
}

/// Element (i, j) is 10*i + j.
MCRectMatrix Places(int rows, int cols)
{
    MCRectMatrix matrix(rows, cols);
    for (int i = 0; i < rows; ++i)
        for (int j = 0; j < cols; ++j) matrix.SetElem(i, j, 10.0 * i + j);
    return matrix;
}

} // namespace

TEST(MCRectMatrix, StoresRowByRowAndRefusesImpossibleShapes)
{
    MCRectMatrix r = Places(3, 4);
    EXPECT_TRUE(r.AsSpan()[9] == 21.0 && r.GetColPtr(3) == r.GetPtr() + 3 && r.GetRowPtr(2) == r.GetPtr() + 8);
    EXPECT_TRUE(NoneOf({r.GetColPtr(4) != nullptr, r.GetColPtr(-1) != nullptr, r.GetRowPtr(3) != nullptr,
                        r.GetRowPtr(-1) != nullptr, MCRectMatrix(0, 4).GetColPtr(1) != nullptr}));
    constexpr int kMax = std::numeric_limits<int>::max();
    for (const auto& [rows, cols] : {std::pair{-1, 2}, {2, -1}, {kMax, kMax}}) {
        EXPECT_EQ(MCRectMatrix(rows, cols).GetNCols(), 0);
        EXPECT_TRUE(Refuses(r, [rows = rows, cols = cols](MCRectMatrix& m) {
            return NoneOf({m.Resize(rows, cols), m.SetNRowsCols(rows, cols)});
        }));
    }
    EXPECT_TRUE(MCRectMatrix(kMax, 0).AddRow() == -1 && MCRectMatrix(kMax, 0).AddRow({}) == -1 &&
                MCRectMatrix(0, kMax).AddColumn({}) == -1); // one more cannot be counted
}

// Places(2, 3) is {{0, 1, 2}, {10, 11, 12}}.
TEST(MCRectMatrix, ShapeOperations)
{
    struct Case {
        const char* name;
        bool (*change)(MCRectMatrix&);
        std::vector<std::vector<double>> expected;
    };
    static constexpr int kFar = std::numeric_limits<int>::min();
    const Case cases[] = {
        {"zero row", [](MCRectMatrix& m) { return m.AddRow() == 3; }, {{0, 1, 2}, {10, 11, 12}, {0, 0, 0}}},
        {"larger", [](MCRectMatrix& m) { return m.Resize(3, 4); }, {{0, 1, 2, 0}, {10, 11, 12, 0}, {0, 0, 0, 0}}},
        {"smaller", [](MCRectMatrix& m) { return m.Resize(1, 2) && m.Resize(2, 2); }, {{0, 1}, {0, 0}}},
        {"set a row", [](MCRectMatrix& m) { return m.SetRow(1, List(7, 8, 9)); }, {{0, 1, 2}, {7, 8, 9}}},
        {"row", [](MCRectMatrix& m) { return m.AddRow(List(7, 8, 9)) == 3; }, {{0, 1, 2}, {10, 11, 12}, {7, 8, 9}}},
        {"column", [](MCRectMatrix& m) { return m.AddColumn(List(7, 8)) == 4; }, {{0, 1, 2, 7}, {10, 11, 12, 8}}},
        {"set a column", [](MCRectMatrix& m) { return m.SetCol(1, List(7, 8, 9)); }, {{0, 7, 2}, {10, 8, 12}}},
        {"delete row", [](MCRectMatrix& m) { return m.DeleteOneRow(0); }, {{10, 11, 12}}},
        {"delete column", [](MCRectMatrix& m) { return m.DeleteOneCol(1); }, {{0, 2}, {10, 12}}},
        {"rows down", [](MCRectMatrix& m) { return m.ShiftRows(1); }, {{0, 0, 0}, {0, 1, 2}}},
        {"rows up", [](MCRectMatrix& m) { return m.ShiftRows(-1); }, {{10, 11, 12}, {0, 0, 0}}},
        {"rows away", [](MCRectMatrix& m) { return m.ShiftRows(-2); }, {{0, 0, 0}, {0, 0, 0}}},
        {"rows far up", [](MCRectMatrix& m) { return m.ShiftRows(kFar); }, {{0, 0, 0}, {0, 0, 0}}},
        {"columns far left", [](MCRectMatrix& m) { return m.ShiftColumns(kFar); }, {{0, 0, 0}, {0, 0, 0}}},
        {"columns right", [](MCRectMatrix& m) { return m.ShiftColumns(2); }, {{0, 0, 0}, {0, 0, 10}}},
        {"columns left", [](MCRectMatrix& m) { return m.ShiftColumns(-1); }, {{1, 2, 0}, {11, 12, 0}}},
        {"expand",
         [](MCRectMatrix& m) { return m.Expand(List(1, 0), 2, List(3, 0, 1), 4); },
         {{11, 12, 0, 10}, {1, 2, 0, 0}}},
        {"expand by bits",
         [](MCRectMatrix& m) { return m.ExpandRectangular(Bits(3, List(0, 2)), Bits(3, List(0, 1, 2))); },
         {{0, 1, 2}, {0, 0, 0}, {10, 11, 12}}},
        {"expand square",
         [](MCRectMatrix& m) { return m.Resize(2, 2) && m.ExpandSquare(Bits(3, List(1, 2))); },
         {{0, 0, 0}, {0, 0, 1}, {0, 10, 11}}},
        {"transpose", [](MCRectMatrix& m) { return m.Transpose(), true; }, {{0, 10}, {1, 11}, {2, 12}}},
        {"block diagonal of itself twice",
         [](MCRectMatrix& m) { return m.DeleteOneRow(0) && m.CreateBlockDiagonal(Two(&m, &m)); },
         {{10, 11, 12, 0, 0, 0}, {0, 0, 0, 10, 11, 12}}},
        {"row to row", [](MCRectMatrix& m) { return m.CopyRowToRow(m, 0, 1); }, {{0, 1, 2}, {0, 1, 2}}},
        {"column to column", [](MCRectMatrix& m) { return m.CopyColToCol(m, 0, 2); }, {{0, 1, 0}, {10, 11, 10}}},
        {"column to row",
         [](MCRectMatrix& m) { return m.CopyColToRow(Places(3, 2), 1, 0); },
         {{1, 11, 21}, {10, 11, 12}}},
        {"overlapping rows",
         [](MCRectMatrix& m) { return m.AddRow() == 3 && m.CopyRows(m, 0, 2, 1); },
         {{0, 1, 2}, {0, 1, 2}, {10, 11, 12}}},
        {"overlapping columns", [](MCRectMatrix& m) { return m.CopyColumns(m, 0, 2, 1); }, {{0, 0, 1}, {10, 10, 11}}},
        {"extract rows",
         [](MCRectMatrix& m) { return m.ExtractRows(List(1, 0, 1), m); },
         {{10, 11, 12}, {0, 1, 2}, {10, 11, 12}}},
        {"extract columns", [](MCRectMatrix& m) { return m.ExtractColumns(List(2, 0), m); }, {{2, 0}, {12, 10}}},
        {"scale a column", [](MCRectMatrix& m) { return m.ColScale(1, -2.0); }, {{0, -2, 2}, {10, -22, 12}}},
        {"clean a column", [](MCRectMatrix& m) { return m.ColClean(2, 0.5) == 1; }, {{0, 1, 0}, {10, 11, 12}}},
        {"add to a column", [](MCRectMatrix& m) { return m.AddToColumn(0, 5.0); }, {{5, 1, 2}, {15, 11, 12}}},
        {"add to the diagonal", [](MCRectMatrix& m) { return m.AddToDiagonal(5.0), true; }, {{5, 1, 2}, {10, 16, 12}}},
        {"zero a column", [](MCRectMatrix& m) { return m.ZeroOutCol(1); }, {{0, 0, 2}, {10, 0, 12}}},
        {"zero a pivot row", [](MCRectMatrix& m) { return m.ZeroOutPivotRow(1, 2); }, {{0, 1, 2}, {0, 0, 12}}},
        {"zero part of a row", [](MCRectMatrix& m) { return m.ZeroOutRowPart(1, 0, 2); }, {{0, 1, 2}, {0, 0, 12}}},
        {"add a multiple of itself", [](MCRectMatrix& m) { return m.ComputeAXpY(2.0, m); }, {{0, 3, 6}, {30, 33, 36}}},
        {"outer product",
         [](MCRectMatrix& m) { return m.ComputeVecProduct(List(1, 2), List(3, 4, 5)); },
         {{3, 4, 5}, {6, 8, 10}}},
        {"subtract a diagonal",
         [](MCRectMatrix& m) { return m.DeleteOneCol(2) && m.SubtractSymMatrix(MCDiagMatrix(List(1, 2))); },
         {{-1, 1}, {10, 9}}},
        {"from columns",
         [](MCRectMatrix& m) { return m.CopyFromColMajor(std::vector<double>(List(1, 2, 3, 4)).data(), 1, 4); },
         {{1, 2, 3, 4}}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        MCRectMatrix m = Places(2, 3);
        EXPECT_TRUE(c.change(m));
        EXPECT_TRUE(SameMatrix(m, FromRows(c.expected)));
        EXPECT_TRUE(m.IsValidMatrix());
    }
    double columns[6];
    Places(2, 3).CopyToColMajor(columns);
    EXPECT_EQ(std::vector<double>(columns, columns + 6), (std::vector<double>{0, 10, 1, 11, 2, 12}));
    EXPECT_TRUE(SameMatrix(MCRectMatrix(3, 2, columns), FromRows({{0, 10}, {1, 11}, {2, 12}})));
    EXPECT_EQ(MCRectMatrix(2, 2, columns).GetNRows(), 0);
}

TEST(MCRectMatrix, WrongArgumentsAreRefused)
{
    bool (*const calls[])(MCRectMatrix&) = {
        [](MCRectMatrix& m) { return m.AddRow(List(1, 2)) >= 0 || m.AddColumn(List(1, 2, 3)) >= 0; },
        [](MCRectMatrix& m) { return m.SetRow(1, List(1, 2)) || m.SetRow(2, List(1, 2, 3)); },
        [](MCRectMatrix& m) { return m.DeleteOneRow(2) || m.DeleteOneCol(-1) || m.SetCol(3, List(1, 2)); },
        [](MCRectMatrix& m) {
            return m.Expand(List(0, 2), 2, List(0, 1, 2), 3) || m.Expand(List(0, 0), 2, List(0, 1, 2), 3);
        },
        [](MCRectMatrix& m) { return m.ExpandSquare(Bits(3, List(0, 1))) || m.CreateBlockDiagonal(Two(&m, nullptr)); },
        [](MCRectMatrix& m) { return m.CopyRows(m, 1, 2, 0) || m.CopyRows(m, 0, 2, 1) || m.CopyRows(m, 0, -1, 0); },
        [](MCRectMatrix& m) { return m.CopyColumns(m, 2, 2, 0) || m.CopyColToRow(m, 0, 0) || m.CopyRowToRow(m, 0, 2); },
        [](MCRectMatrix& m) { return m.ExtractRows(List(0, 2), m) || m.ExtractColumns(List(3), m); },
        [](MCRectMatrix& m) { return m.ColScale(3, 1.0) || m.ColClean(0, -1.0) >= 0 || m.AddToColumn(-1, 1.0); },
        [](MCRectMatrix& m) { return m.ZeroOutRowPart(0, 2, 2) || m.ZeroOutPivotRow(0, 3) || m.ZeroOutCol(3); },
        [](MCRectMatrix& m) { return m.ComputeAXpY(1.0, Places(3, 2)) || m.SubtractSymMatrix(MCSymMatrix(2)); },
        [](MCRectMatrix& m) { return m.ComputeMatrixProduct(m, m) || m.ComputeProductMatrixTrans(Places(3, 2), m); },
        [](MCRectMatrix& m) {
            return m.ComputeR1TransSR2(MCSymMatrix(3), m, m) || m.ComputeBlockDiagSR(MCSymMatrix(3), m);
        },
    };
    MCRectMatrix m = Places(2, 3);
    for (const auto call : calls) EXPECT_TRUE(Refuses(m, call));
    std::vector<double> v{1, 2};
    EXPECT_TRUE(NoneOf({m.ComputeRV(v, v), m.ComputeRDiagV({1, 2, 3}, v, v), m.ComputeVR({1}, v),
                        m.CopyColToVec(0, 1, v), m.IncrVecByColumn(3, 1.0, v), m.GetRow(2, v), m.GetCol(3, v)}));
    EXPECT_EQ(v, (std::vector<double>{1, 2}));
    for (const double refused :
         {m.ColNorm(3), m.RowNorm(-1), m.DotProductCol(0, {1}), m.DotProductColCol(0, m, 3), m.DotProductRows(0, 2),
          m.DotProductRowCol(0, m, 0), m.DotProductRowRow(0, Places(2, 2), 0), m.ComputeVRW(v, v),
          m.TraceOfProductSqS(MCSymMatrix(2)), m.TraceOfProductSubMatSym(1, 0, MCSymMatrix(2))})
        EXPECT_EQ(refused, kMissing);
}

TEST(MCRectMatrix, ProductsEqualTripleLoops)
{
    TestRandom random(401);
    for (const int rows : {1, 2, 9, 40})
        for (const int cols : {1, 3, 8, 70}) {
            SCOPED_TRACE(::testing::Message() << rows << " x " << cols);
            const MCRectMatrix r = RandomRect(random, rows, cols), r2 = RandomRect(random, rows, 4);
            const MCRectMatrix b = RandomRect(random, cols, 5), c = RandomRect(random, 6, cols);
            const MCRectMatrix sq = RandomRect(random, rows, rows);
            const int blocks = rows % 2 == 0 ? 2 : 1, last = cols - 1;
            const MCSymMatrix s = RandomSym(random, rows), small = RandomSym(random, rows / blocks);
            const std::vector<double> v = RandomVec(random, rows), w = RandomVec(random, cols),
                                      d = RandomVec(random, cols), two{2.0}, minusThree{-3.0};
            const std::vector<int> firstIndex{0}, lastIndex{last};
            std::vector<double> sum(v);
            MCRectMatrix wide(r);
            ASSERT_TRUE(r.IncrVecByColumn(last, 2.0, sum) && wide.Resize(rows + 1, cols + rows));

            const Naive R = ToNaive(r), S = ToNaive(s), V = ToNaive(v), W = ToNaive(w), C = ToNaive(c);
            Naive blockS{rows, rows}; // one or two blocks along the diagonal
            for (int i = 0; i < rows; ++i)
                for (int j = 0; j < rows; ++j)
                    if (const int n = small.GetNRows(); i / n == j / n) blockS.At(i, j) = small.GetElem(i % n, j % n);
            ExpectNear(
                {{"RV", Vec([&](auto& out) { return r.ComputeRV(w, out); }), R * W},
                 {"VR", Vec([&](auto& out) { return r.ComputeVR(v, out); }), R.T() * V},
                 {"VRW", Scalar(r.ComputeVRW(v, w)), V.T() * R * W},
                 {"RDiagV", Vec([&](auto& out) { return r.ComputeRDiagV(d, w, out); }), R * DiagonalOf(d) * W},
                 {"DiagR", Rect([&](auto& out) { return r.ComputeDiagR(v, out); }), DiagonalOf(v) * R},
                 {"product", Rect([&](auto& out) { return r.ComputeMatrixProduct(b, out); }), R * ToNaive(b)},
                 {"product into old values",
                  Rect([&](auto& out) { return r.ComputeMatrixProduct(b, out) && r.ComputeMatrixProduct(b, out); }),
                  R * ToNaive(b)},
                 {"product into its left", Rect([&](auto& out) { return (out = sq).ComputeMatrixProduct(sq, out); }),
                  ToNaive(sq) * ToNaive(sq)},
                 {"product into its right", Rect([&](auto& out) { return sq.ComputeMatrixProduct(out = sq, out); }),
                  ToNaive(sq) * ToNaive(sq)},
                 {"with transpose", Rect([&](auto& out) { return r.ComputeProductMatrixTrans(c, out); }), R * C.T()},
                 {"R1TransSR2", Rect([&](auto& out) { return r.ComputeR1TransSR2(s, r2, out); }),
                  R.T() * S * ToNaive(r2)},
                 {"BlockDiagSR", Rect([&](auto& out) { return r.ComputeBlockDiagSR(small, out); }), blockS * R},
                 {"SpVRSpW", Scalar(r.ComputeSpVRSpW({firstIndex, two}, {lastIndex, minusThree})),
                  Scalar(-6.0L * R.At(0, last))},
                 {"column by vector", Scalar(r.DotProductCol(last, v)), Scalar((V.T() * R).At(0, last))},
                 {"columns", Scalar(r.DotProductColCol(0, r2, 3)), Scalar((R.T() * ToNaive(r2)).At(0, 3))},
                 {"rows", Scalar(r.DotProductRows(0, rows - 1)), Scalar((R * R.T()).At(0, rows - 1))},
                 {"row by column", Scalar(r.DotProductRowCol(0, b, 4)), Scalar((R * ToNaive(b)).At(0, 4))},
                 {"row by row", Scalar(r.DotProductRowRow(0, c, 5)), Scalar((R * C.T()).At(0, 5))},
                 {"TraceOfProductSqS", Scalar(sq.TraceOfProductSqS(s)), Scalar((ToNaive(sq) * S).Trace())},
                 {"TraceOfProductSubMatSym", Scalar(wide.TraceOfProductSubMatSym(1, cols, s)), Scalar(0)},
                 {"ColNorm", Scalar(r.ColNorm(0) * r.ColNorm(0)), Scalar((R.T() * R).At(0, 0))},
                 {"RowNorm", Scalar(r.RowNorm(0) * r.RowNorm(0)), Scalar((R * R.T()).At(0, 0))},
                 {"column added", Scalar(sum[0]), Scalar(v[0] + 2.0L * R.At(0, last))}});
        }
}

TEST(MCRectMatrix, RowsAndColumnsAreClassified)
{
    const MCRectMatrix m = FromRows({{0, 0, 0, 1}, {0, 5, 0, 1}, {0, 5, 2, 1}, {0, 0, 0, 0}});
    EXPECT_TRUE(m.IsRowZero(3) && !m.IsRowZero(0) && !m.IsRowZero(4));
    EXPECT_TRUE(m.IsColZero(0) && !m.IsColZero(2) && !m.IsColZero(4));
    EXPECT_TRUE(m.IsRowZeroButOne(0) && !m.IsRowZeroButOne(1) && !m.IsRowZeroButOne(3) && !m.IsRowZeroButOne(-1));
    EXPECT_EQ(m.FindFirstNonZeroInRow(2), 1);
    EXPECT_EQ(m.FindFirstNonZeroInRow(3), -1);
    MCRectMatrix top;
    ASSERT_TRUE(m.ExtractRows({0, 1, 2}, top));
    EXPECT_TRUE(top.CheckForOnes(3) && !m.CheckForOnes(3) && !top.CheckForOnes(4));
    const DisplayCapture capture;
    m.DisplayF();
    EXPECT_TRUE(capture.Text().starts_with("MCRectMatrix display start\nNumber of rows: 4\nNumber of columns: 4\n"));
}
