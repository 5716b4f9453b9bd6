// The variables of a model.
#pragma once

#include "modelcore/common/IMCVariable.h"
#include "modelcore/modelcore_export.h"
#include "modelcore/variables/MCVariable.h"
#include "modelcore/xml/JsonObject.h"

#include <iosfwd>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace MCXML_930 {

/// Variables in the order in which they were added, each name once. The list owns copies of them.
class MODELCORE_EXPORT MCVariableList {
public:
    MCVariableList() = default;
    MCVariableList(const MCVariableList& other);
    MCVariableList(MCVariableList&&) noexcept = default;
    MCVariableList& operator=(const MCVariableList& other);
    MCVariableList& operator=(MCVariableList&&) noexcept = default;
    ~MCVariableList() = default;

    /// Adds a copy of the variable at the end.
    /// @return  its position; -1, and nothing changed, when its name is empty or taken
    int Add(const MCVariable& variable);

    /// The number of variables.
    int Size() const { return static_cast<int>(fvVariables.size()); }
    /// The variable at a position; null when there is none.
    const MCVariable* Get(int position) const;
    MCVariable* Get(int position);
    /// The variable of a name; null when there is none.
    const MCVariable* Get(std::string_view name) const { return Get(Find(name)); }

    /// The position of a name, compared byte by byte; -1 when it is not there.
    int Find(std::string_view name) const;
    /// The positions of all variables of a role, in order.
    std::vector<int> Find(IMCVariable::VariableRole role) const;

    /// The same variables in the same order.
    bool operator==(const MCVariableList& other) const;

    /// A table for people: a line for each variable with its position, name, level, role, storage, values and label.
    std::string ToString() const;
    /// Writes ToString to the diagnostic text stream.
    void Display() const;

    /// {"variables": [...]}, each as MCVariable::ToJson.
    JsonObject ToJson() const;
    /// Restores what ToJson returned.
    /// @return  false, and nothing changed, when it is no list of variables with different names
    bool FromJson(const JsonObject& json);

    /// Saves the list as an element of a flat value stream.
    /// @param indent  the depth of its tags, in tabs
    /// @return  the number of lines written; 0 when writing failed
    int WriteObjectXML(std::ostream& stream, int indent) const;
    /// Restores a list that was saved so. The stream stands before its element.
    /// @return  the number of lines read; 0, and nothing changed but the place in the stream, when they are no list
    int ReadObjectXML(std::ifstream& stream);

private:
    MCCommon_930::Value SaveAll() const;
    bool LoadAll(const MCCommon_930::Value& map);

    std::vector<std::unique_ptr<MCVariable>> fvVariables;
    std::map<std::string, int, std::less<>> fPositions;
};

} // namespace MCXML_930
