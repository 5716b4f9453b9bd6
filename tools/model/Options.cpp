#include "model/Options.h"

#include "common/CommandLine.h"
#include "common/Failure.h"
#include "common/Formula.h"

#include <limits>

namespace model {

using namespace procedure;
using MCXML_930::MCRealRange;
using MCXML_930::MCSettings;

namespace {

constexpr int kMaxThreads = 256;
constexpr int kAnyNumber = std::numeric_limits<int>::max();
const std::string kAllOthers = "*";

} // namespace

void AddModelSettings(MCSettings& settings)
{
    settings.AddString("model", "", "the model as a formula, \"y ~ x + f + x:f\"; instead of --target and --predictors",
                       "Columns");
    settings.AddString("target", "", "column to be explained", "Columns");
    settings.AddStringList("predictors", {kAllOthers}, {}, 0, kAnyNumber,
                           "columns that explain it (all others unless given)", "Columns");
    settings.AddStringList("factors", {}, {}, 0, kAnyNumber, "predictors whose values are names, numbers or not",
                           "Columns");
    settings.AddString("frequency", "", "column saying how many cases a row stands for", "Columns");
    settings.AddString("weight", "", "column with the weight of a case", "Columns");
    AddFormatSettings(settings);
    settings.AddStringList("reference", {"first"}, {}, 1, kAnyNumber,
                           "levels that the others are compared with: first, last or most-frequent, for one factor "
                           "FACTOR=first or FACTOR=LEVEL (first in sorted order)",
                           "Model");
    settings.AddBool("no-intercept", false, "leave the intercept out", "Model");
    settings.AddReal("tolerance", 1e-8, MCRealRange::Open(0.0, 1.0),
                     "smallest share of a predictor that the others must leave", "Model");
    settings.AddReal("level", 0.95, MCRealRange::Open(0.0, 1.0), "level of the confidence limits", "Model");
    settings.AddStringList("keep", {}, {}, 0, kAnyNumber, "columns that the predictions repeat, such as a key", kRun);
    settings.AddInteger("threads", 1, 1, kMaxThreads, "threads to use; the results do not depend on it", kRun);
    settings.AddRule(
        "--model says what the model is; --target, --predictors and --no-intercept have no place beside it",
        [](const MCSettings& all) {
            return all.Get("model").GetString().empty() ||
                   (all.Find("target")->IsDefault() && all.Find("predictors")->IsDefault() &&
                    all.Find("no-intercept")->IsDefault());
        });
}

void TakeModelOptions(ModelOptions& options, bool fromState)
{
    const MCSettings& settings = options.settings;
    options.formula = settings.Get("model").GetString();
    options.target = settings.Get("target").GetString();
    options.intercept = !settings.Get("no-intercept").GetBool();
    if (!options.formula.empty()) {
        const Formula formula =
            ParseFormula(options.formula, [](const std::string&) { return std::vector<std::string>(); });
        options.target = formula.target;
        options.intercept = formula.intercept;
    }
    if (fromState && !options.target.empty()) throw Failure("states say what the model is: no --model and no --target");
    if (options.target.empty() && !fromState) throw Failure("--target is required (--help lists the options)");
    const std::vector<std::string> predictors = settings.Find("predictors")->GetStrings();
    if (predictors != std::vector{kAllOthers}) options.predictors = predictors;
    options.factors = settings.Find("factors")->GetStrings();
    options.references = settings.Find("reference")->GetStrings();
    options.frequency = settings.Get("frequency").GetString();
    options.weight = settings.Get("weight").GetString();
    options.format = FormatOf(settings);
    options.tolerance = settings.Get("tolerance").GetReal();
    options.level = settings.Get("level").GetReal();
    options.threads = static_cast<int>(settings.Get("threads").GetInteger());
    options.keep = settings.Find("keep")->GetStrings();
}

} // namespace model
