// The table of kernels. The sources compiled for special instruction sets see this header, the list and the bodies, and
// no other.
#pragma once

#include <cstddef>

namespace MCMath_930::internal {

/// A tile of a product: this many lines of the result by this many neighbouring elements of each.
inline constexpr int kTileLines = 6;
inline constexpr int kTileWidth = 8;

/// A strip of rows stored column by column, for rotations and sums of columns; of columns stored row by row, for reflections.
inline constexpr int kStripWidth = 32;
inline constexpr int kReflectionWidth = 16;

/// A panel of lines stored side by side, element by element: a whole number of tiles in either direction.
inline constexpr int kPanelLines = 24;

/// The rows of the largest triangle that is formed without packing.
inline constexpr int kMostTriangleRows = 128;

/// Slices are how sums of products become exact. A number of a block of kSliceRows rows is cut by rounding to the nearest
/// into integers of its column's grid, each kSliceBits bits below the one before, of magnitude at most 2^(kSliceBits-1)
/// (2^kSliceBits for a column that is one slice). The factors of a product are slices, or sums of two, so at most
/// 2^kSliceBits, and a sum over the rows of a block is at most 2^(2*kSliceBits) * kSliceRows = 2^53: all its partial sums
/// are integers that a double holds. Nothing is rounded, so that neither order nor fusing shows.
inline constexpr int kSliceBits = 22;
inline constexpr int kSliceRows = 512;
static_assert(2 * kSliceBits + 9 <= 53 && kSliceRows == 1 << 9, "sums of products of slices would be rounded");

/// What is known after a slice was cut: the sum of the slice, and of the rest the largest magnitude and how many elements
/// are not 0.
struct CutResult {
    double sum;
    double largestRest;
    int nRests;
};

/// What a set is compiled for: the instruction set of the whole library or, in x86-64, a level above it. The tests add a
/// set without vectors. The names are those of the namespaces, MODELCORE_KERNEL_SET.
enum class Level { novectors, baseline, v3, v4 };

/// One complete set of kernels, compiled for one level. KernelList.h says what each does.
struct KernelTable {
    Level level;

// NOLINTNEXTLINE(bugprone-macro-parentheses): types and parameters, no expressions
#define KERNEL(Result, Name, Parameters) Result(*Name) Parameters;
#include "modelcore/kernels/KernelList.h"
};

} // namespace MCMath_930::internal
