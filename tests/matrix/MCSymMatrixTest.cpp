#include "matrix/Matrices.h"

namespace {

/// Element (i, j) is 10*max + min: its place can be read from it.
MCSymMatrix Places(int n)
{
    MCSymMatrix matrix(n);
    for (int i = 0; i < n; ++i)
        for (int j = 0; j <= i; ++j) matrix.SetElem(i, j, 10.0 * i + j);
    return matrix;
}

std::vector<double> Elements(const MCSymMatrix& matrix)
{
    return {matrix.AsSpan().begin(), matrix.AsSpan().end()};
}

} // namespace

TEST(MCSymMatrix, PacksTheLowerTriangleRowByRow)
{
    MCSymMatrix s(7);
    EXPECT_EQ(s.AsSpan().size(), 28u);
    EXPECT_TRUE(s.SetElem(2, 5, 3.5));
    EXPECT_EQ(s.GetElem(5, 2), 3.5);
    EXPECT_EQ(s.GetElem(17), 3.5);
    EXPECT_TRUE(s.SetElem((4 + 1) * (4 + 2) / 2 - 1, -2.0));
    EXPECT_EQ(s.GetElem(4, 4), -2.0);
    EXPECT_TRUE(s.GetRowPtr(5) == s.GetPtr() + 15 && !s.GetRowPtr(7) && !s.GetRowPtr(-1));
}

TEST(MCSymMatrix, OrdersWithoutPackedIndexesAreRefusedAndOthersKeepWhatLiesInBoth)
{
    MCSymMatrix s = Places(3);
    for (const int n : {-1, MCSymMatrix::kMaxRows + 1, 2147483647}) {
        EXPECT_EQ(MCSymMatrix(n).GetNRows(), 0);
        EXPECT_TRUE(Refuses(s, [n](MCSymMatrix& m) {
            return NoneOf({m.SetNRows(n), m.Resize(n), m.Expand({0, 1, 2}, n)});
        }));
    }
    EXPECT_TRUE(s.Resize(2) && s.Resize(3));
    EXPECT_EQ(Elements(s), (std::vector<double>{0, 10, 11, 0, 0, 0}));
    EXPECT_TRUE(s.SetNRows(2));
    EXPECT_EQ(Elements(s), (std::vector<double>{0, 0, 0}));
    const DisplayCapture capture;
    s.DisplayF();
    Places(2).DisplayS();
    EXPECT_NE(capture.Text().find("end\nMCSymMatrix display start\nNumber of rows: 2\nTrace: 11\n"), std::string::npos);
}

TEST(MCSymMatrix, DeleteAndExpandUndoEachOther)
{
    for (int n = 1; n <= 5; ++n)
        for (int k = 0; k < n; ++k) {
            MCSymMatrix s = Places(n);
            ASSERT_TRUE(s.DeleteOneRow(k));
            ASSERT_EQ(s.GetNRows(), n - 1);
            for (int i = 0; i < n - 1; ++i)
                for (int j = 0; j <= i; ++j)
                    EXPECT_EQ(s.GetElem(i, j), 10.0 * (i + (i >= k)) + j + (j >= k)) << n << k << i << j;

            MCBitSet kept(n);
            kept.SetAll();
            kept.Set(k, false);
            ASSERT_TRUE(s.Expand(kept));
            MCSymMatrix expected = Places(n);
            expected.PutRow(k, std::vector<double>(static_cast<std::size_t>(n), 0.0));
            EXPECT_TRUE(SameMatrix(s, expected));
        }
    MCSymMatrix s = Places(3);
    EXPECT_TRUE(Refuses(s, [](MCSymMatrix& m) { return NoneOf({m.DeleteOneRow(3), m.DeleteOneRow(-1)}); }));
}

TEST(MCSymMatrix, ExpandPlacesRowsAnywhere)
{
    MCSymMatrix s = Places(2);
    EXPECT_TRUE(s.Expand({2, 0}, 3));
    EXPECT_EQ(Elements(s), (std::vector<double>{11, 0, 0, 10, 0, 0}));

    const std::vector<std::vector<int>> wrong{{0, 1}, {0, 1, 1}, {0, 1, 4}, {-1, 0, 1}, {0, 1, 2, 3}};
    for (const std::vector<int>& positions : wrong)
        EXPECT_TRUE(Refuses(s, [&](MCSymMatrix& m) { return m.Expand(positions, 4); }));
    EXPECT_TRUE(Refuses(s, [](MCSymMatrix& m) { return m.Expand(MCBitSet(4)); }));
}

TEST(MCSymMatrix, CopiesFromAndToArrays)
{
    MCSymMatrix s;
    ASSERT_TRUE(s.CopyFromPacked(std::vector<double>{0, 10, 11, 20, 21, 22}));
    EXPECT_TRUE(SameMatrix(s, Places(3)));
    EXPECT_TRUE(SameMatrix(MCSymMatrix(3, s.AsSpan()), s));
    EXPECT_EQ(MCSymMatrix(2, s.AsSpan()).GetNRows(), 0);
    EXPECT_TRUE(Refuses(s, [](MCSymMatrix& m) { return m.CopyFromPacked(std::vector<double>(4)); }));
    double square[9];
    s.CopyToSquare(square);
    EXPECT_EQ(std::vector<double>(square, square + 9), (std::vector<double>{0, 10, 20, 10, 11, 21, 20, 21, 22}));
    square[1] = square[2] = square[5] = -1.0; // the upper triangle is not read
    ASSERT_TRUE(s.SetNRows(1) && s.CopyFromSquare(square, 3));
    EXPECT_TRUE(SameMatrix(s, Places(3)));
    EXPECT_TRUE(Refuses(s, [&](MCSymMatrix& m) { return NoneOf({m.CopyFromSquare(square, -1), m.ResizeNRows(-1)}); }));
    MCSymMatrix copy(7);
    ASSERT_TRUE(copy.ResizeNCopy(s) && copy.ResizeNCopy(copy));
    EXPECT_TRUE(SameMatrix(copy, s));
    MCSymBlockDiagMatrix blocks;
    ASSERT_TRUE(blocks.AddBlock(Places(2)) && blocks.AddBlock(MCDiagMatrix(std::vector<double>{0.5})));
    MCSymMatrix sum = Places(3); // only what the others store is added
    ASSERT_TRUE(sum.ComputeAXpY(10.0, blocks) && sum.ComputeAXpY(-2.0, MCDiagMatrix({1, 2, 3})));
    EXPECT_TRUE(SameMatrix(sum, MCSymMatrix(3, std::vector<double>{-2, 110, 117, 20, 21, 21})));
    copy.ClearAll();
    EXPECT_EQ(copy.GetNRows(), 0);
}

TEST(MCSymMatrix, RowsTreatedBySizeOfTheirElements)
{
    MCSymMatrix s = FromTriangle({4, 1, 0, 2, 3, 1e-14});
    EXPECT_EQ(s.ReplaceDiagZeroes(5.0), 1);
    EXPECT_EQ(s.GetElem(1, 1), 5.0);
    EXPECT_EQ(s.ZeroOutRowsForSmallDiag(-1.0), -1);
    EXPECT_EQ(s.ZeroOutRowsForSmallDiag(1e-12), 1);
    EXPECT_EQ(Elements(s), (std::vector<double>{4, 1, 5, 0, 0, 0}));
    s = FromTriangle({4, 1, 0, 2, 3, 1e-14});
    EXPECT_EQ(s.SetCovarZeros(), 1);
    EXPECT_EQ(Elements(s), (std::vector<double>{4, 0, 0, 2, 0, 1e-14}));
    EXPECT_EQ(s.ZeroOutAllSmall(kNan), -1);
    EXPECT_EQ(s.ZeroOutAllSmall(2.0), 2);
    EXPECT_EQ(Elements(s), (std::vector<double>{4, 0, 0, 0, 0, 0}));
    EXPECT_TRUE(Refuses(s, [](MCSymMatrix& m) { return NoneOf({m.AddToDiagonalPart(2, 2, 1.0), m.ZeroOutRow(3)}); }));
    EXPECT_TRUE(s.AddToDiagonalPart(1, 2, 1.5));
    EXPECT_EQ(Elements(s), (std::vector<double>{4, 0, 1.5, 0, 0, 1.5}));
}

TEST(MCSymMatrix, CorrelationsAreClampedAwayFromOne)
{
    MCSymMatrix s = FromTriangle({1, 1.0, 1, -1.2, 0.5, 1});
    for (const double eps : {1.0, -0.1, kNan})
        EXPECT_TRUE(Refuses(s, [eps](MCSymMatrix& m) { return m.AdjustOffDiagCorr(eps); }));
    EXPECT_TRUE(s.AdjustOffDiagCorr(0.001));
    EXPECT_EQ(Elements(s), (std::vector<double>{1, 0.999, 1, -0.999, 0.5, 1}));
}

TEST(MCSymMatrix, PartsOfRowsAndBlocks)
{
    const MCSymMatrix s = Places(4);
    std::vector<double> values;
    EXPECT_TRUE(s.GetPCol(1, values));
    EXPECT_EQ(values, (std::vector<double>{11, 21, 31}));
    EXPECT_FALSE(s.GetPCol(4, values));
    const MCBitSet swept = Bits(4, {0, 3}), kept = Bits(6, {0, 1, 3, 5});
    EXPECT_TRUE(s.GetRegCoeffs(1, swept, values));
    EXPECT_EQ(values, (std::vector<double>{10, 0, 0, 31}));
    EXPECT_TRUE(NoneOf(
        {s.GetRegCoeffs(0, swept, values), s.GetRegCoeffs(4, swept, values), s.GetRegCoeffs(1, MCBitSet(3), values)}));
    MCRectMatrix block(1, 1);
    EXPECT_TRUE(NoneOf({s.ExtractRectangle({0, 4}, {1}, block), s.ExtractOffBlock(MCBitSet(5), block)}));
    EXPECT_EQ(block.GetNRows(), 1);
    EXPECT_TRUE(s.ExtractRectangle({2, 0}, {3}, block));
    EXPECT_EQ(block.GetElem(0, 0), 32.0);
    EXPECT_TRUE(s.ExtractOffBlock(swept, block)); // rows 0 and 3, columns 1 and 2
    EXPECT_TRUE(block.GetNRows() == 2 && block.GetElem(1, 0) == 31.0 && block.GetElem(0, 1) == 20.0);
    MCSymMatrix wide;
    ASSERT_TRUE(s.ExpandSym(kept, wide) && s.ExpandSymToRect(kept, block));
    EXPECT_TRUE(wide.GetElem(5, 3) == 32.0 && block.GetElem(3, 5) == 32.0 && block.GetElem(4, 4) == 0.0);
    EXPECT_TRUE(NoneOf({s.ExpandSym(swept, wide), s.ExpandSymToRect(swept, block)}));
}
