// The state of a description, as it is read, saved and merged.
#pragma once

#include "Column.h"
#include "ExactMoments.h"
#include "Options.h"
#include "Pairs.h"
#include "common/Progress.h"

#include "modelcore/modelcore.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace describe {

/// All that is kept of the data.
struct Description {
    std::int64_t rows = 0;
    std::int64_t unweighted = 0; ///< rows left out: a weight is missing or not positive
    double cases = 0.0;          ///< sum of the frequencies of the others
    bool hasFrequency = false;
    bool hasWeight = false;
    std::vector<ColumnState> columns;

    /// Numeric columns in the order in which they showed their first number, as places in columns.
    std::vector<int> numeric;
    std::vector<double> shifts; ///< what is subtracted of each of them in pairs: its first number
    PairSums pairs;
    std::optional<ExactMoments> exact; ///< what pairs and the moments of columns are taken from, if it is there
    bool pairsWereDropped = false;     ///< there are more numeric columns than were asked for

    void DropPairs()
    {
        pairs = {};
        if (exact) exact->DropPairs();
    }

    /// Adds the cases of other. Throws Failure when it describes other columns.
    void Merge(const Description& other, const std::string& name);

    MCXML_930::JsonObject ToJson() const;
    bool FromJson(const MCXML_930::JsonObject& json);
};

/// Reads the data, or the saved states, that the options name. Throws Failure for input that cannot be used, Interrupted
/// when the user stops it.
Description Read(const Options& options, procedure::Progress& progress, MCMath_930::MCCancelInfo& cancel);

} // namespace describe
