// The factorisations against plain transcriptions of the published loops, bit for bit, under every kernel set.
#include "modelcore/linalg/Linpack.h"
#include "reference/plain/LinpackLoops.h"
#include "support/AllKernels.h"
#include "support/Testing.h"

using MCMath_930::Linpack;

namespace {

constexpr int kOrders[] = {0,  1,  2,  3,  5,  6,  7,  8,  9,  16, 17, 23, 24,  25,  31,  32,
                           33, 47, 48, 49, 56, 57, 63, 64, 65, 73, 96, 97, 112, 119, 130, 177};
constexpr double kUntouched = 77.0; // what stands between n and lda, and outside a symmetric matrix's triangle

std::size_t Size(int n)
{
    return static_cast<std::size_t>(n);
}

enum class Kind { Dense, SmallIntegers, SignedZeros, Symmetric, SymmetricIntegers, PositiveDefinite, NotDefinite };

/// An m x n matrix with a leading dimension larger than m. Symmetric kinds fill the upper triangle only.
Plain::Matrix Make(Kind kind, int m, int n)
{
    TestRandom random(static_cast<std::uint64_t>(1000 * n + m));
    const int lda = m + 3;
    Plain::Matrix a{std::vector<double>(Size(lda) * Size(n), kUntouched), lda};
    for (int j = 0; j < n; ++j)
        for (int i = 0; i < m; ++i) {
            double value = random.Uniform(-1.0, 1.0);
            switch (kind) {
            case Kind::Dense:
            case Kind::Symmetric: break;
            // Many ties, zero multipliers and, at small orders, zero pivots.
            case Kind::SmallIntegers:
            case Kind::SymmetricIntegers: value = random.Below(3) - 1; break;
            case Kind::SignedZeros:
                if (random.Below(2) == 0) value = random.Below(2) == 0 ? -0.0 : 0.0;
                if (j % 5 == 2) value = i < 2 ? -0.0 : 0.0;
                break;
            case Kind::PositiveDefinite: value = i == j ? n + 0.5 : value; break;
            case Kind::NotDefinite: value = i == j ? (j == 2 * n / 3 ? 0.1 : n + 0.5) : value; break;
            }
            if (kind < Kind::Symmetric || i <= j) a(i, j) = value;
        }
    return a;
}

/// Runs check(start) on every order and kind.
template <class Check>
void ForEachMatrix(std::initializer_list<Kind> kinds, Check check)
{
    for (const Kind kind : kinds)
        for (const int n : kOrders) {
            SCOPED_TRACE(testing::Message() << "kind " << static_cast<int>(kind) << ", order " << n);
            check(Make(kind, n, n), n);
        }
}

std::vector<double> Pack(Plain::Matrix a, int n)
{
    std::vector<double> packed;
    for (int j = 0; j < n; ++j)
        for (int i = 0; i <= j; ++i) packed.push_back(a(i, j));
    return packed;
}

} // namespace

TEST(LinpackBits, GeneralFactorsAndInverse)
{
    ForEachMatrix({Kind::Dense, Kind::SmallIntegers, Kind::SignedZeros}, [](const Plain::Matrix& start, int n) {
        Plain::Matrix factors = start;
        std::vector<int> expectedPivots(Size(n));
        const int info = Plain::Dgefa(factors, n, expectedPivots);
        Plain::Matrix inverse = factors;
        if (info == 0) Plain::DgediInverse(inverse, n, expectedPivots);
        ForEachKernelSet([&] {
            Plain::Matrix a = start;
            std::vector<int> pivots(Size(n));
            EXPECT_EQ(Linpack::Dgefa(a.values.data(), a.lda, n, pivots.data()), info);
            EXPECT_EQ(pivots, expectedPivots);
            EXPECT_TRUE(SameBits(a.values, factors.values));
            if (info != 0) return;
            std::vector<double> work(Size(n));
            Linpack::Dgedi(a.values.data(), a.lda, n, pivots.data(), nullptr, work.data(), 1);
            EXPECT_TRUE(SameBits(a.values, inverse.values));
        });
    });
}

TEST(LinpackBits, TriangularInverses)
{
    for (const bool upper : {true, false})
        ForEachMatrix({Kind::Dense, Kind::SignedZeros}, [upper](Plain::Matrix start, int n) {
            for (int i = 0; i < n; ++i) start(i, i) += start(i, i) < 0.0 ? -2.0 : 2.0;
            Plain::Matrix expected = start;
            upper ? Plain::InvertUpper(expected, n) : Plain::InvertLower(expected, n);
            ForEachKernelSet([&] {
                Plain::Matrix t = start;
                EXPECT_EQ(Linpack::Dtrdi(t.values.data(), t.lda, n, nullptr, upper ? 11 : 10), 0);
                EXPECT_TRUE(SameBits(t.values, expected.values));
            });
        });
}

// A failed factorisation leaves the columns after the failing one as they were.
TEST(LinpackBits, PositiveDefiniteFactorsAndInverseDenseAndPacked)
{
    ForEachMatrix({Kind::PositiveDefinite, Kind::NotDefinite}, [](const Plain::Matrix& start, int n) {
        Plain::Matrix factor = start;
        const int info = Plain::Dpofa(factor, n);
        Plain::Matrix inverse = factor;
        if (info == 0) Plain::DpodiInverse(inverse, n);
        ForEachKernelSet([&] {
            Plain::Matrix a = start;
            std::vector<double> ap = Pack(a, n);
            EXPECT_EQ(Linpack::Dpofa(a.values.data(), a.lda, n), info);
            EXPECT_EQ(Linpack::Dppfa(ap.data(), n), info);
            EXPECT_TRUE(SameBits(a.values, factor.values));
            EXPECT_TRUE(SameBits(ap, Pack(factor, n)));
            if (info != 0) return;
            Linpack::Dpodi(a.values.data(), a.lda, n, nullptr, 1);
            Linpack::Dppdi(ap.data(), n, nullptr, 1);
            EXPECT_TRUE(SameBits(a.values, inverse.values));
            EXPECT_TRUE(SameBits(ap, Pack(inverse, n)));
        });
    });
}

TEST(LinpackBits, IndefiniteFactorsDenseAndPacked)
{
    ForEachMatrix({Kind::Symmetric, Kind::SymmetricIntegers, Kind::PositiveDefinite},
                  [](const Plain::Matrix& start, int n) {
                      Plain::Matrix factors = start;
                      std::vector<int> expectedPivots(Size(n));
                      const int info = Plain::Dsifa(factors, n, expectedPivots);
                      ForEachKernelSet([&] {
                          Plain::Matrix a = start;
                          std::vector<double> ap = Pack(a, n);
                          std::vector<int> pivots(Size(n));
                          EXPECT_EQ(Linpack::Dsifa(a.values.data(), a.lda, n, pivots.data()), info);
                          EXPECT_EQ(pivots, expectedPivots);
                          EXPECT_EQ(Linpack::Dspfa(ap.data(), n, pivots.data()), info);
                          EXPECT_EQ(pivots, expectedPivots);
                          EXPECT_TRUE(SameBits(a.values, factors.values));
                          EXPECT_TRUE(SameBits(ap, Pack(factors, n)));
                      });
                  });
}

// Large enough for several panels, with what a panel must keep apart: exchanges, blocks of order 2, multipliers of 0 that
// leave signed zeros and infinities alone, columns of zeros. NaN are compared as such: their signs are the processor's.
TEST(LinpackBits, IndefinitePanels)
{
    enum class Panels { Symmetric, NoDiagonal, Integers, SignedZeros, ZeroColumns, Dependent, Infinities, NaN };
    for (const Panels kind : {Panels::Symmetric, Panels::NoDiagonal, Panels::Integers, Panels::SignedZeros,
                              Panels::ZeroColumns, Panels::Dependent, Panels::Infinities, Panels::NaN})
        for (const int n : {129, 166, 231, 300}) {
            SCOPED_TRACE(testing::Message() << "kind " << static_cast<int>(kind) << ", order " << n);
            TestRandom random(static_cast<std::uint64_t>(n));
            Plain::Matrix start = Make(Kind::Symmetric, n, n);
            for (int j = 0; j < n; ++j)
                for (int i = 0; i <= j; ++i) {
                    double& x = start(i, j);
                    switch (kind) {
                    case Panels::Symmetric: break;
                    case Panels::NoDiagonal: x = i == j ? 0.0 : x; break;
                    case Panels::Integers: x = random.Below(5) - 2; break;
                    case Panels::SignedZeros: x = random.Below(3) == 0 ? x : std::copysign(0.0, x); break;
                    case Panels::ZeroColumns: x = i % 7 == 3 || j % 7 == 3 ? std::copysign(0.0, x) : x; break;
                    case Panels::Dependent: x = j >= n / 2 && i < n / 2 ? start(i, j - n / 2) : x; break;
                    case Panels::Infinities: x = random.Below(3000) == 0 ? std::copysign(HUGE_VAL, x) : x; break;
                    case Panels::NaN:
                        x = random.Below(5) == 0 ? 0.0 : random.Below(3000) == 0 ? std::nan("") : x;
                        break;
                    }
                }
            Plain::Matrix factors = start;
            std::vector<int> expectedPivots(Size(n));
            const int info = Plain::Dsifa(factors, n, expectedPivots);
            const auto one = [](std::vector<double> values) { // a NaN of one kind
                for (double& x : values) x = std::isnan(x) ? std::nan("") : x;
                return values;
            };
            ForEachKernelSet([&] {
                Plain::Matrix a = start;
                std::vector<double> ap = Pack(a, n);
                std::vector<int> pivots(Size(n)), packedPivots(Size(n));
                EXPECT_EQ(Linpack::Dsifa(a.values.data(), a.lda, n, pivots.data()), info);
                EXPECT_EQ(Linpack::Dspfa(ap.data(), n, packedPivots.data()), info);
                EXPECT_EQ(pivots, expectedPivots);
                EXPECT_EQ(packedPivots, expectedPivots);
                EXPECT_TRUE(SameBits(one(a.values), one(factors.values)));
                EXPECT_TRUE(SameBits(one(ap), one(Pack(factors, n))));
            });
        }
}

// From 160 columns on pivoting goes over the matrix once a step. A last column that is to stay last changes nothing for the
// others, so that 159 and 160 columns must agree: with columns that others span, whose norms cancel and are computed anew,
// with columns of zeros, and with some that are told to be first and last.
TEST(LinpackBits, PivotingInOnePassEqualsColumnByColumn)
{
    constexpr int n = 200, p = 160;
    Plain::Matrix start = Make(Kind::Dense, n, p);
    for (int j = 90; j < p; ++j)
        for (int i = 0; i < n; ++i)
            start(i, j) = j % 10 == 0 ? 0.0 : start(i, j - 90) * 0.5 - start(i, j - 60) + (j % 3) * 1e-11 * start(i, j);
    ForEachKernelSet([&] {
        std::array<Plain::Matrix, 2> x{start, start};
        std::array<std::vector<double>, 2> aux;
        std::array<std::vector<int>, 2> pivots;
        for (const std::size_t k : {0u, 1u}) {
            const int columns = p - 1 + static_cast<int>(k);
            aux[k].resize(p);
            pivots[k].resize(p);
            pivots[k][3] = 1;
            pivots[k][7] = pivots[k][p - 1] = -1;
            std::vector<double> work(p);
            Linpack::Dqrdc(x[k].values.data(), x[k].lda, n, columns, aux[k].data(), pivots[k].data(), work.data(), 1);
        }
        for (int i = 0; i < n; ++i) x[0](i, p - 1) = x[1](i, p - 1);
        EXPECT_TRUE(SameBits(x[0].values, x[1].values));
        aux[0].back() = aux[1].back();
        EXPECT_TRUE(SameBits(aux[0], aux[1]));
        pivots[0].back() = p;
        EXPECT_EQ(pivots[0], pivots[1]);
    });
}

TEST(LinpackBits, QrWithAndWithoutPivoting)
{
    constexpr int kShapes[][2] = {{1, 1},   {2, 2},   {3, 5},   {5, 3},   {8, 8},    {9, 17},   {33, 7},    {40, 33},
                                  {64, 64}, {65, 66}, {20, 90}, {97, 97}, {130, 49}, {70, 130}, {165, 170}, {200, 161}};
    for (const Kind kind : {Kind::Dense, Kind::SignedZeros})
        for (const bool pivot : {false, true})
            for (const auto& shape : kShapes) {
                const int n = shape[0], p = shape[1];
                SCOPED_TRACE(testing::Message() << n << " x " << p << (pivot ? ", pivoted" : ""));
                const Plain::Matrix start = Make(kind, n, p);
                Plain::Matrix expected = start;
                std::vector<double> expectedAux(Size(p));
                std::vector<int> expectedPivots(Size(p));
                Plain::Dqrdc(expected, n, p, expectedAux, expectedPivots, pivot);
                ForEachKernelSet([&] {
                    Plain::Matrix x = start;
                    std::vector<double> aux(Size(p)), work(Size(p));
                    std::vector<int> pivots(Size(p));
                    Linpack::Dqrdc(x.values.data(), x.lda, n, p, aux.data(), pivots.data(), work.data(), pivot ? 1 : 0);
                    EXPECT_TRUE(SameBits(x.values, expected.values));
                    EXPECT_TRUE(SameBits(aux, expectedAux));
                    EXPECT_EQ(pivots, expectedPivots);
                });
            }
}
