#include "Options.h"

#include "common/Cell.h"
#include "common/CommandLine.h"
#include "common/Failure.h"

namespace evaluate {

using namespace procedure;
using MCXML_930::MCRealRange;
using MCXML_930::MCSettings;

namespace {

MCSettings MakeSettings()
{
    MCSettings settings;
    settings.AddString("target", "", "column with the outcome", "Columns");
    settings.AddString("event", "", "the outcome that the score predicts (1)", "Columns");
    settings.AddBool("regression", false, "the outcome is a number, and the score is to be near it", "Columns");
    settings.AddString("score", "",
                       "column with the score; the event is likelier where it is higher (probability or "
                       "prediction, as logreg and linreg write them)",
                       "Columns");
    settings.AddString("frequency", "", "column saying how many cases a row stands for", "Columns");
    AddFormatSettings(settings);
    settings.AddInteger("segments", 10, 1, 1000, "segments of the gains table", "Results");
    settings.AddInteger("bins", 20, 2, 1000, "bins of the histogram, at most", "Results");
    settings.AddString("cutoff", "auto",
                       "lowest score that is classified as the event: a number, or auto for 0.5 where scores are "
                       "probabilities and else the one with the largest sensitivity + specificity (auto)",
                       "Results");
    settings.AddReal("level", 0.95, MCRealRange::Open(0.0, 1.0), "level of the confidence limits", "Results");
    OutputOptions::AddSettings(settings);
    settings.AddRule("cutoff: it must be a number, or auto", [](const MCSettings& all) {
        double number = 0.0;
        const std::string text = all.Get("cutoff").GetString();
        return text == "auto" || ParseCell(text, number) == Cell::Number;
    });
    settings.AddRule(
        "--regression takes the outcome as a number; --event has no place beside it",
        [](const MCSettings& all) { return !all.Get("regression").GetBool() || all.Get("event").GetString().empty(); });
    return settings;
}

} // namespace

std::optional<Options> ParseOptions(int argc, char** argv)
{
    Options options;
    MCSettings& settings = options.settings = MakeSettings();

    CLI::App app("Evaluates how well a score tells an event from its absence, or predicts a number.", "evaluate");
    app.add_option("data", options.dataPath, "CSV file with a header row; - is standard input")
        ->required()
        ->type_name("DATA.csv");
    app.add_option("--charts", options.chartPath,
                   "draw PATH-gains.svg, PATH-lift.svg, PATH-histogram.svg, PATH-roc.svg and PATH-calibration.svg")
        ->type_name("PATH");
    std::vector<std::string> pmmlPaths;
    app.add_option("--pmml", pmmlPaths, "add the results to the model quality of a PMML document")
        ->expected(2)
        ->type_name("IN.pmml OUT.pmml");
    options.output.AddTo(app);
    if (!ReadCommandLine(app, settings, argc, argv)) return std::nullopt;

    if (pmmlPaths.size() == 2) {
        options.pmmlInPath = pmmlPaths[0];
        options.pmmlPath = pmmlPaths[1];
    }
    options.target = settings.Get("target").GetString();
    options.score = settings.Get("score").GetString();
    if (options.target.empty()) throw Failure("--target is required (--help lists the options)");
    options.event = settings.Get("event").GetString();
    options.eventIsGiven = !options.event.empty();
    if (!options.eventIsGiven) options.event = "1";
    options.regression = settings.Get("regression").GetBool();
    if (options.regression && !options.pmmlPath.empty())
        throw Failure("--pmml adds the quality of a prediction of categories; --regression has no place beside it");
    options.frequency = settings.Get("frequency").GetString();
    options.format = FormatOf(settings);
    options.segments = static_cast<int>(settings.Get("segments").GetInteger());
    options.bins = static_cast<int>(settings.Get("bins").GetInteger());
    double cutoff = 0.0;
    if (ParseCell(settings.Get("cutoff").GetString(), cutoff) == Cell::Number) options.cutoff = cutoff;
    options.level = settings.Get("level").GetReal();
    options.output.Take(settings);
    return options;
}

} // namespace evaluate
