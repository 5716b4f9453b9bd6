// The expansion of a beta or gamma distribution with large shapes around the normal distribution.
#include "modelcore/distributions/internal/NormalExpansion.h"

#include <cmath>
#include <cstddef>

namespace MCMath_930::internal {

namespace {

constexpr std::size_t kTerms = kExpansionTerms;

/// d_k of the expansion as polynomials in delta: entry [k][i] is the coefficient of delta^i, 0 unless k - i is even.
/// Plain arrays: each element access of a std::array counts against what a compiler evaluates in a constant.
struct ExpansionTable {
    double entry[kTerms][kTerms];
};

constexpr void AddProduct(double* sum, const double* p, const double* q, std::size_t degree)
{
    for (std::size_t i = 0; i <= degree; ++i)
        for (std::size_t j = 0; i + j <= degree; ++j) sum[i + j] += p[i] * q[j];
}

/// With v = du/dzeta = sum of d_k zeta^k the differential equation  v - zeta v' = v^3 + delta zeta v^2 - kappa zeta^2
/// v, kappa = (1 - delta^2)/4, gives each d_k from those before it.
constexpr ExpansionTable MakeExpansionTable()
{
    ExpansionTable table{};
    auto& d = table.entry;
    double square[kTerms][kTerms]{}; // coefficients of v^2
    d[0][0] = 1.0;
    square[0][0] = 1.0;
    for (std::size_t k = 1; k < kTerms; ++k) {
        double rest[kTerms]{};
        for (std::size_t i = 1; i < k; ++i) { // the coefficient of v^3 without its 3 d_k
            AddProduct(rest, d[i], d[k - i], k);
            AddProduct(rest, d[i], square[k - i], k);
        }
        for (std::size_t i = 0; i < k; ++i) rest[i + 1] += square[k - 1][i];
        if (k >= 2) {
            for (std::size_t i = 0; i <= k; ++i) rest[i] -= 0.25 * d[k - 2][i];
            for (std::size_t i = 0; i + 2 <= k; ++i) rest[i + 2] += 0.25 * d[k - 2][i];
        }
        for (std::size_t i = 0; i <= k; ++i) d[k][i] = -rest[i] / static_cast<double>(k + 2);
        for (std::size_t i = 0; i <= k; ++i) AddProduct(square[k], d[i], d[k - i], k);
    }
    return table;
}

constexpr ExpansionTable kExpansion = MakeExpansionTable();

} // namespace

ExpansionCoefficients MakeExpansionCoefficients(double delta, double spread2)
{
    const double delta2 = delta * delta;
    const double inverse = 1.0 / std::sqrt(spread2);
    ExpansionCoefficients made{};
    double scale = 1.0;
    for (std::size_t k = 1; k < kTerms; ++k) {
        scale *= -inverse;
        double coefficient = kExpansion.entry[k][k];
        for (std::size_t i = k; i >= 2; i -= 2) coefficient = coefficient * delta2 + kExpansion.entry[k][i - 2];
        if (k % 2 == 1) coefficient *= delta;
        made.term[k] = coefficient * scale;
    }
    return made;
}

double NormalExpansion(double delta, double spread2, double deviance)
{
    return ExpansionSum(MakeExpansionCoefficients(delta, spread2), deviance);
}

} // namespace MCMath_930::internal
