// The equation whose roots are the eigenvalues of a diagonal matrix plus one of rank one.
#pragma once

#include <cstddef>

namespace MCMath_930::internal {

/// The equation  1 + sum over j of weights[j] / (pole(j) - x) = 0  with weights above 0 and poles that ascend: one root
/// lies between each two neighbouring poles and one above the last.
///
/// A root is looked for as its distance from the nearer of the two poles beside it, so that its differences from all
/// poles have nearly full relative accuracy however close it comes to one. The step is that of the "middle way" (R.-C.
/// Li, LAPACK Working Note 89, 1994): the terms of the poles below and those of the poles above are each replaced by a
/// hyperbola that has the same value and slope. A step out of the bracket, which every evaluation narrows, is replaced
/// by one that divides the bracket, so that the search ends for all finite data. It ends when the sum is not above the
/// bound of its own rounding errors (Gu and Eisenstat, SIAM J. Matrix Anal. Appl. 16, 1995), or when no double is left
/// in between.
class SecularEquation {
public:
    enum class Poles {
        AsGiven, ///< pole(j) is poles[j]
        Squared  ///< pole(j) is the square of poles[j] >= 0, of which only differences are formed, as products
    };

    /// The arrays are used, not copied. Both must be finite, of moderate size, and no two poles equal.
    SecularEquation(const double* poles, const double* weights, int count, Poles kind)
        : fPoles(poles), fWeights(weights), fnPoles(count), fKind(kind)
    {}

    /// @param i            root, that between poles i and i + 1
    /// @param differences  set to pole(j) minus the root for all j
    /// @return  the root, or its square root when the poles are squared
    double FindRoot(int i, double* differences) const;

private:
    struct Sums {
        double below, belowSlope; // of the terms of the poles up to one of them, and their derivatives
        double above, aboveSlope; // of the others
        double bound;             // of the rounding errors

        double Value() const { return 1.0 + below + above; }
    };

    double Gap(int j, int k) const;
    void SetOrigin(int k, double* gaps) const;
    Sums Evaluate(const double* gaps, int split, double x) const;
    double GuessInside(int i, double gap, double value) const;
    double GuessLast(const double* gaps, double highest) const;
    double Iterate(int i, const double* gaps, double x, double low, double high) const;

    const double* fPoles;
    const double* fWeights;
    int fnPoles;
    Poles fKind;
};

} // namespace MCMath_930::internal
