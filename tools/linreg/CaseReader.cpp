#include "CaseReader.h"

#include "common/Cell.h"
#include "common/Failure.h"

#include <algorithm>
#include <utility>

namespace linreg {

using namespace procedure;
using MCCommon_930::MCMV;

CaseReader::CaseReader(InputFile& input, const Options& options, Design& design)
    : fInput(input), fTable(input, options.format), fDesign(design), fHasFrequency(!options.frequency.empty()),
      fHasWeight(!options.weight.empty())
{
    fFields.resize(fTable.NColumns());

    Assign(options.target, Field::Role::Target);
    if (fHasFrequency) Assign(options.frequency, Field::Role::Frequency);
    if (fHasWeight) Assign(options.weight, Field::Role::Weight);
    if (options.predictors) {
        for (const std::string& name : *options.predictors) Assign(name, Field::Role::Predictor);
    } else {
        for (std::size_t i = 0; i < fFields.size(); ++i)
            if (fFields[i].role == Field::Role::Unused) Assign(fTable.Name(i), Field::Role::Predictor);
    }
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
    fDesign.Predictors().emplace_back().name = name;
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

bool CaseReader::NextBlock(CaseBlock& block)
{
    block.cases = 0;
    block.values.clear();
    block.levelColumns.clear();
    block.frequencies.clear();
    block.weights.clear();
    while (block.cases < kCasesPerBlock) {
        const std::vector<std::string_view>* const row = fTable.NextRow();
        if (row == nullptr) break;
        if (ReadCase(*row)) AppendCase(block);
    }
    block.columns = fDesign.NColumns();
    return block.cases > 0;
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
            fTarget = fTable.ReadNumber(i, row[i], "the target");
            complete = complete && !MCMV::IsMissing(fTarget);
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

void CaseReader::PlaceCovariates()
{
    fDesign.PlaceCovariates();
    if (fDesign.NParameters() > kMaxParameters) RefuseSize(fPredictorFields[kMaxParameters - 1]);
    fFirstCase.push_back(fTarget);
    for (std::size_t i = 0; i < fNumbers.size(); ++i)
        if (fDesign.Predictors()[i].kind == Predictor::Kind::Covariate) fFirstCase.push_back(fNumbers[i]);
}

void CaseReader::AppendCase(CaseBlock& block)
{
    // In a case that is used every predictor has a value, so by now it is known what each of them is.
    if (!fDesign.CovariatesPlaced()) PlaceCovariates();
    ++block.cases;
    block.values.push_back(fTarget);
    const std::vector<Predictor>& predictors = fDesign.Predictors();
    for (std::size_t i = 0; i < predictors.size(); ++i) {
        if (predictors[i].kind == Predictor::Kind::Covariate)
            block.values.push_back(fNumbers[i]);
        else
            block.levelColumns.push_back(LevelColumn(fPredictorFields[i], fTexts[i]));
    }
    if (fHasFrequency) block.frequencies.push_back(fFrequency);
    if (fHasWeight) block.weights.push_back(fWeight);
}

int CaseReader::LevelColumn(std::size_t field, std::string_view text)
{
    Predictor& factor = fDesign.Predictors()[fFields[field].predictor];
    auto found = factor.levelOfText.find(text);
    if (found == factor.levelOfText.end()) {
        if (!fLearning) throw Failure(fInput.Name() + ": the file was changed while it was being read");
        found = factor.levelOfText.emplace(text, FindOrAddLevel(factor, text)).first;
        if (fDesign.NParameters() > kMaxParameters) RefuseSize(field);
    }
    Predictor::Level& level = factor.levels[found->second];
    if (fLearning) level.weight += fFrequency;
    return level.column;
}

std::size_t CaseReader::FindOrAddLevel(Predictor& factor, std::string_view text)
{
    double number = 0.0;
    if (ParseCell(text, number) != Cell::Number) return fDesign.AddLevel(factor, std::string(text));
    const auto found = factor.levelOfNumber.find(number);
    if (found != factor.levelOfNumber.end()) return found->second;
    const std::size_t place = fDesign.AddLevel(factor, number);
    factor.levelOfNumber.emplace(number, place);
    return place;
}

MCXML_930::MCVariableList CaseReader::Variables(const Options& options) const
{
    using namespace MCXML_930;
    MCVariableList list;
    const auto add = [&](MCVariable&& variable) {
        for (const std::string& text : options.format.missing) variable.AddMissingCode(text);
        list.Add(variable);
    };
    add(MCContinuousVariable(options.target, IMCVariable::StorageReal, IMCVariable::RoleTarget));
    for (const Predictor& p : fDesign.Predictors()) {
        if (p.kind == Predictor::Kind::Covariate) add(MCContinuousVariable(p.name));
        if (p.kind != Predictor::Kind::Factor) continue;
        MCCategoricalVariable factor(p.name, p.levelOfNumber.size() == p.levels.size() ? IMCVariable::StorageReal
                                                                                       : IMCVariable::StorageString);
        for (const MCCommon_930::Value& level : p.encoder.GetLevels()) factor.AddCategory(level);
        add(std::move(factor));
    }
    if (fHasFrequency) add(MCWeightVariable(options.frequency));
    if (fHasWeight) add(MCWeightVariable(options.weight, IMCVariable::RoleRegressionWeight));
    return list;
}

} // namespace linreg
