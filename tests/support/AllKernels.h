// Runs a piece of code once under every kernel set that this processor can run, the plain ones first.
#pragma once

#include "modelcore/kernels/Kernels.h"

#include <gtest/gtest.h>

#include <vector>

/// Sets that a test program brings along (KernelsWithoutVectors.cpp).
inline std::vector<const MCMath_930::internal::KernelTable*>& OwnKernelTables()
{
    static std::vector<const MCMath_930::internal::KernelTable*> tables;
    return tables;
}

template <class Run>
void ForEachKernelSet(Run run)
{
    std::vector<const MCMath_930::internal::KernelTable*> tables = OwnKernelTables();
    const auto usable = MCMath_930::internal::UsableKernelTables();
    tables.insert(tables.end(), usable.begin(), usable.end());
    for (const MCMath_930::internal::KernelTable* const table : tables) {
        SCOPED_TRACE(static_cast<int>(table->level));
        MCMath_930::internal::OverrideKernels(table);
        run();
        MCMath_930::internal::OverrideKernels(nullptr);
    }
}
