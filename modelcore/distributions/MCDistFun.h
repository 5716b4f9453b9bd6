// Distribution functions: cumulative probabilities, significance levels and quantiles.
#pragma once

#include "modelcore/modelcore_export.h"

namespace MCMath_930 {

namespace internal {
struct BetaTails;
struct DoubleDouble;
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
/// The errors stated are the largest found against 50-digit values; docs/distributions.md has the tables.
class MODELCORE_EXPORT MCDistFun {
public:
    // Normal distribution

    /// P(Z <= x) of the standard normal distribution, for every x. Relative error at most 2e-15 down to results of
    /// 1e-300. Error functions of T. Ooura (1996).
    static double CdfStdNorm(double x);

    /// The standard normal quantile of p, 0 < p < 1, exactly 0 at 0.5; missing for other p.
    /// Relative error at most 1e-15. Algorithm AS 241, PPND16 (Wichura 1988).
    static double IdfStdNorm(double p);

    /// P(X <= x) of the normal distribution, sd > 0; missing for other sd.
    static double CdfNorm(double x, double mean, double sd);

    /// The normal quantile of p, 0 < p < 1, sd > 0; exactly the mean at 0.5.
    static double IdfNorm(double p, double mean, double sd);

    /// The standard normal density, exp(-x^2/2) / sqrt(2 pi). Relative error at most 1e-15.
    static double PdfNormalStandard(double x);

    /// The normal density. Only sd = 0 (and NaN) is refused: a negative sd gives a negative density, on purpose.
    static double PdfNormal(double x, double mean, double sd);

    // Gamma function

    /// ln Gamma(x) for x > 0; missing for other x. Relative error at most 2e-15, except near the zeros x = 1 and x = 2:
    /// there only the absolute error is small, at most 3e-16. Exactly 0 at 1 and 2. Piecewise polynomials of T. Ooura
    /// (1996); x beyond 2.5e305 overflows to infinity.
    static double tavodnlgam(const double& x);

    // Chi-square and gamma distributions. The incomplete gamma function is Pearson's series up to its shape and a
    // continued fraction beyond (Shea 1988, Algorithm AS 239, Applied Statistics 37, 466-473), within 2e-14 in both
    // tails; near the mode of shapes above 1.7e7 normal approximations take over, in full accuracy only from 1e12 on.

    /// P(X <= x) of chi-square with df > 0; 0 for x <= 0. Missing for other df.
    static double CdfChi(double x, double df);

    /// The upper tail P(X > x) of chi-square with df > 0; 1 for x <= 0. Missing for other df.
    static double SigChi(double x, double df);

    /// The chi-square quantile of p, 0 <= p < 1, df > 0; 0 at p = 0 and where the quantile is below the least double.
    /// Its distribution function gives p back within 1e-13 of the smaller tail. Algorithm AS 91 (Best and Roberts 1975)
    /// followed by a bracketed search.
    static double IdfChi(double p, double df);

    /// P(X <= x) of the gamma distribution with shape > 0 and rate > 0 (mean shape/rate); 0 for x <= 0.
    static double CdfGam(double x, double shape, double rate);

    /// The gamma quantile of p, 0 <= p < 1, shape >= 0, rate > 0; 0 at p = 0, missing at shape 0 for other p.
    static double IdfGam(const double& p, const double& shape, const double& rate);

    /// The gamma density, shape > 0, rate > 0; 0 for x < 0. Missing also where the density is infinite (x = 0 with
    /// shape < 1) or beyond a double.
    static double PdfGamma(double x, double shape, double rate);

    // Beta distribution, Student's t and F

    /// The regularised incomplete beta function I_x(a, b) for a, b > 0 and finite; 0 for x <= 0 and 1 for x >= 1,
    /// missing for other a or b.
    static double CdfBeta(double x, double a, double b);

    /// The beta quantile of p, 0 <= p <= 1, a, b > 0 and finite; p itself at 0 and 1. Halley's method on the logarithm
    /// of the smaller tail inside a shrinking bracket, at most 252 evaluations, usually three.
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

    /// The F quantile of p, 0 <= p < 1, df1, df2 > 0; 0 at p = 0. Missing when it exceeds the range of a double.
    static double IdfF(double p, double df1, double df2);

private:
    static double prbnrm(double x);
    static double derf(double x);
    static double derfc(double x);
    static double probit(double p);
    static double dnlgam(double x);
    static double gammad(const internal::DoubleDouble& x, double a, bool lowerTail, long& fault);
    static double gamnrm(double x, double a, bool lowerTail);
    static double tavoidfchi(double p, double df, long& fault);
    static double idfchb(double p, double df, double start, long& fault);
    static double cdfbet(double x, double a, double b, long& fault);
    static internal::BetaTails cbtaux(const internal::UnitPoint& point, double a, double b, bool wantWeight);
    static internal::BetaTails cbttails(double t, double df, bool wantWeight);
    static double tavocdft(double t, double df, long& fault);
    static double tavocdff(double x, double df1, double df2, long& fault);
    static double tavoidff(double p, double df1, double df2, long& fault);
    static double betinv(double p, double a, double b, long& fault);
    static double betodd(double p, double a, double b);
    static double tavoidft(double p, double df, double a, double b, long& fault);
};

} // namespace MCMath_930
