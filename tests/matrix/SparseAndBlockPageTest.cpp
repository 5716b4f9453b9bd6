// The code of docs/sparse-and-block.md.
#include "matrix/Matrices.h"

TEST(SparseAndBlockPage, RegressionOnASparseDesign)
{
    struct Case {
        int group;
        double x;
    };
    const std::vector<Case> cases{{0, 1}, {0, 2}, {1, 0}, {1, 5}, {2, 3}, {2, 4}};
    const std::vector<double> y{3, 5, 4, 14, 3, 5}; // 1, 4, -3 for the groups and 2 for x

    // Three groups and a covariate are four columns, of which a case has two.
    MCSparseRectMatrix design(100, 4, 2);
    MCSymMatrix crossProducts(4);
    std::vector<int> columns(2);
    std::vector<double> values(2);
    const MCSparseVector row(columns, values); // looks at the two vectors
    for (const Case& c : cases) {
        columns = {c.group, 3};
        values = {1.0, c.x};
        design.AddRow(row);
        row.QuadraticOuterProductIncr(crossProducts, 1.0);
    }

    std::vector<double> right, diagonal, estimates, fitted;
    design.ComputeVR(y, right); // X'y
    crossProducts.GetDiagonal(diagonal);
    const int redundant = crossProducts.LTChol(diagonal, 1e-8, true); // 0
    crossProducts.LTSolve(right, estimates);                          // 1, 4, -3, 2
    design.ComputeRV(estimates, fitted);                              // y

    EXPECT_EQ(redundant, 0);
    EXPECT_TRUE(Near(ToNaive(estimates), ToNaive(std::vector<double>{1, 4, -3, 2})));
    EXPECT_TRUE(Near(ToNaive(fitted), ToNaive(y)));
}

TEST(SparseAndBlockPage, CovarianceOfIndependentParts)
{
    const std::vector<double> b{1, 2, 3, 4, 5, 6, 7};

    const MCSymMatrix pair = FromTriangle({4, 2, 3});
    MCSymBlockDiagMatrix covariance;
    covariance.AddBlock(pair);
    covariance.AddBlock(MCDiagMatrix({2, 5, 10}));
    covariance.AddBlock(pair);
    covariance.GetElem(6, 5);                          // 2, in the last block
    covariance.GetElem(5, 1);                          // 0: between blocks
    const bool stored = covariance.SetElem(5, 1, 1.0); // false, and nothing changed

    MCSymBlockDiagMatrix factor(covariance);
    double logDet = 0.0;
    factor.LTChol(1e-12, logDet, true); // logDet = log(8 * 100 * 8)
    std::vector<double> x;
    factor.LTSolve(b, x); // covariance * x = b

    std::vector<double> diagonal;
    covariance.GetDiagonal(diagonal);
    MCSymBlockDiagMatrix inverse;
    const int rank = covariance.CholInverse(diagonal, 1e-12, inverse); // 7, and the same blocks

    EXPECT_FALSE(stored);
    EXPECT_TRUE(covariance.GetElem(6, 5) == 2.0 && covariance.GetElem(5, 1) == 0.0);
    EXPECT_NEAR(logDet, std::log(6400.0), 1e-14);
    EXPECT_TRUE(Near(ToNaive(covariance) * ToNaive(x), ToNaive(b)));
    EXPECT_TRUE(rank == 7 && inverse.IsSameStructure(covariance));
    EXPECT_TRUE(Near(ToNaive(inverse) * ToNaive(b), ToNaive(x)));
}

TEST(SparseAndBlockPage, InformationOfThreeCategories)
{
    // Two logits, two predictors: for each pair of logits a symmetric matrix of order 2.
    const std::vector<double> x{1, 3};
    const std::vector<double> probs{0.5, 0.25}; // of the categories but the last
    MCSymBlockMatrix information(2, 2);
    for (int b = 0; b < 2; ++b)
        for (int c = 0; c <= b; ++c) {
            const double pb = probs[static_cast<std::size_t>(b)], pc = probs[static_cast<std::size_t>(c)];
            information.GetElemSSRef(b, c).UpdateXX(x, (b == c ? pb : 0.0) - pb * pc);
        }
    MCSymMatrix whole;
    information.CopyToSymMatrix(whole); // of order 4

    EXPECT_EQ(whole.GetElem(3, 1), -0.125 * 9);
    EXPECT_EQ(whole.GetElem(3, 2), 0.1875 * 3);
}
