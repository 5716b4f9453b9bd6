#include "Options.h"

#include "common/CommandLine.h"
#include "common/Failure.h"

#include <limits>

namespace describe {

using namespace procedure;
using MCXML_930::MCRealRange;
using MCXML_930::MCSettings;

namespace {

constexpr int kMaxThreads = 256;
constexpr int kAnyNumber = std::numeric_limits<int>::max();

MCSettings MakeSettings()
{
    MCSettings settings;
    settings.AddStringList("columns", {}, {}, 0, kAnyNumber, "columns to describe (all unless given)", "Columns");
    settings.AddString("frequency", "", "column saying how many cases a row stands for", "Columns");
    settings.AddString("weight", "", "column with the weight of a case in means and deviations", "Columns");
    AddFormatSettings(settings);
    settings.AddRealList("quantiles", {0.01, 0.05, 0.25, 0.5, 0.75, 0.95, 0.99}, MCRealRange::Closed(0.0, 1.0), 0, 1000,
                         "shares below the quantiles that are shown", "Results");
    settings.AddInteger("levels", 5, 0, 1000, "most frequent values that are shown", "Results");
    settings.AddInteger("bins", 20, 2, 1000, "bins of a histogram, at most", "Results");
    settings.AddInteger("correlations", 60, 0, 500, "most numeric columns whose pairs are looked at", "Results");
    settings.AddInteger("sketch", 8192, 16, 1 << 20, "different numbers of a column that are told apart", "Results");
    settings.AddInteger("threads", 1, 1, kMaxThreads, "threads to use; the results do not depend on it", kRun);
    settings.AddBool("exact", false,
                     "means, deviations and correlations from sums without rounding, in all digits of a double", kRun);
    OutputOptions::AddSettings(settings);
    return settings;
}

} // namespace

std::optional<Options> ParseOptions(int argc, char** argv)
{
    Options options;
    MCSettings& settings = options.settings = MakeSettings();

    CLI::App app("Describes the columns of a CSV file and how they go together.", "describe");
    app.add_option("data", options.inputs, "CSV file with a header row, - is standard input; with --merge saved states")
        ->required()
        ->type_name("DATA.csv");
    app.add_flag("--merge", options.merge, "the files are states that --save wrote: describe all their data together");
    app.add_option("--save", options.savePath, "save the state, for --merge")->type_name("STATE.json");
    app.add_option("--svg", options.svgPath, "draw the columns on one page")->type_name("PAGE.svg");
    options.output.AddTo(app);
    if (!ReadCommandLine(app, settings, argc, argv)) return std::nullopt;

    if (!options.merge && options.inputs.size() > 1) throw Failure("more than one data file (--merge is for states)");
    options.columns = settings.Find("columns")->GetStrings();
    options.frequency = settings.Get("frequency").GetString();
    options.weight = settings.Get("weight").GetString();
    options.format = FormatOf(settings);
    options.quantiles = settings.Find("quantiles")->GetReals();
    const auto integer = [&](const char* name) { return static_cast<int>(settings.Get(name).GetInteger()); };
    options.levels = integer("levels");
    options.bins = integer("bins");
    options.correlations = integer("correlations");
    options.sketch = integer("sketch");
    options.threads = integer("threads");
    options.exact = settings.Get("exact").GetBool();
    options.output.Take(settings);
    return options;
}

} // namespace describe
