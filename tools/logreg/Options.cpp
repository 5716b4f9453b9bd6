#include "Options.h"

#include "common/CommandLine.h"
#include "common/Failure.h"

namespace logreg {

using namespace procedure;
using MCXML_930::MCRealRange;
using MCXML_930::MCSettings;

std::optional<Options> ParseOptions(int argc, char** argv)
{
    Options options;
    MCSettings& settings = options.settings;
    settings.AddString("event", "1", "the value of the target whose probability is modelled (1)", "Columns");
    model::AddModelSettings(settings);
    settings.AddChoice("link", "logit", {"logit", "probit", "cloglog"}, "what is linear in the predictors (logit)",
                       "Model");
    settings.AddInteger("max-iterations", 50, 1, 1000, "iterations after which it gives up", "Model");
    settings.AddReal("convergence", 1e-8, MCRealRange::OpenClosed(0.0, 0.01),
                     "largest last step, in standard errors of the coefficients", "Model");
    settings.AddChoice("tests", "wald", {"wald", "lr"},
                       "lr: likelihood-ratio tests of the terms too, a fit each (wald)", "Model");
    settings.AddBool("history", false, "print the iterations", kRun);
    OutputOptions::AddSettings(settings);

    CLI::App app("Fits a binary logistic, probit or complementary log-log regression to the columns of a CSV file.",
                 "logreg");
    app.add_option("data", options.dataPath, "CSV file with a header row; - is standard input")
        ->required()
        ->type_name("DATA.csv");
    app.add_option("--predictions", options.predictionsPath, "write the probability of every row, with its limits")
        ->type_name("OUT.csv");
    app.add_option("--charts", options.chartPath, "draw PATH-coefficients.svg")->type_name("PATH");
    app.add_option("--pmml", options.pmmlPath, "write the model as a PMML document, for other engines to score")
        ->type_name("OUT.pmml");
    app.add_option("--pmml-form", options.pmmlForm, "general (with covariances) or regression")
        ->check(CLI::IsMember({"general", "regression"}))
        ->type_name("FORM");
    options.output.AddTo(app);
    if (!ReadCommandLine(app, settings, argc, argv)) return std::nullopt;

    model::TakeModelOptions(options);
    options.event = settings.Get("event").GetString();
    const std::string link = settings.Get("link").GetString();
    options.link = link == "probit" ? Link::Probit : link == "cloglog" ? Link::CLogLog : Link::Logit;
    options.maxIterations = static_cast<int>(settings.Get("max-iterations").GetInteger());
    options.convergence = settings.Get("convergence").GetReal();
    options.ratioTests = settings.Get("tests").GetString() == "lr";
    options.history = settings.Get("history").GetBool();
    options.output.Take(settings);
    return options;
}

} // namespace logreg
