// Loops over strips of columns or rows that stay in cache while many steps go over them.
#pragma once

namespace MCMath_930::internal::MODELCORE_KERNEL_SET {

namespace {

// As many sums side by side as keep the adders busy, in no more registers than the baseline has. Reflections load and store
// as much as they add, so that two wide vectors will do, and a strip half as wide stays in a nearer cache.
constexpr int kStripVectors = 4;
constexpr int kReflectionVectors = kVectorWidth > 4 ? kReflectionWidth / kVectorWidth : 4;

template <int kWidth, int kVectors>
void ReflectStripPart(double* strip, const double* v, const double* factors, const double* next, double* dots,
                      std::size_t rows)
{
    Vector factor[std::size_t{kVectors}] = {};
    Vector dot[std::size_t{kVectors}] = {};
#pragma GCC unroll 4
    for (int q = 0; q < kVectors; ++q) {
        if (v != nullptr) factor[q] = VectorAt(factors + q * kVectorWidth);
        if (next != nullptr) dot[q] = VectorAt(dots + q * kVectorWidth);
    }
    if (v == nullptr) {
        for (std::size_t i = 0; i < rows; ++i, strip += kWidth)
#pragma GCC unroll 4
            for (int q = 0; q < kVectors; ++q) dot[q] += next[i] * VectorAt(strip + q * kVectorWidth);
    } else if (next == nullptr) {
        for (std::size_t i = 0; i < rows; ++i, strip += kWidth)
#pragma GCC unroll 4
            for (int q = 0; q < kVectors; ++q) {
                double* const at = strip + q * kVectorWidth;
                Store(at, VectorAt(at) + v[i] * factor[q]);
            }
    } else {
        for (std::size_t i = 0; i < rows; ++i, strip += kWidth)
#pragma GCC unroll 4
            for (int q = 0; q < kVectors; ++q) {
                double* const at = strip + q * kVectorWidth;
                const Vector row = VectorAt(at) + v[i] * factor[q];
                Store(at, row);
                dot[q] += next[i] * row;
            }
    }
    if (next != nullptr)
#pragma GCC unroll 4
        for (int q = 0; q < kVectors; ++q) Store(dots + q * kVectorWidth, dot[q]);
}
void RotateStripPart(double* strip, const double* c, const double* s, std::size_t count)
{
    Vector kept[kStripVectors]; // column k, still to be turned with the one after it
#pragma GCC unroll 4
    for (int q = 0; q < kStripVectors; ++q) kept[q] = VectorAt(strip + q * kVectorWidth);
    for (std::size_t k = 0; k < count; ++k, strip += kStripWidth)
#pragma GCC unroll 4
        for (int q = 0; q < kStripVectors; ++q) {
            const Vector next = VectorAt(strip + kStripWidth + q * kVectorWidth);
            Store(strip + q * kVectorWidth, c[k] * kept[q] + s[k] * next);
            kept[q] = c[k] * next - s[k] * kept[q];
        }
#pragma GCC unroll 4
    for (int q = 0; q < kStripVectors; ++q) Store(strip + q * kVectorWidth, kept[q]);
}
void AddStripColumnsPart(double* y, const double* strip, const double* factors, std::size_t columns)
{
    Vector sum[kStripVectors];
#pragma GCC unroll 4
    for (int q = 0; q < kStripVectors; ++q) sum[q] = VectorAt(y + q * kVectorWidth);
    for (std::size_t j = 0; j < columns; ++j, strip += kStripWidth) {
        const double factor = factors[j];
        if (factor == 0.0) continue;
#pragma GCC unroll 4
        for (int q = 0; q < kStripVectors; ++q) sum[q] += factor * VectorAt(strip + q * kVectorWidth);
    }
#pragma GCC unroll 4
    for (int q = 0; q < kStripVectors; ++q) Store(y + q * kVectorWidth, sum[q]);
}
void AddStripColumns(double* y, const double* strip, const double* factors, std::size_t columns)
{
    for (int j = 0; j < kStripWidth; j += kStripVectors * kVectorWidth)
        AddStripColumnsPart(y + j, strip + j, factors, columns);
}

void RotateStrip(double* strip, const double* c, const double* s, std::size_t count)
{
    for (int j = 0; j < kStripWidth; j += kStripVectors * kVectorWidth) RotateStripPart(strip + j, c, s, count);
}

template <int kWidth, int kVectors>
void ReflectStripOf(double* strip, const double* v, const double* factors, const double* next, double* dots,
                    std::size_t rows)
{
    constexpr int kPart = kVectors * kVectorWidth;
    for (int j = 0; j < kWidth; j += kPart)
        ReflectStripPart<kWidth, kVectors>(strip + j, v, v != nullptr ? factors + j : nullptr, next,
                                           next != nullptr ? dots + j : nullptr, rows);
}

void ReflectStrip(double* strip, int width, const double* v, const double* factors, const double* next, double* dots,
                  std::size_t rows)
{
    if (width == kReflectionWidth)
        ReflectStripOf<kReflectionWidth, kReflectionVectors>(strip, v, factors, next, dots, rows);
    else
        ReflectStripOf<kStripWidth, kStripVectors>(strip, v, factors, next, dots, rows);
}

} // namespace

} // namespace MCMath_930::internal::MODELCORE_KERNEL_SET
