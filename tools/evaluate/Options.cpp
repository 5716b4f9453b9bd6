#include "Options.h"

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
    settings.AddString("event", "1", "the outcome that the score predicts (1)", "Columns");
    settings.AddString("score", "", "column with the score; the event is likelier where it is higher", "Columns");
    settings.AddString("frequency", "", "column saying how many cases a row stands for", "Columns");
    AddFormatSettings(settings);
    settings.AddInteger("segments", 10, 1, 1000, "segments of the gains table");
    settings.AddInteger("bins", 20, 2, 1000, "bins of the histogram, at most");
    settings.AddReal("cutoff", 0.5, {}, "lowest score that is classified as the event");
    return settings;
}

} // namespace

std::optional<Options> ParseOptions(int argc, char** argv)
{
    Options options;
    MCSettings& settings = options.settings = MakeSettings();

    CLI::App app("Evaluates how well a score tells an event from its absence.", "evaluate");
    app.add_option("data", options.dataPath, "CSV file with a header row; - is standard input")
        ->required()
        ->type_name("DATA.csv");
    app.add_option("--xml", options.xmlPath, "write the results as a StatXML document")->type_name("OUT.xml");
    app.add_option("--charts", options.chartPath, "draw PATH-gains.svg, PATH-lift.svg and PATH-histogram.svg")
        ->type_name("PATH");
    std::vector<std::string> pmmlPaths;
    app.add_option("--pmml", pmmlPaths, "add the results to the model quality of a PMML document")
        ->expected(2)
        ->type_name("IN.pmml OUT.pmml");
    app.add_flag("--quiet", options.quiet, "print no tables and no progress");
    if (!ReadCommandLine(app, settings, argc, argv)) return std::nullopt;

    if (pmmlPaths.size() == 2) {
        options.pmmlInPath = pmmlPaths[0];
        options.pmmlPath = pmmlPaths[1];
    }
    options.target = settings.Get("target").GetString();
    options.score = settings.Get("score").GetString();
    if (options.target.empty()) throw Failure("--target is required (--help lists the options)");
    if (options.score.empty()) throw Failure("--score is required (--help lists the options)");
    options.event = settings.Get("event").GetString();
    options.frequency = settings.Get("frequency").GetString();
    options.format = FormatOf(settings);
    options.segments = static_cast<int>(settings.Get("segments").GetInteger());
    options.bins = static_cast<int>(settings.Get("bins").GetInteger());
    options.cutoff = settings.Get("cutoff").GetReal();
    return options;
}

} // namespace evaluate
