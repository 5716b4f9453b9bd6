// A JSON document or a part of one: parsing, building, looking up and writing (RFC 8259).
#pragma once

#include "modelcore/common/Value.h"
#include "modelcore/modelcore_export.h"

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace MCXML_930 {

/// One JSON value: null, a bool, a 64-bit integer, a real, a string, an array or an object.
///
/// A value is 16 bytes. Scalars and strings of up to 14 bytes stand in it, longer strings, arrays and objects are on
/// the heap and owned: copying is deep, moving is cheap and leaves null behind. Parsing, copying, comparing, writing
/// and destroying never recurse, so the depth of nesting is limited by memory and by Limits alone. When memory runs
/// out, std::bad_alloc passes and the value is as it was.
///
/// An object keeps its members in the order in which they were added; each name is there once. A name in an object of
/// more than a few members is found through a hash table, which is always up to date, so that any number of threads may
/// read one value that nobody changes.
///
/// Strings and names are UTF-8, always: what is not is refused or replaced where it would come in. Strings of the rest
/// of the library are in the process's code page; FromCodePage, ReadCodePage, FromValue and ToValue convert.
///
/// A real is never the system-missing value: that is null, from wherever it comes. NaN and the infinities can be held
/// but not written as JSON numbers; NonFinite says what becomes of them.
class MODELCORE_EXPORT JsonObject {
public:
    /// What a value is.
    enum Type : std::uint16_t { TypeNull, TypeBool, TypeInteger, TypeReal, TypeString, TypeArray, TypeObject };

    /// Why a text was refused.
    enum Code : std::int32_t {
        ParseOk,
        BadSyntax,     ///< a character that cannot stand there, or the end of the text
        BadNumber,     ///< not a number as JSON writes it, or too large for a double
        BadString,     ///< a control character, an unknown escape or half of a surrogate pair
        BadUTF8,       ///< bytes in a string that are not UTF-8
        DuplicateName, ///< an object has the name already
        TooDeep,       ///< more arrays and objects within each other than Limits::maxDepth
        TrailingText   ///< something other than blanks after the value
    };

    /// The first fault of a text and where it is.
    struct MODELCORE_EXPORT Problem {
        Code code = ParseOk; ///< what is wrong
        /// In bytes: of the byte that cannot stand there, the start of the bad sequence of bytes, of the number that is
        /// too large, of the name that is there a second time, or the length of the text.
        std::size_t offset = 0;
        int line = 0;   ///< from 1; a line ends with LF, CR LF or CR
        int column = 0; ///< from 1, in characters (not bytes)

        /// A sentence for people: "line 3, column 7: the object has this name already".
        std::string GetText() const;
    };

    /// What a reader allows.
    struct Limits {
        int maxDepth = 1024;            ///< arrays and objects within each other; 0 allows scalars only
        bool keepLastDuplicate = false; ///< true: a name that comes again replaces the value of the first, in its place
    };

    /// What the writers do with a NaN or an infinity.
    enum NonFinite : std::int32_t {
        Refuse, ///< write nothing and return a failure
        AsNull, ///< null
        /// The strings "NaN", "Infinity" and "-Infinity", which Read takes back; a NaN with other bits than the usual
        /// ones is "NaN(7ff8000000000001)".
        AsText
    };

    class Member;

    /// @name Construction, copy, assignment
    /// The constructors convert silently, so that Set("mean", 2.5) and Append("text") are enough.
    /// @{
    /// Null.
    JsonObject() noexcept = default;
    JsonObject(std::nullptr_t) noexcept {}
    /// The value that is given, with its type.
    JsonObject(bool value) noexcept : fType(TypeBool), fData(value ? 1 : 0) {}
    JsonObject(int value) noexcept : JsonObject(static_cast<long long>(value)) {}
    JsonObject(long value) noexcept : JsonObject(static_cast<long long>(value)) {}
    JsonObject(long long value) noexcept : fType(TypeInteger), fData(static_cast<std::uint64_t>(value)) {}
    /// Null for the system-missing value.
    JsonObject(double value) noexcept;
    /// Text in UTF-8. Each byte that is not part of a character becomes U+FFFD: see IsUTF8.
    JsonObject(std::string_view utf8);
    JsonObject(const std::string& utf8) : JsonObject(std::string_view(utf8)) {}
    /// An empty string for a null pointer.
    JsonObject(const char* utf8) : JsonObject(utf8 != nullptr ? std::string_view(utf8) : std::string_view()) {}
    /// Any other pointer would silently become a bool.
    template <class T>
    requires(!std::same_as<std::remove_cv_t<T>, char>) JsonObject(T*)
    = delete;

    JsonObject(const JsonObject& other) : JsonObject()
    {
        if (other.OwnsHeap())
            CopyHeap(other);
        else
            CopyPlain(other);
    }
    JsonObject(JsonObject&& other) noexcept
    {
        CopyPlain(other);
        other.BecomeNull();
    }
    ~JsonObject()
    {
        if (OwnsHeap()) ReleaseHeap();
    }

    /// The source may be a part of this value.
    JsonObject& operator=(const JsonObject& other)
    {
        JsonObject copy(other);
        Swap(copy);
        return *this;
    }
    /// The source may be a part of this value, but a value must not be moved into a part of its own.
    JsonObject& operator=(JsonObject&& other) noexcept
    {
        JsonObject taken(std::move(other));
        Swap(taken);
        return *this;
    }
    /// Exchanges the contents; copies nothing.
    void Swap(JsonObject& other) noexcept;
    /// Exchanges the contents of two values.
    friend void swap(JsonObject& a, JsonObject& b) noexcept { a.Swap(b); }

    /// An empty array and an empty object.
    static JsonObject NewArray();
    /// An empty object.
    static JsonObject NewObject();
    /// Arrays of reals (system-missing ones as null), integers and strings.
    static JsonObject FromReals(std::span<const double> values);
    /// An array of integers.
    static JsonObject FromIntegers(std::span<const int> values);
    /// An array of strings.
    static JsonObject FromStrings(std::span<const std::string> utf8);
    /// @}

    /// @name Type and plain readers
    /// @{
    /// What it is.
    Type GetType() const { return static_cast<Type>(fType); }
    /// Whether it is null.
    bool IsNull() const { return fType == TypeNull; }
    /// Whether it is an array.
    bool IsArray() const { return fType == TypeArray; }
    /// Whether it is an object.
    bool IsObject() const { return fType == TypeObject; }
    /// Whether it is a string.
    bool IsString() const { return fType == TypeString; }
    /// Whether it is an integer or a real.
    bool IsNumber() const { return fType == TypeInteger || fType == TypeReal; }

    /// Each returns false and leaves the result as it was when the value is not what is asked for.
    ///
    /// An integer is also read from a real without a fraction that 64 bits hold. A real is also read from an integer
    /// that a double holds exactly; from null, as system-missing; and from the texts of NonFinite AsText. So what the
    /// writers make of a real is read back with all its bits.
    bool Read(bool& value) const;
    bool Read(int& value) const;
    bool Read(long& value) const;
    bool Read(long long& value) const;
    bool Read(double& value) const;
    /// A string as UTF-8.
    bool Read(std::string& utf8) const;
    /// An array of which every element can be read so.
    bool Read(std::vector<double>& values) const;
    bool Read(std::vector<int>& values) const;
    bool Read(std::vector<std::string>& utf8) const;

    /// The text of a string, valid until the value changes or moves; empty for any other type.
    std::string_view GetText() const;
    /// @}

    /// @name Arrays and objects
    /// @{

    /// The number of elements or members; 0 for any other type.
    std::size_t Size() const;

    /// Element i of an array or the value of member i of an object; null pointer when there is none.
    const JsonObject* At(std::size_t i) const;
    JsonObject* At(std::size_t i);
    /// The name of member i of an object; empty when there is none.
    std::string_view NameAt(std::size_t i) const;

    /// The value of the member with that name; null pointer when there is none.
    const JsonObject* Find(std::string_view name) const;
    JsonObject* Find(std::string_view name);

    /// The value of the member, or element i; a null value when there is none, so that object["a"]["b"][2].Read(x)
    /// needs one test.
    const JsonObject& operator[](std::string_view name) const;
    const JsonObject& operator[](const char* name) const { return (*this)[std::string_view(name)]; }
    template <std::integral I>
    const JsonObject& operator[](I i) const
    {
        return ElementOrNull(std::in_range<std::size_t>(i) ? static_cast<std::size_t>(i) : SIZE_MAX);
    }

    /// The part that a JSON pointer names (RFC 6901), for example "/model/terms/0"; "" is the value itself. Null
    /// pointer when there is none and for a text that is no pointer.
    const JsonObject* FindPointer(std::string_view pointer) const;
    JsonObject* FindPointer(std::string_view pointer);

    /// For loops: for (const JsonObject& element : array.Elements()), for (const auto& member : object.Members()).
    /// Empty for any other type; valid until the value changes.
    std::span<const JsonObject> Elements() const;
    /// The members of an object; empty for any other type.
    std::span<const Member> Members() const;

    /// Gives the member that value: in its place when there is one of that name, else as the last. A null value first
    /// becomes an empty object.
    ///
    /// @return  false, and nothing changed, when this is neither an object nor null, or the name is not UTF-8
    bool Set(std::string_view name, JsonObject value);

    /// Appends an element. A null value first becomes an empty array.
    ///
    /// @return  false, and nothing changed, when this is neither an array nor null
    bool Append(JsonObject value);

    /// Removes a member or element; those after it move up. Takes time linear in the size, but constant at the end.
    ///
    /// @return  false, and nothing changed, when there is none
    bool Remove(std::string_view name);
    bool Remove(std::size_t i);

    /// Makes room for so many elements or members in all, so that adding them moves nothing. For arrays and objects.
    void Reserve(std::size_t count);
    /// @}

    /// @name Text
    /// @{

    /// Reads a text in UTF-8 that holds one value. Everything that RFC 8259 allows is accepted, up to the limits, and
    /// nothing else: no byte order mark, no comments, no comma before a closing bracket.
    ///
    /// A number without fraction and exponent is an integer when 64 bits hold it; any other, and "-0", is the double
    /// nearest to it (ties to even).
    ///
    /// @param result   the value; unchanged on failure
    /// @param problem  if not null: ParseOk, or the first fault and where it is. A duplicate name is noted when its
    ///                 object ends.
    static bool Parse(std::string_view utf8, JsonObject& result, Problem* problem = nullptr);
    static bool Parse(std::string_view utf8, JsonObject& result, Problem* problem, const Limits& limits);

    /// Writes the value as a text that parses to an equal value.
    ///
    /// An integer has all its digits. A real has the fewest digits that read back to the same double, and among those
    /// the nearest, always with ".0" or an exponent, and is the same in every locale. Of a string, quote, backslash and
    /// control characters are escaped; all else stands as UTF-8.
    ///
    /// @param text      replaced; unchanged on failure
    /// @param indented  true: one element or member a line, two blanks a level, at most a hundred; a list of numbers
    ///                  stands on one line
    /// @return  false when the rule is Refuse and there is a NaN or an infinity
    bool ToText(std::string& text, bool indented = false, NonFinite rule = Refuse) const;

    /// Writes what ToText gives to a stream, in pieces. A fault of the stream stays in its state.
    ///
    /// @return  0, or -1, with nothing written, when the rule is Refuse and there is a NaN or an infinity
    int Write(std::ostream& stream, bool indented = false, NonFinite rule = Refuse) const;

    /// Writes the indented text to the diagnostic text stream, NaN and infinities as text.
    void Display() const;
    /// @}

    /// @name Comparison
    /// @{

    /// Types and content are equal: reals when their bits are (so a NaN equals itself, and -0.0 is not 0.0), arrays
    /// element by element, objects when they have the same names with equal values in any order. Takes time linear in
    /// the size.
    bool operator==(const JsonObject& other) const;
    /// @}

    /// @name The library's strings and values
    /// @{

    /// Whether the bytes are UTF-8: no overlong forms, no surrogates, nothing above U+10FFFF.
    static bool IsUTF8(std::string_view text);

    /// A string from text in the process's code page.
    ///
    /// @return  false, and the result unchanged, when the text is not in that code page
    static bool FromCodePage(std::string_view text, JsonObject& result);
    /// A string in the process's code page.
    ///
    /// @return  false, and the text unchanged, when this is no string or the code page lacks one of its characters
    bool ReadCodePage(std::string& text) const;

    /// The JSON value of a Value: maps become objects in key order, system-missing reals null.
    ///
    /// @return  false, and the result unchanged, when a string or key is not in the process's code page
    static bool FromValue(const MCCommon_930::Value& value, JsonObject& result);
    /// The Value of a JSON value: objects become maps, which are in key order.
    ///
    /// @return  false, and the result unchanged, when the process's code page lacks a character of a string or name, or
    ///          an array has more elements than an int counts
    bool ToValue(MCCommon_930::Value& result) const;
    /// @}

private:
    struct Block;
    struct Text;
    struct Make;
    class Parser;
    class Writer;

    bool OwnsHeap() const { return fType > TypeReal && fLength == kOnHeap; }
    bool IsContainer() const { return fType >= TypeArray; }
    void CopyPlain(const JsonObject& other) noexcept
    {
        fType = other.fType;
        fLength = other.fLength;
        fRoom[0] = other.fRoom[0];
        fRoom[1] = other.fRoom[1];
        fRoom[2] = other.fRoom[2];
        fData = other.fData;
    }
    void BecomeNull() noexcept
    {
        fType = TypeNull;
        fLength = 0;
        fRoom[0] = fRoom[1] = fRoom[2] = 0;
        fData = 0;
    }
    const JsonObject& ElementOrNull(std::size_t i) const;
    void CopyHeap(const JsonObject& other);
    void ReleaseHeap() noexcept;
    Block* GetBlock() const;
    char* InPlace() { return reinterpret_cast<char*>(this) + kInPlaceAt; }
    const char* InPlace() const { return reinterpret_cast<const char*>(this) + kInPlaceAt; }
    std::string_view TextOfString() const;
    static bool SameString(const JsonObject& a, const JsonObject& b);
    static bool EqualOrDeferred(const JsonObject& a, const JsonObject& b,
                                std::vector<std::pair<const JsonObject*, const JsonObject*>>& deferred);
    void Adopt(Type type, Block* block) noexcept;

    static constexpr std::uint8_t kOnHeap = 255;
    static constexpr std::uint8_t kPlain = 16; // set for a string in place that is ASCII and needs no escape
    static constexpr std::uint8_t kLengthBits = kPlain - 1;
    static constexpr std::size_t kInPlaceAt = 2;
    static constexpr std::size_t kInPlace = 14;

    // A string of up to 14 bytes fills fRoom and fData, the rest being 0. Otherwise fData is the bits of the scalar or
    // the address of the Text or Block. An array or object without elements has no block: its address is 0.
    std::uint8_t fType = TypeNull;
    std::uint8_t fLength = 0; // of a string in place, and kPlain; kOnHeap: fData is an address
    std::uint16_t fRoom[3] = {0, 0, 0};
    std::uint64_t fData = 0;
};

/// A name and a value in an object.
class MODELCORE_EXPORT JsonObject::Member {
public:
    /// The name.
    std::string_view Name() const { return fName.GetText(); }
    /// The value.
    const JsonObject& Value() const { return fValue; }

private:
    friend class JsonObject;
    JsonObject fName;
    JsonObject fValue;
};

static_assert(sizeof(JsonObject) == 16);

} // namespace MCXML_930
