// The saved state of variables and encoders: one tree of plain values, written to a value stream or as JSON.
#pragma once

#include "modelcore/common/Value.h"
#include "modelcore/xml/JsonObject.h"

#include <cstddef>
#include <initializer_list>
#include <iosfwd>
#include <limits>
#include <string>
#include <utility>
#include <vector>

namespace MCXML_930::internal {

/// A tree holds maps, arrays, bools, integers, finite reals, null (the missing real) and strings of UTF-8. What is
/// none of these is put in its terms here, so that a tree passes through JSON without losing a bit.
class StateTree {
public:
    using Value = MCCommon_930::Value;

    /// A finite real as it is, the missing one as null, an infinity or a NaN as text.
    static Value FromReal(double x);
    static bool ToReal(const Value& tree, double& x);

    /// A string as it is when it is UTF-8, otherwise {"bytes": "hexadecimal digits"}.
    static Value FromText(const std::string& text);
    static bool ToText(const Value& tree, std::string& text);

    /// Null, a bool, an integer, a real or a string.
    static Value FromScalar(const Value& scalar);
    static bool ToScalar(const Value& tree, Value& scalar);

    static Value FromReals(const std::vector<double>& numbers);
    static Value FromIntegers(const std::vector<int>& numbers);
    static Value FromScalars(const std::vector<Value>& scalars);

    /// The tree as an element of a flat value stream. Returns the number of lines; 0 when writing failed.
    static int Write(std::ostream& stream, const std::string& name, int indent, const Value& tree);
    /// Reads such an element; 0 when it is none.
    static int Read(std::ifstream& stream, const std::string& name, Value& tree);

    /// The tree as JSON and back. Strings go as they are, whatever the process's code page is, so that a state means
    /// the same in every process. False for JSON that is too deep or too long to be a state.
    static JsonObject ToJson(const Value& tree);
    static bool FromJson(const JsonObject& json, Value& tree);
};

/// Reads the fields of a map. The first one that is not what it should be makes every later step fail.
class StateFields {
public:
    using Value = MCCommon_930::Value;

    explicit StateFields(const Value& map) : fMap(map), fbOk(map.GetType() == Value::TypeMap) {}

    bool Read(const char* name, bool& value);
    /// An integer between lowest and highest.
    bool Read(const char* name, int& value, int lowest, int highest);
    bool Read(const char* name, double& value);
    bool Read(const char* name, std::string& text);
    bool ReadScalar(const char* name, Value& value);
    bool Read(const char* name, std::vector<double>& numbers);
    bool Read(const char* name, std::vector<int>& numbers, int lowest, int highest);
    bool ReadScalars(const char* name, std::vector<Value>& values);
    /// One of the words of an enumeration, the first of which is 0.
    template <class Enum>
    bool ReadWord(const char* name, Enum& value, std::initializer_list<const char*> words)
    {
        std::string text;
        int place = 0;
        if (!Read(name, text)) return false;
        for (const char* const word : words) {
            if (text == word) {
                value = static_cast<Enum>(place);
                return true;
            }
            ++place;
        }
        return Require(false);
    }
    /// The field as it is; null when it is not there.
    const Value& Get(const char* name) const;

    bool Require(bool holds)
    {
        fbOk = fbOk && holds;
        return fbOk;
    }
    bool Ok() const { return fbOk; }

private:
    template <class Each>
    bool ReadArray(const char* name, Each each);

    const Value& fMap;
    bool fbOk;
};

template <class Enum>
MCCommon_930::Value WordOf(Enum value, std::initializer_list<const char*> words)
{
    return words.begin()[static_cast<std::size_t>(value)];
}

} // namespace MCXML_930::internal
