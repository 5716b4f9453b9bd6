#include "modelcore/common/Value.h"
#include "common/ValueBuilders.h"
#include "modelcore/common/MCException.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <bit>
#include <climits>
#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <sstream>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

using MCCommon_930::MCException;
using MCCommon_930::Value;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

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
        return std::to_string(exception.GetCode()) + " " + exception.GetMessage();
    }
    return "";
}

// One of every type, with content.
std::vector<Value> OneOfEach()
{
    return {Value(), Value(true), Value(-7), Value(2.5), Value("text"), Array({1, "a"}), Map({{"k", 1}})};
}

static_assert(sizeof(Value) == 16);
static_assert(std::is_nothrow_move_constructible_v<Value> && std::is_nothrow_move_assignable_v<Value>);
static_assert(!std::is_constructible_v<Value, const int*>, "a pointer must not become a bool");

} // namespace

TEST(Value, ConstantsHaveTheirBits)
{
    EXPECT_EQ(std::bit_cast<std::uint64_t>(Value::SYSMISVALUE), 0xFFEFFFFFFFFFFFFFu);
    EXPECT_EQ(std::bit_cast<std::uint64_t>(Value::MCVALUE_INFINITY), 0x7FF0000000000000u);
    EXPECT_EQ(std::bit_cast<std::uint64_t>(Value::EPSILON), 0x3CB00001DD9DC7D3u);
    EXPECT_EQ(Value::GetSysmisValue(), Value::SYSMISVALUE);
    EXPECT_EQ(Value::GetInfinity(), Value::MCVALUE_INFINITY);
    EXPECT_EQ(MCCommon_930::MCMV::gMissingValue, Value::SYSMISVALUE);
    EXPECT_TRUE(Value::NULL_VALUE.IsNull());
    EXPECT_FALSE(Value::BOOL_VALUE.GetBool());
    EXPECT_EQ(Value::INTEGER_VALUE.GetInteger(), 0);
    EXPECT_TRUE(Value::REAL_VALUE.IsSystemMissingValue());
    EXPECT_EQ(Value::STRING_VALUE.GetStringRef(), "");
}

TEST(Value, ConstructionAndAssignmentTakeTheTypeOfTheirArgument)
{
    const std::string zeros("a\0b", 3);
    EXPECT_EQ(Value(INT_MIN).GetInteger(), -2147483648LL); // sign-extended
    EXPECT_EQ(Value(INT_MAX).GetInteger(), 2147483647LL);
    EXPECT_EQ(Value(LLONG_MIN).GetInteger(), LLONG_MIN);
    EXPECT_EQ(Value(zeros).GetString(), zeros);
    EXPECT_EQ(Value(static_cast<const char*>(nullptr)).GetStringRef(), "");

    for (Value value : OneOfEach()) { // whatever it held before
        EXPECT_EQ((value = true).GetType(), 1);
        EXPECT_EQ((value = -1).GetInteger(), -1);
        EXPECT_EQ((value = 5LL).GetType(), 2);
        EXPECT_EQ((value = 1.5).GetType(), 3);
        EXPECT_EQ((value = "literal").GetType(), 4);
        value.SetValue(zeros);
        EXPECT_EQ(value.GetStringRef().size(), 3u);
    }
}

TEST(Value, MissingIsNullOrTheOneReal)
{
    EXPECT_TRUE(Value().IsMissing() && !Value().IsSystemMissingValue() && !Value().IsNumericValue());
    const Value missing(Value::SYSMISVALUE);
    EXPECT_TRUE(missing.IsMissing() && missing.IsSystemMissingValue() && missing.IsNumericValue());
    for (const double real : {-Value::MCVALUE_INFINITY, std::nan(""), std::nextafter(Value::SYSMISVALUE, 0.0), 0.0})
        EXPECT_TRUE(!Value(real).IsMissing() && Value(real).IsNumericValue()) << real;
    EXPECT_TRUE(!Value(0).IsMissing() && Value(0).IsNumericValue());
    for (const Value& value : {Value(false), Value(""), Array({Value()})})
        EXPECT_TRUE(!value.IsMissing() && !value.IsNumericValue()) << value;
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
    const char* const fromNull[] = {"",  "true", "3",         "0.5",
                                    "x", "[1]",  "{\"k\": 1}"}; // null is 0.0, not missing, at first
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
    const Value integer = -7;
    const std::string text = integer; // as text of any type renders
    EXPECT_EQ(text, "-7");
    EXPECT_EQ(Thrown([&] { Value(integer).Resize(2); }), kWrongType);
}

TEST(Value, AssertionsConvertOnlyWhereTheySaySo)
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

    for (Value value : OneOfEach()) {
        const bool wasMap = value.GetType() == 6;
        value.AssertMap(); // discards what is no map
        EXPECT_EQ(value.GetType(), 6);
        EXPECT_EQ(value.Size(), wasMap ? 1 : 0);
    }
}

TEST(Value, ArraysGrowAtTheirEnd)
{
    Value array;
    array[0] = 1;
    array[1]; // an index equal to the size appends null
    EXPECT_EQ(array.GetString(), "[1, null]");
    const Value& constant = array;
    EXPECT_TRUE(constant[2].IsNull());
    EXPECT_EQ(constant.Size(), 2);
    EXPECT_EQ(Thrown([&] { constant.AssertArray(2); }), "");
    for (const int index : {-1, 3, INT_MAX, INT_MIN}) {
        EXPECT_EQ(Thrown([&] { constant.AssertArray(index); }), kOutside) << index;
        EXPECT_EQ(Thrown([&] { constant[index]; }), kOutside) << index;
        EXPECT_EQ(Thrown([&] { array[index]; }), kOutside) << index;
    }
    array.Resize(4);
    EXPECT_EQ(array.GetString(), "[1, null, null, null]");
    array.Resize(1);
    EXPECT_EQ(array.GetString(), "[1]");
    array.Resize(-3);
    EXPECT_EQ(array.GetString(), "[]");
}

TEST(Value, MapsKeepKeysInByteOrder)
{
    Value map;
    map["b"] = 2;
    map["B"] = 1;
    map[""] = "empty";
    map[std::string("b\0", 2)];
    EXPECT_THAT(map.Names(), ElementsAre("", "B", "b", std::string("b\0", 2)));
    const Value& constant = map;
    EXPECT_TRUE(constant["unknown"].IsNull());
    EXPECT_EQ(constant.Size(), 4); // reading made no entry
    EXPECT_TRUE(constant.Contains("") && !constant.Contains("unknown"));
    EXPECT_EQ(constant["B"].GetInteger(), 1);
}

TEST(Value, ClearValueResetsToThePrototypeClearToNull)
{
    const char* const expected[] = {"", "false", "0", "-1.7976931348623157e+308", "", "[]", "{}"};
    for (Value value : OneOfEach()) {
        const int type = value.GetType();
        value.ClearValue();
        EXPECT_EQ(value.GetType(), type);
        EXPECT_EQ(value.GetString(), expected[type]);
        value.Clear();
        EXPECT_TRUE(value.IsNull());
        value.Invalidate();
        EXPECT_TRUE(value.IsNull());
    }
}

TEST(Value, CopiesAreDeepAndMovesLeaveNull)
{
    Value original = Array({"text", Map({{"k", Array({1})}})});
    Value copy(original);
    const std::unique_ptr<Value> clone(original.Clone());
    static_cast<std::string&>(original[0]) = "changed";
    original[1]["k"][0] = 99;
    EXPECT_EQ(copy.GetString(), R"(["text", {"k": [1]}])");
    EXPECT_EQ(clone->GetString(), copy.GetString());
    const Value moved(std::move(copy));
    EXPECT_TRUE(copy.IsNull()); // NOLINT(bugprone-use-after-move): null is what is promised
    EXPECT_EQ(moved.GetString(), clone->GetString());
}

TEST(Value, SourceMayBePartOfTheTarget)
{
    Value value = Array({Array({"inner", 2}), 3});
    value = value[0];
    EXPECT_EQ(value.GetString(), R"(["inner", 2])");
    value = std::move(value[0]);
    EXPECT_EQ(value.GetString(), "inner");
    value = value.GetStringRef().c_str() + 2;
    EXPECT_EQ(value.GetString(), "ner");
    value = *&value;
    EXPECT_EQ(value.GetString(), "ner");

    Value outer = Array({1});
    outer[1] = outer; // a copy of the whole into its own element
    EXPECT_EQ(outer.GetString(), "[1, [1, null]]");
    outer.SetValue(outer[1][0].GetString());
    EXPECT_EQ(outer.GetString(), "1");
    Value map = Map({{"k", "v"}});
    map = map["k"].GetStringRef();
    EXPECT_EQ(map.GetString(), "v");
}

TEST(Value, TextIsUnambiguousAndReadsBack)
{
    struct Case {
        Value value;
        const char* text;
    };
    const Case cases[] = {
        {Value(0.1), "0.1"},
        {Value(-0.0), "-0"},
        {Value(5.0), "5"},
        {Value(1e15), "1000000000000000"},
        {Value(1e16), "1e+16"},
        {Value(1e-5), "0.00001"},
        {Value(1e-6), "1e-06"},
        {Value(0.1 + 0.2), "0.30000000000000004"},
        {Value(9007199254740993.0), "9007199254740992"},
        {Value(4.9406564584124654e-324), "5e-324"},
        {Value(Value::MCVALUE_INFINITY), "inf"},
        {Value(-Value::MCVALUE_INFINITY), "-inf"},
        {Value(-std::nan("")), "nan"},
        {Value(LLONG_MIN), "-9223372036854775808"},
        {Value("quote\" and \\"), "quote\" and \\"},
        {Array({}), "[]"},
        {Array({Value(), true, "a\"b\\c\n\x01", Array({}), Map({})}), R"([null, true, "a\"b\\c\n\u0001", [], {}])"},
        {Array({Value(std::string("z\0", 2)), "\xE9"}), "[\"z\\u0000\", \"\xE9\"]"},
        {Map({{"b", 1}, {"a \"", Array({Map({{"", 0.5}}), 2})}}), R"({"a \"": [{"": 0.5}, 2], "b": 1})"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(c.value.GetString(), c.text);
        std::ostringstream displayed;
        displayed << c.value;
        EXPECT_EQ(displayed.str(), c.text);
    }
    std::ostringstream null;
    Value().Display(null);
    EXPECT_EQ(null.str(), "null");
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
        EXPECT_TRUE(copy == deep);
        EXPECT_FALSE(copy < deep);
        EXPECT_TRUE(copy <= deep); // exponential in the depth if each level asked twice
        EXPECT_TRUE(copy >= deep);
        EXPECT_EQ(copy.GetString(), deep.GetString());
        EXPECT_EQ(copy.GetString().size(), maps ? 1u + kLevels * (6u + 17u) : 1u + kLevels * (16u));

        Value* innermost = &copy;
        while (!innermost->IsNumericValue()) innermost = maps ? &(*innermost)["a"] : &(*innermost)[1];
        *innermost = 2;
        EXPECT_TRUE(deep < copy && copy > deep && deep != copy && !(deep >= copy));
    }
}
