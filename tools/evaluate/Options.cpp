#include "Options.h"

#include "common/CommandLine.h"

#include <cmath>

namespace evaluate {

using namespace procedure;

std::optional<Options> ParseOptions(int argc, char** argv)
{
    Options options;
    FormatOptions format;
    CLI::App app("Evaluates how well a score tells an event from its absence.", "evaluate");
    app.get_formatter()->column_width(26);
    app.add_option("data", options.dataPath, "CSV file with a header row; - is standard input")
        ->required()
        ->type_name("DATA.csv");
    app.add_option("--target", options.target, "column with the outcome")->required()->type_name("NAME");
    app.add_option("--event", options.event, "the outcome that the score predicts (1)")->type_name("VALUE");
    app.add_option("--score", options.score, "column with the score; the event is likelier where it is higher")
        ->required()
        ->type_name("NAME");
    app.add_option("--frequency", options.frequency, "column saying how many cases a row stands for")
        ->type_name("NAME");
    format.AddTo(app);
    app.add_option("--segments", options.segments, "segments of the gains table (10)")->type_name("N");
    app.add_option("--bins", options.bins, "bins of the histogram, at most (20)")->type_name("N");
    app.add_option("--cutoff", options.cutoff, "lowest score that is classified as the event (0.5)")->type_name("X");
    app.add_option("--xml", options.xmlPath, "write the results as a StatXML document")->type_name("OUT.xml");
    app.add_option("--charts", options.chartPath, "draw PATH-gains.svg, PATH-lift.svg and PATH-histogram.svg")
        ->type_name("PATH");
    app.add_flag("--quiet", options.quiet, "print no tables and no progress");

    if (!ParseCommandLine(app, argc, argv)) return std::nullopt;
    options.format = format.Format();
    CheckOption(options.segments >= 1 && options.segments <= 1000, "--segments must be 1 to 1000");
    CheckOption(options.bins >= 2 && options.bins <= 1000, "--bins must be 2 to 1000");
    CheckOption(std::isfinite(options.cutoff), "--cutoff must be a number");
    return options;
}

} // namespace evaluate
