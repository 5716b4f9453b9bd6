#include "Options.h"

#include "common/CommandLine.h"
#include "common/CsvReader.h"

namespace linreg {

using namespace procedure;

namespace {

constexpr int kMaxThreads = 256;

} // namespace

std::optional<Options> ParseOptions(int argc, char** argv)
{
    Options options;
    std::string predictors;
    std::string factors;
    bool noIntercept = false;
    FormatOptions format;

    CLI::App app("Fits a linear regression to the columns of a CSV file.", "linreg");
    app.get_formatter()->column_width(26);
    app.add_option("data", options.dataPath, "CSV file with a header row; - is standard input")
        ->required()
        ->type_name("DATA.csv");
    app.add_option("--target", options.target, "column to be explained")->required()->type_name("NAME");
    const CLI::Option* const chosen =
        app.add_option("--predictors", predictors, "columns that explain it (all others unless given)")
            ->type_name("A,B,C");
    app.add_option("--factors", factors, "predictors whose values are names, numbers or not")->type_name("A,B");
    app.add_option("--frequency", options.frequency, "column saying how many cases a row stands for")
        ->type_name("NAME");
    app.add_option("--weight", options.weight, "column with the regression weight of a case")->type_name("NAME");
    format.AddTo(app);
    app.add_flag("--no-intercept", noIntercept, "leave the intercept out");
    app.add_option("--tolerance", options.tolerance, "smallest share of a predictor that the others must leave (1e-8)")
        ->type_name("T");
    app.add_option("--level", options.level, "level of the confidence limits (0.95)")->type_name("P");
    app.add_flag("--one-pass", options.onePass, "read the file once: no residual pass, fewer digits");
    app.add_option("--threads", options.threads, "threads to use; the results do not depend on it (1)")->type_name("N");
    app.add_option("--xml", options.xmlPath, "write the results as a StatXML document")->type_name("OUT.xml");
    app.add_flag("--quiet", options.quiet, "print no table and no progress");

    if (!ParseCommandLine(app, argc, argv)) return std::nullopt;

    // A list of names is a CSV row, so that a name with a comma can be given as it stands in the header.
    if (*chosen) options.predictors = SplitCsvRow(predictors);
    options.factors = SplitCsvRow(factors);
    options.format = format.Format();
    options.intercept = !noIntercept;
    CheckOption(options.tolerance > 0.0 && options.tolerance < 1.0, "--tolerance must lie between 0 and 1");
    CheckOption(options.level > 0.0 && options.level < 1.0, "--level must lie between 0 and 1");
    CheckOption(options.threads >= 1 && options.threads <= kMaxThreads, "--threads must be 1 to 256");
    return options;
}

} // namespace linreg
