// The bodies of the kernels. Each source KernelsFor*.cpp includes this file once, with MODELCORE_KERNEL_SET naming its
// namespace, and is compiled with the flags of its instruction set. Nothing here may come from another header: a
// function of the standard library that is emitted with these flags could be the copy that the linker keeps for a
// processor that cannot run it.
#ifndef MODELCORE_KERNEL_SET
#error "KernelBodies.h is included by the KernelsFor*.cpp sources only"
#endif

#include "modelcore/kernels/KernelTable.h"

namespace MCMath_930::internal::MODELCORE_KERNEL_SET {

namespace {

#ifdef __GNUC__
#ifdef __AVX__
typedef double Vector __attribute__((vector_size(32), aligned(8), may_alias));
#else
typedef double Vector __attribute__((vector_size(16), aligned(8), may_alias));
#endif
constexpr int kVectorWidth = static_cast<int>(sizeof(Vector) / sizeof(double));
#endif

void AddScaledBody(double* __restrict y, double c, const double* __restrict x, std::size_t count)
{
    for (std::size_t j = 0; j < count; ++j) y[j] += c * x[j];
}

/// y += factors[t*factorStep] * row t for t in [0, 8), y read and written once.
void AddEightRows(double* __restrict y, const double* __restrict rows, std::ptrdiff_t step, const double* factors,
                  std::ptrdiff_t factorStep, std::size_t length)
{
    double f[8];
    for (int t = 0; t < 8; ++t) f[t] = factors[t * factorStep];
    for (std::size_t j = 0; j < length; ++j) {
        double sum = y[j];
        sum += f[0] * rows[j];
        sum += f[1] * (rows + step)[j];
        sum += f[2] * (rows + 2 * step)[j];
        sum += f[3] * (rows + 3 * step)[j];
        sum += f[4] * (rows + 4 * step)[j];
        sum += f[5] * (rows + 5 * step)[j];
        sum += f[6] * (rows + 6 * step)[j];
        sum += f[7] * (rows + 7 * step)[j];
        y[j] = sum;
    }
}

void AddRowsBody(double* y, const double* rows, std::ptrdiff_t step, std::size_t count, const double* factors,
                 std::ptrdiff_t factorStep, std::size_t length)
{
    for (; count >= 8; count -= 8, rows += 8 * step, factors += 8 * factorStep)
        AddEightRows(y, rows, step, factors, factorStep, length);
    for (; count > 0; --count, rows += step, factors += factorStep) AddScaledBody(y, *factors, rows, length);
}

#ifdef __GNUC__
/// Four rows of the triangle, the first of them row i, which share each load of x.
void AddOuterProductToFourRows(double* first, std::size_t i, const double* factors, const double* __restrict x)
{
    double* const row[4] = {first, first + i + 1, first + 2 * i + 3, first + 3 * i + 6};
    std::size_t j = 0;
    for (; j + kVectorWidth <= i + 1; j += kVectorWidth) {
        const Vector part = *reinterpret_cast<const Vector*>(x + j);
#pragma GCC unroll 4
        for (int q = 0; q < 4; ++q) *reinterpret_cast<Vector*>(row[q] + j) += factors[q] * part;
    }
    for (std::size_t q = 0; q < 4; ++q)
        for (std::size_t k = j; k <= i + q; ++k) row[q][k] += factors[q] * x[k];
}
#endif

// A row of the triangle is read and written once for eight terms; the vectors run along the row.
void AddOuterProductsBody(double* __restrict packed, std::size_t order, const double* __restrict left,
                          const double* __restrict right, std::size_t count)
{
    const auto step = static_cast<std::ptrdiff_t>(order);
    for (; count >= 8; count -= 8, left += 8 * order, right += 8 * order) {
        double* row = packed;
        for (std::size_t i = 0; i < order; row += ++i) AddEightRows(row, right, step, left + i, step, i + 1);
    }
    for (; count > 0; --count, left += order, right += order) {
        double* row = packed;
        std::size_t i = 0;
#ifdef __GNUC__
        for (; i + 4 <= order; row += 4 * i + 10, i += 4) AddOuterProductToFourRows(row, i, left + i, right);
#endif
        for (; i < order; row += ++i) AddScaledBody(row, left[i], right, i + 1);
    }
}

void ScaleBody(double* x, double c, std::size_t count)
{
    for (std::size_t j = 0; j < count; ++j) x[j] *= c;
}

void RotateBody(double* __restrict x, double* __restrict y, double c, double s, std::size_t count)
{
    for (std::size_t j = 0; j < count; ++j) {
        const double turned = c * x[j] + s * y[j];
        y[j] = c * y[j] - s * x[j];
        x[j] = turned;
    }
}

double Magnitude(double x)
{
#ifdef __GNUC__
    return __builtin_fabs(x);
#else
    return x < 0.0 ? -x : x;
#endif
}

double LargestMagnitudeBody(const double* x, std::size_t count)
{
    // Every running maximum starts at the first element: a NaN there stays, a NaN elsewhere is never larger.
    constexpr std::size_t kRunning = 16;
    double largest[kRunning];
    for (std::size_t r = 0; r < kRunning; ++r) largest[r] = Magnitude(x[0]);
    std::size_t i = 0;
    for (; i + kRunning <= count; i += kRunning)
        for (std::size_t r = 0; r < kRunning; ++r)
            largest[r] = Magnitude(x[i + r]) > largest[r] ? Magnitude(x[i + r]) : largest[r];
    for (; i < count; ++i) largest[0] = Magnitude(x[i]) > largest[0] ? Magnitude(x[i]) : largest[0];
    for (std::size_t r = 1; r < kRunning; ++r) largest[0] = largest[r] > largest[0] ? largest[r] : largest[0];
    return largest[0];
}

void AddOuterProductBody(double* __restrict c, std::ptrdiff_t columnStep, std::size_t columns, const double* factors,
                         std::ptrdiff_t factorStep, const double* __restrict x, std::size_t count)
{
    for (std::size_t j = 0; j < columns; ++j, c += columnStep, factors += factorStep)
        if (*factors != 0.0) AddScaledBody(c, *factors, x, count);
}

// The tile stays in registers while its terms are added, so each part of it is sized for the registers there are: all
// of it for 16 registers of four doubles, a quarter for 16 of two.
#ifdef __GNUC__
#ifdef __AVX__
constexpr int kPartLines = kTileLines;
#else
constexpr int kPartLines = kTileLines / 2;
#endif
constexpr int kPartWidth = 2 * kVectorWidth;

template <int kLeftStep, int kRightStep>
void AddProductPart(double* const* lines, int offset, const double* __restrict left, const double* __restrict right,
                    std::size_t depth)
{
    Vector sum[kPartLines][2];
#pragma GCC unroll 6
    for (int r = 0; r < kPartLines; ++r) {
        sum[r][0] = *reinterpret_cast<const Vector*>(lines[r] + offset);
        sum[r][1] = *reinterpret_cast<const Vector*>(lines[r] + offset + kVectorWidth);
        // The next tile of these lines. Panels are finished square by square, and a square stays in cache.
        if constexpr (kRightStep == kTileWidth) __builtin_prefetch(lines[r] + offset + kTileWidth);
    }
    for (std::size_t k = 0; k < depth; ++k, left += kLeftStep, right += kRightStep) {
        const Vector first = *reinterpret_cast<const Vector*>(right);
        const Vector second = *reinterpret_cast<const Vector*>(right + kVectorWidth);
#pragma GCC unroll 6
        for (int r = 0; r < kPartLines; ++r) {
            sum[r][0] += left[r] * first;
            sum[r][1] += left[r] * second;
        }
    }
#pragma GCC unroll 6
    for (int r = 0; r < kPartLines; ++r) {
        *reinterpret_cast<Vector*>(lines[r] + offset) = sum[r][0];
        *reinterpret_cast<Vector*>(lines[r] + offset + kVectorWidth) = sum[r][1];
    }
}
#else
constexpr int kPartLines = 1;
constexpr int kPartWidth = kTileWidth;

template <int kLeftStep, int kRightStep>
void AddProductPart(double* const* lines, int offset, const double* left, const double* right, std::size_t depth)
{
    for (std::size_t k = 0; k < depth; ++k, left += kLeftStep, right += kRightStep)
        for (int w = 0; w < kPartWidth; ++w) lines[0][offset + w] += left[0] * right[w];
}
#endif

template <int kLeftStep, int kRightStep>
void AddProductTileBody(double* const* lines, const double* left, const double* right, std::size_t depth)
{
    for (int r = 0; r < kTileLines; r += kPartLines)
        for (int offset = 0; offset < kTileWidth; offset += kPartWidth)
            AddProductPart<kLeftStep, kRightStep>(lines + r, offset, left + r, right + offset, depth);
}

void StepMeansBody(double* __restrict deviations, double* __restrict means, const double* __restrict x, double share,
                   std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i) {
        deviations[i] = x[i] - means[i];
        means[i] += deviations[i] * share;
    }
}

// The rest of a row is of a width known to the compiler, which then needs no loop for it.
template <int kRest>
void PackDifferencesBody(double* __restrict packed, const double* __restrict rows, std::size_t rowStep,
                         const double* __restrict origin, int width, int count)
{
    const std::ptrdiff_t strip = static_cast<std::ptrdiff_t>(kTileWidth) * count;
    for (int k = 0; k < count; ++k, packed += kTileWidth, rows += rowStep) {
        double* to = packed;
        int w = 0;
        for (; w + kTileWidth <= width; w += kTileWidth, to += strip)
            for (int i = 0; i < kTileWidth; ++i) to[i] = rows[w + i] - origin[w + i];
        for (int i = 0; i < kRest; ++i) to[i] = rows[w + i] - origin[w + i];
    }
}

template <int kLines>
void PackWeightedDifferencesBody(double* __restrict packed, const double* __restrict rows, std::size_t rowStep,
                                 const double* __restrict origin, const double* __restrict weights, int count)
{
    for (int k = 0; k < count; ++k, packed += kTileLines, rows += rowStep)
        for (int r = 0; r < kLines; ++r) packed[r] = weights[k] * (rows[r] - origin[r]);
}

void ChoosePackDifferences(double* packed, const double* rows, std::size_t rowStep, const double* origin, int width,
                           int count)
{
    static_assert(kTileWidth == 8, "one case a rest");
    switch (width % kTileWidth) {
    case 0: return PackDifferencesBody<0>(packed, rows, rowStep, origin, width, count);
    case 1: return PackDifferencesBody<1>(packed, rows, rowStep, origin, width, count);
    case 2: return PackDifferencesBody<2>(packed, rows, rowStep, origin, width, count);
    case 3: return PackDifferencesBody<3>(packed, rows, rowStep, origin, width, count);
    case 4: return PackDifferencesBody<4>(packed, rows, rowStep, origin, width, count);
    case 5: return PackDifferencesBody<5>(packed, rows, rowStep, origin, width, count);
    case 6: return PackDifferencesBody<6>(packed, rows, rowStep, origin, width, count);
    default: return PackDifferencesBody<7>(packed, rows, rowStep, origin, width, count);
    }
}

void ChoosePackWeightedDifferences(double* packed, const double* rows, std::size_t rowStep, const double* origin,
                                   const double* weights, int lines, int count)
{
    static_assert(kTileLines == 6, "one case a number of lines");
    switch (lines) {
    case 1: return PackWeightedDifferencesBody<1>(packed, rows, rowStep, origin, weights, count);
    case 2: return PackWeightedDifferencesBody<2>(packed, rows, rowStep, origin, weights, count);
    case 3: return PackWeightedDifferencesBody<3>(packed, rows, rowStep, origin, weights, count);
    case 4: return PackWeightedDifferencesBody<4>(packed, rows, rowStep, origin, weights, count);
    case 5: return PackWeightedDifferencesBody<5>(packed, rows, rowStep, origin, weights, count);
    default: return PackWeightedDifferencesBody<6>(packed, rows, rowStep, origin, weights, count);
    }
}

// y is read and written once for four columns.
void AddColumnsBody(double* __restrict y, const double* __restrict c, std::ptrdiff_t columnStep, std::size_t columns,
                    const double* factors, std::size_t count)
{
    std::size_t j = 0;
    while (j < columns) {
        const double* const f = factors + j;
        if (j + 4 <= columns && f[0] != 0.0 && f[1] != 0.0 && f[2] != 0.0 && f[3] != 0.0) {
            for (std::size_t i = 0; i < count; ++i) {
                double sum = y[i];
                sum += f[0] * c[i];
                sum += f[1] * (c + columnStep)[i];
                sum += f[2] * (c + 2 * columnStep)[i];
                sum += f[3] * (c + 3 * columnStep)[i];
                y[i] = sum;
            }
            j += 4;
            c += 4 * columnStep;
        } else {
            if (*f != 0.0) AddScaledBody(y, *f, c, count);
            ++j;
            c += columnStep;
        }
    }
}

void ApplyUnitLowerToColumn(double* column, const double* lower, std::ptrdiff_t lowerStep, int order)
{
    for (int k = 0; k < order - 1; ++k, lower += lowerStep) {
        const double t = column[k];
        if (t == 0.0) continue;
        for (int i = k + 1; i < order; ++i) column[i] += t * lower[i];
    }
}

#if defined(__GNUC__) && defined(__AVX__)
constexpr int kTriangle = 8;

/// Element i of vector j becomes element j of vector i.
void Transpose(Vector* v)
{
    const Vector a = __builtin_shufflevector(v[0], v[1], 0, 4, 2, 6);
    const Vector b = __builtin_shufflevector(v[0], v[1], 1, 5, 3, 7);
    const Vector c = __builtin_shufflevector(v[2], v[3], 0, 4, 2, 6);
    const Vector d = __builtin_shufflevector(v[2], v[3], 1, 5, 3, 7);
    v[0] = __builtin_shufflevector(a, c, 0, 1, 4, 5);
    v[1] = __builtin_shufflevector(b, d, 0, 1, 4, 5);
    v[2] = __builtin_shufflevector(a, c, 2, 3, 6, 7);
    v[3] = __builtin_shufflevector(b, d, 2, 3, 6, 7);
}

/// Four columns of kTriangle rows side by side.
/// @return false, and nothing done, when a factor is 0
bool ApplyUnitLowerToFour(double* c, std::ptrdiff_t columnStep, const double* lower, std::ptrdiff_t lowerStep)
{
    Vector row[kTriangle];
#pragma GCC unroll 4
    for (int j = 0; j < 4; ++j) {
        row[j] = *reinterpret_cast<const Vector*>(c + j * columnStep);
        row[j + 4] = *reinterpret_cast<const Vector*>(c + j * columnStep + 4);
    }
    Transpose(row);
    Transpose(row + 4);
    auto zero = row[0] == 0.0;
#pragma GCC unroll 8
    for (int k = 0; k < kTriangle - 1; ++k) {
        zero |= row[k] == 0.0;
#pragma GCC unroll 8
        for (int i = k + 1; i < kTriangle; ++i) row[i] += lower[k * lowerStep + i] * row[k];
    }
    if ((zero[0] | zero[1] | zero[2] | zero[3]) != 0) return false;
    Transpose(row);
    Transpose(row + 4);
#pragma GCC unroll 4
    for (int j = 0; j < 4; ++j) {
        *reinterpret_cast<Vector*>(c + j * columnStep) = row[j];
        *reinterpret_cast<Vector*>(c + j * columnStep + 4) = row[j + 4];
    }
    return true;
}
#endif

void ApplyUnitLowerBody(double* c, std::ptrdiff_t columnStep, std::size_t columns, const double* lower,
                        std::ptrdiff_t lowerStep, int order)
{
    std::size_t j = 0;
#if defined(__GNUC__) && defined(__AVX__)
    if (order == kTriangle)
        for (; j + 4 <= columns; j += 4, c += 4 * columnStep)
            if (!ApplyUnitLowerToFour(c, columnStep, lower, lowerStep))
                for (int q = 0; q < 4; ++q) ApplyUnitLowerToColumn(c + q * columnStep, lower, lowerStep, order);
#endif
    for (; j < columns; ++j, c += columnStep) ApplyUnitLowerToColumn(c, lower, lowerStep, order);
}

#ifdef __GNUC__
void FinishCholeskyPanelBody(double* panel, const double* sums, const double* own, const double* diagonal, int first,
                             int last)
{
    constexpr int kVectors = kPanelLines / kVectorWidth;
    for (int k = first; k < last; ++k) {
        const double* const factors = diagonal + k * kPanelLines;
        Vector sum[kVectors];
#pragma GCC unroll 12
        for (int q = 0; q < kVectors; ++q)
            sum[q] = *reinterpret_cast<const Vector*>(sums + k * kPanelLines + q * kVectorWidth);
        for (int m = 0; m < k; ++m)
#pragma GCC unroll 12
            for (int q = 0; q < kVectors; ++q)
                sum[q] += factors[m] * *reinterpret_cast<const Vector*>(panel + m * kPanelLines + q * kVectorWidth);
        const double pivot = factors[k];
#pragma GCC unroll 12
        for (int q = 0; q < kVectors; ++q) {
            const int at = k * kPanelLines + q * kVectorWidth;
            *reinterpret_cast<Vector*>(panel + at) =
                pivot == 0.0 ? Vector{} : (*reinterpret_cast<const Vector*>(own + at) - sum[q]) / pivot;
        }
    }
}
#else
void FinishCholeskyPanelBody(double* panel, const double* sums, const double* own, const double* diagonal, int first,
                             int last)
{
    for (int k = first; k < last; ++k) {
        const double* const factors = diagonal + k * kPanelLines;
        for (int r = 0; r < kPanelLines; ++r) {
            double sum = sums[k * kPanelLines + r];
            for (int m = 0; m < k; ++m) sum += factors[m] * panel[m * kPanelLines + r];
            panel[k * kPanelLines + r] = factors[k] == 0.0 ? 0.0 : (own[k * kPanelLines + r] - sum) / factors[k];
        }
    }
}
#endif

#ifdef __GNUC__
constexpr int kStripVectors = 4;

void ReflectStripPart(double* strip, const double* v, const double* factors, const double* next, double* dots,
                      std::size_t rows)
{
    Vector factor[kStripVectors] = {};
    Vector dot[kStripVectors] = {};
#pragma GCC unroll 4
    for (int q = 0; q < kStripVectors; ++q) {
        if (v != nullptr) factor[q] = *reinterpret_cast<const Vector*>(factors + q * kVectorWidth);
        if (next != nullptr) dot[q] = *reinterpret_cast<const Vector*>(dots + q * kVectorWidth);
    }
    if (v == nullptr) {
        for (std::size_t i = 0; i < rows; ++i, strip += kStripWidth)
#pragma GCC unroll 4
            for (int q = 0; q < kStripVectors; ++q)
                dot[q] += next[i] * *reinterpret_cast<const Vector*>(strip + q * kVectorWidth);
    } else if (next == nullptr) {
        for (std::size_t i = 0; i < rows; ++i, strip += kStripWidth)
#pragma GCC unroll 4
            for (int q = 0; q < kStripVectors; ++q)
                *reinterpret_cast<Vector*>(strip + q * kVectorWidth) += v[i] * factor[q];
    } else {
        for (std::size_t i = 0; i < rows; ++i, strip += kStripWidth)
#pragma GCC unroll 4
            for (int q = 0; q < kStripVectors; ++q) {
                Vector* const at = reinterpret_cast<Vector*>(strip + q * kVectorWidth);
                const Vector row = *at + v[i] * factor[q];
                *at = row;
                dot[q] += next[i] * row;
            }
    }
    if (next != nullptr)
#pragma GCC unroll 4
        for (int q = 0; q < kStripVectors; ++q) *reinterpret_cast<Vector*>(dots + q * kVectorWidth) = dot[q];
}
#else
constexpr int kStripVectors = 1;
constexpr int kVectorWidth = 1;

void ReflectStripPart(double* strip, const double* v, const double* factors, const double* next, double* dots,
                      std::size_t rows)
{
    for (std::size_t i = 0; i < rows; ++i, strip += kStripWidth) {
        if (v != nullptr) *strip += v[i] * *factors;
        if (next != nullptr) *dots += next[i] * *strip;
    }
}
#endif

#ifdef __GNUC__
void RotateStripPart(double* strip, const double* c, const double* s, std::size_t count)
{
    Vector kept[kStripVectors]; // column k, still to be turned with the one after it
#pragma GCC unroll 4
    for (int q = 0; q < kStripVectors; ++q) kept[q] = *reinterpret_cast<const Vector*>(strip + q * kVectorWidth);
    for (std::size_t k = 0; k < count; ++k, strip += kStripWidth)
#pragma GCC unroll 4
        for (int q = 0; q < kStripVectors; ++q) {
            const Vector next = *reinterpret_cast<const Vector*>(strip + kStripWidth + q * kVectorWidth);
            *reinterpret_cast<Vector*>(strip + q * kVectorWidth) = c[k] * kept[q] + s[k] * next;
            kept[q] = c[k] * next - s[k] * kept[q];
        }
#pragma GCC unroll 4
    for (int q = 0; q < kStripVectors; ++q) *reinterpret_cast<Vector*>(strip + q * kVectorWidth) = kept[q];
}
#else
void RotateStripPart(double* strip, const double* c, const double* s, std::size_t count)
{
    for (std::size_t k = 0; k < count; ++k, strip += kStripWidth) {
        const double turned = c[k] * strip[0] + s[k] * strip[kStripWidth];
        strip[kStripWidth] = c[k] * strip[kStripWidth] - s[k] * strip[0];
        strip[0] = turned;
    }
}
#endif

#ifdef __GNUC__
void AddStripColumnsPart(double* y, const double* strip, const double* factors, std::size_t columns)
{
    Vector sum[kStripVectors];
#pragma GCC unroll 4
    for (int q = 0; q < kStripVectors; ++q) sum[q] = *reinterpret_cast<const Vector*>(y + q * kVectorWidth);
    for (std::size_t j = 0; j < columns; ++j, strip += kStripWidth) {
        const double factor = factors[j];
        if (factor == 0.0) continue;
#pragma GCC unroll 4
        for (int q = 0; q < kStripVectors; ++q)
            sum[q] += factor * *reinterpret_cast<const Vector*>(strip + q * kVectorWidth);
    }
#pragma GCC unroll 4
    for (int q = 0; q < kStripVectors; ++q) *reinterpret_cast<Vector*>(y + q * kVectorWidth) = sum[q];
}
#else
void AddStripColumnsPart(double* y, const double* strip, const double* factors, std::size_t columns)
{
    for (std::size_t j = 0; j < columns; ++j, strip += kStripWidth)
        if (factors[j] != 0.0) *y += factors[j] * *strip;
}
#endif

void AddStripColumnsBody(double* y, const double* strip, const double* factors, std::size_t columns)
{
    for (int j = 0; j < kStripWidth; j += kStripVectors * kVectorWidth)
        AddStripColumnsPart(y + j, strip + j, factors, columns);
}

void RotateStripBody(double* strip, const double* c, const double* s, std::size_t count)
{
    for (int j = 0; j < kStripWidth; j += kStripVectors * kVectorWidth) RotateStripPart(strip + j, c, s, count);
}

void ReflectStripBody(double* strip, const double* v, const double* factors, const double* next, double* dots,
                      std::size_t rows)
{
    constexpr int kPart = kStripVectors * kVectorWidth;
    for (int j = 0; j < kStripWidth; j += kPart)
        ReflectStripPart(strip + j, v, v != nullptr ? factors + j : nullptr, next, next != nullptr ? dots + j : nullptr,
                         rows);
}

void DotColumnsBody(double* dots, const double* c, std::ptrdiff_t columnStep, std::size_t columns, const double* x,
                    std::size_t count)
{
    const auto rows = static_cast<std::ptrdiff_t>(count);
    std::size_t j = 0;
#if defined(__GNUC__) && defined(__AVX__)
    for (; j + 8 <= columns; j += 8, c += 8 * columnStep) {
        Vector first = {};
        Vector second = {};
        std::ptrdiff_t i = 0;
        for (; i + 4 <= rows; i += 4) {
            Vector part[8];
#pragma GCC unroll 8
            for (int q = 0; q < 8; ++q) part[q] = *reinterpret_cast<const Vector*>(c + q * columnStep + i);
            Transpose(part);
            Transpose(part + 4);
#pragma GCC unroll 4
            for (int q = 0; q < 4; ++q) {
                first += x[i + q] * part[q];
                second += x[i + q] * part[q + 4];
            }
        }
        *reinterpret_cast<Vector*>(dots + j) = first;
        *reinterpret_cast<Vector*>(dots + j + 4) = second;
        for (; i < rows; ++i)
            for (int q = 0; q < 8; ++q) dots[j + static_cast<std::size_t>(q)] += x[i] * c[q * columnStep + i];
    }
#endif
    for (; j + 4 <= columns; j += 4, c += 4 * columnStep) {
        double sum[4] = {};
        for (std::ptrdiff_t i = 0; i < rows; ++i)
            for (int q = 0; q < 4; ++q) sum[q] += x[i] * c[q * columnStep + i];
        for (int q = 0; q < 4; ++q) dots[j + static_cast<std::size_t>(q)] = sum[q];
    }
    for (; j < columns; ++j, c += columnStep) {
        double sum = 0.0;
        for (std::ptrdiff_t i = 0; i < rows; ++i) sum += x[i] * c[i];
        dots[j] = sum;
    }
}

std::uint32_t Twisted(std::uint32_t upper, std::uint32_t lower, std::uint32_t far)
{
    const std::uint32_t y = (upper & 0x80000000u) | (lower & 0x7FFFFFFFu);
    return far ^ (y >> 1) ^ ((0u - (y & 1u)) & 0x9908B0DFu);
}

std::uint32_t Tempered(std::uint32_t y)
{
    y ^= y >> 11;
    y ^= (y << 7) & 0x9D2C5680u;
    y ^= (y << 15) & 0xEFC60000u;
    return y ^ (y >> 18);
}

// The word kTwisterMiddle places on is, for the later words, 227 places back in the block just made: farther than any
// vector reaches.
void TwistBody(std::uint32_t* __restrict words, std::uint32_t* __restrict tempered)
{
    constexpr std::size_t wrap = kTwisterWords - kTwisterMiddle;
    for (std::size_t k = 0; k < wrap; ++k) {
        const std::uint32_t made = Twisted(words[k], words[k + 1], words[k + kTwisterMiddle]);
        words[k] = made;
        tempered[k] = Tempered(made);
    }
    for (std::size_t k = wrap; k < kTwisterWords - 1; ++k) {
        const std::uint32_t made = Twisted(words[k], words[k + 1], words[k - wrap]);
        words[k] = made;
        tempered[k] = Tempered(made);
    }
    constexpr std::size_t last = kTwisterWords - 1;
    words[last] = Twisted(words[last], words[0], words[kTwisterMiddle - 1]);
    tempered[last] = Tempered(words[last]);
}

template <bool kUpdate>
struct TriangleElement {
    using Type = const double;
};
template <>
struct TriangleElement<true> {
    using Type = double;
};

/// A pass over a packed lower triangle: the update by u and q, the product with v, or both.
template <bool kUpdate, bool kMultiply>
struct TrianglePass {
    using Element = typename TriangleElement<kUpdate>::Type;

    Element* packed;
    const double* u;
    const double* q;
    const double* v;
    double* product;

    Element* Row(std::size_t j) const { return packed + j * (j + 1) / 2; }

    double Updated(double x, std::size_t j, std::size_t k) const
    {
        if constexpr (!kUpdate) return x;
        x -= u[j] * q[k];
        return x - q[j] * u[k];
    }

    /// Elements from..j of row j, whose elements before have added up to sum.
    void FinishRow(std::size_t j, std::size_t from, double sum) const
    {
        Element* const row = Row(j);
        for (std::size_t k = from; k <= j; ++k) {
            const double x = Updated(row[k], j, k);
            if constexpr (kUpdate) row[k] = x;
            if constexpr (!kMultiply) continue;
            sum += x * v[k];
            if (k < j) product[k] += x * v[j];
        }
        if constexpr (kMultiply) product[j] = sum;
    }

    void Run(std::size_t order) const
    {
        std::size_t j = 0;
#if defined(__GNUC__) && defined(__AVX__)
        for (; j + 8 <= order; j += 8) {
            double sums[8] = {};
            Columns<2>(j, 0, j, sums);
            FinishRows(j, sums);
            Columns<1>(j + 4, j, j + 4, sums + 4);
            FinishRows(j + 4, sums + 4);
        }
        for (; j + 4 <= order; j += 4) {
            double sums[4] = {};
            Columns<1>(j, 0, j, sums);
            FinishRows(j, sums);
        }
#endif
        for (; j < order; ++j) FinishRow(j, 0, 0.0);
    }

#if defined(__GNUC__) && defined(__AVX__)
    void FinishRows(std::size_t j, const double* sums) const
    {
        for (std::size_t r = 0; r < 4; ++r) FinishRow(j + r, j, sums[r]);
    }

    /// Columns from..to-1 of kGroups times four rows from row j on. The terms of a row are turned so that the sums of
    /// four rows grow side by side, each in the order of its columns.
    template <std::size_t kGroups>
    void Columns(std::size_t j, std::size_t from, std::size_t to, double* sums) const
    {
        Element* row[4 * kGroups];
        for (std::size_t r = 0; r < 4 * kGroups; ++r) row[r] = Row(j + r);
        Vector sum[kGroups];
        for (std::size_t g = 0; g < kGroups; ++g) sum[g] = *reinterpret_cast<const Vector*>(sums + 4 * g);
        for (std::size_t k = from; k < to; k += 4) {
            Vector uk = {}, qk = {}, vk = {}, below = {};
            if constexpr (kUpdate) {
                uk = *reinterpret_cast<const Vector*>(u + k);
                qk = *reinterpret_cast<const Vector*>(q + k);
            }
            if constexpr (kMultiply) {
                vk = *reinterpret_cast<const Vector*>(v + k);
                below = *reinterpret_cast<const Vector*>(product + k);
            }
#pragma GCC unroll 2
            for (std::size_t g = 0; g < kGroups; ++g) {
                Vector term[4];
#pragma GCC unroll 4
                for (std::size_t r = 0; r < 4; ++r) {
                    const std::size_t i = j + 4 * g + r;
                    Element* const at = row[4 * g + r] + k;
                    Vector x = *reinterpret_cast<const Vector*>(at);
                    if constexpr (kUpdate) {
                        x -= u[i] * qk;
                        x -= q[i] * uk;
                        *reinterpret_cast<Vector*>(at) = x;
                    }
                    if constexpr (kMultiply) {
                        below += x * v[i];
                        term[r] = x * vk;
                    }
                }
                if constexpr (!kMultiply) continue;
                Transpose(term);
#pragma GCC unroll 4
                for (int r = 0; r < 4; ++r) sum[g] += term[r];
            }
            if constexpr (kMultiply) *reinterpret_cast<Vector*>(product + k) = below;
        }
        for (std::size_t g = 0; g < kGroups; ++g) *reinterpret_cast<Vector*>(sums + 4 * g) = sum[g];
    }
#endif
};

void UpdateAndMultiplyBody(double* packed, std::size_t order, const double* u, const double* q, const double* v,
                           double* product)
{
    if (v == nullptr)
        TrianglePass<true, false>{packed, u, q, v, product}.Run(order);
    else
        TrianglePass<true, true>{packed, u, q, v, product}.Run(order);
}

void MultiplyPackedBody(const double* packed, std::size_t order, const double* v, double* product)
{
    TrianglePass<false, true>{packed, nullptr, nullptr, v, product}.Run(order);
}

} // namespace

extern const KernelTable kTable;
const KernelTable kTable = {
    .name = MODELCORE_KERNEL_NAME,
    .addScaled = AddScaledBody,
    .addOuterProducts = AddOuterProductsBody,
    .addRows = AddRowsBody,
    .scale = ScaleBody,
    .rotate = RotateBody,
    .largestMagnitude = LargestMagnitudeBody,
    .addProductTile = AddProductTileBody<kTileLines, kTileWidth>,
    .addOuterProduct = AddOuterProductBody,
    .addColumns = AddColumnsBody,
    .applyUnitLower = ApplyUnitLowerBody,
    .addPanelTile = AddProductTileBody<kPanelLines, kPanelLines>,
    .finishCholeskyPanel = FinishCholeskyPanelBody,
    .reflectStrip = ReflectStripBody,
    .rotateStrip = RotateStripBody,
    .addStripColumns = AddStripColumnsBody,
    .stepMeans = StepMeansBody,
    .packDifferences = ChoosePackDifferences,
    .packWeightedDifferences = ChoosePackWeightedDifferences,
    .updateAndMultiply = UpdateAndMultiplyBody,
    .dotColumns = DotColumnsBody,
    .twist = TwistBody,
    .multiplyPacked = MultiplyPackedBody,
};

} // namespace MCMath_930::internal::MODELCORE_KERNEL_SET
