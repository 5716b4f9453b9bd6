// Runs a piece of code once under every kernel set that this processor can run, the plain one first.
#pragma once

#include "modelcore/kernels/Kernels.h"

#include <gtest/gtest.h>

template <class Run>
void ForEachKernelSet(Run run)
{
    for (const MCMath_930::internal::KernelTable* const table : MCMath_930::internal::UsableKernelTables()) {
        SCOPED_TRACE(table->name);
        MCMath_930::internal::OverrideKernels(table);
        run();
        MCMath_930::internal::OverrideKernels(nullptr);
    }
}
