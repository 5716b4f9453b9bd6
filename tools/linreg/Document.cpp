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

/// What a parameter stands for: nothing for the intercept, else a covariate or a level of a factor.
struct Origin {
    std::vector<XMLElement*> covariates, factors;

    explicit Origin(const Parameter& parameter)
    {
        if (parameter.kind == Parameter::Kind::Covariate)
            covariates.push_back(MCStatXMLUtil::CreateElemCovariate(Legal(parameter.field), 1));
        if (parameter.kind == Parameter::Kind::Level)
            factors.push_back(MCStatXMLUtil::CreateElemFactor(Legal(parameter.field), Legal(parameter.level), false));
    }
};

XMLElement* CreateParameter(const Coefficient& coefficient)
{
    const Parameter& parameter = coefficient.parameter;
    XMLElement* const block = MCStatXMLUtil::CreateElemStructuredData("Parameter");
    const Origin origin(parameter);
    block->AddElement(MCStatXMLUtil::CreateElemRegressionParameter(
        Legal(parameter.Name()), parameter.kind == Parameter::Kind::Intercept, origin.covariates, origin.factors));
    AddStatistic(*block, "aliased", TrueOrFalse(coefficient.aliased));
    AddStatistic(*block, "reference", TrueOrFalse(parameter.reference));
    if (coefficient.aliased || parameter.reference) return block;
    AddStatistic(*block, "estimate", coefficient.estimate);
    AddStatistic(*block, "stdError", coefficient.stdError);
    AddStatistic(*block, "t", coefficient.t);
    AddStatistic(*block, "significance", coefficient.significance);
    AddStatistic(*block, "lowerLimit", coefficient.lower);
    AddStatistic(*block, "upperLimit", coefficient.upper);
    return block;
}

XMLElement* CreateLabels(const Fit& fit, const char* dimension)
{
    std::vector<XMLElement*> labels;
    for (const int position : fit.estimated) {
        const Parameter& parameter = fit.coefficients[static_cast<std::size_t>(position)].parameter;
        const Origin origin(parameter);
        labels.push_back(MCStatXMLUtil::CreateElemLabel(Legal(parameter.Name()), origin.covariates, origin.factors));
    }
    return MCStatXMLUtil::CreateElemRowColLabels(dimension, labels);
}

/// The lower triangle row by row.
XMLElement* CreateCovariance(const Fit& fit)
{
    const int order = fit.covariance.GetNRows();
    XMLElement* const labels =
        MCStatXMLUtil::CreateElemMatrixLabels({CreateLabels(fit, "row"), CreateLabels(fit, "column")});
    XMLElement* const values = MCStatXMLUtil::CreateElemArray(fit.covariance.GetPtr(), order * (order + 1) / 2);
    XMLElement* const block = MCStatXMLUtil::CreateElemStructuredData("Covariance matrix of the estimates");
    block->AddElement(MCStatXMLUtil::CreateElemMatrix(labels, {}, values, nullptr, static_cast<unsigned>(order),
                                                      static_cast<unsigned>(order), "covariance", true));
    return block;
}

} // namespace

void WriteDocument(const Options& options, const Fit& fit, std::ostream& out)
{
    const std::unique_ptr<XMLElement> root(MCStatXMLUtil::BuildRoot());
    root->AddElement(CreateSettings(options.settings));
    root->AddElement(CreateModel(fit));
    for (const Coefficient& coefficient : fit.coefficients) root->AddElement(CreateParameter(coefficient));
    if (fit.covariance.GetNRows() > 0) root->AddElement(CreateCovariance(fit));
    MCXML_930::WriteTreeUTF8(out, nullptr, root.get(), true);
    out << '\n';
}

} // namespace linreg
