// The library's variant: one cell that holds nothing, a scalar, a string, an array or a map.
#pragma once

#include "modelcore/common/MCMV.h"
#include "modelcore/modelcore_export.h"

#include <concepts>
#include <cstdint>
#include <iosfwd>
#include <limits>
#include <map>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace MCCommon_930 {

/// A character type, which is no integer of a Value: 'A' would silently become 65.
template <class T>
concept CharacterType = std::same_as<T, char> || std::same_as<T, wchar_t> || std::same_as<T, char8_t> ||
    std::same_as<T, char16_t> || std::same_as<T, char32_t>;

/// Any other integer type than bool of up to 64 bits, signed or not.
template <class T>
concept IntegerType = std::integral<T> && !std::same_as<T, bool> && !CharacterType<T> && sizeof(T) <= sizeof(long long);

/// A type besides Value that Value compares with directly, on either side: value["age"] < 30.0, 18 <= value["age"].
template <class T>
concept PlainValue = std::same_as<T, bool> || IntegerType<T> || std::same_as<T, float> || std::same_as<T, double> ||
    std::convertible_to<const T&, std::string_view>;

/// One cell of data: null, a bool, a 64-bit integer, a real, a byte string, an array of values or a map from byte
/// strings to values.
///
/// A value is 16 bytes: a 16-bit type tag and one 64-bit payload. Scalars stand in the payload and allocate nothing; a
/// string, array or map is on the heap and owned, so that copying is deep, moving is cheap and leaves null behind, and
/// destruction frees it. Copying, comparing, rendering and destroying never recurse: the depth of nesting is limited by
/// memory alone.
///
/// A missing datum is null or a real that holds the system-missing value; reading one is no error. Asking for a type or
/// an element that the value does not have throws MCException: code 13 for the type, 14 for the element; so does, with
/// code 13, an unsigned integer above the largest long long. Nothing else throws. Conversions between types are never
/// made: an integer read as a real throws, and reading never changes a value.
class MODELCORE_EXPORT Value {
public:
    /// The tags that GetType returns.
    enum Type : std::uint16_t {
        TypeNull = 0,
        TypeBool = 1,
        TypeInteger = 2,
        TypeReal = 3,
        TypeString = 4,
        TypeArray = 5,
        TypeMap = 6
    };

    /// The system-missing value, the most negative finite double; the same constant as MCMV::gMissingValue.
    static constexpr double SYSMISVALUE = MCMV::gMissingValue;
    /// Positive infinity; data like any other real.
    static constexpr double MCVALUE_INFINITY = std::numeric_limits<double>::infinity();
    /// The unit of IsZeroDiff. Six digits on purpose, not the exact double epsilon: results depend on it.
    static constexpr double EPSILON = 2.22045e-16;

    /// SYSMISVALUE.
    static double GetSysmisValue() { return SYSMISVALUE; }
    /// MCVALUE_INFINITY.
    static double GetInfinity() { return MCVALUE_INFINITY; }

    /// @name Prototypes: a value of each plain type in its initial state
    /// @{
    static const Value NULL_VALUE;    ///< null
    static const Value BOOL_VALUE;    ///< false
    static const Value INTEGER_VALUE; ///< 0
    static const Value REAL_VALUE;    ///< system-missing
    static const Value STRING_VALUE;  ///< empty; alone among these it is made when the library is loaded
    /// @}

    /// @name Construction, copy, assignment
    /// The constructors convert silently, so that assignment takes the same types: value = 2.5; value["name"] = "x".
    /// A null const char* gives an empty string. An unsigned integer above the largest long long throws 13.
    /// @{
    /// Null.
    constexpr Value() noexcept {}
    /// The value that is given, with its type.
    constexpr Value(bool value) noexcept : fType(TypeBool), fData(value) {}
    constexpr Value(int value) noexcept : fType(TypeInteger), fData(static_cast<long long>(value)) {}
    constexpr Value(long long value) noexcept : fType(TypeInteger), fData(value) {}
    template <IntegerType T>
    constexpr Value(T value) : fType(TypeInteger), fData(static_cast<long long>(value))
    {
        if (std::cmp_greater(value, std::numeric_limits<long long>::max())) ThrowWrongType();
    }
    constexpr Value(double value) noexcept : fType(TypeReal), fData(value) {}
    Value(const char* value);
    Value(const std::string& value);
    Value(std::string&& value);
    Value(std::string_view value);
    /// A character would silently become its number.
    template <CharacterType T>
    Value(T) = delete;
    /// Any other pointer would silently become a bool.
    template <class T>
    requires(!std::same_as<std::remove_cv_t<T>, char>) Value(T*)
    = delete;

    Value(const Value& other) : Value()
    {
        if (other.OwnsHeap())
            CopyHeap(other);
        else
            CopyPlain(other);
    }
    Value(Value&& other) noexcept : fType(other.fType), fData(other.fData) { other.fType = TypeNull; }
    ~Value()
    {
        if (OwnsHeap()) ReleaseHeap();
    }

    /// The source may be an element of this value's own array or map.
    Value& operator=(const Value& other)
    {
        Value copy(other);
        Swap(copy);
        return *this;
    }
    /// The source may be an element of this value, but a value must not be moved into an element of its own.
    Value& operator=(Value&& other) noexcept
    {
        Value taken(std::move(other));
        Swap(taken);
        return *this;
    }

    /// Replaces content and tag, as assignment does; takes whatever the constructors take.
    template <class T>
    requires std::constructible_from<Value, T>
    void SetValue(T&& value) { *this = Value(std::forward<T>(value)); }

    /// A deep copy on the heap, owned by the caller.
    Value* Clone() const { return new Value(*this); }

    /// Exchanges the contents; copies nothing.
    void Swap(Value& other) noexcept
    {
        std::swap(fType, other.fType);
        std::swap(fData, other.fData);
    }
    /// Exchanges the contents of two values.
    friend void swap(Value& a, Value& b) noexcept { a.Swap(b); }

    /// Frees the content and makes the value null.
    void Invalidate() noexcept { *this = Value(); }
    /// The same as Invalidate.
    void Clear() noexcept { Invalidate(); }
    /// Keeps the type and resets the content to that of its prototype (a real to system-missing), an array or map to an
    /// empty one.
    void ClearValue();
    /// @}

    /// @name Type
    /// @{
    /// The tag: one of Type.
    std::uint16_t GetType() const { return fType; }
    /// Holds nothing.
    bool IsNull() const { return fType == TypeNull; }
    /// Null, or a real that holds exactly the system-missing value. A NaN or an infinity is not missing.
    bool IsMissing() const { return IsNull() || IsSystemMissingValue(); }
    /// A real that holds exactly the system-missing value.
    bool IsSystemMissingValue() const { return fType == TypeReal && MCMV::IsMissing(fData.real); }
    /// An integer or a real, system-missing or not.
    bool IsNumericValue() const { return fType == TypeInteger || fType == TypeReal; }
    /// @}

    /// @name Readers
    /// Each throws 13 for a value of another type, except as said, and changes nothing.
    /// @{
    /// The bool.
    bool GetBool() const
    {
        AssertTypeOrInvalid(TypeBool);
        return fData.boolean;
    }
    /// The integer.
    long long GetInteger() const
    {
        AssertTypeOrInvalid(TypeInteger);
        return fData.integer;
    }
    /// The real; system-missing for null.
    double GetReal() const
    {
        if (IsNull()) return SYSMISVALUE;
        AssertTypeOrInvalid(TypeReal);
        return fData.real;
    }
    /// The value as text; never throws. A string as it is, "" for null, "true" or "false", an integer in decimal, a
    /// real with the fewest digits that read back to the same double ("0.1", "100000", "1e+300", "nan", "-inf"). An
    /// array is "[1, 2.5, null]" and a map "{"a": 1, "b": "x"}" in key order, with strings in double quotes, in which
    /// the quote, the backslash and control characters are escaped as in JSON and all other bytes stand as they are.
    std::string GetString() const;
    /// The held string; valid until the value changes.
    const std::string& GetStringRef() const
    {
        AssertTypeOrInvalid(TypeString);
        return *fData.string;
    }

    /// The elements of an array, to go through; valid until the value changes, and not to be had of a temporary one.
    const std::vector<Value>& GetArrayRef() const&
    {
        AssertTypeOrInvalid(TypeArray);
        return *fData.array;
    }
    const std::vector<Value>& GetArrayRef() const&& = delete;
    /// The entries of a map in byte order of their names; as GetArrayRef.
    const std::map<std::string, Value>& GetMapRef() const&
    {
        AssertTypeOrInvalid(TypeMap);
        return *fData.map;
    }
    const std::map<std::string, Value>& GetMapRef() const&& = delete;

    /// The readers as conversions, for constant values and for others alike: double d = value; if (value) ...;
    /// std::string text = value. To any other number there is none, int among them: that would be one conversion more.
    operator bool() const { return GetBool(); }
    operator long long() const { return GetInteger(); }
    operator double() const { return GetReal(); }
    operator std::string() const { return GetString(); }
    // Without these the references below would be the better conversions of a value that is not constant.
    operator bool() { return GetBool(); }
    operator long long() { return GetInteger(); }
    operator double() { return GetReal(); }
    operator std::string() { return GetString(); }
    template <class T>
    requires(std::is_arithmetic_v<T>) operator T() const = delete;
    template <class T>
    requires(std::is_arithmetic_v<T>) operator T() = delete;

    /// The held payload, to be written to: double& real = value. A null value first becomes false, 0, 0.0 or an empty
    /// string; a value of another type throws 13.
    // Templates, so that they serve references alone: a plain function is preferred where a value is asked for.
    template <std::same_as<bool> T>
    operator T&()
    {
        AssertTypeOrInvalid(TypeBool);
        return fData.boolean;
    }
    template <std::same_as<long long> T>
    operator T&()
    {
        AssertTypeOrInvalid(TypeInteger);
        return fData.integer;
    }
    template <std::same_as<double> T>
    operator T&()
    {
        AssertTypeOrInvalid(TypeReal);
        return fData.real;
    }
    template <std::same_as<std::string> T>
    operator T&()
    {
        AssertTypeOrInvalid(TypeString);
        return *fData.string;
    }
    /// @}

    /// @name Arrays and maps
    /// @{

    /// Element of an array, from 0. The writing form first makes a null value an empty array, and an index equal to the
    /// size appends a null element; in the reading form that index refers to a constant null value.
    ///
    /// Throws 13 for a value of another type, 14 for an index that is negative or beyond the size. A null value has
    /// become an empty array by then: Value v; v[3] = 1 throws and leaves v an empty array.
    Value& operator[](int index);
    const Value& operator[](int index) const;

    /// Entry of a map. The writing form first makes a null value an empty map and creates a missing entry as null; in
    /// the reading form a missing entry refers to a constant null value. Throws 13 for a value of another type.
    Value& operator[](const std::string& name);
    const Value& operator[](const std::string& name) const;
    /// The same for a literal.
    Value& operator[](const char* name) { return (*this)[std::string(name)]; }
    const Value& operator[](const char* name) const { return (*this)[std::string(name)]; }

    /// Makes an array of the given size (0 for a negative one): elements up to it are kept, new ones are null. A null
    /// value first becomes an empty array; throws 13 for a value of another type.
    void Resize(int size);

    /// The number of elements of an array or of entries of a map; 0 for any other type.
    int Size() const;

    /// Whether a map has the entry; false for any other type.
    bool Contains(const std::string& name) const;

    /// Removes an entry of a map; false, with nothing changed, when there is none or the value is no map.
    bool Remove(const std::string& name);

    /// The keys of a map, in byte order; none for any other type.
    std::vector<std::string> Names() const;
    /// @}

    /// @name Comparison
    /// @{

    /// |a - b| as good as zero: true when a - b is exactly 0, else false when one of them is exactly 0, else
    /// max(|a|, |b|) * (units * EPSILON) >= |a - b|. False with a NaN. Infinities go through the same steps, with the
    /// consequence that +inf is not equal to itself, yet equal to -inf and to every finite real but 0.
    static bool IsZeroDiff(double a, double b, double units);

    /// Values of different types are unequal, and so are two nulls: null equals nothing. Reals are equal when both or
    /// neither are system-missing and IsZeroDiff(a, b, 100) holds. Strings by bytes; arrays and maps when sizes, keys
    /// and all pairs of elements are equal. Takes time linear in the size.
    bool operator==(const Value& other) const;
    bool operator!=(const Value& other) const { return !(*this == other); }

    /// Values of different types are ordered by their GetString. Of the same type: false before true, integers and
    /// reals by value (reals exactly, so two that are equal within tolerance may also be ordered; a missing or NaN real
    /// is neither less nor greater than any), strings by bytes, arrays and maps by the first pair of elements, or of
    /// (key, value), in which one side is less, then by size. Two nulls are not ordered. Takes time linear in the size.
    ///
    /// Not for sorting where missing or NaN reals, nulls or several types may occur: there this is no strict weak order
    /// (2 < 10 by value, 10 < "15" and "15" < 2 by text; a missing real is beside everything), and std::sort goes astray.
    bool operator<(const Value& other) const;
    bool operator>(const Value& other) const { return other < *this; }
    bool operator<=(const Value& other) const { return *this < other || *this == other; }
    bool operator>=(const Value& other) const { return other < *this || *this == other; }

    /// The comparisons with a plain value on one side: it is made a Value first.
    template <PlainValue T>
    bool operator==(const T& other) const
    {
        return *this == Value(other);
    }
    template <PlainValue T>
    bool operator<(const T& other) const
    {
        return *this < Value(other);
    }
    template <PlainValue T>
    bool operator>(const T& other) const
    {
        return *this > Value(other);
    }
    template <PlainValue T>
    bool operator<=(const T& other) const
    {
        return *this <= Value(other);
    }
    template <PlainValue T>
    bool operator>=(const T& other) const
    {
        return *this >= Value(other);
    }
    /// The comparisons with the plain value on the left.
    template <PlainValue T>
    friend bool operator<(const T& a, const Value& b)
    {
        return Value(a) < b;
    }
    template <PlainValue T>
    friend bool operator>(const T& a, const Value& b)
    {
        return Value(a) > b;
    }
    template <PlainValue T>
    friend bool operator<=(const T& a, const Value& b)
    {
        return Value(a) <= b;
    }
    template <PlainValue T>
    friend bool operator>=(const T& a, const Value& b)
    {
        return Value(a) >= b;
    }
    /// @}

    /// @name Assertions
    /// What the operations above refuse misuse with; each throws MCException as said.
    /// @{

    /// A null value takes the tag with an empty payload (false, 0, 0.0, empty). Any other value must have the tag:
    /// throws 13 "Value type wrong!".
    void AssertTypeOrInvalid(std::uint16_t tag);
    /// The value must have the tag; null is not converted. Throws 13 "Value type wrong!".
    void AssertTypeOrInvalid(std::uint16_t tag) const
    {
        if (fType != tag) ThrowWrongType();
    }
    /// Throws 13 "This value is not an array!" for another type, 14 "Out of this array bounds!" for an index that is
    /// negative or beyond the size. The size itself passes.
    void AssertArray(int index) const;
    /// Makes the value a map: the content of any other type is discarded. Never throws.
    void AssertMap();
    /// @}

    /// Writes GetString, or "null" for null.
    void Display(std::ostream& stream) const;
    /// Writes what Display writes.
    friend std::ostream& operator<<(std::ostream& stream, const Value& value)
    {
        value.Display(stream);
        return stream;
    }

private:
    using Array = std::vector<Value>;
    using Map = std::map<std::string, Value>;

    union Data {
        constexpr Data() noexcept : integer(0) {}
        constexpr explicit Data(bool value) noexcept : boolean(value) {}
        constexpr explicit Data(long long value) noexcept : integer(value) {}
        constexpr explicit Data(double value) noexcept : real(value) {}
        bool boolean;
        long long integer;
        double real;
        std::string* string;
        Array* array;
        Map* map;
    };

    enum class Order { Less, Neither, Greater };
    class Walk;
    class PairWalk;

    bool OwnsHeap() const { return fType >= TypeString; }
    bool IsContainer() const { return fType >= TypeArray; }

    void CopyPlain(const Value& other) noexcept
    {
        fType = other.fType;
        fData = other.fData;
    }
    [[noreturn]] static void ThrowWrongType();
    void CopyHeap(const Value& other);
    void ReleaseHeap() noexcept;
    void DeleteEmptied() noexcept;
    Value* LastElement() const noexcept;
    void DropLastElement() noexcept;
    void TakeType(std::uint16_t tag);
    void AppendScalar(std::string& out) const;
    static bool LeavesEqual(const Value& a, const Value& b);
    static Order CompareLeaves(const Value& a, const Value& b);

    std::uint16_t fType = TypeNull;
    Data fData;
};

static_assert(sizeof(Value) == 16, "modelcore is for 64-bit machines: a value is a tag and a payload of 8 bytes each");

} // namespace MCCommon_930
