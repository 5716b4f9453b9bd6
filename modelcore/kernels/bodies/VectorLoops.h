// Loops along one or two vectors: sums of scaled rows, scaling, rotations, magnitudes, running means.
#pragma once

namespace MCMath_930::internal::MODELCORE_KERNEL_SET {

namespace {

void AddScaled(double* __restrict y, double c, const double* __restrict x, std::size_t count)
{
    for (std::size_t j = 0; j < count; ++j) y[j] += c * x[j];
}

/// y += factors[t*factorStep] * row t for t in [0, 8), y read and written once. The parts are written out, from wide to
/// narrow, since most rows of a small triangle are shorter than two vectors.
void AddEightRows(double* __restrict y, const double* __restrict rows, std::ptrdiff_t step, const double* factors,
                  std::ptrdiff_t factorStep, std::size_t length)
{
    double f[8];
    for (int t = 0; t < 8; ++t) f[t] = factors[t * factorStep];
    std::size_t j = 0;
    for (; j + kVectorWidth <= length; j += kVectorWidth) {
        Vector sum = VectorAt(y + j);
#pragma GCC unroll 8
        for (int t = 0; t < 8; ++t) sum += f[t] * VectorAt(rows + t * step + j);
        Store(y + j, sum);
    }
#ifdef MODELCORE_TRANSPOSES
    for (; j + 4 <= length; j += 4) {
        Quad sum = QuadAt(y + j);
#pragma GCC unroll 8
        for (int t = 0; t < 8; ++t) sum += f[t] * QuadAt(rows + t * step + j);
        Store(y + j, sum);
    }
#endif
    for (; j < length; ++j) {
        double sum = y[j];
#pragma GCC unroll 8
        for (int t = 0; t < 8; ++t) sum += f[t] * (rows + t * step)[j];
        y[j] = sum;
    }
}

void AddRows(double* y, const double* rows, std::ptrdiff_t step, std::size_t count, const double* factors,
             std::ptrdiff_t factorStep, std::size_t length)
{
    for (; count >= 8; count -= 8, rows += 8 * step, factors += 8 * factorStep)
        AddEightRows(y, rows, step, factors, factorStep, length);
    for (; count > 0; --count, rows += step, factors += factorStep) AddScaled(y, *factors, rows, length);
}

void Scale(double* x, double c, std::size_t count)
{
    for (std::size_t j = 0; j < count; ++j) x[j] *= c;
}

void Rotate(double* __restrict x, double* __restrict y, double c, double s, std::size_t count)
{
    for (std::size_t j = 0; j < count; ++j) {
        const double turned = c * x[j] + s * y[j];
        y[j] = c * y[j] - s * x[j];
        x[j] = turned;
    }
}

double LargestMagnitude(const double* x, std::size_t count)
{
    // Every running maximum starts at the first element: a NaN there stays, a NaN elsewhere is never larger.
    constexpr std::size_t kRunning = 16;
    double largest[kRunning];
    for (std::size_t r = 0; r < kRunning; ++r) largest[r] = MODELCORE_ABS(x[0]);
    std::size_t i = 0;
    for (; i + kRunning <= count; i += kRunning)
        for (std::size_t r = 0; r < kRunning; ++r)
            largest[r] = MODELCORE_ABS(x[i + r]) > largest[r] ? MODELCORE_ABS(x[i + r]) : largest[r];
    for (; i < count; ++i) largest[0] = MODELCORE_ABS(x[i]) > largest[0] ? MODELCORE_ABS(x[i]) : largest[0];
    for (std::size_t r = 1; r < kRunning; ++r) largest[0] = largest[r] > largest[0] ? largest[r] : largest[0];
    return largest[0];
}

void StepMeans(double* __restrict deviations, double* __restrict means, const double* __restrict x, double share,
               std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i) {
        deviations[i] = x[i] - means[i];
        means[i] += deviations[i] * share;
    }
}

} // namespace

} // namespace MCMath_930::internal::MODELCORE_KERNEL_SET
