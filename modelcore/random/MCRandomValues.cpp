// MCRandomValues: the scalar distributions.
#include "modelcore/random/MCRandomValues.h"

#include "modelcore/common/MCDisplay.h"
#include "modelcore/common/MCMV.h"
#include "modelcore/distributions/internal/PortableMath.h"
#include "modelcore/random/MCRandomTwister.h"
#include "modelcore/random/MCURandom.h"
#include "modelcore/random/internal/KindermanRamage.h"
#include "modelcore/random/internal/Rejection.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace MCMath_930 {

using internal::PortableExp;
using internal::PortableLog;
using MCCommon_930::MCMV;

namespace {

// Fishman accepts the exponential x when (shape-1)*(ln x + 1 - x) >= ln(1-u2). With d = (x-1)^2, the left parenthesis
// lies between -d/(x + min(1,x)) and -d/(x + max(1,x)), and the right side between -u2/(1-u2) and -u2; so both
// logarithms are seldom needed. The margin leaves close cases to them, and so does an infinite x, which they refuse.
template <class Uniform>
double GammaAboveOne(double shape, Uniform next)
{
    constexpr double margin = 1e-6;
    const double power = shape - 1.0;
    const auto trials =
        static_cast<long>(std::min(internal::kMaxTrials * std::sqrt(shape), static_cast<double>(1L << 27)));
    for (long trial = 0; trial < trials; ++trial) {
        const double u1 = next();
        const double u2 = next();
        const double x = -PortableLog(1.0 - u1);
        const double weight = power * ((x - 1.0) * (x - 1.0));
        if (weight * (1.0 - u2) > u2 * (x + std::max(1.0, x)) * (1.0 + margin)) continue;
        if (weight < u2 * (x + std::min(1.0, x)) * (1.0 - margin)) return shape * x;
        if (power * (PortableLog(x) + 1.0 - x) >= PortableLog(1.0 - u2)) return shape * x;
    }
    return MCMV::Missing();
}

// Ahrens and Dieter's GS. Its tests compare u2 with exp(-x), x <= 1, which lies between 1 - x + x^2/2 - x^3/6 and 1 - x +
// x^2/2, and -ln(1-u2) with (1-shape)*ln x, x > 1, which lies between 2(x-1)/(x+1) and (x-1)/sqrt(x), as -ln(1-u2) does
// between u2/(1-u2/2) and u2(1-u2/2)/(1-u2): the functions are seldom needed.
template <class Uniform>
double GammaBelowOne(double shape, Uniform next)
{
    constexpr double margin = 1e-6;
    constexpr double e = 2.718281828459045;
    constexpr double smallestExponent = -708.39; // what lies below underflows
    const double b = (shape + e) / e;
    for (int trial = 0; trial < internal::kMaxTrials; ++trial) {
        const double u1 = next();
        if (u1 == 0.0) continue;
        const double p = b * u1;
        if (p <= 1.0) {
            const double exponent = PortableLog(p) / shape;
            const double x = exponent < smallestExponent ? 0.0 : PortableExp(exponent);
            const double u2 = next();
            const double above = 1.0 - x + 0.5 * x * x;
            if (u2 > above + margin) continue;
            if (u2 < above - x * x * x / 6.0 - margin || u2 <= PortableExp(-x)) return x;
        } else {
            const double x = -PortableLog((b - p) / shape);
            const double u2 = next();
            if (!(x > 0.0 && std::isfinite(x))) continue;
            const double half = 1.0 - 0.5 * u2;
            const double least = (1.0 - shape) * 2.0 * (x - 1.0);
            if (least * (1.0 - u2) > u2 * half * (x + 1.0) * (1.0 + margin)) continue;
            const double most = (1.0 - shape) * (x - 1.0);
            if (x > 1.0 && most * half < u2 * std::sqrt(x) * (1.0 - margin)) return x;
            if ((shape - 1.0) * PortableLog(x) >= PortableLog(1.0 - u2)) return x;
        }
    }
    return MCMV::Missing();
}

} // namespace

// The Twister's function is one that the compiler can put in place: a variate draws many.
template <class Body>
double MCRandomValues::Draw(Body body)
{
    if (fpSource->fpTwister != nullptr)
        return body([&twister = *fpSource->fpTwister] { return twister.GetRealOpen(); });
    return body([source = fpSource] { return source->GetRandom(); });
}

inline double MCRandomValues::StandardNormal()
{
    return Draw([](auto next) { return internal::StandardNormal(next); });
}

void MCRandomValues::SetSeed(unsigned long s)
{
    if (fpSource != nullptr) fpSource->SetSeed(s);
}

bool MCRandomValues::SetTolerance(double t)
{
    if (!(t > 0.0)) return false;
    fTolerance = t;
    return true;
}

bool MCRandomValues::Choose(Kind kind, double first, double second)
{
    fKind = kind;
    fFirst = first;
    fSecond = second;
    fParametersSet = true;
    return true;
}

bool MCRandomValues::SetParamUniform(double a, double b)
{
    return a <= b && std::isfinite(b - a) && Choose(kUniform, a, b);
}

bool MCRandomValues::SetParamNormal(double mean, double sd)
{
    return sd >= 0.0 && std::isfinite(mean) && std::isfinite(sd) && Choose(kNormal, mean, sd);
}

bool MCRandomValues::SetParamChi(double df)
{
    return df > 0.0 && std::isfinite(df) && Choose(kChiSquare, df, 0.0);
}

bool MCRandomValues::SetParamGamma(double shape, double rate)
{
    return shape > 0.0 && rate > 0.0 && std::isfinite(shape) && std::isfinite(rate) && Choose(kGamma, shape, rate);
}

double MCRandomValues::GetRandom()
{
    if (!fParametersSet) return MCMV::Missing();
    switch (fKind) {
    case kUniform: return RVUni(fFirst, fSecond);
    case kNormal: return RVNor(fFirst, fSecond);
    case kChiSquare: return RVChi(fFirst);
    case kGamma: return RVGam(fFirst, fSecond);
    default: return MCMV::Missing();
    }
}

double MCRandomValues::RVUni(double a, double b)
{
    if (!(a <= b) || fpSource == nullptr) return MCMV::Missing();
    return a + (b - a) * Draw([](auto next) { return next(); });
}

double MCRandomValues::RVAuxF(double t)
{
    return internal::AboveTriangle(t);
}

double MCRandomValues::RVSNor()
{
    return fpSource != nullptr ? StandardNormal() : MCMV::Missing();
}

double MCRandomValues::RVNor(double mean, double sd)
{
    if (!(sd >= 0.0)) return MCMV::Missing();
    if (sd == 0.0) return mean;
    if (fpSource == nullptr) return MCMV::Missing();
    const double z = StandardNormal();
    return MCMV::IsMissing(z) ? z : mean + sd * z;
}

double MCRandomValues::RVExp(double rate)
{
    if (!(rate > 0.0) || fpSource == nullptr) return MCMV::Missing();
    const double u = Draw([](auto next) { return next(); });
    return u < 1.0 ? -PortableLog(1.0 - u) / rate : MCMV::Missing();
}

double MCRandomValues::RVChi(double df)
{
    return df > 0.0 ? RVGam(df / 2.0, 0.5) : MCMV::Missing();
}

double MCRandomValues::RVGam(double shape, double rate)
{
    if (!(shape > 0.0) || !std::isfinite(shape) || !(rate > 0.0) || fpSource == nullptr) return MCMV::Missing();
    const double x = shape == 1.0 ? RVExp(1.0) : Draw([shape](auto next) {
        return shape > 1.0 ? GammaAboveOne(shape, next) : GammaBelowOne(shape, next);
    });
    return MCMV::IsMissing(x) ? x : x / rate;
}

void MCRandomValues::Display() const
{
    static constexpr const char* names[] = {
        "uniform", "normal", "chi-square", "gamma", "multivariate uniform", "multivariate normal", "Wishart matrices"};
    static_assert(std::size(names) == kWishart + 1);
    MCDisplay_930::DisplayStart("MCRandomValues");
    MCDisplay_930::Display("Source indicator", fpSource != nullptr);
    MCDisplay_930::Display("Tolerance", fTolerance);
    MCDisplay_930::Display("Parameters set indicator", fParametersSet);
    if (fParametersSet) {
        MCDisplay_930::Display("Distribution", names[fKind]);
        switch (fKind) {
        case kUniform:
            MCDisplay_930::Display("Lower bound", fFirst);
            MCDisplay_930::Display("Upper bound", fSecond);
            break;
        case kNormal:
            MCDisplay_930::Display("Mean", fFirst);
            MCDisplay_930::Display("Standard deviation", fSecond);
            break;
        case kChiSquare: MCDisplay_930::Display("Degrees of freedom", fFirst); break;
        case kGamma:
            MCDisplay_930::Display("Shape", fFirst);
            MCDisplay_930::Display("Rate", fSecond);
            break;
        default: DisplayMultivariate();
        }
    }
    MCDisplay_930::DisplayEnd("MCRandomValues");
}

} // namespace MCMath_930
