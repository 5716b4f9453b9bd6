// The command line.
#pragma once

#include "common/CsvReader.h"
#include "common/Outputs.h"

#include "modelcore/modelcore.h"

#include <optional>
#include <string>

namespace evaluate {

struct Options {
    MCXML_930::MCSettings settings; ///< all of what follows down to level, as the document shows it
    std::string target;
    std::string event; ///< the value of the target that is predicted
    bool eventIsGiven = false;
    bool regression = false; ///< the target is a number, and the score is to be near it
    std::string score;       ///< empty: the column that linreg or logreg write
    std::string frequency;   ///< empty: every case counts once
    procedure::CsvFormat format;
    int segments = 10;
    int bins = 20;
    std::optional<double> cutoff; ///< absent: chosen, see Evaluation
    double level = 0.95;

    procedure::OutputOptions output;
    std::string dataPath;   ///< "-" is standard input
    std::string pmmlInPath; ///< a PMML document; empty: none
    std::string pmmlPath;   ///< the same with the results in it
    std::string chartPath;  ///< how the paths of the charts begin; empty: no charts
};

/// Reads the command line. Throws Failure for a bad one; nothing comes back when it asked for the help text only, which
/// has then been printed.
std::optional<Options> ParseOptions(int argc, char** argv);

} // namespace evaluate
