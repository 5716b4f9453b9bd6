// The kernels as a compiler without vectors builds them, for the tests alone.
#define MODELCORE_WITHOUT_VECTORS
#define MODELCORE_KERNEL_SET novectors
#include "modelcore/kernels/bodies/KernelSet.h"

#include "support/AllKernels.h"

[[maybe_unused]] static const bool kIsAdded =
    (OwnKernelTables().push_back(&MCMath_930::internal::novectors::kTable), true);
