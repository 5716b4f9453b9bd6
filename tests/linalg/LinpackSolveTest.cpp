// Properties on random and on awkward matrices: residuals, inverses, condition, singular values, what ends a loop.
#include "modelcore/linalg/Linpack.h"
#include "support/Testing.h"

using MCMath_930::Linpack;
using Doubles = std::vector<double>;
using Integers = std::vector<int>;

namespace {

constexpr double kEps = 0x1p-52;

std::size_t At(int i, int j, int lda)
{
    return static_cast<std::size_t>(i) + static_cast<std::size_t>(j) * static_cast<std::size_t>(lda);
}

std::size_t Size(int n)
{
    return static_cast<std::size_t>(n);
}

/// n x n, by columns; symmetric kinds in full.
Doubles RandomMatrix(int n, bool symmetric, double diagonal, int band)
{
    TestRandom random(static_cast<std::uint64_t>(n));
    Doubles a = random.Vector(Size(n) * Size(n), -1.0, 1.0);
    for (int j = 0; j < n; ++j)
        for (int i = 0; i < n; ++i) {
            if (symmetric && i > j) a[At(i, j, n)] = a[At(j, i, n)];
            if (std::abs(i - j) > band) a[At(i, j, n)] = 0.0;
            if (i == j) a[At(i, j, n)] += diagonal;
        }
    if (symmetric)
        for (int j = 0; j < n; ++j)
            for (int i = j + 1; i < n; ++i) a[At(i, j, n)] = a[At(j, i, n)];
    return a;
}

Doubles Packed(const Doubles& a, int n)
{
    Doubles ap;
    for (int j = 0; j < n; ++j)
        for (int i = 0; i <= j; ++i) ap.push_back(a[At(i, j, n)]);
    return ap;
}

/// Elements (i, j) to row i - j + diagonal of an array with the given leading dimension.
Doubles Banded(const Doubles& a, int n, int lda, int diagonal, int below, int above)
{
    Doubles abd(Size(lda) * Size(n));
    for (int j = 0; j < n; ++j)
        for (int i = std::max(0, j - above); i <= std::min(n - 1, j + below); ++i)
            abd[At(i - j + diagonal, j, lda)] = a[At(i, j, n)];
    return abd;
}

/// Largest |A*x - b| against what rounding allows, |A| |x| n eps.
double Residual(const Doubles& a, int n, const Doubles& x, const Doubles& b, bool transposed)
{
    double worst = 0.0, scale = 0.0, largest = 0.0;
    for (int i = 0; i < n; ++i) {
        double sum = -b[Size(i)], row = 0.0;
        for (int j = 0; j < n; ++j) {
            const double element = transposed ? a[At(j, i, n)] : a[At(i, j, n)];
            sum += element * x[Size(j)];
            row += std::fabs(element);
        }
        worst = std::max(worst, std::fabs(sum));
        scale = std::max(scale, row);
        largest = std::max(largest, std::fabs(x[Size(i)]));
    }
    return worst / (scale * largest * n * kEps);
}

} // namespace

// Each solver factors A, estimates its condition and turns b into x.
TEST(LinpackSolve, ResidualsAreOfTheOrderOfRounding)
{
    int n = 0, info = 0;
    Doubles a, b, z; // a is the solver's to use up
    Integers pivots;
    const auto general = [&](int job) {
        const double rcond = Linpack::Dgeco(a.data(), n, n, pivots.data(), z.data());
        Linpack::Dgesl(a.data(), n, n, pivots.data(), b.data(), job);
        return rcond;
    };
    const auto band = [&](int job) {
        Doubles abd = Banded(a, n, 11, 6, 3, 3);
        const double rcond = Linpack::Dgbco(abd.data(), 11, n, 3, 3, pivots.data(), z.data());
        Linpack::Dgbsl(abd.data(), 11, n, 3, 3, pivots.data(), b.data(), job);
        return rcond;
    };
    const auto tridiagonal = [&](bool definite) {
        Doubles c(Size(n)), d(Size(n)), e(Size(n));
        for (int i = 0; i < n; ++i) {
            if (i > 0) c[Size(i)] = a[At(i, i - 1, n)];
            d[Size(i)] = a[At(i, i, n)];
            if (i + 1 < n) e[Size(i)] = a[At(i, i + 1, n)];
        }
        if (definite)
            Linpack::Dptsl(n, d.data(), e.data(), b.data());
        else
            info = Linpack::Dgtsl(n, c.data(), d.data(), e.data(), b.data());
        return 0.5;
    };
    const struct {
        const char* name;
        bool symmetric;
        double diagonal; // times n, added
        int band;
        std::function<double()> run;
    } solvers[] = {
        {"general", false, 0, 999, [&] { return general(0); }},
        {"general transposed", false, 0, 999, [&] { return general(1); }},
        {"band", false, 0, 3, [&] { return band(0); }},
        {"band transposed", false, 0, 3, [&] { return band(1); }},
        {"tridiagonal", false, 0, 1, [&] { return tridiagonal(false); }},
        {"definite tridiagonal", true, 1, 1, [&] { return tridiagonal(true); }},
        {"definite", true, 1, 999,
         [&] {
             const double rcond = Linpack::Dpoco(a.data(), n, n, z.data(), &info);
             Linpack::Dposl(a.data(), n, n, b.data());
             return rcond;
         }},
        {"definite packed", true, 1, 999,
         [&] {
             Doubles ap = Packed(a, n);
             const double rcond = Linpack::Dppco(ap.data(), n, z.data(), &info);
             Linpack::Dppsl(ap.data(), n, b.data());
             return rcond;
         }},
        {"definite band", true, 1, 2,
         [&] {
             Doubles abd = Banded(a, n, 4, 2, 0, 2);
             const double rcond = Linpack::Dpbco(abd.data(), 4, n, 2, z.data(), &info);
             Linpack::Dpbsl(abd.data(), 4, n, 2, b.data());
             return rcond;
         }},
        {"indefinite", true, 0, 999,
         [&] {
             const double rcond = Linpack::Dsico(a.data(), n, n, pivots.data(), z.data());
             Linpack::Dsisl(a.data(), n, n, pivots.data(), b.data());
             return rcond;
         }},
        {"indefinite packed", true, 0, 999,
         [&] {
             Doubles ap = Packed(a, n);
             const double rcond = Linpack::Dspco(ap.data(), n, pivots.data(), z.data());
             Linpack::Dspsl(ap.data(), n, pivots.data(), b.data());
             return rcond;
         }},
        {"least squares", false, 0, 999,
         [&] {
             Doubles y = b;
             Linpack::Dqrdc(a.data(), n, n, n, z.data(), nullptr, nullptr, 0);
             info = Linpack::Dqrsl(a.data(), n, n, n, z.data(), y.data(), nullptr, y.data(), b.data(), nullptr, nullptr,
                                   100);
             return 0.5;
         }},
    };
    for (const auto& solver : solvers)
        for (const int order : {1, 2, 3, 7, 20, 65, 130}) {
            SCOPED_TRACE(testing::Message() << solver.name << ", order " << order);
            n = order;
            const Doubles matrix = RandomMatrix(n, solver.symmetric, solver.diagonal * n, solver.band);
            const Doubles right = TestRandom(5).Vector(Size(n), -1.0, 1.0);
            a = matrix, b = right, z.assign(Size(n), 0.0), pivots.assign(Size(n), 0), info = 0;
            const double rcond = solver.run();
            EXPECT_EQ(info, 0);
            EXPECT_LE(Residual(matrix, n, b, right, std::string_view(solver.name).ends_with("transposed")), 16.0);
            EXPECT_TRUE(rcond > 1e-6 && rcond <= 1.0 + 16 * kEps) << rcond;
        }
}

// The inverses of other factors: LinpackBitsTest.cpp.
TEST(LinpackSolve, IndefiniteInverseTimesMatrixIsTheUnitMatrix)
{
    for (const int n : {1, 2, 7, 65, 130}) {
        const Doubles a = RandomMatrix(n, true, 0.0, n);
        Doubles inverse = Packed(a, n), work(Size(n));
        Integers pivots(Size(n));
        EXPECT_EQ(Linpack::Dspfa(inverse.data(), n, pivots.data()), 0);
        Linpack::Dspdi(inverse.data(), n, pivots.data(), nullptr, nullptr, work.data(), 1);
        double worst = 0.0;
        for (int i = 0; i < n; ++i)
            for (int j = 0; j < n; ++j) {
                double sum = i == j ? -1.0 : 0.0;
                for (int k = 0; k < n; ++k) {
                    const int p = std::min(i, k), q = std::max(i, k);
                    sum += inverse[Size(q * (q + 1) / 2 + p)] * a[At(k, j, n)];
                }
                worst = std::max(worst, std::fabs(sum));
            }
        EXPECT_LE(worst, 1e-10) << "order " << n;
    }
}

TEST(LinpackSolve, DeterminantScalesAndEndsForInfinity)
{
    Doubles diagonal{1e-300, 0, 0, 1e-9}, det(2), work(2);
    EXPECT_EQ(Linpack::Dtrdi(diagonal.data(), 2, 2, det.data(), 101), 0);
    EXPECT_NEAR(det[0] * std::pow(10.0, det[1] + 309), 1.0, 1e-12);
    for (const double bad : {kInf, kNan}) {
        diagonal = {bad, 0, 0, 2.0};
        Linpack::Dtrdi(diagonal.data(), 2, 2, det.data(), 101);
        EXPECT_FALSE(std::isfinite(det[0]));
    }
}

TEST(LinpackSolve, ZeroMatricesAndZeroOrders)
{
    Doubles a(9), z(3), e(3), u(9), v(9), det(2);
    Integers pivots(3, 0), inert(3);
    EXPECT_EQ(Linpack::Dgeco(a.data(), 3, 3, pivots.data(), z.data()), 0.0);
    EXPECT_EQ(Linpack::Dsifa(a.data(), 3, 3, pivots.data()), 1);
    Linpack::Dsidi(a.data(), 3, 3, pivots.data(), det.data(), inert.data(), nullptr, 110);
    EXPECT_EQ(det[0], 0.0);
    EXPECT_EQ(inert, (Integers{0, 0, 3}));
    EXPECT_EQ(Linpack::Dpofa(a.data(), 3, 3), 1);
    pivots = {0, 0, 0};
    EXPECT_EQ(Linpack::Dchdc(a.data(), 3, 3, z.data(), pivots.data(), 1), 0);
    EXPECT_EQ(Linpack::Dsvdc(a.data(), 3, 3, 3, z.data(), e.data(), u.data(), 3, v.data(), 3, det.data(), 11), 0);
    EXPECT_EQ(z, (Doubles{0, 0, 0}));

    int info = -1;
    EXPECT_EQ(Linpack::Dgeco(nullptr, 1, 0, nullptr, nullptr), 0.0);
    EXPECT_EQ(Linpack::Dgbco(nullptr, 4, 0, 1, 1, nullptr, nullptr), 0.0);
    EXPECT_TRUE(Linpack::Dpoco(nullptr, 1, 0, nullptr, &info) == 0.0 && info == 0);
    EXPECT_EQ(Linpack::Dsico(nullptr, 1, 0, nullptr, nullptr), 0.0);
    EXPECT_EQ(Linpack::Dtrco(nullptr, 1, 0, nullptr, 0), 0.0);
    EXPECT_EQ(Linpack::Dgtsl(0, nullptr, nullptr, nullptr, nullptr), 0);
    Linpack::Dptsl(0, nullptr, nullptr, nullptr);
    Linpack::Dqrdc(nullptr, 1, 0, 0, nullptr, nullptr, nullptr, 0);
    EXPECT_EQ(Linpack::Dsvdc(nullptr, 1, 0, 0, nullptr, nullptr, nullptr, 1, nullptr, 1, nullptr, 11), 0);
}

TEST(LinpackSolve, NaNAndInfinityEndEveryLoop)
{
    for (const double bad : {kInf, kNan})
        for (const auto& [n, p] : {std::pair{3, 3}, {70, 3}, {70, 73}, {3, 70}, {70, 70}}) {
            const int m = std::max(n, p);
            Doubles a = RandomMatrix(m, false, 0.0, m), s(Size(m) + 1), e(Size(m)), u(Size(m * m)), v(Size(m * m)),
                    z(e);
            Integers pivots(Size(m));
            a[At(2, 1, m)] = a[At(1, 2, m)] = bad;
            Doubles copy = a;
            Linpack::Dsvdc(copy.data(), m, n, p, s.data(), e.data(), u.data(), m, v.data(), m, z.data(), 11);
            copy = a;
            Linpack::Dqrdc(copy.data(), m, n, p, e.data(), pivots.data(), z.data(), 1);
            copy = a;
            Linpack::Dgeco(copy.data(), m, m, pivots.data(), z.data());
            copy = a;
            Linpack::Dsico(copy.data(), m, m, pivots.data(), z.data());
            Linpack::Dpofa(copy.data(), m, m);
        }
    // One NaN beside zeros: whichever side of a comparison it comes to, every step has a pivot.
    for (int j = 0; j < 5; ++j)
        for (int i = 0; i <= j; ++i) {
            Doubles a(25), z(5);
            Integers pivots(5);
            a[At(0, 1, 5)] = 1.0;
            a[At(i, j, 5)] = kNan;
            Linpack::Dsico(a.data(), 5, 5, pivots.data(), z.data());
            EXPECT_EQ(std::count(pivots.begin(), pivots.end(), 0), 0) << i << ", " << j;
        }
}

TEST(LinpackSolve, SingularValuesAndVectors)
{
    struct Case {
        int n, p, job;
        Doubles x; // random when empty
    };
    // clang-format off
    const Case cases[] = {{1, 1, 11, {}}, {5, 1, 11, {}}, {1, 5, 21, {}}, {12, 7, 21, {}}, {7, 12, 11, {}},
                          {60, 60, 11, {}}, {90, 33, 11, {}}, {33, 90, 21, {}},
                          {3, 3, 11, {1, 0, 0, 1, 0, 0, 0, 1, 2}},                      // a zero splits the block
                          {4, 4, 11, {1, 0, 0, 0, 1, 1, 0, 0, 0, 1, 1, 0, 0, 0, 1, 0}}, // and shortens it
                          {20, 20, 11, Doubles(400, 1.0)}};                             // 20 and zeros
    // clang-format on
    for (const auto& [n, p, job, given] : cases) {
        SCOPED_TRACE(testing::Message() << n << " x " << p << ", job " << job);
        const int k = std::min(n, p);
        const int columns = job == 11 ? n : k;
        const Doubles x0 = given.empty() ? TestRandom(8).Vector(Size(n * p), -1, 1) : given;
        Doubles x = x0, s(Size(k) + 1), e(Size(p)), u(Size(n * columns)), v(Size(p * p)), work(Size(n));
        ASSERT_EQ(Linpack::Dsvdc(x.data(), n, n, p, s.data(), e.data(), u.data(), n, v.data(), p, work.data(), job), 0);
        for (int i = 1; i < k; ++i) EXPECT_GE(s[Size(i - 1)], s[Size(i)]);
        EXPECT_GE(s[Size(k - 1)], 0.0);
        const auto expectOrthonormal = [](const Doubles& q, int rows, int count) {
            for (int a = 0; a < count; ++a)
                for (int b = 0; b <= a; ++b) {
                    double sum = a == b ? -1.0 : 0.0;
                    for (int i = 0; i < rows; ++i) sum += q[At(i, a, rows)] * q[At(i, b, rows)];
                    EXPECT_NEAR(sum, 0.0, 1e-13);
                }
        };
        expectOrthonormal(u, n, columns);
        expectOrthonormal(v, p, p);
        for (int i = 0; i < n; ++i)
            for (int j = 0; j < p; ++j) {
                double sum = -x0[At(i, j, n)];
                for (int m = 0; m < k; ++m) sum += u[At(i, m, n)] * s[Size(m)] * v[At(j, m, p)];
                EXPECT_NEAR(sum, 0.0, 1e-13);
            }
        Doubles only(Size(k) + 1);
        x = x0;
        Linpack::Dsvdc(x.data(), n, n, p, only.data(), e.data(), nullptr, 1, nullptr, 1, work.data(), 0);
        EXPECT_EQ(only, s);
    }
}

// Rows of a large matrix are gathered for the estimate, of a small one they are not, and the one of a triangle never: an
// upper triangle is its own factor, whichever way it is stored.
TEST(LinpackSolve, EstimatesOfATriangleAgree)
{
    for (const int n : {40, 63, 64, 65, 71, 130})
        for (const int above : {5, n - 1}) {
            SCOPED_TRACE(testing::Message() << "order " << n << ", band of " << above);
            Doubles t = RandomMatrix(n, false, 0.1 * n, 999);
            for (int j = 0; j < n; ++j)
                for (int i = 0; i < n; ++i)
                    if (i > j || i < j - above) t[At(i, j, n)] = 0.0;
            const Doubles banded = Banded(t, n, above + 1, above, 0, above);
            Doubles z(Size(n)), right = TestRandom(6).Vector(Size(n), -1.0, 1.0);
            Integers pivots(Size(n));
            const double expected = Linpack::Dtrco(t.data(), n, n, z.data(), 1);
            Doubles a = t, abd = banded;
            EXPECT_NEAR(Linpack::Dgeco(a.data(), n, n, pivots.data(), z.data()) / expected, 1.0, 1e-10);
            EXPECT_NEAR(Linpack::Dgbco(abd.data(), above + 1, n, 0, above, pivots.data(), z.data()) / expected, 1.0,
                        1e-10);

            Doubles x = right, y = right;
            for (int k = 0; k < n; ++k) {
                double sum = 0.0;
                for (int i = std::max(0, k - above); i < k; ++i) sum += t[At(i, k, n)] * x[Size(i)];
                x[Size(k)] = (x[Size(k)] - sum) / t[At(k, k, n)];
            }
            Linpack::Dtrsl(t.data(), n, n, y.data(), 11);
            EXPECT_TRUE(SameBits(y, x));
            Linpack::Dgbsl(abd.data(), above + 1, n, 0, above, pivots.data(), right.data(), 1);
            EXPECT_TRUE(SameBits(right, x));
        }
}
