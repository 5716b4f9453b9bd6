// What is known of a score once every case has been seen.
#pragma once

#include "Options.h"
#include "Scores.h"
#include "common/CsvReader.h"
#include "common/Progress.h"

#include "modelcore/modelcore.h"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace evaluate {

struct CaseCounts {
    std::int64_t rows = 0;
    std::int64_t used = 0;
    std::int64_t missing = 0;     ///< left out: outcome or score is missing
    std::int64_t noFrequency = 0; ///< left out: the frequency is missing or not positive
};

/// One row of the gains table. Cases count their frequencies. In a regression the events are sums of the outcome.
struct Segment {
    double cases = 0.0;
    double events = 0.0;
    double casesSoFar = 0.0; ///< in this segment and all with higher scores
    double eventsSoFar = 0.0;
    double minScore = MCCommon_930::MCMV::gMissingValue;
    double meanScore = MCCommon_930::MCMV::gMissingValue;
};

/// One bin of the histogram of the score.
struct Bin {
    double from = 0.0;
    double to = 0.0;
    double events = 0.0;
    double others = 0.0;
};

/// A group of cases with neighbouring scores.
struct CalibrationGroup {
    double cases = 0.0;
    double meanScore = 0.0;
    double rate = 0.0;                                ///< of the events; in a regression the mean of the outcome
    double lower = MCCommon_930::MCMV::gMissingValue; ///< limits of the rate: Wilson (1927)
    double upper = MCCommon_930::MCMV::gMissingValue;
};

/// A cutoff that some criterion prefers.
struct CutoffChoice {
    std::string criterion;
    double cutoff = 0.0;
    double sensitivity = 0.0; ///< share of the events with that score or a higher one
    double specificity = 0.0; ///< share of the other cases with a lower one
    double correct = 0.0;     ///< share of all cases
};

struct Evaluation {
    MCXML_930::MCVariableList variables; ///< the columns and what they were taken for
    std::vector<std::string> warnings;
    std::string score; ///< the column
    CaseCounts counts;
    double cases = 0.0;  ///< sum of the frequencies
    double events = 0.0; ///< in a regression the sum of the outcome
    double minScore = 0.0;
    double maxScore = 0.0;
    double meanScore = 0.0;
    double stdDevOfScore = MCCommon_930::MCMV::gMissingValue;
    std::vector<Segment> segments;
    std::vector<Bin> bins;
    MCXML_930::MCVariateData histogram;
    std::vector<CalibrationGroup> calibration;

    // Of an event. Missing when every case is one.
    double rocArea = MCCommon_930::MCMV::gMissingValue;
    double rocError = MCCommon_930::MCMV::gMissingValue; ///< standard error of the area
    double rocLower = MCCommon_930::MCMV::gMissingValue;
    double rocUpper = MCCommon_930::MCMV::gMissingValue;
    double ks = MCCommon_930::MCMV::gMissingValue; ///< largest distance of the distributions of both
    double ksScore = MCCommon_930::MCMV::gMissingValue;
    /// Of each score, thinned to some hundred where there are more.
    std::vector<MCXML_930::MCPMMLQuality::RocPoint> roc;
    bool isProbability = false; ///< every score is between 0 and 1
    double brier = MCCommon_930::MCMV::gMissingValue;
    double brierSkill = MCCommon_930::MCMV::gMissingValue;
    double calibrationChiSquare = MCCommon_930::MCMV::gMissingValue; ///< Hosmer and Lemeshow (1980)
    double calibrationDf = 0.0;
    double calibrationSignificance = MCCommon_930::MCMV::gMissingValue;
    std::vector<CutoffChoice> cutoffs;
    double cutoff = 0.5;
    std::string cutoffOrigin;
    MCMath_930::MCClassificationMatrix classification{2}; ///< row: an event was observed; column: it was predicted

    // Of a regression.
    double rSquared = MCCommon_930::MCMV::gMissingValue; ///< 1 - squared errors / squared deviations of the outcome
    double meanError = MCCommon_930::MCMV::gMissingValue;
    double meanAbsoluteError = MCCommon_930::MCMV::gMissingValue;
    double rootMeanSquare = MCCommon_930::MCMV::gMissingValue;
    double meanOutcome = MCCommon_930::MCMV::gMissingValue;

    double EventRate() const { return events / cases; }
    /// How many times likelier than in all cases the event is among those.
    double Lift(double eventsAmong, double casesAmong) const { return eventsAmong / casesAmong / EventRate(); }
};

/// Reads the cases and evaluates the score. Throws Failure for input that cannot be used, Interrupted when the user
/// stops it.
Evaluation Evaluate(const Options& options, procedure::InputFile& input, procedure::Progress& progress,
                    MCMath_930::MCCancelInfo& cancel);

} // namespace evaluate
