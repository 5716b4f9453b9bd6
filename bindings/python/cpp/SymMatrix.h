// The packed symmetric matrix of Python, which keeps what a sweep needs.
#pragma once

#include "Arrays.h"

#include "modelcore/modelcore.h"

#include <nanobind/stl/pair.h>
#include <nanobind/stl/tuple.h>

namespace modelcore_python {

struct SymMatrix {
    explicit SymMatrix(MCMath_930::MCSymMatrix elements);

    /// Sweeps on the rows; returns those that were refused.
    nb::list Sweep(nb::handle rows, double tolerance);
    Array ToSquare() const;

    MCMath_930::MCSymMatrix matrix;
    std::vector<double> diagonal; // before any sweep
    MCMath_930::MCBitSet swept;
    bool busy = false;
};

} // namespace modelcore_python
