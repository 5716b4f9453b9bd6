// The command line.
#pragma once

#include "common/CsvReader.h"

#include <optional>
#include <string>
#include <vector>

namespace linreg {

struct Options {
    std::string dataPath; ///< "-" is standard input
    procedure::CsvFormat format;
    std::string target;
    std::optional<std::vector<std::string>> predictors; ///< absent: every column without another role
    std::vector<std::string> factors;
    std::string frequency; ///< empty: every case counts once
    std::string weight;    ///< empty: every case weighs the same
    bool intercept = true;
    double tolerance = 1e-8;
    double level = 0.95;
    bool onePass = false;
    int threads = 1;
    std::string xmlPath; ///< empty: no document
    bool quiet = false;
};

/// Reads the command line. Throws Failure for a bad one; nothing comes back when it asked for the help text only, which
/// has then been printed.
std::optional<Options> ParseOptions(int argc, char** argv);

} // namespace linreg
