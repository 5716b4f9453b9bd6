// What the descriptions of variables share.
#pragma once

#include "modelcore/common/IMCVariable.h"
#include "modelcore/modelcore_export.h"
#include "modelcore/xml/JsonObject.h"

#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

namespace MCXML_930 {

/// Name, label, role, storage and missing codes of a variable, its equality and its saved state. A variable is a plain
/// value: copying copies all of it.
class MODELCORE_EXPORT MCVariable : public IMCVariable {
public:
    ~MCVariable() override;

    const std::string& GetName() const override { return fName; }
    const std::string& GetLabel() const override { return fLabel; }
    VariableRole GetRole() const override { return fRole; }
    VariableStorage GetStorage() const override { return fStorage; }
    const std::vector<MCCommon_930::Value>& GetMissingCodes() const override { return fvMissingCodes; }

    /// Text for people.
    void SetLabel(const std::string& label) { fLabel = label; }

    /// @return  false, and nothing changed, when the variable cannot have the role: one of a weight belongs to
    ///          MCWeightVariable, which has no other
    virtual bool SetRole(VariableRole role);

    /// Adds a value that stands for a missing one.
    /// @return  false, and nothing changed, when it is a missing code already, or is missing itself, or no bool, number
    ///          or string
    bool AddMissingCode(const MCCommon_930::Value& code);

    ValueKind Classify(const MCCommon_930::Value& value) const override;
    std::string ToString() const override;

    /// What ToString says of the values: their interval or categories, and the missing codes. Up to about width
    /// characters; lists are cut with their count.
    std::string GetValuesText(int width = 60) const;

    void Display() const override;

    /// The same class and the same description in every part. Values are compared exactly, with their types.
    bool operator==(const MCVariable& other) const;

    /// The description as JSON: class, name, label, role, storage, missing codes, and what the class adds.
    JsonObject ToJson() const;
    /// Restores what ToJson returned.
    /// @return  false, and nothing changed, when it is not a description of this class
    bool FromJson(const JsonObject& json);

    /// Saves the description as an element of a flat value stream.
    /// @param indent  the depth of its tags, in tabs
    /// @return  the number of lines written; 0 when writing failed
    int WriteObjectXML(std::ostream& stream, int indent) const;
    /// Restores a description that was saved so. The stream stands before its element.
    /// @return  the number of lines read; 0, and nothing changed but the place in the stream, when they are not such a
    ///          description
    int ReadObjectXML(std::ifstream& stream);

    /// A variable of the class of that name ("MCContinuousVariable"), without a name yet; null for another class. For
    /// FromJson and ReadObjectXML.
    static std::unique_ptr<MCVariable> Create(const std::string& className);

protected:
    /// A variable without a label and missing codes.
    MCVariable(std::string name, VariableStorage storage, VariableRole role);
    MCVariable(const MCVariable&);
    MCVariable(MCVariable&&) noexcept;
    MCVariable& operator=(const MCVariable&);
    MCVariable& operator=(MCVariable&&) noexcept;

    /// The name that stands in the description.
    virtual const char* ClassName() const = 0;
    /// What a value of the right type that is not missing is.
    virtual ValueKind ClassifyStored(const MCCommon_930::Value& value) const = 0;
    /// The values in a few words; "" when there is nothing to say.
    virtual std::string RangeText(int width) const = 0;
    /// The parts of the description as fields of a map, and back.
    virtual void Save(MCCommon_930::Value& map) const;
    /// Reads what Save wrote, into an object that is thrown away when it fails.
    virtual bool Load(const MCCommon_930::Value& map);
    /// A variable of the same class with those parts, or null.
    virtual std::unique_ptr<MCVariable> Loaded(const MCCommon_930::Value& map) const = 0;
    /// Takes the parts of another variable of the same class.
    virtual void Take(MCVariable& other) noexcept = 0;

private:
    friend class MCVariableList;
    MCCommon_930::Value SaveAll() const;
    bool LoadAll(const MCCommon_930::Value& map);

    std::string fName;
    std::string fLabel;
    VariableRole fRole;
    VariableStorage fStorage;
    std::vector<MCCommon_930::Value> fvMissingCodes;
};

/// The words of the enumerations, as ToJson and ToString write them: "continuous", "frequency weight", "string", ...
MODELCORE_EXPORT const char* ToText(IMCVariable::MeasureLevel level);
MODELCORE_EXPORT const char* ToText(IMCVariable::VariableRole role);
MODELCORE_EXPORT const char* ToText(IMCVariable::VariableStorage storage);

} // namespace MCXML_930
