// One set of kernels: compiled once for each instruction set, with MODELCORE_KERNEL_SET naming its namespace and with
// the flags of that set (CMakeLists.txt). Nothing here may come from another header: a function of the standard library
// that is emitted with these flags could be the copy that the linker keeps for a processor that cannot run it.
#ifndef MODELCORE_KERNEL_SET
#error "KernelSet.h is compiled by the sources that modelcore_compile_for_each_level makes"
#endif

#include "modelcore/kernels/KernelTable.h"
#include "modelcore/kernels/bodies/Vectors.h"

#include "modelcore/kernels/bodies/VectorLoops.h"

#include "modelcore/kernels/bodies/ColumnLoops.h"
#include "modelcore/kernels/bodies/SliceLoops.h"
#include "modelcore/kernels/bodies/StripLoops.h"
#include "modelcore/kernels/bodies/TileLoops.h"
#include "modelcore/kernels/bodies/TriangleLoops.h"

namespace MCMath_930::internal::MODELCORE_KERNEL_SET {

extern const KernelTable kTable;
const KernelTable kTable = {
    Level::MODELCORE_KERNEL_SET,
#define KERNEL(Result, Name, Parameters) Name,
#include "modelcore/kernels/KernelList.h"
};

} // namespace MCMath_930::internal::MODELCORE_KERNEL_SET
