#include "Options.h"

#include "common/CommandLine.h"
#include "common/Failure.h"

#include <limits>

namespace linreg {

using namespace procedure;
using MCXML_930::MCRealRange;
using MCXML_930::MCSettings;

namespace {

constexpr int kMaxThreads = 256;
constexpr int kAnyNumber = std::numeric_limits<int>::max();
const std::string kAllOthers = "*";

MCSettings MakeSettings()
{
    MCSettings settings;
    settings.AddString("target", "", "column to be explained", "Columns");
    settings.AddStringList("predictors", {kAllOthers}, {}, 0, kAnyNumber,
                           "columns that explain it (all others unless given)", "Columns");
    settings.AddStringList("factors", {}, {}, 0, kAnyNumber, "predictors whose values are names, numbers or not",
                           "Columns");
    settings.AddString("frequency", "", "column saying how many cases a row stands for", "Columns");
    settings.AddString("weight", "", "column with the regression weight of a case", "Columns");
    AddFormatSettings(settings);
    settings.AddStringList("reference", {"first"}, {}, 1, kAnyNumber,
                           "levels that the others are compared with: first, last or most-frequent, for one factor "
                           "FACTOR=first or FACTOR=LEVEL (first in sorted order)",
                           "Model");
    settings.AddBool("no-intercept", false, "leave the intercept out", "Model");
    settings.AddReal("tolerance", 1e-8, MCRealRange::Open(0.0, 1.0),
                     "smallest share of a predictor that the others must leave", "Model");
    settings.AddReal("level", 0.95, MCRealRange::Open(0.0, 1.0), "level of the confidence limits", "Model");
    settings.AddBool("one-pass", false, "read the file once: no residual pass, fewer digits", kRun);
    settings.AddInteger("threads", 1, 1, kMaxThreads, "threads to use; the results do not depend on it", kRun);
    return settings;
}

} // namespace

std::optional<Options> ParseOptions(int argc, char** argv)
{
    Options options;
    MCSettings& settings = options.settings = MakeSettings();

    CLI::App app("Fits a linear regression to the columns of a CSV file.", "linreg");
    app.add_option("data", options.dataPath, "CSV file with a header row; - is standard input")
        ->required()
        ->type_name("DATA.csv");
    app.add_option("--xml", options.xmlPath, "write the results as a StatXML document")->type_name("OUT.xml");
    app.add_option("--pmml", options.pmmlPath, "write the model as a PMML document, for other engines to score")
        ->type_name("OUT.pmml");
    app.add_option("--pmml-form", options.pmmlForm, "general (with covariances) or regression")
        ->check(CLI::IsMember({"general", "regression"}))
        ->type_name("FORM");
    app.add_flag("--quiet", options.quiet, "print no table and no progress");
    if (!ReadCommandLine(app, settings, argc, argv)) return std::nullopt;

    options.target = settings.Get("target").GetString();
    if (options.target.empty()) throw Failure("--target is required (--help lists the options)");
    const std::vector<std::string> predictors = settings.Find("predictors")->GetStrings();
    if (predictors != std::vector{kAllOthers}) options.predictors = predictors;
    options.factors = settings.Find("factors")->GetStrings();
    options.references = settings.Find("reference")->GetStrings();
    options.frequency = settings.Get("frequency").GetString();
    options.weight = settings.Get("weight").GetString();
    options.format = FormatOf(settings);
    options.intercept = !settings.Get("no-intercept").GetBool();
    options.tolerance = settings.Get("tolerance").GetReal();
    options.level = settings.Get("level").GetReal();
    options.onePass = settings.Get("one-pass").GetBool();
    options.threads = static_cast<int>(settings.Get("threads").GetInteger());
    return options;
}

} // namespace linreg
