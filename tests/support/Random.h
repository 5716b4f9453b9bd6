// Seeded test data, the same on every platform (the distributions of the standard library are not).
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

class TestRandom {
public:
    explicit TestRandom(std::uint64_t seed) : fState(seed * 0x9E3779B97F4A7C15u + 88172645463325252u) {}

    /// Uniform in [lo, hi), 53 random bits.
    double Uniform(double lo, double hi) { return lo + (hi - lo) * static_cast<double>(Word() >> 11) * 0x1p-53; }

    /// Uniform integer in [0, count).
    int Below(int count) { return static_cast<int>(Word() % static_cast<std::uint64_t>(count)); }

    std::vector<double> Vector(std::size_t count, double lo, double hi)
    {
        std::vector<double> values(count);
        for (double& value : values) value = Uniform(lo, hi);
        return values;
    }

private:
    std::uint64_t Word()
    {
        fState ^= fState << 13;
        fState ^= fState >> 7;
        fState ^= fState << 17;
        return fState;
    }

    std::uint64_t fState;
};
