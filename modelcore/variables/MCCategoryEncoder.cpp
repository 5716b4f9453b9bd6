#include "modelcore/variables/MCCategoryEncoder.h"

#include "modelcore/common/MCDisplay.h"
#include "modelcore/variables/internal/StateTree.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numeric>
#include <utility>

namespace MCXML_930 {

using internal::CategoryIndex;
using internal::IsUnknown;
using internal::StateFields;
using internal::StateTree;
using MCCommon_930::MCMV;
using MCCommon_930::MCStatus;
using MCCommon_930::Value;

namespace {

constexpr std::initializer_list<const char*> kReferences{"first", "last", "most frequent", "named"};
constexpr std::initializer_list<const char*> kUnseenRules{"refused", "as missing", "as baseline", "as other"};
constexpr char kMissingText[] = "(missing)";
constexpr int kMostInt = std::numeric_limits<int>::max();

double& At(std::vector<double>& numbers, int i)
{
    return numbers[static_cast<std::size_t>(i)];
}
double At(const std::vector<double>& numbers, int i)
{
    return numbers[static_cast<std::size_t>(i)];
}

std::vector<double> Reordered(const std::vector<double>& numbers, const std::vector<int>& old)
{
    std::vector<double> sorted(numbers.size());
    for (std::size_t i = 0; i < sorted.size(); ++i) sorted[i] = At(numbers, old[i]);
    return sorted;
}

/// Takes the memory that AddTo may want for a new category, so that it cannot run out between the two lists.
void MakeRoom(std::vector<double>& numbers, int categories)
{
    const auto size = static_cast<std::size_t>(categories) + 1;
    if (size > numbers.capacity()) numbers.reserve(std::max(size, 2 * numbers.capacity()));
}

/// Adds to the number of a category, for which a place is made when it is the next new one.
void AddTo(std::vector<double>& numbers, int category, double amount)
{
    if (static_cast<std::size_t>(category) >= numbers.size()) numbers.resize(static_cast<std::size_t>(category) + 1);
    At(numbers, category) += amount;
}

} // namespace

MCCategoryEncoder::MCCategoryEncoder(std::string field) : MCEncoderBase(std::move(field)) {}
MCCategoryEncoder::MCCategoryEncoder(const MCCategoryEncoder&) = default;
MCCategoryEncoder::MCCategoryEncoder(MCCategoryEncoder&&) noexcept = default;
MCCategoryEncoder& MCCategoryEncoder::operator=(const MCCategoryEncoder&) = default;
MCCategoryEncoder& MCCategoryEncoder::operator=(MCCategoryEncoder&&) noexcept = default;
MCCategoryEncoder::~MCCategoryEncoder() = default;

bool MCCategoryEncoder::SetCategories(const std::vector<Value>& categories)
{
    if (!IsFresh()) return false;
    CategoryIndex index;
    for (const Value& category : categories) {
        Value work;
        const int before = index.Size();
        if (index.Insert(Normalized(category, work)) != before) return false;
    }
    std::vector<double> weights(categories.size()), targets(NeedsTarget() ? categories.size() : 0);
    fvWeights.swap(weights);
    fvTargets.swap(targets);
    fIndex = std::move(index);
    fbGiven = true;
    return true;
}

bool MCCategoryEncoder::SetReference(Reference reference)
{
    if (!IsFresh() || reference < ReferenceFirst || reference > ReferenceMostFrequent) return false;
    fReference = reference;
    fReferenceCategory = Value();
    return true;
}

bool MCCategoryEncoder::SetReference(const Value& category)
{
    if (!IsFresh() || IsUnknown(category) || category.GetType() > Value::TypeString) return false;
    fReferenceCategory = category;
    fReference = ReferenceNamed;
    return true;
}

bool MCCategoryEncoder::SetMinWeight(double weight)
{
    if (!IsFresh() || !(weight >= 0.0) || !std::isfinite(weight)) return false;
    fdMinWeight = weight;
    return true;
}

bool MCCategoryEncoder::SetMaxKept(int count)
{
    if (!IsFresh() || count < 0) return false;
    fnMaxKept = count;
    return true;
}

bool MCCategoryEncoder::SetOtherName(const std::string& name)
{
    if (!IsFresh()) return false;
    fOtherName = name;
    return true;
}

bool MCCategoryEncoder::SetUnseenRule(UnseenRule rule)
{
    if (!IsFresh() || rule < UnseenRefused || rule > UnseenAsOther) return false;
    fUnseenRule = rule;
    return true;
}

bool MCCategoryEncoder::SetManyCategories(int limit)
{
    if (!IsFresh() || limit < 1) return false;
    fnMany = limit;
    return true;
}

// Learning

bool MCCategoryEncoder::IsTargetLegal(const Value& target) const
{
    double y = 0.0;
    return internal::ToNumber(target, y) && std::isfinite(y);
}

MCEncoderBase::Learned MCCategoryEncoder::LearnValid(const Value& value, const Value* target, double weight)
{
    Value work;
    const Value& category = Normalized(value, work);
    if (IsUnknown(category)) return Learned::Missing;
    if (category.GetType() > Value::TypeString) return Learned::Refused;
    double y = 0.0;
    if (target != nullptr) internal::ToNumber(*target, y);
    MakeRoom(fvWeights, fIndex.Size());
    if (target != nullptr) MakeRoom(fvTargets, fIndex.Size());
    const int place = fbGiven ? fIndex.Find(category) : fIndex.Insert(category);
    if (place < 0) {
        fdUnseenWeight += weight;
        fdUnseenTarget += weight * y;
        return Learned::Valid;
    }
    AddTo(fvWeights, place, weight);
    if (target != nullptr) AddTo(fvTargets, place, weight * y);
    return Learned::Valid;
}

void MCCategoryEncoder::LearnMissing(const Value* target, double weight)
{
    double y = 0.0;
    if (target != nullptr && internal::ToNumber(*target, y)) fdMissingTarget += weight * y;
}

void MCCategoryEncoder::ForgetLearned() noexcept
{
    if (!fbGiven) {
        fIndex = {};
        fvWeights.clear();
        fvTargets.clear();
    }
    std::fill(fvWeights.begin(), fvWeights.end(), 0.0);
    std::fill(fvTargets.begin(), fvTargets.end(), 0.0);
    fdUnseenWeight = fdUnseenTarget = fdMissingTarget = 0.0;
}

void MCCategoryEncoder::MergeLearned(const MCEncoderBase& base)
{
    const auto& other = static_cast<const MCCategoryEncoder&>(base);
    CategoryIndex index(fIndex);
    std::vector<double> weights(fvWeights), targets(fvTargets);
    for (int i = 0; i < other.fIndex.Size(); ++i) {
        const int place = index.Insert(other.fIndex.At(i));
        AddTo(weights, place, At(other.fvWeights, i));
        if (NeedsTarget()) AddTo(targets, place, At(other.fvTargets, i));
    }
    fIndex = std::move(index);
    fvWeights.swap(weights);
    fvTargets.swap(targets);
    fdUnseenWeight += other.fdUnseenWeight;
    fdUnseenTarget += other.fdUnseenTarget;
    fdMissingTarget += other.fdMissingTarget;
}

// Finish

/// Which categories are joined as the others. Needs the categories in their order.
std::vector<char> MCCategoryEncoder::FindRare() const
{
    std::vector<char> rare(fvWeights.size());
    std::vector<int> kept;
    const int named = fIndex.Find(std::string_view(fOtherName));
    for (int i = 0; i < fIndex.Size(); ++i) {
        rare[static_cast<std::size_t>(i)] = i == named || At(fvWeights, i) < fdMinWeight ? 1 : 0;
        if (rare[static_cast<std::size_t>(i)] == 0) kept.push_back(i);
    }
    const auto most = static_cast<std::size_t>(fnMaxKept);
    if (fnMaxKept > 0 && kept.size() > most) {
        std::stable_sort(kept.begin(), kept.end(), [&](int a, int b) { return At(fvWeights, a) > At(fvWeights, b); });
        for (std::size_t i = most; i < kept.size(); ++i) rare[static_cast<std::size_t>(kept[i])] = 1;
    }
    return rare;
}

void MCCategoryEncoder::MakeLevels()
{
    const std::vector<char> rare = FindRare();
    const auto add = [this](const Value& value, double weight) {
        fvLevels.push_back(value);
        fvLevelWeights.push_back(weight);
        return GetNLevels() - 1;
    };
    for (int i = 0; i < fIndex.Size(); ++i)
        fvLevelOf.push_back(rare[static_cast<std::size_t>(i)] != 0 ? -1 : add(fIndex.At(i), At(fvWeights, i)));
    const bool unseenJoin = fUnseenRule == UnseenAsOther;
    if (unseenJoin || std::find(rare.begin(), rare.end(), 1) != rare.end())
        fnOther = add(Value(fOtherName), unseenJoin ? fdUnseenWeight : 0.0);
    if (GetMissingRule() == MissingOwnCategory) fnMissing = add(Value(), GetMissingWeight());

    if (NeedsTarget()) fvLevelTargets.assign(fvLevels.size(), 0.0);
    for (int i = 0; i < fIndex.Size(); ++i) {
        int& level = fvLevelOf[static_cast<std::size_t>(i)];
        if (level < 0) {
            level = fnOther;
            At(fvLevelWeights, level) += At(fvWeights, i);
        }
        if (NeedsTarget()) At(fvLevelTargets, level) += At(fvTargets, i);
    }
    if (NeedsTarget() && unseenJoin) At(fvLevelTargets, fnOther) += fdUnseenTarget;
    if (NeedsTarget() && fnMissing >= 0) At(fvLevelTargets, fnMissing) += fdMissingTarget;

    const auto isText = [](const Value& value) { return value.GetType() == Value::TypeString; };
    const std::vector<Value>& all = fIndex.GetValues();
    fbQuoted = std::any_of(all.begin(), all.end(), isText) && !std::all_of(all.begin(), all.end(), isText);
}

int MCCategoryEncoder::ChooseReference() const
{
    if (fvLevels.empty()) return -1;
    Value work;
    int best = -1, category = -1;
    switch (fReference) {
    case ReferenceFirst: return 0;
    case ReferenceLast: return GetNLevels() - 1;
    case ReferenceNamed:
        category = fIndex.Find(Normalized(fReferenceCategory, work));
        if (category >= 0) return fvLevelOf[static_cast<std::size_t>(category)];
        return fReferenceCategory.GetType() == Value::TypeString && fReferenceCategory.GetStringRef() == fOtherName
                   ? fnOther
                   : -1;
    default:
        for (int i = 0; i < GetNLevels(); ++i)
            if (i != fnOther && i != fnMissing && (best < 0 || At(fvLevelWeights, i) > At(fvLevelWeights, best)))
                best = i;
        return best < 0 ? 0 : best;
    }
}

MCStatus MCCategoryEncoder::FinishLearned(int& columns)
{
    // Everything is put back when the class refuses or memory runs out, and that needs no memory.
    CategoryIndex index(fIndex);
    std::vector<double> weights(fvWeights), targets(fvTargets);
    const auto putBack = [&]() noexcept {
        fIndex = std::move(index);
        fvWeights.swap(weights);
        fvTargets.swap(targets);
        fvLevelOf.clear();
        fvLevels.clear();
        fvLevelWeights.clear();
        fvLevelTargets.clear();
        fnReference = fnOther = fnMissing = fnReplacement = -1;
    };
    try {
        const MCStatus status = FinishCategories(columns);
        if (status.IsError()) putBack();
        return status;
    } catch (...) {
        putBack();
        throw;
    }
}

MCStatus MCCategoryEncoder::FinishCategories(int& columns)
{
    // The weights first: they are in the order of the categories as learned.
    if (!fbGiven) {
        const std::vector<int> old = fIndex.Sort();
        fvWeights = Reordered(fvWeights, old);
        fvTargets = Reordered(fvTargets, old);
    }
    MakeLevels();
    fnReference = ChooseReference();
    MCStatus status;
    Value work;
    const double known = std::accumulate(fvWeights.begin(), fvWeights.end(), 0.0);
    if (fReference == ReferenceNamed && fnReference < 0 && !fvLevels.empty()) status = {FinishUnknownReference, false};
    if (GetMissingRule() == MissingReplaced && !status.IsError()) {
        if (GetMissingReplacement().IsNull()) {
            for (int i = 0; i < GetNLevels(); ++i)
                if (fnReplacement < 0 || At(fvLevelWeights, i) > At(fvLevelWeights, fnReplacement)) fnReplacement = i;
        } else {
            const int category = fIndex.Find(Normalized(GetMissingReplacement(), work));
            if (category >= 0)
                fnReplacement = fvLevelOf[static_cast<std::size_t>(category)];
            else
                status = {FinishUnknownReplacement, false};
        }
    }
    if (!status.IsError()) status = FinishLevels(columns);
    if (status.IsError()) return status;
    if (known == 0.0) return {FinishNoValues, true};
    if (GetNLevels() == 1) return {FinishConstant, true};
    if (status.IsOK() && GetNLevels() > fnMany) {
        status = {FinishManyCategories, true};
        status.SetDiscreteDatum(0, GetNLevels());
        status.SetDiscreteDatum(1, fnMany);
    }
    return status;
}

double MCCategoryEncoder::GetTargetMean() const
{
    const double weight = std::accumulate(fvLevelWeights.begin(), fvLevelWeights.end(), 0.0);
    const double sum = std::accumulate(fvLevelTargets.begin(), fvLevelTargets.end(), 0.0);
    return weight > 0.0 ? sum / weight : MCMV::Missing();
}

std::string MCCategoryEncoder::GetLevelText(int level) const
{
    if (level < 0 || level >= GetNLevels()) return {};
    if (level == fnMissing) return kMissingText;
    const Value& value = fvLevels[static_cast<std::size_t>(level)];
    const std::string text = value.GetString();
    const bool special = level == fnOther;
    const bool quoted = !special && value.GetType() == Value::TypeString && (fbQuoted || text == kMissingText);
    return quoted ? '"' + text + '"' : text;
}

// Encoding

int MCCategoryEncoder::MissingLevel() const
{
    return GetMissingRule() == MissingOwnCategory ? fnMissing
           : GetMissingRule() == MissingReplaced  ? fnReplacement
                                                  : -1;
}

int MCCategoryEncoder::UnseenLevel() const
{
    switch (fUnseenRule) {
    case UnseenAsMissing: return MissingLevel();
    case UnseenAsBaseline: return fnReference;
    case UnseenAsOther: return fnOther;
    default: return -1;
    }
}

int MCCategoryEncoder::FindLevel(const Value& value) const
{
    if (!IsFinished()) return -1;
    Value work;
    const Value& category = IsUnknown(value) ? value : Normalized(value, work);
    if (IsUnknown(category)) return MissingLevel();
    if (category.GetType() > Value::TypeString) return -1;
    const int place = fIndex.Find(category);
    return place >= 0 ? fvLevelOf[static_cast<std::size_t>(place)] : UnseenLevel();
}

int MCCategoryEncoder::FindLevels(std::span<const double> x, std::span<int> levels) const
{
    if (!IsFinished() || levels.size() < x.size()) return -1;
    FindCategories(x, levels.data());
    int found = 0;
    for (std::size_t i = 0; i < x.size(); ++i) {
        if (levels[i] >= 0)
            levels[i] = fvLevelOf[static_cast<std::size_t>(levels[i])];
        else
            levels[i] = IsUnknown(x[i]) ? MissingLevel() : UnseenLevel();
        found += levels[i] >= 0 ? 1 : 0;
    }
    return found;
}

// A class that changes values before it looks them up sees numbers by their text.
void MCCategoryEncoder::FindCategories(std::span<const double> x, int* places) const
{
    if (!ChangesValues()) {
        fIndex.FindAll(x, places);
        return;
    }
    Value work;
    for (std::size_t i = 0; i < x.size(); ++i)
        places[i] = IsUnknown(x[i]) ? -1 : fIndex.Find(Normalized(Value(x[i]), work));
}

void MCCategoryEncoder::WriteLevels(std::span<const int> levels, double* rows, std::size_t stride) const
{
    for (std::size_t i = 0; i < levels.size(); ++i) WriteLevel(levels[i], rows + i * stride);
}

IMCEncoder::Outcome MCCategoryEncoder::EncodeMissingAs(Outcome outcome, double* columns) const
{
    if (GetMissingRule() == MissingStays) {
        FillMissing(columns);
        return outcome;
    }
    const int level = MissingLevel();
    if (level < 0) return Refused;
    WriteLevel(level, columns);
    return outcome;
}

IMCEncoder::Outcome MCCategoryEncoder::EncodeCategory(int category, double* columns) const
{
    if (category >= 0) {
        WriteLevel(fvLevelOf[static_cast<std::size_t>(category)], columns);
        return Encoded;
    }
    if (fUnseenRule == UnseenAsMissing) return EncodeMissingAs(EncodedUnseen, columns);
    const bool own = fUnseenRule == UnseenAsBaseline && HasOwnBaseline();
    const int level = own ? -1 : UnseenLevel();
    if (level < 0 && !own) return Refused;
    WriteLevel(level, columns);
    return EncodedUnseen;
}

IMCEncoder::Outcome MCCategoryEncoder::EncodeOne(const Value& value, double* columns) const
{
    Value work;
    const Value& category = IsUnknown(value) ? value : Normalized(value, work);
    if (IsUnknown(category)) return EncodeMissingAs(EncodedMissing, columns);
    return category.GetType() > Value::TypeString ? Refused : EncodeCategory(fIndex.Find(category), columns);
}

int MCCategoryEncoder::EncodeRows(std::span<const double> x, double* rows, std::size_t stride, Outcome* outcomes) const
{
    if (ChangesValues()) return MCEncoderBase::EncodeRows(x, rows, stride, outcomes);
    constexpr std::size_t kPiece = 64; // rows of some tens of columns stay in the cache
    std::array<int, kPiece> found{};
    int encoded = 0;
    for (std::size_t from = 0; from < x.size(); from += kPiece) {
        const std::span<const double> piece = x.subspan(from, std::min(kPiece, x.size() - from));
        const std::span<int> places = std::span(found).first(piece.size());
        double* const out = rows + from * stride;
        fIndex.FindAll(piece, places.data());
        if (std::all_of(places.begin(), places.end(), [](int place) { return place >= 0; })) {
            for (int& place : places) place = fvLevelOf[static_cast<std::size_t>(place)];
            WriteLevels(places, out, stride);
            if (outcomes != nullptr) std::fill_n(outcomes + from, piece.size(), Encoded);
            encoded += static_cast<int>(piece.size());
            continue;
        }
        for (std::size_t i = 0; i < piece.size(); ++i) {
            double* const row = out + i * stride;
            const Outcome outcome =
                IsUnknown(piece[i]) ? EncodeMissingAs(EncodedMissing, row) : EncodeCategory(places[i], row);
            encoded += Settle(outcome, row, from + i, outcomes);
        }
    }
    return encoded;
}

bool MCCategoryEncoder::DecodeRow(const double* columns, Value& value) const
{
    if (GetNColumns() > 0 && MCMV::IsMissing(columns[0])) {
        value = Value();
        return true;
    }
    const int level = FindRow(columns);
    if (level < 0) return false;
    value = fvLevels[static_cast<std::size_t>(level)];
    return true;
}

// State

void MCCategoryEncoder::SaveSettings(Value& map) const
{
    MCEncoderBase::SaveSettings(map);
    map["categoriesGiven"] = fbGiven;
    if (fbGiven) map["categories"] = StateTree::FromScalars(fIndex.GetValues());
    map["reference"] = internal::WordOf(fReference, kReferences);
    map["referenceCategory"] = StateTree::FromScalar(fReferenceCategory);
    map["minWeight"] = StateTree::FromReal(fdMinWeight);
    map["maxKept"] = fnMaxKept;
    map["otherName"] = StateTree::FromText(fOtherName);
    map["unseenRule"] = internal::WordOf(fUnseenRule, kUnseenRules);
    map["manyCategories"] = fnMany;
}

bool MCCategoryEncoder::LoadSettings(const Value& map)
{
    StateFields fields(map);
    bool given = false;
    std::vector<Value> categories;
    fields.Read("categoriesGiven", given);
    if (given) fields.Require(fields.ReadScalars("categories", categories) && SetCategories(categories));
    fields.ReadWord("reference", fReference, kReferences);
    fields.ReadScalar("referenceCategory", fReferenceCategory);
    fields.Require(fReferenceCategory.IsNull() == (fReference != ReferenceNamed));
    fields.Require(fields.Read("minWeight", fdMinWeight) && SetMinWeight(fdMinWeight));
    fields.Read("maxKept", fnMaxKept, 0, kMostInt);
    fields.Read("otherName", fOtherName);
    fields.ReadWord("unseenRule", fUnseenRule, kUnseenRules);
    fields.Read("manyCategories", fnMany, 1, kMostInt);
    return MCEncoderBase::LoadSettings(map) && fields.Ok();
}

// In the order of the categories, not of their arrival: the same state gives the same text.
void MCCategoryEncoder::SaveLearned(Value& map) const
{
    MCEncoderBase::SaveLearned(map);
    CategoryIndex index(fIndex);
    std::vector<double> weights(fvWeights), targets(fvTargets);
    if (!fbGiven && !IsFinished()) {
        const std::vector<int> old = index.Sort();
        weights = Reordered(weights, old);
        targets = Reordered(targets, old);
    }
    if (!fbGiven) map["categories"] = StateTree::FromScalars(index.GetValues());
    map["weights"] = StateTree::FromReals(weights);
    if (NeedsTarget()) map["targetSums"] = StateTree::FromReals(targets);
    map["unseenWeight"] = StateTree::FromReal(fdUnseenWeight);
    map["unseenTarget"] = StateTree::FromReal(fdUnseenTarget);
    map["missingTarget"] = StateTree::FromReal(fdMissingTarget);
    if (!IsFinished()) return;
    map["levelOfCategory"] = StateTree::FromIntegers(fvLevelOf);
    map["levels"] = StateTree::FromScalars(fvLevels);
    map["levelWeights"] = StateTree::FromReals(fvLevelWeights);
    if (NeedsTarget()) map["levelTargets"] = StateTree::FromReals(fvLevelTargets);
    map["referenceLevel"] = fnReference;
    map["otherLevel"] = fnOther;
    map["missingLevel"] = fnMissing;
    map["replacementLevel"] = fnReplacement;
    map["quoted"] = fbQuoted;
}

bool MCCategoryEncoder::LoadLearned(const Value& map)
{
    if (!MCEncoderBase::LoadLearned(map)) return false;
    StateFields fields(map);
    if (!fbGiven) {
        std::vector<Value> categories;
        fields.ReadScalars("categories", categories);
        for (const Value& category : categories) {
            const int before = fIndex.Size();
            fields.Require(fIndex.Insert(category) == before);
        }
    }
    fvWeights.clear();
    fvTargets.clear();
    fields.Read("weights", fvWeights);
    if (NeedsTarget()) fields.Read("targetSums", fvTargets);
    fields.Read("unseenWeight", fdUnseenWeight);
    fields.Read("unseenTarget", fdUnseenTarget);
    fields.Read("missingTarget", fdMissingTarget);
    const auto size = static_cast<std::size_t>(fIndex.Size());
    fields.Require(fvWeights.size() == size && fvTargets.size() == (NeedsTarget() ? size : 0));
    if (!IsFinished() || !fields.Ok()) return fields.Ok();

    fields.ReadScalars("levels", fvLevels);
    const int last = GetNLevels() - 1;
    fields.Read("levelOfCategory", fvLevelOf, 0, last);
    fields.Read("levelWeights", fvLevelWeights);
    if (NeedsTarget()) fields.Read("levelTargets", fvLevelTargets);
    fields.Read("referenceLevel", fnReference, -1, last);
    fields.Read("otherLevel", fnOther, -1, last);
    fields.Read("missingLevel", fnMissing, -1, last);
    fields.Read("replacementLevel", fnReplacement, -1, last);
    fields.Read("quoted", fbQuoted);
    return fields.Require(fvLevelOf.size() == size && fvLevelWeights.size() == fvLevels.size() &&
                          fvLevelTargets.size() == (NeedsTarget() ? fvLevels.size() : 0));
}

void MCCategoryEncoder::DisplayLearned() const
{
    MCDisplay_930::Display("Categories", fIndex.Size());
    MCDisplay_930::Display("Weight of unseen categories", fdUnseenWeight);
    if (!IsFinished()) return;
    MCDisplay_930::Display("Reference", GetLevelText(fnReference));
    constexpr int most = 50;
    for (int i = 0; i < std::min(GetNLevels(), most); ++i)
        MCDisplay_930::Display("Level " + std::to_string(i) + ", " + GetLevelText(i), At(fvLevelWeights, i));
    if (GetNLevels() > most) MCDisplay_930::Display("Levels in all", GetNLevels());
}

} // namespace MCXML_930
