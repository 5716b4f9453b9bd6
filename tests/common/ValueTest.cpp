#include "modelcore/common/Value.h"
#include "common/ValueBuilders.h"
#include "modelcore/common/MCException.h"
#include "support/Testing.h"

#include <climits>

using MCCommon_930::MCException;
using MCCommon_930::Value;

namespace {

const std::string kWrongType = "13 Value type wrong!", kNoArray = "13 This value is not an array!";
const std::string kOutside = "14 Out of this array bounds!";

// Code and message of the exception that an action throws, empty when it throws none.
std::string Thrown(const std::function<void()>& action)
{
    try {
        action();
    } catch (const MCException& exception) {
        return std::to_string(exception.GetCode()) + " " + exception.what();
    }
    return "";
}

// One of every type, with content.
std::vector<Value> OneOfEach()
{
    return {Value(), Value(true), Value(-7), Value(2.5), Value("text"), Array({1, "a"}), Map({{"k", 1}})};
}

static_assert(!std::is_constructible_v<Value, const int*>, "a pointer must not become a bool");
static_assert(!std::is_constructible_v<Value, char> && !std::is_assignable_v<Value&, wchar_t>,
              "nor a character a number");
static_assert(std::is_nothrow_copy_constructible_v<MCException>, "a thrown one is copied");

// What a value, constant or not, converts to: its own types and nothing else.
template <class From, class... To>
constexpr bool kConvertsToAll = (std::is_convertible_v<From, To> && ...);
template <class From, class... To>
constexpr bool kConvertsToNone = (!std::is_constructible_v<To, From> && ...);
template <class From>
constexpr bool kConvertsRightly = kConvertsToAll<From, bool, long long, double, std::string>&&
    kConvertsToNone<From, int, unsigned, long, unsigned long, short, char, float, long double, const char*>;
static_assert(kConvertsRightly<Value&> && kConvertsRightly<const Value&> && kConvertsRightly<Value>);
static_assert(kConvertsToAll<Value&, bool&, long long&, double&, std::string&> &&
              kConvertsToNone<Value&, int&, float&> &&
              kConvertsToNone<const Value&, bool&, long long&, double&, std::string&>);

template <class T>
std::string Read(auto& value)
{
    const T result = value;
    return Value(result).GetString();
}

} // namespace

TEST(Value, ConstantsHaveTheirBitsAndMissingIsNullOrTheOneReal)
{
    EXPECT_EQ(std::bit_cast<std::uint64_t>(Value::SYSMISVALUE), 0xFFEFFFFFFFFFFFFFu);
    EXPECT_EQ(std::bit_cast<std::uint64_t>(Value::EPSILON), 0x3CB00001DD9DC7D3u);
    EXPECT_TRUE(Value::REAL_VALUE.IsSystemMissingValue() && Value::STRING_VALUE.GetStringRef().empty());

    EXPECT_TRUE(Value().IsMissing() && !Value().IsSystemMissingValue() && !Value().IsNumericValue());
    const Value missing(Value::SYSMISVALUE);
    EXPECT_TRUE(missing.IsMissing() && missing.IsSystemMissingValue() && missing.IsNumericValue());
    for (const Value& real : {Value(-kInf), Value(kInf), Value(kNan), Value(std::nextafter(kMissing, 0.0)), Value(0)})
        EXPECT_TRUE(!real.IsMissing() && real.IsNumericValue()) << real;
    for (const Value& value : {Value(false), Value(""), Array({Value()})})
        EXPECT_TRUE(!value.IsMissing() && !value.IsNumericValue()) << value;
}

TEST(Value, TakesEveryIntegerTypeAndStringViews)
{
    const auto takes = [](auto integer) {
        Value assigned("before");
        assigned = integer;
        EXPECT_TRUE(assigned.GetInteger() == 5 && assigned == integer && integer == assigned && Value(integer) == 5);
        assigned.SetValue(integer);
        EXPECT_TRUE(4 < assigned && integer >= assigned && 6u > assigned && assigned != 6L && 5.0f <= Value(5.0));
    };
    takes(static_cast<signed char>(5));
    takes(static_cast<std::uint8_t>(5));
    takes(5);
    takes(5u);
    takes(5L);
    takes(5UL);
    takes(5ULL);
    EXPECT_EQ(Value(INT_MIN).GetInteger(), -2147483648LL); // sign-extended
    EXPECT_EQ(Value(static_cast<std::uint64_t>(LLONG_MAX)).GetInteger(), LLONG_MAX);
    EXPECT_EQ(Thrown([] { Value(static_cast<std::uint64_t>(LLONG_MAX) + 1); }), kWrongType);
    const std::string_view view = std::string_view("a\0bcd", 5).substr(1, 2);
    Value text(static_cast<const char*>(nullptr));
    EXPECT_EQ(text.GetStringRef(), "");
    EXPECT_TRUE((text = view).GetStringRef() == view && view == text && text < "bd" && "" < text);
    EXPECT_TRUE((text = 1.5).GetType() == 3 && (text = true).GetType() == 1 && (text = "x").GetType() == 4);
}

// Reading refuses every other type and changes nothing, whether the value is constant or not; writing makes null the
// type that is written.
TEST(Value, OtherTypesAreRefusedAndNothingIsConverted)
{
    const struct {
        int type;
        std::string refusal;
        std::function<std::string(Value&)> read, readConstant;
        std::function<void(Value&)> write;
        std::string fromNull; // 0.0, not missing, for a real
    } uses[] = {
        {1, kWrongType, [](Value& v) { return Read<bool>(v); }, [](const Value& v) { return Read<bool>(v); },
         [](Value& v) { static_cast<bool&>(v) = true; }, "true"},
        {1, kWrongType, [](Value& v) { return v ? "true" : "false"; },
         [](const Value& v) { return v.GetBool() ? "true" : "false"; }, [](Value& v) { v.operator bool&() = true; },
         "true"},
        {2, kWrongType, [](Value& v) { return Read<long long>(v); }, [](const Value& v) { return Read<long long>(v); },
         [](Value& v) { static_cast<long long&>(v) += 3; }, "3"},
        {3, kWrongType, [](Value& v) { return Read<double>(v); }, [](const Value& v) { return Read<double>(v); },
         [](Value& v) { static_cast<double&>(v) += 0.5; }, "0.5"},
        {4, kWrongType, [](Value& v) { return v.GetStringRef(); }, [](const Value& v) { return v.GetStringRef(); },
         [](Value& v) { static_cast<std::string&>(v) += "x"; }, "x"},
        {5, kNoArray, [](Value& v) { return std::as_const(v)[0], v.GetString(); },
         [](const Value& v) { return v[0], v.GetString(); }, [](Value& v) { v[0] = 1; }, "[1]"},
        {6, kWrongType, [](Value& v) { return v.GetMapRef(), v.GetString(); },
         [](const Value& v) { return v["k"], v.GetString(); }, [](Value& v) { v["k"] = 1; }, "{\"k\": 1}"},
    };
    for (const Value& value : OneOfEach()) {
        SCOPED_TRACE(value.GetString());
        const int type = value.GetType();
        for (const auto& use : uses) {
            Value read(value), written(value);
            const auto outcome = [&read](const std::function<std::string(Value&)>& reader) {
                std::string text;
                const std::string thrown = Thrown([&] { text = reader(read); });
                return text + thrown;
            };
            std::string expected = use.refusal;
            if (type == use.type) expected = value.GetString();
            if (type == 0 && use.type == 3) expected = "-1.7976931348623157e+308"; // a null real is system-missing
            EXPECT_EQ(outcome(use.readConstant) + outcome(use.read), expected + expected) << use.type;
            EXPECT_TRUE(read.GetType() == type && read.GetString() == value.GetString());
            EXPECT_EQ(Read<std::string>(read), value.GetString()); // any type renders as text

            EXPECT_EQ(Thrown([&] { use.write(written); }), type == use.type || type == 0 ? "" : kWrongType) << use.type;
            EXPECT_TRUE(type == use.type || written.GetString() == (type == 0 ? use.fromNull : value.GetString()));
        }
        EXPECT_EQ(value.Size(), type == 5 ? 2 : type == 6 ? 1 : 0);
        EXPECT_TRUE(value.Contains("k") == (type == 6) && value.Names().size() == (type == 6 ? 1u : 0u));
    }
    EXPECT_EQ(Thrown([] { Value(-7).Resize(2); }), kWrongType);
    const Value integer = -7;
    EXPECT_EQ(Thrown([&] { integer.GetArrayRef(); }), kWrongType);
}

TEST(Value, AssertionsConvertAndClearingResets)
{
    for (std::uint16_t tag = 0; tag <= 7; ++tag) {
        Value null;
        EXPECT_EQ(Thrown([&] { std::as_const(null).AssertTypeOrInvalid(tag); }), tag == 0 ? "" : kWrongType);
        EXPECT_TRUE(null.IsNull());
        EXPECT_EQ(Thrown([&] { null.AssertTypeOrInvalid(tag); }), tag == 7 ? kWrongType : "");
        EXPECT_EQ(null.GetType(), tag == 7 ? 0 : tag);
    }
    const char* const cleared[] = {"", "false", "0", "-1.7976931348623157e+308", "", "[]", "{}"};
    for (Value value : OneOfEach()) {
        const int type = value.GetType();
        Value map(value);
        map.AssertMap(); // discards what is no map
        EXPECT_TRUE(map.GetType() == 6 && map.Size() == (type == 6 ? 1 : 0));
        value.ClearValue(); // back to the prototype of the type
        EXPECT_TRUE(value.GetType() == type && value.GetString() == cleared[type]) << value;
        value.Clear();
        EXPECT_TRUE(value.IsNull());
    }
}

TEST(Value, ArraysGrowAtTheirEndAndMapsKeepByteOrder)
{
    Value array;
    EXPECT_EQ(Thrown([&] { array[3] = 1; }), kOutside); // an empty array by then
    array[0] = 1;
    array[1]; // an index equal to the size appends null
    EXPECT_EQ(array.GetString(), "[1, null]");
    const Value& constant = array;
    EXPECT_TRUE(constant[2].IsNull() && constant.Size() == 2);
    for (const int index : {-1, 3, INT_MAX, INT_MIN})
        EXPECT_EQ(Thrown([&] { constant[index]; }) + Thrown([&] { array[index]; }), kOutside + kOutside) << index;
    std::string sizes;
    for (const int size : {3, 1, -3}) {
        array.Resize(size);
        sizes += array.GetString();
    }
    EXPECT_EQ(sizes, "[1, null, null][1][]");

    Value map = Map({{"b", 2}, {"B", 1}, {"", "empty"}});
    EXPECT_EQ(map.Names(), (std::vector<std::string>{"", "B", "b"}));
    EXPECT_TRUE(std::as_const(map)["unknown"].IsNull() && map.Size() == 3); // reading made no entry
    EXPECT_TRUE(map.Contains("") && !map.Contains("unknown"));
    std::string entries;
    for (const auto& [name, value] : map.GetMapRef()) entries += name + "=" + value.GetString() + ";";
    EXPECT_EQ(entries, "=empty;B=1;b=2;");
    EXPECT_TRUE(map.Remove("B") && !map.Remove("B") && !array.Remove("B") && map.Size() == 2);
}

TEST(Value, CopiesAreDeepAndTheSourceMayBePartOfTheTarget)
{
    Value original = Array({"text", Map({{"k", Array({1})}})});
    Value copy(original);
    const std::unique_ptr<Value> clone(original.Clone());
    static_cast<std::string&>(original[0]) = "changed";
    original[1]["k"][0] = 99;
    EXPECT_EQ(clone->GetString(), R"(["text", {"k": [1]}])");
    EXPECT_EQ(copy.GetString(), clone->GetString());

    Value value = Array({Array({"inner", 2}), 3});
    value = value[0];
    EXPECT_EQ(value.GetString(), R"(["inner", 2])");
    value = std::move(value[0]);
    value = value.GetStringRef().c_str() + 2;
    value = *&value;
    EXPECT_EQ(value.GetString(), "ner");
    Value outer = Array({1});
    outer[1] = outer; // a copy of the whole into its own element
    EXPECT_EQ(outer.GetString(), "[1, [1, null]]");
}

TEST(Value, TextIsUnambiguousAndReadsBack)
{
    const std::pair<Value, const char*> cases[] = {
        {Value(0.1), "0.1"},
        {Value(-0.0), "-0"},
        {Value(1e16), "1e+16"},
        {Value(1e-6), "1e-06"},
        {Value(0.1 + 0.2), "0.30000000000000004"},
        {Value(4.9406564584124654e-324), "5e-324"},
        {Value(kInf), "inf"},
        {Value(-kNan), "nan"},
        {Value(LLONG_MIN), "-9223372036854775808"},
        {Value("quote\" and \\"), "quote\" and \\"},
        {Array({Value(), true, "a\"b\\c\n\x01\x1f", Array({}), Map({})}),
         R"([null, true, "a\"b\\c\n\u0001\u001f", [], {}])"},
        {Array({Value(std::string("z\0", 2)), "\xE9\r\t"}), "[\"z\\u0000\", \"\xE9\\r\\t\"]"},
        {Map({{"b", 1}, {"a \"", Array({Map({{"", 0.5}}), 2})}}), R"({"a \"": [{"": 0.5}, 2], "b": 1})"},
    };
    for (const auto& [value, text] : cases) EXPECT_EQ(value.GetString(), text);
    std::ostringstream displayed;
    displayed << Value() << cases[0].first;
    EXPECT_EQ(displayed.str(), "null0.1");
}

// Ten thousand levels would overflow the stack of anything that recurses with the frames of a sanitized build.
TEST(Value, DepthOfNestingIsNoLimit)
{
    constexpr int kLevels = 10000;
    for (const bool maps : {false, true}) {
        Value deep = 1;
        for (int level = 0; level < kLevels; ++level) {
            Value outer = maps ? Map({{"b", "sibling"}}) : Array({"sibling", Value(), 2.0});
            (maps ? outer["a"] : outer[1]) = std::move(deep);
            deep = std::move(outer);
        }
        Value copy(deep);
        EXPECT_TRUE(copy == deep && copy <= deep && copy >= deep); // exponential in the depth if each level asked twice
        EXPECT_EQ(copy.GetString(), deep.GetString());
        EXPECT_EQ(copy.GetString().size(), maps ? 1u + kLevels * (6u + 17u) : 1u + kLevels * (16u));

        Value* innermost = &copy;
        while (!innermost->IsNumericValue()) innermost = maps ? &(*innermost)["a"] : &(*innermost)[1];
        *innermost = 2;
        EXPECT_TRUE(deep < copy && copy > deep && deep != copy && !(deep >= copy));
    }
}
