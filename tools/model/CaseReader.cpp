#include "model/CaseReader.h"

#include "common/Cell.h"
#include "common/Failure.h"
#include "common/Results.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace model {

using namespace procedure;
using MCCommon_930::MCMV;
using MCMath_930::ExactProduct;
using MCMath_930::MCExtended;

CaseReader::CaseReader(InputFile& input, const ModelOptions& options, Design& design)
    : fInput(input), fTable(input, options.format), fDesign(design), fHasFrequency(!options.frequency.empty()),
      fHasWeight(!options.weight.empty())
{
    fFields.resize(fTable.NColumns());

    Assign(options.target, Field::Role::Target);
    if (fHasFrequency) Assign(options.frequency, Field::Role::Frequency);
    if (fHasWeight) Assign(options.weight, Field::Role::Weight);
    // The terms: those of the formula, or one for each predictor.
    const auto others = [&](const std::string&) {
        std::vector<std::string> names;
        for (std::size_t i = 0; i < fFields.size(); ++i)
            if (fFields[i].role == Field::Role::Unused) names.push_back(fTable.Name(i));
        return names;
    };
    std::vector<FormulaTerm> terms;
    if (!options.formula.empty()) {
        terms = ParseFormula(options.formula, others).terms;
    } else {
        for (const std::string& name : options.predictors ? *options.predictors : others({})) {
            if (std::ranges::find(terms, FormulaTerm{FormulaPart{name}}) != terms.end())
                throw Failure("column " + Quoted(name) + " is given two roles");
            terms.push_back(FormulaTerm{FormulaPart{name}});
        }
    }
    fDesign.SetTerms(terms);
    for (const Predictor& predictor : fDesign.Predictors()) Assign(predictor.name, Field::Role::Predictor);
    for (const std::string& name : options.factors) {
        Field& field = fFields[fTable.Find(name)];
        if (field.role != Field::Role::Predictor)
            throw Failure("--factors names " + Quoted(name) + ", which is not a predictor");
        field.namedAsFactor = true;
    }
    if (!options.intercept && fPredictorFields.empty())
        throw Failure("without an intercept the model needs at least one predictor");
    fNumbers.resize(fPredictorFields.size());
    fTexts.resize(fPredictorFields.size());
    fLevels.resize(fPredictorFields.size());
    for (const std::string& name : options.keep) fKept.push_back(fTable.Find(name));
    fEvent = options.event;
    double number = 0.0;
    if (fEvent && ParseCell(*fEvent, number, options.format.decimalComma) == Cell::Number) fEventNumber = number;
}

void CaseReader::Assign(const std::string& name, Field::Role role)
{
    const std::size_t position = fTable.Find(name);
    Field& field = fFields[position];
    if (field.role != Field::Role::Unused) throw Failure("column " + Quoted(name) + " is given two roles");
    field.role = role;
    if (role != Field::Role::Predictor) return;
    field.predictor = fPredictorFields.size();
    fPredictorFields.push_back(position);
}

void CaseReader::RefuseSize(std::size_t field) const
{
    fTable.Refuse(field, "the model has more than " + std::to_string(kMaxParameters) + " parameters");
}

void CaseReader::Restart()
{
    fTable.Restart();
    fLearning = false;
    fCounts = {};
}

void CaseReader::RestartForPredictions()
{
    Restart();
    fPredicting = true;
    fRepeated.clear();
    for (const std::string& name : RepeatedColumns())
        if (name != "row") fRepeated.push_back(fTable.Find(name));
}

std::vector<std::string> CaseReader::RepeatedColumns() const
{
    std::vector<std::string> names{"row"};
    const auto add = [&](std::size_t column) {
        std::string name = fTable.Name(column);
        if (std::ranges::find(names, name) == names.end()) names.push_back(std::move(name));
    };
    for (const std::size_t column : fKept) add(column);
    for (std::size_t i = 0; i < fFields.size(); ++i)
        if (fFields[i].role == Field::Role::Target || fFields[i].role == Field::Role::Frequency ||
            fFields[i].role == Field::Role::Weight)
            add(i);
    return names;
}

bool CaseReader::NextBlock(CaseBlock& block)
{
    block.cases = 0;
    block.values.clear();
    block.cellColumns.clear();
    block.cellValues.clear();
    block.frequencies.clear();
    block.weights.clear();
    block.rests.clear();
    block.cellRests.clear();
    block.caseOfRow.clear();
    block.rowTexts.clear();
    while (block.cases < kCasesPerBlock && block.caseOfRow.size() < static_cast<std::size_t>(kCasesPerBlock)) {
        const std::vector<std::string_view>* const row = fTable.NextRow();
        if (row == nullptr) break;
        const bool isCase = ReadRow(*row, block);
        if (!fPredicting) continue;
        block.caseOfRow.push_back(isCase ? block.cases - 1 : -1);
        std::string& text = block.rowTexts.emplace_back(std::to_string(fCounts.rows));
        for (const std::size_t column : fRepeated) text.append(",").append(CsvField(std::string((*row)[column])));
    }
    block.columns = fDesign.NColumns();
    return block.cases > 0 || !block.caseOfRow.empty();
}

bool CaseReader::ReadRow(const std::vector<std::string_view>& row, CaseBlock& block)
{
    return ReadCase(row) && AppendCase(block);
}

// Takes the row apart into fTarget, fNumbers, fTexts and the weights. False when the case is left out.
bool CaseReader::ReadCase(const std::vector<std::string_view>& row)
{
    ++fCounts.rows;
    bool complete = true;
    for (std::size_t i = 0; i < row.size(); ++i) {
        const Field& field = fFields[i];
        switch (field.role) {
        case Field::Role::Unused: break;
        case Field::Role::Target:
            ReadTarget(i, row[i]);
            complete = complete && (fPredicting || !MCMV::IsMissing(fTarget));
            break;
        case Field::Role::Frequency: fFrequency = fTable.ReadNumber(i, row[i], "the frequency weight"); break;
        case Field::Role::Weight: fWeight = fTable.ReadNumber(i, row[i], "the regression weight"); break;
        case Field::Role::Predictor: {
            const double value = ReadCovariate(i, row[i]);
            fNumbers[field.predictor] = value;
            fTexts[field.predictor] = row[i];
            complete = complete && !MCMV::IsMissing(value);
            break;
        }
        }
    }
    if (fPredicting) return complete;
    // The missing value is negative, so a weight that is missing fails the same test.
    if (!complete)
        ++fCounts.missing;
    else if (!(fFrequency > 0.0 && fWeight > 0.0))
        ++fCounts.unweighted;
    else
        ++fCounts.used;
    return complete && fFrequency > 0.0 && fWeight > 0.0;
}

// The value of a covariate, 0 for a factor that has one, or missing. Settles what the predictor is if this is its first
// value.
double CaseReader::ReadCovariate(std::size_t field, std::string_view text)
{
    Predictor& predictor = fDesign.Predictors()[fFields[field].predictor];
    double value = MCMV::Missing();
    const Cell cell = fTable.Parse(text, value);
    if (cell == Cell::Missing) return MCMV::Missing();
    if (predictor.kind == Predictor::Kind::Unknown) {
        predictor.kind =
            cell == Cell::Text || fFields[field].namedAsFactor ? Predictor::Kind::Factor : Predictor::Kind::Covariate;
        predictor.namedAsFactor = fFields[field].namedAsFactor;
        predictor.firstValue = text;
    }
    if (fLearning) ++(cell == Cell::Number ? predictor.numbers : predictor.texts);
    if (predictor.kind == Predictor::Kind::Factor) return 0.0;
    if (cell == Cell::Text)
        fTable.Refuse(field, "text " + Quoted(text) +
                                 " in a column that was numeric; name it in --factors to take its " +
                                 "values as names, or in --missing if it means that there is none");
    if (cell == Cell::OutOfRange) fTable.Refuse(field, "the number " + Quoted(text) + " is out of range");
    return value;
}

void CaseReader::ReadTarget(std::size_t field, std::string_view text)
{
    if (!fEvent) {
        fTarget = fTable.ReadNumber(field, text, "the target");
        return;
    }
    double number = 0.0;
    const Cell cell = fTable.Parse(text, number);
    if (cell == Cell::Missing) {
        fTarget = MCMV::Missing();
        return;
    }
    fTarget = (fEventNumber && cell == Cell::Number ? number == *fEventNumber : text == *fEvent) ? 1.0 : 0.0;
    constexpr std::size_t kShown = 6;
    if (fLearning && fTargetValues.size() < kShown && std::ranges::find(fTargetValues, text) == fTargetValues.end())
        fTargetValues.emplace_back(text);
}

// With a low part of 0 unless rests are carried.
MCExtended CaseReader::TermValue(const Term& term) const
{
    MCExtended value{1.0};
    for (const Term::Covariate& c : term.covariates)
        for (int power = 0; power < c.power; ++power)
            value = fCarriesRests ? value * fNumbers[c.predictor] : MCExtended{value.high * fNumbers[c.predictor]};
    return value;
}

void CaseReader::PlaceCovariates()
{
    fDesign.PlaceCovariates();
    if (fDesign.NParameters() > kMaxParameters) RefuseSize(fPredictorFields.back());
    fFirstCase.push_back(fTarget);
    for (const std::size_t term : fDesign.CovariateTerms()) fFirstCase.push_back(TermValue(fDesign.Terms()[term]).high);
}

// False for a case with a combination of levels that no case of the first reading had.
bool CaseReader::AppendCase(CaseBlock& block)
{
    // In a case that is used every predictor has a value, so by now it is known what each of them is.
    if (!fDesign.CovariatesPlaced()) PlaceCovariates();
    constexpr auto kUnseen = static_cast<std::size_t>(-1);
    const std::vector<Predictor>& predictors = fDesign.Predictors();
    for (std::size_t i = 0; i < predictors.size(); ++i) {
        if (predictors[i].kind != Predictor::Kind::Factor) continue;
        fLevels[i] = FindLevel(fPredictorFields[i], fTexts[i]);
        if (fLevels[i] == kUnseen) return false;
    }
    const std::size_t columnsBefore = block.cellColumns.size();
    for (const std::size_t term : fDesign.FactorTerms()) {
        const int column = fDesign.CellColumn(term, fLevels, fLearning);
        if (column < 0) {
            if (!fPredicting) throw Failure(fInput.Name() + ": the file was changed while it was being read");
            block.cellColumns.resize(columnsBefore);
            return false;
        }
        block.cellColumns.push_back(column);
        if (fLearning && fDesign.NParameters() > kMaxParameters)
            RefuseSize(fPredictorFields[fDesign.Terms()[term].factors.front()]);
    }
    if (fDesign.HasMixedTerms())
        for (const std::size_t term : fDesign.FactorTerms()) {
            const MCExtended value = TermValue(fDesign.Terms()[term]);
            block.cellValues.push_back(value.high);
            if (fCarriesRests) block.cellRests.push_back(value.low);
        }
    ++block.cases;
    block.values.push_back(fTarget);
    for (const std::size_t term : fDesign.CovariateTerms()) {
        const auto [value, rest] = TermValue(fDesign.Terms()[term]);
        if (!std::isfinite(value))
            fTable.Refuse(fPredictorFields[fDesign.Terms()[term].covariates.front().predictor],
                          "a product of the model is out of range");
        block.values.push_back(value);
        if (fCarriesRests && fDesign.Terms()[term].IsRounded()) block.rests.push_back(rest);
    }
    if (fHasFrequency) block.frequencies.push_back(fFrequency);
    if (fHasWeight) block.weights.push_back(fWeight);
    return true;
}

std::size_t CaseReader::FindLevel(std::size_t field, std::string_view text)
{
    Predictor& factor = fDesign.Predictors()[fFields[field].predictor];
    auto found = factor.levelOfText.find(text);
    if (found == factor.levelOfText.end()) {
        if (fPredicting) {
            double number = 0.0;
            if (fTable.Parse(text, number) != Cell::Number) return static_cast<std::size_t>(-1);
            const auto same = factor.levelOfNumber.find(number);
            return same == factor.levelOfNumber.end() ? static_cast<std::size_t>(-1) : same->second;
        }
        if (!fLearning) throw Failure(fInput.Name() + ": the file was changed while it was being read");
        const std::size_t place = FindOrAddLevel(factor, text);
        found = factor.levelOfText.emplace(text, place).first;
        if (factor.levels.size() > static_cast<std::size_t>(kMaxParameters)) RefuseSize(field);
    }
    if (fLearning) factor.levels[found->second].weight += fFrequency;
    return found->second;
}

std::size_t CaseReader::FindOrAddLevel(Predictor& factor, std::string_view text)
{
    double number = 0.0;
    if (fTable.Parse(text, number) != Cell::Number) return fDesign.AddLevel(factor, std::string(text));
    const auto found = factor.levelOfNumber.find(number);
    if (found != factor.levelOfNumber.end()) return found->second;
    const std::size_t place = fDesign.AddLevel(factor, number);
    factor.levelOfNumber.emplace(number, place);
    return place;
}

void FillDesignRow(const CaseBlock& block, std::size_t i, const std::vector<double>& shift, double* row)
{
    const std::size_t nValues = block.values.size() / At(block.cases);
    const std::size_t nCells = block.cellColumns.size() / At(block.cases);
    const double* const values = block.values.data() + i * nValues;
    if (shift.empty())
        std::copy_n(values, nValues, row);
    else
        std::transform(values, values + nValues, shift.begin(), row, [](double x, double s) { return x - s; });
    std::fill(row + nValues, row + block.columns, 0.0);
    for (std::size_t c = i * nCells; c < (i + 1) * nCells; ++c) row[block.cellColumns[c]] = block.CellValue(c);
}

MCXML_930::MCVariableList Variables(const ModelOptions& options, const Design& design)
{
    using namespace MCXML_930;
    MCVariableList list;
    const auto add = [&](MCVariable&& variable) {
        for (const std::string& text : options.format.missing) variable.AddMissingCode(text);
        list.Add(variable);
    };
    add(MCContinuousVariable(options.target, IMCVariable::StorageReal, IMCVariable::RoleTarget));
    for (const Predictor& p : design.Predictors()) {
        if (p.kind == Predictor::Kind::Covariate) add(MCContinuousVariable(p.name));
        if (p.kind != Predictor::Kind::Factor) continue;
        MCCategoricalVariable factor(p.name, p.levelOfNumber.size() == p.levels.size() ? IMCVariable::StorageReal
                                                                                       : IMCVariable::StorageString);
        for (const MCCommon_930::Value& level : p.encoder.GetLevels()) factor.AddCategory(level);
        add(std::move(factor));
    }
    if (!options.frequency.empty()) add(MCWeightVariable(options.frequency));
    if (!options.weight.empty()) add(MCWeightVariable(options.weight, IMCVariable::RoleRegressionWeight));
    return list;
}

} // namespace model
