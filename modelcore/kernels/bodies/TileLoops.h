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

/// Where the operands of a small product stand; KernelList.h says what the steps are.
struct SmallOperands {
    double* out;
    std::ptrdiff_t outStep;
    const double* left;
    std::ptrdiff_t lineStep;
    std::ptrdiff_t termStep;
    const double* right;
    std::ptrdiff_t rightStep;
    std::size_t depth;
    bool fresh;
};

/// kLines lines from line `first` on, kVectors vectors of each from element `w` on. The last of the vectors starts
/// `last` elements after the first one and may overlap its neighbour: what both form are the same sums.
template <class AnyVector, int kVectors, int kLines>
void SumSmallPart(const SmallOperands& of, std::ptrdiff_t first, std::ptrdiff_t w, std::ptrdiff_t last)
{
    constexpr auto kWidth = static_cast<std::ptrdiff_t>(sizeof(AnyVector) / sizeof(double));
    double* const out = of.out + first * of.outStep + w;
    const double* right = of.right + w;
    const double* left = of.left + first * of.lineStep;
    const auto offset = [last](int v) { return v + 1 == kVectors ? last : v * kWidth; };
    AnyVector sum[std::size_t{kLines}][std::size_t{kVectors}];
#pragma GCC unroll 12
    for (int r = 0; r < kLines; ++r)
#pragma GCC unroll 3
        for (int v = 0; v < kVectors; ++v) {
            sum[r][v] = AnyVector{};
            if (!of.fresh) std::memcpy(&sum[r][v], out + r * of.outStep + offset(v), sizeof(AnyVector));
        }
    const std::ptrdiff_t lineStep = of.lineStep;
    const std::ptrdiff_t termStep = of.termStep;
    const std::ptrdiff_t rightStep = of.rightStep;
    for (std::size_t k = of.depth; k > 0; --k, left += termStep, right += rightStep) {
        AnyVector factor[std::size_t{kVectors}];
#pragma GCC unroll 3
        for (int v = 0; v < kVectors; ++v) std::memcpy(&factor[v], right + offset(v), sizeof(AnyVector));
        const double* line = left;
#pragma GCC unroll 12
        for (int r = 0; r < kLines; ++r, line += lineStep)
#pragma GCC unroll 3
            for (int v = 0; v < kVectors; ++v) sum[r][v] += *line * factor[v];
    }
#pragma GCC unroll 12
    for (int r = 0; r < kLines; ++r)
#pragma GCC unroll 3
        for (int v = 0; v < kVectors; ++v) Store(out + r * of.outStep + offset(v), sum[r][v]);
}

template <class AnyVector, int kVectors, int kLines>
void SumSmallLines(const SmallOperands& of, int lines, std::ptrdiff_t first, std::ptrdiff_t w, std::ptrdiff_t last)
{
    if constexpr (kLines > 1)
        if (lines < kLines) return SumSmallLines<AnyVector, kVectors, kLines - 1>(of, lines, first, w, last);
    SumSmallPart<AnyVector, kVectors, kLines>(of, first, w, last);
}

/// All lines of a strip, in groups of nearly equal size, so that none is left with too few sums to keep the adders busy.
template <class AnyVector, int kVectors, int kMostLines>
void SumSmallStrip(const SmallOperands& of, std::ptrdiff_t rows, std::ptrdiff_t w, std::ptrdiff_t last)
{
    const std::ptrdiff_t groups = (rows + kMostLines - 1) / kMostLines;
    std::ptrdiff_t first = 0;
    for (std::ptrdiff_t left = groups; left > 0; --left) {
        const auto lines = static_cast<int>((rows - first + left - 1) / left);
        SumSmallLines<AnyVector, kVectors, kMostLines>(of, lines, first, w, last);
        first += lines;
    }
}

// The lines whose sums the registers hold beside their factors, 32 of them or 16: the more, the fewer parts are begun.
constexpr int kLinesOfOne = kVectorWidth == 8 ? 12 : 6;
constexpr int kLinesOfTwo = kVectorWidth == 8 ? 10 : 6;
constexpr int kLinesOfThree = kVectorWidth == 8 ? 8 : 3;

void AddSmallProduct(double* out, std::ptrdiff_t outStep, const double* left, std::ptrdiff_t lineStep,
                     std::ptrdiff_t termStep, std::size_t rows, std::size_t depth, const double* right,
                     std::ptrdiff_t rightStep, std::size_t cols, bool fresh)
{
    constexpr std::ptrdiff_t kWidth = kVectorWidth;
    if (depth == 0) { // there may be no operands to point to
        for (std::size_t r = 0; fresh && r < rows; ++r)
            for (std::size_t j = 0; j < cols; ++j)
                out[static_cast<std::ptrdiff_t>(r) * outStep + static_cast<std::ptrdiff_t>(j)] = 0.0;
        return;
    }
    const SmallOperands of{out, outStep, left, lineStep, termStep, right, rightStep, depth, fresh};
    const auto lines = static_cast<std::ptrdiff_t>(rows);
    const auto width = static_cast<std::ptrdiff_t>(cols);
    if (width >= kWidth) {
        std::ptrdiff_t w = 0;
        for (; width - w > 3 * kWidth; w += 2 * kWidth) SumSmallStrip<Vector, 2, kLinesOfTwo>(of, lines, w, kWidth);
        const std::ptrdiff_t last = width - w - kWidth;
        if (last > kWidth) return SumSmallStrip<Vector, 3, kLinesOfThree>(of, lines, w, last);
        if (last > 0) return SumSmallStrip<Vector, 2, kLinesOfTwo>(of, lines, w, last);
        return SumSmallStrip<Vector, 1, kLinesOfOne>(of, lines, w, 0);
    }
#ifdef MODELCORE_TRANSPOSES
    if constexpr (kWidth > 4) {
        if (width > 4) return SumSmallStrip<Quad, 2, 6>(of, lines, 0, width - 4);
        if (width == 4) return SumSmallStrip<Quad, 1, 6>(of, lines, 0, 0);
    }
#endif
    for (std::ptrdiff_t w = 0; w < width; ++w) SumSmallStrip<double, 1, 6>(of, lines, w, 0);
}

void StoreSmallTriangle(double* packed, std::size_t order, const double* left, std::ptrdiff_t lineStep,
                        std::ptrdiff_t termStep, std::size_t depth, const double* right, std::ptrdiff_t rightStep)
{
    constexpr std::size_t kLines = 12; // few, since they are formed as long as the last of them
    constexpr std::size_t kWidth = kVectorWidth;
    constexpr std::size_t kLength = kMostTriangleRows;
    static_assert(kLength % kWidth == 0, "lines are read by whole vectors");
    double lines[kLines * kLength];
    double* const end = packed + order * (order + 1) / 2;
    for (std::size_t first = 0; first < order; first += kLines) {
        const std::size_t last = first + kLines < order ? first + kLines : order;
        const double* const from = depth == 0 ? left : left + static_cast<std::ptrdiff_t>(first) * lineStep;
        AddSmallProduct(lines, kLength, from, lineStep, termStep, last - first, depth, right, rightStep, last, true);
        // What a vector holds beside the row falls on the rows that come after it.
        const double* line = lines;
        for (std::size_t i = first; i < last; packed += ++i, line += kLength) {
            std::size_t j = 0;
            for (; j <= i && packed + j + kWidth <= end; j += kWidth) Store(packed + j, VectorAt(line + j));
            for (; j <= i; ++j) packed[j] = line[j];
        }
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

/// Rows m .. order-1 of the sums of a square += kTerms products of finished rows, in kVectors vectors of columns from
/// column `first` on, as far as they reach the diagonal: vector q belongs to all rows before its end.
template <int kVectors, int kTerms, int kSkipped>
void AddSquareRows(double* sums, const double* rows, std::ptrdiff_t step,
                   const Vector (&parts)[static_cast<std::size_t>(kTerms)][static_cast<std::size_t>(kVectors)],
                   std::ptrdiff_t first, std::ptrdiff_t m, std::ptrdiff_t order)
{
    const std::ptrdiff_t reach = first + (kSkipped + 1) * kVectorWidth;
    const std::ptrdiff_t end = reach < order ? reach : order;
    for (; m < end; ++m)
#pragma GCC unroll 3
        for (int q = kSkipped; q < kVectors; ++q) {
            double* const at = sums + m * step + first + q * kVectorWidth;
            Vector sum = VectorAt(at);
#pragma GCC unroll 2
            for (int t = 0; t < kTerms; ++t) sum += rows[t * step + m] * parts[t][q];
            Store(at, sum);
        }
    if constexpr (kSkipped + 1 < kVectors)
        AddSquareRows<kVectors, kTerms, kSkipped + 1>(sums, rows, step, parts, first, m, order);
}

template <int kVectors, int kTerms>
void AddSquareColumns(double* sums, const double* rows, std::ptrdiff_t step, std::ptrdiff_t first, std::ptrdiff_t m,
                      std::ptrdiff_t order)
{
    Vector parts[static_cast<std::size_t>(kTerms)][static_cast<std::size_t>(kVectors)];
#pragma GCC unroll 2
    for (int t = 0; t < kTerms; ++t)
#pragma GCC unroll 3
        for (int q = 0; q < kVectors; ++q) parts[t][q] = VectorAt(rows + t * step + first + q * kVectorWidth);
    AddSquareRows<kVectors, kTerms, 0>(sums, rows, step, parts, first, m, order);
}

template <int kTerms>
void AddSquareTerms(double* sums, const double* rows, std::ptrdiff_t step, std::ptrdiff_t m, std::ptrdiff_t order)
{
    std::ptrdiff_t first = m / kVectorWidth * kVectorWidth;
    for (; first + 2 * kVectorWidth < order; first += 3 * kVectorWidth)
        AddSquareColumns<3, kTerms>(sums, rows, step, first, m, order);
    if (first + kVectorWidth < order)
        AddSquareColumns<2, kTerms>(sums, rows, step, first, m, order);
    else if (first < order)
        AddSquareColumns<1, kTerms>(sums, rows, step, first, m, order);
}

inline double Quotient(double x, double pivot)
{
    return pivot == 0.0 ? 0.0 : x / pivot;
}

// Two rows are finished before the rows after them receive the products of both. What the second one's pivot needs is
// formed aside: the square root of one pivot after the other is what takes the time.
int FactorCholeskySquare(double* square, double* sums, std::ptrdiff_t step, int order, const double* least)
{
    const auto finish = [=](std::ptrdiff_t k, double pivot) {
        double* const row = square + k * step;
        for (std::ptrdiff_t r = k / kVectorWidth * kVectorWidth; r < order; r += kVectorWidth)
            Store(row + r, pivot == 0.0 ? Vector{} : (VectorAt(row + r) - VectorAt(sums + k * step + r)) / pivot);
        row[k] = pivot;
    };
    for (int k = 0; k < order; k += 2) {
        double* const row = square + k * step;
        double* const sum = sums + k * step;
        const double left = row[k] - sum[k];
        if (least == nullptr && left <= 0.0) return k;
        const double pivot = least == nullptr || left > least[k] ? MODELCORE_SQRT(left) : 0.0;
        if (k + 1 == order) {
            row[k] = pivot;
            break;
        }
        const double beside = Quotient(row[k + 1] - sum[k + 1], pivot);
        double* const nextSum = sum + step;
        const double nextLeft = row[step + k + 1] - (nextSum[k + 1] + beside * beside);
        finish(k, pivot);
        if (least == nullptr && nextLeft <= 0.0) return k + 1;
        const double next = least == nullptr || nextLeft > least[k + 1] ? MODELCORE_SQRT(nextLeft) : 0.0;
        for (std::ptrdiff_t r = (k + 1) / kVectorWidth * kVectorWidth; r < order; r += kVectorWidth)
            Store(nextSum + r, VectorAt(nextSum + r) + beside * VectorAt(row + r));
        finish(k + 1, next);
        AddSquareTerms<2>(sums, row, step, k + 2, order);
    }
    return order;
}

void FinishCholeskyPanel(double* panel, const double* sums, const double* own, const double* square)
{
    constexpr int kVectors = kPanelLines / kVectorWidth;
    for (int k = 0; k < kPanelLines; ++k) {
        Vector sum[std::size_t{kVectors}];
#pragma GCC unroll 12
        for (int q = 0; q < kVectors; ++q) sum[q] = VectorAt(sums + k * kPanelLines + q * kVectorWidth);
        for (int m = 0; m < k; ++m)
#pragma GCC unroll 12
            for (int q = 0; q < kVectors; ++q)
                sum[q] += square[m * kPanelLines + k] * VectorAt(panel + m * kPanelLines + q * kVectorWidth);
        const double pivot = square[k * kPanelLines + k];
#pragma GCC unroll 12
        for (int q = 0; q < kVectors; ++q) {
            const int at = k * kPanelLines + q * kVectorWidth;
            Store(panel + at, pivot == 0.0 ? Vector{} : (VectorAt(own + at) - sum[q]) / pivot);
        }
    }
}

} // namespace

} // namespace MCMath_930::internal::MODELCORE_KERNEL_SET
