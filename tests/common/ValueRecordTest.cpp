#include "modelcore/common/ValueRecord.h"
#include "support/Growth.h"
#include "support/Testing.h"

#include <cctype>
#include <map>

using MCCommon_930::Value;
using MCCommon_930::ValueRecord;

namespace {

ValueRecord Person()
{
    ValueRecord record;
    record.Add("name", "Ada");
    record.Add("age", 36);
    record.Add("", 0.5);
    record.Add("Age", Value());
    return record;
}

// "name=text" of every field in order, from names and positions alone.
std::string Dump(const ValueRecord& record)
{
    std::string text;
    const std::vector<std::string> names = record.Names();
    EXPECT_EQ(static_cast<int>(names.size()), record.Size());
    for (int i = 0; i < record.Size(); ++i) {
        const std::string& name = names[static_cast<std::size_t>(i)];
        EXPECT_EQ(record.GetName(i), name);
        EXPECT_EQ(record.IndexOf(name), i);
        text += name + "=" + record[i].GetString() + ";";
    }
    return text;
}

// The lookup alone redefined, without regard to case.
class CaselessRecord : public ValueRecord {
public:
    int IndexOf(const std::string& name) const override
    {
        std::string lower = name;
        for (char& c : lower) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        return ValueRecord::IndexOf(lower);
    }
};

} // namespace

TEST(ValueRecord, LookupIsExactAndWritingOutsideIsLost)
{
    ValueRecord record = Person();
    EXPECT_EQ(Dump(record), "name=Ada;age=36;=0.5;Age=;");
    EXPECT_EQ(record.IndexOf("AGE"), -1);
    EXPECT_FALSE(record.Contains("age "));
    EXPECT_EQ(record.Get("").GetReal(), 0.5);
    EXPECT_TRUE(record.Get("unknown").IsNull() && std::as_const(record)["unknown"].IsNull());
    for (const int outside : {-1, 4})
        EXPECT_TRUE(record.Get(outside).IsNull() && std::as_const(record)[outside].IsNull() &&
                    record.GetName(outside).empty());
    record["age"] = 50;
    record[0] = "Bea";
    record["unknown"] = 1;
    record[4] = 1;
    EXPECT_TRUE(record[-1].IsNull()); // what was written there before is gone
    EXPECT_EQ(Dump(record), "name=Bea;age=50;=0.5;Age=;");
    ValueRecord copy(record);
    copy["name"] = "changed";
    EXPECT_EQ(Dump(record), "name=Bea;age=50;=0.5;Age=;");
}

// Names that share their first bytes, with zeros and the highest byte among them, added and removed at random.
TEST(ValueRecord, LookupEqualsThatOfAnOrderedMap)
{
    TestRandom random(3);
    ValueRecord record;
    std::map<std::string, int> values;
    for (int step = 0; step < 3000; ++step) {
        std::string name(static_cast<std::size_t>(6 + random.Below(5)), 'a');
        for (std::size_t i = 6; i < name.size(); ++i) name[i] = "\0a\xff"[random.Below(3)];
        if (random.Below(3) == 0) name.erase(0, 6);
        ASSERT_EQ(record.Contains(name), values.contains(name));
        if (random.Below(4) == 0) {
            ASSERT_EQ(record.Remove(name), values.erase(name) == 1);
        } else {
            record.Add(name, step);
            values[name] = step;
        }
        ASSERT_EQ(record.Size(), static_cast<int>(values.size()));
    }
    for (const auto& [name, value] : values) EXPECT_EQ(record.Get(name), value);
    Dump(record);
    ExpectLinearTime(20000, [](int size) { // each name goes before all others
        ValueRecord grown;
        for (int i = 0; i < size; ++i) grown.Add(std::to_string(999999 - i), i);
    });
}

TEST(ValueRecord, SetChecksTheTypeWhenAsked)
{
    ValueRecord record = Person();
    for (const Value& other : {Value("x"), Value(1.0), Value()}) // a real is another type than an integer
        EXPECT_FALSE(record.Set("age", other, true)) << other;
    EXPECT_FALSE(record.Set("unknown", Value(1), false));
    EXPECT_EQ(Dump(record), Dump(Person()));
    EXPECT_TRUE(record.Set("age", Value(37LL), true));
    EXPECT_TRUE(record.Set("Age", Value("x"), true)); // a null field takes any type
    EXPECT_TRUE(record.Set("name", Value(1), false));
    EXPECT_EQ(Dump(record), "name=1;age=37;=0.5;Age=x;");

    EXPECT_TRUE(record.SetValue("name", "a literal, no bool") && record.SetValue("age", false));
    EXPECT_TRUE(record.SetValue("", 1L << 20) && record.SetValue("", std::string_view("view")));
    EXPECT_TRUE(record.SetValue("", 1LL << 40) && record.SetValue("Age", 2.5));
    EXPECT_EQ(Dump(record), "name=a literal, no bool;age=false;=1099511627776;Age=2.5;");
    EXPECT_TRUE(record.SetMissingValue("name"));
    EXPECT_TRUE(record["name"].IsSystemMissingValue());
    EXPECT_TRUE(NoneOf({record.SetMissingValue("unknown"), record.SetValue("unknown", 1)}));
}

TEST(ValueRecord, AddReplacesInPlaceAndRemoveRenumbers)
{
    ValueRecord record = Person();
    EXPECT_EQ(record.Add("age", "forty"), 1);
    EXPECT_EQ(record.Add("last", record[0]), 4); // a value of the record itself
    EXPECT_EQ(Dump(record), "name=Ada;age=forty;=0.5;Age=;last=Ada;");
    EXPECT_FALSE(record.Remove("unknown"));
    EXPECT_TRUE(record.Remove("age") && record.Remove("last"));
    EXPECT_EQ(Dump(record), "name=Ada;=0.5;Age=;");
    EXPECT_EQ(record.Add("age", 1), 3);

    ValueRecord other;
    other.Add("z", 1);
    other.Add("name", "Bea");
    record.AddAll(other);
    record.AddAll(record);
    EXPECT_EQ(Dump(record), "name=Bea;=0.5;Age=;age=1;z=1;");
    record.ClearValues();
    EXPECT_EQ(Dump(record), "name=;=;Age=;age=;z=;");
    EXPECT_TRUE(record[0].IsNull());
    record.Clear();
    EXPECT_TRUE(record.Size() == 0 && !record.Contains("name") && record.Add("new", 1) == 0);
}

TEST(ValueRecord, RedefinedLookupReachesEveryOperation)
{
    CaselessRecord record;
    record.Add("age", 36);
    EXPECT_EQ(record.Add("AGE", 37), 0);
    EXPECT_TRUE(record.Contains("Age") && record.Get("Age") == 37 && record["aGe"] == 37);
    EXPECT_TRUE(record.SetValue("AGE", 38) && record.Remove("AGE") && record.Size() == 0);
}
