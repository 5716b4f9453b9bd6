#include "model/Report.h"

#include "common/TextTable.h"

#include <algorithm>
#include <cmath>

namespace model {

using namespace procedure;
using MCCommon_930::MCMV;
using MCMath_930::MCMathFun;

void AddCounts(const ModelOptions& options, const CaseCounts& counts, double nCases, double sumOfWeights,
               ResultList& list)
{
    const auto number = [](std::int64_t count) { return static_cast<double>(count); };
    list.Add("used", "Cases used", number(counts.used), FormatCount);
    list.Add("leftOut", "Cases left out", number(counts.rows - counts.used), FormatCount);
    list.Add("missing", "  a value is missing", number(counts.missing), FormatCount);
    const bool weighted = !options.frequency.empty() || !options.weight.empty();
    list.Add("unweighted", weighted ? "  a weight is missing or not positive" : "", number(counts.unweighted),
             FormatCount);
    list.Add("cases",
             options.frequency.empty() ? "" : "Sum of frequency weights (" + Printable(options.frequency) + ")", nCases,
             FormatCount);
    list.Add("sumOfWeights", options.weight.empty() ? "" : "Sum of case weights (" + Printable(options.weight) + ")",
             sumOfWeights, FormatCount);
}

void AddVariables(const MCXML_930::MCVariableList& variables, Results& results)
{
    ResultTable& table = results.AddTable(
        "variables", "",
        {{"column", "Column"}, {"role", "Role"}, {"takenAs", "Taken as"}, {"levels", "Levels", FormatCount}});
    for (int i = 0; i < variables.Size(); ++i) {
        const MCXML_930::MCVariable& variable = *variables.Get(i);
        const auto* const factor = dynamic_cast<const MCXML_930::MCCategoricalVariable*>(&variable);
        std::vector<Item> row{variable.GetName(), std::string(MCXML_930::ToText(variable.GetRole())),
                              std::string(factor != nullptr ? "factor" : "number")};
        if (factor != nullptr && factor->GetNCategories() > 0)
            row.emplace_back(static_cast<double>(factor->GetNCategories()));
        table.rows.push_back(std::move(row));
    }
}

void AddTestNotes(bool anyTypeTwo, ResultTable& table)
{
    if (anyTypeTwo)
        table.notes.push_back("II: some averages over cells do not exist; what the term adds to all terms that do not "
                              "contain it");
}

void AddCoefficients(const ModelOptions& options, const std::vector<Coefficient>& coefficients, const char* ratio,
                     bool isLogit, Results& results)
{
    std::vector<ResultTable::Column> heads{{"parameter", "Parameter"},
                                           {"estimate", "Estimate"},
                                           {"stdError", "Std. error"},
                                           {ratio, ratio},
                                           {"significance", "Significance", FormatSignificance},
                                           {"lower", "Lower limit"},
                                           {"upper", "Upper limit"}};
    const bool hasTolerance =
        std::ranges::any_of(coefficients, [](const Coefficient& c) { return !MCMV::IsMissing(c.tolerance); });
    heads.push_back({"tolerance", hasTolerance && !isLogit ? "Tolerance" : "", FormatShort});
    heads.push_back({"vif", hasTolerance && !isLogit ? "VIF" : "", FormatShort});
    heads.push_back({"state", ""});
    ResultTable& table = results.AddTable(
        "coefficients", "Coefficients with " + FormatShort(100.0 * options.level) + "% confidence limits",
        std::move(heads));
    for (const Coefficient& c : coefficients) {
        if (!c.HasEstimate()) {
            const std::monostate nothing;
            table.rows.push_back({c.parameter.Name(), Remark{c.WhyNot()}, nothing, nothing, nothing, nothing, nothing,
                                  nothing, nothing, c.WhyNot()});
            continue;
        }
        std::vector<Item> row{c.parameter.Name(), c.estimate, c.stdError, c.t, c.significance, c.lower, c.upper};
        if (MCMV::IsMissing(c.tolerance))
            row.insert(row.end(), {std::monostate(), std::monostate()});
        else
            row.insert(row.end(), {c.tolerance, 1.0 / c.tolerance});
        row.emplace_back(std::string("estimated"));
        table.rows.push_back(std::move(row));
    }
    if (std::ranges::any_of(coefficients, &Coefficient::aliased))
        table.notes.push_back("aliased: determined by the parameters above it, to within the tolerance " +
                              FormatShort(options.tolerance));
    if (std::ranges::any_of(coefficients, &Coefficient::separated))
        table.notes.push_back("separated: the data drive it to infinity; see the warning");
    if (!isLogit) return;
    ResultTable& odds = results.AddTable(
        "oddsRatios", "Odds ratios with their limits",
        {{"parameter", "Parameter"}, {"oddsRatio", "Odds ratio"}, {"lower", "Lower limit"}, {"upper", "Upper limit"}});
    for (const Coefficient& c : coefficients)
        if (c.HasEstimate() && c.parameter.kind != Parameter::Kind::Intercept) {
            const auto power = [](double x) { return MCMV::IsMissing(x) ? x : MCMathFun::Exp(x); };
            odds.rows.push_back({c.parameter.Name(), power(c.estimate), power(c.lower), power(c.upper)});
        }
}

} // namespace model
