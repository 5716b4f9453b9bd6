#include "Pmml.h"

#include "LinkFunction.h"
#include "common/Cell.h"
#include "common/Failure.h"

#include <filesystem>

namespace logreg {

using namespace procedure;
using namespace MCXML_930;

PmmlModel MakePmmlModel(const Options& options, const Fit& fit)
{
    if (fit.separated) throw Failure("no PMML document: the data separate the outcomes, so the model has no estimates");
    if (fit.targetValues.size() != 2)
        throw Failure("no PMML document: it would need the two values of " + Quoted(options.target) +
                      ", and there are more");
    PmmlModel pmml;
    pmml.program = "logreg";
    pmml.frequency = options.frequency;
    pmml.asRegression = options.pmmlForm == "regression";
    const auto value = [&](const std::string& text) {
        double number = 0.0;
        return ParseCell(text, number, options.format.decimalComma) == Cell::Number ? MCCommon_930::Value(number)
                                                                                    : MCCommon_930::Value(text);
    };
    // The target as what it is: two categories, of which the event comes first.
    MCPMMLGeneralRegression& regression = pmml.model;
    std::string other;
    for (const std::string& text : fit.targetValues)
        if (text != *options.event) other = text;
    regression.categories = {value(*options.event), value(other)};
    for (int i = 0; i < fit.variables.Size(); ++i) {
        const MCVariable& variable = *fit.variables.Get(i);
        if (variable.GetName() != options.target) {
            pmml.variables.Add(variable);
            continue;
        }
        MCCategoricalVariable target(options.target, IMCVariable::StorageString, IMCVariable::RoleTarget);
        for (const std::string& text : options.format.missing) target.AddMissingCode(text);
        for (const MCCommon_930::Value& category : regression.categories) target.AddCategory(category);
        pmml.variables.Add(target);
    }
    regression.algorithm = "Fisher scoring";
    regression.target = options.target;
    regression.type = MCPMMLGeneralRegression::GeneralizedLinear;
    regression.distribution = MCPMMLGeneralRegression::Binomial;
    regression.link = options.link == Link::Probit    ? MCPMMLGeneralRegression::Probit
                      : options.link == Link::CLogLog ? MCPMMLGeneralRegression::CLogLog
                                                      : MCPMMLGeneralRegression::Logit;
    regression.reference = 1;
    regression.covariance = fit.covariance;
    pmml.inverseLink = [link = options.link](double eta) { return Probability(link, eta); };
    model::AddPmmlTerms(fit.coefficients, fit.variables, regression);

    MCPMMLQuality& quality = pmml.quality;
    quality.dataName = std::filesystem::path(options.dataPath).filename().string();
    quality.records = static_cast<double>(fit.counts.used);
    quality.weightedRecords = fit.nCases;
    quality.predictors = fit.df;
    quality.aic = fit.aic;
    quality.bic = fit.bic;
    return pmml;
}

} // namespace logreg
