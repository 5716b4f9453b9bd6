// What keeps an object whole when it is moved from or when an assignment runs out of memory.
#pragma once

#include <type_traits>
#include <utility>

namespace MCMath_930::internal {

/// A count that becomes 0 when it is moved from. A class that keeps a count beside a vector then has a right default move:
/// the vector is left empty and the count says so. Reads and writes like a T; no arithmetic of its own.
template <class T>
class EmptiedOnMove {
public:
    constexpr EmptiedOnMove(T value = T{}) noexcept
        : fValue(value) {} // NOLINT(google-explicit-constructor): reads as a T
    constexpr EmptiedOnMove(const EmptiedOnMove&) noexcept = default;
    constexpr EmptiedOnMove(EmptiedOnMove&& other) noexcept : fValue(std::exchange(other.fValue, T{})) {}
    constexpr EmptiedOnMove& operator=(const EmptiedOnMove&) noexcept = default;
    /// Moved onto itself it is 0 too: a vector moved onto itself is empty.
    constexpr EmptiedOnMove& operator=(EmptiedOnMove&& other) noexcept
    {
        fValue = other.fValue;
        other.fValue = T{};
        return *this;
    }
    ~EmptiedOnMove() = default;

    constexpr operator const T&() const noexcept { return fValue; } // NOLINT(google-explicit-constructor)
    constexpr operator T&() noexcept { return fValue; }             // NOLINT(google-explicit-constructor)

private:
    T fValue;
};

/// target = source, by a copy that is then moved in: when memory runs out, target is as it was. The default memberwise
/// assignment would have set the counts before a vector throws. T's move assignment must not throw.
template <class T>
T& AssignByCopy(T& target, const T& source)
{
    static_assert(std::is_nothrow_move_assignable_v<T>, "the second step must not fail");
    if (&target != &source) {
        T copy(source);
        target = std::move(copy);
    }
    return target;
}

} // namespace MCMath_930::internal
