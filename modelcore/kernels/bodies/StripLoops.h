// Loops over strips of kStripWidth columns that stay in cache while many steps go over them.
#pragma once

namespace MCMath_930::internal::MODELCORE_KERNEL_SET {

namespace {

// As many sums side by side as keep the adders busy, in no more registers than the baseline has.
constexpr int kStripVectors = kVectorWidth > 4 ? kStripWidth / kVectorWidth : 4;

void ReflectStripPart(double* strip, const double* v, const double* factors, const double* next, double* dots,
                      std::size_t rows)
{
    Vector factor[kStripVectors] = {};
    Vector dot[kStripVectors] = {};
#pragma GCC unroll 4
    for (int q = 0; q < kStripVectors; ++q) {
        if (v != nullptr) factor[q] = VectorAt(factors + q * kVectorWidth);
        if (next != nullptr) dot[q] = VectorAt(dots + q * kVectorWidth);
    }
    if (v == nullptr) {
        for (std::size_t i = 0; i < rows; ++i, strip += kStripWidth)
#pragma GCC unroll 4
            for (int q = 0; q < kStripVectors; ++q) dot[q] += next[i] * VectorAt(strip + q * kVectorWidth);
    } else if (next == nullptr) {
        for (std::size_t i = 0; i < rows; ++i, strip += kStripWidth)
#pragma GCC unroll 4
            for (int q = 0; q < kStripVectors; ++q) {
                double* const at = strip + q * kVectorWidth;
                Store(at, VectorAt(at) + v[i] * factor[q]);
            }
    } else {
        for (std::size_t i = 0; i < rows; ++i, strip += kStripWidth)
#pragma GCC unroll 4
            for (int q = 0; q < kStripVectors; ++q) {
                double* const at = strip + q * kVectorWidth;
                const Vector row = VectorAt(at) + v[i] * factor[q];
                Store(at, row);
                dot[q] += next[i] * row;
            }
    }
    if (next != nullptr)
#pragma GCC unroll 4
        for (int q = 0; q < kStripVectors; ++q) Store(dots + q * kVectorWidth, dot[q]);
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

void ReflectStrip(double* strip, const double* v, const double* factors, const double* next, double* dots,
                  std::size_t rows)
{
    constexpr int kPart = kStripVectors * kVectorWidth;
    for (int j = 0; j < kStripWidth; j += kPart)
        ReflectStripPart(strip + j, v, v != nullptr ? factors + j : nullptr, next, next != nullptr ? dots + j : nullptr,
                         rows);
}

} // namespace

} // namespace MCMath_930::internal::MODELCORE_KERNEL_SET
