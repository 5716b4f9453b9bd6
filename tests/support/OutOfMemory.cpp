// The allocation functions of a test program, which a MemoryLimit can make fail.
#include "support/MovedFrom.h"

#include <cstddef>
#include <cstdlib>
#include <limits>
#include <new>

namespace {

constexpr long kNoLimit = std::numeric_limits<long>::max();
thread_local long allocationsLeft = kNoLimit;
thread_local bool failsOnce = false, wasReached = false;

void* Allocate(std::size_t size, std::size_t alignment)
{
    if (allocationsLeft != kNoLimit && allocationsLeft-- <= 0) {
        allocationsLeft = failsOnce ? kNoLimit : 0;
        wasReached = true;
        throw std::bad_alloc();
    }
    // aligned_alloc wants a multiple of the alignment, which may overflow for sizes that no machine has.
    if (size > std::numeric_limits<std::size_t>::max() - alignment) throw std::bad_alloc();
    void* const block = alignment <= alignof(std::max_align_t)
                            ? std::malloc(size != 0 ? size : 1)
                            : std::aligned_alloc(alignment, (size + alignment - 1) / alignment * alignment);
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
    return Allocate(size, 1);
}

void* operator new(std::size_t size, std::align_val_t alignment)
{
    return Allocate(size, static_cast<std::size_t>(alignment));
}

// Under the address sanitizer these would not call those above.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    try {
        return Allocate(size, 1);
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
    std::free(block);
}

void operator delete(void* block, std::size_t, std::align_val_t) noexcept
{
    std::free(block);
}
