#include "modelcore/common/Value.h"
#include "common/ValueBuilders.h"
#include "modelcore/common/MCException.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <bit>
#include <climits>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <iterator>
#include <memory>
#include <sstream>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

using MCCommon_930::MCException;
using MCCommon_930::Value;
using ::testing::ElementsAre;

namespace {

constexpr const char* kWrongType = "13 Value type wrong!";
constexpr const char* kNoArray = "13 This value is not an array!";
constexpr const char* kOutside = "14 Out of this array bounds!";

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

} // namespace

TEST(Value, ConstantsHaveTheirBitsAndMissingIsNullOrTheOneReal)
{
    EXPECT_EQ(std::bit_cast<std::uint64_t>(Value::SYSMISVALUE), 0xFFEFFFFFFFFFFFFFu);
    EXPECT_EQ(std::bit_cast<std::uint64_t>(Value::EPSILON), 0x3CB00001DD9DC7D3u);
    EXPECT_TRUE(Value::REAL_VALUE.IsSystemMissingValue() && Value::STRING_VALUE.GetStringRef().empty());

    EXPECT_TRUE(Value().IsMissing() && !Value().IsSystemMissingValue() && !Value().IsNumericValue());
    const Value missing(Value::SYSMISVALUE);
    EXPECT_TRUE(missing.IsMissing() && missing.IsSystemMissingValue() && missing.IsNumericValue());
    constexpr double kInf = Value::MCVALUE_INFINITY;
    for (const double real : {-kInf, kInf, std::nan(""), std::nextafter(missing.GetReal(), 0.0), -missing.GetReal()})
        EXPECT_TRUE(!Value(real).IsMissing() && Value(real).IsNumericValue()) << real;
    EXPECT_TRUE(!Value(0).IsMissing() && Value(0).IsNumericValue());
    for (const Value& value : {Value(false), Value(""), Array({Value()})})
        EXPECT_TRUE(!value.IsMissing() && !value.IsNumericValue()) << value;
}

TEST(Value, AssignmentTakesTheTypeOfItsArgument)
{
    const std::string zeros("a\0b", 3);
    EXPECT_EQ(Value(INT_MIN).GetInteger(), -2147483648LL); // sign-extended
    EXPECT_EQ(Value(static_cast<const char*>(nullptr)).GetStringRef(), "");
    for (Value value : OneOfEach()) { // whatever it held before
        EXPECT_EQ((value = true).GetType(), 1);
        EXPECT_EQ((value = -1).GetInteger(), -1);
        EXPECT_EQ((value = 1.5).GetType(), 3);
        EXPECT_EQ((value = "literal").GetType(), 4);
        value.SetValue(zeros);
        EXPECT_EQ(value.GetStringRef(), zeros);
    }
}

// The conversions of a value that is not constant are those of a constant one: they read, refuse alike, change nothing.
TEST(Value, ReadingConvertsNothingAndChangesNothing)
{
    const auto outcome = [](auto& value) {
        const auto read = [&value](auto wanted) {
            std::string text;
            const std::string thrown = Thrown([&] {
                const decltype(wanted) result = value;
                text = Value(result).GetString();
            });
            return text + thrown + "; ";
        };
        const std::string condition = Thrown([&] { static_cast<void>(value ? 1 : 0); });
        return read(true) + read(1LL) + read(1.0) + read(std::string()) + condition;
    };
    const std::string no = kWrongType;
    const std::string expected[] = {
        no + "; " + no + "; -1.7976931348623157e+308; ; " + no, // null: the missing real, no text
        "true; " + no + "; " + no + "; true; ",
        no + "; -7; " + no + "; -7; " + no,
        no + "; " + no + "; 2.5; 2.5; " + no,
    };
    std::vector<Value> values = OneOfEach();
    for (std::size_t i = 0; i < values.size(); ++i) {
        const Value before = values[i];
        EXPECT_EQ(outcome(values[i]), outcome(before));
        EXPECT_TRUE(i >= std::size(expected) || outcome(values[i]) == expected[i]) << outcome(values[i]);
        EXPECT_TRUE(values[i].GetType() == before.GetType() && values[i].GetString() == before.GetString());
    }
}

TEST(Value, TakesEveryIntegerTypeAndStringViews)
{
    const auto takes = [](auto integer) {
        Value assigned;
        assigned = integer;
        EXPECT_TRUE(assigned.GetInteger() == 5 && assigned == integer && integer == assigned && Value(integer) == 5);
        assigned.SetValue(integer);
        EXPECT_TRUE(4 < assigned && integer >= assigned && 6u > assigned && assigned != 6L && 5.0f <= Value(5.0));
    };
    takes(static_cast<signed char>(5));
    takes(static_cast<std::uint8_t>(5));
    takes(static_cast<short>(5));
    takes(5u);
    takes(5L);
    takes(5UL);
    takes(5ULL);
    EXPECT_EQ(Value(static_cast<std::uint64_t>(LLONG_MAX)).GetInteger(), LLONG_MAX);
    EXPECT_EQ(Thrown([] { Value(static_cast<std::uint64_t>(LLONG_MAX) + 1); }), kWrongType);
    const std::string_view view = std::string_view("abcd").substr(1, 2);
    Value text(view);
    EXPECT_TRUE((text = view).GetStringRef() == "bc" && view == text && text < "bd" && "bb" < text);
}

TEST(Value, OtherTypesAreRefusedAndNothingIsConverted)
{
    const struct {
        int type;
        std::function<void(const Value&)> read;
        const char* refusal;
        std::function<void(Value&)> write;
    } uses[] = {
        {1, [](const Value& v) { v.GetBool(); }, kWrongType, [](Value& v) { static_cast<bool&>(v) = true; }},
        {2, [](const Value& v) { v.GetInteger(); }, kWrongType, [](Value& v) { static_cast<long long&>(v) += 3; }},
        {3, [](const Value& v) { v.GetReal(); }, kWrongType, [](Value& v) { static_cast<double&>(v) += 0.5; }},
        {4, [](const Value& v) { v.GetStringRef(); }, kWrongType,
         [](Value& v) { static_cast<std::string&>(v) += "x"; }},
        {5, [](const Value& v) { v[0]; }, kNoArray, [](Value& v) { v[0] = 1; }},
        {6, [](const Value& v) { v["k"]; }, kWrongType, [](Value& v) { v["k"] = 1; }},
    };
    // Null is 0.0, not missing, at first.
    const char* const fromNull[] = {"", "true", "3", "0.5", "x", "[1]", "{\"k\": 1}"};
    for (const Value& value : OneOfEach()) {
        SCOPED_TRACE(value.GetString());
        const int type = value.GetType();
        for (const auto& use : uses) {
            const bool readable = type == use.type || (type == 0 && use.type == 3); // a null real is system-missing
            EXPECT_EQ(Thrown([&] { use.read(value); }), readable ? "" : use.refusal) << use.type;
            Value written(value);
            EXPECT_EQ(Thrown([&] { use.write(written); }), type == use.type || type == 0 ? "" : kWrongType) << use.type;
            // A refusal changes nothing.
            const std::string expected = type == 0 ? fromNull[use.type] : value.GetString();
            EXPECT_TRUE(type == use.type || written.GetString() == expected) << written;
        }
        EXPECT_EQ(value.Size(), type == 5 ? 2 : type == 6 ? 1 : 0);
        EXPECT_EQ(value.Contains("k"), type == 6);
        EXPECT_EQ(value.Names().size(), type == 6 ? 1u : 0u);
    }
    EXPECT_EQ(Value().GetReal(), Value::SYSMISVALUE);
    EXPECT_EQ(Thrown([] { Value(-7).Resize(2); }), kWrongType);
}

TEST(Value, AssertionsConvertAndClearingResets)
{
    for (std::uint16_t tag = 0; tag <= 6; ++tag) {
        Value null;
        EXPECT_EQ(Thrown([&] { std::as_const(null).AssertTypeOrInvalid(tag); }), tag == 0 ? "" : kWrongType);
        EXPECT_TRUE(null.IsNull());
        null.AssertTypeOrInvalid(tag);
        EXPECT_EQ(null.GetType(), tag);
    }
    Value wrongTag;
    EXPECT_EQ(Thrown([&] { wrongTag.AssertTypeOrInvalid(7); }), kWrongType);
    EXPECT_TRUE(wrongTag.IsNull());

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
    array[0] = 1;
    array[1]; // an index equal to the size appends null
    EXPECT_EQ(array.GetString(), "[1, null]");
    const Value& constant = array;
    EXPECT_TRUE(constant[2].IsNull() && constant.Size() == 2);
    for (const int index : {-1, 3, INT_MAX, INT_MIN}) {
        EXPECT_EQ(Thrown([&] { constant[index]; }), kOutside) << index;
        EXPECT_EQ(Thrown([&] { array[index]; }), kOutside) << index;
    }
    array.Resize(3);
    EXPECT_EQ(array.GetString(), "[1, null, null]");
    array.Resize(1);
    EXPECT_EQ(array.GetString(), "[1]");
    array.Resize(-3);
    EXPECT_EQ(array.Size(), 0);

    const Value map = Map({{"b", 2}, {"B", 1}, {"", "empty"}});
    EXPECT_THAT(map.Names(), ElementsAre("", "B", "b"));
    EXPECT_TRUE(map["unknown"].IsNull() && map.Size() == 3); // reading made no entry
    EXPECT_TRUE(map.Contains("") && !map.Contains("unknown"));
    std::string entries;
    for (const auto& [name, value] : map.GetMapRef()) entries += name + "=" + value.GetString() + ";";
    const Value list = Array({1, "x"});
    for (const Value& element : list.GetArrayRef()) entries += element.GetString();
    EXPECT_EQ(entries, "=empty;B=1;b=2;1x");
    Value fewer(map);
    EXPECT_TRUE(fewer.Remove("B") && !fewer.Remove("B") && !array.Remove("B") && fewer.Size() == 2);
}

TEST(Value, CopiesAreDeepAndTheSourceMayBePartOfTheTarget)
{
    Value original = Array({"text", Map({{"k", Array({1})}})});
    Value copy(original);
    const std::unique_ptr<Value> clone(original.Clone());
    static_cast<std::string&>(original[0]) = "changed";
    original[1]["k"][0] = 99;
    EXPECT_EQ(clone->GetString(), R"(["text", {"k": [1]}])");
    const Value moved(std::move(copy));
    EXPECT_TRUE(copy.IsNull()); // NOLINT(bugprone-use-after-move): null is what is promised
    EXPECT_EQ(moved.GetString(), clone->GetString());

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
        {Value(Value::MCVALUE_INFINITY), "inf"},
        {Value(-std::nan("")), "nan"},
        {Value(LLONG_MIN), "-9223372036854775808"},
        {Value("quote\" and \\"), "quote\" and \\"},
        {Array({Value(), true, "a\"b\\c\n\x01", Array({}), Map({})}), R"([null, true, "a\"b\\c\n\u0001", [], {}])"},
        {Array({Value(std::string("z\0", 2)), "\xE9"}), "[\"z\\u0000\", \"\xE9\"]"},
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
            Value outer;
            if (maps) {
                outer["a"] = std::move(deep);
                outer["b"] = "sibling";
            } else {
                outer[0] = "sibling";
                outer[1] = std::move(deep);
                outer[2] = 2.0;
            }
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
