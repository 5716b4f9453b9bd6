// Exponentials and logarithms, digamma and trigamma, interval search, extreme values, and small vector kernels with
// offsets and strides.
#pragma once

#include "modelcore/modelcore_export.h"

#include <vector>

namespace MCMath_930 {

/// Small numerical routines shared by statistical code. All members are static.
///
/// The vector kernels take a count, and for each vector a start and a stride, and run in the order of the elements. A
/// call that would reach outside a vector does nothing, and returns 0 where it returns a number. A count below 1 is an
/// empty call.
class MODELCORE_EXPORT MCMathFun {
public:
    /// Sizes between which work arrays of the statistical code stay: the smallest that is worth a heap allocation, and
    /// the most doubles that one array may hold (just below 2^31 bytes).
    static constexpr int kSmallestArrayLimit = 16;
    /// The most doubles that one work array may hold.
    static constexpr int kBigArrayLimit = 268435455;

    // Exponentials and logarithms with the same bits on every machine: a C library's own differ in the last digit between
    // libraries, and within one between processors. Infinities, zeros, and NaN are served as the C library serves them.

    /// e^x, within 0.8 units in the last place; infinity above 709.78, 0 below -745.13. A table of 2^(j/16) and a series
    /// (Tang 1989, ACM TOMS 15, 144-157).
    static double Exp(double x);

    /// e^x - 1, within 2 units in the last place of itself; infinity above 709.78, -1 far below 0. As Exp.
    static double ExpMinusOne(double x);

    /// ln x, within 1 unit in the last place; -infinity for 0, NaN below. The series of the freely distributable library of
    /// Sun Microsystems (1993).
    static double Log(double x);

    /// ln(1 + x), within 1.5 units in the last place of itself; -infinity for -1, NaN below. As Log.
    static double LogOnePlus(double x);

    // Special functions

    /// psi(x), the derivative of ln Gamma(x); missing for x <= 1e-16. Below 1e-5 it is -0.5772156649015329 - 1/x, which
    /// leaves out 1.64 x: right to 1.7e-10 of itself. Above, asymptotic series at x + 10 and the recurrence: absolute
    /// error at most 4e-15 * max(1, |psi|).
    static double Digamma(double x);

    /// psi'(x), the second derivative of ln Gamma(x); missing for x <= 1e-16. Below 1e-4 it is 1/x^2, right to 2e-8;
    /// above, relative error at most 2e-15.
    static double Trigamma(double x);

    // Search and extremes

    /// The interval of ascending bounds v that x falls into, searched from bound lo to bound hi. Interval i ends at
    /// v[i] and begins at v[i-1]; a bound belongs to the interval that ends there or, with leftClosed, to the one that
    /// begins there.
    ///
    /// @return  the interval, lo to hi; -1 when x lies outside of them or is NaN; -2 when hi is not an index of v, lo
    ///          is negative or lo > hi
    static int BinSearch(const std::vector<double>& v, int lo, int hi, double x, bool leftClosed);

    /// The same for whole numbers.
    static int BinSearch(const std::vector<int>& v, int lo, int hi, int x, bool leftClosed);

    /// The two largest values, first >= second; what there is none of is missing.
    static void FindTwoLargest(const std::vector<double>& v, double& first, double& second);

    /// The same over the values that are not missing.
    static void FindTwoLargestNonMiss(const std::vector<double>& v, double& first, double& second);

    // Tests and small values

    /// True for every finite number, the missing value included.
    static bool IsValidDouble(double x);

    /// True when b > 0 and |a| is below machine epsilon times b.
    static bool QLReps(double a, double b);

    /// x, or eps with the sign of x (+eps for 0) when |x| < eps.
    static double ReplaceIfSmall(double x, double eps);

    /// The largest |a[i] - b[i]| / (|b[i]| + |t|) over the common length, with 1e-6 in place of t = 0; 0 when empty.
    static double VMaxRelDiff(const std::vector<double>& a, const std::vector<double>& b, double t);

    /// The sum of |a[i] - b[i]| over the common length.
    static double VNrm1Diff(const std::vector<double>& a, const std::vector<double>& b);

    /// Sets n entries from start to 0.
    static void LRZero(std::vector<double>& v, int start, int n);

    // Vector kernels; strides are at least 1

    /// The sum of |x[i]|.
    static double DASum(int n, const std::vector<double>& x, int start, int inc);

    /// The sum of n neighbouring elements.
    static double DSum(int n, const std::vector<double>& x, int start);

    /// The Euclidean norm, scaled so that no square overflows.
    static double DNrm2(int n, const std::vector<double>& x, int start, int inc);

    /// The sum of x[i] * y[i].
    static double DDot(int n, const std::vector<double>& x, int startx, int incx, const std::vector<double>& y,
                       int starty, int incy);

    /// x = a.
    static void DLoad(int n, double a, std::vector<double>& x, int start, int inc);

    /// x *= a.
    static void DScal(int n, double a, std::vector<double>& x, int start, int inc);

    /// y += a * x. x and y may be the same vector; elements are taken in order.
    static void Daxpy(int n, double a, const std::vector<double>& x, int startx, int incx, std::vector<double>& y,
                      int starty, int incy);

    // The same with strides of either sign or 0, walked from start as they stand

    /// Daxpy with such strides.
    static void IIAxpy(int n, double a, const std::vector<double>& x, int startx, int incx, std::vector<double>& y,
                       int starty, int incy);

    /// DDot with such strides.
    static double IIDot(int n, const std::vector<double>& x, int startx, int incx, const std::vector<double>& y,
                        int starty, int incy);

    /// DLoad with such strides.
    static void IIInit(int n, double a, std::vector<double>& x, int start, int inc);

    /// DScal with such strides.
    static void IIScal(int n, double a, std::vector<double>& x, int start, int inc);

    // Small products; a packed matrix holds its lower triangle row by row, n(n+1)/2 values

    /// v'Sv for a packed symmetric S of the order of v; missing when the sizes do not fit.
    static double VSV(const std::vector<double>& v, const std::vector<double>& s);

    /// result[i] = v[i] * d[i], the row vector v times the diagonal matrix d; false when the sizes differ.
    static bool RVD(const std::vector<double>& v, const std::vector<double>& d, std::vector<double>& result);

    /// result = L'GL for a packed lower triangular L and a packed symmetric G of order n; result is packed and may be
    /// either. False when the sizes do not fit.
    static bool LTGltl(int n, const std::vector<double>& l, const std::vector<double>& g, std::vector<double>& result);
};

} // namespace MCMath_930
