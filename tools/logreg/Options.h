// The command line.
#pragma once

#include "common/Outputs.h"
#include "model/Options.h"

#include <optional>
#include <string>

namespace logreg {

enum class Link { Logit, Probit, CLogLog };

struct Options : model::ModelOptions {
    Link link = Link::Logit;
    int maxIterations = 50;
    double convergence = 1e-8; ///< largest step, in standard errors
    bool ratioTests = false;   ///< likelihood-ratio tests of the terms too: each is a fit of its own
    bool history = false;

    procedure::OutputOptions output;
    std::string dataPath;             ///< "-" is standard input
    std::string pmmlPath;             ///< empty: no PMML document
    std::string pmmlForm = "general"; ///< or regression
    std::string predictionsPath;
    std::string chartPath;
};

/// Reads the command line. Throws Failure for a bad one; nothing comes back when it asked for the help text only, which
/// has then been printed.
std::optional<Options> ParseOptions(int argc, char** argv);

} // namespace logreg
