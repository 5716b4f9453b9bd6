// The command line.
#pragma once

#include "common/Outputs.h"
#include "model/Options.h"

#include <optional>
#include <string>
#include <vector>

namespace linreg {

struct Options : model::ModelOptions {
    bool onePass = false;
    bool exact = false;

    procedure::OutputOptions output;
    std::vector<std::string> inputs;  ///< one data file, or saved states; "-" is standard input
    bool merge = false;               ///< the inputs are saved states
    std::string savePath;             ///< empty: the state is not saved
    std::string dataPath;             ///< the first of them
    std::string pmmlPath;             ///< empty: no PMML document
    std::string pmmlForm = "general"; ///< or regression
    std::string predictionsPath;      ///< empty: no predictions
    std::string chartPath;            ///< how the paths of the charts begin; empty: no charts
};

/// Reads the command line. Throws Failure for a bad one; nothing comes back when it asked for the help text only, which
/// has then been printed.
std::optional<Options> ParseOptions(int argc, char** argv);

} // namespace linreg
