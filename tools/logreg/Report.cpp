#include "Report.h"

#include "common/StatXml.h"
#include "common/TextTable.h"
#include "model/Report.h"

#include <memory>

namespace logreg {

using namespace procedure;
using namespace model;
using MCCommon_930::MCMV;

namespace {

const char* NameOf(Link link)
{
    return link == Link::Probit ? "Probit" : link == Link::CLogLog ? "Complementary log-log" : "Logistic";
}

} // namespace

Results Report(const Options& options, const Fit& fit)
{
    Results results("logreg", std::string(NameOf(options.link)) + " regression of " + Printable(options.target) +
                                  " = " + Printable(*options.event));
    ResultList& summary = results.AddList("model");
    AddCounts(options, fit.counts, fit.nCases, fit.sumOfWeights, summary);
    summary.Add("events", "Events", fit.events, FormatCount);
    summary.Add("deviance", "-2 log-likelihood", fit.deviance);
    summary.Add("nullDeviance", "  without predictors", fit.nullDeviance);
    summary.Add("chiSquare", "Likelihood-ratio chi-square", fit.chiSquare);
    summary.Add("df", "  degrees of freedom", fit.df, FormatCount);
    summary.Add("significance", "  significance", fit.significance, FormatSignificance);
    summary.Add("aic", "AIC", fit.aic);
    summary.Add("bic", "BIC", fit.bic);
    summary.Add("mcFadden", "Pseudo R squared (McFadden)", fit.mcFadden);
    summary.Add("nagelkerke", "Pseudo R squared (Nagelkerke)", fit.nagelkerke);
    summary.Add("iterations", "Iterations", static_cast<double>(fit.history.empty() ? 0 : fit.history.back().number),
                FormatCount);
    summary.Add("converged", "Converged", std::string(fit.converged ? "yes" : "no"));
    AddVariables(fit.variables, results);

    const char* const heading = options.history ? "Iteration" : "";
    ResultTable& history = results.AddTable("history", options.history ? "Iterations" : "",
                                            {{"iteration", heading, FormatCount},
                                             {"stepHalvings", options.history ? "Step halvings" : "", FormatCount},
                                             {"deviance", options.history ? "-2 log-likelihood" : ""}});
    for (const Iteration& i : fit.history)
        history.rows.push_back({static_cast<double>(i.number), static_cast<double>(i.stepHalvings), i.deviance});

    if (!fit.terms.empty()) {
        std::vector<ResultTable::Column> heads{{"term", "Term"},
                                               {"df", "df", FormatCount},
                                               {"wald", "Wald"},
                                               {"waldSignificance", "Significance", FormatSignificance}};
        if (options.ratioTests) {
            heads.push_back({"ratioDf", "df", FormatCount});
            heads.push_back({"ratio", "Likelihood ratio"});
            heads.push_back({"ratioSignificance", "Significance", FormatSignificance});
        }
        ResultTable& terms = results.AddTable("terms", "Tests of the terms", std::move(heads));
        for (const TermLine& line : fit.terms) {
            std::vector<Item> row{line.wald.name, line.wald.df, line.wald.sum, line.waldSignificance};
            if (options.ratioTests) row.insert(row.end(), {line.ratioDf, line.ratio, line.ratioSignificance});
            terms.rows.push_back(std::move(row));
        }
        if (options.ratioTests)
            terms.notes.push_back("likelihood ratio: what the term adds to all terms that do not contain it");
    }
    AddCoefficients(options, fit.coefficients, "z", options.link == Link::Logit, results);
    results.SetMain("coefficients");
    return results;
}

void WriteDocument(const Options& options, const Fit& fit, std::ostream& out)
{
    using MCXML_930::MCStatXMLUtil;
    using MCXML_930::XMLElement;
    const std::unique_ptr<XMLElement> root(MCStatXMLUtil::BuildRoot());
    root->AddElement(CreateSettings(options.settings));
    XMLElement* const block = MCStatXMLUtil::CreateElemStructuredData("Model");
    const auto number = [](std::int64_t count) { return static_cast<double>(count); };
    block->AddElement(MCStatXMLUtil::CreateElemCounts(number(fit.counts.rows), number(fit.counts.missing),
                                                      number(fit.counts.unweighted), number(fit.counts.used)));
    AddStatistic(*block, "link", options.settings.Get("link").GetString());
    AddStatistic(*block, "cases", fit.nCases);
    AddStatistic(*block, "sumOfWeights", fit.sumOfWeights);
    AddStatistic(*block, "events", fit.events);
    AddStatistic(*block, "converged", TrueOrFalse(fit.converged));
    AddStatistic(*block, "separated", TrueOrFalse(fit.separated));
    AddStatistic(*block, "iterations", fit.history.empty() ? 0.0 : fit.history.back().number);
    AddStatistic(*block, "deviance", fit.deviance);
    AddStatistic(*block, "nullDeviance", fit.nullDeviance);
    AddStatistic(*block, "chiSquare", fit.chiSquare);
    AddStatistic(*block, "DF", fit.df);
    AddStatistic(*block, "significance", fit.significance);
    AddStatistic(*block, "AIC", fit.aic);
    AddStatistic(*block, "BIC", fit.bic);
    root->AddElement(block);
    for (const TermLine& line : fit.terms) {
        XMLElement* const term = MCStatXMLUtil::CreateElemStructuredData("Term");
        AddStatistic(*term, "name", line.wald.name);
        AddStatistic(*term, "DF", line.wald.df);
        AddStatistic(*term, "wald", line.wald.sum);
        AddStatistic(*term, "waldSignificance", line.waldSignificance);
        if (options.ratioTests) {
            AddStatistic(*term, "ratioDF", line.ratioDf);
            AddStatistic(*term, "likelihoodRatio", line.ratio);
            AddStatistic(*term, "ratioSignificance", line.ratioSignificance);
        }
        root->AddElement(term);
    }
    for (const Coefficient& coefficient : fit.coefficients) root->AddElement(CreateParameter(coefficient, "z"));
    if (!fit.separated && fit.covariance.GetNRows() > 0)
        root->AddElement(CreateCovariance(fit.coefficients, fit.estimated, fit.covariance));
    MCXML_930::WriteTreeUTF8(out, nullptr, root.get(), true);
    out << '\n';
}

} // namespace logreg
