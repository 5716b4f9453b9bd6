// The kernels for the instruction set that the whole library is compiled for.
#define MODELCORE_KERNEL_SET baseline
#define MODELCORE_KERNEL_NAME "baseline"
#include "modelcore/kernels/KernelBodies.h"
