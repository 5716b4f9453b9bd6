// The interface of a caller's own generator.
#pragma once

#include "modelcore/modelcore_export.h"

namespace MCCommon_930 {

/// A uniform generator that the calling application implements, for MCURandom to draw from. The order of the virtual
/// functions is part of the binary interface.
class MODELCORE_EXPORT MCRandom {
public:
    /// A caller's generator is never destroyed by the library.
    virtual ~MCRandom();

    /// The next uniform number in [0, 1].
    virtual double GetRandom() = 0;

protected:
    MCRandom() = default;
    MCRandom(const MCRandom&) = default;
    MCRandom& operator=(const MCRandom&) = default;
};

} // namespace MCCommon_930
