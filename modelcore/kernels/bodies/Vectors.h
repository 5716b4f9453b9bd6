// What the bodies of the kernels ask of a compiler beyond the language; no other header of bodies/ asks which it is.
//
// The bodies are written for vectors of kVectorWidth doubles. A compiler that has none, or MODELCORE_WITHOUT_VECTORS,
// makes a vector of one double: the same loops, and the same bits.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#ifndef __GNUC__
#include <math.h>
#endif

#if defined(__GNUC__) && !defined(MODELCORE_WITHOUT_VECTORS)
#if defined(__AVX512F__)
#define MODELCORE_VECTOR_BYTES 64
#elif defined(__AVX__)
#define MODELCORE_VECTOR_BYTES 32
#else
#define MODELCORE_VECTOR_BYTES 16
#endif
#endif

#ifdef __GNUC__
#define MODELCORE_PREFETCH(address) __builtin_prefetch(address)
#define MODELCORE_ABS(x) __builtin_fabs(x)
#define MODELCORE_SQRT(x) __builtin_sqrt(x)
#else
#define MODELCORE_PREFETCH(address) static_cast<void>(address)
#define MODELCORE_ABS(x) ((x) < 0.0 ? -(x) : (x))
#define MODELCORE_SQRT(x) ::sqrt(x)
#endif

#ifdef _MSC_VER
#pragma warning(disable : 4068) // #pragma GCC unroll, which changes no result
#endif

namespace MCMath_930::internal::MODELCORE_KERNEL_SET {

namespace {

#ifdef MODELCORE_VECTOR_BYTES
typedef double Vector __attribute__((vector_size(MODELCORE_VECTOR_BYTES)));
#else
typedef double Vector;
#endif
constexpr int kVectorWidth = static_cast<int>(sizeof(Vector) / sizeof(double));

// By memcpy: a reference to a vector off its natural boundary is one that clang 14 takes for aligned.
inline Vector VectorAt(const double* x)
{
    Vector v;
    std::memcpy(&v, x, sizeof v);
    return v;
}

template <class AnyVector>
inline void Store(double* x, AnyVector v)
{
    std::memcpy(x, &v, sizeof v);
}

// Squares of four rows and four columns that are transposed in registers.
#if defined(MODELCORE_VECTOR_BYTES) && MODELCORE_VECTOR_BYTES >= 32
#define MODELCORE_TRANSPOSES

typedef double Quad __attribute__((vector_size(32)));

inline Quad QuadAt(const double* x)
{
    Quad v;
    std::memcpy(&v, x, sizeof v);
    return v;
}

/// Element i of vector j becomes element j of vector i.
inline void Transpose(Quad* v)
{
    const Quad a = __builtin_shufflevector(v[0], v[1], 0, 4, 2, 6);
    const Quad b = __builtin_shufflevector(v[0], v[1], 1, 5, 3, 7);
    const Quad c = __builtin_shufflevector(v[2], v[3], 0, 4, 2, 6);
    const Quad d = __builtin_shufflevector(v[2], v[3], 1, 5, 3, 7);
    v[0] = __builtin_shufflevector(a, c, 0, 1, 4, 5);
    v[1] = __builtin_shufflevector(b, d, 0, 1, 4, 5);
    v[2] = __builtin_shufflevector(a, c, 2, 3, 6, 7);
    v[3] = __builtin_shufflevector(b, d, 2, 3, 6, 7);
}
#endif

} // namespace

} // namespace MCMath_930::internal::MODELCORE_KERNEL_SET
