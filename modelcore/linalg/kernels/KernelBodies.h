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

} // namespace

extern const KernelTable kTable;
const KernelTable kTable = {MODELCORE_KERNEL_NAME, AddScaledBody, AddOuterProductsBody};

} // namespace MCMath_930::internal::MODELCORE_KERNEL_SET
