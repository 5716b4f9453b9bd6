// A record of named values.
#pragma once

#include "modelcore/common/Value.h"
#include "modelcore/modelcore_export.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace MCCommon_930 {

/// A row of named values: the values in field order, and an ordered map from a field's name to its position, kept as
/// the names in field order and the positions in the order of the names. Names are byte strings, compared
/// case-sensitively; the empty name is a name like any other. Lookup by name takes O(log n) comparisons, by position
/// constant time. Whatever runs out of memory leaves the record as it was.
///
/// Every operation that takes a name finds it through IndexOf, so a class that redefines IndexOf alone redefines the
/// lookup (say, without regard to case) for all of them.
class MODELCORE_EXPORT ValueRecord {
public:
    ValueRecord() = default;
    ValueRecord(const ValueRecord&) = default;
    /// The record moved from is empty.
    ValueRecord(ValueRecord&& other) noexcept;
    ValueRecord& operator=(const ValueRecord& other);
    ValueRecord& operator=(ValueRecord&& other) noexcept;
    virtual ~ValueRecord();

    /// The position of a field, -1 when the record has no such name.
    virtual int IndexOf(const std::string& name) const;

    /// Whether the record has a field of that name.
    virtual bool Contains(const std::string& name) const;

    /// A copy of the field's value; null for an unknown name.
    virtual Value Get(const std::string& name) const;

    /// The value at a position, from 0; a constant null value for a position outside.
    virtual const Value& Get(int index) const { return IsPosition(index) ? ValueAt(index) : Value::NULL_VALUE; }

    /// The stored value. Outside the record the reading forms refer to a constant null value, the writing forms to a
    /// null value that is no part of the record: what is written there is lost (Add makes fields, Set says whether it
    /// could).
    virtual Value& operator[](const std::string& name);
    virtual const Value& operator[](const std::string& name) const;
    virtual Value& operator[](int index);
    virtual const Value& operator[](int index) const { return IsPosition(index) ? ValueAt(index) : Value::NULL_VALUE; }

    /// Assigns to a field.
    ///
    /// @param checkType  refuse when the field holds a non-null value of another type than v
    /// @return  false, with the field unchanged, for an unknown name or a refused type
    virtual bool Set(const std::string& name, const Value& v, bool checkType);

    /// Assigns to a field whatever its type; false for an unknown name. An unsigned integer above the largest long long
    /// throws, as it does where a Value is made of it.
    virtual bool SetValue(const std::string& name, bool value);
    virtual bool SetValue(const std::string& name, int value);
    virtual bool SetValue(const std::string& name, long long value);
    virtual bool SetValue(const std::string& name, double value);
    virtual bool SetValue(const std::string& name, const std::string& value);
    virtual bool SetValue(const std::string& name, const char* value);
    bool SetValue(const std::string& name, std::string_view value) { return SetValue(name, std::string(value)); }
    template <IntegerType T>
    bool SetValue(const std::string& name, T value)
    {
        return SetValue(name, Value(value).GetInteger());
    }

    /// Makes a field the real that holds the system-missing value; false for an unknown name.
    virtual bool SetMissingValue(const std::string& name);

    /// Appends a field, or replaces the value of the field that has the name, which keeps its position.
    ///
    /// @return  the field's position
    virtual int Add(const std::string& name, const Value& v);

    /// Add of every field of another record, in its order; all of them, or none when memory runs out.
    virtual void AddAll(const ValueRecord& other);

    /// Removes a field; the ones behind it move up by one position. False for an unknown name.
    virtual bool Remove(const std::string& name);

    /// Makes every value null; names and positions stay.
    virtual void ClearValues();

    /// The names in field order.
    virtual std::vector<std::string> Names() const;

    /// The name of the field at a position; empty for a position outside.
    virtual std::string GetName(int index) const;

    /// The number of fields.
    virtual int Size() const;

    /// Writes one line "name: value" per field to the diagnostic text stream.
    virtual void Display() const;

    /// Removes every field.
    virtual void Clear();

private:
    bool IsPosition(int index) const { return index >= 0 && static_cast<std::size_t>(index) < fvValues.size(); }

    const Value& ValueAt(int index) const { return fvValues[static_cast<std::size_t>(index)]; }
    Value& ValueAt(int index) { return fvValues[static_cast<std::size_t>(index)]; }

    // Sorts as its name does: the first bytes settle most comparisons without a look at the name itself.
    struct SortedName {
        std::uint64_t firstBytes;
        std::int32_t position;
    };
    using Block = std::vector<SortedName>;
    struct Place {
        std::size_t block, entry;
    };

    Place PlaceOf(const std::string& name) const;
    bool IsNameAt(Place place, const std::string& name) const;
    Place MakeRoomAt(const std::string& name);
    void DropFrom(std::size_t size) noexcept;

    std::vector<Value> fvValues;
    std::vector<std::string> fvNames; // by position
    std::vector<Block> fvBlocks;      // the names in their order, cut into pieces: adding one moves a piece only
    Value fOutside;                   // what the writing forms of operator[] refer to outside the record
};

} // namespace MCCommon_930
