// Small systems against the values that the published routines give for them, to 15 digits: what neither the bits of
// the plain loops (LinpackBitsTest) nor residuals (LinpackSolveTest) show.
#include "modelcore/linalg/Linpack.h"
#include "support/Testing.h"

using MCMath_930::Linpack;
using Doubles = std::vector<double>;
using Integers = std::vector<int>;

namespace {

void ExpectNear(const double* actual, std::initializer_list<double> expected, double tolerance = 2e-14)
{
    std::size_t i = 0;
    for (const double value : expected) {
        EXPECT_NEAR(actual[i], value, tolerance * std::fmax(1.0, std::fabs(value))) << "element " << i;
        ++i;
    }
}

void ExpectNear(const Doubles& actual, std::initializer_list<double> expected, double tolerance = 2e-14)
{
    ExpectNear(actual.data(), expected, tolerance);
}

/// G = [4 -2 1 3; 2 5 -1 0; 1 3 6 -2; -8 1 2 7], by columns.
const Doubles kGeneral{4, 2, 1, -8, -2, 5, 3, 1, 1, -1, 6, 2, 3, 0, -2, 7};

/// P = [4 1 -2 2; 1 3 0.5 -1; -2 0.5 5 1.5; 2 -1 1.5 6].
const Doubles kDefinite{4, 1, -2, 2, 1, 3, 0.5, -1, -2, 0.5, 5, 1.5, 2, -1, 1.5, 6};
const Doubles kDefinitePacked{4, 1, 3, -2, 0.5, 5, 2, -1, 1.5, 6};

/// S = [0 2 1 -1; 2 0 3 1; 1 3 -1 2; -1 1 2 0].
const Doubles kIndefinite{0, 2, 1, -1, 2, 0, 3, 1, 1, 3, -1, 2, -1, 1, 2, 0};
const Doubles kIndefinitePacked{0, 2, 0, 1, 3, -1, -1, 1, 2, 0};

const Doubles kRight{1, 2, 3, 4};

/// The factor of P by Dpofa, below the diagonal 0.
Doubles DefiniteFactor()
{
    Doubles r = kDefinite;
    EXPECT_EQ(Linpack::Dpofa(r.data(), 4, 4), 0);
    for (std::size_t j = 0; j < 4; ++j)
        for (std::size_t i = j + 1; i < 4; ++i) r[i + 4 * j] = 0.0;
    return r;
}

} // namespace

TEST(LinpackReference, General)
{
    Doubles a = kGeneral, z(4), det(2);
    Integers ipvt(4);
    EXPECT_NEAR(Linpack::Dgeco(a.data(), 4, 4, ipvt.data(), z.data()), 0.278778986836206, 2e-15);
    EXPECT_EQ(ipvt, (Integers{4, 2, 3, 4}));
    ExpectNear(z, {0.247371316786893, -0.225608265069079, 0.262776623059054, 0.264243795084974});
    Linpack::Dgedi(a.data(), 4, 4, ipvt.data(), det.data(), nullptr, 10);
    ExpectNear(det, {2.094, 3});

    // The second pivot is exactly zero: the elimination goes on and names it.
    const Doubles singular{1, 2, 0, 0, 2, 4, 0, 0, 1, 0, 1, 0, 0, 0, 0, 3};
    a = singular;
    EXPECT_EQ(Linpack::Dgefa(a.data(), 4, 4, ipvt.data()), 2);
    EXPECT_EQ(ipvt, (Integers{2, 2, 3, 4}));
    Linpack::Dgedi(a.data(), 4, 4, ipvt.data(), det.data(), nullptr, 10);
    EXPECT_EQ(det, (Doubles{0, 0}));
    a = singular;
    EXPECT_EQ(1.0 + Linpack::Dgeco(a.data(), 4, 4, ipvt.data(), z.data()), 1.0);
}

TEST(LinpackReference, Band)
{
    constexpr int n = 6, ml = 1, mu = 2, lda = 5;
    Doubles abd(lda * n, 99.0), z(n), det(2); // the rows for the fill-in need not be set
    for (int j = 1; j <= n; ++j)
        for (int i = std::max(1, j - mu); i <= std::min(n, j + ml); ++i)
            abd[static_cast<std::size_t>(i - j + ml + mu + (j - 1) * lda)] = 10 * i + j;
    Integers ipvt(n);
    EXPECT_NEAR(Linpack::Dgbco(abd.data(), lda, n, ml, mu, ipvt.data(), z.data()), 0.000951545635079823, 1e-16);
    EXPECT_EQ(ipvt, (Integers{2, 3, 4, 5, 6, 6}));
    Linpack::Dgbdi(abd.data(), lda, n, ml, mu, ipvt.data(), det.data());
    ExpectNear(det, {-5.721864, 7}, 1e-13);
    for (int i = 0; i < lda; ++i) abd[static_cast<std::size_t>(i)] = 0.0; // the first column
    EXPECT_EQ(Linpack::Dgbfa(abd.data(), lda, n, ml, mu, ipvt.data()), 1);

    // A matrix smaller than its band: the first step clears all of the fill-in's place, even above row 1.
    Doubles small{99, 99, 2, 4, 99, 6, 1, 99};
    EXPECT_EQ(Linpack::Dgbfa(small.data(), 4, 2, 1, 1, ipvt.data()), 0);
    EXPECT_EQ(small, (Doubles{99, 99, 4, -0.5, 0, 1, 5.5, 99}));

    // Whatever stands in the place of the fill-in, for bands of any shape.
    for (int lower = 0; lower < 4; ++lower)
        for (int upper = 0; upper < 4; ++upper) {
            const int rows = 2 * lower + upper + 1;
            Doubles clean(static_cast<std::size_t>(8 * rows)), full(clean.size(), kNan), x(8, 1.0), y(x);
            for (int j = 0; j < 8; ++j)
                for (int i = std::max(0, j - upper); i <= std::min(7, j + lower); ++i) {
                    const auto place = static_cast<std::size_t>(i - j + lower + upper + j * rows);
                    clean[place] = full[place] = i == j ? 0.1 : std::cos(3.0 * i + j);
                }
            Integers pivots(8), others(8);
            ASSERT_EQ(Linpack::Dgbfa(clean.data(), rows, 8, lower, upper, pivots.data()), 0);
            ASSERT_EQ(Linpack::Dgbfa(full.data(), rows, 8, lower, upper, others.data()), 0);
            Linpack::Dgbsl(clean.data(), rows, 8, lower, upper, pivots.data(), x.data(), 0);
            Linpack::Dgbsl(full.data(), rows, 8, lower, upper, others.data(), y.data(), 0);
            EXPECT_TRUE(pivots == others && SameBits(x, y)) << lower << " below, " << upper << " above";
        }
}

TEST(LinpackReference, PositiveDefiniteBand)
{
    constexpr int n = 6, m = 2, lda = 3;
    Doubles abd(lda * n, 0.0), z(n), det(2);
    for (int j = 1; j <= n; ++j)
        for (int i = std::max(1, j - m); i <= j; ++i)
            abd[static_cast<std::size_t>(i - j + m + (j - 1) * lda)] = i == j ? 10.0 + i : 1.0 / (i + j);
    int info = -1;
    EXPECT_NEAR(Linpack::Dpbco(abd.data(), lda, n, m, z.data(), &info), 0.783872616737774, 2e-15);
    EXPECT_EQ(info, 0);
    Linpack::Dpbdi(abd.data(), lda, n, m, det.data());
    ExpectNear(det, {5.75420202719676, 6});
    abd[2] = -1.0;
    EXPECT_EQ(Linpack::Dpbfa(abd.data(), lda, n, m), 1);
}

TEST(LinpackReference, Tridiagonal)
{
    Doubles c{0, 2, 0}, d{1, 2, 0}, e{1, 1, 0}, b{1, 1, 1};
    EXPECT_EQ(Linpack::Dgtsl(3, c.data(), d.data(), e.data(), b.data()), 2);
    Doubles definite{4, 5, 6, 5, 4}, right{1, 2, 3, 4, 5};
    const Doubles off{1, -1, 2, 1};
    Linpack::Dptsl(5, definite.data(), off.data(), right.data());
    ExpectNear(definite, {4, 4.75, 4.94736842105263, 4.75, 4});
}

TEST(LinpackReference, PositiveDefiniteDenseAndPacked)
{
    Doubles a = kDefinite, ap = kDefinitePacked, z(4), zp(4), det(2), detp(2);
    int info = -1;
    const double rcond = Linpack::Dpoco(a.data(), 4, 4, z.data(), &info);
    EXPECT_NEAR(rcond, 0.0345716895913685, 1e-16);
    EXPECT_EQ(info, 0);
    EXPECT_EQ(Linpack::Dppco(ap.data(), 4, zp.data(), &info), rcond);
    ExpectNear(z, {0.311405028923136, -0.243391656194057, 0.230186061577463, -0.215017253305343});
    EXPECT_EQ(z, zp);
    Linpack::Dpodi(a.data(), 4, 4, det.data(), 11);
    Linpack::Dppdi(ap.data(), 4, detp.data(), 11);
    ExpectNear(det, {6.525, 1});
    EXPECT_EQ(det, detp);
    a = kIndefinite;
    a[0] = 1.0;
    EXPECT_EQ(Linpack::Dpoco(a.data(), 4, 4, z.data(), &info), 0.0);
    EXPECT_EQ(info, 2);
}

TEST(LinpackReference, IndefiniteDenseAndPacked)
{
    Doubles a = kIndefinite, ap = kIndefinitePacked, z(4), zp(4), det(2), detp(2), work(4);
    Integers kpvt(4), inert(3), inertp(3);
    EXPECT_NEAR(Linpack::Dsico(a.data(), 4, 4, kpvt.data(), z.data()), 1.0 / 7.0, 1e-15);
    EXPECT_EQ(kpvt, (Integers{1, 2, -3, -3}));
    EXPECT_NEAR(Linpack::Dspco(ap.data(), 4, kpvt.data(), zp.data()), 1.0 / 7.0, 1e-15);
    ExpectNear(z, {-0.375, -0.105769230769231, 0.115384615384615, 0.403846153846154});
    EXPECT_EQ(z, zp);
    Linpack::Dsidi(a.data(), 4, 4, kpvt.data(), det.data(), inert.data(), work.data(), 111);
    Linpack::Dspdi(ap.data(), 4, kpvt.data(), detp.data(), inertp.data(), work.data(), 111);
    ExpectNear(det, {5.2, 1});
    EXPECT_EQ(det, detp);
    EXPECT_EQ(inert, (Integers{2, 2, 0}));
    EXPECT_EQ(inertp, inert);
    ExpectNear(ap, {0.25, 0.25, -0.0576923076923077, 0, 0.153846153846154, -0.0769230769230769, -0.5,
                    0.0384615384615385, 0.230769230769231, 0.307692307692308});

    Doubles blocks(7 * 7); // (0 k; k 0) for k = 1, 2, 3, and -2
    for (std::size_t k = 1; k <= 3; ++k) blocks[2 * k - 2 + 7 * (2 * k - 1)] = static_cast<double>(k);
    blocks[48] = -2.0;
    kpvt.resize(7);
    EXPECT_EQ(Linpack::Dsifa(blocks.data(), 7, 7, kpvt.data()), 0);
    Linpack::Dsidi(blocks.data(), 7, 7, kpvt.data(), det.data(), inert.data(), nullptr, 110);
    ExpectNear(det, {7.2, 1});
    EXPECT_EQ(inert, (Integers{3, 4, 0}));
}

TEST(LinpackReference, Triangular)
{
    Doubles z(4), det(2), t = kGeneral;
    EXPECT_NEAR(Linpack::Dtrco(t.data(), 4, 4, z.data(), 1), 0.315904431013346, 1e-15);
    EXPECT_NEAR(Linpack::Dtrco(t.data(), 4, 4, z.data(), 0), 0.209262978516219, 1e-15);
    const struct {
        int job;
        std::initializer_list<double> x;
    } kSolutions[] = {{0, {0.25, 0.3, 0.308333333333333, 0.726190476190476}},
                      {1, {-0.0821428571428571, 0.538095238095238, 0.69047619047619, 0.571428571428571}},
                      {10, {1.26547619047619, 0.1, 0.309523809523809, 0.571428571428571}},
                      {11, {0.25, 0.5, 0.541666666666667, 0.619047619047619}}};
    for (const auto& [job, x] : kSolutions) {
        Doubles b = kRight;
        EXPECT_EQ(Linpack::Dtrsl(t.data(), 4, 4, b.data(), job), 0);
        ExpectNear(b, x);
    }
    EXPECT_EQ(Linpack::Dtrdi(t.data(), 4, 4, det.data(), 111), 0);
    ExpectNear(det, {8.4, 2});
    ExpectNear(t.data() + 12, {-0.114285714285714, 0.00952380952380952, 0.0476190476190476, 0.142857142857143});
    EXPECT_EQ(t[1], 2.0); // the other triangle is not touched

    // Zero diagonals: found first from the end at which the inversion starts; Dtrsl then leaves b alone.
    t = kGeneral;
    t[5] = t[10] = 0.0;
    Doubles b = kRight;
    EXPECT_EQ(Linpack::Dtrsl(t.data(), 4, 4, b.data(), 0), 2);
    EXPECT_EQ(b, kRight);
    EXPECT_EQ(Linpack::Dtrdi(t.data(), 4, 4, det.data(), 100), 0);
    EXPECT_EQ(det[0], 0.0);
    EXPECT_EQ(Linpack::Dtrdi(t.data(), 4, 4, nullptr, 11), 2);
    EXPECT_EQ(Linpack::Dtrdi(t.data(), 4, 4, nullptr, 10), 3);
}

TEST(LinpackReference, CholeskyWithPivoting)
{
    Doubles work(4), a = kDefinite;
    Integers jpvt(4, 0);
    EXPECT_EQ(Linpack::Dchdc(a.data(), 4, 4, work.data(), jpvt.data(), 1), 4);
    EXPECT_EQ(jpvt, (Integers{4, 3, 2, 1}));
    ExpectNear(a.data() + 12, {0.816496580927726, -1.16247638743819, 1.05587515712346, 0.93118721777712});
    a = kDefinite;
    jpvt = {0, 1, -1, 0};
    EXPECT_EQ(Linpack::Dchdc(a.data(), 4, 4, work.data(), jpvt.data(), 1), 4);
    EXPECT_EQ(jpvt, (Integers{2, 4, 1, 3}));
    ExpectNear(a.data() + 8, {0.577350269189626, 0.980196058819607, 1.64495664165995});
    ExpectNear(a.data() + 12, {0.288675134594813, 0.700140042014005, -1.73435645914147, 1.19099885007063});
    for (int j = 1; j <= 4; ++j) // rank 2
        for (int i = 1; i <= 4; ++i) a[static_cast<std::size_t>(i - 1 + 4 * (j - 1))] = i * j + (5 - i) * (5 - j);
    jpvt = {0, 0, 0, 0};
    EXPECT_EQ(Linpack::Dchdc(a.data(), 4, 4, work.data(), jpvt.data(), 1), 2);
    EXPECT_EQ(jpvt, (Integers{1, 4, 3, 2}));
    ExpectNear(a.data() + 8, {2.66789187539966, 2.42535625036333});
    a = kDefinite;
    EXPECT_EQ(Linpack::Dchdc(a.data(), 4, 4, work.data(), nullptr, 0), 4);
    ExpectNear(a.data() + 12, {1.0, -0.904534033733291, 1.59704983698637, 1.27720397744448});
}

TEST(LinpackReference, CholeskyUpdateAndDowndate)
{
    const Doubles before = DefiniteFactor(), x{1, 2, -1, 0.5}, y{3};
    Doubles r = before, z{1, -1, 2, 0.5}, rho{2}, c(4), s(4);
    Linpack::Dchud(r.data(), 4, 4, x.data(), z.data(), 4, 1, y.data(), rho.data(), c.data(), s.data());
    ExpectNear(r.data() + 12, {1.11803398874989, -0.657793514480272, 1.26471008549536, 1.72273506145142});
    ExpectNear(z, {2.23606797749979, 0.807633441433877, 1.02905064589422, 2.30275745510784});
    ExpectNear(rho, {2.6899983448708});
    ExpectNear(c, {0.894427190999916, 0.727218092353424, 0.932407362730017, 0.741381542654867});
    ExpectNear(s, {0.447213595499958, 0.686406472983644, -0.361409061766379, 0.671083756479539});

    EXPECT_EQ(Linpack::Dchdd(r.data(), 4, 4, x.data(), z.data(), 4, 1, y.data(), rho.data(), c.data(), s.data()), 0);
    for (std::size_t i = 0; i < 16; ++i) EXPECT_NEAR(r[i], before[i], 2e-14) << i;
    ExpectNear(z, {1, -1, 2, 0.5}, 1e-13);
    ExpectNear(rho, {2}, 1e-13);

    const Doubles tooLong{10, 0, 0, 0}, kept = r;
    EXPECT_EQ(Linpack::Dchdd(r.data(), 4, 4, tooLong.data(), z.data(), 4, 1, y.data(), rho.data(), c.data(), s.data()),
              -1);
    EXPECT_EQ(r, kept);
    const Doubles large{1e3};
    EXPECT_EQ(Linpack::Dchdd(r.data(), 4, 4, x.data(), z.data(), 4, 1, large.data(), rho.data(), c.data(), s.data()),
              -1); // r is the factor before x was added, and x is too long for it
    rho[0] = -1.0;
    Linpack::Dchud(r.data(), 4, 4, x.data(), z.data(), 4, 1, y.data(), rho.data(), c.data(), s.data());
    EXPECT_EQ(rho[0], -1.0);
    rho[0] = 2.0;
    EXPECT_EQ(Linpack::Dchdd(r.data(), 4, 4, x.data(), z.data(), 4, 1, large.data(), rho.data(), c.data(), s.data()),
              1);
    EXPECT_EQ(rho[0], -1.0);
}

TEST(LinpackReference, CholeskyPermutations)
{
    Doubles r = DefiniteFactor(), z{1, -1, 2, 0.5}, c(2), s(4);
    Linpack::Dchex(r.data(), 4, 4, 2, 4, z.data(), 4, 1, c.data(), s.data(), 1);
    ExpectNear(r, {2, 0, 0, 0, 1, 2.23606797749979, 0, 0, 0.5, -0.670820393249937, -1.51657508881031, 0, -1,
                   1.11803398874989, -1.15391582844263, -1.19099885007063});
    ExpectNear(z, {1, 2.11855620853043, 0.156366597340886, -0.858643743663922});
    ExpectNear(c, {0.780972776901263, -0.404519917477945});
    ExpectNear(s, {0.624565066057277, 0.914529188360676});
    // The left shift takes it back, up to the signs of rows.
    Linpack::Dchex(r.data(), 4, 4, 2, 4, z.data(), 4, 1, c.data(), s.data(), 2);
    const Doubles original = DefiniteFactor();
    for (std::size_t i = 0; i < 16; ++i) EXPECT_NEAR(std::fabs(r[i]), std::fabs(original[i]), 2e-15) << i;

    r = DefiniteFactor(), z = {1, -1, 2, 0.5};
    Linpack::Dchex(r.data(), 4, 4, 2, 4, z.data(), 4, 1, c.data(), s.data(), 2);
    ExpectNear(r,
               {2, 0, 0, 0, -1, 2, 0, 0, 1, 1.25, 1.85404962177392, 0, 0.5, 0.5, -1.14613976618751, 1.08920321169359});
    ExpectNear(z, {1, 1.60541383391342, 1.4727051379693, -0.709778837722164});
    ExpectNear(c, {0.301511344577764, 0.724882435609076});
    ExpectNear(s, {0.953462589245592, 0.688872596744459});
}

TEST(LinpackReference, OrthogonalDecompositions)
{
    // [1 2 1; 1 -1 5; 1 3 -2; 1 0 2; 1 4 3]
    const Doubles x0{1, 1, 1, 1, 1, 2, -1, 3, 0, 4, 1, 5, -2, 2, 3}, y{1, 3, 2, -1, 4};
    Doubles x = x0, aux(3), work(5), qy(5), qty(5), b(3), rsd(5), xb(5);
    Integers jpvt(3, 0);
    Linpack::Dqrdc(x.data(), 5, 5, 3, aux.data(), jpvt.data(), work.data(), 1);
    EXPECT_EQ(jpvt, (Integers{3, 2, 1}));
    const Doubles factored = x;
    EXPECT_EQ(Linpack::Dqrsl(x.data(), 5, 5, 3, aux.data(), y.data(), qy.data(), qty.data(), b.data(), rsd.data(),
                             xb.data(), 11111),
              0);
    EXPECT_EQ(x, factored);
    ExpectNear(qy, {-2.79993017509853, -0.52846148052369, 2.91189830043137, -2.24037649285764, 3.063116213331});
    ExpectNear(qty, {-3.3549685473173, 3.5662900782732, 0.370868711895693, -2.21512203122046, 1.40764054696516});
    ExpectNear(b, {0.528700906344411, 0.734138972809668, -0.326283987915409});
    ExpectNear(rsd, {-0.670694864048338, 1.41691842900302, 1.18126888217523, -1.73111782477341, -0.196374622356496});
    ExpectNear(xb, {1.67069486404834, 1.58308157099698, 0.818731117824774, 0.731117824773413, 4.1963746223565});
    // Outputs in one array, the others not used.
    Doubles shared = y;
    EXPECT_EQ(Linpack::Dqrsl(x.data(), 5, 5, 3, aux.data(), shared.data(), nullptr, shared.data(), b.data(),
                             shared.data(), nullptr, 110),
              0);
    EXPECT_EQ(shared, rsd);
    x[10 + 2] = 0.0;
    EXPECT_EQ(
        Linpack::Dqrsl(x.data(), 5, 5, 3, aux.data(), y.data(), nullptr, qty.data(), b.data(), nullptr, nullptr, 100),
        3);

    x = x0;
    jpvt = {-1, 0, 1}; // the last first, the first last
    Linpack::Dqrdc(x.data(), 5, 5, 3, aux.data(), jpvt.data(), work.data(), 1);
    EXPECT_EQ(jpvt, (Integers{3, 2, 1}));
    EXPECT_EQ(x, factored);
    x = x0;
    jpvt = {0, -1, 0}; // the second last
    Linpack::Dqrdc(x.data(), 5, 5, 3, aux.data(), jpvt.data(), work.data(), 1);
    EXPECT_EQ(jpvt, (Integers{3, 1, 2}));
    Doubles ordered{1, 5, -2, 2, 3, 1, 1, 1, 1, 1, 2, -1, 3, 0, 4};
    Linpack::Dqrdc(ordered.data(), 5, 5, 3, aux.data(), nullptr, nullptr, 0);
    EXPECT_EQ(x, ordered);

    Doubles single{-2.0}, out(1), right{3.0};
    EXPECT_EQ(Linpack::Dqrsl(single.data(), 1, 1, 1, aux.data(), right.data(), qy.data(), qty.data(), out.data(),
                             rsd.data(), xb.data(), 11111),
              0);
    EXPECT_EQ(out[0], -1.5);
    EXPECT_TRUE(qy[0] == 3.0 && qty[0] == 3.0 && xb[0] == 3.0 && rsd[0] == 0.0);
}
