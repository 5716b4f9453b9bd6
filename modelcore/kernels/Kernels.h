// The inner loops that the folders above share - linalg, matrix, eigen, random, accumulators - compiled once per level
// of instruction set. Internal: no public header includes this one.
//
// KernelList.h declares each kernel and says what bits it promises. Here the version that runs is chosen, and each kernel
// becomes callable under its name: AddScaled(y, c, x, count) calls the version of this processor.
#pragma once

#include "modelcore/common/internal/InternalExport.h"
#include "modelcore/kernels/KernelTable.h"

#include <atomic>
#include <cmath>
#include <cstddef>
#include <span>

namespace MCMath_930::internal {

/// The sets compiled into this binary that this processor can run, the plain one first, the fastest last.
MODELCORE_INTERNAL_EXPORT std::span<const KernelTable* const> UsableKernelTables();

/// Test hook: makes every later kernel call use the given set; nullptr goes back to the fastest one. Not for use while
/// other threads are inside kernels.
MODELCORE_INTERNAL_EXPORT void OverrideKernels(const KernelTable* table);

MODELCORE_INTERNAL_EXPORT extern std::atomic<const KernelTable*> activeKernels;
MODELCORE_INTERNAL_EXPORT const KernelTable& ChooseKernels();

inline const KernelTable& Kernels()
{
    const KernelTable* const table = activeKernels.load(std::memory_order_relaxed);
    return table != nullptr ? *table : ChooseKernels();
}

/// A call of one member of the active table.
template <auto kMember>
struct KernelCall;

template <class Result, class... Parameters, Result (*KernelTable::*kMember)(Parameters...)>
struct KernelCall<kMember> {
    Result operator()(Parameters... arguments) const { return (Kernels().*kMember)(arguments...); }
};

#define KERNEL(Result, Name, Parameters) inline constexpr KernelCall<&KernelTable::Name> Name{};
#include "modelcore/kernels/KernelList.h"

/// packed(i,j) += left[k][i] * right[k][j] for k = 0 .. count-1 in this order and all j <= i < order. packed is a lower
/// triangle row by row; left and right hold count rows of order values. Each product is rounded before it is added,
/// and each element adds its own terms in the order of k, so any grouping of elements or calls gives the same bits.
MODELCORE_INTERNAL_EXPORT void AddOuterProducts(double* packed, std::size_t order, const double* left,
                                                const double* right, std::size_t count);

/// The index of the first element of largest magnitude, as a loop finds it that starts at element 0 and moves on when
/// an element is larger; count >= 1.
inline std::size_t FirstLargest(const double* x, std::size_t count)
{
    const double largest = LargestMagnitude(x, count);
    for (std::size_t i = 0; i < count; ++i)
        if (std::fabs(x[i]) == largest) return i;
    return 0; // x[0] is a NaN
}

} // namespace MCMath_930::internal
