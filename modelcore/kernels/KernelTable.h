// The table of kernels. The sources compiled for special instruction sets see this header and no other.
#pragma once

#include <cstddef>
#include <cstdint>

namespace MCMath_930::internal {

/// A tile of a product: this many lines of the result by this many neighbouring elements of each.
inline constexpr int kTileLines = 6;
inline constexpr int kTileWidth = 8;

/// A strip of columns stored row by row.
inline constexpr int kStripWidth = 16;

/// A panel of lines stored side by side, element by element: a whole number of tiles in either direction.
inline constexpr int kPanelLines = 24;

/// The state of MT19937: this many words, each made from itself, its successor and the word this far on.
inline constexpr std::size_t kTwisterWords = 624;
inline constexpr std::size_t kTwisterMiddle = 397;

/// One complete set of kernels, compiled for one instruction set.
struct KernelTable {
    const char* name;

    void (*addScaled)(double* y, double c, const double* x, std::size_t count);
    void (*addOuterProducts)(double* packed, std::size_t order, const double* left, const double* right,
                             std::size_t count);
    void (*addRows)(double* y, const double* rows, std::ptrdiff_t step, std::size_t count, const double* factors,
                    std::ptrdiff_t factorStep, std::size_t length);
    void (*scale)(double* x, double c, std::size_t count);
    void (*rotate)(double* x, double* y, double c, double s, std::size_t count);
    double (*largestMagnitude)(const double* x, std::size_t count);
    void (*addProductTile)(double* const* lines, const double* left, const double* right, std::size_t depth);
    void (*addOuterProduct)(double* c, std::ptrdiff_t columnStep, std::size_t columns, const double* factors,
                            std::ptrdiff_t factorStep, const double* x, std::size_t count);
    void (*addColumns)(double* y, const double* c, std::ptrdiff_t columnStep, std::size_t columns,
                       const double* factors, std::size_t count);
    void (*applyUnitLower)(double* c, std::ptrdiff_t columnStep, std::size_t columns, const double* lower,
                           std::ptrdiff_t lowerStep, int order);
    void (*addPanelTile)(double* const* lines, const double* left, const double* right, std::size_t depth);
    void (*finishCholeskyPanel)(double* panel, const double* sums, const double* own, const double* diagonal, int first,
                                int last);
    void (*reflectStrip)(double* strip, const double* v, const double* factors, const double* next, double* dots,
                         std::size_t rows);
    void (*rotateStrip)(double* strip, const double* c, const double* s, std::size_t count);
    void (*addStripColumns)(double* y, const double* strip, const double* factors, std::size_t columns);
    void (*stepMeans)(double* deviations, double* means, const double* x, double share, std::size_t count);
    void (*packDifferences)(double* packed, const double* rows, std::size_t rowStep, const double* origin, int width,
                            int count);
    void (*packWeightedDifferences)(double* packed, const double* rows, std::size_t rowStep, const double* origin,
                                    const double* weights, int lines, int count);
    void (*updateAndMultiply)(double* packed, std::size_t order, const double* u, const double* q, const double* v,
                              double* product);
    void (*dotColumns)(double* dots, const double* c, std::ptrdiff_t columnStep, std::size_t columns, const double* x,
                       std::size_t count);
    void (*twist)(std::uint32_t* words, std::uint32_t* tempered);
    void (*multiplyPacked)(const double* packed, std::size_t order, const double* v, double* out);
};

} // namespace MCMath_930::internal
