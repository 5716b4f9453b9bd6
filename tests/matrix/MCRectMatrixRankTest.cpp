#include "matrix/Matrices.h"

namespace {

/// A two-way layout without interaction: intercept, three indicators, two indicators.
MCRectMatrix Layout()
{
    MCRectMatrix x(12, 6);
    for (int r = 0; r < 12; ++r) {
        x.SetElem(r, 0, 1.0);
        x.SetElem(r, 1 + r % 3, 1.0);
        x.SetElem(r, 4 + r % 2, 1.0);
    }
    return x;
}

} // namespace

TEST(MCRectMatrixRank, TheEarliestOfDependentRowsOrColumnsIsKept)
{
    const MCRectMatrix m(3, 3, std::vector<double>{1, 0, 1, 0, 1, 1, 0, 0, 0});
    MCBitSet kept(2);
    EXPECT_TRUE(m.FindRedundancies(-1.0, kept, false) == -1 && m.FindRedundancies(kNan, kept, false) == -1);
    EXPECT_EQ(kept.Size(), 2);
    for (const bool byRow : {false, true}) {
        EXPECT_EQ(m.FindRedundancies(1e-8, kept, byRow), 1);
        EXPECT_EQ(kept, Bits(3, {0, 1}));
    }

    std::vector<int> indices;
    EXPECT_EQ(Layout().FindNonRedunIndices(1e-8, false, indices), 4);
    EXPECT_EQ(indices, (std::vector<int>{0, 1, 2, 4}));
    MCRectMatrix full;
    EXPECT_TRUE(Layout().ExtractFullRank(1e-8, false, full) == 4 && full.GetNCols() == 4);
    EXPECT_TRUE(Layout().ExtractFullRank(1e-8, true, full) == 4 && full.GetNRows() == 4);
    EXPECT_EQ(Layout().ExtractFullRank(-1e-8, true, full), -1);

    // The residual of the second column is 0.1 of its norm.
    const MCRectMatrix near(2, 2, std::vector<double>{1, std::sqrt(0.99), 0, 0.1});
    EXPECT_TRUE(near.FindRedundancies(0.0999, kept, false) == 0 && near.FindRedundancies(0.1001, kept, false) == 1);
}

TEST(MCRectMatrixRank, AddedColumnsAreComparedWithAllBefore)
{
    MCRectMatrix added(12, 3);
    for (int r = 0; r < 12; ++r) {
        added.SetElem(r, 0, r);
        added.SetElem(r, 1, 2.0 * (r % 3) - 1.0); // in the space of the layout
        added.SetElem(r, 2, 3.0 * r + 1.0);       // depends on the first and the intercept
    }
    MCBitSet kept;
    EXPECT_EQ(Layout().CheckAddColRedundancies(added, 1e-8, kept), 2);
    EXPECT_TRUE(kept.Size() == 3 && kept.Count() == 1 && kept.IsIn(0));
    EXPECT_EQ(Layout().CheckAddColRedundancies(added, -1.0, kept), -1);
    EXPECT_EQ(Layout().CheckAddColRedundancies(MCRectMatrix(11, 1), 1e-8, kept), -1);
    EXPECT_EQ(kept.Count(), 1);
}

TEST(MCRectMatrixRank, MultiplesOfOtherRows)
{
    const MCRectMatrix m(5, 2, std::vector<double>{1, 2, 3, 4, -2, -4, 0, 0, 1, 2.001});
    for (int row = -1; row <= 5; ++row) // row 3 is the zero row
        EXPECT_EQ(m.IsERowMultipleOfAnother(row, 1e-8), row == 0 || row == 2 || row == 3) << row;
    EXPECT_TRUE(m.IsERowMultipleOfAnother(4, 1e-3) && !m.IsERowMultipleOfAnother(0, -1.0));
}

TEST(MCRectMatrixRank, ContrastsAreEstimableAndSingleEffectsAreNot)
{
    const MCRectMatrix x = Layout();
    for (const std::vector<double>& l :
         {std::vector<double>{0, 1, -1, 0, 0, 0}, {1, 1, 0, 0, 0.5, 0.5}, {0, 0, 0, 0, 0, 0}})
        EXPECT_TRUE(x.IsEstimable(l, 1e-8));
    for (const std::vector<double>& l : {std::vector<double>{0, 1, 0, 0, 0, 0}, {1, 0, 0, 0, 0, 0}, {0, 1, -1}})
        EXPECT_FALSE(x.IsEstimable(l, 1e-8));
    MCBitSet estimable(2);
    const MCRectMatrix functions(3, 6, std::vector<double>{0, 1, -1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 1, 0, 0, 0.5, 0.5});
    EXPECT_TRUE(x.FindEstimable(functions, -1.0, estimable) == -1 &&
                x.FindEstimable(MCRectMatrix(1, 5), 1e-8, estimable) == -1);
    EXPECT_EQ(estimable, MCBitSet(2));
    EXPECT_EQ(x.FindEstimable(functions, 1e-8, estimable), 2);
    EXPECT_EQ(estimable, Bits(3, {0, 2}));
}

TEST(MCRectMatrixRank, LeastSquaresAndProjection)
{
    TestRandom random(501);
    const MCRectMatrix x = Layout();
    const std::vector<double> y = random.Vector(12, -5.0, 5.0);
    std::vector<double> b, resid, fitted, normal;
    EXPECT_EQ(x.EstimateLinearGI(y, b, 1e-8), 4);
    EXPECT_TRUE(b[3] == 0.0 && b[5] == 0.0);
    ASSERT_TRUE(x.ResidOfOrthProjection(y, resid, 1e-8));
    ASSERT_TRUE(x.ComputeRV(b, fitted));
    for (std::size_t i = 0; i < y.size(); ++i) EXPECT_NEAR(y[i] - fitted[i], resid[i], 1e-13);
    ASSERT_TRUE(x.ComputeVR(resid, normal));
    for (const double value : normal) EXPECT_NEAR(value, 0.0, 1e-13);
    EXPECT_EQ(x.EstimateLinearGI({1, 2}, b, 1e-8), -1);
    EXPECT_EQ(x.EstimateLinearGI(y, b, -1.0), -1);
    EXPECT_TRUE(NoneOf({x.ResidOfOrthProjection({1}, b, 1e-8), x.ResidOfOrthProjection(y, b, -1.0)}));
    EXPECT_EQ(b.size(), 6u);
}
