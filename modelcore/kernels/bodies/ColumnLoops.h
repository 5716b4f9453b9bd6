// Loops over several columns of a matrix stored column by column.
#pragma once

namespace MCMath_930::internal::MODELCORE_KERNEL_SET {

namespace {

void AddOuterProduct(double* __restrict c, std::ptrdiff_t columnStep, std::size_t columns, const double* factors,
                     std::ptrdiff_t factorStep, const double* __restrict x, std::size_t count)
{
    for (std::size_t j = 0; j < columns; ++j, c += columnStep, factors += factorStep)
        if (*factors != 0.0) AddScaled(c, *factors, x, count);
}

void AddToLines(double* const* lines, std::size_t nLines, const double* factors, const double* x, std::size_t count,
                std::size_t growth)
{
    for (std::size_t r = 0; r < nLines; ++r, count += growth)
        if (factors[r] != 0.0) AddScaled(lines[r], factors[r], x, count);
}

// y is read and written once for four columns.
void AddColumns(double* __restrict y, const double* __restrict c, std::ptrdiff_t columnStep, std::size_t columns,
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
            if (*f != 0.0) AddScaled(y, *f, c, count);
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

#ifdef MODELCORE_TRANSPOSES
constexpr int kTriangle = 8;

/// Four columns of kTriangle rows side by side.
/// @return false, and nothing done, when a factor is 0
bool ApplyUnitLowerToFour(double* c, std::ptrdiff_t columnStep, const double* lower, std::ptrdiff_t lowerStep)
{
    Quad row[kTriangle];
#pragma GCC unroll 4
    for (int j = 0; j < 4; ++j) {
        row[j] = QuadAt(c + j * columnStep);
        row[j + 4] = QuadAt(c + j * columnStep + 4);
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
        Store(c + j * columnStep, row[j]);
        Store(c + j * columnStep + 4, row[j + 4]);
    }
    return true;
}
#endif

void ApplyUnitLower(double* c, std::ptrdiff_t columnStep, std::size_t columns, const double* lower,
                    std::ptrdiff_t lowerStep, int order)
{
    std::size_t j = 0;
#ifdef MODELCORE_TRANSPOSES
    if (order == kTriangle)
        for (; j + 4 <= columns; j += 4, c += 4 * columnStep)
            if (!ApplyUnitLowerToFour(c, columnStep, lower, lowerStep))
                for (int q = 0; q < 4; ++q) ApplyUnitLowerToColumn(c + q * columnStep, lower, lowerStep, order);
#endif
    for (; j < columns; ++j, c += columnStep) ApplyUnitLowerToColumn(c, lower, lowerStep, order);
}

void DotColumns(double* dots, const double* c, std::ptrdiff_t columnStep, std::size_t columns, const double* x,
                std::size_t count)
{
    const auto rows = static_cast<std::ptrdiff_t>(count);
    std::size_t j = 0;
#ifdef MODELCORE_TRANSPOSES
    for (; j + 8 <= columns; j += 8, c += 8 * columnStep) {
        Quad first = {};
        Quad second = {};
        std::ptrdiff_t i = 0;
        for (; i + 4 <= rows; i += 4) {
            Quad part[8];
#pragma GCC unroll 8
            for (int q = 0; q < 8; ++q) part[q] = QuadAt(c + q * columnStep + i);
            Transpose(part);
            Transpose(part + 4);
#pragma GCC unroll 4
            for (int q = 0; q < 4; ++q) {
                first += x[i + q] * part[q];
                second += x[i + q] * part[q + 4];
            }
        }
        Store(dots + j, first);
        Store(dots + j + 4, second);
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

} // namespace

} // namespace MCMath_930::internal::MODELCORE_KERNEL_SET
