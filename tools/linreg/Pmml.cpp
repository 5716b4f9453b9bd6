#include "Pmml.h"

#include <filesystem>
#include <map>
#include <string>

namespace linreg {

using namespace procedure;
using namespace MCXML_930;

PmmlModel MakePmmlModel(const Options& options, const Fit& fit)
{
    PmmlModel pmml;
    pmml.program = "linreg";
    pmml.variables = fit.variables;
    pmml.asRegression = options.pmmlForm == "regression";
    pmml.frequency = options.frequency;
    MCPMMLGeneralRegression& model = pmml.model;
    model.algorithm = "least squares";
    model.target = options.target;
    model.residualDF = fit.residual.df;
    model.covariance = fit.covariance;

    std::map<std::string, std::size_t> levels; // of each factor, in the order of its categories
    for (const Coefficient& coefficient : fit.coefficients) {
        const Parameter& parameter = coefficient.parameter;
        MCPMMLTerm term(parameter.Name());
        if (parameter.kind == Parameter::Kind::Covariate) term.TimesField(parameter.field);
        if (parameter.kind == Parameter::Kind::Level) {
            const auto* const factor = dynamic_cast<const MCCategoricalVariable*>(fit.variables.Get(parameter.field));
            term.TimesLevel(parameter.field, factor->GetCategories()[levels[parameter.field]++].value);
        }
        if (parameter.reference) continue; // nothing is added for the level that the others are compared with
        model.coefficients.push_back(
            {static_cast<int>(model.terms.size()), coefficient.estimate, -1, coefficient.aliased});
        model.terms.push_back(term);
    }

    MCPMMLQuality& quality = pmml.quality;
    quality.dataName = std::filesystem::path(options.dataPath).filename().string();
    quality.rSquared = fit.rSquared;
    quality.adjustedRSquared = fit.adjustedRSquared;
    quality.sumSquaredError = fit.residual.sumOfSquares;
    quality.sumSquaredRegression = fit.regression.sumOfSquares;
    quality.records = static_cast<double>(fit.counts.used);
    quality.weightedRecords = fit.nCases;
    quality.predictors = fit.regression.df;
    quality.degreesOfFreedom = fit.residual.df;
    quality.fStatistic = fit.f;
    return pmml;
}

} // namespace linreg
