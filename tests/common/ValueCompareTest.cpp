#include "common/ValueBuilders.h"
#include "modelcore/common/Value.h"
#include "support/Testing.h"

using MCCommon_930::Value;

namespace {

struct Relation {
    Value a, b;
    bool equal, less, greater;
};

} // namespace

TEST(ValueCompare, IsZeroDiffTakesItsThreeStepsLiterally)
{
    const struct {
        double a, b, units;
        bool expected;
    } cases[] = {
        {0.0, -0.0, 0.0, true},
        {1e-300, 0.0, 1e10, false},      // next to an exact zero nothing else is zero
        {1.0, 1.0 + 0x1p-52, 1.0, true}, // one step apart is 2.22044...e-16, EPSILON is a little more
        {1.0, 1.0 + 0x1p-51, 1.0, false},
        {-1.0, -1.0 - 0x1p-51, 2.0, true},
        {2.0, 2.0, 0.0, true},
        {kNan, kNan, 1e300, false},
        {kInf, kInf, 100.0, false},
        {kInf, -kInf, 100.0, true},
        {kInf, 1.0, 100.0, true},
        {kInf, 0.0, 100.0, false},
        {1e308, -1e308, 100.0, false}, // the difference overflows
    };
    for (const auto& c : cases) {
        EXPECT_EQ(Value::IsZeroDiff(c.a, c.b, c.units), c.expected) << c.a << " " << c.b << " " << c.units;
        EXPECT_EQ(Value::IsZeroDiff(c.b, c.a, c.units), c.expected) << c.b << " " << c.a << " " << c.units;
    }
}

TEST(ValueCompare, OperatorsFollowTheRules)
{
    const double beside = std::nextafter(kMissing, 0.0);
    const Relation relations[] = {
        {Value(), Value(), false, false, false},
        {false, true, false, true, false},
        {-1, 1LL, false, true, false},
        {5, 5LL, true, false, false},
        {2.0, 2.0 * (1 + 1e-15), true, true, false}, // equal within tolerance and yet ordered
        {2.0, 2.0 * (1 + 1e-13), false, true, false},
        {1e-300, 0.0, false, false, true},
        {kMissing, kMissing, true, false, false},
        {kMissing, beside, false, false, false}, // system-missing is not ordered
        {kMissing, -kInf, false, false, false},
        {kMissing, kNan, false, false, false},
        {kNan, kNan, false, false, false},
        {kInf, kInf, false, false, false},
        {-kInf, kInf, true, true, false},
        {"abc", "abc", true, false, false},
        {"ab", "abc", false, true, false},
        {Value(std::string("a\0a", 3)), Value(std::string("a\0b", 3)), false, true, false},
        {"\x7f", "\x80", false, true, false}, // bytes are unsigned
        // Different types by their text.
        {10, "2", false, true, false},
        {1, 1.0, false, false, false}, // the same text: neither equal nor ordered
        {Value(), false, false, true, false},
        {Array({1}), Map({}), false, true, false}, // "[" before "{"
        // Containers by the first pair that differs.
        {Array({}), Array({}), true, false, false},
        {Array({1, 9}), Array({2, 0}), false, true, false},
        {Array({1, 2}), Array({1, 2, 0}), false, true, false},
        {Array({Value()}), Array({Value()}), false, false, false},   // nulls equal nothing
        {Array({kMissing, 1}), Array({2.0, 2}), false, true, false}, // an unordered pair leaves it to the next
        {Array({kNan, 1}), Array({kNan, 1}), false, false, false},
        {Array({Array({1, 5}), 1}), Array({Array({1, 4}), 2}), false, false, true},
        {Array({2.0}), Array({2.0 * (1 + 1e-15)}), true, true, false},
        {Map({{"a", 1}}), Map({{"a", 1}}), true, false, false},
        {Map({{"a", 1}}), Map({{"b", 0}}), false, true, false}, // the key comes before the value
        {Map({{"a", 1}, {"c", 0}}), Map({{"a", 1}, {"b", 9}}), false, false, true},
        {Map({{"a", 1}}), Map({{"a", 1}, {"b", 0}}), false, true, false},
        {Map({{"a", 2}}), Map({{"a", 1}, {"b", 0}}), false, false, true},
        {Map({{"a", Array({1, 2})}}), Map({{"a", Array({1, 3})}}), false, true, false},
    };
    for (const Relation& r : relations) { // every operator, in both directions, follows from equal, less and greater
        SCOPED_TRACE(r.a.GetString() + " and " + r.b.GetString());
        EXPECT_TRUE((r.a == r.b) == r.equal && (r.b == r.a) == r.equal && (r.a != r.b) == !r.equal);
        EXPECT_TRUE((r.a < r.b) == r.less && (r.b > r.a) == r.less);
        EXPECT_TRUE((r.a > r.b) == r.greater && (r.b < r.a) == r.greater);
        EXPECT_TRUE((r.a <= r.b) == (r.less || r.equal) && (r.a >= r.b) == (r.greater || r.equal));
    }
    const Value age = 41, name = "Ada"; // plain operands need no Value
    EXPECT_TRUE(age == 41 && 41 == age && age != 40 && age < 42 && age > 40 && age <= 41 && age >= 41 && age != 41.0);
    EXPECT_TRUE(name == "Ada" && name != std::string("ada") && name < "Bea");
}
