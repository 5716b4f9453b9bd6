// The interface of numerical integration.
#pragma once

#include "modelcore/modelcore_export.h"

namespace MCMath_930 {

class BoundsList;
class IIntegrand;
class MCCancelInfo;

/// Computes definite integrals. A procedure that is written against this interface leaves the method to its caller. The
/// order of the virtual functions is part of the binary interface.
class MODELCORE_EXPORT INumIntegration {
public:
    /// How an integration ended.
    enum IntegrationStatus {
        Success = 0,
        ToleranceNotReached = 1, ///< rounding or a singularity keeps the error estimate above the tolerance
        EvaluationLimit = 2,     ///< the limit of evaluations came first
        Cancelled = 3,           ///< the cancel query said stop
        BadIntegrand = 4,        ///< the integrand returned a NaN, was infinite at points beside each other, or the
                                 ///< integral grew beyond the range of a double
        InvalidBounds = 5        ///< the bounds have no dimension
    };

    virtual ~INumIntegration();

    /// Computes the integral of f over the bounds.
    ///
    /// @param value  the integral
    /// @param error  estimate of the absolute error. On Success it is at most the larger of the absolute tolerance and
    ///               the relative tolerance times |value|.
    /// @return  what came of it. For ToleranceNotReached, EvaluationLimit and Cancelled value and error are the best
    ///          that is known, 0 and infinity when that is nothing; for BadIntegrand and InvalidBounds they are as they
    ///          were.
    virtual IntegrationStatus Integrate(IIntegrand& f, const BoundsList& bounds, double& value, double& error) = 0;

    /// Sets the tolerances, of which the weaker one counts. False, and nothing changed, unless both are at least 0 and
    /// finite and one is above 0.
    virtual bool SetTolerance(double absolute, double relative) = 0;

    /// Sets the limit for the evaluations of the integrand in one call of Integrate. False, and nothing changed, for a
    /// limit below 1.
    virtual bool SetMaxEvaluations(long limit) = 0;

    /// Sets what is polled during the integration, again and again after a few evaluations; nullptr for nothing. Not
    /// owned.
    virtual void SetCancelInfo(MCCancelInfo* cancel) = 0;

    /// How often the last call of Integrate evaluated the integrand.
    virtual long GetNEvaluations() const = 0;

protected:
    INumIntegration() = default;
    INumIntegration(const INumIntegration&) = default;
    INumIntegration& operator=(const INumIntegration&) = default;
};

} // namespace MCMath_930
