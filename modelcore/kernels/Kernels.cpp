// The choice among the compiled kernel sets: once, at the first call.
#include "modelcore/kernels/Kernels.h"

#include "modelcore/kernels/TileProduct.h"

#include <vector>

namespace MCMath_930::internal {

namespace baseline {
extern const KernelTable kTable;
}
#ifdef MODELCORE_KERNELS_V3
namespace v3 {
extern const KernelTable kTable;
}
#endif
#ifdef MODELCORE_KERNELS_V4
namespace v4 {
extern const KernelTable kTable;
}
#endif

namespace {

std::vector<const KernelTable*> FindUsable()
{
    std::vector<const KernelTable*> usable{&baseline::kTable};
#ifdef MODELCORE_KERNELS_V3
    // What g++ and clang assume for x86-64-v3, as far as a kernel can be made to use it.
    __builtin_cpu_init();
    if (__builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma") && __builtin_cpu_supports("bmi") &&
        __builtin_cpu_supports("bmi2"))
        usable.push_back(&v3::kTable);
#endif
#ifdef MODELCORE_KERNELS_V4
    // Vectors of 512 bits are the faster ones where they have pipes of their own. Measured with the tile of
    // AddProductTile, unfused: 37 GFLOP/s against 21 of v3 on Intel's Cascade Lake. AMD's Zen 4 runs them in two halves
    // and has the same peak for both, so any processor that is not Intel's keeps v3 until it has been measured.
    if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512cd") &&
        __builtin_cpu_supports("avx512dq") && __builtin_cpu_supports("avx512vl"))
        usable.insert(__builtin_cpu_is("intel") ? usable.end() : usable.begin() + 1, &v4::kTable);
#endif
    return usable;
}

} // namespace

constinit std::atomic<const KernelTable*> activeKernels{nullptr};

std::span<const KernelTable* const> UsableKernelTables()
{
    static const std::vector<const KernelTable*> usable = FindUsable();
    return usable;
}

void OverrideKernels(const KernelTable* table)
{
    activeKernels.store(table, std::memory_order_relaxed);
}

// Threads that meet here first all store the same pointer, so a relaxed store is enough.
const KernelTable& ChooseKernels()
{
    const KernelTable* const fastest = UsableKernelTables().back();
    activeKernels.store(fastest, std::memory_order_relaxed);
    return *fastest;
}

void AddOuterProducts(double* packed, std::size_t order, const double* left, const double* right, std::size_t count)
{
    // For fewer rows or terms the packing costs more than the tile saves.
    constexpr std::size_t kSmallestOrder = 32;
    constexpr std::size_t kFewestTerms = 16;
    if (order >= kSmallestOrder && count >= kFewestTerms) {
        const int n = static_cast<int>(order);
        if (const TileWorkspace work(n); work) {
            AddProduct<ZeroFactor::Multiplies>(
                work, n, static_cast<int>(count),
                [packed](int i) { return packed + static_cast<std::ptrdiff_t>(i) * (i + 1) / 2; },
                [](int i) { return i + 1; },
                [left, n](int i, int k) { return left[static_cast<std::ptrdiff_t>(k) * n + i]; },
                RowsOperand{[right, n](int k) { return right + static_cast<std::ptrdiff_t>(k) * n; }});
            return;
        }
    }
    AddOuterProductsByRows(packed, order, left, right, count);
}

} // namespace MCMath_930::internal
