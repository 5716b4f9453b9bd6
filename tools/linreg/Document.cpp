#include "Document.h"

#include "common/StatXml.h"

#include <memory>
#include <string>
#include <vector>

namespace linreg {

namespace {

using namespace procedure;
using MCXML_930::MCStatXMLUtil;
using MCXML_930::XMLElement;

XMLElement* CreateModel(const Fit& fit)
{
    XMLElement* const model = MCStatXMLUtil::CreateElemStructuredData("Model");
    const auto number = [](std::int64_t count) { return static_cast<double>(count); };
    model->AddElement(MCStatXMLUtil::CreateElemCounts(number(fit.counts.rows), number(fit.counts.missing),
                                                      number(fit.counts.unweighted), number(fit.counts.used)));
    AddStatistic(*model, "refined", TrueOrFalse(fit.residualsWereRead));
    AddStatistic(*model, "cases", fit.nCases);
    AddStatistic(*model, "sumOfWeights", fit.sumOfWeights);
    AddStatistic(*model, "rSquared", fit.rSquared);
    AddStatistic(*model, "adjustedRSquared", fit.adjustedRSquared);
    AddStatistic(*model, "stdErrorOfEstimate", fit.stdErrorOfEstimate);
    AddStatistic(*model, "regressionSS", fit.regression.sumOfSquares);
    AddStatistic(*model, "regressionDF", fit.regression.df);
    AddStatistic(*model, "regressionMS", fit.regression.meanSquare);
    AddStatistic(*model, "residualSS", fit.residual.sumOfSquares);
    AddStatistic(*model, "residualDF", fit.residual.df);
    AddStatistic(*model, "residualMS", fit.residual.meanSquare);
    AddStatistic(*model, "totalSS", fit.total.sumOfSquares);
    AddStatistic(*model, "totalDF", fit.total.df);
    AddStatistic(*model, "F", fit.f);
    AddStatistic(*model, "significance", fit.significance);
    return model;
}

XMLElement* CreateTerm(const TermLine& line)
{
    XMLElement* const block = MCStatXMLUtil::CreateElemStructuredData("Term");
    AddStatistic(*block, "name", line.test.name);
    AddStatistic(*block, "type", line.TypeText());
    AddStatistic(*block, "SS", line.test.sum);
    AddStatistic(*block, "DF", line.test.df);
    AddStatistic(*block, "F", line.f);
    AddStatistic(*block, "significance", line.significance);
    return block;
}

} // namespace

void WriteDocument(const Options& options, const Fit& fit, std::ostream& out)
{
    const std::unique_ptr<XMLElement> root(MCStatXMLUtil::BuildRoot());
    root->AddElement(CreateSettings(options.settings));
    root->AddElement(CreateModel(fit));
    for (const TermLine& line : fit.terms) root->AddElement(CreateTerm(line));
    for (const Coefficient& coefficient : fit.coefficients) root->AddElement(CreateParameter(coefficient, "t"));
    if (fit.covariance.GetNRows() > 0)
        root->AddElement(CreateCovariance(fit.coefficients, fit.estimated, fit.covariance));
    MCXML_930::WriteTreeUTF8(out, nullptr, root.get(), true);
    out << '\n';
}

} // namespace linreg
