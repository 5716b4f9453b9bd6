// Value: content, types, readers, arrays and maps. Comparison and rendering are in ValueCompare.cpp and ValueText.cpp.
#include "modelcore/common/Value.h"

#include "modelcore/common/MCException.h"

#include <algorithm>
#include <cstddef>

namespace MCCommon_930 {

namespace {

constexpr int kWrongType = 13;
constexpr int kOutOfBounds = 14;

} // namespace

constinit const Value Value::NULL_VALUE;
constinit const Value Value::BOOL_VALUE(false);
constinit const Value Value::INTEGER_VALUE(0);
constinit const Value Value::REAL_VALUE(Value::SYSMISVALUE);
const Value Value::STRING_VALUE("");

Value::Value(const char* value) : Value(std::string(value != nullptr ? value : "")) {}

Value::Value(const std::string& value) : Value(std::string(value)) {}

Value::Value(std::string_view value) : Value(std::string(value)) {}

Value::Value(std::string&& value)
{
    fData.string = new std::string(std::move(value));
    fType = TypeString;
}

// Content on the heap

// Containers are copied one at a time, their own containers being left null and put on a list of what is still to copy.
// The copies have their final size before an address in them is noted, so the addresses hold.
void Value::CopyHeap(const Value& other)
{
    struct Pending {
        const Value* from;
        Value* to;
    };
    std::vector<Pending> pending;
    const auto copyOrDefer = [&pending](const Value& from, Value& to) {
        if (from.IsContainer())
            pending.push_back({&from, &to});
        else if (from.fType == TypeString)
            to = Value(*from.fData.string);
        else
            to.CopyPlain(from);
    };
    copyOrDefer(other, *this);
    while (!pending.empty()) {
        const auto [from, to] = pending.back();
        pending.pop_back();
        to->TakeType(from->fType);
        if (from->fType == TypeArray) {
            const Array& source = *from->fData.array;
            Array& target = *to->fData.array;
            target.resize(source.size());
            for (std::size_t i = 0; i < source.size(); ++i) copyOrDefer(source[i], target[i]);
        } else {
            Map& target = *to->fData.map;
            for (const auto& [name, value] : *from->fData.map)
                copyOrDefer(value, target.emplace_hint(target.end(), name, Value())->second);
        }
    }
}

// Empties nested containers from the innermost out without recursion and without allocating: the element through which
// the walk went down holds the way back up until the walk returns to it.
void Value::ReleaseHeap() noexcept
{
    if (fType == TypeString) {
        delete fData.string;
        fType = TypeNull;
        return;
    }
    Value current(std::move(*this));
    Value up; // the container that current was an element of; null at the outermost
    for (;;) {
        Value* const last = current.LastElement();
        if (last != nullptr && last->IsContainer()) {
            last->Swap(up);
            up.Swap(current); // up: the old current; current: the old last; *last: the old up
        } else if (last != nullptr) {
            current.DropLastElement();
        } else {
            current.DeleteEmptied();
            if (up.IsNull()) return;
            current.Swap(up);
            up.Swap(*current.LastElement());
            current.DropLastElement();
        }
    }
}

void Value::DeleteEmptied() noexcept
{
    if (fType == TypeArray)
        delete fData.array;
    else
        delete fData.map;
    fType = TypeNull;
}

Value* Value::LastElement() const noexcept
{
    if (fType == TypeArray) return fData.array->empty() ? nullptr : &fData.array->back();
    return fData.map->empty() ? nullptr : &fData.map->begin()->second;
}

void Value::DropLastElement() noexcept
{
    if (fType == TypeArray)
        fData.array->pop_back();
    else
        fData.map->erase(fData.map->begin());
}

// For a null value: the empty payload of a type.
void Value::TakeType(std::uint16_t tag)
{
    switch (tag) {
    case TypeNull: break;
    case TypeBool: fData = Data(false); break;
    case TypeInteger: fData = Data(0LL); break;
    case TypeReal: fData = Data(0.0); break;
    case TypeString: fData.string = new std::string; break;
    case TypeArray: fData.array = new Array; break;
    case TypeMap: fData.map = new Map; break;
    default: ThrowWrongType();
    }
    fType = tag;
}

void Value::ClearValue()
{
    Value fresh;
    fresh.TakeType(fType);
    if (fType == TypeReal) fresh.fData.real = SYSMISVALUE;
    Swap(fresh);
}

// Assertions

void Value::AssertTypeOrInvalid(std::uint16_t tag)
{
    if (IsNull())
        TakeType(tag);
    else
        std::as_const(*this).AssertTypeOrInvalid(tag);
}

void Value::ThrowWrongType()
{
    throw MCException(kWrongType, "Value type wrong!");
}

void Value::AssertArray(int index) const
{
    if (fType != TypeArray) throw MCException(kWrongType, "This value is not an array!");
    if (index < 0 || static_cast<std::size_t>(index) > fData.array->size())
        throw MCException(kOutOfBounds, "Out of this array bounds!");
}

void Value::AssertMap()
{
    if (fType == TypeMap) return;
    Value fresh;
    fresh.TakeType(TypeMap);
    Swap(fresh);
}

// Arrays and maps

Value& Value::operator[](int index)
{
    AssertTypeOrInvalid(TypeArray);
    AssertArray(index);
    Array& array = *fData.array;
    const auto i = static_cast<std::size_t>(index);
    if (i == array.size()) array.emplace_back();
    return array[i];
}

const Value& Value::operator[](int index) const
{
    AssertArray(index);
    const Array& array = *fData.array;
    const auto i = static_cast<std::size_t>(index);
    return i < array.size() ? array[i] : NULL_VALUE;
}

Value& Value::operator[](const std::string& name)
{
    AssertTypeOrInvalid(TypeMap);
    return (*fData.map)[name];
}

const Value& Value::operator[](const std::string& name) const
{
    AssertTypeOrInvalid(TypeMap);
    const auto at = fData.map->find(name);
    return at != fData.map->end() ? at->second : NULL_VALUE;
}

void Value::Resize(int size)
{
    AssertTypeOrInvalid(TypeArray);
    fData.array->resize(static_cast<std::size_t>(std::max(size, 0)));
}

int Value::Size() const
{
    if (fType == TypeArray) return static_cast<int>(fData.array->size());
    if (fType == TypeMap) return static_cast<int>(fData.map->size());
    return 0;
}

bool Value::Contains(const std::string& name) const
{
    return fType == TypeMap && fData.map->contains(name);
}

bool Value::Remove(const std::string& name)
{
    return fType == TypeMap && fData.map->erase(name) == 1;
}

std::vector<std::string> Value::Names() const
{
    std::vector<std::string> names;
    if (fType != TypeMap) return names;
    names.reserve(fData.map->size());
    for (const auto& entry : *fData.map) names.push_back(entry.first);
    return names;
}

} // namespace MCCommon_930
