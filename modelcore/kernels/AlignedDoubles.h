// Scratch memory for kernels, on cache line boundaries: a vector that straddles two lines costs two accesses.
#pragma once

#include <cstddef>
#include <memory>
#include <new>

namespace MCMath_930::internal {

struct FreeAlignedDoubles {
    static constexpr std::align_val_t kAlignment{64};
    static constexpr int kDoublesPerLine = 8;

    void operator()(double* memory) const { ::operator delete[](memory, kAlignment); }
};

using AlignedDoubles = std::unique_ptr<double[], FreeAlignedDoubles>;

/// Uninitialised room for count doubles, null when there is none.
inline AlignedDoubles MakeAlignedDoubles(std::size_t count)
{
    return AlignedDoubles(
        static_cast<double*>(::operator new[](count * sizeof(double), FreeAlignedDoubles::kAlignment, std::nothrow)));
}

} // namespace MCMath_930::internal
