// The allocation functions of a test program, which a MemoryLimit can make fail.
#include "support/MovedFrom.h"

#include <cstddef>
#include <cstdlib>
#include <limits>
#include <new>
#ifdef _WIN32
#include <malloc.h>
#endif

namespace {

constexpr long kNoLimit = std::numeric_limits<long>::max();
thread_local long allocationsLeft = kNoLimit;
thread_local bool failsOnce = false, wasReached = false;

// Windows frees what is aligned by a function of its own.
#ifdef _WIN32
void* AlignedBlock(std::size_t size, std::size_t alignment)
{
    return _aligned_malloc(size, alignment);
}
void FreeAligned(void* block)
{
    _aligned_free(block);
}
#else
void* AlignedBlock(std::size_t size, std::size_t alignment)
{
    return std::aligned_alloc(alignment, (size + alignment - 1) / alignment * alignment); // wants a multiple of it
}
void FreeAligned(void* block)
{
    std::free(block);
}
#endif

/// @param alignment  0: that of malloc
void* Allocate(std::size_t size, std::size_t alignment)
{
    if (allocationsLeft != kNoLimit && allocationsLeft-- <= 0) {
        allocationsLeft = failsOnce ? kNoLimit : 0;
        wasReached = true;
        throw std::bad_alloc();
    }
    // A multiple of the alignment may overflow for sizes that no machine has.
    if (size > std::numeric_limits<std::size_t>::max() - alignment) throw std::bad_alloc();
    void* const block = alignment == 0 ? std::malloc(size != 0 ? size : 1) : AlignedBlock(size, alignment);
    if (block == nullptr) throw std::bad_alloc();
    return block;
}

} // namespace

MemoryLimit::MemoryLimit(long allowed, Shortage shortage)
{
    allocationsLeft = allowed;
    failsOnce = shortage == Once;
    wasReached = false;
}

MemoryLimit::~MemoryLimit()
{
    allocationsLeft = kNoLimit;
}

bool MemoryLimit::WasReached()
{
    return wasReached;
}

void* operator new(std::size_t size)
{
    return Allocate(size, 0);
}

void* operator new(std::size_t size, std::align_val_t alignment)
{
    return Allocate(size, static_cast<std::size_t>(alignment));
}

// Under the address sanitizer these would not call those above.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    try {
        return Allocate(size, 0);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept
{
    try {
        return Allocate(size, static_cast<std::size_t>(alignment));
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

void operator delete(void* block) noexcept
{
    std::free(block);
}

void operator delete(void* block, std::size_t) noexcept
{
    std::free(block);
}

void operator delete(void* block, std::align_val_t) noexcept
{
    FreeAligned(block);
}

void operator delete(void* block, std::size_t, std::align_val_t) noexcept
{
    FreeAligned(block);
}
