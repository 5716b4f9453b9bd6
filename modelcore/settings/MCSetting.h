// One named setting: its type, what is legal, its default and its value.
#pragma once

#include "modelcore/common/MCStatus.h"
#include "modelcore/common/Value.h"
#include "modelcore/common/internal/EmptiedOnMove.h"
#include "modelcore/modelcore_export.h"
#include "modelcore/xml/JsonObject.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

namespace MCXML_930 {

/// The reals that are legal for a setting: an interval with open or closed ends. An infinite end is open whatever is
/// said, since a setting is a finite number.
struct MODELCORE_EXPORT MCRealRange {
    double lower = -std::numeric_limits<double>::infinity(); ///< the lower end
    double upper = std::numeric_limits<double>::infinity();  ///< the upper end
    bool lowerOpen = false;                                  ///< whether the lower end itself is not legal
    bool upperOpen = false;                                  ///< whether the upper end itself is not legal

    /// [lower, upper]
    static MCRealRange Closed(double lower, double upper) { return {lower, upper, false, false}; }
    /// (lower, upper)
    static MCRealRange Open(double lower, double upper) { return {lower, upper, true, true}; }
    /// (lower, upper]
    static MCRealRange OpenClosed(double lower, double upper) { return {lower, upper, true, false}; }
    /// [lower, upper)
    static MCRealRange ClosedOpen(double lower, double upper) { return {lower, upper, false, true}; }
    /// [lower, inf)
    static MCRealRange AtLeast(double lower) { return {lower, std::numeric_limits<double>::infinity(), false, false}; }
    /// (lower, inf)
    static MCRealRange Above(double lower) { return {lower, std::numeric_limits<double>::infinity(), true, false}; }

    /// False for a NaN, an infinity and the system-missing value.
    bool Contains(double x) const;
    /// "(0, 1]", "[0, inf)", or "any real number".
    std::string GetText() const;
    bool operator==(const MCRealRange& other) const = default;
};

/// A setting as MCSettings makes it. Its value is a Value of one type always: a bool, an integer, a real, a string (for
/// a choice, too), or an array of reals or strings. Strings are in the process's code page.
///
/// MCSettings gives out constant settings, since a change may break a rule over several; a copy may be changed.
class MODELCORE_EXPORT MCSetting {
public:
    /// What a setting's value is.
    enum Type : std::int32_t { TypeBool, TypeInteger, TypeReal, TypeString, TypeChoice, TypeRealList, TypeStringList };

    /// Error codes of the statuses that settings return.
    enum Code : std::int32_t {
        UnknownName = 1, ///< there is no setting of that name
        WrongType = 2,   ///< the value is of another type
        NotLegal = 3,    ///< the value is of the right type and not legal
        BrokenRule = 4,  ///< a rule over several settings would not hold
        NotAnObject = 5  ///< the JSON value is no object, or a name in it is not in the process's code page
    };

    /// Copies are deep. An assignment that runs out of memory leaves the setting as it was.
    MCSetting(const MCSetting& other) = default;
    MCSetting& operator=(const MCSetting& other) { return MCMath_930::internal::AssignByCopy(*this, other); }
    MCSetting(MCSetting&& other) noexcept = default;
    MCSetting& operator=(MCSetting&& other) noexcept = default;
    ~MCSetting() = default;

    /// The name by which it is found.
    const std::string& GetName() const { return fName; }
    /// Settings of one group are shown together; "" for none.
    const std::string& GetGroup() const { return fGroup; }
    /// What it does, for people.
    const std::string& GetDescription() const { return fDescription; }
    /// What its value is.
    Type GetType() const { return fType; }

    /// The value.
    const MCCommon_930::Value& Get() const { return fValue; }
    /// The value before any change.
    const MCCommon_930::Value& GetDefault() const { return fDefault; }
    /// Whether the value is the default, to the last bit.
    bool IsDefault() const { return Same(fValue, fDefault); }

    /// The elements of a list; none for any other type.
    std::vector<double> GetReals() const;
    /// The elements of a list of strings; none for any other type.
    std::vector<std::string> GetStrings() const;

    /// The names that are legal for a choice or for each element of a list of strings; empty when any is.
    const std::vector<std::string>& GetChoices() const { return fvChoices; }
    /// What is legal, as a person reads it: "(0, 1]", "1 to 100", "true or false", "enter, forward or stepwise", "any
    /// text", "1 to 5 reals, each (0, 1]".
    std::string GetLegalText() const;
    /// The value as text: Value's text, with texts between quotes.
    std::string GetValueText() const { return TextOf(fValue); }

    /// Whether the value would be taken. An integer is taken for a real when a double holds it exactly, and a real
    /// without a fraction for an integer.
    ///
    /// @param message  if not null and the value would not: a sentence that says what is legal, and the nearest choice
    /// @return  an error WrongType or NotLegal; discrete datum 1 is the number of the element at fault in a list or -1,
    ///          scale datum 0 the number at fault
    MCCommon_930::MCStatus Check(const MCCommon_930::Value& value, std::string* message = nullptr) const;
    /// Gives the setting that value; changes nothing unless Check is OK.
    MCCommon_930::MCStatus Set(const MCCommon_930::Value& value, std::string* message = nullptr);
    /// Back to the default.
    void Reset() { fValue = fDefault; }

    /// The JSON value: strings in UTF-8.
    JsonObject ToJson() const { return JsonOf(fValue); }
    /// What a JSON Schema (2020-12) says of the setting.
    JsonObject CreateJsonSchema() const;

    /// Everything is the same, the value and the default to the last bit.
    bool operator==(const MCSetting& other) const;

private:
    friend class MCSettings;
    struct Fault;

    MCSetting(Type type, std::string name, std::string description, std::string group);
    static bool Same(const MCCommon_930::Value& a, const MCCommon_930::Value& b);
    static std::string TextOf(const MCCommon_930::Value& value);
    static JsonObject JsonOf(const MCCommon_930::Value& value);
    bool IsList() const { return fType == TypeRealList || fType == TypeStringList; }
    const char* TypeText() const;
    std::string ElementText() const;
    Fault Take(const MCCommon_930::Value& given, MCCommon_930::Value& taken) const;
    Fault TakeScalar(const MCCommon_930::Value& given, MCCommon_930::Value& taken) const;
    MCCommon_930::MCStatus CheckAndTake(const MCCommon_930::Value& given, MCCommon_930::Value& taken,
                                        std::string* message) const;
    bool ReadJson(const JsonObject& json, MCCommon_930::Value& value) const;
    JsonObject CreateElementSchema() const;

    std::string fName;
    std::string fGroup;
    std::string fDescription;
    Type fType;
    MCCommon_930::Value fDefault;
    MCCommon_930::Value fValue;

    // What is legal, as far as it says something for the type.
    long long fMinimum = std::numeric_limits<long long>::min();
    long long fMaximum = std::numeric_limits<long long>::max();
    MCRealRange fRange;
    std::vector<std::string> fvChoices;
    int fMinCount = 0;
    int fMaxCount = std::numeric_limits<int>::max();
};

} // namespace MCXML_930
