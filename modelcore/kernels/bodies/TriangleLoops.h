// Loops over a packed lower triangle: outer products added to it, products with it.
#pragma once

namespace MCMath_930::internal::MODELCORE_KERNEL_SET {

namespace {

/// Four rows of the triangle, the first of them row i, which share each load of x.
void AddOuterProductToFourRows(double* first, std::size_t i, const double* factors, const double* __restrict x)
{
    double* const row[4] = {first, first + i + 1, first + 2 * i + 3, first + 3 * i + 6};
    std::size_t j = 0;
    for (; j + kVectorWidth <= i + 1; j += kVectorWidth) {
        const Vector part = VectorAt(x + j);
#pragma GCC unroll 4
        for (int q = 0; q < 4; ++q) Store(row[q] + j, VectorAt(row[q] + j) + factors[q] * part);
    }
    for (std::size_t q = 0; q < 4; ++q)
        for (std::size_t k = j; k <= i + q; ++k) row[q][k] += factors[q] * x[k];
}

// A row of the triangle is read and written once for eight terms; the vectors run along the row.
void AddOuterProductsByRows(double* __restrict packed, std::size_t order, const double* __restrict left,
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
        for (; i + 4 <= order; row += 4 * i + 10, i += 4) AddOuterProductToFourRows(row, i, left + i, right);
        for (; i < order; row += ++i) AddScaled(row, left[i], right, i + 1);
    }
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
#ifdef MODELCORE_TRANSPOSES
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

#ifdef MODELCORE_TRANSPOSES
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
        Quad sum[kGroups];
        for (std::size_t g = 0; g < kGroups; ++g) sum[g] = QuadAt(sums + 4 * g);
        for (std::size_t k = from; k < to; k += 4) {
            Quad uk = {}, qk = {}, vk = {}, below = {};
            if constexpr (kUpdate) {
                uk = QuadAt(u + k);
                qk = QuadAt(q + k);
            }
            if constexpr (kMultiply) {
                vk = QuadAt(v + k);
                below = QuadAt(product + k);
            }
#pragma GCC unroll 2
            for (std::size_t g = 0; g < kGroups; ++g) {
                Quad term[4];
#pragma GCC unroll 4
                for (std::size_t r = 0; r < 4; ++r) {
                    const std::size_t i = j + 4 * g + r;
                    Element* const at = row[4 * g + r] + k;
                    Quad x = QuadAt(at);
                    if constexpr (kUpdate) {
                        x -= u[i] * qk;
                        x -= q[i] * uk;
                        Store(at, x);
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
            if constexpr (kMultiply) Store(product + k, below);
        }
        for (std::size_t g = 0; g < kGroups; ++g) Store(sums + 4 * g, sum[g]);
    }
#endif
};

void UpdateAndMultiply(double* packed, std::size_t order, const double* u, const double* q, const double* v,
                       double* product)
{
    if (v == nullptr)
        TrianglePass<true, false>{packed, u, q, v, product}.Run(order);
    else
        TrianglePass<true, true>{packed, u, q, v, product}.Run(order);
}

void MultiplyPacked(const double* packed, std::size_t order, const double* v, double* product)
{
    TrianglePass<false, true>{packed, nullptr, nullptr, v, product}.Run(order);
}

// What a vector holds beside a row falls where later rows stand or their columns do.
void SpreadTriangle(double* square, const double* packed, std::size_t order)
{
    constexpr std::size_t kGroup = 4;
    const double* const packedEnd = packed + order * (order + 1) / 2;
    const double* const squareEnd = square + order * order;
    for (std::size_t i = 0; i < order; i += kGroup) {
        const std::size_t rows = order - i < kGroup ? order - i : kGroup;
        const double* row[kGroup];
        for (std::size_t r = 0; r < rows; packed += i + ++r) {
            row[r] = packed;
            double* const to = square + (i + r) * order;
            std::size_t j = 0;
            for (; j <= i + r && packed + j + kVectorWidth <= packedEnd && to + j + kVectorWidth <= squareEnd;
                 j += kVectorWidth)
                Store(to + j, VectorAt(packed + j));
            for (; j <= i + r; ++j) to[j] = packed[j];
        }
        std::size_t k = 0;
#ifdef MODELCORE_TRANSPOSES
        if (rows == kGroup)
            for (; k < i; k += 4) {
                Quad block[4];
#pragma GCC unroll 4
                for (std::size_t r = 0; r < 4; ++r) block[r] = QuadAt(row[r] + k);
                Transpose(block);
#pragma GCC unroll 4
                for (std::size_t r = 0; r < 4; ++r) Store(square + (k + r) * order + i, block[r]);
            }
#endif
        for (std::size_t r = 0; r < rows; ++r)
            for (std::size_t at = k; at < i + r; ++at) square[at * order + i + r] = row[r][at];
    }
}

} // namespace

} // namespace MCMath_930::internal::MODELCORE_KERNEL_SET
