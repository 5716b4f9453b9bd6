// Export of what is internal, for the tests.
#pragma once

#include "modelcore/modelcore_export.h"

/// Stands where MODELCORE_EXPORT stands on a public name, on internal names that a test calls. They are exported from a
/// library that is built together with its tests, and hidden in every other.
#ifdef MODELCORE_EXPORT_INTERNALS
#define MODELCORE_INTERNAL_EXPORT MODELCORE_EXPORT
#else
#define MODELCORE_INTERNAL_EXPORT
#endif
