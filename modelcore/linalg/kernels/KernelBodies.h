// The bodies of the kernels. Each source KernelsFor*.cpp includes this file once, with MODELCORE_KERNEL_SET naming its
// namespace, and is compiled with the flags of its instruction set. Nothing here may come from another header: a
// function of the standard library that is emitted with these flags could be the copy that the linker keeps for a
// processor that cannot run it.
#ifndef MODELCORE_KERNEL_SET
#error "KernelBodies.h is included by the KernelsFor*.cpp sources only"
#endif

#include "modelcore/linalg/kernels/KernelTable.h"

namespace MCMath_930::internal::MODELCORE_KERNEL_SET {

namespace {

void AddScaledBody(double* __restrict y, double c, const double* __restrict x, std::size_t count)
{
    for (std::size_t j = 0; j < count; ++j) y[j] += c * x[j];
}

// A row of the triangle is read and written once for eight terms; the vectors run along the row.
void AddOuterProductsBody(double* __restrict packed, std::size_t order, const double* __restrict left,
                          const double* __restrict right, std::size_t count)
{
    std::size_t k = 0;
    for (; k + 8 <= count; k += 8) {
        const double* const a = left + k * order;
        const double* const b = right + k * order;
        double* row = packed;
        for (std::size_t i = 0; i < order; row += ++i) {
            double c[8];
            for (std::size_t t = 0; t < 8; ++t) c[t] = a[t * order + i];
            for (std::size_t j = 0; j <= i; ++j) {
                double sum = row[j];
                sum += c[0] * b[j];
                sum += c[1] * b[order + j];
                sum += c[2] * b[2 * order + j];
                sum += c[3] * b[3 * order + j];
                sum += c[4] * b[4 * order + j];
                sum += c[5] * b[5 * order + j];
                sum += c[6] * b[6 * order + j];
                sum += c[7] * b[7 * order + j];
                row[j] = sum;
            }
        }
    }
    for (; k < count; ++k) {
        double* row = packed;
        for (std::size_t i = 0; i < order; row += ++i)
            AddScaledBody(row, left[k * order + i], right + k * order, i + 1);
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

} // namespace

extern const KernelTable kTable;
const KernelTable kTable = {MODELCORE_KERNEL_NAME, AddScaledBody, AddOuterProductsBody, ScaleBody, RotateBody,
                            LargestMagnitudeBody};

} // namespace MCMath_930::internal::MODELCORE_KERNEL_SET
