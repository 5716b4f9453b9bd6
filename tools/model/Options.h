// What every program that fits a model is told about it.
#pragma once

#include "common/CsvReader.h"

#include "modelcore/modelcore.h"

#include <optional>
#include <string>
#include <vector>

namespace model {

struct ModelOptions {
    MCXML_930::MCSettings settings; ///< all of what follows, as the document shows it
    std::string formula;            ///< empty: target and predictors say what the model is
    std::string target;
    std::optional<std::vector<std::string>> predictors; ///< absent: every column without another role
    std::vector<std::string> factors;
    std::vector<std::string>
        references;        ///< "first", "last", "most-frequent", each maybe behind "FACTOR="; "FACTOR=LEVEL"
    std::string frequency; ///< empty: every case counts once
    std::string weight;    ///< empty: every case weighs the same
    procedure::CsvFormat format;
    bool intercept = true;
    double tolerance = 1e-8;
    double level = 0.95;
    int threads = 1;
    std::vector<std::string> keep;    ///< columns that the predictions repeat
    std::optional<std::string> event; ///< the target is not a number: 1 where it is this, else 0
};

/// Adds the settings of ModelOptions to others that there may be.
void AddModelSettings(MCXML_930::MCSettings& settings);

/// Takes what the command line gave from options.settings. Throws Failure without a target and for a formula that is
/// none.
/// @param fromState  a saved state says what the model is; the command line says how it is shown
void TakeModelOptions(ModelOptions& options, bool fromState = false);

} // namespace model
