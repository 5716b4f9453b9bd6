// The table of kernels. The sources compiled for special instruction sets see this header and no other.
#pragma once

#include <cstddef>

namespace MCMath_930::internal {

/// One complete set of kernels, compiled for one instruction set.
struct KernelTable {
    const char* name;

    void (*addScaled)(double* y, double c, const double* x, std::size_t count);
    void (*addOuterProducts)(double* packed, std::size_t order, const double* left, const double* right,
                             std::size_t count);
    void (*scale)(double* x, double c, std::size_t count);
    void (*rotate)(double* x, double* y, double c, double s, std::size_t count);
    double (*largestMagnitude)(const double* x, std::size_t count);
};

} // namespace MCMath_930::internal
