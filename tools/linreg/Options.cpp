#include "Options.h"

#include "common/CommandLine.h"
#include "common/Failure.h"

namespace linreg {

using namespace procedure;
using MCXML_930::MCSettings;

namespace {

/// Moments without rounding tell much smaller shares from 0 than others.
constexpr double kExactTolerance = 1e-20;

} // namespace

std::optional<Options> ParseOptions(int argc, char** argv)
{
    Options options;
    MCSettings& settings = options.settings;
    model::AddModelSettings(settings);
    settings.AddBool("one-pass", false, "read the file once: no residual pass, fewer digits", kRun);
    settings.AddBool("exact", false,
                     "sums without rounding, in one reading: the same result for every order of the rows; the "
                     "tolerance is 1e-20 unless given",
                     kRun);
    OutputOptions::AddSettings(settings);

    CLI::App app("Fits a linear regression to the columns of a CSV file.", "linreg");
    app.add_option("data", options.inputs, "CSV file with a header row, - is standard input; with --merge saved states")
        ->required()
        ->type_name("DATA.csv");
    app.add_flag("--merge", options.merge, "the files are states that --save wrote: fit all their data together");
    app.add_option("--save", options.savePath, "save the sums, for --merge")->type_name("STATE.json");
    app.add_option("--predictions", options.predictionsPath, "write prediction, residual and limits of every row")
        ->type_name("OUT.csv");
    app.add_option("--charts", options.chartPath, "draw PATH-residuals.svg, PATH-normal.svg and PATH-coefficients.svg")
        ->type_name("PATH");
    app.add_option("--pmml", options.pmmlPath, "write the model as a PMML document, for other engines to score")
        ->type_name("OUT.pmml");
    app.add_option("--pmml-form", options.pmmlForm, "general (with covariances) or regression")
        ->check(CLI::IsMember({"general", "regression"}))
        ->type_name("FORM");
    options.output.AddTo(app);
    if (!ReadCommandLine(app, settings, argc, argv)) return std::nullopt;

    if (!options.merge && options.inputs.size() > 1) throw Failure("more than one data file (--merge is for states)");
    if (options.merge && (!options.predictionsPath.empty() || !options.chartPath.empty()))
        throw Failure("predictions and residuals need the data, which states do not hold");
    options.dataPath = options.inputs.front();
    options.exact = settings.Get("exact").GetBool();
    const bool chosen = app.count("--tolerance") > 0 || !settings.Find("tolerance")->IsDefault();
    if (options.exact && !chosen) settings.Set("tolerance", kExactTolerance);
    model::TakeModelOptions(options, options.merge);
    options.onePass = settings.Get("one-pass").GetBool();
    options.output.Take(settings);
    return options;
}

} // namespace linreg
