// The kernels for x86-64-v3 (AVX2); the build gives this source, and no other, the flags of that level.
#define MODELCORE_KERNEL_SET v3
#define MODELCORE_KERNEL_NAME "x86-64-v3"
#include "modelcore/kernels/KernelBodies.h"
