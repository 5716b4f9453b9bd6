#include "accumulators/AccumulatorsTesting.h"

#include <set>

using MCCommon_930::Value;

TEST(MCHashKey, KeysAreEqualWhenTheirValuesAre)
{
    Value list;
    list[0] = 1;
    Value other;
    other[0] = 1;
    const std::vector<std::pair<Value, Value>> equal = {
        {0.0, -0.0}, {kNan, -kNan}, {Value(), Value::SYSMISVALUE}, {"ab", std::string("ab")}, {7, 7LL}, {list, other}};
    for (const auto& [a, b] : equal) {
        EXPECT_TRUE(MCHashKey({a, 1}) == MCHashKey({b, 1})) << a.GetString();
        EXPECT_EQ(MCHashKey({a}).Hash(), MCHashKey({b}).Hash()) << a.GetString();
    }
    EXPECT_TRUE(MCHashKey(std::vector<double>{1.0, 2.0}) == MCHashKey({1.0, 2.0}));
    // Each differs from all others; equal texts in different places and near numbers among them.
    const double next = std::nextafter(1.0, 2.0);
    const std::vector<Value> alone = {Value(), 1,     1.0, next, true, "1", "abc", std::string("abc\0", 4),
                                      list,    "[1]", kNan};
    std::vector<std::vector<Value>> different = {{},          {"a", "bc"}, {"a", "b"}, {"a\4b"},          {"ab", "c"},
                                                 {"", "abc"}, {1, 2},      {2, 1},     {Value(), Value()}};
    for (const Value& value : alone) different.push_back({value});
    const std::vector<Value> whole{-7, 1.5, true, false, std::string("abc\0", 4), ""};
    EXPECT_EQ(MCHashKey(whole).GetValues(), whole);
    const std::vector<Value> second = MCHashKey({Value(), 2}).GetValues();
    EXPECT_TRUE(second.size() == 2 && second[0].IsNull() && second[1] == Value(2));
    std::set<std::uint64_t> hashes;
    for (std::size_t i = 0; i < different.size(); ++i) {
        hashes.insert(MCHashKey(different[i]).Hash());
        for (std::size_t j = 0; j < i; ++j)
            EXPECT_FALSE(MCHashKey(different[i]) == MCHashKey(different[j])) << i << ", " << j;
    }
    EXPECT_EQ(hashes.size(), different.size());
}

TEST(MCHashKey, HashesSpreadOverLowBits)
{
    std::vector<int> buckets(64);
    MCHashKey key; // filled again and again
    for (int i = 0; i < 6400; ++i) {
        key.Clear();
        key.Append(i);
        key.Append(1);
        ++buckets[std::hash<MCHashKey>()(key) % 64];
    }
    EXPECT_TRUE(key == MCHashKey({6399, 1}) && key.Size() == 2);
    for (const int count : buckets) EXPECT_NEAR(count, 100, 60); // 6 standard deviations
}
