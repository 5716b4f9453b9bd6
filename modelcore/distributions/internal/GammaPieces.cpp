// Log-gamma and the scaled gamma function.
#include "modelcore/distributions/internal/GammaPieces.h"

#include "modelcore/distributions/internal/GammaWeightTables.h"
#include "modelcore/distributions/internal/PortableMath.h"

#include <array>
#include <cmath>
#include <cstddef>

namespace MCMath_930::internal {

namespace {

/// The polynomial of a table at 1/x.
inline double AtReciprocal(const double (*table)[13], double inverse)
{
    std::size_t piece = 0;
    for (std::size_t i = 0; i + 1 < kWeightPieces; ++i) piece += inverse > kWeightEnd[i] ? 1 : 0;
    const double* row = table[piece];
    return ErfPolynomial(inverse - kWeightMiddle[piece], [=](std::size_t i) { return row[i]; });
}

} // namespace

double LogGamma(double x)
{
    if (x >= 8.0) {
        const double logX = PortableLog(x);
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
    return -PortableLog(x * Polynomial(kReciprocalGamma[x < 0.25 ? 0 : 1], x));
}

double LogGammaOnePlus(double a)
{
    if (a >= 0.5) return LogGamma(1.0 + a);
    auto row = kReciprocalGamma[a < 0.25 ? 0 : 1];
    row.back() -= 1.0;
    return -PortableLogOnePlus(Polynomial(row, a));
}

double LogGammaRatio(double b, double a)
{
    if (b < 1e-290) return PortableLog(b) + LogGamma(a + b); // Gamma(b) is 1/b, and a/b may overflow
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
    const double linear = c > 1e100 ? a : (c - 0.5) * PortableLogOnePlus(a / c);
    return linear + a * (PortableLog(c + a) - 1.0) + (StirlingRemainder(c + a) - StirlingRemainder(c)) -
           PortableLogOnePlus(excess);
}

double GammaWeight(double x)
{
    if (x >= 0.5) return std::sqrt(x) * AtReciprocal(kGammaWeight, 1.0 / x);
    const double reciprocalGamma = x * Polynomial(kReciprocalGamma[x < 0.25 ? 0 : 1], x);
    return reciprocalGamma * PortableExp(x * PortableLog(x) - x);
}

double HalfStep(double x)
{
    if (x >= 1.0) return std::sqrt(x) * AtReciprocal(kHalfStep, 1.0 / x);
    const double next = x + 1.0;
    return x / (x + 0.5) * (std::sqrt(next) * AtReciprocal(kHalfStep, 1.0 / next));
}

} // namespace MCMath_930::internal
