// The BLAS level 1 routines in double precision, and a few scalar helpers that go with them.
#pragma once

#include "modelcore/modelcore_export.h"

namespace MCMath_930 {

/// The vector routines of BLAS level 1 (Lawson, Hanson, Kincaid, Krogh 1979, ACM TOMS 5(3), 308-323).
///
/// A vector is n elements that stand inc apart, starting at x. A routine with two vectors takes a negative increment as
/// the reference routines do: it then starts at element (1 - n)*inc and walks back to x[0]; an increment of 0 uses x[0]
/// n times. A routine with one vector does nothing (and returns 0) when its increment is not positive. n <= 0 is an
/// empty vector. Two vectors of one call must not overlap unless they are the same, element for element.
///
/// Sums are added in index order and every product is rounded before it is added, so a result never depends on the
/// processor. The class has no data; every routine may be called from any number of threads on disjoint arrays.
class MODELCORE_EXPORT Blas1 {
public:
    /// Sum of the absolute values.
    static double DASum(int n, const double* x, int incx);

    /// y += a*x. Nothing is touched when a is 0.
    static void Daxpy(int n, double a, const double* x, int incx, double* y, int incy);

    /// y = x.
    static void DCopy(int n, const double* x, int incx, double* y, int incy);

    /// The dot product of x and y, summed in index order from 0.
    static double DDot(int n, const double* x, int incx, const double* y, int incy);

    /// Euclidean norm, with a running scale so that no square overflows or vanishes; 0 when n < 1 or incx < 1.
    static double DNrm2(int n, const double* x, int incx);

    /// Applies a plane rotation: x = c*x + s*y and y = c*y - s*x, element by element.
    static void DRot(int n, double* x, int incx, double* y, int incy, double c, double s);

    /// Constructs the Givens rotation that turns (a, b) into (r, 0): c = a/r, s = b/r. r has the sign of the one of a
    /// and b that is larger in magnitude, of b when they tie; a = b = 0 gives c = 1, s = 0, r = 0.
    ///
    /// On return a holds r and b holds z, from which the rotation can be rebuilt: z = 1/c when c is not 0 and s >= |c|,
    /// otherwise z = s. The published routine compares |b| with |a| for this; the two choices differ only where c and s
    /// round to the same number although |a| > |b|.
    static void DRotG(double* a, double* b, double* c, double* s);

    /// x = a*x.
    static void DScal(int n, double a, double* x, int incx);

    /// Exchanges x and y.
    static void DSwap(int n, double* x, int incx, double* y, int incy);

    /// The 1-based index of the first element of largest absolute value; 0 when n < 1 or incx < 1. A NaN is never
    /// larger.
    static int IDAMax(int n, const double* x, int incx);

    /// A machine constant, found by halving at each call: job 1 gives the spacing of doubles at 1 (2^-52), job 2 a
    /// safely small number (100 * 2^-1020), job 3 its reciprocal. Any other job ends the process through
    /// XErBla("DMACH", 1).
    static double DMach(int job);

    /// Reports an illegal argument of the named routine on standard output and ends the process with status 1.
    [[noreturn]] static void XErBla(const char* name, int param);

    /// Whether two letters are equal when the case of A to Z is ignored; any other characters are compared as they are.
    static bool LSame(char a, char b);

    /// |x|.
    static double D_Abs(double x);

    /// The larger of two.
    static double D_Max(double a, double b);

    /// -1 when x < 0, otherwise +1 (so +1 for -0.0 too); unlike the two-argument sign transfer of Fortran.
    static double D_Sign(double x);

    /// The larger of two.
    static int I_Max(int a, int b);

    /// The smaller of two.
    static int I_Min(int a, int b);
};

} // namespace MCMath_930
