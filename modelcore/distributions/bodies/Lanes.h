// Several doubles side by side as one number, for the templates of internal/Elementary.h and its users: two vectors, since
// one alone would wait for its own results most of the time.
//
// The class belongs to one level of instruction set and to one source, and so does every template that is made from it.
// Templates of double are never made here: the linker might keep such a copy for a processor that cannot run it.
#pragma once

#include "modelcore/kernels/bodies/Vectors.h"

#if defined(__AVX2__) && !defined(MODELCORE_WITHOUT_VECTORS)
#include <immintrin.h>
#endif

namespace MCMath_930::internal::MODELCORE_KERNEL_SET {

namespace {

#ifdef MODELCORE_VECTOR_BYTES
typedef std::uint64_t BitVector __attribute__((vector_size(MODELCORE_VECTOR_BYTES)));
#else
typedef std::uint64_t BitVector;
#endif
typedef decltype(Vector{} < Vector{}) MaskVector;

struct Bits {
    BitVector a, b;

    Bits(BitVector first, BitVector second) : a(first), b(second) {}
    friend Bits operator+(Bits x, std::uint64_t y) { return {x.a + y, x.b + y}; }
    friend Bits operator+(Bits x, Bits y) { return {x.a + y.a, x.b + y.b}; }
    friend Bits operator-(Bits x, std::uint64_t y) { return {x.a - y, x.b - y}; }
    friend Bits operator-(Bits x, Bits y) { return {x.a - y.a, x.b - y.b}; }
    friend Bits operator*(Bits x, std::uint64_t y) { return {x.a * y, x.b * y}; }
    friend Bits operator&(Bits x, std::uint64_t y) { return {x.a & y, x.b & y}; }
    friend Bits operator|(Bits x, std::uint64_t y) { return {x.a | y, x.b | y}; }
    friend Bits operator>>(Bits x, int n) { return {x.a >> n, x.b >> n}; }
    friend Bits operator<<(Bits x, int n) { return {x.a << n, x.b << n}; }
};

struct Mask {
    MaskVector a, b;
};

struct Lanes {
    Vector a, b;

    Lanes(Vector first, Vector second) : a(first), b(second) {}
    explicit(false) Lanes(double x) : a(Vector{} + x), b(Vector{} + x) {}
    friend Lanes operator+(Lanes x, Lanes y) { return {x.a + y.a, x.b + y.b}; }
    friend Lanes operator-(Lanes x, Lanes y) { return {x.a - y.a, x.b - y.b}; }
    friend Lanes operator*(Lanes x, Lanes y) { return {x.a * y.a, x.b * y.b}; }
    friend Lanes operator/(Lanes x, Lanes y) { return {x.a / y.a, x.b / y.b}; }
    friend Lanes operator-(Lanes x) { return {-x.a, -x.b}; }
    friend Mask operator<(Lanes x, Lanes y) { return {x.a < y.a, x.b < y.b}; }
    friend Mask operator<=(Lanes x, Lanes y) { return {x.a <= y.a, x.b <= y.b}; }
    friend Mask operator>(Lanes x, Lanes y) { return {x.a > y.a, x.b > y.b}; }
    friend Mask operator>=(Lanes x, Lanes y) { return {x.a >= y.a, x.b >= y.b}; }
    friend Mask operator==(Lanes x, Lanes y) { return {x.a == y.a, x.b == y.b}; }
};
constexpr std::size_t kLanes = 2 * static_cast<std::size_t>(kVectorWidth);

inline Lanes LanesAt(const double* x)
{
    return {VectorAt(x), VectorAt(x + kVectorWidth)};
}

inline void Store(double* x, const Lanes& lanes)
{
    Store(x, lanes.a);
    Store(x + kVectorWidth, lanes.b);
}

inline Lanes Choose(Mask condition, Lanes x, Lanes y)
{
    return {condition.a ? x.a : y.a, condition.b ? x.b : y.b};
}

inline Mask Not(Mask x)
{
#ifdef MODELCORE_VECTOR_BYTES
    return {~x.a, ~x.b};
#else
    return {!x.a, !x.b};
#endif
}

inline Mask Both(Mask x, Mask y)
{
#ifdef MODELCORE_VECTOR_BYTES
    return {x.a & y.a, x.b & y.b};
#else
    return {x.a && y.a, x.b && y.b};
#endif
}

inline bool AnyOf(Mask x)
{
#ifdef MODELCORE_VECTOR_BYTES
    const MaskVector either = x.a | x.b;
#if defined(__AVX512F__) && !defined(MODELCORE_WITHOUT_VECTORS)
    __m512i bits;
    std::memcpy(&bits, &either, sizeof bits);
    return _mm512_test_epi64_mask(bits, bits) != 0;
#else
    long long any = 0;
#pragma GCC unroll 8
    for (int i = 0; i < kVectorWidth; ++i) any |= either[i];
    return any != 0;
#endif
#else
    return x.a || x.b;
#endif
}

inline Bits BitsOf(Lanes x)
{
    BitVector a, b;
    std::memcpy(&a, &x.a, sizeof a);
    std::memcpy(&b, &x.b, sizeof b);
    return {a, b};
}

inline Lanes FromBits(Bits x)
{
    Vector a, b;
    std::memcpy(&a, &x.a, sizeof a);
    std::memcpy(&b, &x.b, sizeof b);
    return {a, b};
}

inline Lanes Magnitude(Lanes x)
{
    return FromBits(BitsOf(x) & ~(std::uint64_t{1} << 63));
}

inline Vector SquareRoot(Vector x)
{
#if defined(__AVX512F__) && !defined(MODELCORE_WITHOUT_VECTORS)
    return _mm512_maskz_sqrt_pd(0xFF, x); // the plain form makes g++ 12 warn
#elif defined(__AVX2__) && !defined(MODELCORE_WITHOUT_VECTORS)
    return _mm256_sqrt_pd(x);
#else
    double each[kVectorWidth];
    Store(each, x);
    for (int i = 0; i < kVectorWidth; ++i) each[i] = MODELCORE_SQRT(each[i]);
    return VectorAt(each);
#endif
}

inline Lanes SquareRoot(Lanes x)
{
    return {SquareRoot(x.a), SquareRoot(x.b)};
}

inline Vector Lookup(const double* table, BitVector index)
{
#if defined(__AVX512F__) && !defined(MODELCORE_WITHOUT_VECTORS)
    __m512i at;
    std::memcpy(&at, &index, sizeof at);
// Without optimisation g++ 12 has a macro here, whose conversion of the mask it would warn of.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wsign-conversion"
    return _mm512_mask_i64gather_pd(Vector{}, 0xFF, at, table, 8);
#pragma GCC diagnostic pop
#else
    std::uint64_t at[kVectorWidth];
    std::memcpy(at, &index, sizeof at);
    double found[kVectorWidth];
    for (int i = 0; i < kVectorWidth; ++i) found[i] = table[at[i]];
    return VectorAt(found);
#endif
}

inline Lanes Lookup(const double* table, Bits index)
{
    return {Lookup(table, index.a), Lookup(table, index.b)};
}

/// Lookup in a table of 16.
inline Lanes LookupOf16(const double* table, Bits index)
{
#if defined(__AVX512F__) && !defined(MODELCORE_WITHOUT_VECTORS)
    const __m512d low = _mm512_loadu_pd(table);
    const __m512d high = _mm512_loadu_pd(table + 8);
    __m512i a, b;
    std::memcpy(&a, &index.a, sizeof a);
    std::memcpy(&b, &index.b, sizeof b);
    return {_mm512_permutex2var_pd(low, a, high), _mm512_permutex2var_pd(low, b, high)};
#else
    return Lookup(table, index);
#endif
}

// What DoubleDouble.h has for one double; its comments say what each is good for.

inline Twofold<Lanes> ExactSum(Lanes a, Lanes b)
{
    const Lanes sum = a + b;
    const Lanes part = sum - a;
    return {sum, (a - (sum - part)) + (b - part)};
}

inline Twofold<Lanes> ExactSumOrdered(Lanes a, Lanes b)
{
    const Lanes sum = a + b;
    return {sum, b - (sum - a)};
}

inline Twofold<Lanes> ExactProduct(Lanes a, Lanes b)
{
    constexpr double kSplit = 134217729.0;
    const Lanes ca = kSplit * a;
    const Lanes cb = kSplit * b;
    const Lanes aHigh = ca - (ca - a);
    const Lanes bHigh = cb - (cb - b);
    const Lanes aLow = a - aHigh;
    const Lanes bLow = b - bHigh;
    const Lanes product = a * b;
    return {product, ((aHigh * bHigh - product) + aHigh * bLow + aLow * bHigh) + aLow * bLow};
}

inline Twofold<Lanes> operator+(const Twofold<Lanes>& a, const Twofold<Lanes>& b)
{
    const Twofold<Lanes> sum = ExactSum(a.head, b.head);
    return ExactSumOrdered(sum.head, sum.tail + (a.tail + b.tail));
}

inline Twofold<Lanes> operator-(const Twofold<Lanes>& a)
{
    return {-a.head, -a.tail};
}

inline Twofold<Lanes> operator-(const Twofold<Lanes>& a, const Twofold<Lanes>& b)
{
    return a + -b;
}

inline Twofold<Lanes> operator*(double a, const Twofold<Lanes>& b)
{
    const Twofold<Lanes> product = ExactProduct(a, b.head);
    return ExactSumOrdered(product.head, product.tail + a * b.tail);
}

inline Twofold<Lanes> operator*(const Twofold<Lanes>& a, const Twofold<Lanes>& b)
{
    const Twofold<Lanes> product = ExactProduct(a.head, b.head);
    return ExactSumOrdered(product.head, product.tail + (a.head * b.tail + a.tail * b.head));
}

inline Twofold<Lanes> operator/(const Twofold<Lanes>& a, const Twofold<Lanes>& b)
{
    const Lanes quotient = a.head / b.head;
    const Twofold<Lanes> product = ExactProduct(quotient, b.head);
    const Lanes remainder = ((a.head - product.head) - product.tail) + (a.tail - quotient * b.tail);
    return ExactSumOrdered(quotient, remainder / b.head);
}

} // namespace

} // namespace MCMath_930::internal::MODELCORE_KERNEL_SET
