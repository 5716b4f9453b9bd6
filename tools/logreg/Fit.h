// The regression: iteratively reweighted least squares on the sweep, and what follows from it.
#pragma once

#include "Options.h"
#include "common/Progress.h"
#include "model/CaseReader.h"
#include "model/Coefficient.h"
#include "model/TermTests.h"

#include "modelcore/modelcore.h"

#include <ostream>
#include <string>
#include <vector>

namespace logreg {

/// An iteration as MCIterationReporter tells it.
struct Iteration {
    int number = 0;
    int stepHalvings = 0;
    double deviance = 0.0; ///< -2 log-likelihood
};

/// The tests of a term. Numbers that do not exist are missing.
struct TermLine {
    model::TermTest wald;
    double waldSignificance = MCCommon_930::MCMV::Missing();
    double ratio = MCCommon_930::MCMV::Missing(); ///< difference of -2 log-likelihood
    double ratioDf = 0.0;
    double ratioSignificance = MCCommon_930::MCMV::Missing();
};

struct Fit {
    MCXML_930::MCVariableList variables;
    std::vector<std::string> warnings;
    model::CaseCounts counts;
    double nCases = 0.0;                   ///< sum of the frequency weights
    double sumOfWeights = 0.0;             ///< of frequency weight times case weight
    double events = 0.0;                   ///< weights of the cases with the event
    std::vector<std::string> targetValues; ///< the first few that occurred
    std::vector<Iteration> history;
    bool converged = false;
    bool separated = false;

    double deviance = 0.0;                            ///< -2 log-likelihood
    double nullDeviance = 0.0;                        ///< of the model without predictors
    double chiSquare = MCCommon_930::MCMV::Missing(); ///< the difference of both
    double df = 0.0;
    double significance = MCCommon_930::MCMV::Missing();
    double aic = 0.0;
    double bic = 0.0;
    double mcFadden = MCCommon_930::MCMV::Missing();
    double nagelkerke = MCCommon_930::MCMV::Missing();

    std::vector<TermLine> terms;
    std::vector<model::Coefficient> coefficients;
    std::vector<int> estimated; ///< positions in coefficients of those that covariance is of
    MCMath_930::MCSymMatrix covariance;
};

/// Reads the cases and fits the model; with predictions, the file is read once more and they are written. Throws Failure
/// for data that determine no model and Interrupted when the user stops it.
Fit FitModel(const Options& options, procedure::InputFile& input, procedure::Progress& progress,
             MCMath_930::MCCancelInfo& cancel, std::ostream* predictions = nullptr);

} // namespace logreg
