#include "modelcore/common/Record.h"
#include "modelcore/common/MemoryRecordIterator.h"
#include "modelcore/common/RawData.h"
#include "modelcore/common/RawRecord.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <cstddef>
#include <numeric>
#include <utility>
#include <vector>

using MCCommon_930::MemoryRecordIterator;
using MCCommon_930::RawData;
using MCCommon_930::RawRecord;
using MCCommon_930::Record;
using ::testing::ElementsAre;

namespace {

std::vector<double> Elements(const Record& record)
{
    return {record.GetAll(), record.GetAll() + record.Size()};
}

} // namespace

TEST(Record, SizesAndDeepCopies)
{
    EXPECT_THAT(Elements(Record(-3)), ElementsAre(0.0)); // but a negative Resize gives none
    EXPECT_EQ(Record(0).Size(), 0);
    Record record(2);
    record[0] = 1.0;
    EXPECT_TRUE(record.Resize(2)); // the same count: nothing happens
    Record copy(record), assigned(7);
    assigned = record;
    record[0] = 9.0;
    EXPECT_THAT(Elements(copy), ElementsAre(1.0, 0.0));
    assigned = *&assigned;
    const Record moved(std::move(assigned));
    EXPECT_THAT(Elements(moved), ElementsAre(1.0, 0.0));
    EXPECT_EQ(assigned.Size(), 0); // NOLINT(bugprone-use-after-move): emptiness is what is promised
    EXPECT_TRUE(record.Resize(4) && record.Size() == 4 && record.Resize(-3) && record.Size() == 0);
}

TEST(RawRecord, CellsStoreTheirTypeAndResizeReplacesThem)
{
    RawData cell;
    EXPECT_TRUE(cell.GetStorgeType() == 0 && cell.IsNull());
    cell.SetReal(1.0, true);
    EXPECT_TRUE(cell.GetStorgeType() == 2 && cell.IsNull());
    cell.SetString(std::string("a\0b", 3), false);
    EXPECT_TRUE(cell.GetStorgeType() == 3 && !cell.IsNull() && cell.GetString().size() == 3);
    EXPECT_TRUE(cell.GetReal() == 1.0 && cell.GetInteger() == 0x3FF0000000000000LL); // nothing is converted
    cell.SetInteger(5, false);
    EXPECT_TRUE(cell.GetStorgeType() == 1 && !cell.IsNull() && cell.GetInteger() == 5);
    cell.SetDate(2.0, false);
    EXPECT_EQ(cell.GetStorgeType(), 4);
    cell.SetTime(3.0, false);
    EXPECT_EQ(cell.GetStorgeType(), 5);
    cell.SetTimestamp(4.0, false);
    EXPECT_EQ(cell.GetStorgeType(), 6);
    EXPECT_EQ(cell.GetDate() + cell.GetTime() + cell.GetTimestamp(), 12.0); // one field for all

    EXPECT_EQ(RawRecord(-2).Size(), 0);
    RawRecord record(2);
    record[1].SetString("kept", false);
    const RawRecord copy(record);
    EXPECT_TRUE(record.Resize(2) && record[1].GetString() == "kept");
    EXPECT_TRUE(record.Resize(3) && record[1].IsNull());
    EXPECT_EQ(copy[1].GetString(), "kept");
    EXPECT_TRUE(record.Resize(-1) && record.Size() == 0);
}

TEST(MemoryRecordIterator, DeliversLeadRowAndTrail)
{
    double lead[] = {1, 2};
    double data[] = {10, 11, 12, 20, 21, 22};
    double trail[] = {0.1, 0.2};
    MemoryRecordIterator rows(2, 3, lead, data, trail);
    MCCommon_930::MultiPassRecordIter& iterator = rows;
    for (int pass = 0; pass < 2; ++pass) {
        EXPECT_TRUE(iterator.HasMore() && iterator.GetFailReason() == 0);
        const Record* const first = iterator.Next();
        EXPECT_THAT(Elements(*first), ElementsAre(1, 10, 11, 12, 0.1));
        EXPECT_TRUE(iterator.HasMore());
        MemoryRecordIterator copy(rows);
        EXPECT_THAT(Elements(*copy.Next()), ElementsAre(2, 20, 21, 22, 0.2));
        EXPECT_THAT(Elements(*first), ElementsAre(1, 10, 11, 12, 0.1)); // the copy's row is its own
        EXPECT_EQ(iterator.Next(), first);                              // the iterator's is overwritten
        EXPECT_THAT(Elements(*first), ElementsAre(2, 20, 21, 22, 0.2));
        EXPECT_TRUE(!iterator.HasMore() && iterator.GetFailReason() == 1);
        EXPECT_EQ(iterator.Next(), nullptr);
        EXPECT_EQ(iterator.NewPass(), 0);
    }
    MemoryRecordIterator none(-1, 2, nullptr, nullptr, nullptr); // without rows: finished, until a new pass
    EXPECT_TRUE(!none.HasMore() && none.GetFailReason() == 1 && none.Next() == nullptr);
    EXPECT_TRUE(none.NewPass() == 0 && none.HasMore() && none.Next() == nullptr && !none.HasMore());
    MemoryRecordIterator tooWide(1, INT_MAX - 1, lead, data, trail); // no row has room for its columns
    EXPECT_TRUE(!tooWide.HasMore() && tooWide.Next() == nullptr);
    MemoryRecordIterator without(1, 0, lead, nullptr, nullptr);
    EXPECT_THAT(Elements(*without.Next()), ElementsAre(1));
}

TEST(MemoryRecordIterator, CopiesRowsOfAnyWidth)
{
    for (const int nVars : {0, 1, 3, 4, 5, 7, 8, 63, 64, 65, 200}) {
        double lead[] = {-1, -2}, trail[] = {-4, -5};
        std::vector<double> data(2 * static_cast<std::size_t>(nVars));
        std::iota(data.begin(), data.end(), 1.0);
        MemoryRecordIterator iterator(2, nVars, lead, data.data(), trail);
        for (int p = 0; p < 2; ++p) {
            std::vector<double> expected{lead[p]};
            expected.insert(expected.end(), data.begin() + p * nVars, data.begin() + (p + 1) * nVars);
            expected.push_back(trail[p]);
            EXPECT_EQ(Elements(*iterator.Next()), expected) << nVars;
        }
    }
}
