// Objects of this folder's classes after a move and after an assignment that ran out of memory.
#include "common/ValueBuilders.h"
#include "modelcore/common/MCBitSet.h"
#include "modelcore/common/MCWarnings.h"
#include "modelcore/common/MemoryRecordIterator.h"
#include "modelcore/common/RawRecord.h"
#include "modelcore/common/ValueRecord.h"
#include "support/MovedFrom.h"
#include "support/Testing.h"

using namespace MCCommon_930;
using MCMath_930::MCBitSet;

namespace {

const auto kShow = [](const auto& object) { return Shown(object); };

MCBitSet Flags(int size)
{
    MCBitSet set(size);
    set.SetAll();
    return set;
}

ValueRecord Fields(int size, const std::string& lead)
{
    ValueRecord record;
    for (int i = 0; i < size; ++i) record.Add(lead + std::to_string(i), i);
    return record;
}

MCStatus Warning(int code)
{
    return {code, true};
}

MCWarnings Warnings(int count)
{
    MCWarnings warnings;
    for (int i = 0; i < count; ++i) {
        warnings.AddWarning(Warning(i), MCWarnings::DestBoth);
        warnings.AddParameter(Warning(i), "a parameter with more text than a small string holds");
    }
    return warnings;
}

/// A record whose elements have been filled in.
template <class T>
T Filled(int size)
{
    T record(size);
    for (int i = 0; i < size; ++i)
        if constexpr (std::is_same_v<T, Record>)
            record[i] = 1.5;
        else
            record[i].SetString("a cell with more text than a small string holds", false);
    return record;
}

constexpr double kData[] = {1, 2, 3, 4, 5, 6};

MemoryRecordIterator Rows(int nVars)
{
    MemoryRecordIterator rows(2, nVars, kData, kData, nullptr);
    rows.Next();
    return rows;
}

// The number of rows to come and what is in them.
std::string Remaining(const MemoryRecordIterator& rows)
{
    MemoryRecordIterator copy(rows);
    std::string text;
    while (const Record* const row = copy.Next()) text += Shown(*row);
    return text;
}

} // namespace

TEST(WholeObjects, MovedFromIsEmptyAndUsable)
{
    ExpectEmptyAfterMove(Flags(70), MCBitSet(), kShow, [](MCBitSet& set) {
        set.Set(69);
        set.SetAll();
        set.Clear();
        EXPECT_TRUE(!set.IsIn(69) && set.Count() == 0 && set.Next(0) == -1 && set.Resize(33) && set.Set(32));
    });
    ExpectEmptyAfterMove(Fields(9, "field"), ValueRecord(), kShow, [](ValueRecord& record) {
        record.ClearValues();
        record.AddAll(Fields(3, "z"));
        EXPECT_TRUE(!record.Remove("field0") || record.Size() > 3);
        EXPECT_EQ(record.Add("z1", 5), record.IndexOf("z1"));
    });
    ExpectEmptyAfterMove(Warnings(3), MCWarnings(), kShow, [](MCWarnings& warnings) {
        warnings.AddWarnings(warnings);
        warnings.AddWarning(Warning(2), MCWarnings::DestBoth);
        warnings.AddParameter(Warning(2), 1);
        EXPECT_TRUE(warnings.HasParameter(Warning(2)) && !warnings.GetParameters(Warning(2)).empty());
        warnings.ClearWarnings();
    });
    ExpectEmptyAfterMove(Filled<Record>(3), Record(0), kShow,
                         [](Record& r) { EXPECT_TRUE(r.Resize(4) && r.Size() == 4); });
    ExpectEmptyAfterMove(Filled<RawRecord>(3), RawRecord(0), kShow,
                         [](RawRecord& r) { EXPECT_TRUE(r.Resize(4) && r[3].IsNull()); });
    ExpectEmptyAfterMove(
        Map({{"k", Array({1, "text"})}}), Value(), [](const Value& value) { return value.GetString(); },
        [](Value& value) { value[value.GetType() == 6 ? "n" : "k"] = 1; });
    MemoryRecordIterator rows = Rows(2), taken(std::move(rows)); // the arrays are the caller's: moving copies
    EXPECT_EQ(Remaining(rows), Remaining(taken));                // NOLINT(bugprone-use-after-move)
}

TEST(WholeObjects, AssignmentWithoutMemoryLeavesThemAsTheyWere)
{
    ExpectAssignmentIsWhole(Flags(3), Flags(70), kShow);
    ExpectAssignmentIsWhole(Fields(2, "a"), Fields(9, "b"), kShow);
    ExpectAssignmentIsWhole(Warnings(1), Warnings(4), kShow);
    ExpectAssignmentIsWhole(Filled<Record>(2), Filled<Record>(5), kShow);
    ExpectAssignmentIsWhole(Filled<RawRecord>(2), Filled<RawRecord>(5), kShow);
    ExpectAssignmentIsWhole(Array({1}), Map({{"k", Array({1, "x"})}}),
                            [](const Value& value) { return value.GetString(); });
    ExpectAssignmentIsWhole(Rows(1), Rows(3), Remaining);
}

TEST(WholeObjects, OperationsWithoutMemoryChangeNothing)
{
    const auto addFields = [](ValueRecord& record) {
        ValueRecord added = Fields(9, "b");
        added.Add("a3", "another value");
        record.AddAll(added);
    };
    ExpectWholeWhenMemoryRunsOut(Fields(7, "a"), ValueRecord(), addFields, kShow);
    const auto whole = [](auto change) { ExpectWholeWhenMemoryRunsOut(Warnings(2), MCWarnings(), change, kShow); };
    const std::vector<MCStatus> two{Warning(8), Warning(9)};
    whole([](MCWarnings& warnings) { warnings.AddWarning(Warning(7), MCWarnings::DestBoth); });
    whole([&two](MCWarnings& warnings) { warnings.AddWarnings(two); });
    whole([](MCWarnings& warnings) { warnings.AddWarnings(Warnings(4)); });
    whole([](MCWarnings& warnings) { warnings.AddParameter(Warning(9), std::string(40, 'x')); });
}
