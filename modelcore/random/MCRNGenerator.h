// The interface of random number generators.
#pragma once

#include "modelcore/modelcore_export.h"

namespace MCMath_930 {

/// A source of random numbers: uniform ones (MCRNGUTwister, MCRNGUCongruential) or variates of another distribution
/// that are made from a uniform source (MCRNGNormal, MCRNGBeta, MCRNGBinomial).
///
/// A procedure that is written against this interface leaves the choice of the generator to its caller. One object is
/// for one thread at a time. The order of the virtual functions is part of the binary interface.
class MODELCORE_EXPORT MCRNGenerator {
public:
    /// Generators are destroyed by way of this interface too.
    virtual ~MCRNGenerator();

    /// Starts the sequence that belongs to s. The same s gives the same uniform numbers and the same variates on every
    /// platform (docs/reproducibility.md).
    virtual void SetSeed(double s) = 0;

    /// The next number.
    virtual double GetNext() = 0;

protected:
    MCRNGenerator() = default;
    MCRNGenerator(const MCRNGenerator&) = default;
    MCRNGenerator& operator=(const MCRNGenerator&) = default;
};

} // namespace MCMath_930
