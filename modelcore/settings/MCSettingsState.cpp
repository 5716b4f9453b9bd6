// The named settings: JSON, saved state, diagnostic text.
#include "modelcore/common/MCDisplay.h"
#include "modelcore/settings/MCSettings.h"
#include "modelcore/settings/internal/Faults.h"
#include "modelcore/xml/XMLObj.h"
#include "modelcore/xml/XMLValueStream.h"

#include <charconv>
#include <fstream>
#include <set>

namespace MCXML_930 {

using MCCommon_930::Value;

namespace {

constexpr char kElement[] = "MCSettings";

/// A flat element; a value is written as its type says, a list as its count and its elements. Integers are texts: the
/// stream's own have as many bits as a long, which is not 64 everywhere.
class Saver {
public:
    Saver(std::ostream& stream, int indent) : fStream(stream), fObject(kElement, indent) { fObject.StartObj(stream); }

    template <class T>
    void Write(const T& value)
    {
        fObject.WriteSubElement(fStream, value);
        ++fnLines;
    }
    void WriteValue(const Value& value)
    {
        switch (value.GetType()) {
        case Value::TypeBool: Write(value.GetBool()); break;
        case Value::TypeReal: Write(value.GetReal()); break;
        case Value::TypeArray:
            Write(value.Size());
            for (int i = 0; i < value.Size(); ++i) WriteValue(value[i]);
            break;
        default: Write(value.GetString());
        }
    }
    int Finish()
    {
        fObject.EndObj(fStream);
        return fStream ? fnLines + 2 : 0;
    }

private:
    std::ostream& fStream;
    XMLObj fObject;
    int fnLines = 0;
};

class Restorer {
public:
    explicit Restorer(std::ifstream& stream) : fStream(stream) {}

    template <class T>
    bool Read(T& value)
    {
        ++fnLines;
        return ParseValue(fStream, value);
    }
    template <class T>
    bool ReadAs(Value& value)
    {
        T read{};
        if (!Read(read)) return false;
        value = read;
        return true;
    }
    bool ReadInteger(Value& value)
    {
        std::string digits;
        long long read = 0;
        if (!Read(digits)) return false;
        const char* const end = digits.data() + digits.size();
        const auto [at, fault] = std::from_chars(digits.data(), end, read);
        value = read;
        return fault == std::errc() && at == end;
    }
    bool ReadValue(MCSetting::Type type, Value& value)
    {
        switch (type) {
        case MCSetting::TypeBool: return ReadAs<bool>(value);
        case MCSetting::TypeInteger: return ReadInteger(value);
        case MCSetting::TypeReal: return ReadAs<double>(value);
        case MCSetting::TypeRealList: return ReadList(MCSetting::TypeReal, value);
        case MCSetting::TypeStringList: return ReadList(MCSetting::TypeString, value);
        default: return ReadAs<std::string>(value);
        }
    }
    int Lines() const { return fnLines + 2; }

private:
    /// Grows with what is there, so that a damaged count cannot ask for all memory.
    bool ReadList(MCSetting::Type type, Value& list)
    {
        int count = 0;
        if (!Read(count) || count < 0) return false;
        list.Resize(0);
        for (int i = 0; i < count; ++i)
            if (!ReadValue(type, list[i])) return false;
        return true;
    }

    std::ifstream& fStream;
    int fnLines = 0;
};

} // namespace

JsonObject MCSettings::ToJson(bool onlyChanged) const
{
    JsonObject json = JsonObject::NewObject();
    for (const auto& setting : fvSettings)
        if (!onlyChanged || !setting->IsDefault()) json.Set(setting->GetName(), setting->ToJson());
    return json;
}

JsonObject MCSettings::CreateJsonSchema() const
{
    JsonObject properties = JsonObject::NewObject();
    for (const auto& setting : fvSettings) properties.Set(setting->GetName(), setting->CreateJsonSchema());
    JsonObject schema;
    schema.Set("$schema", "https://json-schema.org/draft/2020-12/schema");
    schema.Set("type", "object");
    schema.Set("properties", std::move(properties));
    schema.Set("additionalProperties", false);
    std::string rules;
    for (const NamedRule& rule : fvRules) rules += (rules.empty() ? "" : "; ") + rule.text;
    if (JsonObject comment; !rules.empty() && JsonObject::FromCodePage(rules, comment))
        schema.Set("$comment", std::move(comment));
    return schema;
}

int MCSettings::WriteObjectXML(std::ostream& stream, int indent) const
{
    Saver saver(stream, indent);
    saver.Write(static_cast<int>(Size()));
    for (const auto& setting : fvSettings) {
        saver.Write(setting->GetName());
        saver.Write(static_cast<int>(setting->GetType()));
        saver.WriteValue(setting->Get());
    }
    return saver.Finish();
}

int MCSettings::ReadObjectXML(std::ifstream& stream)
{
    Restorer restorer(stream);
    int count = 0;
    if (!ParseStartObj(stream, kElement) || !restorer.Read(count) || count != static_cast<int>(Size())) return 0;
    Faults faults(nullptr);
    std::vector<Change> changes;
    std::set<std::string> names;
    for (int i = 0; i < count; ++i) {
        std::string name;
        int type = 0;
        Value value;
        if (!restorer.Read(name) || !restorer.Read(type)) return 0;
        const MCSetting* const setting = Find(name);
        if (setting == nullptr || setting->GetType() != type || !names.insert(name).second) return 0;
        if (!restorer.ReadValue(setting->GetType(), value)) return 0;
        Plan(name, value, changes, faults);
    }
    if (!ParseEndObj(stream) || !Apply(changes, faults).IsOK()) return 0;
    return restorer.Lines();
}

void MCSettings::Display() const
{
    MCDisplay_930::DisplayStart(kElement);
    std::set<std::string> shown;
    for (const auto& first : fvSettings) {
        const std::string& group = first->GetGroup();
        if (!shown.insert(group).second) continue;
        if (!group.empty()) MCDisplay_930::DisplayLine(group + ":");
        for (const auto& setting : fvSettings)
            if (setting->GetGroup() == group)
                MCDisplay_930::Display((group.empty() ? "" : "  ") + setting->GetName(),
                                       setting->GetValueText() + (setting->IsDefault() ? " (default)" : "") +
                                           "; legal: " + setting->GetLegalText());
    }
    for (const NamedRule& rule : fvRules) MCDisplay_930::Display("rule", rule.text);
    MCDisplay_930::DisplayEnd(kElement);
}

} // namespace MCXML_930
