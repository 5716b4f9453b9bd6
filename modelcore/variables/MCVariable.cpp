// The descriptions of single variables: what they share, and the three classes.
#include "modelcore/variables/MCVariable.h"

#include "modelcore/common/MCDisplay.h"
#include "modelcore/variables/MCCategoricalVariable.h"
#include "modelcore/variables/MCContinuousVariable.h"
#include "modelcore/variables/MCWeightVariable.h"
#include "modelcore/variables/internal/CategoryIndex.h"
#include "modelcore/variables/internal/StateTree.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <utility>

namespace MCXML_930 {

using internal::CompareCategories;
using internal::IsUnknown;
using internal::StateFields;
using internal::StateTree;
using MCCommon_930::MCMV;
using MCCommon_930::Value;

namespace {

constexpr std::initializer_list<const char*> kLevels{"nominal", "ordinal", "continuous"};
constexpr std::initializer_list<const char*> kRoles{
    "input", "target", "frequency weight", "regression weight", "offset", "group", "order", "supplementary"};
constexpr std::initializer_list<const char*> kStorages{"undefined", "integer", "real",      "string",
                                                       "date",      "time",    "timestamp", "boolean"};
constexpr std::initializer_list<const char*> kKinds{"valid", "missing", "invalid"};
constexpr char kClass[] = "class";

bool IsWeightRole(IMCVariable::VariableRole role)
{
    return role == IMCVariable::RoleFrequencyWeight || role == IMCVariable::RoleRegressionWeight;
}

bool CanBeCategory(const Value& value)
{
    return !IsUnknown(value) && value.GetType() >= Value::TypeBool && value.GetType() <= Value::TypeString;
}

bool IsStored(const Value& value, IMCVariable::VariableStorage storage)
{
    switch (storage) {
    case IMCVariable::StorageUndefined: return value.GetType() <= Value::TypeString;
    case IMCVariable::StorageInteger:
        return value.GetType() == Value::TypeInteger ||
               (value.GetType() == Value::TypeReal && std::floor(value.GetReal()) == value.GetReal());
    case IMCVariable::StorageString: return value.GetType() == Value::TypeString;
    case IMCVariable::StorageBoolean: return value.GetType() == Value::TypeBool;
    default: return value.IsNumericValue();
    }
}

/// Items separated by commas, as many as fit, then how many there are.
template <class Items, class Text>
std::string ListText(const Items& items, int width, Text text)
{
    std::string list;
    for (const auto& item : items) {
        const std::string next = text(item);
        if (!list.empty() && list.size() + next.size() + 2 > static_cast<std::size_t>(std::max(width, 0)))
            return list + ", ... (" + std::to_string(items.size()) + ")";
        list += list.empty() ? next : ", " + next;
    }
    return list;
}

template <class Variable>
std::unique_ptr<MCVariable> LoadVariable(const Value& map, bool (Variable::*load)(const Value&))
{
    auto variable = std::make_unique<Variable>();
    return ((*variable).*load)(map) ? std::move(variable) : nullptr;
}

} // namespace

const char* ToText(IMCVariable::MeasureLevel level)
{
    return kLevels.begin()[level];
}

const char* ToText(IMCVariable::VariableRole role)
{
    return kRoles.begin()[role];
}

const char* ToText(IMCVariable::VariableStorage storage)
{
    return kStorages.begin()[storage];
}

// MCVariable

MCVariable::MCVariable(std::string name, VariableStorage storage, VariableRole role)
    : fName(std::move(name)), fRole(role), fStorage(storage)
{}
MCVariable::MCVariable(const MCVariable&) = default;
MCVariable::MCVariable(MCVariable&&) noexcept = default;
MCVariable& MCVariable::operator=(const MCVariable&) = default;
MCVariable& MCVariable::operator=(MCVariable&&) noexcept = default;
MCVariable::~MCVariable() = default;

bool MCVariable::SetRole(VariableRole role)
{
    if (IsWeightRole(role)) return false;
    fRole = role;
    return true;
}

bool MCVariable::AddMissingCode(const Value& code)
{
    if (!CanBeCategory(code)) return false;
    for (const Value& there : fvMissingCodes)
        if (CompareCategories(there, code) == 0) return false;
    fvMissingCodes.push_back(code);
    return true;
}

IMCVariable::ValueKind MCVariable::Classify(const Value& value) const
{
    if (IsUnknown(value)) return ValueMissing;
    for (const Value& code : fvMissingCodes)
        if (CanBeCategory(value) && CompareCategories(code, value) == 0) return ValueMissing;
    return IsStored(value, fStorage) ? ClassifyStored(value) : ValueInvalid;
}

std::string MCVariable::GetValuesText(int width) const
{
    std::string text = RangeText(width);
    if (!fvMissingCodes.empty()) {
        if (!text.empty()) text += "; ";
        text += "missing: " + ListText(fvMissingCodes, width, [](const Value& code) { return code.GetString(); });
    }
    return text;
}

std::string MCVariable::ToString() const
{
    std::string text = fName + ": " + ToText(GetMeasureLevel()) + ", " + ToText(fRole) + ", " + ToText(fStorage);
    const std::string values = GetValuesText();
    if (!values.empty()) text += ", " + values;
    return fLabel.empty() ? text : text + " (" + fLabel + ")";
}

void MCVariable::Display() const
{
    MCDisplay_930::DisplayStart(ClassName());
    MCDisplay_930::Display("Name", fName);
    MCDisplay_930::Display("Label", fLabel);
    MCDisplay_930::Display("Measure level", ToText(GetMeasureLevel()));
    MCDisplay_930::Display("Role", ToText(fRole));
    MCDisplay_930::Display("Storage", ToText(fStorage));
    MCDisplay_930::Display("Values", GetValuesText());
    MCDisplay_930::DisplayEnd(ClassName());
}

bool MCVariable::operator==(const MCVariable& other) const
{
    return SaveAll().GetString() == other.SaveAll().GetString(); // Value's own equality has a tolerance
}

void MCVariable::Save(Value& map) const
{
    map["name"] = StateTree::FromText(fName);
    map["label"] = StateTree::FromText(fLabel);
    map["role"] = ToText(fRole);
    map["storage"] = ToText(fStorage);
    map["missingCodes"] = StateTree::FromScalars(fvMissingCodes);
}

bool MCVariable::Load(const Value& map)
{
    StateFields fields(map);
    std::vector<Value> codes;
    fields.Read("name", fName);
    fields.Read("label", fLabel);
    fields.ReadWord("role", fRole, kRoles);
    fields.ReadWord("storage", fStorage, kStorages);
    fields.ReadScalars("missingCodes", codes);
    for (const Value& code : codes) fields.Require(AddMissingCode(code));
    return fields.Ok();
}

Value MCVariable::SaveAll() const
{
    Value map;
    map[kClass] = ClassName();
    Save(map);
    return map;
}

bool MCVariable::LoadAll(const Value& map)
{
    StateFields fields(map);
    std::string className;
    if (!fields.Read(kClass, className) || className != ClassName()) return false;
    const std::unique_ptr<MCVariable> loaded = Loaded(map);
    if (loaded != nullptr) Take(*loaded);
    return loaded != nullptr;
}

JsonObject MCVariable::ToJson() const
{
    return StateTree::ToJson(SaveAll());
}

bool MCVariable::FromJson(const JsonObject& json)
{
    Value tree;
    return StateTree::FromJson(json, tree) && LoadAll(tree);
}

int MCVariable::WriteObjectXML(std::ostream& stream, int indent) const
{
    return StateTree::Write(stream, ClassName(), indent, SaveAll());
}

int MCVariable::ReadObjectXML(std::ifstream& stream)
{
    Value tree;
    const int lines = StateTree::Read(stream, ClassName(), tree);
    return lines > 0 && LoadAll(tree) ? lines : 0;
}

std::unique_ptr<MCVariable> MCVariable::Create(const std::string& className)
{
    if (className == "MCContinuousVariable") return std::make_unique<MCContinuousVariable>();
    if (className == "MCCategoricalVariable") return std::make_unique<MCCategoricalVariable>();
    if (className == "MCWeightVariable") return std::make_unique<MCWeightVariable>();
    return nullptr;
}

// MCContinuousVariable

MCContinuousVariable::MCContinuousVariable(std::string name, VariableStorage storage, VariableRole role)
    : MCVariable(std::move(name), storage == StorageString || storage == StorageBoolean ? StorageUndefined : storage,
                 IsWeightRole(role) ? RoleInput : role)
{}

bool MCContinuousVariable::SetInterval(double lowest, double highest)
{
    if (std::isnan(lowest) || std::isnan(highest)) return false;
    if (!MCMV::IsMissing(lowest) && !MCMV::IsMissing(highest) && lowest > highest) return false;
    fdLowest = lowest;
    fdHighest = highest;
    return true;
}

IMCVariable::ValueKind MCContinuousVariable::ClassifyStored(const Value& value) const
{
    double x = 0.0;
    if (!internal::ToNumber(value, x)) return ValueInvalid;
    return (!MCMV::IsMissing(fdLowest) && x < fdLowest) || (!MCMV::IsMissing(fdHighest) && x > fdHighest) ? ValueInvalid
                                                                                                          : ValueValid;
}

std::string MCContinuousVariable::RangeText(int) const
{
    std::string text;
    if (!MCMV::IsMissing(fdLowest) && !MCMV::IsMissing(fdHighest))
        text = Value(fdLowest).GetString() + " to " + Value(fdHighest).GetString();
    else if (!MCMV::IsMissing(fdLowest))
        text = "from " + Value(fdLowest).GetString();
    else if (!MCMV::IsMissing(fdHighest))
        text = "up to " + Value(fdHighest).GetString();
    return fUnit.empty() ? text : text.empty() ? "in " + fUnit : text + " " + fUnit;
}

void MCContinuousVariable::Save(Value& map) const
{
    MCVariable::Save(map);
    map["lowest"] = StateTree::FromReal(fdLowest);
    map["highest"] = StateTree::FromReal(fdHighest);
    map["unit"] = StateTree::FromText(fUnit);
}

bool MCContinuousVariable::Load(const Value& map)
{
    StateFields fields(map);
    double lowest = 0.0, highest = 0.0;
    fields.Read("lowest", lowest);
    fields.Read("highest", highest);
    fields.Read("unit", fUnit);
    return MCVariable::Load(map) && fields.Ok() && SetInterval(lowest, highest) && !IsWeightRole(GetRole()) &&
           GetStorage() != StorageString && GetStorage() != StorageBoolean;
}

std::unique_ptr<MCVariable> MCContinuousVariable::Loaded(const Value& map) const
{
    return LoadVariable(map, &MCContinuousVariable::Load);
}

void MCContinuousVariable::Take(MCVariable& other) noexcept
{
    *this = std::move(static_cast<MCContinuousVariable&>(other));
}

std::unique_ptr<IMCVariable> MCContinuousVariable::Clone() const
{
    return std::make_unique<MCContinuousVariable>(*this);
}

// MCWeightVariable

MCWeightVariable::MCWeightVariable(std::string name, VariableRole role, VariableStorage storage)
    : MCVariable(std::move(name), storage == StorageInteger ? StorageInteger : StorageReal,
                 IsWeightRole(role) ? role : RoleFrequencyWeight)
{}

bool MCWeightVariable::SetRole(VariableRole role)
{
    if (!IsWeightRole(role)) return false;
    MCWeightVariable changed(GetName(), role, GetStorage());
    changed.SetLabel(GetLabel());
    for (const Value& code : GetMissingCodes()) changed.AddMissingCode(code);
    *this = std::move(changed);
    return true;
}

IMCVariable::ValueKind MCWeightVariable::ClassifyStored(const Value& value) const
{
    double x = 0.0;
    return internal::ToNumber(value, x) && x >= 0.0 && std::isfinite(x) ? ValueValid : ValueInvalid;
}

std::string MCWeightVariable::RangeText(int) const
{
    return "from 0";
}

bool MCWeightVariable::Load(const Value& map)
{
    return MCVariable::Load(map) && IsWeightRole(GetRole()) &&
           (GetStorage() == StorageReal || GetStorage() == StorageInteger);
}

std::unique_ptr<MCVariable> MCWeightVariable::Loaded(const Value& map) const
{
    return LoadVariable(map, &MCWeightVariable::Load);
}

void MCWeightVariable::Take(MCVariable& other) noexcept
{
    *this = std::move(static_cast<MCWeightVariable&>(other));
}

std::unique_ptr<IMCVariable> MCWeightVariable::Clone() const
{
    return std::make_unique<MCWeightVariable>(*this);
}

// MCCategoricalVariable

MCCategoricalVariable::MCCategoricalVariable(std::string name, VariableStorage storage, VariableRole role)
    : MCVariable(std::move(name), storage, IsWeightRole(role) ? RoleInput : role)
{}

std::size_t MCCategoricalVariable::LowerBound(const Value& value) const
{
    const auto before = [this](int place, const Value& v) {
        return CompareCategories(fvCategories[static_cast<std::size_t>(place)].value, v) < 0;
    };
    return static_cast<std::size_t>(std::lower_bound(fvSorted.begin(), fvSorted.end(), value, before) -
                                    fvSorted.begin());
}

int MCCategoricalVariable::FindCategory(const Value& value) const
{
    if (!CanBeCategory(value)) return -1;
    const std::size_t at = LowerBound(value);
    if (at == fvSorted.size()) return -1;
    const Category& found = fvCategories[static_cast<std::size_t>(fvSorted[at])];
    return CompareCategories(found.value, value) == 0 ? fvSorted[at] : -1;
}

int MCCategoricalVariable::AddCategory(const Value& value, const std::string& label, ValueKind kind)
{
    if (!CanBeCategory(value) || FindCategory(value) >= 0) return -1;
    Category category{value, label, kind};
    fvSorted.reserve(fvSorted.size() + 1);
    fvCategories.push_back(std::move(category));
    fvSorted.insert(fvSorted.begin() + static_cast<std::ptrdiff_t>(LowerBound(value)), GetNCategories() - 1);
    if (kind == ValueValid) ++fnValid;
    return GetNCategories() - 1;
}

void MCCategoricalVariable::SortCategories()
{
    std::vector<Category> sorted(fvCategories.size());
    for (std::size_t i = 0; i < sorted.size(); ++i)
        std::swap(sorted[i], fvCategories[static_cast<std::size_t>(fvSorted[i])]);
    fvCategories.swap(sorted);
    for (std::size_t i = 0; i < fvSorted.size(); ++i) fvSorted[i] = static_cast<int>(i);
}

IMCVariable::ValueKind MCCategoricalVariable::ClassifyStored(const Value& value) const
{
    const int place = FindCategory(value);
    if (place >= 0) return fvCategories[static_cast<std::size_t>(place)].kind;
    return fnValid > 0 ? ValueInvalid : ValueValid;
}

std::string MCCategoricalVariable::RangeText(int width) const
{
    return ListText(fvCategories, width, [](const Category& category) {
        std::string text = category.value.GetString();
        if (!category.label.empty()) text += " = " + category.label;
        return category.kind == ValueValid ? text : text + " (" + kKinds.begin()[category.kind] + ")";
    });
}

void MCCategoricalVariable::Save(Value& map) const
{
    MCVariable::Save(map);
    map["ordered"] = fbOrdered;
    Value& list = map["categories"];
    list.Resize(0);
    for (const Category& category : fvCategories) {
        Value& item = list[list.Size()];
        item["value"] = StateTree::FromScalar(category.value);
        item["label"] = StateTree::FromText(category.label);
        item["kind"] = internal::WordOf(category.kind, kKinds);
    }
}

bool MCCategoricalVariable::Load(const Value& map)
{
    StateFields fields(map);
    fields.Read("ordered", fbOrdered);
    const Value& list = fields.Get("categories");
    fields.Require(list.GetType() == Value::TypeArray);
    for (int i = 0; i < list.Size() && fields.Ok(); ++i) {
        StateFields item(list[i]);
        Category category;
        item.ReadScalar("value", category.value);
        item.Read("label", category.label);
        item.ReadWord("kind", category.kind, kKinds);
        fields.Require(item.Ok() && AddCategory(category.value, category.label, category.kind) >= 0);
    }
    return MCVariable::Load(map) && fields.Ok() && !IsWeightRole(GetRole());
}

std::unique_ptr<MCVariable> MCCategoricalVariable::Loaded(const Value& map) const
{
    return LoadVariable(map, &MCCategoricalVariable::Load);
}

void MCCategoricalVariable::Take(MCVariable& other) noexcept
{
    *this = std::move(static_cast<MCCategoricalVariable&>(other));
}

std::unique_ptr<IMCVariable> MCCategoricalVariable::Clone() const
{
    return std::make_unique<MCCategoricalVariable>(*this);
}

} // namespace MCXML_930
