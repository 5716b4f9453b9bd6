#include "Design.h"

namespace linreg {

std::string Parameter::Name() const
{
    switch (kind) {
    case Kind::Intercept: return "(Intercept)";
    case Kind::Covariate: return field;
    case Kind::Level: break;
    }
    return field + "=" + level;
}

void Design::PlaceCovariates()
{
    fColumns = 1;
    for (Predictor& predictor : fPredictors)
        if (predictor.kind == Predictor::Kind::Covariate) predictor.column = fColumns++;
    fCovariates = fColumns - 1;
}

int Design::AddLevel(Predictor& factor, std::string_view level)
{
    factor.levels.emplace_back(level);
    factor.levelColumns.push_back(fColumns);
    factor.columnOfLevel.emplace(level, fColumns);
    return fColumns++;
}

int Design::NDeterminable() const
{
    int redundant = 0;
    bool constantIsThere = fIntercept;
    for (const Predictor& predictor : fPredictors) {
        if (predictor.kind != Predictor::Kind::Factor) continue;
        if (constantIsThere) ++redundant;
        constantIsThere = true;
    }
    return NParameters() - redundant;
}

std::vector<Parameter> Design::Parameters() const
{
    std::vector<Parameter> parameters;
    parameters.reserve(static_cast<std::size_t>(NParameters()));
    if (fIntercept) parameters.emplace_back();
    for (const Predictor& predictor : fPredictors) {
        if (predictor.kind == Predictor::Kind::Covariate)
            parameters.push_back({Parameter::Kind::Covariate, predictor.name, {}, predictor.column});
        for (std::size_t i = 0; i < predictor.levels.size(); ++i)
            parameters.push_back(
                {Parameter::Kind::Level, predictor.name, predictor.levels[i], predictor.levelColumns[i]});
    }
    return parameters;
}

} // namespace linreg
