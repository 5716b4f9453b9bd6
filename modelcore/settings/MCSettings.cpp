// The named settings: adding, looking up, changing. JSON, saved state and text are in MCSettingsState.cpp.
#include "modelcore/settings/MCSettings.h"

#include "modelcore/settings/internal/Faults.h"
#include "modelcore/settings/internal/NearestName.h"

#include <algorithm>

namespace MCXML_930 {

using MCCommon_930::MCStatus;
using MCCommon_930::MCWarnings;
using MCCommon_930::Value;

namespace {

bool IsName(std::string_view name)
{
    const auto isLetter = [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); };
    const auto fits = [&](char c) { return isLetter(c) || (c >= '0' && c <= '9') || c == '_' || c == '-' || c == '.'; };
    return !name.empty() && isLetter(name[0]) && std::all_of(name.begin(), name.end(), fits);
}

template <class T>
Value ListOf(const std::vector<T>& elements)
{
    Value list;
    list.Resize(static_cast<int>(elements.size()));
    for (std::size_t i = 0; i < elements.size(); ++i) list[static_cast<int>(i)] = elements[i];
    return list;
}

} // namespace

MCSettings::MCSettings(const MCSettings& other) : fNumbers(other.fNumbers), fvRules(other.fvRules)
{
    for (const auto& setting : other.fvSettings) fvSettings.push_back(std::make_unique<MCSetting>(*setting));
}

MCSettings& MCSettings::operator=(const MCSettings& other)
{
    if (this != &other) {
        MCSettings copy(other);
        *this = std::move(copy);
    }
    return *this;
}

// Adding

const MCSetting* MCSettings::Add(MCSetting setting, const Value& value)
{
    if (!IsName(setting.fName) || fNumbers.contains(setting.fName)) return nullptr;
    if (!setting.Set(value).IsOK()) return nullptr;
    setting.fDefault = setting.fValue;
    auto added = std::make_unique<MCSetting>(std::move(setting));
    fvSettings.reserve(fvSettings.size() + 1);
    fNumbers.emplace(added->fName, fvSettings.size());
    fvSettings.push_back(std::move(added));
    return fvSettings.back().get();
}

const MCSetting* MCSettings::AddBool(std::string name, bool value, std::string description, std::string group)
{
    return Add({MCSetting::TypeBool, std::move(name), std::move(description), std::move(group)}, value);
}

const MCSetting* MCSettings::AddInteger(std::string name, long long value, long long minimum, long long maximum,
                                        std::string description, std::string group)
{
    MCSetting setting(MCSetting::TypeInteger, std::move(name), std::move(description), std::move(group));
    setting.fMinimum = minimum;
    setting.fMaximum = maximum;
    return Add(std::move(setting), value);
}

const MCSetting* MCSettings::AddReal(std::string name, double value, const MCRealRange& range, std::string description,
                                     std::string group)
{
    MCSetting setting(MCSetting::TypeReal, std::move(name), std::move(description), std::move(group));
    setting.fRange = range;
    return Add(std::move(setting), value);
}

const MCSetting* MCSettings::AddString(std::string name, std::string value, std::string description, std::string group)
{
    return Add({MCSetting::TypeString, std::move(name), std::move(description), std::move(group)}, std::move(value));
}

const MCSetting* MCSettings::AddChoice(std::string name, std::string value, std::vector<std::string> choices,
                                       std::string description, std::string group)
{
    if (choices.empty()) return nullptr;
    MCSetting setting(MCSetting::TypeChoice, std::move(name), std::move(description), std::move(group));
    setting.fvChoices = std::move(choices);
    return Add(std::move(setting), std::move(value));
}

const MCSetting* MCSettings::AddRealList(std::string name, const std::vector<double>& values, const MCRealRange& range,
                                         int minCount, int maxCount, std::string description, std::string group)
{
    MCSetting setting(MCSetting::TypeRealList, std::move(name), std::move(description), std::move(group));
    setting.fRange = range;
    setting.fMinCount = minCount;
    setting.fMaxCount = maxCount;
    return Add(std::move(setting), ListOf(values));
}

const MCSetting* MCSettings::AddStringList(std::string name, const std::vector<std::string>& values,
                                           std::vector<std::string> choices, int minCount, int maxCount,
                                           std::string description, std::string group)
{
    MCSetting setting(MCSetting::TypeStringList, std::move(name), std::move(description), std::move(group));
    setting.fvChoices = std::move(choices);
    setting.fMinCount = minCount;
    setting.fMaxCount = maxCount;
    return Add(std::move(setting), ListOf(values));
}

bool MCSettings::AddRule(std::string text, Rule rule)
{
    if (!rule || !rule(*this)) return false;
    fvRules.push_back({std::move(text), std::move(rule)});
    return true;
}

// Looking up

int MCSettings::NumberOf(std::string_view name) const
{
    const auto at = fNumbers.find(name);
    return at != fNumbers.end() ? static_cast<int>(at->second) : -1;
}

const MCSetting* MCSettings::Find(std::string_view name) const
{
    const auto at = fNumbers.find(name);
    return at != fNumbers.end() ? fvSettings[at->second].get() : nullptr;
}

const Value& MCSettings::Get(std::string_view name) const
{
    const MCSetting* const setting = Find(name);
    return setting != nullptr ? setting->Get() : Value::NULL_VALUE;
}

std::string MCSettings::Nearest(std::string_view name) const
{
    std::vector<std::string> names;
    for (const auto& setting : fvSettings) names.push_back(setting->GetName());
    return internal::NearestName(name, names);
}

bool MCSettings::IsDefault() const
{
    return std::all_of(fvSettings.begin(), fvSettings.end(), [](const auto& setting) { return setting->IsDefault(); });
}

// Changing

void MCSettings::Faults::Add(MCStatus status, int number, const std::string& text)
{
    status.SetDiscreteDatum(0, number);
    if (fFirst.IsOK()) fFirst = status;
    if (fText.size() > 0) fText += '\n';
    fText += text;
    if (fWarnings != nullptr) fWarnings->AddParameter(status, text);
}

std::string MCSettings::UnknownText(std::string_view name) const
{
    std::string text = "there is no setting \"" + std::string(name) + "\"";
    if (const std::string near = Nearest(name); !near.empty()) text += "; do you mean \"" + near + "\"?";
    return text;
}

/// Notes what is to become of a setting, or why it cannot.
void MCSettings::Plan(std::string_view name, const Value& value, std::vector<Change>& changes, Faults& faults) const
{
    const int number = NumberOf(name);
    if (number < 0) return faults.Add(MCStatus(MCSetting::UnknownName, false), -1, UnknownText(name));
    MCSetting* const setting = fvSettings[static_cast<std::size_t>(number)].get();
    Value taken;
    std::string text;
    const MCStatus status = setting->CheckAndTake(value, taken, &text);
    if (!status.IsOK()) return faults.Add(status, number, text);
    changes.push_back({setting, std::move(taken)});
}

int MCSettings::FirstBrokenRule() const
{
    const auto broken =
        std::find_if(fvRules.begin(), fvRules.end(), [this](const NamedRule& rule) { return !rule.rule(*this); });
    return broken == fvRules.end() ? -1 : static_cast<int>(broken - fvRules.begin());
}

/// Makes the changes; takes all of them back when there are faults, a rule does not hold, or a rule throws.
MCStatus MCSettings::Apply(std::vector<Change>& changes, Faults& faults)
{
    if (!faults.First().IsOK()) return faults.First();
    class Exchange {
    public:
        explicit Exchange(std::vector<Change>& made) : fChanges(made) { Swap(); }
        Exchange(const Exchange&) = delete;
        Exchange& operator=(const Exchange&) = delete;
        ~Exchange()
        {
            if (!fbKept) Swap();
        }
        void Keep() { fbKept = true; }

    private:
        void Swap()
        {
            for (Change& change : fChanges) change.setting->fValue.Swap(change.value);
        }
        std::vector<Change>& fChanges;
        bool fbKept = false;
    };
    Exchange exchange(changes);
    const int broken = FirstBrokenRule();
    if (broken < 0)
        exchange.Keep();
    else
        faults.Add(MCStatus(MCSetting::BrokenRule, false), broken, fvRules[static_cast<std::size_t>(broken)].text);
    return faults.First();
}

MCStatus MCSettings::Set(std::string_view name, const Value& value, std::string* message)
{
    Faults faults(nullptr);
    std::vector<Change> changes;
    Plan(name, value, changes, faults);
    const MCStatus status = Apply(changes, faults);
    if (message != nullptr) *message = faults.Text();
    return status;
}

MCStatus MCSettings::SetAll(const std::map<std::string, Value>& values, MCWarnings* warnings, std::string* message)
{
    Faults faults(warnings);
    std::vector<Change> changes;
    for (const auto& [name, value] : values) Plan(name, value, changes, faults);
    const MCStatus status = Apply(changes, faults);
    if (message != nullptr) *message = faults.Text();
    return status;
}

MCStatus MCSettings::FromJson(const JsonObject& json, MCWarnings* warnings, std::string* message)
{
    Faults faults(warnings);
    std::vector<Change> changes;
    if (!json.IsObject()) faults.Add(MCStatus(MCSetting::NotAnObject, false), -1, "the settings are not a JSON object");
    for (const JsonObject::Member& member : json.Members()) {
        const int number = NumberOf(member.Name());
        Value value;
        if (number >= 0 && !At(static_cast<std::size_t>(number)).ReadJson(member.Value(), value)) {
            faults.Add(MCStatus(MCSetting::NotLegal, false), number,
                       std::string(member.Name()) + ": a text that is not in the code page");
            continue;
        }
        Plan(member.Name(), value, changes, faults);
    }
    const MCStatus status = Apply(changes, faults);
    if (message != nullptr) *message = faults.Text();
    return status;
}

bool MCSettings::Reset()
{
    Faults faults(nullptr);
    std::vector<Change> changes;
    for (const auto& setting : fvSettings) changes.push_back({setting.get(), setting->fDefault});
    return Apply(changes, faults).IsOK();
}

bool MCSettings::operator==(const MCSettings& other) const
{
    const auto sameSetting = [](const auto& a, const auto& b) { return *a == *b; };
    const auto sameRule = [](const NamedRule& a, const NamedRule& b) { return a.text == b.text; };
    return std::equal(fvSettings.begin(), fvSettings.end(), other.fvSettings.begin(), other.fvSettings.end(),
                      sameSetting) &&
           std::equal(fvRules.begin(), fvRules.end(), other.fvRules.begin(), other.fvRules.end(), sameRule);
}

} // namespace MCXML_930
