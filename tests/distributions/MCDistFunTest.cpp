// What neither the table of exact values nor the scan of random parameters tells: coefficients, fault codes, arguments
// that only some functions have, and every combination of awkward numbers.
#include "distributions/ExactTable.h"
#include "modelcore/distributions/internal/NormalTables.h"
#include "support/Testing.h"

#include <numbers>

using MCCommon_930::MCMV;
using MCMath_930::MCDistFun;

// The sums of the decimal mantissas that Wichura (1988) prints; the constant 1 of the denominators is not counted.
TEST(MCDistFun, CoefficientsOfAs241AddUpToThePublishedSums)
{
    constexpr std::array<double, 3> kSums{55.8831928806149014439, 49.33206503301610289036, 47.52583317549289671629};
    for (std::size_t range = 0; range < 3; ++range) {
        double sum = -1.0;
        for (const std::size_t row : {2 * range, 2 * range + 1})
            for (const double x : MCMath_930::internal::kProbit[row])
                sum += x / std::pow(10.0, std::floor(std::log10(x)));
        EXPECT_NEAR(sum, kSums[range], 1e-13);
    }
}

// Each polynomial must meet its neighbour: a wrong digit in any coefficient opens a gap at one end of its interval.
TEST(MCDistFun, PiecesMeetAtTheEndsOfTheirIntervals)
{
    for (const double w : {1.0, std::sqrt(2.0), std::sqrt(3.0), 2.0, 2.2, 3.0, 4.0, 5.0, 6.0, 6.9})
        for (const double away : {-4e-15, 4e-15}) {
            const double x = w * std::sqrt(2.0) * (1.0 + away);
            EXPECT_LE(UlpDistance(MCDistFun::CdfStdNorm(x), 0.5 * std::erfc(-x / std::sqrt(2.0))), 8u) << w;
        }
    for (const double p : {0.075, std::exp(-25.0)})
        EXPECT_LE(UlpDistance(MCDistFun::IdfStdNorm(p * (1 - 1e-15)), MCDistFun::IdfStdNorm(p * (1 + 1e-15))), 16u);
    // Gamma(x + 1) = x Gamma(x) across every boundary between two polynomials of log-gamma
    for (const double x : {0.25, 0.5, 0.712214450449026, 1.0, 1.3860009363293826, 1.8860009363293826, 2.0, 2.5,
                           3.212214450449026, 3.5, 4.0, 5.0, 6.0, 7.0, 8.0, 9.0})
        for (const double beside : {x * (1 - 1e-15), x * (1 + 1e-15), x + 0.1})
            EXPECT_NEAR(MCDistFun::tavodnlgam(beside + 1.0) - MCDistFun::tavodnlgam(beside), std::log(beside), 8e-15);
}

// One degree of freedom is the Cauchy distribution; two have P(T <= t) in closed form, too.
TEST(MCDistFun, TOfOneAndTwoDegreesOfFreedom)
{
    for (const double t : {1e-8, 0.3, 1.0, 2.5, 40.0, 1e9}) {
        EXPECT_NEAR(MCDistFun::CdfT(-t, 1.0), std::atan2(1.0, t) / std::numbers::pi, 1e-15);
        EXPECT_NEAR(MCDistFun::CdfT(t, 1.0), 0.5 + std::atan(t) / std::numbers::pi, 1e-15);
        EXPECT_NEAR(MCDistFun::CdfT(t, 2.0), 0.5 + 0.5 * t / std::sqrt(2.0 + t * t), 1e-15);
    }
}

TEST(MCDistFun, FaultCodes)
{
    using D = MCDistFun;
    struct Case {
        double (*function)(double, double, double, long&);
        double x, n, p;
        long err;
    };
    const auto pdfT = [](double t, double df, double, long& err) { return MCDistFun::PdfT(t, df, err); };
    const auto hyper = [](double x, double N, double n, long& err) {
        int code = 77;
        const double p = MCDistFun::CDFHyper(x, N, 4, n, code);
        err = code;
        return p;
    };
    // clang-format off
    const Case cases[] = {
        {D::PdfBin, 3, 10, 0.5, 0}, {D::PdfBin, 3, 10, 1.2, 1}, {D::PdfBin, 3, 10, kNan, 1},
        {D::PdfBin, 0, 0.5, 0.3, 1}, {D::PdfBin, 1e150, 1e151, 0.5, 2}, {D::CdfBin, 3, 10, 0.5, 0},
        {D::CdfBin, 3, 10.5, 0.5, 3}, {D::CdfBin, 3, kNan, 0.5, 3}, {D::CdfBin, 0, 0, 0.5, 1},
        {D::CdfBin, 3, 10, -0.1, 1}, {D::IdfBin, 0.5, 10, 0.5, 0}, {D::IdfBin, 2, 10, 0.5, 1},
        {D::IdfBin, 0.5, 1.5, 0.5, 1}, {D::PdfNegBin, 3, 2, 0.5, 0}, {D::PdfNegBin, 1, 0, 0.5, 1},
        {D::PdfNegBin, 1e150, 2, 0.5, 2}, {D::NonCentralPdfT, 1, 2, 3, 0}, {D::NonCentralPdfT, 1, 0, 3, 1},
        {pdfT, 1, 2, 0, 0}, {pdfT, 1, 0, 0, 1}, {hyper, 1, 10, 3, 0}, {hyper, 1, 10.5, 3, 1},
        {hyper, 1, 10, kNan, 1}, {hyper, 1, 3, 2, 1}};
    // clang-format on
    for (const Case& c : cases) {
        long err = 77;
        const double value = c.function(c.x, c.n, c.p, err);
        EXPECT_EQ(err, c.err) << c.x << ' ' << c.n << ' ' << c.p;
        EXPECT_EQ(MCMV::IsMissing(value), c.err != 0) << c.x << ' ' << c.n << ' ' << c.p;
    }
}

TEST(MCDistFun, ArgumentsThatOnlySomeFunctionsHave)
{
    for (const double t : {1e-300, 0.9, 40.0}) EXPECT_EQ(MCDistFun::SigT(t, 1), 0.5 - std::atan(t) / std::acos(-1.0));
    for (const auto& [p, t] :
         {std::pair(0.9, 0.8 / std::sqrt(0.18)), {1e-300, -std::sqrt(0.5e300)}, {0.6, 0.2 / std::sqrt(0.48)}})
        EXPECT_NEAR(MCDistFun::IdfT(p, 2, 0, 0) / t, 1.0, 4e-16) << p;
    EXPECT_EQ(MCDistFun::CdfT(-3.0, 1e40), MCDistFun::CdfStdNorm(-3.0));
    EXPECT_EQ(MCDistFun::CdfT(-3.0, kInf), MCDistFun::CdfStdNorm(-3.0));
    const double exact = MCDistFun::IdfT(0.9, 7.5, 0, 0), rough = MCDistFun::IdfT(0.9, 7.5, 1e-3, 1e-20);
    EXPECT_NEAR(rough, exact, 1e-3);
    EXPECT_NE(MCDistFun::IdfT(0.9, 1.5, 0, 0.9), MCDistFun::IdfT(0.9, 1.5, 0, 0)); // by the step that is allowed
    int err = 0;
    EXPECT_NEAR(MCDistFun::CDFHyper(2.5e11, 1e12, 5e11, 5e11, err), 0.5, 1e-5); // the normal approximation
    for (const double x : {1e-9, 3.0}) {
        EXPECT_EQ(MCDistFun::NonCentralCdfChi(x, 3, 0), MCDistFun::CdfChi(x, 3));
        EXPECT_EQ(MCDistFun::NonCentralCdfF(x, 3, 5, 0, 0), MCDistFun::CdfF(x, 3, 5));
        EXPECT_EQ(MCDistFun::NonCentralCdfT(x, 3, 0, 0), MCDistFun::CdfT(x, 3));
        EXPECT_NEAR(MCDistFun::NonCentralCdfF(x, 3, 5, 4, 1e-3), MCDistFun::NonCentralCdfF(x, 3, 5, 4, 0), 1e-3);
    }
    EXPECT_EQ(MCDistFun::NonCentralCdfT(1e-200, 5, 1, 0), MCDistFun::CdfStdNorm(-1.0));
    EXPECT_EQ(MCDistFun::NonCentralCdfT(-3.7e307, 4.6e-97, 1, 0), MCDistFun::CdfStdNorm(-1.0));
    long refusal = 0;
    EXPECT_TRUE(MCMV::IsMissing(MCDistFun::NonCentralPdfT(-3.7e307, 4.6e-97, 1, refusal)));
    EXPECT_EQ(MCDistFun::FindNCParamChi(3, 4, MCDistFun::CdfChi(3, 4), 0), 0.0);
    EXPECT_EQ(MCDistFun::FindNCParamT(1, 4, MCDistFun::CdfT(1, 4), 0, 0), 0.0);
    EXPECT_NEAR(MCDistFun::FindNCParamT(-1948.43, 38.086, 6.5e-86, 0, 0), -5.04387912,
                1e-8); // nothing of 1 - p is left
    EXPECT_NEAR(MCDistFun::FindNCParamChi(30, 4, 0.5, 1e-3), MCDistFun::FindNCParamChi(30, 4, 0.5, 0), 0.05);
}

// With few degrees of freedom below, F grows with the logarithm of x, also where the odds of the point vanish in a double.
TEST(MCDistFun, FGrowsOverTheWholeRangeOfDoubles)
{
    double before = 0.0;
    for (int i = -280; i <= 280; i += 10) {
        const double now = MCDistFun::CdfF(std::pow(10.0, i), 1e112, 1e-128);
        EXPECT_TRUE(now >= before && now < 5e-126) << i << ": " << now;
        before = now;
    }
    EXPECT_NEAR(MCDistFun::CdfF(1e110, 1e112, 1e-128) / 2.74065591208206425e-126, 1.0, 1e-8);
}

TEST(MCDistFun, LowerTailsGrowFromTheLeastDouble)
{
    using D = MCDistFun;
    const auto grows = [](const std::string& what, double from, double to, auto lower) {
        double before = 0.0;
        for (double x = from; x < to; x = std::max(1.37 * x, std::nextafter(x, 1.0))) {
            const double p = lower(x);
            ASSERT_GE(p, before * (1.0 - 1e-9)) << what << " at " << x;
            before = p;
        }
    };
    for (const double df : {1e-300, 0.02, 0.6, 1.8, 2.0, 2.002, 2.06, 2.6, 4.2, 2e6}) {
        const std::string with = " with " + std::to_string(df);
        grows("chi-square" + with, 5e-324, 1e-200, [=](double x) { return D::CdfChi(x, df); });
        for (const double nc : {1e-5, 1.0, 100.0}) {
            const auto lower = [=](double x) { return D::NonCentralCdfChi(x, df, nc); };
            grows("noncentral chi-square" + with, 5e-324, 1e-100, lower);
            const auto ofRatio = [=](double x) { return D::NonCentralCdfF(x, df, 6.0, nc, 0.0); };
            grows("noncentral F" + with, 5e-324, 1e-100, ofRatio);
            // All but the first term of the mixtures are as nothing there.
            for (const double x : {1e-320, 2e-305, 4e-249, 1e-120}) {
                const double chi = std::exp(-0.5 * nc) * D::CdfChi(x, df),
                             f = std::exp(-0.5 * nc) * D::CdfF(x, df, 6.0);
                if (chi > 1e-290) {
                    EXPECT_NEAR(lower(x) / chi, 1.0, 1e-13) << x << with;
                }
                if (f > 1e-290) {
                    EXPECT_NEAR(ofRatio(x) / f, 1.0, 1e-13) << x << with;
                }
            }
        }
    }
    for (const double df : {1e-20, 1e-15, 2e-10, 1e-5, 0.6, 2.6})
        grows("noncentral t", 1e-150, 0.1, [=](double x) { return D::NonCentralCdfT(-1.0 / x, df, 0.5, 0.0); });
    grows("noncentral t beyond its shift", 1e5, 1e150, [](double t) { return D::NonCentralCdfT(t, 1e-40, 1e6, 0.0); });
    EXPECT_GT(D::NonCentralCdfT(1e150, 1e-40, 1e6, 0.0), 1e-40);
    // Of hardly any degrees of freedom the mass at 0 is not all that there is.
    for (const double x : {1e-3, 1.0, 100.0}) {
        EXPECT_EQ(D::NonCentralCdfChi(x, 1e-301, 1.0), D::NonCentralCdfChi(x, 1e-100, 1.0));
        EXPECT_NEAR(D::NonCentralCdfF(x / 1e-290, 1e-290, 1e10, 1.0, 0.0), D::NonCentralCdfChi(x, 1e-290, 1.0), 1e-9);
    }
}

// It must come back, and a distribution function must be missing, NaN for a NaN point, or a probability.
TEST(MCDistFun, EveryCombinationOfAwkwardArgumentsComesBack)
{
    constexpr double kMax = std::numeric_limits<double>::max(), kLeast = std::numeric_limits<double>::denorm_min();
    const std::vector<double> all{0.0, kLeast, 1e-300, 1e-20, 0.01, 0.5,  1.0 - 1e-16, 1.0,   37.3,
                                  1e6, 1e17,   1e150,  kMax,  kInf, -1.0, -1e9,        -kMax, kNan};
    const std::vector<double> few{0.0, 1e-300, 0.5, 1.0, 37.3, 1e6, kMax, -1.0, kNan};
    for (const auto& [name, exact] : ExactCalls()) {
        const bool isTail = name.starts_with("C") || name.starts_with("Sig") || name.starts_with("NonCentralCdf");
        const std::vector<double>& awkward = exact.count > 3 ? few : all;
        std::size_t calls = 1;
        for (std::size_t i = 0; i < exact.count; ++i) calls *= awkward.size();
        for (std::size_t index = 0; index < calls; ++index) {
            std::vector<double> args(exact.count);
            std::size_t rest = index;
            for (double& arg : args) {
                arg = awkward[rest % awkward.size()];
                rest /= awkward.size();
            }
            const double value = exact.call(args);
            const bool isRight = isTail ? value >= 0.0 && value <= 1.0 : !std::isnan(value);
            const bool isDifference =
                name.find("Norm") == 3 && std::any_of(args.begin(), args.end(), [](double x) { return std::isinf(x); });
            ASSERT_TRUE(isRight || isDifference || MCMV::IsMissing(value) || std::isnan(args[0]))
                << name << ' ' << ::testing::PrintToString(args) << " = " << value;
        }
    }
}
