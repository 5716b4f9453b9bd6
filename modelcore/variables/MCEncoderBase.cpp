#include "modelcore/variables/MCEncoderBase.h"

#include "modelcore/common/MCDisplay.h"
#include "modelcore/variables/MCBinningEncoder.h"
#include "modelcore/variables/MCCategoricalEncoder.h"
#include "modelcore/variables/MCCategoricalNumericEncoder.h"
#include "modelcore/variables/MCContinuousEncoder.h"
#include "modelcore/variables/MCRoundingEncoder.h"
#include "modelcore/variables/MCStringEncoder.h"
#include "modelcore/variables/internal/CategoryIndex.h"
#include "modelcore/variables/internal/StateTree.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <new>
#include <utility>

namespace MCXML_930 {

using internal::StateFields;
using internal::StateTree;
using MCCommon_930::MCMV;
using MCCommon_930::MCStatus;
using MCCommon_930::Value;

namespace {

constexpr std::initializer_list<const char*> kMissingRules{"stays", "replaced", "own category", "refused"};
constexpr double kMostWeight = MCMath_930::MCQuantileSketch::kMostWeight;

} // namespace

IMCEncoder::~IMCEncoder() = default;

MCEncoderBase::MCEncoderBase(std::string field) : fField(std::move(field)) {}
MCEncoderBase::MCEncoderBase(const MCEncoderBase&) = default;
MCEncoderBase::MCEncoderBase(MCEncoderBase&&) noexcept = default;
MCEncoderBase& MCEncoderBase::operator=(const MCEncoderBase&) = default;
MCEncoderBase& MCEncoderBase::operator=(MCEncoderBase&&) noexcept = default;
MCEncoderBase::~MCEncoderBase() = default;

bool MCEncoderBase::IsReplacementLegal(const Value& value) const
{
    return value.IsNull() || (!internal::IsUnknown(value) && value.GetType() <= Value::TypeString);
}

bool MCEncoderBase::SetMissingRule(MissingRule rule, const Value& replacement)
{
    if (!IsFresh() || rule < MissingStays || rule > MissingRefused || !IsReplacementLegal(replacement)) return false;
    fReplacement = replacement;
    fMissingRule = rule;
    return true;
}

bool MCEncoderBase::LearnOne(const Value& value, const Value* target, double weight)
{
    if (fbFinished || !(weight > 0.0) || !(weight + fdValidWeight + fdMissingWeight <= kMostWeight)) return false;
    if (!NeedsTarget())
        target = nullptr;
    else if (target == nullptr || internal::IsUnknown(*target) || !IsTargetLegal(*target))
        return false;
    const Learned learned = internal::IsUnknown(value) ? Learned::Missing : LearnValid(value, target, weight);
    if (learned == Learned::Missing) {
        LearnMissing(target, weight);
        fdMissingWeight += weight;
    } else if (learned == Learned::Valid) {
        fdValidWeight += weight;
    }
    return learned != Learned::Refused;
}

bool MCEncoderBase::Learn(const Value& value, double frequencyWeight)
{
    return LearnOne(value, nullptr, frequencyWeight);
}

bool MCEncoderBase::LearnWithTarget(const Value& value, const Value& target, double frequencyWeight)
{
    return LearnOne(value, &target, frequencyWeight);
}

/// Calls learnCases(learned), which counts the cases that are in. A copy to go back to would cost more than small blocks
/// do, so what is learned is all of a block or, when memory runs out, nothing of any.
template <class LearnCases>
int MCEncoderBase::LearnWholeBlock(LearnCases learnCases)
{
    int learned = 0;
    try {
        learnCases(learned);
    } catch (const std::bad_alloc&) {
        if (learned > 0) {
            ForgetLearned();
            fdValidWeight = fdMissingWeight = 0.0;
        }
        throw;
    }
    return learned;
}

int MCEncoderBase::LearnBlock(std::span<const double> x, std::span<const double> weights)
{
    if (!weights.empty() && weights.size() != x.size()) return -1;
    constexpr std::size_t kPiece = 512;
    const bool plain = weights.empty() && !fbFinished && !NeedsTarget();
    return LearnWholeBlock([&](int& learned) {
        for (std::size_t from = 0; from < x.size(); from += kPiece) {
            const std::span<const double> piece = x.subspan(from, std::min(kPiece, x.size() - from));
            if (plain) {
                learned += static_cast<int>(piece.size()); // some may be in when it throws
                if (LearnPlain(piece)) {
                    fdValidWeight += static_cast<double>(piece.size());
                    continue;
                }
                learned -= static_cast<int>(piece.size());
            }
            for (std::size_t i = 0; i < piece.size(); ++i)
                if (LearnOne(Value(piece[i]), nullptr, weights.empty() ? 1.0 : weights[from + i])) ++learned;
        }
    });
}

int MCEncoderBase::LearnBlockWithTarget(std::span<const double> x, std::span<const double> targets,
                                        std::span<const double> weights)
{
    if (targets.size() != x.size() || (!weights.empty() && weights.size() != x.size())) return -1;
    return LearnWholeBlock([&](int& learned) {
        for (std::size_t i = 0; i < x.size(); ++i) {
            const Value target(targets[i]);
            if (LearnOne(Value(x[i]), &target, weights.empty() ? 1.0 : weights[i])) ++learned;
        }
    });
}

bool MCEncoderBase::Merge(const IMCEncoder& other)
{
    const auto* const same = dynamic_cast<const MCEncoderBase*>(&other);
    if (same == nullptr || same == this || fbFinished || same->fbFinished) return false;
    Value mine, others;
    SaveSettings(mine);
    same->SaveSettings(others);
    if (std::string(ClassName()) != same->ClassName() || mine.GetString() != others.GetString()) return false;
    if (fdValidWeight + fdMissingWeight + same->fdValidWeight + same->fdMissingWeight > kMostWeight) return false;
    MergeLearned(*same);
    fdValidWeight += same->fdValidWeight;
    fdMissingWeight += same->fdMissingWeight;
    return true;
}

MCStatus MCEncoderBase::Finish()
{
    if (fbFinished) return {FinishNotPossible, false};
    int columns = 0;
    const MCStatus status = FinishLearned(columns);
    if (status.IsError()) return status;
    fnColumns = columns;
    fbFinished = true;
    return status;
}

IMCEncoder::Outcome MCEncoderBase::Encode(const Value& value, std::span<double> columns) const
{
    if (!fbFinished || columns.size() < static_cast<std::size_t>(fnColumns)) return Refused;
    return EncodeOne(value, columns.data());
}

bool MCEncoderBase::Decode(std::span<const double> columns, Value& value) const
{
    return fbFinished && columns.size() >= static_cast<std::size_t>(fnColumns) && DecodeRow(columns.data(), value);
}

void MCEncoderBase::FillMissing(double* columns) const
{
    std::fill_n(columns, fnColumns, MCMV::Missing());
}

int MCEncoderBase::Settle(Outcome outcome, double* columns, std::size_t i, Outcome* outcomes) const
{
    if (outcome == Refused) FillMissing(columns);
    if (outcomes != nullptr) outcomes[i] = outcome;
    return outcome == Refused ? 0 : 1;
}

bool MCEncoderBase::HasRoom(std::size_t count, std::size_t rows, int stride, std::size_t outcomes) const
{
    if (!fbFinished || stride < fnColumns || (outcomes != 0 && outcomes < count)) return false;
    if (count == 0 || fnColumns == 0) return true;
    const auto columns = static_cast<std::size_t>(fnColumns);
    return rows >= columns && (rows - columns) / static_cast<std::size_t>(stride) >= count - 1;
}

int MCEncoderBase::EncodeRows(std::span<const double> x, double* rows, std::size_t stride, Outcome* outcomes) const
{
    int encoded = 0;
    for (std::size_t i = 0; i < x.size(); ++i, rows += stride)
        encoded += Settle(EncodeOne(Value(x[i]), rows), rows, i, outcomes);
    return encoded;
}

int MCEncoderBase::EncodeBlock(std::span<const double> x, std::span<double> rows, int stride,
                               std::span<Outcome> outcomes) const
{
    if (!HasRoom(x.size(), rows.size(), stride, outcomes.size())) return -1;
    return EncodeRows(x, rows.data(), static_cast<std::size_t>(stride), outcomes.empty() ? nullptr : outcomes.data());
}

int MCEncoderBase::EncodeBlock(std::span<const Value> values, std::span<double> rows, int stride,
                               std::span<Outcome> outcomes) const
{
    if (!HasRoom(values.size(), rows.size(), stride, outcomes.size())) return -1;
    int encoded = 0;
    double* row = rows.data();
    for (std::size_t i = 0; i < values.size(); ++i, row += stride)
        encoded += Settle(EncodeOne(values[i], row), row, i, outcomes.empty() ? nullptr : outcomes.data());
    return encoded;
}

void MCEncoderBase::SaveSettings(Value& map) const
{
    map["class"] = ClassName();
    map["field"] = StateTree::FromText(fField);
    map["missingRule"] = internal::WordOf(fMissingRule, kMissingRules);
    map["missingReplacement"] = StateTree::FromScalar(fReplacement);
}

bool MCEncoderBase::LoadSettings(const Value& map)
{
    StateFields fields(map);
    std::string className;
    fields.Read("class", className);
    fields.Read("field", fField);
    fields.ReadWord("missingRule", fMissingRule, kMissingRules);
    fields.ReadScalar("missingReplacement", fReplacement);
    return fields.Require(className == ClassName() && IsReplacementLegal(fReplacement));
}

void MCEncoderBase::SaveLearned(Value& map) const
{
    map["validWeight"] = StateTree::FromReal(fdValidWeight);
    map["missingWeight"] = StateTree::FromReal(fdMissingWeight);
    map["columns"] = fnColumns;
    map["finished"] = fbFinished;
}

bool MCEncoderBase::LoadLearned(const Value& map)
{
    StateFields fields(map);
    fields.Read("validWeight", fdValidWeight);
    fields.Read("missingWeight", fdMissingWeight);
    fields.Read("columns", fnColumns, 0, std::numeric_limits<int>::max());
    fields.Read("finished", fbFinished);
    return fields.Require(fdValidWeight >= 0.0 && fdMissingWeight >= 0.0 && (fbFinished || fnColumns == 0));
}

Value MCEncoderBase::Save() const
{
    Value tree;
    SaveSettings(tree["settings"]);
    SaveLearned(tree["learned"]);
    return tree;
}

// The settings first: they are only taken by an encoder that has learned nothing, and what was learned is checked
// against them.
bool MCEncoderBase::Load(const Value& tree)
{
    if (tree.GetType() != Value::TypeMap) return false;
    return LoadSettings(tree["settings"]) && LoadLearned(tree["learned"]);
}

JsonObject MCEncoderBase::ToJson() const
{
    return StateTree::ToJson(Save());
}

bool MCEncoderBase::FromJson(const JsonObject& json)
{
    Value tree;
    return StateTree::FromJson(json, tree) && Replace(tree);
}

int MCEncoderBase::WriteObjectXML(std::ostream& stream, int indent) const
{
    return StateTree::Write(stream, ClassName(), indent, Save());
}

int MCEncoderBase::ReadObjectXML(std::ifstream& stream)
{
    Value tree;
    const int lines = StateTree::Read(stream, ClassName(), tree);
    return lines > 0 && Replace(tree) ? lines : 0;
}

void MCEncoderBase::Display() const
{
    MCDisplay_930::DisplayStart(ClassName());
    MCDisplay_930::Display("Field", fField);
    Value settings;
    SaveSettings(settings);
    MCDisplay_930::Display("Settings", settings.GetString());
    MCDisplay_930::Display("Weight of valid cases", fdValidWeight);
    MCDisplay_930::Display("Weight of missing cases", fdMissingWeight);
    MCDisplay_930::Display("Finished", fbFinished);
    MCDisplay_930::Display("Columns", fnColumns);
    DisplayLearned();
    MCDisplay_930::DisplayEnd(ClassName());
}

bool MCEncoderBase::operator==(const MCEncoderBase& other) const
{
    return Save().GetString() == other.Save().GetString();
}

std::unique_ptr<MCEncoderBase> MCEncoderBase::Create(const std::string& className)
{
    std::unique_ptr<MCEncoderBase> encoder;
    const auto offer = [&](auto candidate) {
        if (className == candidate->ClassName()) encoder = std::move(candidate);
    };
    offer(std::unique_ptr<MCEncoderBase>(std::make_unique<MCContinuousEncoder>()));
    offer(std::unique_ptr<MCEncoderBase>(std::make_unique<MCCategoricalEncoder>()));
    offer(std::unique_ptr<MCEncoderBase>(std::make_unique<MCCategoricalNumericEncoder>()));
    offer(std::unique_ptr<MCEncoderBase>(std::make_unique<MCBinningEncoder>()));
    offer(std::unique_ptr<MCEncoderBase>(std::make_unique<MCStringEncoder>()));
    offer(std::unique_ptr<MCEncoderBase>(std::make_unique<MCRoundingEncoder>()));
    return encoder;
}

std::unique_ptr<MCEncoderBase> MCEncoderBase::CreateFromJson(const JsonObject& json)
{
    Value tree;
    if (!StateTree::FromJson(json, tree) || tree.GetType() != Value::TypeMap) return nullptr;
    std::string className;
    StateFields settings(static_cast<const Value&>(tree)["settings"]);
    settings.Read("class", className);
    std::unique_ptr<MCEncoderBase> encoder = Create(className);
    return encoder != nullptr && encoder->Replace(tree) ? std::move(encoder) : nullptr;
}

} // namespace MCXML_930
