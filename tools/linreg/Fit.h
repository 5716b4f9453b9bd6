// The regression: accumulate, sweep, refine, and the statistics that follow.
#pragma once

#include "modelcore/modelcore.h"

#include "Options.h"
#include "Partial.h"
#include "common/Progress.h"
#include "model/CaseReader.h"
#include "model/Coefficient.h"
#include "model/TermTests.h"

#include <cstddef>
#include <ostream>
#include <string>
#include <vector>

namespace linreg {

using namespace model;

/// The joint test of a term. Missing: nothing to test, or no degrees of freedom left.
struct TermLine {
    TermTest test;
    double f = MCCommon_930::MCMV::Missing();
    double significance = MCCommon_930::MCMV::Missing();

    /// "III", "II" or nothing: see TestTerms.
    const char* TypeText() const
    {
        return test.kind == TermTest::Kind::TypeThree ? "III" : test.kind == TermTest::Kind::TypeTwo ? "II" : "";
    }
};

/// A line of the analysis of variance.
struct VarianceSource {
    double sumOfSquares = 0.0;
    double df = 0.0;
    double meanSquare = MCCommon_930::MCMV::Missing(); ///< missing without degrees of freedom
};

/// What the charts of residuals show, in memory that does not grow with the cases.
struct ResidualPicture {
    MCMath_930::MCScatterPlotData points; ///< fitted value and residual; cells when there are many
    MCMath_930::MCQuantileSketch residuals;
    std::size_t cases = 0;
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

    std::vector<TermLine> terms;
    std::vector<Coefficient> coefficients;
    std::vector<int> estimated;         ///< positions in coefficients of those that are not aliased
    MCMath_930::MCSymMatrix covariance; ///< of the estimates that these are; order 0 without degrees of freedom
    MCXML_930::JsonObject state;        ///< for other runs; null unless options ask for it
    std::string exactState;             ///< what follows it in the file, of exact sums
};

/// Reads the cases, twice if the input allows it, and fits the model. With predictions or charts they are read once
/// more: those go to predictions, and what the charts show to residuals. Throws Failure for data that determine no model
/// and Interrupted when the user stops it.
Fit FitModel(const Options& options, procedure::InputFile& input, procedure::Progress& progress,
             MCMath_930::MCCancelInfo& cancel, std::ostream* predictions = nullptr,
             ResidualPicture* residuals = nullptr);

/// Fits the model of saved states; options learn from them what it is. The results are those of one reading of all data, to
/// about 1e-13.
Fit FitStates(Options& options, MCMath_930::MCCancelInfo& cancel);

} // namespace linreg
