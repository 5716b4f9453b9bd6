#include "modelcore/distributions/MCMathFun.h"
#include "support/Testing.h"

using M = MCMath_930::MCMathFun;
using Vector = std::vector<double>;

TEST(MCMathFun, DigammaAndTrigamma)
{
    struct Case {
        double actual, expected, error;
    };
    const double euler = 0.57721566490153286, pi = std::acos(-1.0);
    for (const Case& c : {Case{M::Digamma(1), -euler, 4e-15},
                          {M::Digamma(0.5), -euler - 2 * std::log(2.0), 4e-15},
                          {M::Digamma(10), 2.2517525890667211, 4e-15},
                          {M::Digamma(1e-6), -0.5772156649015329 - 1e6, 0},
                          {M::Trigamma(1), pi * pi / 6, 4e-15},
                          {M::Trigamma(0.5), pi * pi / 2, 1e-14},
                          {M::Trigamma(1e-5), 1.0 / (1e-5 * 1e-5), 0},
                          {M::Trigamma(kInf), 0, 0}})
        EXPECT_NEAR(c.actual, c.expected, c.error);
    // psi(x + 1) - psi(x) = 1/x on both sides of the change of formula and far out
    for (const double x : {9.9e-6, 1.1e-5, 9e-5, 0.3, 40.0, 1e8}) {
        const double small = x < 1e-5 ? 1.7e-10 : 1e-14 * (1 + x), smaller = x < 1e-4 ? 2e-8 : 1e-14;
        EXPECT_NEAR((M::Digamma(x + 1) - M::Digamma(x)) * x, 1.0, small) << x;
        EXPECT_NEAR(M::Trigamma(x) - M::Trigamma(x + 1), 1 / (x * x), smaller / (x * x) + 1e-15) << x;
    }
    for (const double x : {0.0, -1.0, 1e-16, -kInf, kMissing})
        EXPECT_TRUE(M::Digamma(x) == kMissing && M::Trigamma(x) == kMissing) << x;
    EXPECT_EQ(M::Digamma(kInf), kInf);
    EXPECT_TRUE(std::isnan(M::Digamma(kNan)));
}

TEST(MCMathFun, BinSearchAgreesWithALinearScan)
{
    const Vector bounds{1, 2, 3, 5, 8};
    const std::vector<int> whole{1, 2, 3, 5, 8};
    for (int index = 0; index < 2 * 5 * 5 * 10; ++index) {
        const bool leftClosed = index % 2 == 0;
        const int x = index / 2 % 10, lo = index / 20 % 5, hi = index / 100;
        int expected = lo > hi ? -2 : -1;
        for (int i = lo; i <= hi; ++i) {
            const int below = i == 0 ? -1000 : whole[static_cast<std::size_t>(i) - 1];
            const int above = whole[static_cast<std::size_t>(i)];
            if (leftClosed ? below <= x && x < above : below < x && x <= above) expected = i;
        }
        EXPECT_EQ(M::BinSearch(bounds, lo, hi, x, leftClosed), expected) << lo << ' ' << hi << ' ' << x;
        EXPECT_EQ(M::BinSearch(whole, lo, hi, x, leftClosed), expected) << lo << ' ' << hi << ' ' << x;
    }
    EXPECT_EQ(M::BinSearch(bounds, 0, 5, 2.0, true), -2);
    EXPECT_EQ(M::BinSearch(bounds, -1, 2, 2.0, true), -2);
    EXPECT_EQ(M::BinSearch(bounds, 0, 4, kNan, true), -1);
}

TEST(MCMathFun, TwoLargest)
{
    const double m = kMissing;
    for (const auto& [v, expected] : {std::pair<Vector, Vector>{{}, {m, m, m, m}},
                                      {{4}, {4, m, 4, m}},
                                      {{1, 5, 3}, {5, 3, 5, 3}},
                                      {{5, 5, 1}, {5, 5, 5, 5}},
                                      {{1, 3, 5, 4}, {5, 4, 5, 4}},
                                      {{m, -7, m}, {-7, m, -7, m}},
                                      {{m, -7, -9}, {-7, -9, -7, -9}}}) {
        Vector found(4);
        M::FindTwoLargest(v, found[0], found[1]);
        M::FindTwoLargestNonMiss(v, found[2], found[3]);
        EXPECT_EQ(found, expected);
    }
}

TEST(MCMathFun, SmallTestsAndProducts)
{
    const double max = std::numeric_limits<double>::max();
    EXPECT_TRUE(M::IsValidDouble(-max) && M::IsValidDouble(max) && M::QLReps(1e-17, 1));
    EXPECT_TRUE(NoneOf({M::IsValidDouble(kInf), M::IsValidDouble(kNan), M::QLReps(0, 0), M::QLReps(0, -1)}));
    EXPECT_EQ(M::ReplaceIfSmall(-1e-9, 1e-6), -1e-6);
    EXPECT_EQ(M::ReplaceIfSmall(0, 1e-6), 1e-6);
    EXPECT_EQ(M::ReplaceIfSmall(-1, 1e-6), -1);
    EXPECT_EQ(M::VMaxRelDiff({}, {1}, 1), 0.0);
    EXPECT_EQ(M::VMaxRelDiff({1, 2}, {3, 2, 9}, -1), 0.5);
    EXPECT_DOUBLE_EQ(M::VMaxRelDiff({1}, {0}, 0), 1e6);
    EXPECT_EQ(M::VNrm1Diff({1, 5}, {4, 1, 7}), 7.0);
    EXPECT_EQ(M::VSV({1, 2}, {3, 4, 5}), 3 + 2 * 8 + 20);
    EXPECT_EQ(M::VSV({1, 2}, {3, 4}), kMissing);
    Vector v{1, 2}, g{1, 1, 2}; // L = (1 0; 2 3), G = (1 1; 1 2): L'GL = (13 15; 15 18)
    EXPECT_TRUE(M::RVD(v, {3, 4}, v) && M::LTGltl(2, {1, 2, 3}, g, g));
    EXPECT_TRUE(NoneOf({M::RVD(v, {3}, v), M::LTGltl(2, {1, 2}, g, g)}));
    EXPECT_EQ(v, (Vector{3, 8}));
    EXPECT_EQ(g, (Vector{13, 15, 18}));
}

TEST(MCMathFun, VectorKernelsKeepToTheirElements)
{
    const Vector x{1, -2, 3, -4, 5};
    EXPECT_EQ(M::DASum(3, x, 0, 2), 9);
    EXPECT_EQ(M::DSum(2, x, 3), 1);
    EXPECT_EQ(M::DNrm2(2, x, 2, 1), 5);
    EXPECT_DOUBLE_EQ(M::DNrm2(2, {3e200, 4e200}, 0, 1), 5e200);
    EXPECT_DOUBLE_EQ(M::DNrm2(4, {0, 12e-200, -4e-200, 3e-200}, 0, 1), 13e-200);
    EXPECT_EQ(M::DNrm2(3, {1, -kInf, kNan}, 0, 1), kInf);
    EXPECT_EQ(M::DDot(2, x, 0, 1, x, 1, 2), 1 * -2 + -2 * -4);
    EXPECT_EQ(M::IIDot(2, x, 4, -1, x, 0, 0), 5 - 4);
    Vector y = x;
    M::Daxpy(2, 10, x, 0, 1, y, 3, 1);
    M::IIAxpy(2, 1, x, 1, -1, y, 0, 1);
    EXPECT_EQ(y, (Vector{-1, -1, 3, 6, -15}));
    M::IIScal(2, 2, y, 4, -4);
    M::LRZero(y, 1, 2);
    M::IIInit(2, 9, y, 4, -3);
    M::DScal(1, 0.5, y, 3, 1);
    EXPECT_EQ(y, (Vector{-2, 9, 0, 3, 9}));
    M::DLoad(3, 1, y, 3, 1); // what would leave the vector, or is empty, does nothing
    M::DLoad(0, 1, y, 0, 1);
    M::DScal(2, 0, y, -1, 1);
    M::DScal(2, 0, y, 2, -1);
    M::Daxpy(6, 1, x, 0, 1, y, 0, 1);
    EXPECT_EQ(y, (Vector{-2, 9, 0, 3, 9}));
    EXPECT_EQ(M::DSum(6, x, 0), 0.0);
    EXPECT_EQ(M::IIDot(2147483647, x, 0, 2147483647, x, 0, 1), 0.0);
}
