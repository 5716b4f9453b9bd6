// MCDistFun: binomial, negative binomial and hypergeometric distributions.
#include "modelcore/distributions/MCDistFun.h"

#include "modelcore/common/MCMV.h"
#include "modelcore/distributions/internal/AccurateLog.h"
#include "modelcore/distributions/internal/BetaSums.h"
#include "modelcore/distributions/internal/Domain.h"
#include "modelcore/distributions/internal/GammaPieces.h"
#include "modelcore/distributions/internal/IncompleteBeta.h"
#include "modelcore/distributions/internal/PortableMath.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace MCMath_930 {

using internal::AccurateLog;
using internal::DoubleDouble;
using internal::Exp;
using internal::PortableLog;
using internal::PortableLogOnePlus;
using MCCommon_930::MCMV;

namespace {

constexpr double kEpsilon = std::numeric_limits<double>::epsilon();

// The outward sum of the binomial has about nine standard deviations of terms, each with a rounding; for more trials
// than this the incomplete beta function takes its place, which is faster from here on and keeps two digits more at
// 2e9.
constexpr double kMostSummedTrials = 1e7;

// Beyond this, products with the number of trials cannot be held as two doubles; a density there is refused.
constexpr double kMostTrials = 1e140;

bool IsWhole(double x)
{
    return std::floor(x) == x;
}

/// 1 - p without rounding.
DoubleDouble Complement(double p)
{
    return internal::ExactSum(1.0, -p);
}

double ExpOrZero(const DoubleDouble& exponent, double least)
{
    if (exponent.head < least) return 0.0;
    return Exp(exponent.head, exponent.tail);
}

/// (1 - p)^n, 0 when its logarithm is below -708.
double PowerOfComplement(double p, double n)
{
    if (p == 1.0) return 0.0;
    if (n > kMostTrials) return ExpOrZero({n * PortableLogOnePlus(-p)}, -708.0);
    return ExpOrZero(n * AccurateLog(Complement(p)), -708.0);
}

constexpr double kLeastProbability = 3.3075532e-308; // exp(-708): one below counts as 0

/// C(x + y, x) p^x (1 - p)^y * x y/(x + y) for 0 < p < 1 and x, y > 0: the two logarithms are those of the ratios to
/// the mean, near which they are small (Loader 2000).
double BinomialWeight(double p, double x, double y)
{
    return internal::BetaWeight(internal::UnitPoint::At(p), x, y);
}

double OrZero(double probability)
{
    return probability < kLeastProbability ? 0.0 : probability;
}

} // namespace

/// ln C(n, k) for 0 <= k <= n, to far more than a double's digits: with n = 1e9 it is near 7e8, and its exponential
/// wants an absolute error of 1e-14. From Stirling's formula with the remainder of log-gamma.
DoubleDouble MCDistFun::dnlbnc(double n, double k)
{
    const double rest = n - k;
    if (k <= 0.0 || rest <= 0.0) return {0.0};
    const double factor =
        internal::GammaWeight(k) / k * (internal::GammaWeight(rest) / rest) / (internal::GammaWeight(n) / n);
    const DoubleDouble entropy =
        k * AccurateLog(DoubleDouble{k} / DoubleDouble{n}) + rest * AccurateLog(DoubleDouble{rest} / DoubleDouble{n});
    return DoubleDouble{PortableLog(factor)} - entropy;
}

double MCDistFun::PdfBin(double x, double n, double p, long& err)
{
    err = 0;
    if (!internal::IsProbability(p) || !(n >= 1.0) || std::isinf(n)) return internal::Refuse(err, 1L);
    if (std::isnan(x)) return x;
    if (x != std::floor(x + 0.5) || x < 0.0 || x > n) return 0.0;
    if (p == 0.0) return x == 0.0 ? 1.0 : 0.0;
    if (p == 1.0) return x == n ? 1.0 : 0.0;
    if (n > kMostTrials) return internal::Refuse(err, 2L);
    if (x == n) return ExpOrZero(n * AccurateLog({p}), -708.0);
    if (x == 0.0) return PowerOfComplement(p, n);
    return OrZero(BinomialWeight(p, x, n - x) * (n / x) / (n - x));
}

double MCDistFun::PdfNegBin(double x, double r, double p, long& err)
{
    err = 0;
    if (!internal::IsProbability(p) || !(r >= 1.0) || std::isinf(r)) return internal::Refuse(err, 1L);
    if (std::isnan(x)) return x;
    if (x != std::floor(x + 0.5) || x < r || std::isinf(x) || p == 0.0) return 0.0;
    if (p == 1.0) return x == r ? 1.0 : 0.0;
    if (x > kMostTrials) return internal::Refuse(err, 2L);
    if (x == r) return ExpOrZero(r * AccurateLog({p}), -708.0);
    return OrZero(BinomialWeight(p, r, x - r) / (x - r));
}

double MCDistFun::CdfBin(double x, double n, double p, long& err)
{
    err = 0;
    if (!IsWhole(n)) return internal::Refuse(err, 3L);
    if (!(n >= 1.0) || std::isinf(n) || !internal::IsProbability(p)) return internal::Refuse(err, 1L);
    if (std::isnan(x)) return x;
    const double k = std::floor(x);
    if (p == 0.0) return k >= 0.0 ? 1.0 : 0.0;
    if (p == 1.0) return k >= n ? 1.0 : 0.0;
    if (k < 0.0) return 0.0;
    if (k == 0.0) return PowerOfComplement(p, n);
    if (k >= n) return 1.0;

    const double mode = std::floor(p * (n + 1.0));
    const double m = std::min(k, mode);
    double first = 0.0;
    if (n <= kMostSummedTrials)
        first = m > 0.0 ? OrZero(BinomialWeight(p, m, n - m) * (n / m) / (n - m)) : PowerOfComplement(p, n);
    if (first == 0.0) {
        internal::BetaShapes shapes{k + 1.0, n - k};
        return cbtaux(internal::UnitPoint::At(p), shapes, false).upper;
    }

    // Two terms share a division. What follows a term that no longer changes the sum does not either.
    const double odds = p / (1.0 - p);
    const double against = (1.0 - p) / p;
    double sum = first;
    double term = first;
    for (double j = m; j >= 1.0; j -= 2.0) {
        const double next = n - j + 2.0;
        const double share = against * j / ((n - j + 1.0) * next);
        const double one = term * (share * next);
        term *= share * (against * (j - 1.0));
        const double old = sum;
        sum += one + term;
        if (sum == old) break;
    }
    term = first;
    double j = m + 1.0;
    for (; j < k; j += 2.0) {
        const double next = j + 1.0;
        const double share = odds * (n + 1.0 - j) / (j * next);
        const double one = term * (share * next);
        term *= share * (odds * (n - j));
        const double old = sum;
        sum += one + term;
        if (sum == old) break;
    }
    if (j == k) sum += term * ((n + 1.0 - j) * odds / j);
    return std::min(sum, 1.0);
}

double MCDistFun::IdfBin(double p, double n, double prob, long& err)
{
    constexpr double kTolerance = 2.842170943040401e-14; // 2^-45: a probability that a user took from CdfBin is reached
    err = 0;
    if (!internal::IsProbability(p) || !internal::IsProbability(prob) || !(n >= 1.0) || std::isinf(n) || !IsWhole(n))
        return internal::Refuse(err, 1L);
    if (p == 0.0 || prob == 0.0) return 0.0;
    if (p == 1.0 || prob == 1.0) return n;
    const double target = p * (1.0 - kTolerance);
    const auto reaches = [&](double k) {
        long fault = 0;
        return CdfBin(k, n, prob, fault) >= target;
    };
    // The normal approximation with its correction for skewness, then steps that double until they bracket the answer,
    // then halving: about 2 log2(n) evaluations at most, usually four.
    const double sd = std::sqrt(n * prob * (1.0 - prob));
    const double z = probit(p);
    const double guess = n * prob + sd * (z + (1.0 - 2.0 * prob) / sd * (z * z - 1.0) / 6.0);
    double low = -1.0; // does not reach
    double high = n;   // reaches
    double k = std::clamp(std::floor(guess + 0.5), 0.0, n);
    for (double step = 1.0; low + 1.0 < high; step *= 2.0) {
        if (reaches(k)) {
            high = k;
            if (low >= 0.0) break;
            k = std::max(k - step, 0.0);
            if (high == 0.0) break;
        } else {
            low = k;
            if (high < n) break;
            k = std::min(k + step, n);
            if (k == n) break;
        }
    }
    while (low + 1.0 < high) {
        const double middle = std::floor(low + (high - low) / 2.0);
        if (middle <= low || middle >= high) break; // whole numbers have run out of digits
        (reaches(middle) ? high : low) = middle;
    }
    return high;
}

/// ln of the hypergeometric point probability.
DoubleDouble MCDistFun::dnlhyp(double k, double population, double marked, double drawn)
{
    return dnlbnc(marked, k) + dnlbnc(population - marked, drawn - k) - dnlbnc(population, drawn);
}

double MCDistFun::PdfHyper(long k, long N, long M, long n)
{
    constexpr long long kMostWhole = 9007199254740992; // beyond, doubles are no longer the numbers that were meant
    if (N < 1 || static_cast<long long>(N) > kMostWhole || M < 0 || M > N || n < 0 || n > N) return MCMV::Missing();
    if (k < 0 || k > M || k > n || n - k > N - M) return 0.0;
    return ExpOrZero(
        dnlhyp(static_cast<double>(k), static_cast<double>(N), static_cast<double>(M), static_cast<double>(n)),
        -708.39);
}

double MCDistFun::CDFHyper(double x, double N, double M, double n, int& err)
{
    // Beyond this variance, nine standard deviations are a million terms: the normal approximation, whose error is then
    // below 1e-5, takes over; so it does where whole numbers exceed the digits of a double.
    constexpr double kMostVariance = 1e10;
    constexpr double kMostWhole = 9007199254740992.0;
    err = 0;
    if (!IsWhole(N) || !IsWhole(M) || !IsWhole(n) || !(N >= 1.0) || std::isinf(N) || !(M >= 0.0) || !(M <= N) ||
        !(n >= 0.0) || !(n <= N))
        return internal::Refuse(err, 1);
    if (std::isnan(x)) return x;
    const double k = std::floor(x);
    const double least = std::max(0.0, n - (N - M));
    const double most = std::min(n, M);
    if (k < least) return 0.0;
    if (k >= most) return 1.0;

    const double mean = n * (M / N);
    const double variance = mean * ((N - M) / N) * ((N - n) / std::max(N - 1.0, 1.0));
    if (variance > kMostVariance || N > kMostWhole) return prbnrm((k + 0.5 - mean) / std::sqrt(variance));

    // The tail on k's side of the mode, from its largest term outward.
    const bool lower = k < std::floor((n + 1.0) * ((M + 1.0) / (N + 2.0)));
    double j = lower ? k : k + 1.0;
    double term = ExpOrZero(dnlhyp(j, N, M, n), -708.39);
    double sum = term;
    while (lower ? j > least : j < most) {
        if (lower) {
            term *= j * (N - M - n + j) / ((M - j + 1.0) * (n - j + 1.0));
            j -= 1.0;
        } else {
            term *= (M - j) * (n - j) / ((j + 1.0) * (N - M - n + j + 1.0));
            j += 1.0;
        }
        sum += term;
        if (term <= 0.25 * kEpsilon * sum) break;
    }
    return std::clamp(lower ? sum : 1.0 - sum, 0.0, 1.0);
}

} // namespace MCMath_930
