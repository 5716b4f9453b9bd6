#include "matrix/Matrices.h"

TEST(MCRectMatrixSolve, SquareSystems)
{
    const MCRectMatrix small(2, 2, std::vector<double>{0, 2, 4, 1}); // needs an interchange
    std::vector<double> x{6, 7};
    ASSERT_TRUE(small.SolveLinearSquare(x, x, 1e-12)); // x may be b
    EXPECT_EQ(x, (std::vector<double>{1, 3}));
    TestRandom random(601);
    for (const int n : {1, 2, 5, 40}) {
        const MCRectMatrix a = RandomRect(random, n, n);
        const std::vector<double> b = RandomVec(random, n);
        ASSERT_TRUE(a.SolveLinearSquare(b, x, 0.0));
        EXPECT_TRUE(Near(ToNaive(a) * ToNaive(x), ToNaive(b), 1e-11));
    }
}

TEST(MCRectMatrixSolve, WhatCannotBeSolvedLeavesTheSolutionAlone)
{
    const MCRectMatrix regular(2, 2, std::vector<double>{1, 0, 0, 1});
    const MCRectMatrix singular(2, 2, std::vector<double>{1, 2, 2, 4});
    const MCRectMatrix nearly(2, 2, std::vector<double>{1, 1, 1, 1 + 1e-10});
    const std::vector<double> b{1, 2};
    std::vector<double> x{7};
    EXPECT_TRUE(NoneOf({MCRectMatrix(2, 3).SolveLinearSquare(b, x, 0.0), MCRectMatrix().SolveLinearSquare(b, x, 0.0),
                        regular.SolveLinearSquare(b, x, -1.0), regular.SolveLinearSquare({1}, x, 0.0),
                        regular.SolveLinearSquare(b, x, kNan), singular.SolveLinearSquare(b, x, 1e-15),
                        nearly.SolveLinearSquare(b, x, 1e-9)}));
    EXPECT_EQ(x, (std::vector<double>{7}));
    EXPECT_TRUE(nearly.SolveLinearSquare(b, x, 1e-12));
}

TEST(MCRectMatrixSolve, QRDecomposition)
{
    TestRandom random(602);
    for (const int rows : {1, 2, 7, 20})
        for (const int cols : {1, 3, 7, 9}) {
            const MCRectMatrix a = RandomRect(random, rows, cols);
            MCRectMatrix q, r;
            ASSERT_TRUE(a.QRDecompositionH(q, r));
            const Naive Q = ToNaive(q), R = ToNaive(r);
            EXPECT_TRUE(Near(Q.T() * Q, Identity(Q.cols), 1e-14));
            EXPECT_TRUE(Near(Q * R, ToNaive(a), 1e-14));
            for (int i = 0; i < R.rows; ++i)
                for (int j = 0; j < i; ++j) EXPECT_EQ(r.GetElem(i, j), 0.0);
        }
    MCRectMatrix q(1, 1), r(1, 1);
    EXPECT_TRUE(NoneOf({MCRectMatrix(3, 0).QRDecompositionH(q, r), MCRectMatrix().QRDecompositionH(q, r)}));
    EXPECT_TRUE(q.GetNRows() == 1 && r.GetNRows() == 1);
}
