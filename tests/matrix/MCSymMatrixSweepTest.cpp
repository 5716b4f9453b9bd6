#include "matrix/Matrices.h"
#include "support/AllKernels.h"

namespace {

/// The definition, on a full square array and with the bits in a plain vector.
bool DefiningSweep(std::vector<std::vector<double>>& s, int row, double tol, const std::vector<double>& ref,
                   std::vector<bool>& swept)
{
    const std::size_t n = s.size();
    const auto k = static_cast<std::size_t>(row);
    const double p = s[k][k];
    if (!swept[k]) {
        if (tol * ref[k] >= p) return false;
        for (std::size_t j = 0; j < n; ++j)
            if (swept[j] && !((s[j][j] - s[k][j] * s[k][j] / p) * tol * ref[j] > -1.0)) return false;
    }
    for (std::size_t i = 0; i < n; ++i) {
        if (i == k) continue;
        const double a = s[i][k];
        s[i][k] = s[k][i] = a / std::fabs(p);
        for (std::size_t j = 0; j <= i; ++j) {
            if (j == k) continue;
            volatile double product = (p > 0 ? -a : a) * s[j][k];
            s[i][j] = s[j][i] = s[i][j] + product;
        }
    }
    s[k][k] = -1.0 / p;
    swept[k] = !swept[k];
    return true;
}

/// Demands that call returns false and that neither matrix nor bit set changes.
void ExpectRefused(MCSymMatrix& s, MCBitSet& swept, const std::function<bool(MCSymMatrix&, MCBitSet&)>& call)
{
    const MCBitSet before(swept);
    EXPECT_TRUE(Refuses(s, [&](MCSymMatrix& m) { return call(m, swept); }));
    EXPECT_EQ(swept, before);
}

} // namespace

// Random rows are swept, swept back and refused in random order; the tolerance is high enough for both tests to refuse.
TEST(MCSymMatrixSweep, EveryFormEqualsTheDefiningLoopBitForBit)
{
    constexpr double kTol = 0.5;
    ForEachKernelSet([] {
        TestRandom random(11);
        int refused = 0;
        for (const int n : {1, 2, 3, 5, 8, 9, 17, 34}) {
            MCSymMatrix s = RandomCrossProducts(random, n);
            if (n > 3) s.SetElem(n - 1, n - 2, -0.0);
            MCSymMatrix original(s);
            std::vector<std::vector<double>> full(static_cast<std::size_t>(n));
            for (int i = 0; i < n; ++i) s.GetRow(i, full[static_cast<std::size_t>(i)]);
            const std::vector<double> ref = Diagonal(s);
            MCBitSet swept(n);
            MCBitSet sweptOriginal(n);
            std::vector<bool> sweptFull(static_cast<std::size_t>(n));
            for (int step = 0; step < 3 * n; ++step) {
                const int k = random.Below(n);
                const bool done = DefiningSweep(full, k, kTol, ref, sweptFull);
                ASSERT_EQ(s.Sweep(k, kTol, ref, swept, true), done);
                ASSERT_EQ(original.SweepOrig(k, kTol, ref, sweptOriginal, true), done);
                refused += done ? 0 : 1;
            }
            MCSymMatrix expected(n);
            for (int i = 0; i < n; ++i) {
                expected.PutRow(i, full[static_cast<std::size_t>(i)]);
                EXPECT_EQ(swept.IsIn(i), sweptFull[static_cast<std::size_t>(i)]);
            }
            EXPECT_TRUE(SameMatrix(s, expected)) << n;
            EXPECT_TRUE(SameMatrix(original, expected)) << n;
            EXPECT_EQ(swept, sweptOriginal);
        }
        EXPECT_GT(refused, 10);
    });
}

// Row lists longer than a block, with rows named twice and rows refused; -0.0 shows a term too many, and the reference
// without a value an element that was meant for another row.
TEST(MCSymMatrixSweep, BlocksOfRowsEqualRowByRowBitForBit)
{
    ForEachKernelSet([] {
        TestRandom random(12);
        for (const int n : {40, 64, 71, 150, 410}) {
            SCOPED_TRACE(n);
            MCSymMatrix s = RandomCrossProducts(random, n);
            for (int i = 1; i < n; i += 9) s.SetElem(i, i / 2, -0.0);
            MCSymMatrix byRow(s);
            const std::vector<double> ref = Diagonal(s);
            std::vector<int> rows;
            for (int r = 0; r < 90; ++r) rows.push_back(random.Below(n));
            for (int k = 7; k<n; k += n> 200 ? 3 : 1) rows.push_back(k);
            MCBitSet swept(n);
            MCBitSet sweptByRow(n);
            bool all = true;
            for (const int k : rows) all = byRow.SweepOrig(k, 0.6, ref, sweptByRow, true) && all;
            EXPECT_EQ(s.SweepOnMany(rows, 0.6, ref, swept, true), all);
            EXPECT_FALSE(all);
            EXPECT_GT(swept.Count(), 8);
            EXPECT_EQ(swept, sweptByRow);
            EXPECT_TRUE(SameMatrix(s, byRow));
        }
    });
}

TEST(MCSymMatrixSweep, AnyOrderGivesTheInverseAndSweepingBackRestores)
{
    TestRandom random(3);
    for (const int n : {1, 4, 23}) {
        const MCSymMatrix start = RandomCrossProducts(random, n);
        const std::vector<double> ref = Diagonal(start);
        std::vector<int> order;
        for (int k = 0; k < n; ++k) order.insert(order.begin() + random.Below(k + 1), k);
        MCSymMatrix s(start), other(start);
        MCBitSet swept(n), sweptOther(n);
        ASSERT_TRUE(s.SweepOnAll(1e-12, ref, swept, true) && other.SweepOnMany(order, 1e-12, ref, sweptOther, true));
        EXPECT_TRUE(Near(ToNaive(other), ToNaive(s), 1e-9));
        ASSERT_TRUE(s.SweepOnSelected(swept, 1e-12, ref, swept, true)); // swept itself says which rows
        EXPECT_TRUE(swept == MCBitSet(n) && Near(ToNaive(s), ToNaive(start), 1e-10));
        other.ChangeSign();
        EXPECT_TRUE(Near(ToNaive(start) * ToNaive(other), Identity(n), 1e-9));
    }
}

TEST(MCSymMatrixSweep, InvalidArgumentsAreRefused)
{
    struct Case {
        int k;
        double tol;
        std::vector<double> ref;
        int nBits;
    };
    const std::vector<Case> cases{{-1, 1e-8, {1, 1, 1}, 3},      {3, 1e-8, {1, 1, 1}, 3},     {0, 0.0, {1, 1, 1}, 3},
                                  {0, -1e-8, {1, 1, 1}, 3},      {0, kNan, {1, 1, 1}, 3},     {0, 1e-8, {1, 1}, 3},
                                  {0, 1e-8, {1, 1, -1e-300}, 3}, // the reference of another row
                                  {0, 1e-8, {kNan, 1, 1}, 3},    {0, 1e-8, {1, 1, 1, -1}, 3}, // of no row at all
                                  {0, 1e-8, {1, 1, 1}, 2}};
    for (const Case& c : cases) {
        SCOPED_TRACE(&c - cases.data());
        MCSymMatrix s = FromTriangle({1, 0.5, 1, 0.25, 0.5, 1});
        MCBitSet swept(c.nBits);
        const MCBitSet selected = Bits(4, {c.k < 0 ? 3 : c.k});
        ExpectRefused(s, swept, [&](auto& m, auto& b) {
            return m.Sweep(c.k, c.tol, c.ref, b, true) || m.SweepOrig(c.k, c.tol, c.ref, b, true) ||
                   m.SweepOnMany({1, c.k}, c.tol, c.ref, b, true) ||
                   m.SweepOnSelected(selected, c.tol, c.ref, b, true) ||
                   (c.k == 0 && m.SweepOnAll(c.tol, c.ref, b, true));
        });
    }
    MCSymMatrix s(1);
    MCBitSet swept(1);
    const double* const none = nullptr;
    ExpectRefused(s, swept, [&](auto& m, auto& b) { return m.Sweep(0, 1e-8, none, b, true); });
}

TEST(MCSymMatrixSweep, PivotAtTheToleranceIsRefusedWithAndWithoutCheck)
{
    for (const bool check : {true, false}) {
        MCSymMatrix s = FromTriangle({0.25, 0.125, 1});
        MCBitSet swept(2);
        ExpectRefused(s, swept, [&](auto& m, auto& b) {
            return m.Sweep(0, 0.25, {1.0, 1.0}, b, check) || m.SweepOrig(0, 0.25, {1.0, 1.0}, b, check);
        });
        EXPECT_TRUE(s.Sweep(0, std::nextafter(0.25, 0.0), {1.0, 1.0}, swept, check));
    }
}

TEST(MCSymMatrixSweep, NanFlowsAndLargerArgumentsAreFine)
{
    MCSymMatrix s = FromTriangle({1, kNan, 4});
    MCBitSet swept(40);
    EXPECT_TRUE(s.Sweep(0, 1e-8, {1, 4, 7}, swept, true)); // the third reference value belongs to no row
    EXPECT_EQ(s.GetElem(0, 0), -1.0);
    EXPECT_TRUE(std::isnan(s.GetElem(1, 1)));
    MCSymMatrix empty;
    MCBitSet none;
    EXPECT_TRUE(empty.SweepOnAll(1e-8, std::vector<double>(), none, true));
}
