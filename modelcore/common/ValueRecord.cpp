// ValueRecord.
#include "modelcore/common/ValueRecord.h"

#include "modelcore/common/MCDisplay.h"

#include <algorithm>
#include <cstddef>
#include <sstream>
#include <utility>

namespace MCCommon_930 {

namespace {

// The first 8 bytes of a name, filled up with zeros, as a number that orders as they do.
std::uint64_t FirstBytes(const std::string& name)
{
    std::uint64_t bytes = 0;
    for (std::size_t i = 0; i < 8; ++i)
        bytes = bytes << 8 | (i < name.size() ? static_cast<unsigned char>(name[i]) : 0u);
    return bytes;
}

} // namespace

ValueRecord::ValueRecord(ValueRecord&& other) noexcept
    : fvValues(std::move(other.fvValues)), fvNames(std::move(other.fvNames)),
      fvSortedNames(std::move(other.fvSortedNames))
{}

ValueRecord& ValueRecord::operator=(const ValueRecord& other)
{
    return ValueRecord::operator=(ValueRecord(other));
}

ValueRecord& ValueRecord::operator=(ValueRecord&& other) noexcept
{
    ValueRecord taken(std::move(other));
    fvValues.swap(taken.fvValues);
    fvNames.swap(taken.fvNames);
    fvSortedNames.swap(taken.fvSortedNames);
    return *this;
}

ValueRecord::~ValueRecord() = default;

// The place in fvSortedNames where a name stands or would be put in.
std::size_t ValueRecord::PlaceOf(const std::string& name) const
{
    const std::uint64_t firstBytes = FirstBytes(name);
    // The number of entries with smaller first bytes, by halves: the steps are the same for every name, so the
    // processor does not guess them wrong.
    const SortedName* first = fvSortedNames.data();
    const SortedName* const end = first + fvSortedNames.size();
    for (std::size_t left = fvSortedNames.size(); left > 0;) {
        const std::size_t half = (left + 1) / 2;
        first += first[half - 1].firstBytes < firstBytes ? half : 0;
        left -= half;
    }
    const auto before = [&](const SortedName& entry) {
        return entry.firstBytes == firstBytes && fvNames[static_cast<std::size_t>(entry.position)] < name;
    };
    if (first != end && before(*first)) first = std::partition_point(first + 1, end, before);
    return static_cast<std::size_t>(first - fvSortedNames.data());
}

bool ValueRecord::IsNameAt(std::size_t place, const std::string& name) const
{
    return place < fvSortedNames.size() && fvNames[static_cast<std::size_t>(fvSortedNames[place].position)] == name;
}

int ValueRecord::IndexOf(const std::string& name) const
{
    const std::size_t place = PlaceOf(name);
    return IsNameAt(place, name) ? fvSortedNames[place].position : -1;
}

bool ValueRecord::Contains(const std::string& name) const
{
    return IndexOf(name) != -1;
}

Value ValueRecord::Get(const std::string& name) const
{
    return Get(IndexOf(name));
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
    if (IsPosition(index)) return ValueAt(index);
    fOutside.Clear();
    return fOutside;
}

bool ValueRecord::Set(const std::string& name, const Value& v, bool checkType)
{
    const int index = IndexOf(name);
    if (!IsPosition(index)) return false;
    Value& field = ValueAt(index);
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
        ValueAt(index) = v;
        return index;
    }
    // Value and name may stand in the record itself, and all that can run out of memory comes before it changes.
    Value addedValue(v);
    std::string addedName(name);
    const std::size_t place = PlaceOf(name);
    if (fvValues.size() == fvValues.capacity() || fvNames.size() == fvNames.capacity() ||
        fvSortedNames.size() == fvSortedNames.capacity()) {
        const std::size_t room = std::max<std::size_t>(8, 2 * fvValues.size());
        fvValues.reserve(room);
        fvNames.reserve(room);
        fvSortedNames.reserve(room);
    }
    const int position = Size();
    fvValues.push_back(std::move(addedValue));
    fvNames.push_back(std::move(addedName));
    fvSortedNames.insert(fvSortedNames.begin() + static_cast<std::ptrdiff_t>(place),
                         {FirstBytes(fvNames.back()), position});
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
    fvNames.erase(fvNames.begin() + index);
    std::erase_if(fvSortedNames, [index](const SortedName& entry) { return entry.position == index; });
    for (SortedName& entry : fvSortedNames)
        if (entry.position > index) --entry.position;
    return true;
}

void ValueRecord::ClearValues()
{
    for (Value& value : fvValues) value.Clear();
}

std::vector<std::string> ValueRecord::Names() const
{
    return fvNames;
}

std::string ValueRecord::GetName(int index) const
{
    return IsPosition(index) ? fvNames[static_cast<std::size_t>(index)] : std::string();
}

int ValueRecord::Size() const
{
    return static_cast<int>(fvValues.size());
}

void ValueRecord::Display() const
{
    MCDisplay_930::DisplayStart("ValueRecord");
    MCDisplay_930::Display("Number of fields", Size());
    for (std::size_t i = 0; i < fvValues.size(); ++i) {
        std::ostringstream text;
        fvValues[i].Display(text);
        MCDisplay_930::Display(fvNames[i], text.str());
    }
    MCDisplay_930::DisplayEnd("ValueRecord");
}

void ValueRecord::Clear()
{
    fvValues.clear();
    fvNames.clear();
    fvSortedNames.clear();
}

} // namespace MCCommon_930
