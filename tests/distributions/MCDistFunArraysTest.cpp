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
    double (*typical)(double a, double b, double p); ///< the quantile of p
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
        const double x = subject.isQuantile ? p : subject.typical(a, b, p);
        points.push_back(random.Below(20) == 0 ? std::exp(random.Uniform(-300.0, 300.0)) : x);
    }
    points.resize(count);
    return points;
}

using OneParameter = double (*)(double, double);
using OneParameterArray = void (*)(const double*, double*, std::size_t, double);
using TwoParameters = double (*)(double, double, double);
using TwoParametersArray = void (*)(const double*, double*, std::size_t, double, double);

template <OneParameter kScalar, OneParameterArray kArray, OneParameter kTypical>
constexpr Subject Of(const char* name, bool isQuantile = false)
{
    return {name, isQuantile, [](double a, double) -> Scalar { return [=](double x) { return kScalar(x, a); }; },
            [](double a, double) -> Array {
                return [=](const double* x, double* p, std::size_t n) { kArray(x, p, n, a); };
            },
            [](double a, double, double p) { return kTypical(p, a); }};
}

template <TwoParameters kScalar, TwoParametersArray kArray, TwoParameters kTypical>
constexpr Subject Of(const char* name, bool isQuantile = false)
{
    return {name, isQuantile, [](double a, double b) -> Scalar { return [=](double x) { return kScalar(x, a, b); }; },
            [](double a, double b) -> Array {
                return [=](const double* x, double* p, std::size_t n) { kArray(x, p, n, a, b); };
            },
            [](double a, double b, double p) { return kTypical(p, a, b); }};
}

double StudentQuantile(double p, double df)
{
    return D::IdfT(p, df, 0.0, 0.0);
}

void StudentQuantiles(const double* p, double* t, std::size_t n, double df)
{
    D::IdfT(p, t, n, df);
}

const Subject kSubjects[] = {
    Of<D::CdfNorm, D::CdfNorm, D::IdfNorm>("normal"),
    Of<D::IdfNorm, D::IdfNorm, D::IdfNorm>("normal quantile", true),
    Of<D::CdfChi, D::CdfChi, D::IdfChi>("chi-square"),
    Of<D::SigChi, D::SigChi, D::IdfChi>("chi-square, upper tail"),
    Of<D::IdfChi, D::IdfChi, D::IdfChi>("chi-square quantile", true),
    Of<D::CdfT, D::CdfT, StudentQuantile>("t"),
    Of<D::SigT, D::SigT, StudentQuantile>("t, upper tail"),
    Of<StudentQuantile, StudentQuantiles, StudentQuantile>("t quantile", true),
    Of<D::CdfF, D::CdfF, D::IdfF>("F"),
    Of<D::SigF, D::SigF, D::IdfF>("F, upper tail"),
    Of<D::IdfF, D::IdfF, D::IdfF>("F quantile", true),
};

class DistributionArrays : public ::testing::TestWithParam<Subject> {};

TEST_P(DistributionArrays, HaveTheBitsOfTheFunctionOfANumber)
{
    const Subject& subject = GetParam();
    TestRandom random{23};
    std::vector<std::array<double, 2>> parameters{{0.0, 1.0},  {1.0, 1.0}, {1.0, 0.0},  {1.0, 30.0}, {5.0, 3.0},
                                                  {kNaN, 1.0}, {2.0, 2.0}, {2.0, kInf}, {kInf, 2.0}, {-1.0, kNaN}};
    for (int i = 0; i < 32; ++i) {
        const double most = i % 2 == 0 ? 12.0 : 2.5;
        const auto size = [&] { return std::pow(10.0, random.Uniform(-3.0, most)); };
        parameters.push_back({size(), size()});
    }
    const std::size_t sizes[] = {1000, 0, 1, 7, 8, 9};
    ForEachKernelSet([&] {
        for (std::size_t i = 0; i < parameters.size(); ++i) {
            const auto [a, b] = parameters[i];
            SCOPED_TRACE(testing::Message() << subject.name << ' ' << a << ' ' << b);
            const std::size_t n = a > 2e6 ? 9 : sizes[i % 6]; // the quantiles behind the points take long there
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
