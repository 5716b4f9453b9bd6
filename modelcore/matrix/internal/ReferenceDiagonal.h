// What sweeps and Cholesky factorisations ask of the diagonal that their tolerances relate to.
#pragma once

#include <algorithm>
#include <cstddef>
#include <span>
#include <vector>

namespace MCMath_930::internal {

/// Whether no value is negative. A NaN would make every comparison with a pivot false, so it is none either.
inline bool IsReferenceDiagonal(std::span<const double> diagonal)
{
    return std::all_of(diagonal.begin(), diagonal.end(), [](double d) { return d >= 0.0; });
}

/// Whether tol and the first n values of refDiag can be used. Written so that a NaN is refused too.
inline bool CholeskyArgumentsValid(const std::vector<double>& refDiag, double tol, int n)
{
    return tol >= 0.0 && refDiag.size() >= static_cast<std::size_t>(n) &&
           IsReferenceDiagonal({refDiag.data(), static_cast<std::size_t>(n)});
}

} // namespace MCMath_930::internal
