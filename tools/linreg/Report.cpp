#include "Report.h"

#include "common/Cell.h"
#include "common/TextTable.h"

namespace linreg {

namespace {

using namespace procedure;
using MCCommon_930::MCMV;

std::string FormatSummary(const Options& options, const Fit& fit)
{
    const CaseCounts& counts = fit.counts;
    TextTable table;
    table.AddRow({"Cases used", std::to_string(counts.used)});
    table.AddRow({"Cases left out", std::to_string(counts.rows - counts.used)});
    table.AddRow({"  a value is missing", std::to_string(counts.missing)});
    if (!options.frequency.empty() || !options.weight.empty())
        table.AddRow({"  a weight is missing or not positive", std::to_string(counts.unweighted)});
    if (!options.frequency.empty())
        table.AddRow({"Sum of frequency weights (" + Printable(options.frequency) + ")", FormatCount(fit.nCases)});
    if (!options.weight.empty())
        table.AddRow({"Sum of case weights (" + Printable(options.weight) + ")", FormatCount(fit.sumOfWeights)});
    table.AddRow({"R squared", FormatNumber(fit.rSquared)});
    table.AddRow({"Adjusted R squared", FormatNumber(fit.adjustedRSquared)});
    table.AddRow({"Standard error of the estimate", FormatNumber(fit.stdErrorOfEstimate)});
    return table.Format();
}

std::string FormatPredictors(const Fit& fit)
{
    if (fit.predictors.empty()) return {};
    TextTable table;
    table.AddRow({"Predictor", "Taken as", "Levels"});
    for (const Predictor& p : fit.predictors) {
        const bool factor = p.kind == Predictor::Kind::Factor;
        std::vector<std::string> row{Printable(p.name), factor ? "factor" : "number"};
        if (factor) row.push_back(std::to_string(p.levels.size()));
        table.AddRow(std::move(row));
    }
    return "\n" + table.Format();
}

std::string FormatVariance(const Fit& fit)
{
    TextTable table;
    table.AddRow({"Source", "Sum of squares", "df", "Mean square", "F", "Significance"});
    table.AddRow({"Regression", FormatNumber(fit.regression.sumOfSquares), FormatCount(fit.regression.df),
                  FormatNumber(fit.regression.meanSquare), FormatNumber(fit.f), FormatSignificance(fit.significance)});
    table.AddRow({"Residual", FormatNumber(fit.residual.sumOfSquares), FormatCount(fit.residual.df),
                  FormatNumber(fit.residual.meanSquare)});
    table.AddRow({"Total", FormatNumber(fit.total.sumOfSquares), FormatCount(fit.total.df)});
    return table.Format();
}

std::string FormatCoefficients(const Fit& fit)
{
    TextTable table;
    table.AddRow({"Parameter", "Estimate", "Std. error", "t", "Significance", "Lower limit", "Upper limit"});
    for (const Coefficient& c : fit.coefficients) {
        const std::string name = Printable(c.parameter.Name());
        if (c.aliased)
            table.AddRow({name, "aliased"});
        else
            table.AddRow({name, FormatNumber(c.estimate), FormatNumber(c.stdError), FormatNumber(c.t),
                          FormatSignificance(c.significance), FormatNumber(c.lower), FormatNumber(c.upper)});
    }
    return table.Format();
}

} // namespace

std::vector<std::string> Warnings(const Fit& fit)
{
    std::vector<std::string> lines;
    for (const Predictor& p : fit.predictors)
        if (p.IsSuspicious())
            lines.push_back(Printable(p.name) + " was taken as a factor because its first value is " +
                            Quoted(p.firstValue) + ", but " + std::to_string(p.numbers) + " of its " +
                            std::to_string(p.numbers + p.texts) +
                            " values are numbers; --missing says what means a missing value");
    return lines;
}

std::string FormatReport(const Options& options, const Fit& fit)
{
    std::string text = "Linear regression of " + Printable(options.target) + "\n\n";
    text += FormatSummary(options, fit);
    text += FormatPredictors(fit);
    text += options.intercept ? "\nAnalysis of variance\n" : "\nAnalysis of variance (about zero: no intercept)\n";
    text += FormatVariance(fit);
    text += "\nCoefficients with " + FormatShort(100.0 * options.level) + "% confidence limits\n";
    text += FormatCoefficients(fit);
    if (fit.estimated.size() < fit.coefficients.size())
        text += "\naliased: determined by the parameters above it, to within the tolerance " +
                FormatShort(options.tolerance) + "\n";
    if (MCMV::IsMissing(fit.residual.meanSquare)) text += "\n. : no degrees of freedom are left for the residual\n";
    return text;
}

} // namespace linreg
