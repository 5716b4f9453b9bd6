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
        value = true;
        EXPECT_EQ(value.GetType(), 1);
        value.SetValue(-1);
        EXPECT_EQ(value.GetType(), 2);
        EXPECT_EQ(value.GetInteger(), -1);
        value = 5LL;
        EXPECT_EQ(value.GetType(), 2);
        value = 1.5;
        EXPECT_EQ(value.GetType(), 3);
        value = "literal";
        EXPECT_EQ(value.GetType(), 4);
        value.SetValue(zeros);
        EXPECT_EQ(value.GetStringRef().size(), 3u);
    }
}

TEST(Value, MissingIsNullOrTheOneReal)
{
    const double infinity = Value::MCVALUE_INFINITY;
    struct Case {
        Value value;
        bool missing, systemMissing, numeric;
    };
    const Case cases[] = {
        {Value(), true, false, false},          {Value(Value::SYSMISVALUE), true, true, true},
        {Value(-infinity), false, false, true}, {Value(std::nan("")), false, false, true},
        {Value(0), false, false, true},         {Value(false), false, false, false},
        {Value(""), false, false, false},       {Array({Value()}), false, false, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.value.GetString());
        EXPECT_EQ(c.value.IsMissing(), c.missing);
        EXPECT_EQ(c.value.IsSystemMissingValue(), c.systemMissing);
        EXPECT_EQ(c.value.IsNumericValue(), c.numeric);
    }
}

TEST(Value, ReadersRefuseEveryOtherType)
{
    for (const Value& value : OneOfEach()) {
        SCOPED_TRACE(value.GetString());
        const int type = value.GetType();
        EXPECT_EQ(Thrown([&] { value.GetBool(); }), type == 1 ? "" : kWrongType);
        EXPECT_EQ(Thrown([&] { value.GetInteger(); }), type == 2 ? "" : kWrongType);
        EXPECT_EQ(Thrown([&] { value.GetReal(); }), type == 3 || type == 0 ? "" : kWrongType);
        EXPECT_EQ(Thrown([&] { value.GetStringRef(); }), type == 4 ? "" : kWrongType);
        EXPECT_EQ(Thrown([&] { value.GetString(); }), "");
        EXPECT_EQ(Thrown([&] { value[0]; }), type == 5 ? "" : kNoArray);
        EXPECT_EQ(Thrown([&] { value["k"]; }), type == 6 ? "" : kWrongType);
        EXPECT_EQ(Thrown([&] { value.AssertTypeOrInvalid(static_cast<std::uint16_t>(type)); }), "");
        EXPECT_EQ(value.Size(), type == 5 ? 2 : type == 6 ? 1 : 0);
        EXPECT_EQ(value.Contains("k"), type == 6);
        EXPECT_EQ(value.Names().size(), type == 6 ? 1u : 0u);
    }
    EXPECT_EQ(Value().GetReal(), Value::SYSMISVALUE);
    const double real = std::as_const(OneOfEach()[3]);
    const std::string text = std::as_const(OneOfEach()[2]); // as text of any type renders
    EXPECT_EQ(real, 2.5);
    EXPECT_EQ(text, "-7");
}

TEST(Value, ReferencesWriteThroughAndConvertNullAlone)
{
    Value b, i, r, s;
    static_cast<bool&>(b) = true;
    static_cast<long long&>(i) += 3;
    static_cast<double&>(r) += 0.5; // null became 0.0, not system-missing
    static_cast<std::string&>(s) += "x";
    EXPECT_TRUE(b.GetBool());
    EXPECT_EQ(i.GetInteger(), 3);
    EXPECT_EQ(r.GetReal(), 0.5);
    EXPECT_EQ(s.GetStringRef(), "x");

    for (Value value : OneOfEach()) {
        if (value.IsNull()) continue;
        const std::string before = value.GetString();
        const int type = value.GetType();
        EXPECT_EQ(Thrown([&] { static_cast<void>(static_cast<bool&>(value)); }), type == 1 ? "" : kWrongType);
        EXPECT_EQ(Thrown([&] { static_cast<void>(static_cast<long long&>(value)); }), type == 2 ? "" : kWrongType);
        EXPECT_EQ(Thrown([&] { static_cast<void>(static_cast<double&>(value)); }), type == 3 ? "" : kWrongType);
        EXPECT_EQ(Thrown([&] { static_cast<void>(static_cast<std::string&>(value)); }), type == 4 ? "" : kWrongType);
        EXPECT_EQ(Thrown([&] { value[0]; }), type == 5 ? "" : kWrongType);
        EXPECT_EQ(Thrown([&] { value["k"]; }), type == 6 ? "" : kWrongType);
        EXPECT_EQ(Thrown([&] { value.Resize(2); }), type == 5 ? "" : kWrongType);
        EXPECT_EQ(value.GetString(), before); // nothing refused has changed it
    }
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
