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

} // namespace

extern const KernelTable kTable;
const KernelTable kTable = {MODELCORE_KERNEL_NAME, AddScaledBody};

} // namespace MCMath_930::internal::MODELCORE_KERNEL_SET
