// Reproducible inputs of the benchmarks.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace peers {

inline std::vector<double> Uniforms(std::size_t count, double lo, double hi, std::uint64_t seed)
{
    std::uint64_t state = 88172645463325252u + seed * 0x9E3779B97F4A7C15u;
    std::vector<double> values(count);
    for (double& value : values) {
        state ^= state << 13;
        state ^= state >> 7;
        state ^= state << 17;
        value = lo + (hi - lo) * static_cast<double>(state >> 11) * 0x1p-53;
    }
    return values;
}

} // namespace peers
