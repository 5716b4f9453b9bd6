// Householder reflections in the form of LINPACK.
#pragma once

#include "modelcore/linalg/Blas1.h"

#include "modelcore/kernels/Kernels.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace MCMath_930::internal {

/// Turns a vector into the reflection v that maps it to (-norm, 0, ..., 0): v is the vector over its norm, which takes
/// the sign of the first element, plus 1 in the first element. Applying it is y += t*v with t = -(v'y)/v[0].
/// @return the signed norm; 0 for a zero vector, which is left as it is
inline double MakeReflection(double* v, int count)
{
    double norm = Blas1::DNrm2(count, v, 1);
    if (norm == 0.0) return norm;
    if (v[0] != 0.0) norm = std::copysign(norm, v[0]);
    Blas1::DScal(count, 1.0 / norm, v, 1);
    v[0] += 1.0;
    return norm;
}

inline void Reflect(const double* v, int count, double* y)
{
    const double t = -Blas1::DDot(count, v, 1, y, 1) / v[0];
    Blas1::Daxpy(count, t, v, 1, y, 1);
}

/// Reflect for `columns` columns y, columnStep apart: their dot products side by side, while a few of them are in
/// cache.
inline void ReflectColumns(const double* v, int count, double* y, std::ptrdiff_t columnStep, int columns)
{
    constexpr int kColumnsAtOnce = 8;
    for (int j = 0; j < columns; j += kColumnsAtOnce, y += kColumnsAtOnce * columnStep) {
        const int used = std::min(kColumnsAtOnce, columns - j);
        double factors[kColumnsAtOnce];
        DotColumns(factors, y, columnStep, static_cast<std::size_t>(used), v, static_cast<std::size_t>(count));
        for (int q = 0; q < used; ++q) factors[q] = -factors[q] / v[0];
        AddOuterProduct(y, columnStep, static_cast<std::size_t>(used), factors, 1, v, static_cast<std::size_t>(count));
    }
}

/// Reflect for a reflection whose first element is kept apart from the `count` elements after it.
inline void ReflectBy(double first, const double* rest, int count, double* y)
{
    double dot = 0.0;
    dot += first * y[0];
    for (int i = 0; i < count; ++i) dot += rest[i] * y[i + 1];
    const double t = -dot / first;
    Blas1::Daxpy(1, t, &first, 1, y, 1);
    Blas1::Daxpy(count, t, rest, 1, y + 1, 1);
}

} // namespace MCMath_930::internal
