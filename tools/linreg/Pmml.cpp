#include "Pmml.h"

#include "model/Coefficient.h"

#include <filesystem>
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
    MCPMMLGeneralRegression& regression = pmml.model;
    regression.algorithm = "least squares";
    regression.target = options.target;
    regression.residualDF = fit.residual.df;
    regression.covariance = fit.covariance;

    model::AddPmmlTerms(fit.coefficients, fit.variables, regression);

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
