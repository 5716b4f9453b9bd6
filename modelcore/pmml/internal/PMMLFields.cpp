#include "modelcore/pmml/internal/PMMLFields.h"

#include "modelcore/common/internal/ShortestText.h"
#include "modelcore/variables/MCCategoricalVariable.h"
#include "modelcore/variables/MCContinuousVariable.h"
#include "modelcore/variables/MCStringEncoder.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace MCXML_930::internal {

using MCCommon_930::MCMV;
using MCCommon_930::Value;

namespace {

const char* OpTypeOf(const PMMLField& field)
{
    if (!field.categorical) return "continuous";
    return field.variable->GetMeasureLevel() == IMCVariable::LevelOrdinal ? "ordinal" : "categorical";
}

const char* UsageOf(IMCVariable::VariableRole role)
{
    switch (role) {
    case IMCVariable::RoleFrequencyWeight: return "frequencyWeight";
    case IMCVariable::RoleRegressionWeight: return "analysisWeight";
    case IMCVariable::RoleGroup: return "group";
    case IMCVariable::RoleOrder: return "order";
    case IMCVariable::RoleSupplementary: return "supplementary";
    default: return nullptr;
    }
}

bool IsNumber(const Value& value)
{
    return value.GetType() == Value::TypeInteger || value.GetType() == Value::TypeReal;
}

/// Numbers in quotes are codes in data that are text; a field of numbers takes them as the numbers they look like.
bool ReadsAsNumber(const Value& value)
{
    if (value.GetType() != Value::TypeString) return IsNumber(value);
    const std::string text = value.GetString();
    char* end = nullptr;
    const double number = std::strtod(text.c_str(), &end);
    return !text.empty() && *end == '\0' && std::isfinite(number) && text.find_first_of("xXpP \t") == std::string::npos;
}

} // namespace

bool IsAbsent(const Value& value)
{
    if (value.IsNull()) return true;
    return value.GetType() == Value::TypeReal && (std::isnan(value.GetReal()) || MCMV::IsMissing(value.GetReal()));
}

PMMLField::Data DataOf(const std::vector<Value>& values, PMMLField::Data fallback)
{
    if (values.empty()) return fallback;
    if (std::ranges::all_of(values, IsNumber)) return PMMLField::Data::Number;
    const auto isBool = [](const Value& value) { return value.GetType() == Value::TypeBool; };
    return std::ranges::all_of(values, isBool) ? PMMLField::Data::Bool : PMMLField::Data::Text;
}

XMLElement& AddDerivedField(PMMLWriter& writer, XMLElement& parent, const std::string& name)
{
    XMLElement& derived = writer.Add(parent, "DerivedField");
    writer.Set(derived, "name", name);
    writer.Set(derived, "optype", "continuous");
    writer.Set(derived, "dataType", "double");
    return derived;
}

std::string PMMLField::Text(const Value& value) const
{
    return TextOf(value);
}

PMMLFields::PMMLFields(const MCVariableList& variables, const Encoders& encoders)
{
    for (int i = 0; i < variables.Size(); ++i) {
        PMMLField& field = fvFields.emplace_back();
        field.variable = variables.Get(i);
        fNames.insert(field.Name());
        fPlaces.emplace(field.Name(), fvFields.size() - 1);
    }
    for (PMMLField& field : fvFields) {
        const auto encoder = encoders.find(field.Name());
        if (encoder != encoders.end()) {
            field.encoder = encoder->second.get();
            for (int j = 0; j < field.encoder->GetNColumns(); ++j) {
                const std::string name = field.encoder->GetColumnName(j);
                field.columns.push_back(TakeName(name == field.Name() ? name + " (encoded)" : name));
            }
            if (const auto* const text = dynamic_cast<const MCStringEncoder*>(field.encoder)) {
                field.tidied = TakeName(field.Name() + " (tidied)");
                if (text->IsEmptyMissing()) field.present = TakeName(field.Name() + " (tidied, not empty)");
            }
        }
        Plan(field);
    }
}

PMMLField* PMMLFields::Find(std::string_view name)
{
    const auto found = fPlaces.find(name);
    return found == fPlaces.end() ? nullptr : &fvFields[found->second];
}

std::string PMMLFields::TakeName(const std::string& wanted)
{
    std::string name = wanted;
    for (int i = 2; !fNames.insert(name).second; ++i) name = wanted + " " + std::to_string(i);
    return name;
}

void PMMLFields::Plan(PMMLField& field) const
{
    const auto* const categorical = dynamic_cast<const MCCategoricalVariable*>(field.variable);
    if (categorical != nullptr) {
        field.categorical = true;
        for (const MCCategoricalVariable::Category& category : categorical->GetCategories())
            if (category.kind == IMCVariable::ValueValid) field.valid.push_back(category.value);
        const IMCVariable::VariableStorage storage = field.variable->GetStorage();
        field.data =
            DataOf(field.valid, storage == IMCVariable::StorageString || storage == IMCVariable::StorageUndefined
                                    ? PMMLField::Data::Text
                                : storage == IMCVariable::StorageBoolean ? PMMLField::Data::Bool
                                                                         : PMMLField::Data::Number);
        // A value that nobody has seen must not count as the level that all others are compared with.
        field.invalid = field.valid.empty() ? "asIs" : "returnInvalid";
    }
    const auto* const continuous = dynamic_cast<const MCContinuousVariable*>(field.variable);
    const bool bounded = continuous != nullptr &&
                         (!MCMV::IsMissing(continuous->GetLowest()) || !MCMV::IsMissing(continuous->GetHighest()));
    if (field.encoder != nullptr) PlanEncoder(field);
    // What the description calls invalid is not to be taken for a missing value, which may be replaced.
    if (bounded) field.invalid = "returnInvalid";
}

void PMMLFields::MakeTarget(PMMLField& field, const std::vector<Value>& categories) const
{
    field.used = true;
    field.categorical = !categories.empty();
    field.valid = categories;
    field.data = DataOf(categories, PMMLField::Data::Number);
}

const std::string& PMMLFields::Indicator(const PMMLField& field, const Value& level)
{
    std::string& name = fIndicators[{field.Name(), field.Text(level)}];
    if (name.empty()) name = TakeName(field.Name() + "=" + field.Text(level));
    return name;
}

void PMMLFields::WriteDataDictionary(PMMLWriter& writer, XMLElement& root) const
{
    XMLElement& dictionary = writer.Add(root, "DataDictionary");
    writer.Set(dictionary, "numberOfFields", static_cast<int>(fvFields.size()));
    for (const PMMLField& field : fvFields) {
        const bool isText = field.data == PMMLField::Data::Text;
        XMLElement& element = writer.Add(dictionary, "DataField");
        writer.Set(element, "name", field.Name());
        writer.SetIf(element, "displayName", field.variable->GetLabel());
        writer.Set(element, "optype", OpTypeOf(field));
        writer.Set(element, "dataType", isText ? "string" : field.data == PMMLField::Data::Bool ? "boolean" : "double");
        const auto* const continuous = dynamic_cast<const MCContinuousVariable*>(field.variable);
        if (continuous != nullptr && !field.categorical &&
            (!MCMV::IsMissing(continuous->GetLowest()) || !MCMV::IsMissing(continuous->GetHighest()))) {
            XMLElement& interval = writer.Add(element, "Interval");
            writer.Set(interval, "closure", "closedClosed");
            writer.SetIf(interval, "leftMargin", continuous->GetLowest());
            writer.SetIf(interval, "rightMargin", continuous->GetHighest());
        }

        std::set<std::string, std::less<>> written;
        const auto* const categorical = dynamic_cast<const MCCategoricalVariable*>(field.variable);
        const auto add = [&](const Value& value, const char* property) {
            const bool fits = isText || (field.data == PMMLField::Data::Bool ? value.GetType() == Value::TypeBool
                                                                             : ReadsAsNumber(value));
            if (!fits) return; // a text where numbers are read is no value of the field anyway
            if (!written.insert(field.Text(value)).second) {
                if (property == nullptr)
                    writer.Refuse(MCPMMLExporter::DuplicateName, "two categories of the field " +
                                                                     InQuotes(field.Name()) + " are written as " +
                                                                     InQuotes(field.Text(value)));
                return;
            }
            XMLElement& child = writer.Add(element, "Value");
            writer.Set(child, "value", field.Text(value));
            if (categorical != nullptr) {
                const int place = categorical->FindCategory(value);
                if (place >= 0)
                    writer.SetIf(child, "displayValue",
                                 categorical->GetCategories()[static_cast<std::size_t>(place)].label);
            }
            if (property != nullptr) writer.Set(child, "property", property);
        };
        for (const Value& value : field.valid) add(value, nullptr);
        for (const Value& code : field.variable->GetMissingCodes()) add(code, "missing");
        if (categorical == nullptr) continue;
        for (const MCCategoricalVariable::Category& category : categorical->GetCategories())
            if (category.kind != IMCVariable::ValueValid)
                add(category.value, category.kind == IMCVariable::ValueMissing ? "missing" : "invalid");
    }
}

void PMMLFields::WriteDerivedFields(PMMLWriter& writer, XMLElement& root) const
{
    const auto isEncoded = [](const PMMLField& field) { return field.used && !field.columns.empty(); };
    if (fIndicators.empty() && std::ranges::none_of(fvFields, isEncoded)) return;
    XMLElement& dictionary = writer.Add(root, "TransformationDictionary");
    for (const PMMLField& field : fvFields)
        if (isEncoded(field)) WriteEncoder(writer, dictionary, field);
    for (const auto& [key, name] : fIndicators) {
        XMLElement& indicator = writer.Add(AddDerivedField(writer, dictionary, name), "NormDiscrete");
        writer.Set(indicator, "field", key.first);
        writer.Set(indicator, "value", key.second);
    }
}

void PMMLFields::WriteMiningSchema(PMMLWriter& writer, XMLElement& model, const PMMLField* target) const
{
    XMLElement& schema = writer.Add(model, "MiningSchema");
    for (const PMMLField& field : fvFields) {
        const char* const usage = &field == target ? "target"
                                  : field.used     ? "active"
                                                   : UsageOf(field.variable->GetRole());
        if (usage == nullptr) continue;
        XMLElement& element = writer.Add(schema, "MiningField");
        writer.Set(element, "name", field.Name());
        writer.Set(element, "usageType", usage);
        if (!field.used || &field == target) continue;
        writer.Set(element, "outliers", field.outliers);
        writer.SetIf(element, "lowValue", field.lowest);
        writer.SetIf(element, "highValue", field.highest);
        writer.SetIf(element, "missingValueReplacement", field.replacement);
        writer.Set(element, "missingValueTreatment", field.refusesMissing ? "returnInvalid" : field.missing);
        writer.Set(element, "invalidValueTreatment", field.invalid);
    }
}

} // namespace MCXML_930::internal
