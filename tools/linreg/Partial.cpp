#include "Partial.h"

#include "common/Cell.h"
#include "common/Failure.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <iterator>
#include <sstream>
#include <utility>

namespace linreg {

using namespace procedure;
using namespace model;
using MCXML_930::JsonObject;

namespace {

constexpr const char* kStateFormat = "linreg state 1";
constexpr const char* kExactFormat = "linreg exact state 1"; // a line, and then the sums

} // namespace

void Sums::Merge(const Sums& other, const std::vector<int>& columns, int nColumns, bool intercept)
{
    frequencies += other.frequencies;
    counts.rows += other.counts.rows;
    counts.used += other.counts.used;
    counts.missing += other.counts.missing;
    counts.unweighted += other.counts.unweighted;
    if (exact) {
        exact->Append(*other.exact);
        frequencies = exact->frequencies.GetNCases();
        weights = exact->products.GetNCases();
        return;
    }
    const int before = products.GetNRows();
    if (nColumns > before) { // levels that this part did not have: exact zeros
        MCMath_930::MCSymMatrix grown;
        grown.SetNRows(nColumns);
        for (int i = 0; i < nColumns; ++i)
            for (int j = 0; j <= i; ++j) grown.SetElem(i, j, i < before ? products.GetElem(i, j) : 0.0);
        products = std::move(grown);
        means.resize(At(nColumns));
    }
    std::vector<double> theirs(At(nColumns)); // means, by the columns and shifts of this object
    for (std::size_t j = 0; j < columns.size(); ++j) {
        const double moved = j < shift.size() ? other.shift[j] - shift[j] : 0.0;
        theirs[At(columns[j])] = other.means[j] + moved;
    }
    const double total = weights + other.weights;
    const double factor = intercept ? weights * (other.weights / total) : 0.0;
    for (std::size_t i = 0; i < columns.size(); ++i)
        for (std::size_t j = 0; j <= i; ++j) {
            const int a = std::max(columns[i], columns[j]);
            const int b = std::min(columns[i], columns[j]);
            products.SetElem(a, b,
                             products.GetElem(a, b) + other.products.GetElem(static_cast<int>(i), static_cast<int>(j)));
        }
    for (int i = 0; i < nColumns; ++i)
        for (int j = 0; j <= i && factor > 0.0; ++j)
            products.SetElem(i, j,
                             products.GetElem(i, j) +
                                 factor * (theirs[At(i)] - means[At(i)]) * (theirs[At(j)] - means[At(j)]));
    for (std::size_t i = 0; i < means.size(); ++i) means[i] += (theirs[i] - means[i]) * (other.weights / total);
    weights = total;
}

JsonObject SaveState(const Options& options, const Design& design, const Sums& sums)
{
    JsonObject json = JsonObject::NewObject();
    json.Set("format", sums.exact ? kExactFormat : kStateFormat);
    if (sums.exact) json.Set("settings", options.settings.ToJson(true));
    json.Set("target", options.target);
    json.Set("intercept", design.HasIntercept());
    json.Set("frequency", options.frequency);
    json.Set("weight", options.weight);
    JsonObject predictors = JsonObject::NewArray();
    for (const Predictor& p : design.Predictors()) {
        JsonObject one = JsonObject::NewObject();
        one.Set("name", p.name);
        one.Set("isFactor", p.kind == Predictor::Kind::Factor);
        JsonObject levels = JsonObject::NewArray();
        std::vector<double> levelWeights;
        for (const Predictor::Level& level : p.levels) {
            JsonObject value;
            if (!JsonObject::FromValue(level.value, value))
                throw Failure("the state cannot be saved: a level of " + Quoted(p.name) + " is no text");
            levels.Append(std::move(value));
            levelWeights.push_back(level.weight);
        }
        one.Set("levels", std::move(levels));
        one.Set("levelWeights", JsonObject::FromReals(levelWeights));
        predictors.Append(std::move(one));
    }
    json.Set("predictors", std::move(predictors));
    JsonObject terms = JsonObject::NewArray();
    for (const FormulaTerm& term : design.Formula()) {
        JsonObject parts = JsonObject::NewArray();
        for (const FormulaPart& part : term) {
            JsonObject one = JsonObject::NewObject();
            one.Set("name", part.name);
            one.Set("power", part.power);
            parts.Append(std::move(one));
        }
        terms.Append(std::move(parts));
    }
    json.Set("terms", std::move(terms));
    // The cells in the order of their columns: term, then a level of each of its factors.
    std::vector<std::vector<int>> cells(At(design.NColumns()));
    for (const std::size_t t : design.FactorTerms())
        for (const Term::Cell& cell : design.Terms()[t].cells) {
            std::vector<int>& numbers = cells[At(cell.column)];
            numbers.push_back(static_cast<int>(t));
            for (const std::size_t level : cell.levels) numbers.push_back(static_cast<int>(level));
        }
    JsonObject list = JsonObject::NewArray();
    for (const std::vector<int>& cell : cells)
        if (!cell.empty()) list.Append(JsonObject::FromIntegers(cell));
    json.Set("cells", std::move(list));
    const CaseCounts& c = sums.counts;
    json.Set("counts", JsonObject::FromReals(
                           std::vector<double>{static_cast<double>(c.rows), static_cast<double>(c.used),
                                               static_cast<double>(c.missing), static_cast<double>(c.unweighted)}));
    if (sums.exact) return json;
    json.Set("frequencies", sums.frequencies);
    json.Set("weights", sums.weights);
    json.Set("shift", JsonObject::FromReals(sums.shift));
    json.Set("means", JsonObject::FromReals(sums.means));
    const auto n = static_cast<std::size_t>(sums.products.GetNRows());
    json.Set("products", JsonObject::FromReals(std::span<const double>(sums.products.GetPtr(), n * (n + 1) / 2)));
    return json;
}

std::string SaveExactSums(const ExactSums& sums)
{
    std::ostringstream text;
    sums.products.WriteObjectXML(text, 0);
    sums.frequencies.WriteObjectXML(text, 0);
    return text.str();
}

namespace {

/// One state, in the numbers of its own columns.
struct State {
    std::string target, frequency, weight;
    bool intercept = true;
    std::vector<FormulaTerm> terms;
    std::vector<Predictor> predictors; ///< names, kinds and levels
    std::vector<std::vector<int>> cells;
    JsonObject settings; ///< of an exact state
    Sums sums;

    /// A state of either kind.
    bool Read(const std::string& path)
    {
        std::ifstream file(path, std::ios::binary);
        if (!file) throw Failure(path + ": cannot be opened");
        std::string text;
        JsonObject json;
        std::string format;
        std::getline(file, text);
        const bool isExact = JsonObject::Parse(text, json) && json["format"].Read(format) && format == kExactFormat;
        if (isExact) return ReadModel(json) && ReadExactSums(file, json);
        text.append("\n").append(std::istreambuf_iterator<char>(file), {});
        return JsonObject::Parse(text, json) && json["format"].Read(format) && format == kStateFormat &&
               ReadModel(json) && ReadSums(json);
    }

    std::size_t NCovariateColumns() const
    {
        std::size_t covariates = 1;
        for (const FormulaTerm& term : terms)
            covariates += std::ranges::all_of(term, [&](const FormulaPart& part) {
                const auto found = std::ranges::find(predictors, part.name, &Predictor::name);
                return found != predictors.end() && found->kind == Predictor::Kind::Covariate;
            });
        return covariates;
    }

private:
    bool ReadExactSums(std::ifstream& file, const JsonObject& json)
    {
        settings = json["settings"];
        ExactSums& exact = sums.exact.emplace();
        if (exact.products.ReadObjectXML(file) == 0 || exact.frequencies.ReadObjectXML(file) == 0 ||
            exact.products.IsIntercept() != intercept || exact.frequencies.GetNVars() != 0)
            return false;
        sums.weights = exact.products.GetNCases();
        sums.frequencies = exact.frequencies.GetNCases();
        return sums.weights > 0.0 &&
               std::all_of(std::istreambuf_iterator<char>(file), {}, [](char c) { return c == '\n' || c == '\r'; });
    }

    bool ReadModel(const JsonObject& json)
    {
        std::vector<double> counts;
        if (!json["target"].Read(target) || !json["intercept"].Read(intercept) || !json["frequency"].Read(frequency) ||
            !json["weight"].Read(weight) || !json["counts"].Read(counts) || counts.size() != 4)
            return false;
        sums.counts = {static_cast<std::int64_t>(counts[0]), static_cast<std::int64_t>(counts[1]),
                       static_cast<std::int64_t>(counts[2]), static_cast<std::int64_t>(counts[3])};
        for (const JsonObject& term : json["terms"].Elements()) {
            FormulaTerm& parts = terms.emplace_back();
            for (const JsonObject& one : term.Elements()) {
                FormulaPart& part = parts.emplace_back();
                if (!one["name"].Read(part.name) || !one["power"].Read(part.power)) return false;
            }
        }
        for (const JsonObject& one : json["predictors"].Elements()) {
            Predictor& p = predictors.emplace_back();
            bool isFactor = false;
            std::vector<double> levelWeights;
            if (!one["name"].Read(p.name) || !one["isFactor"].Read(isFactor) ||
                !one["levelWeights"].Read(levelWeights) || levelWeights.size() != one["levels"].Size())
                return false;
            p.kind = isFactor ? Predictor::Kind::Factor : Predictor::Kind::Covariate;
            for (std::size_t i = 0; i < levelWeights.size(); ++i) {
                Predictor::Level& level = p.levels.emplace_back();
                if (!one["levels"].At(i)->ToValue(level.value)) return false;
                level.weight = levelWeights[i];
            }
        }
        for (const JsonObject& one : json["cells"].Elements())
            if (!one.Read(cells.emplace_back())) return false;
        return true;
    }

    bool ReadSums(const JsonObject& json)
    {
        std::vector<double> products;
        if (!json["frequencies"].Read(sums.frequencies) || !json["weights"].Read(sums.weights) ||
            !(sums.weights > 0.0) || !json["shift"].Read(sums.shift) || !json["means"].Read(sums.means) ||
            !json["products"].Read(products))
            return false;
        const std::size_t n = sums.means.size(), covariates = NCovariateColumns();
        if (n != covariates + cells.size() || products.size() != n * (n + 1) / 2 ||
            (intercept ? sums.shift.size() != covariates : !sums.shift.empty()))
            return false;
        sums.products.SetNRows(static_cast<int>(n));
        std::size_t next = 0;
        for (int i = 0; i < static_cast<int>(n); ++i)
            for (int j = 0; j <= i; ++j) sums.products.SetElem(i, j, products[next++]);
        return true;
    }
};

/// The place of each level of theirs among those of ours, which get the new ones.
std::vector<std::size_t> AddLevels(Design& design, Predictor& ours, const Predictor& theirs)
{
    std::vector<std::size_t> places;
    for (const Predictor::Level& level : theirs.levels) {
        const auto same = [&](const Predictor::Level& own) {
            return own.value.GetType() == level.value.GetType() && own.value.GetString() == level.value.GetString();
        };
        const auto found = std::ranges::find_if(ours.levels, same);
        const auto place = static_cast<std::size_t>(found - ours.levels.begin());
        if (found == ours.levels.end()) design.AddLevel(ours, level.value);
        ours.levels[place].weight += level.weight;
        places.push_back(place);
    }
    return places;
}

/// Brings the sums of a state to the columns that its columns have in the design. False when there are not as many.
bool MoveColumns(ExactSums& sums, const std::vector<int>& columns, const Design& design)
{
    const ExactColumns places(design);
    std::vector<int> positions(At(places.Count(static_cast<int>(columns.size()))));
    for (std::size_t j = 0; j < columns.size(); ++j) {
        const MCMath_930::MCColumnPair from = places.Of(static_cast<int>(j)), to = places.Of(columns[j]);
        positions[At(from.high)] = to.high;
        if (from.low >= 0) positions[At(from.low)] = to.low;
    }
    return sums.products.Expand(positions, places.Count(design.NColumns()));
}

/// The options become those that the state was made with, where the command line did not say otherwise.
void RestoreSettings(const State& state, const std::string& path, Options& options)
{
    const JsonObject said = options.settings.ToJson(true);
    if (options.settings.FromJson(state.settings).IsError() || options.settings.FromJson(said).IsError())
        throw Failure(path + ": it was saved with settings that cannot be set");
    TakeModelOptions(options);
    options.exact = true;
}

} // namespace

void LoadStates(const std::vector<std::string>& paths, Options& options, Design& design, Sums& sums)
{
    State first;
    for (std::size_t i = 0; i < paths.size(); ++i) {
        State state;
        if (!state.Read(paths[i])) throw Failure(paths[i] + ": no state that linreg --save has written");
        if (i == 0) {
            if (state.sums.exact)
                RestoreSettings(state, paths[i], options);
            else if (options.exact)
                throw Failure(paths[i] + ": its sums are not exact");
            options.target = state.target;
            options.intercept = state.intercept;
            options.frequency = state.frequency;
            options.weight = state.weight;
            design = Design(state.intercept);
            design.SetTerms(state.terms);
            for (Predictor& ours : design.Predictors()) {
                const auto found = std::ranges::find(state.predictors, ours.name, &Predictor::name);
                if (found == state.predictors.end())
                    throw Failure(paths[i] + ": no state that linreg --save has written");
                ours.kind = found->kind;
            }
            design.PlaceCovariates();
            first = state;
        } else if (state.target != first.target || state.intercept != first.intercept || state.terms != first.terms ||
                   state.frequency != first.frequency || state.weight != first.weight ||
                   state.sums.exact.has_value() != first.sums.exact.has_value()) {
            throw Failure(paths[i] + ": it is of another model than " + paths.front());
        }
        std::vector<std::vector<std::size_t>> places(design.Predictors().size());
        for (std::size_t p = 0; p < places.size(); ++p) {
            Predictor& ours = design.Predictors()[p];
            const auto theirs = std::ranges::find(state.predictors, ours.name, &Predictor::name);
            if (theirs == state.predictors.end() || theirs->kind != ours.kind)
                throw Failure(paths[i] + ": " + Quoted(ours.name) +
                              " is a number in one part and a factor in another; --factors says which are factors");
            places[p] = AddLevels(design, ours, *theirs);
        }
        std::vector<int> columns;
        for (std::size_t j = 0; j < state.NCovariateColumns(); ++j) columns.push_back(static_cast<int>(j));
        for (const std::vector<int>& cell : state.cells) {
            const auto refuse = [&] { throw Failure(paths[i] + ": no state that linreg --save has written"); };
            if (cell.empty() || cell[0] < 0 || At(cell[0]) >= design.Terms().size()) refuse();
            const Term& term = design.Terms()[At(cell[0])];
            if (term.factors.empty() || cell.size() != term.factors.size() + 1) refuse();
            std::vector<std::size_t> levels(places.size());
            for (std::size_t f = 0; f < term.factors.size(); ++f) {
                const std::vector<std::size_t>& known = places[term.factors[f]];
                if (cell[f + 1] < 0 || At(cell[f + 1]) >= known.size()) refuse();
                levels[term.factors[f]] = known[At(cell[f + 1])];
            }
            columns.push_back(design.CellColumn(At(cell[0]), levels, true));
        }
        if (design.NParameters() > kMaxParameters)
            throw Failure(paths[i] + ": the model has more than " + std::to_string(kMaxParameters) + " parameters");
        if (state.sums.exact && !MoveColumns(*state.sums.exact, columns, design))
            throw Failure(paths[i] + ": no state that linreg --save has written");
        if (i == 0)
            sums = state.sums;
        else
            sums.Merge(state.sums, columns, design.NColumns(), state.intercept);
    }
}

} // namespace linreg
