// Loops along one or two vectors: sums of scaled rows, scaling, rotations, magnitudes, running means.
#pragma once

namespace MCMath_930::internal::MODELCORE_KERNEL_SET {

namespace {

// There is no loop for what is left over, which would take as long as all the rest of a short vector: the last part
// overlaps the one before it, and was read before that one was written.
void AddScaled(double* __restrict y, double c, const double* __restrict x, std::size_t count)
{
    constexpr std::size_t kWidth = kVectorWidth;
    if (count >= kWidth) {
        const std::size_t last = count - kWidth;
        const Vector sum = VectorAt(y + last) + c * VectorAt(x + last);
        for (std::size_t j = 0; j < last; j += kWidth) Store(y + j, VectorAt(y + j) + c * VectorAt(x + j));
        Store(y + last, sum);
        return;
    }
#ifdef MODELCORE_TRANSPOSES
    if constexpr (kWidth > 4)
        if (count >= 4) {
            const std::size_t last = count - 4;
            const Quad sum = QuadAt(y + last) + c * QuadAt(x + last);
            Store(y, QuadAt(y) + c * QuadAt(x));
            Store(y + last, sum);
            return;
        }
#endif
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

// Every running maximum starts at the first element: a NaN there stays, a NaN elsewhere is never larger. The last vector
// may overlap the one before it.
double LargestMagnitude(const double* x, std::size_t count)
{
    constexpr std::size_t kWidth = kVectorWidth;
    constexpr std::size_t kRunning = 2;
    double most = MODELCORE_ABS(x[0]);
    if (count < kWidth) {
        for (std::size_t i = 1; i < count; ++i) most = MODELCORE_ABS(x[i]) > most ? MODELCORE_ABS(x[i]) : most;
        return most;
    }
    const auto larger = [](Vector size, Vector than) { return size > than ? size : than; };
    const auto sizeAt = [x](std::size_t i) {
        const Vector v = VectorAt(x + i);
        return v < 0.0 ? -v : v;
    };
    Vector running[kRunning];
    for (std::size_t r = 0; r < kRunning; ++r) running[r] = Vector{} + most;
    std::size_t i = 0;
    for (; i + kRunning * kWidth <= count; i += kRunning * kWidth)
#pragma GCC unroll 2
        for (std::size_t r = 0; r < kRunning; ++r) running[r] = larger(sizeAt(i + r * kWidth), running[r]);
    if (i + kWidth <= count) running[0] = larger(sizeAt(i), running[0]);
    running[1] = larger(sizeAt(count - kWidth), running[1]);
    double lanes[kWidth];
    Store(lanes, larger(running[0], running[1]));
#pragma GCC unroll 4
    for (std::size_t half = kWidth / 2; half > 0; half /= 2)
#pragma GCC unroll 4
        for (std::size_t r = 0; r < half; ++r) lanes[r] = lanes[r + half] > lanes[r] ? lanes[r + half] : lanes[r];
    return lanes[0];
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
