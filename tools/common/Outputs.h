// The files that a run leaves, and what it prints.
#pragma once

#include "common/OutputFile.h"
#include "common/Results.h"

#include "modelcore/modelcore.h"

#include <deque>
#include <functional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>

namespace procedure {

/// What every program is told about its output. The setting "format" says how the printed results look.
struct OutputOptions {
    std::string format = "table"; ///< or json or csv
    std::string xmlPath;          ///< empty: no document
    bool quiet = false;

    /// Adds the setting "format".
    static void AddSettings(MCXML_930::MCSettings& settings);
    /// Adds --xml and --quiet.
    void AddTo(CLI::App& app);
    /// After the command line was read.
    void Take(const MCXML_930::MCSettings& settings);
    /// Whether a person watches who may want to see progress.
    bool ShowsProgress() const;
};

/// The output files of a run: all of them appear, or none.
class Outputs {
public:
    /// @param inputs  paths of data that no output may replace
    explicit Outputs(std::vector<std::string> inputs) : fInputs(std::move(inputs)) {}

    /// Adds a file, unless path is empty; write fills it when the results are there. Throws Failure when it cannot be
    /// written, would replace the data, or is the same as another.
    void Add(const std::string& path, std::function<void(std::ostream&)> write);

    /// Fills the file of that path now and not at the end of the run: for what is too large to be kept.
    void Fill(const std::string& path);

    /// Ends a run: fills the files, prints warnings and results, and puts the files in place. Throws Failure and
    /// Interrupted; then nothing was put in place.
    void Finish(const char* program, const OutputOptions& options, const MCXML_930::MCSettings& settings,
                const Results& results, const std::vector<std::string>& warnings, MCMath_930::MCCancelInfo& cancel);

private:
    struct Output {
        Output(const std::string& path, std::function<void(std::ostream&)> writer)
            : file(path), write(std::move(writer))
        {}

        OutputFile file;
        std::function<void(std::ostream&)> write;
        bool filled = false;
    };
    std::vector<std::string> fInputs;
    std::deque<Output> fOutputs;
};

} // namespace procedure
