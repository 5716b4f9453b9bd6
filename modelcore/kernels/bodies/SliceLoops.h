// Numbers cut into slices, and sums of products of slices that are exact whatever their order (KernelTable.h says why).
#pragma once

// Fused or not, a sum without rounding is the same: the one place where the compiler may fuse.
#if defined(__clang__)
#define MODELCORE_FUSED
#define MODELCORE_FUSES _Pragma("clang fp contract(fast)")
#elif defined(__GNUC__)
#define MODELCORE_FUSED __attribute__((optimize("fp-contract=fast")))
#define MODELCORE_FUSES
#else
#define MODELCORE_FUSED
#define MODELCORE_FUSES
#endif

namespace MCMath_930::internal::MODELCORE_KERNEL_SET {

namespace {

// Adding and subtracting it rounds what is below 2^51 in magnitude to the nearest integer.
constexpr double kRounder = 0x1.8p52;

inline Vector Everywhere(double x)
{
    return Vector{} + x;
}

inline Vector Magnitude(Vector v)
{
    return v < 0.0 ? -v : v;
}

/// The elements of a vector, one after the other.
inline double Sum(Vector v)
{
    double lanes[kVectorWidth];
    Store(lanes, v);
    double sum = lanes[0];
    for (int l = 1; l < kVectorWidth; ++l) sum += lanes[l];
    return sum;
}

inline double Largest(Vector v)
{
    double lanes[kVectorWidth];
    Store(lanes, v);
    double largest = lanes[0];
    for (int l = 1; l < kVectorWidth; ++l) largest = lanes[l] > largest ? lanes[l] : largest;
    return largest;
}

void MagnitudeRange(const double* x, std::size_t count, double* largest, double* smallest)
{
    const Vector none = Everywhere(__builtin_huge_val());
    Vector most{}, least = none, faults{};
    for (std::size_t t = 0; t < count; t += kVectorWidth) {
        const Vector v = VectorAt(x + t);
        const Vector size = Magnitude(v);
        most = size > most ? size : most;
        const Vector counted = size == 0.0 ? none : size;
        least = counted < least ? counted : least;
        faults += v - v; // 0, or a NaN
    }
    *smallest = -Largest(-least);
    *largest = Largest(most) + Sum(faults);
}

bool CutWhole(double* slice, const double* x, double scale, std::size_t count, double* sum)
{
    constexpr std::size_t kLook = 64; // most columns that need further slices show it at once
    Vector total{};
    for (std::size_t t = 0; t < count;) {
        const std::size_t end = t + kLook < count ? t + kLook : count;
        Vector left{};
        for (; t < end; t += kVectorWidth) {
            const Vector scaled = VectorAt(x + t) * scale;
            const Vector whole = (scaled + kRounder) - kRounder;
            Store(slice + t, whole);
            total += whole;
            left += Magnitude(scaled - whole);
        }
        if (Sum(left) != 0.0) return false;
    }
    *sum = Sum(total);
    return true;
}

void CutSlice(double* slice, double* rest, const double* x, double scale, std::size_t count, CutResult* result)
{
    Vector total{}, most{}, left{};
    const Vector zero{}, one = Everywhere(1.0);
    for (std::size_t t = 0; t < count; t += kVectorWidth) {
        const Vector scaled = VectorAt(x + t) * scale;
        const Vector whole = (scaled + kRounder) - kRounder;
        const Vector remains = scaled - whole;
        const Vector size = Magnitude(remains);
        Store(slice + t, whole);
        Store(rest + t, remains);
        total += whole;
        most = size > most ? size : most;
        left += remains != 0.0 ? one : zero;
    }
    *result = {Sum(total), Largest(most), static_cast<int>(Sum(left))};
}

void CutPairSlice(double* slice, double* high, double* low, double scale, std::size_t count, CutResult* result)
{
    Vector total{}, most{};
    for (std::size_t t = 0; t < count; t += kVectorWidth) {
        const Vector scaled = VectorAt(high + t) * scale;
        const Vector below = VectorAt(low + t) * scale;
        const Vector whole = (scaled + kRounder) - kRounder;
        const Vector remains = scaled - whole;
        const Vector sum = remains + below; // and what is lost in it
        const Vector part = sum - remains;
        const Vector lost = (remains - (sum - part)) + (below - part);
        const Vector size = Magnitude(sum);
        Store(slice + t, whole);
        Store(high + t, sum);
        Store(low + t, lost);
        total += whole;
        most = size > most ? size : most;
    }
    *result = {Sum(total), Largest(most), 0};
}

void WeighColumn(double* high, double* low, const double* x, double xScale, const double* weights, double weightScale,
                 std::size_t count)
{
    constexpr double kSplitter = 0x1p27 + 1.0; // Veltkamp's: halves of 26 bits, whose products are exact
    for (std::size_t t = 0; t < count; t += kVectorWidth) {
        const Vector a = VectorAt(x + t) * xScale;
        const Vector b = VectorAt(weights + t) * weightScale;
        const Vector product = a * b;
        const Vector wideA = a * kSplitter, wideB = b * kSplitter;
        const Vector a1 = wideA - (wideA - a), b1 = wideB - (wideB - b);
        const Vector a2 = a - a1, b2 = b - b1;
        Store(high + t, product);
        Store(low + t, a2 * b2 - (((product - a1 * b1) - a2 * b1) - a1 * b2));
    }
}

void AddSlices(double* sums, const double* x, const double* y, std::size_t count)
{
    for (std::size_t t = 0; t < count; t += kVectorWidth) Store(sums + t, VectorAt(x + t) + VectorAt(y + t));
}

#ifdef MODELCORE_VECTOR_BYTES
/// Neighbouring elements of a, then of b, added.
inline Vector AddNeighbours(Vector a, Vector b)
{
#if MODELCORE_VECTOR_BYTES == 64
    return __builtin_shufflevector(a, b, 0, 2, 4, 6, 8, 10, 12, 14) +
           __builtin_shufflevector(a, b, 1, 3, 5, 7, 9, 11, 13, 15);
#elif MODELCORE_VECTOR_BYTES == 32
    return __builtin_shufflevector(a, b, 0, 2, 4, 6) + __builtin_shufflevector(a, b, 1, 3, 5, 7);
#else
    return __builtin_shufflevector(a, b, 0, 2) + __builtin_shufflevector(a, b, 1, 3);
#endif
}
#endif

/// Element i becomes the sum of vector i, for kVectorWidth vectors.
inline Vector SumEach(const Vector* v)
{
#ifdef MODELCORE_VECTOR_BYTES
    Vector halves[kVectorWidth];
#pragma GCC unroll 8
    for (int i = 0; i < kVectorWidth; ++i) halves[i] = v[i];
#pragma GCC unroll 8
    for (int n = kVectorWidth; n > 1; n /= 2)
#pragma GCC unroll 8
        for (int i = 0; i < n / 2; ++i) halves[i] = AddNeighbours(halves[2 * i], halves[2 * i + 1]);
    return halves[0];
#else
    return *v;
#endif
}

// As many sums as registers hold beside their operands: of 32, or of 16.
constexpr std::size_t kDotLines = kVectorWidth == 8 ? 4 : 3;
constexpr std::size_t kDotColumns = kVectorWidth == 8 ? 6 : 4;

template <std::size_t kLines, std::size_t kColumns>
MODELCORE_FUSED void SumProductsTile(double* sums, std::size_t step, const double* const* left,
                                     const double* const* right, std::size_t count)
{
    MODELCORE_FUSES
    constexpr std::size_t kSums = kLines * kColumns;
    constexpr std::size_t kWidth = kVectorWidth;
    constexpr std::size_t kRounded = (kSums + kWidth - 1) / kWidth * kWidth;
    const double* lines[kLines];
    const double* columns[kColumns];
    for (std::size_t i = 0; i < kLines; ++i) lines[i] = left[i];
    for (std::size_t j = 0; j < kColumns; ++j) columns[j] = right[j];
    Vector sum[kRounded]{};
    for (std::size_t t = 0; t < count; t += kVectorWidth) {
        Vector factor[kLines];
#pragma GCC unroll 4
        for (std::size_t i = 0; i < kLines; ++i) factor[i] = VectorAt(lines[i] + t);
#pragma GCC unroll 6
        for (std::size_t j = 0; j < kColumns; ++j) {
            const Vector other = VectorAt(columns[j] + t);
#pragma GCC unroll 4
            for (std::size_t i = 0; i < kLines; ++i) sum[i * kColumns + j] += factor[i] * other;
        }
    }
    double out[kRounded];
#pragma GCC unroll 24
    for (std::size_t s = 0; s < kRounded; s += kWidth) Store(out + s, SumEach(sum + s));
    for (std::size_t i = 0; i < kLines; ++i)
        for (std::size_t j = 0; j < kColumns; ++j) sums[i * step + j] = out[i * kColumns + j];
}

using SumProductsPart = void (*)(double*, std::size_t, const double* const*, const double* const*, std::size_t);

template <std::size_t kLines, std::size_t kColumns>
SumProductsPart PartOf(std::size_t columns)
{
    if constexpr (kColumns == 1)
        return SumProductsTile<kLines, 1>;
    else
        return columns == kColumns ? SumProductsTile<kLines, kColumns> : PartOf<kLines, kColumns - 1>(columns);
}

SumProductsPart PartOf(std::size_t lines, std::size_t columns)
{
    switch (lines) {
    case 1: return PartOf<1, kDotColumns>(columns);
    case 2: return PartOf<2, kDotColumns>(columns);
    case 3: return PartOf<3, kDotColumns>(columns);
    default: return PartOf<kDotLines, kDotColumns>(columns);
    }
}

void SumSliceProducts(double* sums, std::size_t step, const double* const* left, std::size_t nLeft,
                      const double* const* right, std::size_t nRight, const std::size_t* firstLeft, std::size_t count)
{
    for (std::size_t j = 0; j < nRight; j += kDotColumns) {
        const std::size_t columns = nRight - j < kDotColumns ? nRight - j : kDotColumns;
        for (std::size_t i = firstLeft[j]; i < nLeft; i += kDotLines) {
            const std::size_t lines = nLeft - i < kDotLines ? nLeft - i : kDotLines;
            PartOf(lines, columns)(sums + i * step + j, step, left + i, right + j, count);
        }
    }
}

#ifdef MODELCORE_TRANSPOSES
/// Four columns of count rows, a multiple of 4.
void SpreadFourColumns(double* columns, std::size_t columnStep, const double* rows, std::size_t rowStep,
                       std::size_t count)
{
    for (std::size_t t = 0; t + 4 <= count; t += 4) {
        Quad square[4];
        for (std::size_t i = 0; i < 4; ++i) square[i] = QuadAt(rows + (t + i) * rowStep);
        Transpose(square);
        for (std::size_t i = 0; i < 4; ++i) Store(columns + i * columnStep + t, square[i]);
    }
    for (std::size_t t = count / 4 * 4; t < count; ++t)
        for (std::size_t i = 0; i < 4; ++i) columns[i * columnStep + t] = rows[t * rowStep + i];
}
#endif

void SpreadRows(double* columns, std::size_t columnStep, const double* rows, std::size_t rowStep, std::size_t width,
                std::size_t count)
{
    // A few rows at a time: their cache lines stay until every column has taken its element.
    constexpr std::size_t kRows = 16;
    for (std::size_t first = 0; first < count; first += kRows) {
        const std::size_t n = count - first < kRows ? count - first : kRows;
        const double* const from = rows + first * rowStep;
        double* const to = columns + first;
        std::size_t j = 0;
#ifdef MODELCORE_TRANSPOSES
        for (; j + 4 <= width; j += 4) SpreadFourColumns(to + j * columnStep, columnStep, from + j, rowStep, n);
#endif
        for (; j < width; ++j)
            for (std::size_t t = 0; t < n; ++t) to[j * columnStep + t] = from[t * rowStep + j];
    }
}

} // namespace

} // namespace MCMath_930::internal::MODELCORE_KERNEL_SET
