// Probabilities of the three links, and what the iteration needs of them.
#pragma once

#include "Options.h"

#include "modelcore/modelcore.h"

#include <algorithm>
#include <cmath>

namespace logreg {

using MCMath_930::MCMathFun;

/// One case at the linear predictor eta: its log-likelihood, and the weight and residual of the weighted least squares
/// whose solution is the step of Fisher's scoring.
struct CaseTerms {
    double logLik = 0.0;
    double weight = 0.0;   ///< (dmu/deta)^2 / (mu (1 - mu)), per unit of the case's weight
    double residual = 0.0; ///< (y - mu) / (dmu/deta)
};

/// Both tails of the probability are computed by themselves, so that neither loses its digits near 0. Beyond the limits
/// on eta they could not be told from 0 by a double.
inline CaseTerms TermsAt(Link link, double eta, bool event)
{
    CaseTerms out;
    switch (link) {
    case Link::Logit: {
        eta = std::clamp(eta, -600.0, 600.0);
        const double e = MCMathFun::Exp(-std::fabs(eta));
        const double small = e / (1.0 + e); // the smaller of mu and 1 - mu
        const double large = 1.0 / (1.0 + e);
        const bool likely = (eta > 0.0) == event; // the outcome that was seen is the likelier one
        out.weight = small * large;
        out.logLik = likely ? -MCMathFun::LogOnePlus(e) : -std::fabs(eta) - MCMathFun::LogOnePlus(e);
        out.residual = (event ? 1.0 : -1.0) / (likely ? large : small);
        return out;
    }
    case Link::Probit: {
        eta = std::clamp(eta, -35.0, 35.0);
        const double p = MCMath_930::MCDistFun::CdfStdNorm(eta);
        const double q = MCMath_930::MCDistFun::CdfStdNorm(-eta);
        const double density = MCMath_930::MCDistFun::PdfNormalStandard(eta);
        out.weight = density / p * (density / q);
        out.logLik = MCMathFun::Log(event ? p : q);
        out.residual = event ? q / density : -p / density;
        return out;
    }
    case Link::CLogLog: {
        eta = std::clamp(eta, -600.0, 6.4);
        const double rate = MCMathFun::Exp(eta); // -log(1 - mu)
        const double p = -MCMathFun::ExpMinusOne(-rate);
        const double q = MCMathFun::Exp(-rate);
        out.weight = rate / p * (rate * q);
        out.logLik = event ? MCMathFun::Log(p) : -rate;
        out.residual = event ? 1.0 / rate : -p / (rate * q);
        return out;
    }
    }
    return out;
}

/// The probability at eta.
inline double Probability(Link link, double eta)
{
    switch (link) {
    case Link::Logit:
        return eta > 0.0 ? 1.0 / (1.0 + MCMathFun::Exp(-eta)) : MCMathFun::Exp(eta) / (1.0 + MCMathFun::Exp(eta));
    case Link::Probit: return MCMath_930::MCDistFun::CdfStdNorm(eta);
    case Link::CLogLog: return -MCMathFun::ExpMinusOne(-MCMathFun::Exp(std::min(eta, 700.0)));
    }
    return 0.0;
}

/// The linear predictor of a probability strictly between 0 and 1.
inline double LinkOf(Link link, double p)
{
    switch (link) {
    case Link::Logit: return MCMathFun::Log(p / (1.0 - p));
    case Link::Probit: return MCMath_930::MCDistFun::IdfStdNorm(p);
    case Link::CLogLog: return MCMathFun::Log(-MCMathFun::LogOnePlus(-p));
    }
    return 0.0;
}

} // namespace logreg
