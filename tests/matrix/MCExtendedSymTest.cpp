#include "matrix/Matrices.h"
#include "support/DisplayCapture.h"
#include "support/MovedFrom.h"

#include <cmath>
#include <numeric>

namespace {

double Binomial(int n, int k)
{
    double value = 1.0;
    for (int i = 1; i <= k; ++i) value = value * (n - k + i) / i;
    return value;
}

/// The least common multiple of 1 .. 2n-1, which makes the Hilbert matrix one of integers.
double Multiple(int n)
{
    long long multiple = 1;
    for (long long i = 2; i < 2 * n; ++i) multiple = std::lcm(multiple, i);
    return static_cast<double>(multiple);
}

MCExtendedSym Hilbert(int n)
{
    MCExtendedSym h(n);
    for (int i = 0; i < n; ++i)
        for (int j = 0; j <= i; ++j) h.SetElem(i, j, {Multiple(n) / (i + j + 1), 0.0});
    return h;
}

/// An element of the inverse of the Hilbert matrix, an integer (Savage & Lukacs 1954).
double InverseHilbert(int n, int i, int j)
{
    const double sign = (i + j) % 2 == 0 ? 1.0 : -1.0;
    return sign * (i + j + 1) * Binomial(n + i, n - j - 1) * Binomial(n + j, n - i - 1) *
           std::pow(Binomial(i + j, i), 2);
}

double RelativeError(MCExtended x, double expected)
{
    return std::fabs((x - MCExtended{expected}).high / expected);
}

std::vector<double> Everything(const MCExtendedSym& m)
{
    std::vector<double> all;
    for (int i = 0; i < m.GetNRows(); ++i)
        for (int j = 0; j <= i; ++j) all.insert(all.end(), {m.GetElem(i, j).high, m.GetElem(i, j).low});
    return all;
}

} // namespace

// Condition numbers from 19 to 1.7e16: of 32 digits so many are left that doubles alone would have lost all of theirs.
TEST(MCExtendedSym, InvertsAndSolvesHilbertMatrices)
{
    const struct {
        int n;
        double tolerance;
    } table[] = {{2, 1e-30}, {5, 1e-26}, {8, 1e-22}, {10, 1e-19}, {12, 1e-16}};
    for (const auto& [n, tolerance] : table) {
        SCOPED_TRACE(n);
        const MCExtendedSym h = Hilbert(n);
        MCExtendedSym s = h;
        std::vector<double> diagonal;
        s.GetDiagonal(diagonal);
        MCBitSet swept(n);
        ASSERT_TRUE(s.SweepOnAll(1e-24, diagonal, swept, true));
        std::vector<MCExtended> b(static_cast<std::size_t>(n));
        for (int i = 0; i < n; ++i)
            for (int j = 0; j < n; ++j) {
                EXPECT_LE(RelativeError(-(s.GetElem(i, j) * MCExtended{Multiple(n)}), InverseHilbert(n, i, j)),
                          tolerance);
                b[static_cast<std::size_t>(i)] = b[static_cast<std::size_t>(i)] + h.GetElem(i, j) * MCExtended{j - 3.5};
            }
        ASSERT_TRUE(h.Solve(b, b, 1e-24));
        for (int j = 0; j < n; ++j) EXPECT_LE(RelativeError(b[static_cast<std::size_t>(j)], j - 3.5), tolerance);
        EXPECT_TRUE(s.SweepOnAll(1e-24, diagonal, swept, true)); // and back
        EXPECT_EQ(swept.Next(0), -1);
        for (int i = 0; i < n; ++i) EXPECT_LE(RelativeError(s.GetElem(i, i), h.GetElem(i, i).high), tolerance);
    }
}

// The rule is that of MCSymMatrix, on positive and on negative pivots; coefficients, inverse and residual alike.
TEST(MCExtendedSym, SweepsAsMCSymMatrixDoes)
{
    TestRandom random(3);
    const MCSymMatrix plain = RandomCrossProducts(random, 6);
    MCSymMatrix swept = plain, rounded;
    MCExtendedSym extended;
    ASSERT_TRUE(extended.Set(plain, MCSymMatrix(6)));
    EXPECT_FALSE(extended.Set(plain, MCSymMatrix(5)));
    std::vector<double> diagonal;
    extended.GetDiagonal(diagonal);
    MCBitSet bits(6), expectedBits(6);
    for (const int k : {4, 0, 2, 4, 5}) {
        ASSERT_TRUE(swept.Sweep(k, 1e-12, diagonal, expectedBits, true));
        ASSERT_TRUE(extended.Sweep(k, 1e-12, diagonal, bits, true));
        extended.Round(rounded);
        for (int i = 0; i < 6; ++i)
            for (int j = 0; j <= i; ++j)
                EXPECT_NEAR(rounded.GetElem(i, j), swept.GetElem(i, j), 1e-10 * (1.0 + std::fabs(swept.GetElem(i, j))));
        for (int i = 0; i < 6; ++i) EXPECT_EQ(bits.IsIn(i), expectedBits.IsIn(i));
    }
}

TEST(MCExtendedSym, DependentRowsAndInvalidArgumentsAreRefused)
{
    // The third variable is the sum of the first two.
    MCExtendedSym s(3);
    const double x[3][3] = {{7.0, 1.0, 8.0}, {1.0, 3.0, 4.0}, {8.0, 4.0, 12.0}};
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j <= i; ++j) s.SetElem(i, j, {x[i][j] / 3.0, 0.0}); // each rounded
    std::vector<double> diagonal;
    s.GetDiagonal(diagonal);
    std::vector<MCExtended> b(3), solution(1);
    EXPECT_FALSE(s.Solve(b, solution, 1e-14));
    EXPECT_FALSE(s.Solve({}, solution, 1e-14));
    EXPECT_FALSE(s.Solve(b, solution, -1.0));
    EXPECT_EQ(solution.size(), 1u);
    MCBitSet swept(3);
    EXPECT_FALSE(s.SweepOnAll(1e-14, diagonal, swept, true));
    EXPECT_TRUE(swept.IsIn(0) && swept.IsIn(1) && !swept.IsIn(2));

    const std::vector<double> before = Everything(s);
    EXPECT_FALSE(s.Sweep(2, 1e-14, diagonal, swept, false));
    for (const int k : {-1, 3})
        EXPECT_FALSE(s.Sweep(k, 1e-14, diagonal, swept, true) || s.SweepOnMany({0, k}, 1e-14, diagonal, swept, true));
    for (const double tolerance : {0.0, -1.0, std::nan("")}) EXPECT_FALSE(s.Sweep(0, tolerance, diagonal, swept, true));
    EXPECT_FALSE(s.Sweep(0, 1e-14, {1.0, 2.0}, swept, true));
    EXPECT_FALSE(s.Sweep(0, 1e-14, {1.0, 2.0, -1.0}, swept, true));
    MCBitSet few(2);
    EXPECT_FALSE(s.Sweep(0, 1e-14, diagonal, few, true));
    EXPECT_FALSE(s.SetNRows(-1) || s.SetNRows(MCSymMatrix::kMaxRows + 1));
    EXPECT_EQ(Everything(s), before);

    // Sweeping the second would leave the first, which is swept, with a pivot below its tolerance.
    MCExtendedSym near(2);
    near.SetElem(0, 0, {1.0, 0.0});
    near.SetElem(1, 0, {1e6, 0.0});
    near.SetElem(1, 1, {1e12 + 1.0, 0.0});
    MCBitSet one(2);
    ASSERT_TRUE(near.Sweep(0, 1e-9, {1.0, 1.0}, one, true));
    EXPECT_FALSE(near.Sweep(1, 1e-9, {1.0, 1.0}, one, true));
}

TEST(MCExtendedSym, EquilibratingLosesNothing)
{
    MCExtendedSym s(3);
    const double diagonal[] = {1e-200, 3e180, 0.0};
    for (int i = 0; i < 3; ++i) s.SetElem(i, i, {diagonal[i], 1e-17 * diagonal[i]});
    s.SetElem(1, 0, {1e-10, 1e-27});
    const std::vector<double> before = Everything(s);
    std::vector<int> exponents;
    s.Equilibrate(exponents);
    for (int i = 0; i < 2; ++i) EXPECT_TRUE(s.GetElem(i, i).high >= 0.5 && s.GetElem(i, i).high < 2.0);
    EXPECT_EQ(exponents[2], 0);
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j <= i; ++j) {
            const int back = -exponents[static_cast<std::size_t>(i)] - exponents[static_cast<std::size_t>(j)];
            const MCExtended x = s.GetElem(i, j);
            s.SetElem(i, j, {std::ldexp(x.high, back), std::ldexp(x.low, back)});
        }
    EXPECT_EQ(Everything(s), before);
}

TEST(MCExtendedSym, ObjectsAreWhole)
{
    const MCExtendedSym filled = Hilbert(5), empty;
    const auto look = [](const MCExtendedSym& m) { return Shown(m); };
    ExpectEmptyAfterMove(filled, empty, look, [](MCExtendedSym& m) { m.SetNRows(3); });
    ExpectAssignmentIsWhole(filled, Hilbert(7), look);
    const std::vector<double> diagonal(5, 1.0);
    ExpectWholeWhenMemoryRunsOut(
        filled, filled,
        [&](MCExtendedSym& m) {
            MCBitSet swept(5);
            m.Sweep(1, 1e-20, diagonal, swept, true);
        },
        look);
}
