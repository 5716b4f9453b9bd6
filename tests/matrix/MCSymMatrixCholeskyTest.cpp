#include "matrix/Matrices.h"
#include "modelcore/common/MCBitSet.h"
#include "modelcore/matrix/MCDiagMatrix.h"
#include "support/AllKernels.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

using namespace MCMath_930;

namespace {

MCSymMatrix Factor(const MCSymMatrix& s)
{
    MCSymMatrix factor(s);
    EXPECT_EQ(factor.LTChol(Diagonal(s), 1e-12, true), 0);
    return factor;
}

/// The cross products of n columns of which every third is the sum of the two before it.
MCSymMatrix Singular(TestRandom& random, int n)
{
    MCRectMatrix x = RandomRect(random, n + 3, n);
    for (int r = 0; r < x.GetNRows(); ++r)
        for (int j = 2; j < n; j += 3) x.SetElem(r, j, x.GetElem(r, j - 1) + x.GetElem(r, j - 2));
    MCSymMatrix s;
    EXPECT_TRUE(s.ComputeRTransByR(x));
    return s;
}

} // namespace

TEST(MCSymMatrixCholesky, SmallExactCases)
{
    MCSymMatrix singular = FromTriangle({1, 1, 1});
    EXPECT_EQ(singular.LTChol({1, 1}, 1e-12, true), 1);
    EXPECT_TRUE(SameMatrix(singular, FromTriangle({1, 1, 0})));

    MCSymMatrix s = FromTriangle({4, 2, 5});
    MCBitSet kept(1);
    EXPECT_EQ(s.LTChol({4, 5}, 1e-12, kept, true), 0);
    EXPECT_TRUE(SameMatrix(s, FromTriangle({2, 1, 2})));
    EXPECT_EQ(kept.Count(), 2);
    double det[2];
    EXPECT_EQ(s.LTDetInverse(det, 11), 0);
    EXPECT_TRUE(det[0] == 4.0 && det[1] == 0.0);
    EXPECT_TRUE(SameMatrix(s, FromTriangle({0.5, -0.25, 0.5})));

    // d = tol * reference is refused, as in the sweep, and a larger bit set is cleared beyond the order as well.
    MCBitSet large(5);
    large.SetAll();
    MCSymMatrix limit = FromTriangle({0.25, 0, 1});
    EXPECT_EQ(limit.LTChol({1, 1}, 0.25, large, true), 1);
    EXPECT_TRUE(large.Size() == 5 && large.Count() == 1 && large.IsIn(1));
}

TEST(MCSymMatrixCholesky, FactorTimesItsTransposeIsTheMatrix)
{
    TestRandom random(301);
    for (const int n : {1, 2, 7, 30, 61}) {
        const MCSymMatrix s = RandomCrossProducts(random, n);
        MCSymMatrix factor = Factor(s);
        MCSymMatrix inverse;
        const double tolerance = 4.0 * n * std::numeric_limits<double>::epsilon();
        EXPECT_TRUE(Near(ToNaive(factor).Lower() * ToNaive(factor).Lower().T(), ToNaive(s), tolerance));
        EXPECT_EQ(s.CholInverse(Diagonal(s), 1e-12, inverse), n);
        EXPECT_TRUE(Near(ToNaive(s) * ToNaive(inverse),
                         DiagonalOf(std::vector<double>(static_cast<std::size_t>(n), 1.0)), 1e-9));
        MCSymMatrix sameObject(s);
        EXPECT_EQ(sameObject.CholInverse(Diagonal(s), 1e-12, sameObject), n);
        EXPECT_TRUE(SameMatrix(sameObject, inverse));
        factor.LTLLTrans();
        EXPECT_TRUE(Near(ToNaive(factor), ToNaive(s), tolerance));
    }
}

TEST(MCSymMatrixCholesky, RedundantRowsGiveAGeneralisedInverse)
{
    TestRandom random(302);
    for (const int n : {3, 8, 20}) {
        const MCSymMatrix s = Singular(random, n);
        const int redundant = n / 3;
        std::vector<int> rows{-1};
        EXPECT_EQ(s.CholIndNonRed(Diagonal(s), -1.0, rows), -1);
        EXPECT_EQ(rows.size(), 1u);
        EXPECT_EQ(s.CholIndNonRed(Diagonal(s), 1e-10, rows), n - redundant);
        for (const int row : rows) EXPECT_NE(row % 3, 2);

        MCSymMatrix g;
        ASSERT_EQ(s.CholInverse(Diagonal(s), 1e-10, g), n - redundant);
        for (int i = 2; i < n; i += 3) EXPECT_TRUE(g.IsZeroRow(i));
        const Naive S = ToNaive(s), G = ToNaive(g);
        EXPECT_TRUE(Near(S * G * S, S, 1e-10));
        EXPECT_TRUE(Near(G * S * G, G, 1e-10));

        // The solution of a consistent system: zeros in the redundant places, as G*b has them.
        std::vector<double> b, x;
        ASSERT_TRUE(s.ComputeSV(random.Vector(static_cast<std::size_t>(n), -1.0, 1.0), b));
        MCSymMatrix factor(s);
        EXPECT_EQ(factor.LTChol(Diagonal(s), 1e-10, true), redundant);
        ASSERT_TRUE(factor.LTSolve(b, x));
        EXPECT_TRUE(Near(ToNaive(x), G * ToNaive(b), 1e-9));
        EXPECT_TRUE(Near(S * ToNaive(x), ToNaive(b), 1e-9));
        double det[2] = {1, 1};
        EXPECT_EQ(factor.LTDetInverse(det, 1), redundant);
        EXPECT_TRUE(det[0] == 0.0 && det[1] == 0.0);
    }
}

// Dtrdi goes down the columns and skips a column whose factor is 0; the oracle does so on a square array.
TEST(MCSymMatrixCholesky, InverseOfTheFactorEqualsTheColumnOperationsBitForBit)
{
    TestRandom random(303);
    for (const int n : {1, 2, 9, 26})
        for (const bool someZero : {false, true}) {
            MCSymMatrix l = RandomSym(random, n);
            if (someZero)
                for (int i = 1; i < n; i += 2) l.SetElem(i, i / 2, 0.0);
            std::vector<double> t(static_cast<std::size_t>(n * n));
            const auto at = [&](int i, int j) -> double& { return t[static_cast<std::size_t>(i * n + j)]; };
            l.CopyToSquare(t.data());
            for (int k = n - 1; k >= 0; --k) {
                at(k, k) = 1.0 / at(k, k);
                for (int i = k + 1; i < n; ++i) at(i, k) *= -at(k, k);
                for (int j = 0; j < k; ++j) {
                    const double factor = at(k, j);
                    at(k, j) = 0.0;
                    for (int i = k; i < n && factor != 0.0; ++i) {
                        volatile double product = factor * at(i, k);
                        at(i, j) += product;
                    }
                }
            }
            MCSymMatrix expected;
            ASSERT_TRUE(expected.CopyFromSquare(t.data(), n));
            ForEachKernelSet([&] {
                MCSymMatrix inverse(l);
                EXPECT_TRUE(inverse.LTInverse());
                EXPECT_TRUE(SameMatrix(inverse, expected)) << n;
            });
        }
}

TEST(MCSymMatrixCholesky, Refusals)
{
    MCSymMatrix s = FromTriangle({4, 2, 5});
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_TRUE(Refuses(s, [&](MCSymMatrix& m) { return m.LTChol({4, -1}, 1e-12, true) >= 0; }));
    EXPECT_TRUE(Refuses(s, [&](MCSymMatrix& m) { return m.LTChol({4, 5}, nan, true) >= 0; }));
    MCDiagMatrix diagonal(3);
    MCSymMatrix out(3);
    EXPECT_EQ(s.CholInverse({4, 5}, 1e-12, diagonal), -1);
    EXPECT_EQ(s.CholInverse({4}, 1e-12, out), -1);
    EXPECT_TRUE(SameMatrix(out, MCSymMatrix(3)));
    EXPECT_TRUE(Refuses(s, [&](MCSymMatrix& m) { return m.TransformToPositiveDefinite(0.0) >= 0; }));
    s.SetElem(1, 0, nan);
    EXPECT_EQ(s.TransformToPositiveDefinite(1e-8), -1);
}

TEST(MCSymMatrixCholesky, SubstitutionsSolveTriangles)
{
    TestRandom random(304);
    for (const int n : {1, 5, 23}) {
        const MCSymMatrix l = Factor(RandomCrossProducts(random, n));
        std::vector<double> b = random.Vector(static_cast<std::size_t>(n), -1.0, 1.0);
        std::vector<double> x;
        ASSERT_TRUE(l.LTSubstitute(b, x));
        EXPECT_TRUE(Near(ToNaive(l).Lower() * ToNaive(x), ToNaive(b), 1e-12));
        ASSERT_TRUE(l.TSolveSubst(b, x));
        EXPECT_TRUE(Near(ToNaive(l).Lower().T() * ToNaive(x), ToNaive(b), 1e-12));
        b.pop_back();
        EXPECT_FALSE(l.LTSubstitute(b, x) || l.TSolveSubst(b, x) || l.LTSolve(b, x));
    }
}

TEST(MCSymMatrixCholesky, DowndateUndoesUpdate)
{
    TestRandom random(305);
    for (const int n : {1, 4, 25}) {
        const MCSymMatrix s = RandomCrossProducts(random, n);
        const MCSymMatrix before = Factor(s);
        MCSymMatrix l(before);
        const std::vector<double> v = random.Vector(static_cast<std::size_t>(n), -2.0, 2.0);
        ASSERT_TRUE(l.LTCholUpdateR1(v));
        MCSymMatrix sum(s);
        ASSERT_TRUE(sum.IncrementByVV(v));
        EXPECT_TRUE(Near(ToNaive(l).Lower(), ToNaive(Factor(sum)).Lower(), 1e-11));
        ASSERT_TRUE(l.LTCholDowndate(v));
        EXPECT_TRUE(Near(ToNaive(l).Lower(), ToNaive(before).Lower(), 1e-9));
        EXPECT_TRUE(Refuses(l, [&](MCSymMatrix& m) { return m.LTCholDowndate({1e6 + m.GetElem(0, 0)}); }));
        std::vector<double> far(static_cast<std::size_t>(n), 0.0);
        far[0] = 2.0 * l.GetElem(0, 0);
        EXPECT_TRUE(Refuses(l, [&](MCSymMatrix& m) { return m.LTCholDowndate(far); }));
    }
    MCSymMatrix singular = FromTriangle({1, 1, 0});
    EXPECT_TRUE(Refuses(singular, [](MCSymMatrix& m) { return m.LTCholDowndate({0.1, 0.1}); }));
    EXPECT_TRUE(singular.LTCholUpdateR1({0, -3})); // [[1,1],[1,1]] + diag(0,9)
    EXPECT_TRUE(SameMatrix(singular, FromTriangle({1, 1, 3})));
    EXPECT_FALSE(singular.LTCholUpdateR1({1}));
}

TEST(MCSymMatrixCholesky, TransformationRaisesOnlyDiagonalsThatNeedIt)
{
    TestRandom random(306);
    for (const int n : {1, 3, 12}) {
        MCSymMatrix good = RandomCrossProducts(random, n);
        const MCSymMatrix before(good);
        EXPECT_EQ(good.TransformToPositiveDefinite(1e-10), 0);
        EXPECT_TRUE(SameMatrix(good, before));

        for (const double size : {1e-12, 1.0, 1e12}) {
            MCSymMatrix bad = RandomSym(random, n);
            bad.SetElem(0, 0, -0.5);
            bad.MultiplyByNumber(size);
            const MCSymMatrix start(bad);
            EXPECT_GE(bad.TransformToPositiveDefinite(1e-8), 1);
            for (int i = 0; i < n; ++i) {
                EXPECT_GE(bad.GetElem(i, i), start.GetElem(i, i));
                EXPECT_LE(bad.GetElem(i, i), start.GetElem(i, i) + 20.0 * n * size);
                for (int j = 0; j < i; ++j) EXPECT_EQ(bad.GetElem(i, j), start.GetElem(i, j));
            }
            MCSymMatrix factor(bad);
            EXPECT_EQ(factor.LTChol(std::vector<double>(static_cast<std::size_t>(n), 0.0), 0.0, true), 0);
        }
    }
    MCSymMatrix zero(2);
    EXPECT_EQ(zero.TransformToPositiveDefinite(0.25), 2);
    EXPECT_TRUE(SameMatrix(zero, FromTriangle({0.25, 0, 0.25})));
}
