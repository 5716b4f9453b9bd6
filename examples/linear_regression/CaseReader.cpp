#include "CaseReader.h"

#include "common/Cell.h"
#include "common/Failure.h"

#include <algorithm>

namespace linreg {

using namespace procedure;
using MCCommon_930::MCMV;

CaseReader::CaseReader(InputFile& input, const Options& options, Design& design)
    : fInput(input), fCsv(input), fDesign(design), fHasFrequency(!options.frequency.empty()),
      fHasWeight(!options.weight.empty())
{
    const std::vector<std::string_view>* const header = fCsv.NextRow();
    if (header == nullptr) throw Failure(fInput.Name() + ": no header row");
    for (const std::string_view name : *header) fFields.push_back({std::string(name)});

    Assign(options.target, Field::Role::Target);
    if (fHasFrequency) Assign(options.frequency, Field::Role::Frequency);
    if (fHasWeight) Assign(options.weight, Field::Role::Weight);
    if (options.predictors) {
        for (const std::string& name : *options.predictors) Assign(name, Field::Role::Predictor);
    } else {
        for (const Field& field : fFields)
            if (field.role == Field::Role::Unused) Assign(field.name, Field::Role::Predictor);
    }
    for (const std::string& name : options.factors) {
        Field& field = fFields[FindField(name)];
        if (field.role != Field::Role::Predictor)
            throw Failure("--factors names " + Quoted(name) + ", which is not a predictor");
        field.namedAsFactor = true;
    }
    if (!options.intercept && fPredictorFields.empty())
        throw Failure("without an intercept the model needs at least one predictor");
    fNumbers.resize(fPredictorFields.size());
    fTexts.resize(fPredictorFields.size());
}

std::size_t CaseReader::FindField(const std::string& name) const
{
    const auto named = [&name](const Field& field) { return field.name == name; };
    const auto found = std::ranges::find_if(fFields, named);
    if (found == fFields.end())
        throw Failure(AtLine(fInput.Name(), fCsv.Line()) + ": there is no column " + Quoted(name));
    if (std::find_if(found + 1, fFields.end(), named) != fFields.end())
        throw Failure(AtLine(fInput.Name(), fCsv.Line()) + ": more than one column is named " + Quoted(name));
    return static_cast<std::size_t>(found - fFields.begin());
}

void CaseReader::Assign(const std::string& name, Field::Role role)
{
    const std::size_t position = FindField(name);
    Field& field = fFields[position];
    if (field.role != Field::Role::Unused) throw Failure("column " + Quoted(name) + " is given two roles");
    field.role = role;
    if (role != Field::Role::Predictor) return;
    field.predictor = fPredictorFields.size();
    fPredictorFields.push_back(position);
    fDesign.Predictors().emplace_back().name = name;
}

void CaseReader::Refuse(std::size_t field, const std::string& complaint) const
{
    throw Failure(AtLine(fInput.Name(), fCsv.Line()) + ", column " + std::to_string(field + 1) + " (" +
                  fFields[field].name + "): " + complaint);
}

void CaseReader::RefuseSize(std::size_t field) const
{
    Refuse(field, "the model has more than " + std::to_string(kMaxParameters) + " parameters");
}

void CaseReader::Restart()
{
    fCsv.Restart();
    fCsv.NextRow();
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
        const std::vector<std::string_view>* const row = fCsv.NextRow();
        if (row == nullptr) break;
        if (row->size() != fFields.size())
            throw Failure(AtLine(fInput.Name(), fCsv.Line()) + ": the row has " + std::to_string(row->size()) +
                          " fields, the header " + std::to_string(fFields.size()));
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
            fTarget = ReadNumber(i, row[i], "the target");
            complete = complete && !MCMV::IsMissing(fTarget);
            break;
        case Field::Role::Frequency: fFrequency = ReadNumber(i, row[i], "the frequency weight"); break;
        case Field::Role::Weight: fWeight = ReadNumber(i, row[i], "the regression weight"); break;
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

double CaseReader::ReadNumber(std::size_t field, std::string_view text, const char* inColumn) const
{
    double value = MCMV::Missing();
    switch (ParseCell(text, value)) {
    case Cell::Text: Refuse(field, "text " + Quoted(text) + " in the column of " + inColumn);
    case Cell::OutOfRange: Refuse(field, "the number " + Quoted(text) + " is out of range");
    case Cell::Missing:
    case Cell::Number: break;
    }
    return value;
}

// The value of a covariate, 0 for a factor that has one, or missing. Settles what the predictor is if this is its first
// value.
double CaseReader::ReadCovariate(std::size_t field, std::string_view text)
{
    Predictor& predictor = fDesign.Predictors()[fFields[field].predictor];
    double value = MCMV::Missing();
    const Cell cell = ParseCell(text, value);
    if (cell == Cell::Missing) return MCMV::Missing();
    if (predictor.kind == Predictor::Kind::Unknown)
        predictor.kind =
            cell == Cell::Text || fFields[field].namedAsFactor ? Predictor::Kind::Factor : Predictor::Kind::Covariate;
    if (predictor.kind == Predictor::Kind::Factor) return 0.0;
    if (cell == Cell::Text)
        Refuse(field, "text " + Quoted(text) + " in a column that was numeric; name it in --factors to take its " +
                          "values as names");
    if (cell == Cell::OutOfRange) Refuse(field, "the number " + Quoted(text) + " is out of range");
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
    const auto found = factor.columnOfLevel.find(text);
    if (found != factor.columnOfLevel.end()) return found->second;
    if (!fLearning) throw Failure(fInput.Name() + ": the file was changed while it was being read");
    const int column = fDesign.AddLevel(factor, text);
    if (fDesign.NParameters() > kMaxParameters) RefuseSize(field);
    return column;
}

} // namespace linreg
