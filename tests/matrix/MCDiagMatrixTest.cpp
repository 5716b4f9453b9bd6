#include "matrix/Matrices.h"

TEST(MCDiagMatrix, StoresItsDiagonalAlone)
{
    MCDiagMatrix d({1, 2, 3});
    MCSymMatrix full(3);
    EXPECT_TRUE(d.SetElem(1, 1, 5.0) && d.PutRow(0, {4, 0, -0.0}) && d.ComputeAXpY(1.0, full));
    full.SetElem(2, 1, 1.0);
    EXPECT_TRUE(NoneOf({d.SetElem(0, 1, 5.0), d.PutRow(0, {1, 0, 1e-300}), d.SetRowColToConst(2, 1.0),
                        d.ComputeAXpY(1.0, MCSymMatrix(2)), d.ComputeAXpY(1.0, full), d.ReplaceDiagonal({1, 2}),
                        d.SetNRows(-1), d.Resize(-1)}));
    EXPECT_EQ(d.AsVector(), (std::vector<double>{4, 5, 3}));
    EXPECT_TRUE(d.ReplaceDiagonal({7, 8, 9, 10}) && d.Resize(4));
    EXPECT_EQ(d.AsVector(), (std::vector<double>{7, 8, 9, 0}));
    EXPECT_EQ(MCDiagMatrix(-2).GetNRows(), 0);
}

TEST(MCDiagMatrix, InverseAndDeterminantOfASingularOne)
{
    MCDiagMatrix d({2, 0, 4});
    double det[2] = {-1, -1};
    EXPECT_TRUE(d.ComputeDeterminant(1e-3, det) && det[0] == 0.0 && d.LTInverse());
    EXPECT_EQ(d.AsVector(), (std::vector<double>{0.5, 0, 0.25}));
    EXPECT_EQ(d.LTDetInverse(det, 11), 1);
    EXPECT_TRUE(det[0] == 0.0 && det[1] == 0.0);
    EXPECT_EQ(d.AsVector(), (std::vector<double>{2, 0, 4}));

    EXPECT_TRUE(MCDiagMatrix({1e200, -1e200, 25, 0.01}).ComputeDeterminant(0.0, det));
    EXPECT_DOUBLE_EQ(det[0], -2.5);
    EXPECT_EQ(det[1], 399.0);
    EXPECT_FALSE(MCDiagMatrix().ComputeDeterminant(0.0, det));
}

TEST(MCDiagMatrix, ResultsStayDiagonalWhereTheyAre)
{
    const MCDiagMatrix d({4, 1e-20, 16});
    MCDiagMatrix out;
    EXPECT_EQ(d.CholInverse({4, 1, 16}, 1e-12, out), 2);
    EXPECT_EQ(out.AsVector(), (std::vector<double>{0.25, 0, 0.0625}));
    EXPECT_TRUE(d.ComputeSTransS(out));
    EXPECT_EQ(out.GetElem(2, 2), 256.0);
    EXPECT_TRUE(d.ExtractSubmatrix(std::vector<int>{2, 0}, out));
    EXPECT_EQ(out.AsVector(), (std::vector<double>{16, 4}));
    MCBitSet kept(1);
    MCDiagMatrix factor(d);
    EXPECT_EQ(factor.LTChol({4, 1, 16}, 1e-12, kept, true), 1);
    EXPECT_EQ(factor.AsVector(), (std::vector<double>{2, 0, 4}));
    EXPECT_EQ(kept, Bits(3, {0, 2}));
    EXPECT_TRUE(Shown(d).starts_with("MCDiagMatrix display start\nNumber of rows: 3\n"));
    factor.ClearAll();
    EXPECT_EQ(factor.GetNRows(), 0);
}
