#include "Report.h"

#include "common/TextTable.h"
#include "model/Report.h"

#include <algorithm>

namespace linreg {

using namespace procedure;
using MCCommon_930::MCMV;

Results Report(const Options& options, const Fit& fit)
{
    Results results("linreg", "Linear regression of " + Printable(options.target));
    ResultList& summary = results.AddList("model");
    model::AddCounts(options, fit.counts, fit.nCases, fit.sumOfWeights, summary);
    summary.Add("rSquared", "R squared", fit.rSquared);
    summary.Add("adjustedRSquared", "Adjusted R squared", fit.adjustedRSquared);
    summary.Add("stdErrorOfEstimate", "Standard error of the estimate", fit.stdErrorOfEstimate);
    model::AddVariables(fit.variables, results);

    ResultTable& variance =
        results.AddTable("analysisOfVariance",
                         options.intercept ? "Analysis of variance" : "Analysis of variance (about zero: no intercept)",
                         {{"source", "Source"},
                          {"sumOfSquares", "Sum of squares"},
                          {"df", "df", FormatCount},
                          {"meanSquare", "Mean square"},
                          {"f", "F"},
                          {"significance", "Significance", FormatSignificance}});
    variance.rows = {{"Regression", fit.regression.sumOfSquares, fit.regression.df, fit.regression.meanSquare, fit.f,
                      fit.significance},
                     {"Residual", fit.residual.sumOfSquares, fit.residual.df, fit.residual.meanSquare},
                     {"Total", fit.total.sumOfSquares, fit.total.df}};

    if (!fit.terms.empty()) {
        ResultTable& terms = results.AddTable("terms", "Tests of the terms",
                                              {{"term", "Term"},
                                               {"type", "Type"},
                                               {"sumOfSquares", "Sum of squares"},
                                               {"df", "df", FormatCount},
                                               {"f", "F"},
                                               {"significance", "Significance", FormatSignificance}});
        for (const TermLine& line : fit.terms)
            terms.rows.push_back(
                {line.test.name, std::string(line.TypeText()), line.test.sum, line.test.df, line.f, line.significance});
        model::AddTestNotes(
            std::ranges::any_of(fit.terms,
                                [](const TermLine& line) { return line.test.kind == TermTest::Kind::TypeTwo; }),
            terms);
    }
    model::AddCoefficients(options, fit.coefficients, "t", false, results);
    if (MCMV::IsMissing(fit.residual.meanSquare))
        results.AddList("").notes.push_back(". : no degrees of freedom are left for the residual");
    results.SetMain("coefficients");
    return results;
}

} // namespace linreg
