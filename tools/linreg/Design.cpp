#include "Design.h"

#include "common/Cell.h"
#include "common/Failure.h"

#include <algorithm>

namespace linreg {

using namespace procedure;
using MCCommon_930::Value;
using MCXML_930::MCCategoricalEncoder;

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

std::size_t Design::AddLevel(Predictor& factor, const Value& value)
{
    factor.levels.push_back({value, fColumns++, 0.0});
    return factor.levels.size() - 1;
}

namespace {

/// What --reference says of a factor: the last that names it, else the last that names none.
std::string ReferenceOf(const std::string& factor, const std::vector<std::string>& references)
{
    std::string chosen = "first";
    bool named = false;
    for (const std::string& reference : references) {
        const bool names = reference.starts_with(factor + "=");
        if (!names && (named || reference.find('=') != std::string::npos)) continue;
        chosen = names ? reference.substr(factor.size() + 1) : reference;
        named = named || names;
    }
    return chosen;
}

void Choose(MCCategoricalEncoder& encoder, const std::string& reference)
{
    double number = 0.0;
    if (reference == "first")
        encoder.SetReference(MCCategoricalEncoder::ReferenceFirst);
    else if (reference == "last")
        encoder.SetReference(MCCategoricalEncoder::ReferenceLast);
    else if (reference == "most-frequent")
        encoder.SetReference(MCCategoricalEncoder::ReferenceMostFrequent);
    else
        encoder.SetReference(ParseCell(reference, number) == Cell::Number ? Value(number) : Value(reference));
}

} // namespace

void Design::FinishLevels(const std::vector<std::string>& references)
{
    for (const std::string& reference : references) {
        const auto names = [&](const Predictor& p) {
            return p.kind == Predictor::Kind::Factor && reference.starts_with(p.name + "=");
        };
        const bool isWord = reference == "first" || reference == "last" || reference == "most-frequent";
        if (!isWord && std::ranges::none_of(fPredictors, names))
            throw Failure("--reference: " + Quoted(reference) +
                          " is neither first, last or most-frequent nor begins with the name of a factor and =");
    }
    bool constantIsThere = fIntercept;
    for (Predictor& factor : fPredictors) {
        if (factor.kind != Predictor::Kind::Factor) continue;
        const std::string reference = ReferenceOf(factor.name, references);
        factor.encoder = MCCategoricalEncoder(factor.name);
        factor.encoder.SetManyCategories(kMaxParameters);
        factor.encoder.SetCoding(constantIsThere ? MCCategoricalEncoder::Dummy : MCCategoricalEncoder::Indicator);
        if (constantIsThere) Choose(factor.encoder, reference);
        for (const Predictor::Level& level : factor.levels) factor.encoder.Learn(level.value, level.weight);
        if (factor.encoder.Finish().IsError())
            throw Failure("--reference: factor " + Quoted(factor.name) + " has no level " + Quoted(reference));
        constantIsThere = true;
    }
}

int Design::NDeterminable() const
{
    return NParameters() - NFactors() + (fIntercept || NFactors() == 0 ? 0 : 1);
}

std::vector<Parameter> Design::Parameters() const
{
    std::vector<Parameter> parameters;
    parameters.reserve(At(NParameters()));
    if (fIntercept) parameters.emplace_back();
    for (const Predictor& predictor : fPredictors) {
        if (predictor.kind == Predictor::Kind::Covariate)
            parameters.push_back({Parameter::Kind::Covariate, predictor.name, {}, predictor.column});
        if (predictor.kind != Predictor::Kind::Factor) continue;
        const MCCategoricalEncoder& encoder = predictor.encoder;
        const std::size_t first = parameters.size();
        parameters.resize(first + predictor.levels.size());
        for (const Predictor::Level& level : predictor.levels) {
            const int place = encoder.FindLevel(level.value);
            parameters[first + At(place)] = {
                Parameter::Kind::Level, predictor.name, encoder.GetLevelText(place), level.column,
                encoder.GetCoding() == MCCategoricalEncoder::Dummy && place == encoder.GetReferenceLevel()};
        }
    }
    return parameters;
}

} // namespace linreg
