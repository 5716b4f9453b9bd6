// The elementary functions beside those of the C library for long doubles: over all magnitudes, where the argument is
// reduced, and at the ends of their domains.
#include "modelcore/distributions/internal/PortableMath.h"
#include "modelcore/distributions/MCMathFun.h"
#include "support/Random.h"
#include "support/Testing.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <limits>

using namespace MCMath_930::internal;

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

/// The error in units in the last place of the result.
double Units(double value, long double exact)
{
    const auto rounded = static_cast<double>(exact);
    if (value == rounded || (std::isnan(value) && std::isnan(rounded))) return 0.0;
    if (!std::isfinite(value) || !std::isfinite(rounded)) return kInfinity;
    int exponent = 0;
    std::frexp(rounded, &exponent);
    const long double unit = std::ldexp(1.0L, std::max(exponent, -1021) - 53);
    return static_cast<double>(std::fabs(static_cast<long double>(value) - exact) / unit);
}

struct Function {
    const char* name;
    double (*ours)(double);
    long double (*exact)(long double);
    double low, high; ///< magnitudes
    bool bothSigns;
    double bound;
};

#define PEER(function) [](long double x) -> long double { return std::function(x); }

constexpr Function kFunctions[] = {
    {"exp", PortableExp, PEER(exp), 1e-18, 745.0, true, 0.8},
    {"exp(x) - 1", PortableExpMinusOne, PEER(expm1), 1e-310, 740.0, true, 2.0},
    {"exp(x) - 1 near 1", PortableExpMinusOne, PEER(expm1), 1e-3, 4.0, true, 2.0},
    {"log", PortableLog, PEER(log), 5e-324, 1e308, false, 1.0},
    {"log near 1", PortableLog, PEER(log), 0.5, 2.0, false, 1.0},
    {"log(1 + x)", PortableLogOnePlus, PEER(log1p), 5e-324, 1e308, false, 1.5},
    {"log(1 + x) near -1", PortableLogOnePlus, PEER(log1p), 1e-5, 0.9999999, true, 1.5},
    {"log2", PortableLog2, PEER(log2), 5e-324, 1e308, false, 2.0},
    {"log2 near 1", PortableLog2, PEER(log2), 0.5, 2.0, false, 2.0},
    {"atan", PortableArcTangent, PEER(atan), 1e-300, 1e308, true, 1.0},
    {"atan near 1", PortableArcTangent, PEER(atan), 1e-2, 1e2, true, 1.0},
    {"tan", PortableTangent, PEER(tan), 1e-3, 0.8, true, 2.0},
    {"cube root", PortableCubeRoot, PEER(cbrt), 5e-324, 1e308, true, 0.6},
};

} // namespace

TEST(PortableMath, HasTheErrorThatItSays)
{
    if (LDBL_MANT_DIG < 64) GTEST_SKIP() << "a long double is no more than a double here";
    TestRandom random(11);
    for (const Function& f : kFunctions) {
        double worst = 0.0, at = 0.0;
        for (int i = 0; i < 40000; ++i) {
            double x = std::exp(random.Uniform(std::log(f.low), std::log(f.high)));
            if (f.bothSigns && i % 2 == 1) x = -x;
            const double units = Units(f.ours(x), f.exact(x));
            if (units > worst) {
                worst = units;
                at = x;
            }
        }
        EXPECT_LE(worst, f.bound) << f.name << " at " << at;
        EXPECT_GT(worst, 0.3) << f.name << ": nothing was compared";
    }
    for (int i = 0; i < 40000; ++i) {
        const double x = std::exp(random.Uniform(-700.0, 700.0)), y = -x * std::exp(random.Uniform(-9.0, 9.0));
        const double power = std::exp(random.Uniform(-9.0, 6.0));
        ASSERT_LE(Units(PortablePower(x, power), std::pow(static_cast<long double>(x), power)), 1.0)
            << x << " " << power;
        ASSERT_LE(Units(PortableHypotenuse(x, y), std::hypot(static_cast<long double>(x), y)), 1.5) << x << " " << y;
    }
}

TEST(PortableMath, EndsOfTheDomains)
{
    const struct {
        double ours, exact;
    } cases[] = {
        {PortableExp(kInfinity), kInfinity},
        {PortableExp(-kInfinity), 0.0},
        {PortableExp(710.0), kInfinity},
        {PortableExp(-745.13), 5e-324},
        {PortableExp(0.0), 1.0},
        {PortableExpMinusOne(kInfinity), kInfinity},
        {PortableExpMinusOne(-kInfinity), -1.0},
        {PortableExpMinusOne(709.78), std::exp(709.78)},
        {PortableLog(0.0), -kInfinity},
        {PortableLog(-0.0), -kInfinity},
        {PortableLog(kInfinity), kInfinity},
        {PortableLog(1.0), 0.0},
        {PortableLogOnePlus(-1.0), -kInfinity},
        {PortableLogOnePlus(kInfinity), kInfinity},
        {PortableLogOnePlus(5e-324), 5e-324},
        {PortableLog2(0x1p-1074), -1074.0},
        {PortableLog2(0x1p1000), 1000.0},
        {PortableLog2(0.0), -kInfinity},
        {PortableArcTangent(-kInfinity), -std::atan(kInfinity)},
        {PortableTangent(0.0), 0.0},
        {PortableCubeRoot(-27.0), -3.0},
        {PortablePower(3.0, 4.0), 81.0},
        {PortablePower(0x1p-1074, 0.5), 0x1p-537},
        {PortablePower(0.0, 1e-300), 0.0},
        {PortablePower(0.0, -1.0), kInfinity},
        {PortablePower(1.0, kNaN), 1.0},
        {PortablePower(kNaN, 0.0), 1.0},
        {PortablePower(0.5, kInfinity), 0.0},
        {PortablePower(kInfinity, -1e-9), 0.0},
        {PortablePower(2.0, 1e308), kInfinity},
        {PortableCubeRoot(-kInfinity), -kInfinity},
        {PortableHypotenuse(0x3p700, -0x4p700), 0x5p700},
        {PortableHypotenuse(-kInfinity, kNaN), kInfinity},
        {PortableHypotenuse(0.0, -0.0), 0.0},
    };
    for (const auto& c : cases) EXPECT_EQ(c.ours, c.exact) << "case " << &c - cases;
    for (const double none :
         {PortableExp(kNaN), PortableExpMinusOne(kNaN), PortableLog(-1.0), PortableLog(kNaN), PortableLog(-kInfinity),
          PortableLogOnePlus(-2.0), PortableLogOnePlus(kNaN), PortableLog2(-1.0), PortableArcTangent(kNaN),
          PortableCubeRoot(kNaN), PortableHypotenuse(1.0, kNaN)})
        EXPECT_TRUE(std::isnan(none));
    for (const double zero : {PortableExpMinusOne(-0.0), PortableLogOnePlus(-0.0), PortableArcTangent(-0.0),
                              PortableTangent(-0.0), PortableCubeRoot(-0.0)})
        EXPECT_TRUE(zero == 0.0 && std::signbit(zero));
}
