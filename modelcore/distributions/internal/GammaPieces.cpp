// Log-gamma and the scaled gamma function.
#include "modelcore/distributions/internal/GammaPieces.h"

#include <array>
#include <cmath>
#include <cstddef>

namespace MCMath_930::internal {

namespace {

// x^x exp(-x) / Gamma(x) for x = 1/2, 1, 3/2, ..., 8; made by reference/gamma_weight_table.py. Integer degrees of
// freedom come here, and the t distribution always does.
constexpr std::array<double, 16> kHalfIntegerWeight{
    0.241970724519143349798, 0.367879441171442321596, 0.462540989411307830434, 0.541341132946450767576,
    0.61020760674693696305,  0.672125422966163230221, 0.728838423657203750353, 0.781467259252658359199,
    0.830781640877864716546, 0.877336848839253528208, 0.921548879098338845508, 0.96373884628788015488,
    1.00416072187153000887,  1.04301945772036519651,  1.08048327436055067034,  1.11669225560477540922,
};

constexpr double kInverseTwoPi = 0.15915494309189533577;

} // namespace

double LogGamma(double x)
{
    if (x >= 8.0) {
        const double logX = std::log(x);
        return StirlingRemainder(x) + kHalfLogTwoPi + ((x - 0.5) * logX - x);
    }
    if (x >= 3.5) {
        const double whole = std::floor(x);
        return Polynomial(kLogGammaUnit[static_cast<std::size_t>(whole) - 3], x - (whole + 0.5));
    }
    if (x == 1.0 || x == 2.0) return 0.0;
    if (x == 0.5) return 0.5723649429247001; // ln(pi)/2
    if (x > 0.5) {
        const double shifted = x - 4.5 / (x + 0.5);
        const auto piece = static_cast<std::size_t>(shifted + 4.0);
        return Polynomial(kLogGammaShifted[piece], shifted - (static_cast<double>(piece) - 3.5));
    }
    return -std::log(x * Polynomial(kReciprocalGamma[x < 0.25 ? 0 : 1], x));
}

double LogGammaOnePlus(double a)
{
    if (a >= 0.5) return LogGamma(1.0 + a);
    auto row = kReciprocalGamma[a < 0.25 ? 0 : 1];
    row.back() -= 1.0;
    return -std::log1p(Polynomial(row, a));
}

double LogGammaRatio(double b, double a)
{
    if (b < 1e-290) return std::log(b) + LogGamma(a + b); // Gamma(b) is 1/b, and a/b may overflow
    // Up to where Stirling's series holds: Gamma(b + a)/Gamma(b) = Gamma(c + a)/Gamma(c) / prod (1 + a/(b + j)).
    // The product less 1 is above/below, all of whose parts are positive.
    double above = 0.0;
    double below = 1.0;
    double c = b;
    for (; c < 8.0; c += 1.0) {
        above = above * c + a * (below + above);
        below *= c;
    }
    const double excess = above / below;
    // a/c may be too small for its digits where its product with c is a.
    const double linear = c > 1e100 ? a : (c - 0.5) * std::log1p(a / c);
    return linear + a * (std::log(c + a) - 1.0) + (StirlingRemainder(c + a) - StirlingRemainder(c)) -
           std::log1p(excess);
}

ScaledNumber GammaWeight(double x)
{
    if (x >= 8.0) return {std::sqrt(x * kInverseTwoPi), -StirlingRemainder(x)};
    const double twice = x + x;
    const auto nearest = static_cast<std::size_t>(twice);
    if (nearest >= 1 && static_cast<double>(nearest) == twice) return {kHalfIntegerWeight[nearest - 1], 0.0};
    if (x < 0.5) {
        const double reciprocalGamma = x * Polynomial(kReciprocalGamma[x < 0.25 ? 0 : 1], x);
        return {reciprocalGamma, x * std::log(x) - x};
    }
    return {1.0, x * std::log(x) - x - LogGamma(x)};
}

} // namespace MCMath_930::internal
