#include "modelcore/variables/MCVariableList.h"

#include "modelcore/common/MCDisplay.h"
#include "modelcore/variables/internal/StateTree.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <utility>

namespace MCXML_930 {

using internal::StateFields;
using internal::StateTree;
using MCCommon_930::Value;

namespace {

constexpr char kName[] = "MCVariableList";
constexpr char kVariables[] = "variables";

/// Characters, not bytes, so that columns stand straight under UTF-8.
std::size_t WidthOf(const std::string& text)
{
    return static_cast<std::size_t>(
        std::count_if(text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

} // namespace

MCVariableList::MCVariableList(const MCVariableList& other)
{
    for (const auto& variable : other.fvVariables) Add(*variable);
}

MCVariableList& MCVariableList::operator=(const MCVariableList& other)
{
    MCVariableList copy(other);
    *this = std::move(copy);
    return *this;
}

int MCVariableList::Add(const MCVariable& variable)
{
    if (variable.GetName().empty() || Find(variable.GetName()) >= 0) return -1;
    std::unique_ptr<IMCVariable> copy = variable.Clone();
    fvVariables.reserve(fvVariables.size() + 1);
    fPositions.emplace(variable.GetName(), Size());
    fvVariables.emplace_back(static_cast<MCVariable*>(copy.release()));
    return Size() - 1;
}

const MCVariable* MCVariableList::Get(int position) const
{
    return position >= 0 && position < Size() ? fvVariables[static_cast<std::size_t>(position)].get() : nullptr;
}

MCVariable* MCVariableList::Get(int position)
{
    return position >= 0 && position < Size() ? fvVariables[static_cast<std::size_t>(position)].get() : nullptr;
}

int MCVariableList::Find(std::string_view name) const
{
    const auto found = fPositions.find(name);
    return found == fPositions.end() ? -1 : found->second;
}

std::vector<int> MCVariableList::Find(IMCVariable::VariableRole role) const
{
    std::vector<int> positions;
    for (int i = 0; i < Size(); ++i)
        if (Get(i)->GetRole() == role) positions.push_back(i);
    return positions;
}

bool MCVariableList::operator==(const MCVariableList& other) const
{
    return std::equal(fvVariables.begin(), fvVariables.end(), other.fvVariables.begin(), other.fvVariables.end(),
                      [](const auto& a, const auto& b) { return *a == *b; });
}

std::string MCVariableList::ToString() const
{
    constexpr std::size_t columns = 7;
    std::vector<std::array<std::string, columns>> rows{{"#", "Name", "Level", "Role", "Storage", "Values", "Label"}};
    for (int i = 0; i < Size(); ++i) {
        const MCVariable& v = *Get(i);
        rows.push_back({std::to_string(i), v.GetName(), ToText(v.GetMeasureLevel()), ToText(v.GetRole()),
                        ToText(v.GetStorage()), v.GetValuesText(44), v.GetLabel()});
    }
    std::array<std::size_t, columns> widths{};
    for (const auto& row : rows)
        for (std::size_t c = 0; c < columns; ++c) widths[c] = std::max(widths[c], WidthOf(row[c]));
    std::string text;
    for (const auto& row : rows) {
        std::string line;
        for (std::size_t c = 0; c < columns; ++c)
            if (widths[c] > 0) line += row[c] + std::string(widths[c] - WidthOf(row[c]) + 2, ' ');
        text += line.substr(0, line.find_last_not_of(' ') + 1) + '\n';
    }
    return text;
}

void MCVariableList::Display() const
{
    MCDisplay_930::DisplayStart(kName);
    MCDisplay_930::GetDisplayStream() << ToString();
    MCDisplay_930::DisplayEnd(kName);
}

Value MCVariableList::SaveAll() const
{
    Value map;
    Value& list = map[kVariables];
    list.Resize(0);
    for (const auto& variable : fvVariables) list[list.Size()] = variable->SaveAll();
    return map;
}

bool MCVariableList::LoadAll(const Value& map)
{
    StateFields fields(map);
    const Value& list = fields.Get(kVariables);
    fields.Require(list.GetType() == Value::TypeArray);
    MCVariableList loaded;
    for (int i = 0; i < list.Size() && fields.Ok(); ++i) {
        StateFields item(list[i]);
        std::string className;
        item.Read("class", className);
        const std::unique_ptr<MCVariable> variable = MCVariable::Create(className);
        fields.Require(variable != nullptr && variable->LoadAll(list[i]) && loaded.Add(*variable) >= 0);
    }
    if (fields.Ok()) *this = std::move(loaded);
    return fields.Ok();
}

JsonObject MCVariableList::ToJson() const
{
    return StateTree::ToJson(SaveAll());
}

bool MCVariableList::FromJson(const JsonObject& json)
{
    Value tree;
    return StateTree::FromJson(json, tree) && LoadAll(tree);
}

int MCVariableList::WriteObjectXML(std::ostream& stream, int indent) const
{
    return StateTree::Write(stream, kName, indent, SaveAll());
}

int MCVariableList::ReadObjectXML(std::ifstream& stream)
{
    Value tree;
    const int lines = StateTree::Read(stream, kName, tree);
    return lines > 0 && LoadAll(tree) ? lines : 0;
}

} // namespace MCXML_930
