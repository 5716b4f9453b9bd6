#include "matrix/Matrices.h"

namespace MCMath_930 {

// Here Refuses finds it.
static ::testing::AssertionResult SameMatrix(const MCSparseRectMatrix& actual, const MCSparseRectMatrix& expected)
{
    if (actual.GetNRows() != expected.GetNRows() || actual.GetNCols() != expected.GetNCols() ||
        actual.GetRowCapacity() != expected.GetRowCapacity() ||
        actual.NZColIndicesAsVector() != expected.NZColIndicesAsVector())
        return ::testing::AssertionFailure() << "shape or pattern differ";
    return SameBits(actual.NZElemsAsVector(), expected.NZElemsAsVector());
}

} // namespace MCMath_930

namespace {

/// A dense matrix of which each row has up to `most` elements that are not 0: all of them, fewer or none.
MCRectMatrix FewPerRow(TestRandom& random, int rows, int cols, int most)
{
    MCRectMatrix matrix(rows, cols);
    for (int i = 0; i < rows; ++i)
        for (int k = random.Below(3) == 0 ? random.Below(most + 1) : most; k > 0;)
            if (const int j = random.Below(cols); matrix.GetElem(i, j) == 0.0) {
                matrix.SetElem(i, j, random.Uniform(-1.0, 1.0));
                --k;
            }
    return matrix;
}

MCSparseRectMatrix ToSparse(const MCRectMatrix& dense, int slots)
{
    MCSparseRectMatrix sparse(1, dense.GetNCols(), slots);
    while (sparse.GetNRows() < dense.GetNRows()) sparse.AddRow();
    EXPECT_TRUE(sparse.CopyRows(dense, 0, dense.GetNRows(), 0));
    return sparse;
}

} // namespace

// Each operation of the interface on a sparse matrix and on the dense one with the same elements: the same results to
// the last digit, the same refusals, the same matrix afterwards.
TEST(MCSparseRectMatrix, EqualsTheDenseMatrix)
{
    TestRandom random(301);
    constexpr int kFar = std::numeric_limits<int>::max();
    struct Shape {
        int rows, cols, slots, by; // by how much rows and columns are shifted
    };
    for (const auto& [rows, cols, slots, by] : {Shape{0, 3, 2, 1},
                                                {1, 1, 1, 0},
                                                {5, 5, 2, 2},
                                                {5, 5, 3, 0},
                                                {9, 4, 4, -1},
                                                {9, 4, 2, -kFar},
                                                {4, 9, 3, kFar},
                                                {23, 40, 5, -7}}) {
        SCOPED_TRACE(::testing::Message() << rows << " x " << cols << ", " << slots << " slots");
        const MCRectMatrix truth = FewPerRow(random, rows, cols, slots), few = FewPerRow(random, 8, cols, slots);
        const MCRectMatrix right = RandomRect(random, cols, 7), left = RandomRect(random, 6, cols), misfit(99, 98);
        MCRectMatrix fewTall = FewPerRow(random, 6, cols, slots);
        fewTall.Transpose();
        const MCSparseRectMatrix fewSparse = ToSparse(few, slots),
                                 tallSparse = ToSparse(FewPerRow(random, cols, 6, 2), 3);
        const std::vector<double> v = RandomVec(random, cols), u = RandomVec(random, rows);
        MCBitSet spread(rows + 3);
        for (int i = 0; i < rows; ++i) spread.Set(i < 2 ? i : i + 2);

        const auto run = [&, rows = rows, cols = cols, slots = slots, by = by](IMCRectMatrix& m, auto o) {
            o.Call(m.ComputeRV({}, o.vec) || m.ComputeVR({}, o.vec) || m.ComputeMatrixProduct(misfit, o.rect));
            o.Call(m.ComputeProductMatrixTrans(misfit, o.rect)).Call(m.ComputeVR(u, o.vec));
            o.vec = v;
            o.Call(m.ComputeRV(o.vec, o.vec)).Call(m.ComputeRV(v, o.vec));
            o.Call(m.ComputeMatrixProduct(right, o.rect)).Call(m.ComputeMatrixProduct(tallSparse, o.rect));
            o.Call(m.ComputeProductMatrixTrans(left, o.rect)).Call(m.ComputeProductMatrixTrans(fewSparse, o.rect));
            for (int j = -1; j <= cols; ++j) {
                o.Call(m.GetCol(j, o.vec)).Call(m.ColNorm(j)).Call(m.DotProductCol(j, u));
                o.vec.assign(u.size() + 2, 0.5);
                o.Call(m.CopyColToVec(j, 1, o.vec)).Call(m.IncrVecByColumn(j, 0.5, o.vec));
                o.Call(m.CopyColToVec(j, 3, o.vec) || m.CopyColToVec(j, -1, o.vec));
            }
            for (int i = -1; i <= rows; ++i) {
                o.Call(m.GetRow(i, o.vec)).Call(m.RowNorm(i)).Call(m.IsRowZero(i));
                for (int k = -1; k <= std::max(rows, 8); ++k) {
                    o.Call(m.DotProductRows(i, k) + m.DotProductRowRow(i, few, k));
                    o.Call(m.DotProductRowRow(i, fewSparse, k)).Call(m.DotProductRowRow(i, misfit, k));
                    o.Call(m.DotProductRowCol(i, fewTall, k)).Call(m.DotProductRowCol(i, tallSparse, k));
                }
                o.Call(m.ZeroOutRowPart(i, std::max(i, 0) % cols, cols / 2));
            }
            o.Call(m.ZeroOutRowPart(0, 1, cols) || m.ZeroOutRowPart(0, -1, 1));
            for (int i = -1; i <= rows; ++i) {
                o.Call(m.CopyRowToRow(few, i % 9, i)).Call(m.CopyRowToRow(fewSparse, 8 - i, i));
                o.Call(m.CopyColToRow(fewTall, i % 7, i)).Call(m.CopyRows(m, 0, rows - 1, i));
                o.Call(m.CopyRows(m, 2, i, 1));
            }
            for (IMCRectMatrix* const out : {o.own, static_cast<IMCRectMatrix*>(&o.rect)}) {
                o.Call(m.ExtractRows({0, rows}, *out) || m.ExtractColumns({-1}, *out));
                o.Call(m.ExtractRows({2, 0, 2, rows - 1}, *out));
                o.Call(m.ExtractColumns({cols - 1, 0, cols / 2, 0, 0}, *out));
            }
            o.Call(m.ExtractRows({}, *o.own) && m.ExtractColumns({}, o.rect));
            o.Call(m.ShiftRows(by) && m.ShiftColumns(by)).Call(m.ExpandSquare(spread));
            const int n = m.GetNRows(), p = m.GetNCols();
            o.Call(m.Resize(n + 3, p + 2)).Call(m.Resize(n / 2, slots)).Call(m.Resize(n + 5, p));
            o.Call(m.CreateBlockDiagonal({&m, nullptr}) || m.Resize(-1, p) || m.SetNRowsCols(-1, p));
            o.Call(m.CreateBlockDiagonal({&few, &m, &fewSparse, &m, &left})).Call(m.SetNRowsCols(n + 30, m.GetNCols()));
            return o.numbers;
        };
        MCRectMatrix dense(truth), ownDense;
        MCSparseRectMatrix changed = ToSparse(truth, slots), ownSparse;
        const auto expected = run(dense, Outcome<IMCRectMatrix>{&dense, &ownDense});
        EXPECT_EQ(run(changed, Outcome<IMCRectMatrix>{&changed, &ownSparse}), expected);

        const MCSparseRectMatrix sparse = ToSparse(truth, slots);
        std::vector<std::size_t> starts;
        std::vector<int> numbers;
        std::vector<double> values, last, col;
        sparse.GetSparseMatrixColumns(starts, numbers, values);
        MCRectMatrix byColumns(rows, cols);
        for (int j = 0; j < cols; ++j)
            for (std::size_t k = starts[static_cast<std::size_t>(j)]; k < starts[static_cast<std::size_t>(j) + 1]; ++k)
                byColumns.SetElem(numbers[k], j, values[k]);
        EXPECT_TRUE(SameMatrix(byColumns, truth));
        EXPECT_TRUE(sparse.ExtractLastCol(last) && truth.GetCol(cols - 1, col) && last == col);
        MCSparseRectMatrix sub;
        ASSERT_TRUE(sparse.ExtractSubSparseRectMat(rows / 3, rows / 2, cols / 2, cols - cols / 2, sub));
        for (int i = 0; i < sub.GetNRows(); ++i)
            for (int j = 0; j < sub.GetNCols(); ++j)
                EXPECT_EQ(sub.GetElem(i, j), truth.GetElem(rows / 3 + i, cols / 2 + j));
        EXPECT_TRUE(Refuses(sub, [&, rows = rows, cols = cols](MCSparseRectMatrix& m) {
            return NoneOf({sparse.ExtractSubSparseRectMat(0, rows + 1, 0, 1, m),
                           sparse.ExtractSubSparseRectMat(0, rows, 1, cols, m),
                           sparse.ExtractSubSparseRectMat(0, 0, 0, 0, m)});
        }));
    }
}

TEST(MCSparseRectMatrix, RowsGrowAndTheirPatternStays)
{
    for (const auto& [capacity, grown] : {std::pair{0, 10}, {1, 10}, {4, 10}, {6, 10}, {7, 10}, {20, 30}, {21, 31}}) {
        MCSparseRectMatrix m(capacity, 5, 2);
        for (int i = 1; i <= capacity; ++i) EXPECT_EQ(m.AddRow(), i);
        EXPECT_EQ(m.GetRowCapacity(), capacity);
        EXPECT_EQ(m.AddRow(), capacity + 1);
        EXPECT_EQ(m.GetRowCapacity(), grown);
        EXPECT_EQ(m.NZColIndicesAsVector(), std::vector<int>(static_cast<std::size_t>(2 * grown), -1));
        EXPECT_EQ(m.NZElemsAsVector(), std::vector<double>(static_cast<std::size_t>(2 * grown), 0.0));
    }
    const std::vector<int> indices{0, 2, 3, 5};
    const std::vector<double> values{1, 2, 3, 4};
    const std::vector<int> pairIndices{1, 4};
    const std::vector<double> pairValues{5, 6};
    const MCSparseVector four(indices, values), pair(pairIndices, pairValues);
    MCSparseRectMatrix m(1, 5, 2);
    EXPECT_EQ(m.AddRow(pair), 1);
    EXPECT_EQ(m.AddRow(four, 1, 2), 2);
    for (const auto& part : {std::pair{0, 1}, {0, 3}, {-1, 2}, {3, 2}, {2, 2}}) // the last reaches column 5
        EXPECT_TRUE(Refuses(m, [&](MCSparseRectMatrix& s) { return s.AddRow(four, part.first, part.second) != -1; }));
    EXPECT_TRUE(Refuses(m, [&](MCSparseRectMatrix& s) { return NoneOf({s.SetRow(2, pair), s.SetRow(0, four)}); }));
    EXPECT_TRUE(Refuses(m, [](MCSparseRectMatrix& s) { return NoneOf({s.SetElem(0, 2, 1.0), s.SetElem(2, 0, 0.0)}); }));
    EXPECT_TRUE(m.SetElem(0, 2, 0.0) && m.SetElem(1, 3, -3.0) && m.SetRow(0, pair));
    const int* columns = nullptr;
    const double* elements = nullptr;
    ASSERT_TRUE(m.GetRow(1, columns, elements));
    EXPECT_TRUE(columns[0] == 2 && columns[1] == 3 && elements[0] == 2.0 && elements[1] == -3.0);
    EXPECT_FALSE(m.GetRow(2, columns, elements));
    std::vector<int> numbers;
    std::vector<double> stored;
    EXPECT_TRUE(m.GetRow(1, numbers, stored) && numbers[0] == columns[0] && stored[0] == elements[0]);
    EXPECT_FALSE(m.GetRow(2, numbers, stored));
    EXPECT_EQ(m.ColNorm(0), 0.0);
    EXPECT_TRUE(m.ZeroOutRowPart(1, 0, 5) && m.SetElem(1, 2, 8.0)); // it is still in the pattern

    // Three elements have no place in two slots, nor two slots in one column.
    MCRectMatrix full(3, 5, std::vector<double>{1, 0, 0, 0, 1, 1, 1, 1, 0, 0, 1, 0, 0, 0, 0});
    EXPECT_TRUE(Refuses(m, [&](MCSparseRectMatrix& s) { return NoneOf({s.CopyRows(full, 0, 2, 0), s.Resize(2, 1)}); }));
    EXPECT_TRUE(m.CopyRowToRow(full, 2, 0));
    EXPECT_EQ(m.NZColIndicesAsVector()[0], -1);
    MCSparseRectMatrix taken(std::move(m));
    EXPECT_TRUE(taken.IsValidMatrix() && !m.IsValidMatrix() && m.AddRow() == -1); // NOLINT: moved from, thus empty
    for (const auto& [rows, cols, slots] : {std::tuple{0, 5, 2}, {1, 0, 1}, {1, 5, 0}, {1, 5, 6}})
        EXPECT_FALSE(MCSparseRectMatrix(rows, cols, slots).IsValidMatrix());
    taken.Clear();
    EXPECT_TRUE(taken.IsValidMatrix() && taken.GetNRows() == 0 && taken.GetNCols() == 5);
    const MCRectMatrix none(2, 0);
    EXPECT_FALSE(taken.CreateBlockDiagonal({&none, &none}));
}

// What is not stored is no factor, not even of a NaN.
TEST(MCSparseRectMatrix, NanReachesOnlyStoredElements)
{
    const MCSparseRectMatrix m = ToSparse(MCRectMatrix(2, 3, std::vector<double>{1, 0, 0, 0, 2, 0}), 2);
    std::vector<double> out;
    ASSERT_TRUE(m.ComputeRV({kNan, 1, kNan}, out));
    EXPECT_TRUE(std::isnan(out[0]) && out[1] == 2.0);
    ASSERT_TRUE(m.ComputeVR({kNan, 1}, out));
    EXPECT_TRUE(std::isnan(out[0]) && out[1] == 2.0 && out[2] == 0.0);
    EXPECT_TRUE(MCSparseRectMatrix().ComputeRV({}, out) && out.empty() && MCSparseRectMatrix().ComputeVR({}, out));
    EXPECT_TRUE(Shown(m).starts_with("MCSparseRectMatrix display start\nNumber of rows: 2\n"));
    DisplayCapture capture;
    m.DisplayF();
    EXPECT_EQ(capture.Text(), "MCSparseRectMatrix display start\nNumber of rows: 2\nNumber of columns: 3\n"
                              "     [0]  [1]  [2]\n[0]    1    0    0\n[1]    0    2    0\n"
                              "MCSparseRectMatrix display end\n");
}
