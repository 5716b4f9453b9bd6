// The command line.
#pragma once

#include "common/CsvReader.h"

#include "modelcore/modelcore.h"

#include <optional>
#include <string>

namespace evaluate {

struct Options {
    MCXML_930::MCSettings settings; ///< all of what follows down to cutoff, as the document shows it
    std::string target;
    std::string event; ///< the value of the target that is predicted
    std::string score;
    std::string frequency; ///< empty: every case counts once
    procedure::CsvFormat format;
    int segments = 10;
    int bins = 20;
    double cutoff = 0.5;

    std::string dataPath;   ///< "-" is standard input
    std::string xmlPath;    ///< empty: no document
    std::string chartPath;  ///< how the paths of the charts begin; empty: no charts
    std::string pmmlInPath; ///< a PMML document; empty: none
    std::string pmmlPath;   ///< the same with the results in it
    bool quiet = false;
};

/// Reads the command line. Throws Failure for a bad one; nothing comes back when it asked for the help text only, which
/// has then been printed.
std::optional<Options> ParseOptions(int argc, char** argv);

} // namespace evaluate
