// The named settings of a procedure or a program.
#pragma once

#include "modelcore/common/MCWarnings.h"
#include "modelcore/settings/MCSetting.h"

#include <functional>
#include <iosfwd>
#include <map>
#include <memory>

namespace MCXML_930 {

/// Named settings with their types, legal values, defaults and rules over several of them, in the order of adding. What
/// a person may set, what help and schema say, what is checked and what a document shows has one source.
///
/// Every value is legal and every rule holds at any time: a change that breaks one is refused and changes nothing. An
/// unknown name is an error. Pointers to settings hold as long as the object that gave them; what is copied has its own.
class MODELCORE_EXPORT MCSettings {
public:
    /// A condition over several settings, which the argument holds as they would be.
    using Rule = std::function<bool(const MCSettings&)>;

    MCSettings() = default;
    MCSettings(const MCSettings& other);
    MCSettings(MCSettings&& other) noexcept = default;
    MCSettings& operator=(const MCSettings& other);
    MCSettings& operator=(MCSettings&& other) noexcept = default;
    ~MCSettings() = default;

    /// @name Adding
    /// Each returns the setting, or null, and nothing changed, when the name is taken or not a letter followed by
    /// letters, digits, '_', '-' and '.', when nothing is legal, or when the default is not.
    /// @{
    /// A setting that is true or false.
    const MCSetting* AddBool(std::string name, bool value, std::string description, std::string group = {});
    /// A whole number from minimum to maximum.
    const MCSetting* AddInteger(std::string name, long long value, long long minimum, long long maximum,
                                std::string description, std::string group = {});
    /// A finite number of the range.
    const MCSetting* AddReal(std::string name, double value, const MCRealRange& range, std::string description,
                             std::string group = {});
    /// Any text.
    const MCSetting* AddString(std::string name, std::string value, std::string description, std::string group = {});
    /// One of the given names.
    const MCSetting* AddChoice(std::string name, std::string value, std::vector<std::string> choices,
                               std::string description, std::string group = {});
    /// Lists of at least minCount and at most maxCount elements, each in the range or of the choices (any text when there
    /// are none).
    const MCSetting* AddRealList(std::string name, const std::vector<double>& values, const MCRealRange& range,
                                 int minCount, int maxCount, std::string description, std::string group = {});
    /// A list of texts; see AddRealList.
    const MCSetting* AddStringList(std::string name, const std::vector<std::string>& values,
                                   std::vector<std::string> choices, int minCount, int maxCount,
                                   std::string description, std::string group = {});

    /// Adds a condition that holds from now on.
    ///
    /// @param text  a sentence that says what must hold; the message of a refusal
    /// @return  false, and nothing changed, when it does not hold now
    bool AddRule(std::string text, Rule rule);
    /// @}

    /// @name Looking up
    /// @{
    /// The number of settings.
    std::size_t Size() const { return fvSettings.size(); }
    /// The setting added as number i, i < Size() (not checked).
    const MCSetting& At(std::size_t i) const { return *fvSettings[i]; }
    /// Null pointer when there is none.
    const MCSetting* Find(std::string_view name) const;
    /// The value of a setting; a null value when there is none of that name.
    const MCCommon_930::Value& Get(std::string_view name) const;
    /// The name of a setting that was probably meant: one that differs by a letter added, removed, changed or swapped;
    /// else one that begins so; else the one that the fewest such steps lead to, at most a third of the letters (2 in
    /// short names). Upper and lower case are the same. "" when there is none.
    std::string Nearest(std::string_view name) const;
    /// Whether every setting has its default.
    bool IsDefault() const;
    /// @}

    /// @name Changing: all or nothing
    /// @{

    /// Gives one setting a value: see MCSetting::Check.
    ///
    /// @param message  if not null: the sentence that tells a person what is wrong and what is legal; "" when nothing is
    /// @return  an error with a code of MCSetting::Code; discrete datum 0 is the number of the setting, -1 for an unknown
    ///          one and, for a broken rule, the number of the rule
    MCCommon_930::MCStatus Set(std::string_view name, const MCCommon_930::Value& value, std::string* message = nullptr);

    /// Gives several settings their values at once; the others keep theirs.
    ///
    /// @param warnings  if not null: takes one sentence for every fault, as a parameter of its code
    /// @param message   if not null: the same sentences, a line each; "" when there is no fault
    /// @return  the first fault: see Set
    MCCommon_930::MCStatus SetAll(const std::map<std::string, MCCommon_930::Value>& values,
                                  MCCommon_930::MCWarnings* warnings = nullptr, std::string* message = nullptr);

    /// Gives the settings that a JSON object names their values, as SetAll does.
    MCCommon_930::MCStatus FromJson(const JsonObject& json, MCCommon_930::MCWarnings* warnings = nullptr,
                                    std::string* message = nullptr);

    /// All back to their defaults, which keep every rule that was added when they were the values.
    ///
    /// @return  false, and nothing changed, when a rule does not hold for the defaults
    bool Reset();
    /// @}

    /// @name JSON, saved state, text
    /// @{

    /// An object with the values under their names, in the order of adding.
    ///
    /// @param onlyChanged  leaves out what is the default
    JsonObject ToJson(bool onlyChanged = false) const;

    /// A JSON Schema (2020-12) that accepts the objects that FromJson accepts. It cannot say the rules, which are listed
    /// as its comment, nor which texts the process's code page lacks.
    JsonObject CreateJsonSchema() const;

    /// Saves names, types and values, not what is legal, as an element of a flat value stream.
    ///
    /// @return  the number of lines; 0 when writing failed
    int WriteObjectXML(std::ostream& stream, int indent) const;
    /// Restores values that were saved so into settings of the same names and types. The stream stands before their
    /// element.
    ///
    /// @return  the number of lines; 0, and nothing changed, when the stream holds anything else, a value that is not
    ///          legal here, a name that is not here, or not all names
    int ReadObjectXML(std::ifstream& stream);

    /// Writes a line for every setting, group by group, to the diagnostic text stream.
    void Display() const;
    /// @}

    /// The same settings in the same order with the same values, and rules with the same texts.
    bool operator==(const MCSettings& other) const;

private:
    struct NamedRule {
        std::string text;
        Rule rule;
    };
    /// What is to become of a setting.
    struct Change {
        MCSetting* setting;
        MCCommon_930::Value value;
    };
    class Faults;

    const MCSetting* Add(MCSetting setting, const MCCommon_930::Value& value);
    int NumberOf(std::string_view name) const;
    std::string UnknownText(std::string_view name) const;
    void Plan(std::string_view name, const MCCommon_930::Value& value, std::vector<Change>& changes,
              Faults& faults) const;
    MCCommon_930::MCStatus Apply(std::vector<Change>& changes, Faults& faults);
    int FirstBrokenRule() const;

    std::vector<std::unique_ptr<MCSetting>> fvSettings;
    std::map<std::string, std::size_t, std::less<>> fNumbers;
    std::vector<NamedRule> fvRules;
};

} // namespace MCXML_930
