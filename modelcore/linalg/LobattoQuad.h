// Adaptive Gauss-Lobatto quadrature.
#pragma once

#include "modelcore/linalg/INumIntegration.h"
#include "modelcore/modelcore_export.h"

namespace MCMath_930 {

/// Adaptive quadrature with the Gauss-Lobatto rule of four points and its Kronrod extensions to seven and thirteen (W.
/// Gander and W. Gautschi, Adaptive quadrature - revisited, BIT 40, 2000, 84-101).
///
/// The thirteen points are tried on the whole interval; their result is taken when it agrees with that of seven within
/// the tolerance. Otherwise the interval is split at the seven points into six, whose ends are thus known already, and
/// the one with the largest error estimate is split again until the estimates add up to no more than the tolerance. The
/// estimate is the difference between the rules of seven and four points, that is the error of the weaker rule, so the
/// error of the result is as a rule far smaller for a smooth integrand.
///
/// Jumps that lie symmetrically in an interval cancel in such a difference, however wrong both results are. So each rule
/// also forms a sum of its values that is odd about the middle and 0 for polynomials (a null rule); 1/64 of it is an
/// error estimate too, and the larger one counts. docs/integration.md says how many step functions still deceive both.
///
/// An infinite bound is brought to 0 by x = a + c*(1 - s)/s, with c the scale of the bounds; the integrand is not
/// evaluated there and taken for 0. From minus to plus infinity is two such integrals with a the centre. Several dimensions are nested, each inner integral with a
/// tenth of the tolerance; its error estimate is part of that of the outer one. The cost is a power of the number of
/// dimensions: three are practical.
///
/// The integrand is evaluated at finite bounds too. Where it is infinite at one point alone, there or between, that
/// point counts as 0 and becomes the end of two intervals that shrink towards it: an integrable singularity comes out
/// right as far as the doubles beside it allow, and ToleranceNotReached says where they do not. What lies between the
/// first thirteen points (for two infinite bounds, twenty-five) is not seen when it is 0 on them: split the bounds at
/// narrow peaks.
class MODELCORE_EXPORT LobattoQuad : public INumIntegration {
public:
    /// Absolute tolerance 1e-10, relative tolerance 1e-8, at most 1000000 evaluations, nothing to poll.
    LobattoQuad() = default;

    IntegrationStatus Integrate(IIntegrand& f, const BoundsList& bounds, double& value, double& error) override;
    bool SetTolerance(double absolute, double relative) override;
    bool SetMaxEvaluations(long limit) override;
    void SetCancelInfo(MCCancelInfo* cancel) override { fpCancel = cancel; }
    long GetNEvaluations() const override { return fnEvaluations; }

    /// The absolute tolerance.
    double GetAbsTolerance() const { return fAbsTolerance; }
    /// The relative tolerance.
    double GetRelTolerance() const { return fRelTolerance; }
    long GetMaxEvaluations() const { return fnMaxEvaluations; }

    /// Writes the settings and the number of evaluations to the diagnostic text stream.
    void Display() const;

private:
    double fAbsTolerance = 1e-10;
    double fRelTolerance = 1e-8;
    long fnMaxEvaluations = 1000000;
    MCCancelInfo* fpCancel = nullptr;
    long fnEvaluations = 0;
};

} // namespace MCMath_930
