// The command line.
#pragma once

#include "common/CsvReader.h"
#include "common/Outputs.h"

#include "modelcore/modelcore.h"

#include <optional>
#include <string>
#include <vector>

namespace describe {

struct Options {
    MCXML_930::MCSettings settings;   ///< all of what follows down to threads, as the document shows it
    std::vector<std::string> columns; ///< empty: all
    std::string frequency;            ///< empty: every row counts once
    std::string weight;               ///< empty: every case weighs the same
    procedure::CsvFormat format;
    std::vector<double> quantiles;
    int levels = 5;        ///< most frequent values that are shown
    int bins = 20;         ///< of a histogram, at most
    int correlations = 60; ///< most numeric columns of which all pairs are looked at
    int sketch = 8192;     ///< buckets of a quantile sketch
    int threads = 1;
    bool exact = false; ///< sums without rounding

    procedure::OutputOptions output;
    std::vector<std::string> inputs; ///< one data file, or saved states; "-" is standard input
    bool merge = false;              ///< the inputs are saved states
    std::string savePath;            ///< empty: the state is not saved
    std::string svgPath;             ///< empty: no page
};

/// Reads the command line. Throws Failure for a bad one; nothing comes back when it asked for the help text only, which
/// has then been printed.
std::optional<Options> ParseOptions(int argc, char** argv);

} // namespace describe
