#include "model/Design.h"

#include "common/Cell.h"
#include "common/Failure.h"

#include <algorithm>
#include <utility>

namespace model {

using namespace procedure;
using MCCommon_930::Value;
using MCXML_930::MCCategoricalEncoder;

std::string Parameter::Name() const
{
    if (kind == Kind::Intercept) return "(Intercept)";
    std::string name;
    for (const Part& part : parts) {
        if (!name.empty()) name += ':';
        name += part.field;
        if (part.isFactor) name.append("=").append(part.level);
        if (part.power > 1) name.append("^").append(std::to_string(part.power));
    }
    return name;
}

std::size_t Design::FindOrAddPredictor(const std::string& name)
{
    const auto found = std::ranges::find(fPredictors, name, &Predictor::name);
    const auto place = static_cast<std::size_t>(found - fPredictors.begin());
    if (found == fPredictors.end()) fPredictors.emplace_back().name = name;
    return place;
}

void Design::SetTerms(const std::vector<FormulaTerm>& terms)
{
    fFormula = terms;
    for (const FormulaTerm& term : terms)
        for (const FormulaPart& part : term) FindOrAddPredictor(part.name);
}

void Design::PlaceCovariates()
{
    fColumns = 1;
    for (const FormulaTerm& parts : fFormula) {
        Term& term = fTerms.emplace_back();
        term.name = procedure::Formula::NameOf(parts);
        for (const FormulaPart& part : parts) {
            const std::size_t place = FindOrAddPredictor(part.name);
            if (fPredictors[place].kind == Predictor::Kind::Covariate) {
                term.covariates.push_back({place, part.power});
                continue;
            }
            if (part.power != 1) throw Failure("the model has a power of " + Quoted(part.name) + ", which is a factor");
            term.factors.push_back(place);
        }
        if (term.factors.size() > kMaxFactorsInTerm)
            throw Failure("the term " + Quoted(term.name) + " has more than " + std::to_string(kMaxFactorsInTerm) +
                          " factors");
        fHasMixed = fHasMixed || (!term.factors.empty() && !term.covariates.empty());
        (term.factors.empty() ? fCovariateTerms : fFactorTerms).push_back(fTerms.size() - 1);
        if (term.factors.empty()) term.column = fColumns++;
    }
}

std::size_t Design::AddLevel(Predictor& factor, const Value& value)
{
    factor.levels.push_back({value, 0.0});
    return factor.levels.size() - 1;
}

int Design::CellColumn(std::size_t number, const std::vector<std::size_t>& levels, bool learning)
{
    Term& term = fTerms[number];
    std::uint64_t key = 0;
    for (const std::size_t factor : term.factors) key = key << 16 | levels[factor];
    const auto found = term.cellOfKey.find(key);
    if (found != term.cellOfKey.end()) return term.cells[found->second].column;
    if (!learning) return -1;
    term.cellOfKey.emplace(key, term.cells.size());
    Term::Cell& cell = term.cells.emplace_back();
    for (const std::size_t factor : term.factors) cell.levels.push_back(levels[factor]);
    return cell.column = fColumns++;
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
    // Whether the terms before span the constant; a margin of a term is a term without one of its factors.
    bool constantIsThere = fIntercept;
    for (Term& term : fTerms) {
        for (const std::size_t factor : term.factors) {
            std::vector<std::size_t> rest = term.factors;
            std::erase(rest, factor);
            const bool isConstant = rest.empty() && term.covariates.empty();
            const auto isMargin = [&](const Term& other) {
                return &other != &term && other.covariates.size() == term.covariates.size() &&
                       std::ranges::all_of(term.covariates,
                                           [&](const Term::Covariate& c) {
                                               return std::ranges::find(other.covariates, c) != other.covariates.end();
                                           }) &&
                       std::ranges::is_permutation(other.factors, rest);
            };
            term.hasMargin.push_back(isConstant ? constantIsThere : std::ranges::any_of(fTerms, isMargin));
        }
        constantIsThere = constantIsThere || (term.covariates.empty() && term.factors.size() == 1);
    }
    for (std::size_t p = 0; p < fPredictors.size(); ++p) {
        Predictor& factor = fPredictors[p];
        if (factor.kind != Predictor::Kind::Factor) continue;
        bool hasReference = false; // unless it stands for the constant and is in no other term
        for (const Term& term : fTerms)
            for (std::size_t f = 0; f < term.factors.size(); ++f)
                hasReference = hasReference || (term.factors[f] == p && term.hasMargin[f]);
        const std::string reference = ReferenceOf(factor.name, references);
        factor.encoder = MCCategoricalEncoder(factor.name);
        factor.encoder.SetManyCategories(kMaxParameters);
        factor.encoder.SetCoding(hasReference ? MCCategoricalEncoder::Dummy : MCCategoricalEncoder::Indicator);
        if (hasReference) Choose(factor.encoder, reference);
        for (const Predictor::Level& level : factor.levels) factor.encoder.Learn(level.value, level.weight);
        if (factor.encoder.Finish().IsError())
            throw Failure("--reference: factor " + Quoted(factor.name) + " has no level " + Quoted(reference));
    }
}

bool Design::IsReference(const Term& term, const Term::Cell& cell) const
{
    for (std::size_t f = 0; f < term.factors.size(); ++f) {
        const Predictor& factor = fPredictors[term.factors[f]];
        if (term.hasMargin[f] && factor.encoder.GetCoding() == MCCategoricalEncoder::Dummy &&
            factor.encoder.FindLevel(factor.levels[cell.levels[f]].value) == factor.encoder.GetReferenceLevel())
            return true;
    }
    return false;
}

int Design::NDeterminable() const
{
    int count = fIntercept ? 1 : 0;
    for (const Term& term : fTerms) {
        if (term.factors.empty()) ++count;
        for (const Term::Cell& cell : term.cells) count += IsReference(term, cell) ? 0 : 1;
    }
    return count;
}

std::vector<Parameter> Design::Parameters() const
{
    std::vector<Parameter> parameters;
    parameters.reserve(At(NParameters()));
    if (fIntercept) parameters.emplace_back();
    for (std::size_t t = 0; t < fTerms.size(); ++t) {
        const Term& term = fTerms[t];
        const bool isSimple = term.covariates.size() + term.factors.size() == 1;
        Parameter start;
        start.term = static_cast<int>(t);
        start.kind = Parameter::Kind::Product;
        for (const Term::Covariate& c : term.covariates)
            start.parts.push_back({fPredictors[c.predictor].name, false, {}, 0, c.power});
        if (term.factors.empty()) {
            if (isSimple && term.covariates.front().power == 1) {
                start.kind = Parameter::Kind::Covariate;
                start.field = start.parts.front().field;
            }
            start.column = term.column;
            parameters.push_back(std::move(start));
            continue;
        }
        // Cells in the order of their levels, those of the first factor slowest.
        std::vector<std::pair<std::vector<int>, std::size_t>> order;
        for (std::size_t c = 0; c < term.cells.size(); ++c) {
            std::vector<int> places;
            for (std::size_t f = 0; f < term.factors.size(); ++f) {
                const Predictor& factor = fPredictors[term.factors[f]];
                places.push_back(factor.encoder.FindLevel(factor.levels[term.cells[c].levels[f]].value));
            }
            order.emplace_back(std::move(places), c);
        }
        std::ranges::sort(order);
        for (const auto& [places, c] : order) {
            Parameter& parameter = parameters.emplace_back(start);
            for (std::size_t f = 0; f < term.factors.size(); ++f) {
                const Predictor& factor = fPredictors[term.factors[f]];
                parameter.parts.push_back({factor.name, true, factor.encoder.GetLevelText(places[f]), places[f], 1});
            }
            if (isSimple) {
                parameter.kind = Parameter::Kind::Level;
                parameter.field = parameter.parts.front().field;
                parameter.level = parameter.parts.front().level;
            }
            parameter.column = term.cells[c].column;
            parameter.cell = static_cast<int>(c);
            parameter.reference = IsReference(term, term.cells[c]);
        }
    }
    return parameters;
}

} // namespace model
