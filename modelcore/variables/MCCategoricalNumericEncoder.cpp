#include "modelcore/variables/MCCategoricalNumericEncoder.h"

#include "modelcore/common/MCDisplay.h"
#include "modelcore/variables/internal/StateTree.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <utility>

namespace MCXML_930 {

using internal::StateFields;
using internal::StateTree;
using MCCommon_930::MCMV;
using MCCommon_930::MCStatus;
using MCCommon_930::Value;

namespace {

constexpr std::initializer_list<const char*> kMethods{"rank", "scores", "target mean"};

} // namespace

MCCategoricalNumericEncoder::MCCategoricalNumericEncoder(std::string field) : MCCategoryEncoder(std::move(field)) {}

bool MCCategoricalNumericEncoder::SetMethod(Method method)
{
    // The sums of the target of a given list have their places from the start.
    if (!IsFresh() || (method != MethodRank && method != MethodTargetMean)) return false;
    const Method before = std::exchange(fMethod, method);
    if (AreCategoriesGiven() && before != method) {
        try {
            const std::vector<Value> categories(GetCategories());
            SetCategories(categories);
        } catch (const std::bad_alloc&) {
            fMethod = before;
            throw;
        }
    }
    fvScored.clear();
    fvScores.clear();
    return true;
}

bool MCCategoricalNumericEncoder::SetScores(const std::vector<std::pair<Value, double>>& scores)
{
    std::vector<Value> categories, scored;
    std::vector<double> numbers;
    bool missing = false;
    for (const auto& [value, score] : scores) {
        if (!std::isfinite(score) || MCMV::IsMissing(score) || (value.IsNull() && missing)) return false;
        missing = missing || value.IsNull();
        if (!value.IsNull()) categories.push_back(value);
        scored.push_back(value);
        numbers.push_back(score);
    }
    if (!SetCategories(categories)) return false;
    fMethod = MethodScores;
    fvScored.swap(scored);
    fvScores.swap(numbers);
    return true;
}

bool MCCategoricalNumericEncoder::SetSmoothing(double weight)
{
    if (!IsFresh() || !(weight >= 0.0) || !std::isfinite(weight)) return false;
    fdSmoothing = weight;
    return true;
}

MCStatus MCCategoricalNumericEncoder::FinishLevels(int& columns)
{
    std::vector<double> codes;
    double overall = MCMV::Missing();
    if (fMethod == MethodTargetMean) overall = GetTargetMean();
    internal::CategoryIndex scored;
    std::vector<double> scores;
    double missingScore = MCMV::Missing();
    for (std::size_t i = 0; i < fvScored.size(); ++i) {
        if (fvScored[i].IsNull()) {
            missingScore = fvScores[i];
        } else {
            scored.Insert(fvScored[i]);
            scores.push_back(fvScores[i]);
        }
    }
    for (int level = 0; level < GetNLevels(); ++level) {
        const auto place = static_cast<std::size_t>(level);
        double code = static_cast<double>(level + 1);
        if (fMethod == MethodScores) {
            const Value& value = GetLevels()[place];
            const int category = value.IsNull() ? -1 : scored.Find(value);
            code = category >= 0 ? scores[static_cast<std::size_t>(category)] : missingScore;
            if (category < 0 && (!value.IsNull() || MCMV::IsMissing(missingScore))) {
                MCStatus refused(FinishUnknownScore, false);
                refused.SetDiscreteDatum(0, level);
                return refused;
            }
        } else if (fMethod == MethodTargetMean) {
            const double weight = GetLevelWeights()[place] + fdSmoothing;
            code = GetLevelWeights()[place] > 0.0 ? (GetTargetSums()[place] + fdSmoothing * overall) / weight : overall;
            if (!std::isfinite(code)) return {FinishNotFinite, false};
        }
        codes.push_back(code);
    }
    fvCodes.swap(codes);
    fdOverall = overall;
    columns = 1;
    return {};
}

bool MCCategoricalNumericEncoder::HasOwnBaseline() const
{
    return fMethod == MethodTargetMean && !MCMV::IsMissing(fdOverall);
}

void MCCategoricalNumericEncoder::WriteLevel(int level, double* columns) const
{
    columns[0] = level >= 0 ? fvCodes[static_cast<std::size_t>(level)] : fdOverall;
}

int MCCategoricalNumericEncoder::FindRow(const double* columns) const
{
    const auto found = std::find(fvCodes.begin(), fvCodes.end(), columns[0]);
    if (found == fvCodes.end() || std::find(found + 1, fvCodes.end(), columns[0]) != fvCodes.end()) return -1;
    return static_cast<int>(found - fvCodes.begin());
}

std::string MCCategoricalNumericEncoder::GetColumnName(int column) const
{
    return column == 0 && IsFinished() ? GetField() : std::string();
}

std::unique_ptr<IMCEncoder> MCCategoricalNumericEncoder::Clone() const
{
    return std::make_unique<MCCategoricalNumericEncoder>(*this);
}

void MCCategoricalNumericEncoder::SaveSettings(Value& map) const
{
    MCCategoryEncoder::SaveSettings(map);
    map["method"] = internal::WordOf(fMethod, kMethods);
    map["smoothing"] = StateTree::FromReal(fdSmoothing);
    if (fMethod != MethodScores) return;
    map["scored"] = StateTree::FromScalars(fvScored);
    map["scores"] = StateTree::FromReals(fvScores);
}

bool MCCategoricalNumericEncoder::LoadSettings(const Value& map)
{
    StateFields fields(map);
    fields.ReadWord("method", fMethod, kMethods);
    fields.Require(fields.Read("smoothing", fdSmoothing) && SetSmoothing(fdSmoothing));
    if (!fields.Ok() || !MCCategoryEncoder::LoadSettings(map)) return false;
    if (fMethod != MethodScores) return true;
    std::vector<Value> scored;
    std::vector<double> scores;
    fields.ReadScalars("scored", scored);
    fields.Read("scores", scores);
    if (!fields.Require(scored.size() == scores.size())) return false;
    std::vector<std::pair<Value, double>> pairs;
    for (std::size_t i = 0; i < scored.size(); ++i) pairs.emplace_back(scored[i], scores[i]);
    return SetScores(pairs);
}

void MCCategoricalNumericEncoder::SaveLearned(Value& map) const
{
    MCCategoryEncoder::SaveLearned(map);
    if (!IsFinished()) return;
    map["codes"] = StateTree::FromReals(fvCodes);
    map["overallMean"] = StateTree::FromReal(fdOverall);
}

bool MCCategoricalNumericEncoder::LoadLearned(const Value& map)
{
    if (!MCCategoryEncoder::LoadLearned(map)) return false;
    if (!IsFinished()) return true;
    StateFields fields(map);
    fields.Read("codes", fvCodes);
    fields.Read("overallMean", fdOverall);
    return fields.Require(fvCodes.size() == GetLevels().size() && GetNColumns() == 1);
}

bool MCCategoricalNumericEncoder::Replace(const Value& tree)
{
    return ReplaceBy(*this, tree);
}

void MCCategoricalNumericEncoder::DisplayLearned() const
{
    MCCategoryEncoder::DisplayLearned();
    MCDisplay_930::Display("Numbers of the levels", fvCodes);
}

} // namespace MCXML_930
