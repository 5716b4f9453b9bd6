// A function that is to be integrated.
#pragma once

#include "modelcore/modelcore_export.h"

#include <vector>

namespace MCMath_930 {

/// Implemented by whoever wants a function integrated (INumIntegration).
class MODELCORE_EXPORT IIntegrand {
public:
    virtual ~IIntegrand();

    /// The value at a point with one coordinate for each dimension of the bounds. A NaN ends the integration with a
    /// failure. An infinity says that the point is a singularity; LobattoQuad integrates over a single one, and fails
    /// where several come together.
    virtual double Evaluate(const std::vector<double>& point) = 0;

protected:
    IIntegrand() = default;
    IIntegrand(const IIntegrand&) = default;
    IIntegrand& operator=(const IIntegrand&) = default;
};

} // namespace MCMath_930
