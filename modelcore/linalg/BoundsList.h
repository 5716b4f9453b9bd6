// The bounds of an integral.
#pragma once

#include "modelcore/modelcore_export.h"

#include <cstddef>
#include <vector>

namespace MCMath_930 {

/// A lower and an upper bound for each dimension of an integral, dimension 0 the outermost. A bound may be infinite. A
/// lower bound above the upper one gives the integral the other sign.
class MODELCORE_EXPORT BoundsList {
public:
    /// No dimension.
    BoundsList() = default;

    /// One dimension; none when Add refuses the bounds.
    BoundsList(double lower, double upper) { Add(lower, upper); }

    /// Appends a dimension. False, and nothing changed, when a bound is NaN or both are the same infinity.
    bool Add(double lower, double upper);

    /// Replaces the bounds of dimension i. False, and nothing changed, as for Add and for i outside [0, GetNDim()).
    bool Set(int i, double lower, double upper);

    /// Says where the integrand has its mass in dimension i, and how wide that is; matters for infinite bounds only. Half
    /// of the points of the first look are within the scale of the centre, or, when one bound is finite, of that bound.
    /// The default, 0 and 1, does not see a normal density with mean 100. Set keeps both.
    /// @return  false, and nothing changed, unless 0 <= i < GetNDim(), the centre is finite and 1e-100 <= scale <= 1e100
    bool SetCentreAndScale(int i, double centre, double scale);

    /// Removes every dimension.
    void Clear() { fvBounds.clear(); }

    /// The number of dimensions.
    int GetNDim() const { return static_cast<int>(fvBounds.size()); }

    /// The bounds of dimension i, 0 <= i < GetNDim(); not checked.
    double GetLower(int i) const { return fvBounds[static_cast<std::size_t>(i)].lower; }
    /// The upper bound of dimension i; i is not checked.
    double GetUpper(int i) const { return fvBounds[static_cast<std::size_t>(i)].upper; }

    /// The same for the centre and the scale.
    double GetCentre(int i) const { return fvBounds[static_cast<std::size_t>(i)].centre; }
    /// The scale of dimension i; i is not checked.
    double GetScale(int i) const { return fvBounds[static_cast<std::size_t>(i)].scale; }

    /// Whether both bounds of every dimension are finite.
    bool IsFinite() const;

    /// Writes the bounds to the diagnostic text stream.
    void Display() const;

private:
    struct Bounds {
        double lower;
        double upper;
        double centre = 0.0;
        double scale = 1.0;
    };

    std::vector<Bounds> fvBounds;
};

} // namespace MCMath_930
