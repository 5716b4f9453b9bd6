#include "modelcore/common/Record.h"
#include "modelcore/common/MemoryRecordIterator.h"
#include "modelcore/common/RawData.h"
#include "modelcore/common/RawRecord.h"
#include "support/DisplayCapture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <bit>
#include <cstddef>
#include <cstdint>
#include <numeric>
#include <utility>
#include <vector>

using MCCommon_930::MemoryRecordIterator;
using MCCommon_930::RawData;
using MCCommon_930::RawRecord;
using MCCommon_930::Record;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

namespace {

std::vector<double> Elements(const Record& record)
{
    return {record.GetAll(), record.GetAll() + record.Size()};
}

} // namespace

TEST(Record, NegativeSizeIsOneElementButNegativeResizeNone)
{
    EXPECT_THAT(Elements(Record(3)), ElementsAre(0.0, 0.0, 0.0));
    EXPECT_THAT(Elements(Record(-3)), ElementsAre(0.0));
    EXPECT_EQ(Record(0).Size(), 0);
    Record record(2);
    record[1] = 5.0;
    EXPECT_TRUE(record.Resize(2));
    EXPECT_EQ(record[1], 5.0); // the same count: nothing happens
    EXPECT_TRUE(record.Resize(4));
    EXPECT_EQ(record.Size(), 4);
    EXPECT_TRUE(record.Resize(-3));
    EXPECT_EQ(record.Size(), 0);
}

TEST(Record, CopiesAreDeep)
{
    Record record(2);
    record[0] = 1.0;
    Record copy(record), assigned(7);
    assigned = record;
    record[0] = 9.0;
    EXPECT_THAT(Elements(copy), ElementsAre(1.0, 0.0));
    EXPECT_THAT(Elements(assigned), ElementsAre(1.0, 0.0));
    assigned = *&assigned;
    const Record moved(std::move(assigned));
    EXPECT_THAT(Elements(moved), ElementsAre(1.0, 0.0));
    EXPECT_EQ(assigned.Size(), 0); // NOLINT(bugprone-use-after-move): emptiness is what is promised
}

TEST(RawData, EachSetterStoresItsTypeAndNothingIsConverted)
{
    RawData cell;
    EXPECT_TRUE(cell.GetStorgeType() == 0 && cell.IsNull() && cell.GetInteger() == 0 && cell.GetString().empty());
    cell.SetInteger(5, false);
    EXPECT_TRUE(cell.GetStorgeType() == 1 && !cell.IsNull() && cell.GetInteger() == 5);
    EXPECT_EQ(std::bit_cast<std::uint64_t>(cell.GetReal()), 5u); // the same 8 bytes
    cell.SetReal(1.0, true);
    EXPECT_TRUE(cell.GetStorgeType() == 2 && cell.IsNull() && cell.GetInteger() == 0x3FF0000000000000LL);
    cell.SetString(std::string("a\0b", 3), false);
    EXPECT_TRUE(cell.GetStorgeType() == 3 && cell.GetString().size() == 3 && cell.GetReal() == 1.0); // both fields
    cell.SetDate(2.0, false);
    EXPECT_EQ(cell.GetStorgeType(), 4);
    cell.SetTime(3.0, false);
    EXPECT_EQ(cell.GetStorgeType(), 5);
    cell.SetTimestamp(4.0, false);
    cell.SetIsNull(true);
    EXPECT_TRUE(cell.GetStorgeType() == 6 && cell.IsNull());
    EXPECT_EQ(cell.GetDate() + cell.GetTime() + cell.GetTimestamp(), 12.0); // one field for all
}

TEST(RawRecord, ResizeReplacesAllCells)
{
    EXPECT_EQ(RawRecord(-2).Size(), 0);
    RawRecord record(2);
    record[1].SetString("kept", false);
    const RawRecord copy(record);
    EXPECT_TRUE(record.Resize(2));
    EXPECT_EQ(record[1].GetString(), "kept");
    EXPECT_TRUE(record.Resize(3));
    EXPECT_TRUE(record[1].IsNull());
    EXPECT_EQ(record.GetAll() + 1, &record[1]);
    EXPECT_EQ(copy[1].GetString(), "kept");
    EXPECT_TRUE(record.Resize(-1));
    EXPECT_EQ(record.Size(), 0);
}

TEST(MemoryRecordIterator, DeliversLeadRowAndTrail)
{
    double lead[] = {1, 2};
    double data[] = {10, 11, 12, 20, 21, 22};
    double trail[] = {0.1, 0.2};
    MemoryRecordIterator rows(2, 3, lead, data, trail);
    MCCommon_930::MultiPassRecordIter& iterator = rows;
    for (int pass = 0; pass < 2; ++pass) {
        EXPECT_TRUE(iterator.HasMore());
        EXPECT_EQ(iterator.GetFailReason(), 0);
        const Record* const first = iterator.Next();
        EXPECT_THAT(Elements(*first), ElementsAre(1, 10, 11, 12, 0.1));
        EXPECT_TRUE(iterator.HasMore());
        MemoryRecordIterator copy(rows);
        EXPECT_THAT(Elements(*copy.Next()), ElementsAre(2, 20, 21, 22, 0.2));
        EXPECT_THAT(Elements(*first), ElementsAre(1, 10, 11, 12, 0.1)); // the copy's row is its own
        EXPECT_EQ(iterator.Next(), first);                              // the iterator's is overwritten
        EXPECT_THAT(Elements(*first), ElementsAre(2, 20, 21, 22, 0.2));
        EXPECT_FALSE(iterator.HasMore());
        EXPECT_EQ(iterator.GetFailReason(), 1);
        EXPECT_EQ(iterator.Next(), nullptr);
        EXPECT_EQ(iterator.NewPass(), 0);
    }
    MemoryRecordIterator without(1, 0, lead, nullptr, nullptr);
    EXPECT_THAT(Elements(*without.Next()), ElementsAre(1));

    DisplayCapture capture;
    without.Display();
    EXPECT_THAT(capture.Text(), HasSubstr("Number of variables: 0\nTrailing column indicator: false\n"
                                          "Position of the next record: 1\nFinished indicator: 1\n"));
}

TEST(MemoryRecordIterator, CopiesRowsOfAnyWidth)
{
    for (const int nVars : {0, 1, 3, 4, 5, 7, 8, 63, 64, 65, 200}) {
        const auto width = static_cast<std::size_t>(nVars);
        std::vector<double> lead{-1, -2, -3}, data(3 * width), trail{-4, -5, -6};
        std::iota(data.begin(), data.end(), 1.0);
        MemoryRecordIterator iterator(3, nVars, lead.data(), data.data(), trail.data());
        for (std::size_t p = 0; p < 3; ++p) {
            std::vector<double> expected{lead[p]};
            expected.insert(expected.end(), data.begin() + static_cast<std::ptrdiff_t>(p * width),
                            data.begin() + static_cast<std::ptrdiff_t>((p + 1) * width));
            expected.push_back(trail[p]);
            EXPECT_EQ(Elements(*iterator.Next()), expected) << nVars;
        }
    }
}

TEST(MemoryRecordIterator, WithoutRowsItStartsFinishedUntilANewPass)
{
    for (const int nRecords : {0, -1}) {
        MemoryRecordIterator iterator(nRecords, 2, nullptr, nullptr, nullptr);
        EXPECT_FALSE(iterator.HasMore());
        EXPECT_EQ(iterator.GetFailReason(), 1);
        EXPECT_EQ(iterator.Next(), nullptr);
        EXPECT_EQ(iterator.NewPass(), 0);
        EXPECT_TRUE(iterator.HasMore());
    }
}
