// MCRNGBeta.
#include "modelcore/random/MCRNGBeta.h"

#include "modelcore/common/MCDisplay.h"
#include "modelcore/common/MCMV.h"
#include "modelcore/distributions/MCDistFun.h"
#include "modelcore/random/MCRNGNormal.h"
#include "modelcore/random/internal/Rejection.h"
#include "modelcore/random/internal/UniformSource.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace MCMath_930 {

namespace {

using internal::kMaxTrials;

struct Shapes {
    double a;
    double b;
};

Shapes Accepted(double a, double b)
{
    const bool valid = a > 0.0 && b > 0.0 && std::isfinite(a) && std::isfinite(b);
    return valid ? Shapes{a, b} : Shapes{1.0, 1.0};
}

// ln 4 and 1 + ln 5 stand in the tests that decide, so they have all their digits; Cheng prints seven.
constexpr double kLn4 = 1.3862943611198906;
constexpr double kOnePlusLn5 = 2.6094379124341003;

} // namespace

struct MCRNGBeta::Record {
    // The exponentials of the methods are held within these limits: 0 below, and above the shapes are too small.
    static constexpr double kOverflowLimit = 709.0;
    static constexpr double kUnderflowLimit = -708.0;
    // ln(u/(1-u)) of a 53-bit uniform stays below 36.8, so |ln(u/(1-u))|/shape stays within the limits from here on.
    static constexpr double kSmallestRejectionShape = 0.052;
    static_assert(36.8 / kSmallestRejectionShape < std::min(kOverflowLimit, -kUnderflowLimit));

    internal::SharedSource<MCRNGNormal> source{MCRNGNormal(0.0, 1.0)};
    Shapes shapes;

    explicit Record(const Shapes& initial) : shapes(initial) {}

    static double GuardedExp(double x) { return x < kUnderflowLimit ? 0.0 : std::exp(std::min(x, kOverflowLimit)); }

    double Draw(const Shapes& s);
    double DrawSymmetric(double a);
    template <class Uniform>
    static double DrawBB(const Shapes& s, Uniform next);
    template <class Uniform>
    static double DrawBC(const Shapes& s, Uniform next);
};

double MCRNGBeta::Record::Draw(const Shapes& s)
{
    const double smaller = std::min(s.a, s.b);
    if (s.a == s.b && smaller == 1.0) return source.Get().GetNext();
    if (s.a == s.b && smaller > 1.5) return DrawSymmetric(smaller);
    if (smaller < kSmallestRejectionShape) return MCDistFun::IdfBeta(source.Get().GetNext(), s.a, s.b);
    return source.Draw([&](auto next) { return smaller > 1.0 ? DrawBB(s, next) : DrawBC(s, next); });
}

// Algorithm BS: a normal variate with the curvature of the density at 1/2, accepted with the ratio of the two, which is
// exp((a-1)*(ln(1-y) + y)) and lies between 1 - s^4/(8a-12) and 1 - q + q^2/2, q = s^4/(8a-8).
double MCRNGBeta::Record::DrawSymmetric(double a)
{
    MCRNGenerator& uniform = source.Get();
    const double exponent = a - 1.0;
    const double spread = std::sqrt(2.0 * exponent);
    for (int trial = 0; trial < kMaxTrials; ++trial) {
        const double s = source.embedded.GetNext();
        if (!(std::fabs(s) <= spread)) continue;
        const double u = uniform.GetNext();
        const double square = s * s;
        const double fourth = square * square;
        const double x = 0.5 + 0.5 * (s / spread);
        if (u <= 1.0 - fourth / (8.0 * a - 12.0)) return x;
        const double q = fourth / (8.0 * exponent);
        if (u >= 1.0 - q + 0.5 * q * q) continue;
        const double y = square / (2.0 * exponent);
        if (u <= GuardedExp(exponent * (std::log1p(-y) + y))) return x;
    }
    return MCCommon_930::MCMV::Missing();
}

// Algorithm BB, for both shapes above 1.
template <class Uniform>
double MCRNGBeta::Record::DrawBB(const Shapes& s, Uniform next)
{
    const double a = std::min(s.a, s.b);
    const double b = std::max(s.a, s.b);
    const double alpha = a + b;
    const double beta = std::sqrt((1.0 - 2.0 / alpha) / (2.0 * a * (b / alpha) - 1.0));
    const double gamma = a + 1.0 / beta;
    for (int trial = 0; trial < kMaxTrials; ++trial) {
        const double u1 = next();
        const double u2 = next();
        if (u1 == 0.0) continue; // its logarithm would be accepted
        const double v = beta * std::log(u1 / (1.0 - u1));
        const double w = a * GuardedExp(v);
        const double z = u1 * u1 * u2;
        const double r = gamma * v - kLn4;
        const double bound = a + r - w;
        bool accept = bound + kOnePlusLn5 >= 5.0 * z;
        if (!accept) {
            const double t = std::log(z);
            accept = bound >= t || r + alpha * std::log(alpha / (b + w)) >= t;
        }
        if (accept) return s.a == a ? w / (b + w) : b / (b + w);
    }
    return MCCommon_930::MCMV::Missing();
}

// Algorithm BC, for a shape of at most 1. With w = a*exp(v) the paper returns w/(b+w); here numerator and denominator
// are divided by exp(v) when v > 0, so that nothing overflows.
template <class Uniform>
double MCRNGBeta::Record::DrawBC(const Shapes& s, Uniform next)
{
    const double a = std::max(s.a, s.b);
    const double b = std::min(s.a, s.b);
    const double alpha = a + b;
    const double beta = 1.0 / b;
    const double delta = 1.0 + a - b;
    const double k1 = delta * (0.0138889 + 0.0416667 * b) / (a * beta - 0.777778);
    const double k2 = 0.25 + (0.5 + 0.25 / delta) * b;
    for (int trial = 0; trial < kMaxTrials; ++trial) {
        const double u1 = next();
        const double u2 = next();
        if (u1 == 0.0) continue; // its logarithm would be accepted
        const double y = u1 * u2;
        const double z = u1 * y;
        const bool atOnce = u1 >= 0.5 && z <= 0.25;
        if (!atOnce && (u1 < 0.5 ? 0.25 * u2 + z - y >= k1 : z >= k2)) continue;
        const double v = beta * std::log(u1 / (1.0 - u1));
        const double aPart = v > 0.0 ? a : a * GuardedExp(v);
        const double bPart = v > 0.0 ? b * GuardedExp(-v) : b;
        const double sum = aPart + bPart;
        if (atOnce || alpha * (std::log(alpha / sum) + std::min(v, 0.0)) - kLn4 >= std::log(z))
            return (s.a == a ? aPart : bPart) / sum;
    }
    return MCCommon_930::MCMV::Missing();
}

MCRNGBeta::MCRNGBeta() : MCRNGBeta(1.0, 1.0) {}

MCRNGBeta::MCRNGBeta(double a, double b) : fpRecord(std::make_unique<Record>(Accepted(a, b))) {}

MCRNGBeta::MCRNGBeta(const MCRNGBeta&) = default;
MCRNGBeta& MCRNGBeta::operator=(const MCRNGBeta&) = default;
MCRNGBeta::~MCRNGBeta() = default;

void MCRNGBeta::SetSeed(double s)
{
    fpRecord->source.Get().SetSeed(s);
}

double MCRNGBeta::GetNext()
{
    return fpRecord->Draw(fpRecord->shapes);
}

double MCRNGBeta::GetNext(double a, double b)
{
    return fpRecord->Draw(Accepted(a, b));
}

void MCRNGBeta::SetParameters(double a, double b)
{
    fpRecord->shapes = Accepted(a, b);
}

void MCRNGBeta::SetURNGenerator(MCRNGenerator& generator)
{
    fpRecord->source.Use(generator);
}

void MCRNGBeta::Display() const
{
    MCDisplay_930::DisplayStart("MCRNGBeta");
    MCDisplay_930::Display("First shape", fpRecord->shapes.a);
    MCDisplay_930::Display("Second shape", fpRecord->shapes.b);
    fpRecord->source.Display();
    MCDisplay_930::DisplayEnd("MCRNGBeta");
}

} // namespace MCMath_930
