// ValueRecord.
#include "modelcore/common/ValueRecord.h"

#include "modelcore/common/MCDisplay.h"

#include <algorithm>
#include <cstddef>
#include <sstream>
#include <utility>

namespace MCCommon_930 {

ValueRecord::ValueRecord(ValueRecord&& other) noexcept
    : fvValues(std::move(other.fvValues)), fPositions(std::move(other.fPositions))
{}

ValueRecord& ValueRecord::operator=(const ValueRecord& other)
{
    ValueRecord copy(other);
    fvValues.swap(copy.fvValues);
    fPositions.swap(copy.fPositions);
    return *this;
}

ValueRecord& ValueRecord::operator=(ValueRecord&& other) noexcept
{
    ValueRecord taken(std::move(other));
    fvValues.swap(taken.fvValues);
    fPositions.swap(taken.fPositions);
    return *this;
}

ValueRecord::~ValueRecord() = default;

int ValueRecord::IndexOf(const std::string& name) const
{
    const auto at = fPositions.find(name);
    return at != fPositions.end() && IsPosition(at->second) ? at->second : -1;
}

bool ValueRecord::Contains(const std::string& name) const
{
    return IndexOf(name) != -1;
}

Value ValueRecord::Get(const std::string& name) const
{
    return Get(IndexOf(name));
}

const Value& ValueRecord::Get(int index) const
{
    return IsPosition(index) ? fvValues[static_cast<std::size_t>(index)] : Value::NULL_VALUE;
}

Value& ValueRecord::operator[](const std::string& name)
{
    return (*this)[IndexOf(name)];
}

const Value& ValueRecord::operator[](const std::string& name) const
{
    return Get(IndexOf(name));
}

Value& ValueRecord::operator[](int index)
{
    if (IsPosition(index)) return fvValues[static_cast<std::size_t>(index)];
    fOutside.Clear();
    return fOutside;
}

const Value& ValueRecord::operator[](int index) const
{
    return Get(index);
}

bool ValueRecord::Set(const std::string& name, const Value& v, bool checkType)
{
    const int index = IndexOf(name);
    if (!IsPosition(index)) return false;
    Value& field = fvValues[static_cast<std::size_t>(index)];
    if (checkType && !field.IsNull() && field.GetType() != v.GetType()) return false;
    field = v;
    return true;
}

bool ValueRecord::SetValue(const std::string& name, bool value)
{
    return Set(name, value, false);
}

bool ValueRecord::SetValue(const std::string& name, int value)
{
    return Set(name, value, false);
}

bool ValueRecord::SetValue(const std::string& name, long long value)
{
    return Set(name, value, false);
}

bool ValueRecord::SetValue(const std::string& name, double value)
{
    return Set(name, value, false);
}

bool ValueRecord::SetValue(const std::string& name, const std::string& value)
{
    return Set(name, value, false);
}

bool ValueRecord::SetValue(const std::string& name, const char* value)
{
    return Set(name, value, false);
}

bool ValueRecord::SetMissingValue(const std::string& name)
{
    return Set(name, Value::SYSMISVALUE, false);
}

int ValueRecord::Add(const std::string& name, const Value& v)
{
    const int index = IndexOf(name);
    if (IsPosition(index)) {
        fvValues[static_cast<std::size_t>(index)] = v;
        return index;
    }
    // All that can run out of memory comes before the record changes, and the value may stand in the record itself.
    Value added(v);
    if (fvValues.size() == fvValues.capacity()) fvValues.reserve(std::max<std::size_t>(8, 2 * fvValues.size()));
    const int position = Size();
    fPositions.insert_or_assign(name, position);
    fvValues.push_back(std::move(added));
    return position;
}

void ValueRecord::AddAll(const ValueRecord& other)
{
    const std::vector<std::string> names = other.Names();
    for (std::size_t i = 0; i < names.size(); ++i) Add(names[i], other.Get(static_cast<int>(i)));
}

bool ValueRecord::Remove(const std::string& name)
{
    const int index = IndexOf(name);
    if (!IsPosition(index)) return false;
    fvValues.erase(fvValues.begin() + index);
    std::erase_if(fPositions, [index](const auto& field) { return field.second == index; });
    for (auto& field : fPositions)
        if (field.second > index) --field.second;
    return true;
}

void ValueRecord::ClearValues()
{
    for (Value& value : fvValues) value.Clear();
}

std::vector<std::string> ValueRecord::Names() const
{
    std::vector<std::string> names(fvValues.size());
    for (const auto& [name, position] : fPositions)
        if (IsPosition(position)) names[static_cast<std::size_t>(position)] = name;
    return names;
}

std::string ValueRecord::GetName(int index) const
{
    for (const auto& [name, position] : fPositions)
        if (position == index && IsPosition(index)) return name;
    return {};
}

int ValueRecord::Size() const
{
    return static_cast<int>(fvValues.size());
}

void ValueRecord::Display() const
{
    MCDisplay_930::DisplayStart("ValueRecord");
    MCDisplay_930::Display("Number of fields", Size());
    const std::vector<std::string> names = Names();
    for (std::size_t i = 0; i < names.size(); ++i) {
        std::ostringstream text;
        fvValues[i].Display(text);
        MCDisplay_930::Display(names[i], text.str());
    }
    MCDisplay_930::DisplayEnd("ValueRecord");
}

void ValueRecord::Clear()
{
    fvValues.clear();
    fPositions.clear();
}

} // namespace MCCommon_930
