// The regression: accumulate, sweep, refine, and the statistics that follow.
#pragma once

#include "modelcore/modelcore.h"

#include "CaseReader.h"
#include "Design.h"
#include "common/Progress.h"

#include <string>
#include <vector>

namespace linreg {

/// A coefficient with what is known about it. Numbers that do not exist are missing: all but the parameter for one that
/// is aliased, everything but the estimate when no degrees of freedom are left.
struct Coefficient {
    Parameter parameter;
    bool aliased = false;
    double estimate = MCCommon_930::MCMV::Missing();
    double stdError = MCCommon_930::MCMV::Missing();
    double t = MCCommon_930::MCMV::Missing();
    double significance = MCCommon_930::MCMV::Missing(); ///< two-sided
    double lower = MCCommon_930::MCMV::Missing();
    double upper = MCCommon_930::MCMV::Missing();
};

/// A line of the analysis of variance.
struct VarianceSource {
    double sumOfSquares = 0.0;
    double df = 0.0;
    double meanSquare = MCCommon_930::MCMV::Missing(); ///< missing without degrees of freedom
};

struct Fit {
    MCXML_930::MCVariableList variables; ///< the columns of the model, as they were taken
    std::vector<std::string> warnings;   ///< a line each: factors by a text among numbers
    CaseCounts counts;
    double nCases = 0.0;            ///< sum of the frequency weights
    double sumOfWeights = 0.0;      ///< of frequency weight times regression weight
    bool residualsWereRead = false; ///< whether the refinement took place

    VarianceSource regression;
    VarianceSource residual;
    VarianceSource total; ///< about the mean, or about zero without an intercept
    double f = MCCommon_930::MCMV::Missing();
    double significance = MCCommon_930::MCMV::Missing();
    double rSquared = MCCommon_930::MCMV::Missing();
    double adjustedRSquared = MCCommon_930::MCMV::Missing();
    double stdErrorOfEstimate = MCCommon_930::MCMV::Missing();

    std::vector<Coefficient> coefficients;
    std::vector<int> estimated;         ///< positions in coefficients of those that are not aliased
    MCMath_930::MCSymMatrix covariance; ///< of the estimates that these are; order 0 without degrees of freedom
};

/// Reads the cases, twice if the input allows it, and fits the model. Throws Failure for data that determine no model
/// and Interrupted when the user stops it.
Fit FitModel(const Options& options, procedure::InputFile& input, procedure::Progress& progress,
             MCMath_930::MCCancelInfo& cancel);

} // namespace linreg
