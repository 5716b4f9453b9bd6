#include "matrix/Matrices.h"
#include "support/AllKernels.h"

namespace {

MCSymMatrix Factor(const MCSymMatrix& s)
{
    MCSymMatrix factor(s);
    EXPECT_EQ(factor.LTChol(Diagonal(s), 1e-12, true), 0);
    return factor;
}

/// sum + a*b, the product rounded first whatever the compiler may do.
double Plus(double sum, double a, double b)
{
    volatile double product = a * b;
    return sum + product;
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

TEST(MCSymMatrixCholesky, PivotAtTheToleranceIsRefusedAndALargerBitSetCleared)
{
    MCBitSet kept(1);
    MCSymMatrix s = FromTriangle({4, 2, 5});
    EXPECT_EQ(s.LTChol({4, 5}, 1e-12, kept, true), 0);
    EXPECT_EQ(kept.Count(), 2);
    double det[2];
    EXPECT_EQ(s.LTDetInverse(det, 11), 0);
    EXPECT_TRUE(det[0] == 4.0 && det[1] == 0.0);

    MCBitSet large(5);
    large.SetAll();
    MCSymMatrix limit = FromTriangle({0.25, 0, 1});
    EXPECT_EQ(limit.LTChol({1, 1}, 0.25, large, true), 1);
    EXPECT_TRUE(large.Size() == 5 && large.Count() == 1 && large.IsIn(1));
}

TEST(MCSymMatrixCholesky, SubstitutionsSolveAndInverseMayStandInPlace)
{
    TestRandom random(301);
    for (const int n : {1, 2, 7, 30, 61}) {
        const MCSymMatrix s = RandomCrossProducts(random, n), factor = Factor(s);
        const Naive L = ToNaive(factor).Lower();
        MCSymMatrix inverse, sameObject(s);
        EXPECT_TRUE(s.CholInverse(Diagonal(s), 1e-12, inverse) == n &&
                    sameObject.CholInverse(Diagonal(s), 1e-12, sameObject) == n);
        EXPECT_TRUE(SameMatrix(sameObject, inverse));
        std::vector<double> b = RandomVec(random, n), x, y;
        ASSERT_TRUE(factor.LTSubstitute(b, x) && factor.TSolveSubst(b, y));
        EXPECT_TRUE(Near(L * ToNaive(x), ToNaive(b), 1e-12) && Near(L.T() * ToNaive(y), ToNaive(b), 1e-12));
        b.pop_back();
        EXPECT_TRUE(NoneOf({factor.LTSubstitute(b, x), factor.TSolveSubst(b, x), factor.LTSolve(b, x)}));
    }
}

TEST(MCSymMatrixCholesky, RedundantRowsGiveAGeneralisedInverse)
{
    TestRandom random(302);
    for (const int n : {3, 8, 20}) {
        const MCSymMatrix s = Singular(random, n);
        std::vector<int> rows{-1};
        EXPECT_TRUE(s.CholIndNonRed(Diagonal(s), -1.0, rows) == -1 && rows.size() == 1);
        EXPECT_EQ(s.CholIndNonRed(Diagonal(s), 1e-10, rows), n - n / 3);
        for (const int row : rows) EXPECT_NE(row % 3, 2);
        MCSymMatrix g, factor(s);
        ASSERT_EQ(s.CholInverse(Diagonal(s), 1e-10, g), n - n / 3);
        for (int i = 2; i < n; i += 3) EXPECT_TRUE(g.IsZeroRow(i));
        const Naive S = ToNaive(s), G = ToNaive(g);
        EXPECT_TRUE(Near(S * G * S, S, 1e-10) && Near(G * S * G, G, 1e-10));

        // The solution of a consistent system: zeros in the redundant places, as G*b has them.
        std::vector<double> b, x;
        ASSERT_TRUE(s.ComputeSV(RandomVec(random, n), b));
        EXPECT_EQ(factor.LTChol(Diagonal(s), 1e-10, true), n / 3);
        ASSERT_TRUE(factor.LTSolve(b, x));
        EXPECT_TRUE(Near(ToNaive(x), G * ToNaive(b), 1e-9) && Near(S * ToNaive(x), ToNaive(b), 1e-9));
    }
}

// The definitions as plain loops on a square array; orders on both sides of those from which blocks are used. Factors
// have redundant rows and zeros, which Dtrdi skips as factors of a column.
TEST(MCSymMatrixCholesky, FactorInverseAndProductEqualThePlainLoopsBitForBit)
{
    TestRandom random(303);
    for (const int n : {1, 2, 9, 17, 26, 48, 56, 57, 67, 119, 210}) {
        SCOPED_TRACE(n);
        MCSymMatrix s = Singular(random, n);
        for (int i = 5; i < n; i += 7) s.SetElem(i, 4, 0.0);
        std::vector<double> t(static_cast<std::size_t>(n * n));
        const auto at = [&](int i, int j) -> double& { return t[static_cast<std::size_t>(i * n + j)]; };
        const auto minusDot = [&](int i, int j) {
            double sum = 0.0;
            for (int m = 0; m < j; ++m) sum = Plus(sum, at(i, m), at(j, m));
            return s.GetElem(i, j) - sum;
        };
        int redundant = 0;
        for (int i = 0; i < n; ++i) {
            for (int j = 0; j < i; ++j) at(i, j) = at(j, j) == 0.0 ? 0.0 : minusDot(i, j) / at(j, j);
            const double d = minusDot(i, i);
            at(i, i) = d > 1e-10 * s.GetElem(i, i) ? std::sqrt(d) : 0.0;
            redundant += at(i, i) == 0.0 ? 1 : 0;
        }
        MCSymMatrix factor;
        ASSERT_TRUE(factor.CopyFromSquare(t.data(), n));

        const auto clear = [&](int k) {
            for (int i = 0; i < n; ++i) at(i, k) = at(k, i) = 0.0;
        };
        for (int k = n - 1; k >= 0; --k) {
            if (at(k, k) == 0.0) {
                clear(k);
                continue;
            }
            at(k, k) = 1.0 / at(k, k);
            for (int i = k + 1; i < n; ++i) at(i, k) *= -at(k, k);
            for (int j = 0; j < k; ++j) {
                const double c = at(k, j);
                at(k, j) = 0.0;
                for (int i = k; i < n && c != 0.0; ++i) at(i, j) = Plus(at(i, j), c, at(i, k));
            }
        }
        for (int k = 0; k < n; ++k)
            if (factor.GetElem(k, k) == 0.0) clear(k);
        MCSymMatrix inverse;
        ASSERT_TRUE(inverse.CopyFromSquare(t.data(), n));

        MCSymMatrix product(n); // a sum begins with its first product, not with 0
        for (int i = 0; i < n; ++i)
            for (int j = 0; j <= i; ++j) {
                double sum = at(i, i) * at(i, j);
                for (int m = i + 1; m < n; ++m) sum = Plus(sum, at(m, i), at(m, j));
                product.SetElem(i, j, sum);
            }
        ForEachKernelSet([&] {
            MCSymMatrix ours(s);
            EXPECT_EQ(ours.LTChol(Diagonal(s), 1e-10, true), redundant);
            EXPECT_TRUE(SameMatrix(ours, factor));
            EXPECT_EQ(ours.LTDetInverse(nullptr, 10), redundant);
            EXPECT_TRUE(SameMatrix(ours, inverse));
            ours.LTLTransL();
            EXPECT_TRUE(SameMatrix(ours, product));
        });
    }
}

TEST(MCSymMatrixCholesky, Refusals)
{
    MCSymMatrix s = FromTriangle({4, 2, 5});
    EXPECT_TRUE(Refuses(s, [](MCSymMatrix& m) {
        return NoneOf({m.LTChol({4, -1}, 1e-12, true) >= 0, m.LTChol({4, 5}, kNan, true) >= 0,
                       m.TransformToPositiveDefinite(0.0) >= 0});
    }));
    MCDiagMatrix diagonal(3);
    MCSymMatrix out(3);
    EXPECT_TRUE(s.CholInverse({4, 5}, 1e-12, diagonal) == -1 && s.CholInverse({4}, 1e-12, out) == -1);
    EXPECT_TRUE(SameMatrix(out, MCSymMatrix(3)));
    s.SetElem(1, 0, kNan);
    EXPECT_EQ(s.TransformToPositiveDefinite(1e-8), -1);
}

TEST(MCSymMatrixCholesky, DowndateUndoesUpdate)
{
    TestRandom random(305);
    for (const int n : {1, 4, 25}) {
        MCSymMatrix sum = RandomCrossProducts(random, n), l = Factor(sum);
        const Naive before = ToNaive(l).Lower();
        const std::vector<double> v = random.Vector(static_cast<std::size_t>(n), -2.0, 2.0);
        ASSERT_TRUE(l.LTCholUpdateR1(v) && sum.IncrementByVV(v));
        EXPECT_TRUE(Near(ToNaive(l).Lower(), ToNaive(Factor(sum)).Lower(), 1e-11));
        ASSERT_TRUE(l.LTCholDowndate(v));
        EXPECT_TRUE(Near(ToNaive(l).Lower(), before, 1e-9));
        std::vector<double> far(static_cast<std::size_t>(n), 0.0);
        far[0] = 2.0 * l.GetElem(0, 0);
        EXPECT_TRUE(Refuses(l, [&](MCSymMatrix& m) { return NoneOf({m.LTCholDowndate(far), m.LTCholDowndate({})}); }));
    }
    MCSymMatrix singular = FromTriangle({1, 1, 0});
    EXPECT_TRUE(Refuses(singular, [](MCSymMatrix& m) {
        return NoneOf({m.LTCholDowndate({0.1, 0.1}), m.LTCholUpdateR1({1})});
    }));
    MCSymMatrix nothing(2); // 0 and 0 need no rotation: the factor of diag(0, 9)
    EXPECT_TRUE(nothing.LTCholUpdateR1({0, -3}) && SameMatrix(nothing, MCSymMatrix(2, std::vector<double>{0, 0, 3})));
    EXPECT_TRUE(singular.LTCholUpdateR1({0, -3})); // [[1,1],[1,1]] + diag(0,9)
    EXPECT_TRUE(SameMatrix(singular, FromTriangle({1, 1, 3})));
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
