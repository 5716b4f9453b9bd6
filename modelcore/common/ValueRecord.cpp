// ValueRecord.
#include "modelcore/common/ValueRecord.h"

#include "modelcore/common/MCDisplay.h"
#include "modelcore/common/internal/Index.h"

#include <algorithm>
#include <cstddef>
#include <sstream>
#include <utility>

namespace MCCommon_930 {

namespace {

using MCMath_930::internal::AsSize;

constexpr std::size_t kLargestBlock = 512; // names: 8 KB

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
    : fvValues(std::move(other.fvValues)), fvNames(std::move(other.fvNames)), fvBlocks(std::move(other.fvBlocks))
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
    fvBlocks.swap(taken.fvBlocks);
    return *this;
}

ValueRecord::~ValueRecord() = default;

// Where among the sorted names a name stands or would be put in.
ValueRecord::Place ValueRecord::PlaceOf(const std::string& name) const
{
    const std::uint64_t firstBytes = FirstBytes(name);
    const auto before = [&](const SortedName& entry) {
        return entry.firstBytes != firstBytes ? entry.firstBytes < firstBytes : fvNames[AsSize(entry.position)] < name;
    };
    if (fvBlocks.empty()) return {0, 0};
    const auto last = fvBlocks.end() - 1;
    const auto block =
        std::partition_point(fvBlocks.begin(), last, [&](const Block& names) { return before(names.back()); });
    const auto entry = std::partition_point(block->begin(), block->end(), before);
    return {static_cast<std::size_t>(block - fvBlocks.begin()), static_cast<std::size_t>(entry - block->begin())};
}

bool ValueRecord::IsNameAt(Place place, const std::string& name) const
{
    return place.block < fvBlocks.size() && place.entry < fvBlocks[place.block].size() &&
           fvNames[AsSize(fvBlocks[place.block][place.entry].position)] == name;
}

// Memory for one entry more where the name belongs; a full block becomes two.
ValueRecord::Place ValueRecord::MakeRoomAt(const std::string& name)
{
    const Place place = PlaceOf(name);
    if (fvBlocks.empty()) fvBlocks.emplace_back();
    Block& block = fvBlocks[place.block];
    if (block.size() < block.capacity()) return place;
    if (block.size() < kLargestBlock) {
        block.reserve(std::clamp<std::size_t>(2 * block.size(), 8, kLargestBlock));
        return place;
    }
    const auto middle = block.begin() + kLargestBlock / 2;
    Block upper;
    upper.reserve(kLargestBlock);
    upper.assign(middle, block.end());
    if (fvBlocks.size() == fvBlocks.capacity()) fvBlocks.reserve(2 * fvBlocks.size());
    Block& lower = fvBlocks[place.block];
    lower.erase(lower.begin() + kLargestBlock / 2, lower.end());
    fvBlocks.insert(fvBlocks.begin() + static_cast<std::ptrdiff_t>(place.block) + 1, std::move(upper));
    return PlaceOf(name);
}

int ValueRecord::IndexOf(const std::string& name) const
{
    const Place place = PlaceOf(name);
    return IsNameAt(place, name) ? fvBlocks[place.block][place.entry].position : -1;
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
    const std::size_t room = std::max<std::size_t>(8, 2 * fvValues.size());
    if (fvValues.size() == fvValues.capacity()) fvValues.reserve(room);
    if (fvNames.size() == fvNames.capacity()) fvNames.reserve(room);
    const Place place = MakeRoomAt(addedName);
    const int position = Size();
    fvValues.push_back(std::move(addedValue));
    fvNames.push_back(std::move(addedName));
    Block& block = fvBlocks[place.block];
    block.insert(block.begin() + static_cast<std::ptrdiff_t>(place.entry), {FirstBytes(fvNames.back()), position});
    return position;
}

void ValueRecord::AddAll(const ValueRecord& other)
{
    const ValueRecord added(other); // may be this record
    const std::size_t sizeBefore = fvValues.size();
    std::vector<std::pair<std::size_t, Value>> replaced;
    replaced.reserve(added.fvValues.size());
    try {
        for (std::size_t i = 0; i < added.fvValues.size(); ++i) {
            const int index = IndexOf(added.fvNames[i]);
            if (IsPosition(index)) replaced.emplace_back(AsSize(index), ValueAt(index));
            Add(added.fvNames[i], added.fvValues[i]);
        }
    } catch (...) {
        DropFrom(sizeBefore);
        for (; !replaced.empty(); replaced.pop_back())
            if (replaced.back().first < sizeBefore) fvValues[replaced.back().first].Swap(replaced.back().second);
        throw;
    }
}

// Drops the fields from a position on.
void ValueRecord::DropFrom(std::size_t size) noexcept
{
    fvValues.erase(fvValues.begin() + static_cast<std::ptrdiff_t>(size), fvValues.end());
    fvNames.erase(fvNames.begin() + static_cast<std::ptrdiff_t>(size), fvNames.end());
    for (Block& block : fvBlocks)
        std::erase_if(block, [size](const SortedName& entry) { return AsSize(entry.position) >= size; });
    std::erase_if(fvBlocks, [](const Block& block) { return block.empty(); });
}

bool ValueRecord::Remove(const std::string& name)
{
    const int index = IndexOf(name);
    if (!IsPosition(index)) return false;
    fvValues.erase(fvValues.begin() + index);
    fvNames.erase(fvNames.begin() + index);
    for (Block& block : fvBlocks) {
        std::erase_if(block, [index](const SortedName& entry) { return entry.position == index; });
        for (SortedName& entry : block)
            if (entry.position > index) --entry.position;
    }
    std::erase_if(fvBlocks, [](const Block& block) { return block.empty(); });
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
    return IsPosition(index) ? fvNames[AsSize(index)] : std::string();
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
    fvBlocks.clear();
}

} // namespace MCCommon_930
