#include "matrix/Matrices.h"

TEST(MCSymMatrixIndefinite, DeterminantsOfIntegerMatrices)
{
    struct Case {
        std::vector<double> triangle;
        double det;
    };
    for (const Case& c : {Case{{-3}, -3}, Case{{0, 1, 0}, -1}, Case{{2, 1, 2}, 3}, Case{{1, 2, 4}, 0}, Case{{0}, 0},
                          Case{{0, 1, 0, 1, 1, 0}, 2}, Case{{2, -1, 2, 0, -1, 2, 0, 0, -1, 2}, 5},
                          Case{{100, 0, 100, 0, 0, -100}, -1e6}}) {
        double det[2];
        ASSERT_TRUE(FromTriangle(c.triangle).ComputeDeterminant(1e-14, det));
        EXPECT_NEAR(det[0] * std::pow(10.0, det[1]), c.det, 1e-15 * std::fabs(c.det));
        EXPECT_TRUE(det[0] == 0.0 || (std::fabs(det[0]) >= 1.0 && std::fabs(det[0]) < 10.0));
    }
    double det[2] = {7, 7};
    EXPECT_TRUE(NoneOf({MCSymMatrix().ComputeDeterminant(0.0, det), MCSymMatrix(1).ComputeDeterminant(-1.0, det)}));
    EXPECT_EQ(det[0], 7.0);
    ASSERT_TRUE(FromTriangle({1, 0, 1e-6}).ComputeDeterminant(1e-5, det)); // counts as singular
    EXPECT_TRUE(det[0] == 0.0 && det[1] == 0.0);
    ASSERT_TRUE(FromTriangle({1e200, 0, 1e-200}).ComputeDeterminant(0.0, det)); // the estimated condition underflows
    EXPECT_NEAR(det[0] * std::pow(10.0, det[1]), 1.0, 1e-13);
}

TEST(MCSymMatrixIndefinite, SolutionsOfRegularSystems)
{
    TestRandom random(701);
    for (const int n : {1, 2, 6, 31}) {
        const MCSymMatrix s = RandomSym(random, n);
        const std::vector<double> b = RandomVec(random, n);
        std::vector<double> x;
        ASSERT_TRUE(s.SolveIndefinite(b, x, 0.0));
        EXPECT_TRUE(Near(ToNaive(s) * ToNaive(x), ToNaive(b), 1e-11));
        x = b;
        EXPECT_EQ(s.SolveIndefiniteGI(x, x, 1e-14), n);
        EXPECT_TRUE(Near(ToNaive(s) * ToNaive(x), ToNaive(b), 1e-11));
    }
    std::vector<double> x{7};
    const MCSymMatrix singular = FromTriangle({1, 2, 4});
    EXPECT_TRUE(NoneOf({singular.SolveIndefinite({1, 2}, x, 1e-15), singular.SolveIndefinite({1}, x, 0.0),
                        MCSymMatrix().SolveIndefinite({}, x, 0.0), FromTriangle({1}).SolveIndefinite({1}, x, -1.0)}));
    EXPECT_EQ(singular.SolveIndefiniteGI({1}, x, 0.0), -1);
    EXPECT_EQ(singular.SolveIndefiniteGI({1, 2}, x, -1.0), -1);
    EXPECT_EQ(x, (std::vector<double>{7}));
}

// A*D*A' with D indefinite of order r: rank r. Every consistent system is solved, with at most r unknowns not 0.
TEST(MCSymMatrixIndefinite, SingularSystemsAreSolvedWhenTheyCanBe)
{
    TestRandom random(702);
    for (const int n : {2, 5, 17})
        for (int r = 0; r < n; r += 2) {
            MCSymMatrix middle(r);
            for (int i = 1; i < r; i += 2) middle.SetElem(i, i - 1, 1.0); // zero diagonal: pivots of order 2
            const MCRectMatrix a = RandomRect(random, n, r);
            MCSymMatrix s;
            ASSERT_TRUE(middle.ComputeRSRTrans(a, s));
            std::vector<double> b, x;
            ASSERT_TRUE(s.ComputeSV(RandomVec(random, n), b));
            EXPECT_EQ(s.SolveIndefiniteGI(b, x, 1e-10), r);
            EXPECT_TRUE(Near(ToNaive(s) * ToNaive(x), ToNaive(b), 1e-9));
            EXPECT_LE(std::count_if(x.begin(), x.end(), [](double value) { return value != 0.0; }), r);
        }
}
