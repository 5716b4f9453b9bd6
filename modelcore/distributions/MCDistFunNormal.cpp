// MCDistFun: error functions and the normal distribution.
#include "modelcore/distributions/MCDistFun.h"

#include "modelcore/common/MCMV.h"
#include "modelcore/distributions/internal/Domain.h"
#include "modelcore/distributions/internal/Normal.h"

#include <cmath>
#include <cstddef>

namespace MCMath_930 {

using MCCommon_930::MCMV;

namespace {

/// erf of w >= 0.
inline double Erf(double w)
{
    if (w < 2.2) {
        const double square = w * w;
        const int whole = static_cast<int>(square);
        const auto& row = internal::kErfNear[static_cast<std::size_t>(whole)];
        return internal::ErfPolynomial(square - whole, [&](std::size_t i) { return row[i]; }) * w;
    }
    if (!(w < 6.9)) return 1.0;
    const int whole = static_cast<int>(w);
    const auto& row = internal::kErfFar[static_cast<std::size_t>(whole - 2)];
    double y = internal::ErfPolynomial(w - whole, [&](std::size_t i) { return row[i]; });
    y *= y;
    y *= y;
    y *= y;
    y *= y;
    return 1.0 - y;
}

/// P(Z <= x), with no call to another exported function: such a call goes through a table.
inline double NormalCdf(double x)
{
    static const double rootOfTwo = std::sqrt(2.0);
    if (x > 0.0) return (1.0 + Erf(x / rootOfTwo)) / 2.0;
    if (x == 0.0) return 0.5;
    if (std::isnan(x)) return x;
    // erfc(-x/sqrt(2))/2, with the exponent taken from x itself: the rounding of x/sqrt(2) would be multiplied by x^2.
    return internal::ScaledErfc(-x / rootOfTwo) * internal::ExpMinusSquare(-x, 0.5) / 2.0;
}

} // namespace

double MCDistFun::derf(double x)
{
    return std::isnan(x) ? x : std::copysign(Erf(std::fabs(x)), x);
}

double MCDistFun::derfc(double x)
{
    const double w = std::fabs(x);
    const double value = internal::ScaledErfc(w) * internal::ExpMinusSquare(w, 1.0);
    return x < 0.0 ? 2.0 - value : value;
}

double MCDistFun::prbnrm(double x)
{
    return NormalCdf(x);
}

double MCDistFun::probit(double p)
{
    if (!internal::IsInsideProbability(p)) return MCMV::Missing();
    const double q = p - 0.5;
    if (q == 0.0) return 0.0;
    if (std::fabs(q) <= internal::kCentral) return internal::CentralQuantile(q);
    const double root = internal::TailRoot(q < 0.0 ? p : 1.0 - p);
    const double z = root <= internal::kFarRoot ? internal::NearTailQuantile(root) : internal::FarTailQuantile(root);
    return q < 0.0 ? -z : z;
}

double MCDistFun::CdfStdNorm(double x)
{
    return NormalCdf(x);
}

double MCDistFun::IdfStdNorm(double p)
{
    return probit(p);
}

double MCDistFun::CdfNorm(double x, double mean, double sd)
{
    return sd > 0.0 && !std::isnan(mean) ? NormalCdf((x - mean) / sd) : MCMV::Missing();
}

double MCDistFun::IdfNorm(double p, double mean, double sd)
{
    if (!internal::IsInsideProbability(p) || !(sd > 0.0) || std::isnan(mean)) return MCMV::Missing();
    return p == 0.5 ? mean : mean + sd * probit(p);
}

double MCDistFun::PdfNormalStandard(double x)
{
    if (std::isnan(x)) return x;
    return internal::ExpMinusSquare(std::fabs(x), 0.5) * internal::kInverseSqrtTwoPi;
}

double MCDistFun::PdfNormal(double x, double mean, double sd)
{
    if (sd == 0.0 || std::isnan(sd) || std::isnan(mean)) return MCMV::Missing();
    return PdfNormalStandard((x - mean) / sd) / sd;
}

} // namespace MCMath_930
