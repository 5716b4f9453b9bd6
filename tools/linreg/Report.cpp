#include "Report.h"

#include "common/TextTable.h"

#include <algorithm>

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
        if (c.aliased || c.parameter.reference)
            table.AddRow({name, c.aliased ? "aliased" : "reference"});
        else
            table.AddRow({name, FormatNumber(c.estimate), FormatNumber(c.stdError), FormatNumber(c.t),
                          FormatSignificance(c.significance), FormatNumber(c.lower), FormatNumber(c.upper)});
    }
    return table.Format();
}

} // namespace

std::string FormatReport(const Options& options, const Fit& fit)
{
    std::string text = "Linear regression of " + Printable(options.target) + "\n\n";
    text += FormatSummary(options, fit);
    text += '\n';
    text += FormatVariables(fit.variables);
    text += options.intercept ? "\nAnalysis of variance\n" : "\nAnalysis of variance (about zero: no intercept)\n";
    text += FormatVariance(fit);
    text += "\nCoefficients with " + FormatShort(100.0 * options.level) + "% confidence limits\n";
    text += FormatCoefficients(fit);
    if (std::ranges::any_of(fit.coefficients, &Coefficient::aliased))
        text += "\naliased: determined by the parameters above it, to within the tolerance " +
                FormatShort(options.tolerance) + "\n";
    if (MCMV::IsMissing(fit.residual.meanSquare)) text += "\n. : no degrees of freedom are left for the residual\n";
    return text;
}

} // namespace linreg
