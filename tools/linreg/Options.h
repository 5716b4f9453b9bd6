// The command line.
#pragma once

#include "common/CsvReader.h"

#include "modelcore/modelcore.h"

#include <optional>
#include <string>
#include <vector>

namespace linreg {

struct Options {
    MCXML_930::MCSettings settings; ///< all of what follows down to quiet, as the document shows it
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
    bool onePass = false;
    int threads = 1;

    bool quiet = false;
    std::string dataPath;             ///< "-" is standard input
    std::string xmlPath;              ///< empty: no document
    std::string pmmlPath;             ///< empty: no PMML document
    std::string pmmlForm = "general"; ///< or regression
};

/// Reads the command line. Throws Failure for a bad one; nothing comes back when it asked for the help text only, which
/// has then been printed.
std::optional<Options> ParseOptions(int argc, char** argv);

} // namespace linreg
