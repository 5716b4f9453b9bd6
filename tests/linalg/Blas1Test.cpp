#include "modelcore/linalg/Blas1.h"
#include "support/AllKernels.h"
#include "support/Testing.h"

#include <unistd.h>

using MCMath_930::Blas1;

// A negative increment walks back from the far end, 0 stays on the first element; routines with one vector do nothing.
TEST(Blas1, IncrementsAreTreatedAsInTheReferenceRoutines)
{
    const std::vector<double> x{1, 2, 3, 4, 5, 6};
    std::vector<double> y{10, 20, 30};
    EXPECT_EQ(Blas1::DDot(3, x.data(), 2, y.data(), 1), 10 + 60 + 150);
    EXPECT_EQ(Blas1::DDot(3, x.data(), 2, y.data(), -1), 30 + 60 + 50);
    EXPECT_EQ(Blas1::DDot(3, x.data(), 0, y.data(), 1), 60);
    EXPECT_EQ(Blas1::DDot(-1, x.data(), 1, y.data(), 1), 0);
    EXPECT_EQ(Blas1::DASum(3, x.data(), 2), 9);
    EXPECT_EQ(Blas1::DASum(3, x.data(), 0), 0);
    EXPECT_EQ(Blas1::DNrm2(3, x.data(), 0), 0);
    EXPECT_EQ(Blas1::IDAMax(3, x.data(), -1), 0);

    Blas1::Daxpy(3, 2.0, x.data(), -2, y.data(), 1);
    EXPECT_EQ(y, (std::vector<double>{20, 26, 32}));
    Blas1::Daxpy(3, 1.0, x.data(), 1, y.data(), 0);
    EXPECT_EQ(y, (std::vector<double>{26, 26, 32}));
    Blas1::DCopy(3, x.data(), 1, y.data(), -1);
    EXPECT_EQ(y, (std::vector<double>{3, 2, 1}));
    Blas1::DScal(3, 5.0, y.data(), -1);
    Blas1::DScal(2, 5.0, y.data(), 2);
    EXPECT_EQ(y, (std::vector<double>{15, 2, 5}));
    std::vector<double> z{7, 8, 9};
    Blas1::DSwap(3, y.data(), -1, z.data(), 1);
    EXPECT_EQ(y, (std::vector<double>{9, 8, 7}));
    EXPECT_EQ(z, (std::vector<double>{5, 2, 15}));
    Blas1::DRot(2, y.data(), 2, z.data(), -1, 0.0, 1.0);
    EXPECT_EQ(y, (std::vector<double>{2, 8, 5}));
    EXPECT_EQ(z, (std::vector<double>{-7, -9, 15}));
}

TEST(Blas1, DaxpyWithZeroFactorTouchesNothing)
{
    const std::vector<double> x{kNan, kInf, 1.0};
    std::vector<double> y{-0.0, 1.0, -0.0};
    const std::vector<double> before = y;
    Blas1::Daxpy(3, 0.0, x.data(), 1, y.data(), 1);
    EXPECT_TRUE(SameBits(y, before));
}

// Ordered sums: 1 is lost against 1e16 each time when it comes after it, whatever a vector unit would like to do.
TEST(Blas1, SumsAreAddedInIndexOrder)
{
    std::vector<double> x(41, 1.0);
    const std::vector<double> ones(41, 1.0);
    x[0] = 1e16;
    EXPECT_EQ(Blas1::DASum(41, x.data(), 1), 1e16);
    EXPECT_EQ(Blas1::DDot(41, x.data(), 1, ones.data(), 1), 1e16);
    x[0] = 1.0;
    x[40] = 1e16;
    EXPECT_EQ(Blas1::DASum(41, x.data(), 1), 1e16 + 40);
}

TEST(Blas1, KernelsEqualTheStridedLoops)
{
    TestRandom random(3);
    for (int n = 0; n <= 70; ++n) {
        const auto count = static_cast<std::size_t>(n);
        std::vector<double> x = random.Vector(2 * count, -1.0, 1.0);
        if (n > 3) {
            x[2] = x[4] = -0.0;
            x[6] = std::numeric_limits<double>::denorm_min();
        }
        std::vector<double> y = random.Vector(2 * count, -1.0, 1.0);
        std::vector<double> packedX(count), packedY(count);
        Blas1::DCopy(n, x.data(), 2, packedX.data(), 1);
        Blas1::DCopy(n, y.data(), 2, packedY.data(), 1);
        const double c = random.Uniform(-1.0, 1.0);
        std::vector<double> expectedX(count), expectedY(count);
        const int largest = Blas1::IDAMax(n, x.data(), 2);
        Blas1::DRot(n, x.data(), 2, y.data(), 2, c, 0.3);
        Blas1::DScal(n, c, x.data(), 2);
        Blas1::Daxpy(n, c, x.data(), 2, y.data(), 2);
        Blas1::DCopy(n, x.data(), 2, expectedX.data(), 1);
        Blas1::DCopy(n, y.data(), 2, expectedY.data(), 1);
        ForEachKernelSet([&] {
            std::vector<double> a = packedX, b = packedY;
            EXPECT_EQ(Blas1::IDAMax(n, a.data(), 1), largest);
            Blas1::DRot(n, a.data(), 1, b.data(), 1, c, 0.3);
            Blas1::DScal(n, c, a.data(), 1);
            Blas1::Daxpy(n, c, a.data(), 1, b.data(), 1);
            EXPECT_TRUE(SameBits(a, expectedX)) << n;
            EXPECT_TRUE(SameBits(b, expectedY)) << n;
        });
    }
}

TEST(Blas1, IDAMaxTakesTheFirstLargestAndNeverANaNAfterTheFirst)
{
    for (const int n : {3, 20, 50}) {
        std::vector<double> x(static_cast<std::size_t>(n), -1.0);
        EXPECT_TRUE(Blas1::IDAMax(n, x.data(), 1) == 1 && Blas1::IDAMax(2, x.data(), 2) == 1);
        x[1] = kNan;
        x.back() = -2.0;
        ForEachKernelSet([&] { EXPECT_EQ(Blas1::IDAMax(n, x.data(), 1), n); });
        x.front() = kNan;
        ForEachKernelSet([&] { EXPECT_EQ(Blas1::IDAMax(n, x.data(), 1), 1); });
    }
}

TEST(Blas1, DNrm2NeitherOverflowsNorVanishes)
{
    const std::vector<double> large{1e300, 0.0, 1e300}, small{3e-320, -4e-320}, one{-2.5};
    EXPECT_DOUBLE_EQ(Blas1::DNrm2(3, large.data(), 1), std::sqrt(2.0) * 1e300);
    EXPECT_NEAR(Blas1::DNrm2(2, small.data(), 1), 5e-320, 1e-323);
    EXPECT_EQ(Blas1::DNrm2(1, one.data(), 1), 2.5);
    EXPECT_EQ(Blas1::DNrm2(0, one.data(), 1), 0.0);
    EXPECT_TRUE(std::isnan(Blas1::DNrm2(2, std::vector<double>{1.0, kNan}.data(), 1)));
}

TEST(Blas1, DRotGRotatesToTheSignedLength)
{
    const struct {
        const char* name;
        double a, b, r, z, c, s;
    } cases[] = {
        {"both zero", 0, 0, 0, 0, 1, 0},
        {"a larger", 4, 3, 5, 0.6, 0.8, 0.6},
        {"b larger", 3, 4, 5, 1 / 0.6, 0.6, 0.8},
        {"sign of the larger", 3, -4, -5, -1 / 0.6, -0.6, 0.8},
        {"negative c", -3, 4, 5, -1 / 0.6, -0.6, 0.8},
        {"negative s keeps s", 4, -3, 5, -0.6, 0.8, -0.6},
        {"only b", 0, -2, -2, 1, 0, 1},
        {"only a", -2, 0, -2, 0, 1, 0},
        {"tie takes the sign of b", -1, 1, std::sqrt(2.0), -std::sqrt(2.0), -std::sqrt(0.5), std::sqrt(0.5)},
    };
    for (const auto& t : cases) {
        SCOPED_TRACE(t.name);
        double a = t.a, b = t.b, c = 9, s = 9;
        Blas1::DRotG(&a, &b, &c, &s);
        EXPECT_DOUBLE_EQ(a, t.r);
        EXPECT_DOUBLE_EQ(b, t.z);
        EXPECT_DOUBLE_EQ(c, t.c);
        EXPECT_DOUBLE_EQ(s, t.s);
    }
    // |a| > |b|, but c and s round to the same number: comparing them gives 1/c where comparing a and b would give s.
    double a = 0x1.7bp+0, b = std::nextafter(a, 0.0), c = 0, s = 0;
    Blas1::DRotG(&a, &b, &c, &s);
    ASSERT_EQ(c, s);
    EXPECT_EQ(b, 1.0 / c);
}

TEST(Blas1DeathTest, IllegalJobEndsTheProcessWithAMessageOnStandardOutput)
{
    // The death test sees standard error only, so standard output is sent there.
    const auto run = [] {
        dup2(2, 1);
        Blas1::DMach(4);
    };
    EXPECT_EXIT(run(), testing::ExitedWithCode(1),
                "\nXERBLA - Fatal error!\n  On entry to routine DMACH\n"
                "  input parameter number 1 had an illegal value.\n");
}

TEST(Blas1, ConstantsAndScalarHelpers)
{
    EXPECT_EQ(Blas1::DMach(1), 0x1p-52);
    EXPECT_EQ(Blas1::DMach(2), 100 * 0x1p-1020);
    EXPECT_EQ(Blas1::DMach(3), 1.0 / (100 * 0x1p-1020));
    EXPECT_TRUE(Blas1::LSame('a', 'A') && Blas1::LSame('Z', 'z') && Blas1::LSame('1', '1'));
    EXPECT_TRUE(NoneOf({Blas1::LSame('a', 'b'), Blas1::LSame('@', '`'), Blas1::LSame('[', '{')}));
    EXPECT_TRUE(Blas1::D_Abs(-3.0) == 3.0 && !std::signbit(Blas1::D_Abs(-0.0)));
    EXPECT_TRUE(Blas1::D_Sign(-3.0) == -1.0 && Blas1::D_Sign(-0.0) == 1.0);
    EXPECT_TRUE(Blas1::D_Max(-3.0, 2.0) == 2.0 && Blas1::I_Max(-3, 2) == 2 && Blas1::I_Min(-3, 2) == -3);
}
