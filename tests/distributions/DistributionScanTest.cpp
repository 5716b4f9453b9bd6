// Every distribution at random parameters from 1e-3 to 1e12, every eighth time of any size, by what must hold whatever
// the numbers are: it grows with x, the tails add up to 1, the density is the slope, the quantile and the search for a
// noncentrality give their probability back or say missing, nothing is a NaN, and no call takes long.
//
// 1500 points a distribution; MODELCORE_SCAN_POINTS=1000000 asks for more.
#include "modelcore/common/MCMV.h"
#include "modelcore/distributions/MCDistFun.h"
#include "support/Testing.h"

#include <cstdio>
#include <cstdlib>
#include <ctime>

using MCCommon_930::MCMV;
using D = MCMath_930::MCDistFun;

namespace {

using Function = std::function<double(double)>;

constexpr double kMax = std::numeric_limits<double>::max();

/// A distribution with its parameters in place.
struct Subject {
    std::vector<double> parameters;
    double mean, sd; ///< about
    double lowest = 0.0, highest = kMax;
    double step = 0.0;    ///< between the values; 0 for a continuous distribution
    double slack = 1e-12; ///< how far the tails may be from 1 together
    Function lower, upper{}, quantile{}, density{};
    Function at{}, search{}; ///< the lower tail at the mean by the noncentrality, and the noncentrality by that tail
    double leastShift = 0.0, mostShift = 1.3e8;
};

/// Draws parameters.
class Source {
public:
    double Uniform(double low, double high) { return fRandom.Uniform(low, high); }
    double Power(double low, double high) { return std::exp(Uniform(std::log(low), std::log(high))); }
    double Size() { return wild ? Power(1e-300, 1e300) : Power(1e-3, 1e12); }
    double Sign() { return fRandom.Below(2) == 0 ? 1.0 : -1.0; }

    bool wild = false;

private:
    TestRandom fRandom{17};
};

long fault = 0; // a fault shows in the value
int faultOfHyper = 0;

// clang-format off
Subject Normal(Source& source)
{
    const double m = source.Sign() * source.Size(), sd = source.Size();
    return {.parameters = {m, sd}, .mean = m, .sd = sd, .lowest = -kMax, .slack = 1e-15,
            .lower = [=](double x) { return D::CdfNorm(x, m, sd); },
            .upper = [=](double x) { return D::CdfNorm(-x, -m, sd); },
            .quantile = [=](double p) { return D::IdfNorm(p, m, sd); },
            .density = [=](double x) { return D::PdfNormal(x, m, sd); }};
}

// Near the mode of shapes above 1.7e7 each tail has a normal approximation of its own.
Subject ChiSquare(Source& source)
{
    const double df = source.Size();
    return {.parameters = {df}, .mean = df, .sd = std::sqrt(2.0 * df), .slack = df > 3e7 ? 2e-8 : 1e-12,
            .lower = [=](double x) { return D::CdfChi(x, df); },
            .upper = [=](double x) { return D::SigChi(x, df); },
            .quantile = [=](double p) { return D::IdfChi(p, df); }};
}

Subject Gamma(Source& source)
{
    const double a = source.Size(), rate = source.Size();
    return {.parameters = {a, rate}, .mean = a / rate, .sd = std::sqrt(a) / rate, .slack = a > 1.5e7 ? 2e-8 : 1e-12,
            .lower = [=](double x) { return D::CdfGam(x, a, rate); },
            .quantile = [=](double p) { return D::IdfGam(p, a, rate); },
            .density = [=](double x) { return D::PdfGamma(x, a, rate); }};
}

Subject Beta(Source& source)
{
    const double a = source.Size(), b = source.Size(), mean = a / (a + b);
    return {.parameters = {a, b}, .mean = mean, .sd = std::sqrt(mean * (b / (a + b)) / (a + b + 1.0)), .highest = 1.0,
            .lower = [=](double x) { return D::CdfBeta(x, a, b); },
            .quantile = [=](double p) { return D::IdfBeta(p, a, b); }};
}

Subject Student(Source& source)
{
    const double df = source.Size();
    return {.parameters = {df}, .mean = 0.0, .sd = 1.0, .lowest = -kMax,
            .lower = [=](double x) { return D::CdfT(x, df); },
            .upper = [=](double x) { return D::SigT(x, df); },
            .quantile = [=](double p) { return D::IdfT(p, df, 0, 0); },
            .density = [=](double x) { return D::PdfT(x, df, fault); }};
}

Subject Fisher(Source& source)
{
    const double a = source.Size(), b = source.Size();
    return {.parameters = {a, b}, .mean = 1.0, .sd = std::sqrt(2.0 / a + 2.0 / b),
            .lower = [=](double x) { return D::CdfF(x, a, b); },
            .upper = [=](double x) { return D::SigF(x, a, b); },
            .quantile = [=](double p) { return D::IdfF(p, a, b); }};
}

Subject Binomial(Source& source)
{
    const double n = std::ceil(std::min(source.Size(), 1e15));
    const double p = std::ceil(source.Uniform(0.0, 1e6)) * 0x1p-20; // 1 - p is exact
    return {.parameters = {n, p}, .mean = n * p, .sd = std::sqrt(n * p * (1.0 - p)), .step = 1.0,
            .lower = [=](double x) { return D::CdfBin(x, n, p, fault); },
            .upper = [=](double x) { return D::CdfBin(n - x - 1.0, n, 1.0 - p, fault); },
            .quantile = [=](double level) { return D::IdfBin(level, n, p, fault); },
            .density = [=](double x) { return D::PdfBin(x, n, p, fault); }};
}

Subject Hypergeometric(Source& source)
{
    const double N = std::ceil(source.Power(1.0, 1e12)), M = std::floor(source.Uniform(0.0, N + 1.0));
    const double n = std::min(N, std::floor(source.Power(1.0, 1e12))), mean = n * (M / N);
    return {.parameters = {N, M, n}, .mean = mean, .sd = std::sqrt(mean * ((N - M) / N) * ((N - n) / N)), .step = 1.0,
            .slack = N > 1e9 ? 1e-9 : 1e-12,
            .lower = [=](double x) { return D::CDFHyper(x, N, M, n, faultOfHyper); },
            .upper = [=](double x) { return D::CDFHyper(n - x - 1.0, N, N - M, n, faultOfHyper); }};
}

Subject NoncentralChiSquare(Source& source)
{
    const double df = source.Size(), nc = source.Size(), mean = df + nc;
    return {.parameters = {df, nc}, .mean = mean, .sd = std::sqrt(2.0) * std::sqrt(df + 2.0 * nc),
            .lower = [=](double x) { return D::NonCentralCdfChi(x, df, nc); },
            .at = [=](double shift) { return D::NonCentralCdfChi(mean, df, shift); },
            .search = [=](double p) { return D::FindNCParamChi(mean, df, p, 0); }};
}

Subject NoncentralFisher(Source& source)
{
    const double a = source.Size(), b = source.Size(), nc = source.Size(), mean = 1.0 + nc / a;
    return {.parameters = {a, b, nc}, .mean = mean,
            .sd = std::hypot(std::sqrt(2.0) * std::sqrt(1.0 / a + 2.0 * nc / a / a), mean * std::sqrt(2.0 / b)),
            .lower = [=](double x) { return D::NonCentralCdfF(x, a, b, nc, 0); },
            .at = [=](double shift) { return D::NonCentralCdfF(mean, a, b, shift, 0); },
            .search = [=](double p) { return D::FindNCParamF(mean, a, b, p, 0); }};
}

Subject NoncentralStudent(Source& source)
{
    const double df = source.Size(), nc = source.Sign() * source.Size();
    return {.parameters = {df, nc}, .mean = nc, .sd = std::hypot(1.0, nc / std::sqrt(2.0 * df)), .lowest = -kMax,
            .lower = [=](double x) { return D::NonCentralCdfT(x, df, nc, 0); },
            .upper = [=](double x) { return D::NonCentralCdfT(-x, df, -nc, 0); },
            .density = [=](double x) { return D::NonCentralPdfT(x, df, nc, fault); },
            .at = [=](double shift) { return D::NonCentralCdfT(nc, df, shift, 0); },
            .search = [=](double p) { return D::FindNCParamT(nc, df, p, 0, 0); },
            .leastShift = -16384.0, .mostShift = 16384.0};
}
// clang-format on

constexpr double kAway = 16 * std::numeric_limits<double>::epsilon();

/// Whether p lies between what a growing function has just below x and just above, a little widened; moved is by what
/// part of it x moves.
bool Gives(const Function& growing, double x, double moved, double p, double slack)
{
    // Among the denormal numbers a quantile that was halved on the way is even: four units to each side.
    const double step = moved * std::fabs(x) + 4.0 * std::numeric_limits<double>::denorm_min();
    const double below = growing(std::nextafter(x - step, -kMax));
    const double above = growing(std::nextafter(x + step, kMax));
    return below <= p * (1.0 + 1e-11) + slack && above >= p * (1.0 - 1e-11) - slack;
}

/// What is wrong at a grid of points around the mean, in words; empty when nothing is.
std::string WrongOnGrid(const Subject& s, Source& source)
{
    double last = 0.0, lastUpper = 1.0;
    const double offset = source.Uniform(0.0, 1.0);
    const bool isResolved = s.sd > 1e-13 * std::fabs(s.mean); // else neighbouring doubles are deviations apart
    for (double z = -4.0 + offset; z < 4.0; z += 1.0) {
        const bool isRatio = s.lowest == 0.0 && s.step == 0.0 && s.sd > 0.2 * s.mean;
        double x = isRatio ? s.mean * std::exp(z * std::min(s.sd / s.mean, 50.0)) : s.mean + z * s.sd;
        if (s.step > 0.0) x = std::floor(x);
        x = std::clamp(x, s.lowest, s.highest);
        const double lower = s.lower(x);
        if (source.wild && MCMV::IsMissing(lower)) return "";
        if (!(lower >= 0.0 && lower <= 1.0)) return "lower tail is " + std::to_string(lower);
        if (isResolved && lower < last * (1.0 - 1e-12) - (s.slack > 1e-9 ? s.slack : 0.0))
            return "falls at z = " + std::to_string(z);
        last = lower;
        if (s.upper) {
            const double upper = s.upper(x);
            if (!(upper >= 0.0 && upper <= 1.0)) return "upper tail is " + std::to_string(upper);
            if (!(std::fabs(lower - 0.5 + (upper - 0.5)) <= s.slack)) return "tails at z = " + std::to_string(z);
            if (isResolved && upper > lastUpper * (1.0 + 1e-12) + (s.slack > 1e-9 ? s.slack : 0.0))
                return "upper tail grows";
            lastUpper = upper;
        }
        if (!s.density) continue;
        const double density = s.density(x);
        if (std::isnan(density) || (density < 0.0 && !MCMV::IsMissing(density))) return "density is no density";
        if (source.wild || density < 1e-3 / s.sd || s.sd < 1e-8 * std::fabs(x)) continue;
        // A noncentral t of few degrees of freedom rises within a small part of its scale.
        const double scale = isRatio ? std::min(x, s.sd) : std::clamp(std::fabs(x), 1e-2 * s.sd, s.sd);
        const double h = s.step > 0.0 ? 0.0 : 1e-5 * scale;
        const double from = s.step > 0.0 ? x - s.step : x - h, to = x + h;
        const double mass = s.lower(to) - s.lower(from), expected = density * (to - from);
        if (!(std::fabs(mass - expected) <= 1e-6 * expected + 2.0 * s.slack))
            return "density at z = " + std::to_string(z);
    }
    return "";
}

std::string WrongAtQuantile(const Subject& s, double p)
{
    const double x = s.quantile(p);
    if (std::isnan(x)) return "quantile is a NaN";
    if (MCMV::IsMissing(x)) {
        const bool isBeyond = s.lower(kMax) <= p * (1.0 + 1e-9) || (s.lowest < 0.0 && s.lower(-kMax) >= p);
        return isBeyond ? "" : "quantile is missing";
    }
    if (s.step > 0.0)
        return s.lower(x) >= p * (1.0 - 1e-12) && (x == 0.0 || s.lower(x - 1.0) <= p * (1.0 + 1e-12)) ? "" : "quantile";
    if (x == 0.0 && s.lowest == 0.0) return s.lower(1e-320) >= p * (1.0 - 1e-9) ? "" : "quantile is 0";
    return Gives(s.lower, x, kAway, p, s.slack > 1e-9 ? 2.0 * s.slack : 1e-15) ? "" : "quantile " + std::to_string(x);
}

std::string WrongInSearch(const Subject& s, double p)
{
    const double found = s.search(p);
    if (std::isnan(found)) return "noncentrality is a NaN";
    const Function growing = [&](double shift) { return s.at(-shift); };
    if (MCMV::IsMissing(found))
        return s.at(s.leastShift) > p * (1.0 + 1e-9) && s.at(s.mostShift) < p * (1.0 - 1e-9) ? "search gives up" : "";
    const bool isEnd = found == 0.0 && std::fabs(s.at(0.0) - p) <= 1e-13 * p;
    return isEnd || Gives(growing, -found, 1e-11, p, 1e-14) ? "" : "search finds " + std::to_string(found);
}

double Seconds()
{
    return static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
}

/// Processor time that all calls at one point may take together, some hundred of them: ten million exponentials, so
/// that a slow machine gives itself more.
double Allowed()
{
    static const double allowed = [] {
        const double start = Seconds();
        volatile double x = 1.0;
        for (int i = 0; i < 1000000; ++i) x = std::exp(-x);
        return 10.0 * (Seconds() - start);
    }();
    return allowed;
}

struct Named {
    const char* name;
    Subject (*draw)(Source&);
};

class DistributionScan : public testing::TestWithParam<Named> {};

} // namespace

TEST_P(DistributionScan, HoldsWhateverTheParameters)
{
    const char* const wanted = std::getenv("MODELCORE_SCAN_POINTS");
    const long points = wanted != nullptr ? std::strtol(wanted, nullptr, 10) : 1500;
    Source source;
    double slowest = 0.0;
    for (long i = 0, wrong = 0; i < points && wrong < 5; ++i) {
        source.wild = i % 8 == 7;
        Subject subject = GetParam().draw(source);
        subject.mean = std::clamp(subject.mean, -1e300, 1e300);
        subject.sd = std::clamp(subject.sd, 1e-300, 1e300);
        const double p = i % 2 == 0 ? source.Uniform(0.0, 1.0) : source.Power(1e-30, 0.5);
        const double start = Seconds();
        std::string said = WrongOnGrid(subject, source);
        if (said.empty() && subject.quantile) said = WrongAtQuantile(subject, p);
        if (said.empty() && subject.search && !source.wild) said = WrongInSearch(subject, p);
        const double taken = Seconds() - start;
        if (said.empty() && taken > Allowed()) said = "took " + std::to_string(taken) + " s";
        slowest = std::max(slowest, taken);
        if (said.empty()) continue;
        ++wrong;
        ADD_FAILURE() << said << ", parameters " << testing::PrintToString(subject.parameters) << ", p = " << p;
    }
    RecordProperty("slowest_point_microseconds", static_cast<int>(1e6 * slowest));
    if (wanted != nullptr) std::printf("slowest point %.2f ms\n", 1e3 * slowest);
}

INSTANTIATE_TEST_SUITE_P(All, DistributionScan,
                         testing::Values(Named{"Normal", Normal}, Named{"ChiSquare", ChiSquare}, Named{"Gamma", Gamma},
                                         Named{"Beta", Beta}, Named{"T", Student}, Named{"F", Fisher},
                                         Named{"Binomial", Binomial}, Named{"Hypergeometric", Hypergeometric},
                                         Named{"NoncentralChiSquare", NoncentralChiSquare},
                                         Named{"NoncentralF", NoncentralFisher},
                                         Named{"NoncentralT", NoncentralStudent}),
                         [](const auto& test) { return std::string(test.param.name); });
