// One named setting, and the range of a real one.
#include "modelcore/settings/MCSetting.h"

#include "modelcore/common/MCMV.h"
#include "modelcore/settings/internal/NearestName.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace MCXML_930 {

using MCCommon_930::MCMV;
using MCCommon_930::MCStatus;
using MCCommon_930::Value;

namespace {

constexpr int kAnyCount = std::numeric_limits<int>::max();

/// A real as Value writes it: without the ".0" of JSON.
std::string RealText(double x)
{
    return Value(x).GetString();
}

/// "a", "a or b", "a, b or c".
std::string Alternatives(const std::vector<std::string>& names)
{
    std::string text;
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (i > 0) text += i + 1 == names.size() ? " or " : ", ";
        text += names[i];
    }
    return text;
}

bool IsInCodePage(const std::string& text)
{
    JsonObject json;
    return JsonObject::FromCodePage(text, json);
}

} // namespace

// The range

bool MCRealRange::Contains(double x) const
{
    if (!std::isfinite(x) || MCMV::IsMissing(x)) return false;
    return (lowerOpen ? x > lower : x >= lower) && (upperOpen ? x < upper : x <= upper);
}

std::string MCRealRange::GetText() const
{
    const bool bounded = std::isfinite(lower), boundedAbove = std::isfinite(upper);
    if (!bounded && !boundedAbove) return "any real number";
    std::string text = !bounded || lowerOpen ? "(" : "[";
    text += RealText(lower) + ", " + RealText(upper);
    return text + (!boundedAbove || upperOpen ? ")" : "]");
}

// What a value is refused for

struct MCSetting::Fault {
    int code = 0; // 0: none
    int element = -1;
    double number = 0.0;
    std::string about{}; // the part that is wrong; empty: the value
};

MCSetting::MCSetting(Type type, std::string name, std::string description, std::string group)
    : fName(std::move(name)), fGroup(std::move(group)), fDescription(std::move(description)), fType(type)
{}

std::vector<double> MCSetting::GetReals() const
{
    std::vector<double> reals;
    if (fType == TypeRealList)
        for (int i = 0; i < fValue.Size(); ++i) reals.push_back(fValue[i].GetReal());
    return reals;
}

std::vector<std::string> MCSetting::GetStrings() const
{
    std::vector<std::string> strings;
    if (fType == TypeStringList)
        for (int i = 0; i < fValue.Size(); ++i) strings.push_back(fValue[i].GetStringRef());
    return strings;
}

const char* MCSetting::TypeText() const
{
    switch (fType) {
    case TypeBool: return "true or false";
    case TypeInteger: return "a whole number of 64 bits";
    case TypeReal: return "a real number";
    case TypeRealList: return "a list of real numbers";
    case TypeStringList: return "a list of texts";
    default: return "a text";
    }
}

/// What is legal for the value, or for each element of a list.
std::string MCSetting::ElementText() const
{
    switch (fType) {
    case TypeBool: return "true or false";
    case TypeInteger:
        return fMinimum == fMaximum ? std::to_string(fMinimum)
                                    : std::to_string(fMinimum) + " to " + std::to_string(fMaximum);
    case TypeReal:
    case TypeRealList: return fRange.GetText();
    default: return fvChoices.empty() ? "any text" : Alternatives(fvChoices);
    }
}

std::string MCSetting::GetLegalText() const
{
    if (!IsList()) return ElementText();
    if (fMinCount == 1 && fMaxCount == 1) return (fType == TypeRealList ? "1 real: " : "1 text: ") + ElementText();
    std::string count;
    if (fMinCount == fMaxCount)
        count = std::to_string(fMinCount);
    else if (fMaxCount != kAnyCount)
        count = std::to_string(fMinCount) + " to " + std::to_string(fMaxCount);
    else
        count = fMinCount == 0 ? "any number of" : "at least " + std::to_string(fMinCount);
    return count + (fType == TypeRealList ? " reals, each " : " texts, each ") + ElementText();
}

std::string MCSetting::TextOf(const Value& value)
{
    if (value.GetType() == Value::TypeNull) return "null";
    return value.GetType() == Value::TypeString ? "\"" + value.GetStringRef() + "\"" : value.GetString();
}

/// Equality of Value allows a tolerance, and null is equal to nothing.
bool MCSetting::Same(const Value& a, const Value& b)
{
    if (a.GetType() != b.GetType() || a.Size() != b.Size()) return false;
    if (a.GetType() == Value::TypeReal)
        return std::bit_cast<std::uint64_t>(a.GetReal()) == std::bit_cast<std::uint64_t>(b.GetReal());
    if (a.GetType() != Value::TypeArray) return a == b;
    for (int i = 0; i < a.Size(); ++i)
        if (!Same(a[i], b[i])) return false;
    return true;
}

JsonObject MCSetting::JsonOf(const Value& value)
{
    JsonObject json;
    JsonObject::FromValue(value, json); // a text that the code page lacks is not legal
    return json;
}

MCSetting::Fault MCSetting::TakeScalar(const Value& given, Value& taken) const
{
    const std::uint16_t type = given.GetType();
    switch (fType) {
    case TypeBool:
        if (type != Value::TypeBool) return {WrongType};
        taken = given;
        return {};
    case TypeInteger: {
        // A real is one here as it is in JSON: 3.0 is 3.
        long long whole = 0;
        if (!JsonOf(given).Read(whole)) return {WrongType, -1, type == Value::TypeReal ? given.GetReal() : 0.0};
        if (whole < fMinimum || whole > fMaximum) return {NotLegal, -1, static_cast<double>(whole)};
        taken = whole;
        return {};
    }
    case TypeReal:
    case TypeRealList: {
        double real = 0.0;
        if (!given.IsNumericValue() || !JsonOf(given).Read(real)) return {WrongType};
        if (!fRange.Contains(real)) return {NotLegal, -1, real};
        taken = real;
        return {};
    }
    default:
        if (type != Value::TypeString) return {WrongType};
        if (!IsInCodePage(given.GetStringRef())) return {NotLegal, -1, 0.0, "a text that is not in the code page"};
        if (!fvChoices.empty() &&
            std::find(fvChoices.begin(), fvChoices.end(), given.GetStringRef()) == fvChoices.end())
            return {NotLegal};
        taken = given;
        return {};
    }
}

/// The value as it is kept; taken is changed only then.
MCSetting::Fault MCSetting::Take(const Value& given, Value& taken) const
{
    if (!IsList()) return TakeScalar(given, taken);
    if (given.GetType() != Value::TypeArray) return {WrongType};
    const int count = given.Size();
    if (count < fMinCount || count > fMaxCount)
        return {NotLegal, -1, static_cast<double>(count),
                "a list of " + std::to_string(count) + (count == 1 ? " element" : " elements")};
    Value list;
    list.Resize(count);
    for (int i = 0; i < count; ++i)
        if (Fault fault = TakeScalar(given[i], list[i]); fault.code != 0) {
            fault.element = i;
            if (fault.about.empty()) fault.about = TextOf(given[i]);
            return fault;
        }
    taken.Swap(list);
    return {};
}

MCStatus MCSetting::CheckAndTake(const Value& given, Value& taken, std::string* message) const
{
    const Fault fault = Take(given, taken);
    if (message != nullptr) message->clear();
    if (fault.code == 0) return {};
    MCStatus status(fault.code, false);
    status.SetDiscreteDatum(1, fault.element);
    status.SetScaleDatum(0, fault.number);
    if (message != nullptr) {
        *message = fName + ": ";
        if (fault.element >= 0) *message += "element " + std::to_string(fault.element + 1) + ": ";
        *message += fault.about.empty() ? TextOf(given) : fault.about;
        *message +=
            fault.code == WrongType && fault.element < 0 ? " is not " + std::string(TypeText()) : " is not legal";
        *message += "; legal: " + GetLegalText();
        const Value& text = fault.element >= 0 ? given[fault.element] : given;
        if (!fvChoices.empty() && text.GetType() == Value::TypeString)
            if (const std::string near = internal::NearestName(text.GetStringRef(), fvChoices); !near.empty())
                *message += "; do you mean \"" + near + "\"?";
    }
    return status;
}

MCStatus MCSetting::Check(const Value& value, std::string* message) const
{
    Value taken;
    return CheckAndTake(value, taken, message);
}

MCStatus MCSetting::Set(const Value& value, std::string* message)
{
    Value taken;
    const MCStatus status = CheckAndTake(value, taken, message);
    if (status.IsOK()) fValue.Swap(taken);
    return status;
}

// JSON

/// The value of a JSON value. A whole number of any size is a real where a real is wanted: the nearest, as if it were
/// written with a point.
bool MCSetting::ReadJson(const JsonObject& json, Value& value) const
{
    if (!json.ToValue(value)) return false;
    const auto widen = [](Value& number) {
        if (number.GetType() == Value::TypeInteger) number = static_cast<double>(number.GetInteger());
    };
    if (fType == TypeReal) widen(value);
    if (fType == TypeRealList && value.GetType() == Value::TypeArray)
        for (int i = 0; i < value.Size(); ++i) widen(value[i]);
    return true;
}

JsonObject MCSetting::CreateElementSchema() const
{
    JsonObject schema;
    switch (fType) {
    case TypeBool: schema.Set("type", "boolean"); break;
    case TypeInteger:
        schema.Set("type", "integer");
        schema.Set("minimum", fMinimum);
        schema.Set("maximum", fMaximum);
        break;
    case TypeReal:
    case TypeRealList:
        schema.Set("type", "number");
        if (std::isfinite(fRange.lower)) schema.Set(fRange.lowerOpen ? "exclusiveMinimum" : "minimum", fRange.lower);
        if (std::isfinite(fRange.upper)) schema.Set(fRange.upperOpen ? "exclusiveMaximum" : "maximum", fRange.upper);
        break;
    default:
        schema.Set("type", "string");
        if (!fvChoices.empty()) {
            JsonObject choices = JsonObject::NewArray();
            for (const std::string& choice : fvChoices) choices.Append(JsonOf(choice));
            schema.Set("enum", std::move(choices));
        }
    }
    return schema;
}

JsonObject MCSetting::CreateJsonSchema() const
{
    JsonObject schema;
    if (IsList()) {
        schema.Set("type", "array");
        schema.Set("items", CreateElementSchema());
        if (fMinCount > 0) schema.Set("minItems", fMinCount);
        if (fMaxCount != kAnyCount) schema.Set("maxItems", fMaxCount);
    } else {
        schema = CreateElementSchema();
    }
    if (JsonObject text = JsonOf(fDescription); !text.GetText().empty()) schema.Set("description", std::move(text));
    schema.Set("default", JsonOf(fDefault));
    return schema;
}

bool MCSetting::operator==(const MCSetting& other) const
{
    return fType == other.fType && fName == other.fName && fGroup == other.fGroup &&
           fDescription == other.fDescription && Same(fValue, other.fValue) && Same(fDefault, other.fDefault) &&
           fMinimum == other.fMinimum && fMaximum == other.fMaximum && fRange == other.fRange &&
           fvChoices == other.fvChoices && fMinCount == other.fMinCount && fMaxCount == other.fMaxCount;
}

} // namespace MCXML_930
