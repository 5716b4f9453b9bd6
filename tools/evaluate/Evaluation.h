// What is known of a score once every case has been seen.
#pragma once

#include "Options.h"
#include "common/CsvReader.h"
#include "common/Progress.h"

#include "modelcore/modelcore.h"

#include <cstdint>
#include <vector>

namespace evaluate {

struct CaseCounts {
    std::int64_t rows = 0;
    std::int64_t used = 0;
    std::int64_t missing = 0;     ///< left out: outcome or score is missing
    std::int64_t noFrequency = 0; ///< left out: the frequency is missing or not positive
};

/// One row of the gains table. Cases count their frequencies.
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

struct Evaluation {
    MCXML_930::MCVariableList variables; ///< the columns and what they were taken for
    CaseCounts counts;
    double cases = 0.0; ///< sum of the frequencies
    double events = 0.0;
    /// Of each score, thinned to some hundred where there are more.
    std::vector<MCXML_930::MCPMMLQuality::RocPoint> roc; ///< empty when every case is an event
    double rocArea = MCCommon_930::MCMV::gMissingValue;  ///< missing when every case is an event
    double minScore = 0.0;
    double maxScore = 0.0;
    double meanScore = 0.0;
    double stdDevOfScore = MCCommon_930::MCMV::gMissingValue;
    std::vector<Segment> segments;
    MCMath_930::MCClassificationMatrix classification{2}; ///< row: an event was observed; column: it was predicted
    std::vector<Bin> bins;
    MCXML_930::MCVariateData histogram;

    double EventRate() const { return events / cases; }
    /// How many times likelier than in all cases the event is among those.
    double Lift(double eventsAmong, double casesAmong) const { return eventsAmong / casesAmong / EventRate(); }
};

/// Reads the cases and evaluates the score. Throws Failure for input that cannot be used, Interrupted when the user
/// stops it.
Evaluation Evaluate(const Options& options, procedure::InputFile& input, procedure::Progress& progress,
                    MCMath_930::MCCancelInfo& cancel);

} // namespace evaluate
