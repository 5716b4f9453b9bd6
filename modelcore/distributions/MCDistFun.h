// Distribution functions: cumulative probabilities, significance levels and quantiles.
#pragma once

#include "modelcore/modelcore_export.h"

#include <cstddef>
#include <vector>

namespace MCMath_930 {

namespace internal {
struct BetaShapes;
struct BetaTails;
struct DoubleDouble;
struct GammaShape;
struct UnitPoint;
} // namespace internal

/// Distribution functions as static members; there is nothing to create.
///
/// Cdf... is P(X <= x), Sig... the upper tail P(X > x), Idf... the quantile. A tail is computed as such, not as one
/// less the other tail, so that small probabilities keep their digits; where a function cannot, it says so.
///
/// A function that is given an argument outside its domain, or whose computation fails, returns the system-missing
/// value MCMV::Missing(). A NaN among the parameters or as a probability is outside the domain; a NaN as the point x
/// gives NaN. Infinite points give the limit. Nothing throws, nothing is cached but constants: all members may be
/// called from any number of threads.
///
/// The relative errors stated are bounds that the tests hold on values of 60 digits, for parameters to 1e6,
/// noncentralities to 1000 (t: 400) and tails to 1e-300; docs/distributions.md has them again, with what was measured
/// by region. Parameters of any size give a number of the range or missing, in less than 50 ms from 1e-3 to 1e12.
class MODELCORE_EXPORT MCDistFun {
public:
    // Normal distribution: relative error at most 2e-15, of the quantile and the density 1e-15.

    /// P(Z <= x) of the standard normal distribution, for every x. Error functions of T. Ooura (1996).
    static double CdfStdNorm(double x);

    /// The standard normal quantile of p, 0 < p < 1, exactly 0 at 0.5; missing for other p.
    /// Algorithm AS 241, PPND16 (Wichura 1988).
    static double IdfStdNorm(double p);

    /// P(X <= x) of the normal distribution, sd > 0; missing for other sd. NaN where (x - mean)/sd is.
    static double CdfNorm(double x, double mean, double sd);

    /// The normal quantile of p, 0 < p < 1, sd > 0; exactly the mean at 0.5.
    static double IdfNorm(double p, double mean, double sd);

    /// The standard normal density, exp(-x^2/2) / sqrt(2 pi).
    static double PdfNormalStandard(double x);

    /// The normal density. Only sd = 0 (and NaN) is refused: a negative sd gives a negative density, on purpose.
    static double PdfNormal(double x, double mean, double sd);

    // Gamma function: relative error at most 2e-15.

    /// ln Gamma(x) for x > 0; missing for other x. Near the zeros x = 1 and x = 2 only the absolute error is small, at
    /// most 3e-16. Exactly 0 at 1 and 2. Piecewise polynomials of T. Ooura
    /// (1996); x beyond 2.5e305 overflows to infinity.
    static double tavodnlgam(const double& x);

    // Chi-square and gamma distributions: relative error at most 1e-13 in both tails, 4e-15 of the density; the
    // quantiles give their probability back within 4e-12 of the smaller tail. The incomplete gamma function is
    // Pearson's series up to its shape and a continued fraction beyond (Shea 1988, Algorithm AS 239, Applied Statistics
    // 37, 466-473). Within a standard deviation or so of the mode of shapes above 1.7e7 two normal approximations take
    // over, of Wilson and Hilferty for the lower tail and of Peizer and Pratt for the upper one: absolute error 1e-8,
    // falling with the shape, and the tails add up to 1 within 2e-8. A tail below 3.3e-308, exp(-708), is 0, but for the
    // lower ones of shapes up to 1.

    /// P(X <= x) of chi-square with df > 0; 0 for x <= 0. Missing for other df.
    static double CdfChi(double x, double df);

    /// The upper tail P(X > x) of chi-square with df > 0; 1 for x <= 0. Missing for other df.
    static double SigChi(double x, double df);

    /// The chi-square quantile of p, 0 <= p < 1, df > 0; 0 at p = 0 and where the quantile is below the least double.
    /// The distribution function gives p back to what the last digit of the quantile is worth, which with df = 1e6 is
    /// 1e-13 of the smaller tail in the body and 4e-12 in the tails, and grows with the root of df. Algorithm AS 91
    /// (Best and Roberts 1975) followed by a bracketed search.
    static double IdfChi(double p, double df);

    /// P(X <= x) of the gamma distribution with shape > 0 and rate > 0 (mean shape/rate); 0 for x <= 0.
    static double CdfGam(double x, double shape, double rate);

    /// The gamma quantile of p, 0 <= p < 1, shape >= 0, rate > 0; 0 at p = 0, missing at shape 0 for other p.
    static double IdfGam(const double& p, const double& shape, const double& rate);

    /// The gamma density, shape > 0, rate > 0; 0 for x < 0. Missing also where the density is infinite (x = 0 with
    /// shape < 1) or beyond a double.
    static double PdfGamma(double x, double shape, double rate);

    // Beta distribution, Student's t and F: relative error at most 8e-15 for beta and F and 1e-14 for t, in both tails,
    // 4e-15 for the density of t; the quantiles give their probability back within 4e-12 of the smaller tail.

    /// The regularised incomplete beta function I_x(a, b) for a, b > 0 and finite; 0 for x <= 0 and 1 for x >= 1,
    /// missing for other a or b. Where a or b is below 1e-290 or above 1e290, the limit of vanishing shapes or the
    /// normal approximation 26.5.21 of Abramowitz and Stegun (1964) takes its place, here and for F and t.
    static double CdfBeta(double x, double a, double b);

    /// The beta quantile of p, 0 <= p <= 1, a, b > 0 and finite; p itself at 0 and 1, and 0 where the quantile is below
    /// the least double. Halley's method on the logarithm of the smaller tail inside a shrinking bracket, at most 252
    /// evaluations, usually three.
    static double IdfBeta(const double& p, const double& a, const double& b);

    /// P(T <= t) of Student's t with df > 0 degrees of freedom, which need not be whole; infinite df is the normal
    /// distribution. Missing for other df.
    static double CdfT(double t, double df);

    /// The upper tail P(T > t), df > 0; missing for other df.
    ///
    /// With df = 1 this is 0.5 - atan(t)/pi as it stands, so that far out (t above 1e3) digits are lost there and only
    /// there; CdfT(-t, 1) has them.
    static double SigT(double t, double df);

    /// The quantile of Student's t: t with P(T <= t) = p, 0 < p < 1, df > 0; exactly 0 at p = 0.5. Missing outside the
    /// domain and when the quantile exceeds the range of a double.
    ///
    /// @param a  relative tolerance of the search, in the smaller of p and 1 - p; not above 0 means 1e-12
    /// @param b  absolute tolerance of the search, in t; not above 0 means 1e-20
    ///
    /// The search stops when it meets either tolerance. Halley's method inside a shrinking bracket, started from Hill
    /// (1970), Algorithm 396, CACM 13, 619-620: usually two evaluations of the distribution, at most 252.
    static double IdfT(double p, double df, double a, double b);

    /// The density of Student's t, df > 0; else err = 1 and missing. 0 where its logarithm is below -708.
    static double PdfT(double t, double df, long& err);

    /// P(F <= x) of the F distribution, df1, df2 > 0; 0 for x <= 0. Missing for other degrees of freedom.
    static double CdfF(double x, double df1, double df2);

    /// The upper tail P(F > x), df1, df2 > 0; 1 for x <= 0. Missing for other degrees of freedom.
    static double SigF(double x, double df1, double df2);

    /// The F quantile of p, 0 <= p < 1, df1, df2 > 0; 0 at p = 0 and where it is below the least double. Missing when
    /// it exceeds the range of a double.
    static double IdfF(double p, double df1, double df2);

    // Discrete distributions: relative error at most 4e-15 for PdfBin and PdfNegBin, 1e-14 for PdfHyper, 2e-13 for
    // CdfBin and 1e-13 for CDFHyper. Fault codes: 0 done; 1 an argument is outside the domain; 2 the logarithm of the
    // result exceeds 709; 3 the number of trials is not whole.

    /// P(X <= floor(x)) of the binomial distribution with n whole trials, n >= 1, and success probability p, 0 <= p <=
    /// 1. Point probabilities are summed outward from the largest one needed; where that is below exp(-708), or for
    /// more than 1e7 trials, the incomplete beta function takes their place. Time grows with sqrt(n p (1-p)) up to
    /// there.
    static double CdfBin(double x, double n, double p, long& err);

    /// The binomial quantile: the smallest k with CdfBin(k, n, prob) >= p (within 2^-45 of p), 0 <= p <= 1. n that is
    /// not whole is outside the domain (code 1).
    static double IdfBin(double p, double n, double prob, long& err);

    /// P(X = x) of the binomial distribution, 0 <= p <= 1, n >= 1; 0 for x that is not whole or outside 0..n.
    static double PdfBin(double x, double n, double p, long& err);

    /// The probability that the r-th success comes with trial x: C(x-1, r-1) p^r (1-p)^(x-r), 0 <= p <= 1, r >= 1; 0
    /// for x that is not whole or below r.
    static double PdfNegBin(double x, double r, double p, long& err);

    /// The probability of k marked ones among n drawn from a population of N with M marked; 0 outside the support.
    /// Missing unless 1 <= N <= 2^53 and M and n lie in 0..N.
    static double PdfHyper(long k, long N, long M, long n);

    /// P(X <= floor(x)) for the same; N, M, n whole, else err = 1 and missing. An exact sum from the largest term of
    /// the smaller side; for variances above 1e10, and N above 2^53, the normal approximation, with an error of 1e-5.
    static double CDFHyper(double x, double N, double M, double n, int& err);

    // Noncentral distributions: relative error at most 1e-13 for chi-square and F, 2e-13 for t and 1e-12 for its
    // density. Sums over their Poisson mixtures start at the largest term and run in both directions until the rest is
    // below the tolerance, relative to the sum; when the largest term has an index above 20000, every n-th term gives
    // the same sum. Every result lies in [0, 1] and they grow with x; one below 3.3e-308, exp(-708), may be 0. What x,
    // the degrees of freedom and the noncentrality leave open by their own rounding grows with the root of the larger
    // of df and nc: 1e-10 at 1e12.

    /// P(X <= x) of noncentral chi-square, df > 0, nc >= 0; 0 for x <= 0. For nc above 1e25 the normal distribution
    /// with the same mean and variance, absolute error 1e-12.
    static double NonCentralCdfChi(double x, double df, double nc);

    /// P(F <= x) of the noncentral F, the numerator being noncentral; df1, df2 > 0, nc >= 0; 0 for x <= 0. Missing also
    /// for nc above 1e25, where the terms of the sum are no longer told apart, for df2 below 2e-290 or above 2e290, and
    /// where both df1 and df2 are below 1e-15.
    /// @param e  tolerance of the sum; not above 0 means 1e-17
    static double NonCentralCdfF(double x, double df1, double df2, double nc, double e);

    /// P(T <= t) of the noncentral t, df > 0, any finite nc. For t and nc of opposite signs, where the usual sums
    /// cancel, and of one sign with |nc| above 100 or a tail below 1e-280, an integral over the chi or the normal
    /// distribution by the trapezoidal rule: small tails keep their digits, and the time does not grow with nc. Missing
    /// where that integral does not end, for fewer than 1e-60 degrees of freedom and |nc| above 100.
    /// @param e  tolerance of the sum; not above 0 means 1e-17
    static double NonCentralCdfT(double t, double df, double nc, double e);

    /// The density of the noncentral t, df > 0, any finite nc (else err = 1). Its series for df to 50 and |nc| to 10,
    /// else the integral; err = 2 when neither ends, which no arguments are known to do.
    static double NonCentralPdfT(double t, double df, double nc, long& err);

    /// The noncentrality nc with NonCentralCdfChi(x, df, nc) = p, 0 < p < 1, x > 0, searched from 0 to 2^27; missing
    /// when there is none, as for every p above CdfChi(x, df). The search goes by the logarithm of the tail: p may be
    /// as small as a double.
    /// @param tolerance  relative, of nc; not above 0 means 1e-12. The ends of the search are compared by
    ///                   MCPower::AlmostEqual.
    static double FindNCParamChi(double x, double df, double p, double tolerance);

    /// The same for NonCentralCdfF(x, df1, df2, nc, 0).
    static double FindNCParamF(double x, double df1, double df2, double p, double tolerance);

    /// The noncentrality nc with NonCentralCdfT(t, df, nc, e) = p, searched over |nc| <= 16384, of either sign, by the
    /// smaller tail. Missing when it lies beyond.
    static double FindNCParamT(double t, double df, double p, double e, double tolerance);

    // Functions of arrays: element i of the result is what the function of a number gives for element i of the first
    // argument and the same parameters, to the last bit, missing values included. What depends on the parameters alone
    // is done once, and except in the quantiles of chi-square, t and F elements are done side by side: with AVX-512 two
    // to five times as fast as one by one. Input and output may be the same array, and must not overlap otherwise; n may
    // be 0.

    /// P(X <= x) of the normal distribution, as CdfNorm of a number.
    static void CdfNorm(const double* x, double* p, std::size_t n, double mean = 0.0, double sd = 1.0);

    /// Quantiles of the normal distribution, as IdfNorm of a number.
    static void IdfNorm(const double* p, double* x, std::size_t n, double mean = 0.0, double sd = 1.0);

    /// P(X <= x) of chi-square, as CdfChi of a number.
    static void CdfChi(const double* x, double* p, std::size_t n, double df);

    /// P(X > x) of chi-square, as SigChi of a number.
    static void SigChi(const double* x, double* p, std::size_t n, double df);

    /// Quantiles of chi-square, as IdfChi of a number.
    static void IdfChi(const double* p, double* x, std::size_t n, double df);

    /// P(T <= t) of Student's t, as CdfT of a number. With df = 1 elements are done one by one.
    static void CdfT(const double* t, double* p, std::size_t n, double df);

    /// P(T > t) of Student's t, as SigT of a number. With df = 1 elements are done one by one.
    static void SigT(const double* t, double* p, std::size_t n, double df);

    /// Quantiles of Student's t, as IdfT of a number with the tolerances a and b.
    static void IdfT(const double* p, double* t, std::size_t n, double df, double a = 0.0, double b = 0.0);

    /// P(F <= x) of the F distribution, as CdfF of a number.
    static void CdfF(const double* x, double* p, std::size_t n, double df1, double df2);

    /// P(F > x) of the F distribution, as SigF of a number.
    static void SigF(const double* x, double* p, std::size_t n, double df1, double df2);

    /// Quantiles of the F distribution, as IdfF of a number.
    static void IdfF(const double* p, double* x, std::size_t n, double df1, double df2);

    // Weighted percentiles

    /// The q-th percentile (0 to 100) of n sorted values with weights; also stored in result. Refused with result
    /// missing: n < 2 (err = -1), vectors too short, a NaN q or weight (1), a target weight below what the values reach
    /// (1) or above it (2).
    ///
    /// The target is q percent of the sum of weights.
    ///   mode <= 0  each weight is centred on its value; linear between values
    ///   mode = 1   each weight is spread evenly from value - bound to value + bound: bounds are half-widths
    ///   mode >= 2  linear between the middles of the classes, the outer halves of the end classes included
    static double GPTile(long n, double q, const std::vector<double>& values, const std::vector<double>& weights,
                         const std::vector<double>& bounds, long mode, double& result, long& err);

    /// The median of n sorted values, each standing for as many cases as its weight says, and the confidence interval
    /// between two order statistics that are equally far from the ends.
    ///
    /// @param level  confidence in percent, between 0 and 100
    /// @param e      slack, relative to the number of cases, for weights that are not whole; not above 0 means 1e-12
    /// @param flag   true: the narrowest such interval with at least the level. False: interpolated towards the next
    ///               narrower one to meet the level (Hettmansperger and Sheather 1986, Statistics & Probability Letters
    ///               4, 75-79)
    /// @return  the confidence reached, in percent; missing, with both limits missing, when there are too few cases
    static double Mednci(long n, const std::vector<double>& values, const std::vector<double>& weights, double level,
                         double e, bool flag, double& median, double& lower, double& upper);

private:
    static double prbnrm(double x);
    static double derf(double x);
    static double derfc(double x);
    static double probit(double p);
    static double dnlgam(double x);
    static internal::DoubleDouble dnlbnc(double n, double k);
    static internal::DoubleDouble dnlhyp(double k, double population, double marked, double drawn);
    static double gammad(const internal::DoubleDouble& x, double a, bool lowerTail, long& fault);
    static double gampoint(double x, double rate, double a, bool lowerTail, long& fault);
    static double gamnrm(double x, double a, bool lowerTail);
    static double tavoidfchi(double p, double df, const internal::GammaShape& shape, long& fault);
    static double idfchb(double p, const internal::GammaShape& shape, double start, long& fault);
    static double cdfbet(double x, double a, double b, long& fault);
    static internal::BetaTails cbtaux(const internal::UnitPoint& point, internal::BetaShapes& shapes, bool wantWeight);
    static internal::BetaTails cbttails(double t, double df, internal::BetaShapes& shapes, bool wantWeight);
    static double tavocdft(double t, double df, long& fault);
    static double tavocdff(double x, double df1, double df2, long& fault);
    static double ncdbet(const internal::UnitPoint& point, double a, double b, double nc, double e, long& fault);
    static double tavoidff(double p, double df1, double df2, internal::BetaShapes& shapes, long& fault);
    static double betinv(double p, double a, double b, long& fault);
    static double betodd(double p, internal::BetaShapes& shapes, const internal::DoubleDouble& logUnit);
    static double tavoidft(double p, double df, double a, double b, internal::BetaShapes& shapes, long& fault);
};

} // namespace MCMath_930
