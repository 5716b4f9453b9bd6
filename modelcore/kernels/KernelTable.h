// The table of kernels. The sources compiled for special instruction sets see this header, the list and the bodies, and
// no other.
#pragma once

#include <cstddef>

namespace MCMath_930::internal {

/// A tile of a product: this many lines of the result by this many neighbouring elements of each.
inline constexpr int kTileLines = 6;
inline constexpr int kTileWidth = 8;

/// A strip of columns stored row by row.
inline constexpr int kStripWidth = 16;

/// A panel of lines stored side by side, element by element: a whole number of tiles in either direction.
inline constexpr int kPanelLines = 24;

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
