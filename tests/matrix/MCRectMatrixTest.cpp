#include "matrix/Matrices.h"

#include <gtest/gtest.h>

#include <limits>
#include <utility>
#include <vector>

using namespace MCMath_930;

namespace {

/// Element (i, j) is 10*i + j.
MCRectMatrix Places(int rows, int cols)
{
    MCRectMatrix matrix(rows, cols);
    for (int i = 0; i < rows; ++i)
        for (int j = 0; j < cols; ++j) matrix.SetElem(i, j, 10.0 * i + j);
    return matrix;
}

} // namespace

TEST(MCRectMatrix, StoresRowByRow)
{
    MCRectMatrix r = Places(3, 4);
    EXPECT_EQ(r.AsSpan()[9], 21.0);
    EXPECT_EQ(r.GetElem(2, 1), 21.0);
    EXPECT_EQ(r.GetColPtr(3), r.GetPtr() + 3);
    EXPECT_EQ(r.GetColPtr(4), nullptr);
    EXPECT_EQ(r.GetColPtr(-1), nullptr);
    EXPECT_EQ(r.GetRowPtr(2), r.GetPtr() + 8);
    EXPECT_EQ(r.GetRowPtr(3), nullptr);
    EXPECT_EQ(r.GetRowPtr(-1), nullptr);
    EXPECT_EQ(MCRectMatrix(0, 4).GetColPtr(1), nullptr);
    EXPECT_EQ(r.GetMatrixType(), IMCRectMatrix::kDenseMatrix);
}

TEST(MCRectMatrix, ImpossibleShapesAreRefused)
{
    constexpr int kMax = std::numeric_limits<int>::max();
    const std::vector<std::pair<int, int>> shapes{{-1, 2}, {2, -1}, {kMax, kMax}};
    for (const auto& shape : shapes) {
        EXPECT_EQ(MCRectMatrix(shape.first, shape.second).GetNCols(), 0);
        MCRectMatrix r = Places(2, 3);
        EXPECT_TRUE(Refuses(r, [&](MCRectMatrix& m) { return m.Resize(shape.first, shape.second); }));
        EXPECT_TRUE(Refuses(r, [&](MCRectMatrix& m) { return m.SetNRowsCols(shape.first, shape.second); }));
    }
}

TEST(MCRectMatrix, ResizeKeepsWhatLiesInBoth)
{
    for (const int rows : {0, 1, 3, 5})
        for (const int cols : {0, 1, 4, 6}) {
            MCRectMatrix r = Places(3, 4);
            ASSERT_TRUE(r.Resize(rows, cols));
            MCRectMatrix expected(rows, cols);
            for (int i = 0; i < std::min(rows, 3); ++i)
                for (int j = 0; j < std::min(cols, 4); ++j) expected.SetElem(i, j, 10.0 * i + j);
            EXPECT_TRUE(SameMatrix(r, expected)) << rows << " x " << cols;
        }
}

TEST(MCRectMatrix, RowsColumnsAndMoves)
{
    MCRectMatrix r = Places(2, 3);
    std::vector<double> values{-1.0};
    EXPECT_FALSE(r.GetRow(2, values));
    EXPECT_FALSE(r.GetCol(3, values));
    EXPECT_EQ(values, (std::vector<double>{-1}));
    EXPECT_TRUE(r.GetCol(2, values));
    EXPECT_EQ(values, (std::vector<double>{2, 12}));
    EXPECT_TRUE(Refuses(r, [](MCRectMatrix& m) { return m.SetRow(1, {1, 2}); }));
    EXPECT_TRUE(Refuses(r, [](MCRectMatrix& m) { return m.SetRow(2, {1, 2, 3}); }));
    EXPECT_TRUE(r.SetRow(1, {7, 8, 9}));
    EXPECT_TRUE(r.GetRow(1, values));
    EXPECT_EQ(values, (std::vector<double>{7, 8, 9}));

    const MCRectMatrix copy(r);
    MCRectMatrix taken(std::move(r));
    EXPECT_TRUE(SameMatrix(r, MCRectMatrix()));
    EXPECT_TRUE(SameMatrix(taken, copy));
    taken.Clear();
    EXPECT_TRUE(SameMatrix(taken, MCRectMatrix()));
}
