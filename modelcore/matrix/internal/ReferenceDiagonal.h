// What sweeps and Cholesky factorisations ask of the diagonal that their tolerances relate to.
#pragma once

#include <algorithm>
#include <span>

namespace MCMath_930::internal {

/// Whether no value is negative. A NaN would make every comparison with a pivot false, so it is none either.
inline bool IsReferenceDiagonal(std::span<const double> diagonal)
{
    return std::all_of(diagonal.begin(), diagonal.end(), [](double d) { return d >= 0.0; });
}

} // namespace MCMath_930::internal
