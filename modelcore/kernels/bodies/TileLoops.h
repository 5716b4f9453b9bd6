// Tiles of products in registers, the packing of their operands, and panels of a Cholesky factor.
#pragma once

namespace MCMath_930::internal::MODELCORE_KERNEL_SET {

namespace {

// The tile stays in registers while its terms are added, so each part of it is sized for the registers there are: all
// of it for 16 registers of four doubles or 32 of eight, a quarter for 16 of two. Six sums side by side are enough to
// keep two adders busy: with vectors of eight doubles the same tile does 36.9 GFLOP/s where larger ones do 37.6 and
// vectors of four 21.2 (Cascade Lake, g++ 12).
#ifdef MODELCORE_TRANSPOSES
constexpr int kPartLines = kTileLines;
#else
constexpr int kPartLines = kTileLines / 2;
#endif
constexpr int kPartVectors = kVectorWidth < kTileWidth ? 2 : 1;
constexpr int kPartWidth = kPartVectors * kVectorWidth;
// How many terms ahead the right operand is fetched, which comes from the second cache: where the tile is one part, else
// the other parts find it. Products of order 1000 take 0.95 of the time (Cascade Lake, g++ 12).
constexpr int kTermsAhead = kVectorWidth == kTileWidth ? 8 : 0;

template <int kLeftStep, int kRightStep>
void AddProductPart(double* const* lines, int offset, const double* __restrict left, const double* __restrict right,
                    std::size_t depth)
{
    Vector sum[kPartLines][kPartVectors];
#pragma GCC unroll 6
    for (int r = 0; r < kPartLines; ++r) {
#pragma GCC unroll 2
        for (int v = 0; v < kPartVectors; ++v) sum[r][v] = VectorAt(lines[r] + offset + v * kVectorWidth);
        // The next tile of these lines. Panels are finished square by square, and a square stays in cache.
        if constexpr (kRightStep == kTileWidth) MODELCORE_PREFETCH(lines[r] + offset + kTileWidth);
    }
    for (std::size_t k = 0; k < depth; ++k, left += kLeftStep, right += kRightStep) {
        if constexpr (kTermsAhead > 0 && kRightStep == kTileWidth) MODELCORE_PREFETCH(right + kTermsAhead * kTileWidth);
        Vector factor[kPartVectors];
#pragma GCC unroll 2
        for (int v = 0; v < kPartVectors; ++v) factor[v] = VectorAt(right + v * kVectorWidth);
#pragma GCC unroll 6
        for (int r = 0; r < kPartLines; ++r)
#pragma GCC unroll 2
            for (int v = 0; v < kPartVectors; ++v) sum[r][v] += left[r] * factor[v];
    }
#pragma GCC unroll 6
    for (int r = 0; r < kPartLines; ++r)
#pragma GCC unroll 2
        for (int v = 0; v < kPartVectors; ++v) Store(lines[r] + offset + v * kVectorWidth, sum[r][v]);
}

template <int kLeftStep, int kRightStep>
void AddTile(double* const* lines, const double* left, const double* right, std::size_t depth)
{
    for (int r = 0; r < kTileLines; r += kPartLines)
        for (int offset = 0; offset < kTileWidth; offset += kPartWidth)
            AddProductPart<kLeftStep, kRightStep>(lines + r, offset, left + r, right + offset, depth);
}

void AddProductTile(double* const* lines, const double* left, const double* right, std::size_t depth)
{
    AddTile<kTileLines, kTileWidth>(lines, left, right, depth);
}

void AddPanelTile(double* const* lines, const double* left, const double* right, std::size_t depth)
{
    AddTile<kPanelLines, kPanelLines>(lines, left, right, depth);
}

/// A part of a small product whose operands stand where they are: lines, left lines and right rows are steps apart.
template <int kLines>
void AddSmallPart(double* lines, std::ptrdiff_t lineStep, const double* left, std::ptrdiff_t leftStep,
                  const double* right, std::ptrdiff_t rightStep, std::size_t depth)
{
    Vector sum[std::size_t{kLines}][kPartVectors];
#pragma GCC unroll 6
    for (int r = 0; r < kLines; ++r)
#pragma GCC unroll 2
        for (int v = 0; v < kPartVectors; ++v) sum[r][v] = VectorAt(lines + r * lineStep + v * kVectorWidth);
    for (std::size_t k = 0; k < depth; ++k, right += rightStep) {
        Vector factor[kPartVectors];
#pragma GCC unroll 2
        for (int v = 0; v < kPartVectors; ++v) factor[v] = VectorAt(right + v * kVectorWidth);
        const double* of = left + k;
#pragma GCC unroll 6
        for (int r = 0; r < kLines; ++r, of += leftStep)
#pragma GCC unroll 2
            for (int v = 0; v < kPartVectors; ++v) sum[r][v] += *of * factor[v];
    }
#pragma GCC unroll 6
    for (int r = 0; r < kLines; ++r)
#pragma GCC unroll 2
        for (int v = 0; v < kPartVectors; ++v) Store(lines + r * lineStep + v * kVectorWidth, sum[r][v]);
}

/// Up to kLines lines of a small product; the columns beside the last whole part are a part of their own, filled up.
template <int kLines>
void AddSmallLines(std::size_t lines, double* out, const double* left, std::ptrdiff_t leftStep, std::size_t depth,
                   const double* right, std::size_t cols, const double* rest)
{
    if constexpr (kLines > 1) {
        if (lines < kLines) return AddSmallLines<kLines - 1>(lines, out, left, leftStep, depth, right, cols, rest);
    }
    const auto step = static_cast<std::ptrdiff_t>(cols);
    std::ptrdiff_t w = 0;
    for (; w + kPartWidth <= step; w += kPartWidth)
        AddSmallPart<kLines>(out + w, step, left, leftStep, right + w, step, depth);
    if (w == step) return;
    double edge[std::size_t{kLines} * kPartWidth] = {};
    for (int r = 0; r < kLines; ++r)
        for (std::ptrdiff_t i = w; i < step; ++i) edge[r * kPartWidth + i - w] = out[r * step + i];
    AddSmallPart<kLines>(edge, kPartWidth, left, leftStep, rest, kPartWidth, depth);
    for (int r = 0; r < kLines; ++r)
        for (std::ptrdiff_t i = w; i < step; ++i) out[r * step + i] = edge[r * kPartWidth + i - w];
}

void AddSmallProduct(double* out, const double* left, std::ptrdiff_t leftStep, std::size_t rows, std::size_t depth,
                     const double* right, std::size_t cols)
{
    constexpr std::size_t kTerms = 64;
    constexpr auto kWidth = static_cast<std::size_t>(kPartWidth);
    constexpr auto kLines = static_cast<std::size_t>(kPartLines);
    double rest[kTerms * kWidth];
    const std::size_t whole = cols / kWidth * kWidth;
    for (std::size_t k0 = 0; k0 < depth; k0 += kTerms, left += kTerms, right += kTerms * cols) {
        const std::size_t terms = depth - k0 < kTerms ? depth - k0 : kTerms;
        if (whole < cols)
            for (std::size_t k = 0; k < terms; ++k)
                for (std::size_t i = 0; i < kWidth; ++i)
                    rest[k * kWidth + i] = whole + i < cols ? right[k * cols + whole + i] : 0.0;
        for (std::size_t r = 0; r < rows; r += kLines)
            AddSmallLines<kPartLines>(rows - r, out + r * cols, left + static_cast<std::ptrdiff_t>(r) * leftStep,
                                      leftStep, terms, right, cols, rest);
    }
}

bool PackLines(double* packed, const double* const* lines, std::size_t depth)
{
    std::size_t k = 0;
    bool zero = false;
#ifdef MODELCORE_TRANSPOSES
    static_assert(kTileLines == 6, "four lines and two");
    typedef double Pair __attribute__((vector_size(16)));
    auto zeros = Quad{} != 0.0;
    for (; k + 4 <= depth; k += 4, packed += 4 * kTileLines) {
        Quad v[4];
#pragma GCC unroll 4
        for (int r = 0; r < 4; ++r) {
            v[r] = QuadAt(lines[r] + k);
            zeros |= v[r] == 0.0;
        }
        const Quad a = QuadAt(lines[4] + k);
        const Quad b = QuadAt(lines[5] + k);
        zeros |= a == 0.0;
        zeros |= b == 0.0;
        Transpose(v);
#pragma GCC unroll 4
        for (int q = 0; q < 4; ++q) Store(packed + q * kTileLines, v[q]);
        const Pair pairs[4] = {__builtin_shufflevector(a, b, 0, 4), __builtin_shufflevector(a, b, 1, 5),
                               __builtin_shufflevector(a, b, 2, 6), __builtin_shufflevector(a, b, 3, 7)};
#pragma GCC unroll 4
        for (int q = 0; q < 4; ++q) Store(packed + q * kTileLines + 4, pairs[q]);
    }
    zero = (zeros[0] | zeros[1] | zeros[2] | zeros[3]) != 0;
#endif
    for (; k < depth; ++k, packed += kTileLines)
        for (int r = 0; r < kTileLines; ++r) {
            packed[r] = lines[r][k];
            zero |= packed[r] == 0.0;
        }
    return zero;
}

// The rest of a row is of a width known to the compiler, which then needs no loop for it.
template <int kRest>
void PackDifferencesAndRest(double* __restrict packed, const double* __restrict rows, std::size_t rowStep,
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
void PackWeightedLines(double* __restrict packed, const double* __restrict rows, std::size_t rowStep,
                       const double* __restrict origin, const double* __restrict weights, int count)
{
    for (int k = 0; k < count; ++k, packed += kTileLines, rows += rowStep)
        for (int r = 0; r < kLines; ++r) packed[r] = weights[k] * (rows[r] - origin[r]);
}

void PackDifferences(double* packed, const double* rows, std::size_t rowStep, const double* origin, int width,
                     int count)
{
    static_assert(kTileWidth == 8, "one case a rest");
    switch (width % kTileWidth) {
    case 0: return PackDifferencesAndRest<0>(packed, rows, rowStep, origin, width, count);
    case 1: return PackDifferencesAndRest<1>(packed, rows, rowStep, origin, width, count);
    case 2: return PackDifferencesAndRest<2>(packed, rows, rowStep, origin, width, count);
    case 3: return PackDifferencesAndRest<3>(packed, rows, rowStep, origin, width, count);
    case 4: return PackDifferencesAndRest<4>(packed, rows, rowStep, origin, width, count);
    case 5: return PackDifferencesAndRest<5>(packed, rows, rowStep, origin, width, count);
    case 6: return PackDifferencesAndRest<6>(packed, rows, rowStep, origin, width, count);
    default: return PackDifferencesAndRest<7>(packed, rows, rowStep, origin, width, count);
    }
}

void PackWeightedDifferences(double* packed, const double* rows, std::size_t rowStep, const double* origin,
                             const double* weights, int lines, int count)
{
    static_assert(kTileLines == 6, "one case a number of lines");
    switch (lines) {
    case 1: return PackWeightedLines<1>(packed, rows, rowStep, origin, weights, count);
    case 2: return PackWeightedLines<2>(packed, rows, rowStep, origin, weights, count);
    case 3: return PackWeightedLines<3>(packed, rows, rowStep, origin, weights, count);
    case 4: return PackWeightedLines<4>(packed, rows, rowStep, origin, weights, count);
    case 5: return PackWeightedLines<5>(packed, rows, rowStep, origin, weights, count);
    default: return PackWeightedLines<6>(packed, rows, rowStep, origin, weights, count);
    }
}

void FinishCholeskyPanel(double* panel, const double* sums, const double* own, const double* diagonal, int first,
                         int last)
{
    constexpr int kVectors = kPanelLines / kVectorWidth;
    for (int k = first; k < last; ++k) {
        const double* const factors = diagonal + k * kPanelLines;
        Vector sum[kVectors];
#pragma GCC unroll 12
        for (int q = 0; q < kVectors; ++q) sum[q] = VectorAt(sums + k * kPanelLines + q * kVectorWidth);
        for (int m = 0; m < k; ++m)
#pragma GCC unroll 12
            for (int q = 0; q < kVectors; ++q)
                sum[q] += factors[m] * VectorAt(panel + m * kPanelLines + q * kVectorWidth);
        const double pivot = factors[k];
#pragma GCC unroll 12
        for (int q = 0; q < kVectors; ++q) {
            const int at = k * kPanelLines + q * kVectorWidth;
            Store(panel + at, pivot == 0.0 ? Vector{} : (VectorAt(own + at) - sum[q]) / pivot);
        }
    }
}

} // namespace

} // namespace MCMath_930::internal::MODELCORE_KERNEL_SET
