// Functions of arrays: every element has the bits of the function of a number, under every kernel set.
#include "modelcore/distributions/MCDistFun.h"
#include "support/AllKernels.h"
#include "support/Testing.h"

using D = MCMath_930::MCDistFun;

namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

using Scalar = std::function<double(double)>;
using Array = std::function<void(const double*, double*, std::size_t)>;

/// A function of both kinds, for parameters a and b.
struct Subject {
    const char* name;
    bool isQuantile;
    Scalar (*scalar)(double a, double b);
    Array (*array)(double a, double b);
    double (*typical)(double a, double b, double u, TestRandom& random); ///< a point that belongs to u in (0, 1)
};

/// Special values, points of the body and of the tails, and points of any size.
std::vector<double> Points(const Subject& subject, double a, double b, TestRandom& random, std::size_t count)
{
    std::vector<double> points{0.0,     -0.0,   0.5,     1.0,    -1.0,          kInf,     -kInf, kNaN,
                               -kNaN,   5e-324, -5e-324, 1e-310, 1e-5,          1e-300,   1e300, -1e300,
                               1.7e308, 0.1,    38.0,    -38.4,  1.0 - 0x1p-53, 0x1p-1022};
    while (points.size() < count) {
        const double u = random.Uniform(0.0, 1.0);
        const double p = random.Below(5) == 0 ? std::exp(-700.0 * u) : u;
        const double x = subject.isQuantile ? p : subject.typical(a, b, p, random);
        points.push_back(random.Below(20) == 0 ? std::exp(random.Uniform(-300.0, 300.0)) : x);
    }
    points.resize(count);
    return points;
}

// clang-format off
const Subject kSubjects[] = {
    {"normal", false, [](double a, double b) -> Scalar { return [=](double x) { return D::CdfNorm(x, a, b); }; },
     [](double a, double b) -> Array { return [=](const double* x, double* p, std::size_t n) { D::CdfNorm(x, p, n, a, b); }; },
     [](double a, double b, double p, TestRandom&) { return D::IdfNorm(p, a, b); }},
    {"normal quantile", true, [](double a, double b) -> Scalar { return [=](double p) { return D::IdfNorm(p, a, b); }; },
     [](double a, double b) -> Array { return [=](const double* p, double* x, std::size_t n) { D::IdfNorm(p, x, n, a, b); }; },
     nullptr},
    {"chi-square", false, [](double a, double) -> Scalar { return [=](double x) { return D::CdfChi(x, a); }; },
     [](double a, double) -> Array { return [=](const double* x, double* p, std::size_t n) { D::CdfChi(x, p, n, a); }; },
     [](double a, double, double p, TestRandom&) { return D::IdfChi(p, a); }},
    {"chi-square, upper", false, [](double a, double) -> Scalar { return [=](double x) { return D::SigChi(x, a); }; },
     [](double a, double) -> Array { return [=](const double* x, double* p, std::size_t n) { D::SigChi(x, p, n, a); }; },
     [](double a, double, double p, TestRandom&) { return D::IdfChi(p, a); }},
};
// clang-format on

class DistributionArrays : public ::testing::TestWithParam<Subject> {};

TEST_P(DistributionArrays, HaveTheBitsOfTheFunctionOfANumber)
{
    const Subject& subject = GetParam();
    TestRandom random{23};
    std::vector<std::array<double, 2>> parameters{{0.0, 1.0},  {1.0, 1.0}, {2.0, 2.0},  {1.0, 30.0}, {5.0, 3.0},
                                                  {kNaN, 1.0}, {1.0, 0.0}, {2.0, kInf}, {kInf, 2.0}, {-1.0, kNaN}};
    for (int i = 0; i < 60; ++i) {
        const double most = i % 2 == 0 ? 12.0 : 2.5;
        const auto size = [&] { return std::pow(10.0, random.Uniform(-3.0, most)); };
        parameters.push_back({size(), size()});
    }
    const std::size_t sizes[] = {0, 1, 7, 8, 9, 1000};
    ForEachKernelSet([&] {
        for (std::size_t i = 0; i < parameters.size(); ++i) {
            const auto [a, b] = parameters[i];
            SCOPED_TRACE(testing::Message() << subject.name << ' ' << a << ' ' << b);
            const std::size_t n = sizes[i % 6];
            const std::vector<double> x = Points(subject, a, b, random, n);
            std::vector<double> expected(n), result(n), inPlace(x);
            std::transform(x.begin(), x.end(), expected.begin(), subject.scalar(a, b));
            subject.array(a, b)(x.data(), result.data(), n);
            subject.array(a, b)(inPlace.data(), inPlace.data(), n);
            ASSERT_TRUE(SameBits(result, expected));
            EXPECT_TRUE(SameBits(inPlace, result));
        }
    });
}

INSTANTIATE_TEST_SUITE_P(All, DistributionArrays, ::testing::ValuesIn(kSubjects));

} // namespace
