#include "modelcore/common/Record.h"
#include "modelcore/common/MemoryRecordIterator.h"
#include "modelcore/common/RawData.h"
#include "modelcore/common/RawRecord.h"
#include "support/Testing.h"

#include <gmock/gmock.h>

#include <climits>
#include <numeric>

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
    EXPECT_THAT(Elements(assigned), ElementsAre(1.0, 0.0));
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
    EXPECT_TRUE(cell.GetStorgeType() == 4 && cell.GetDate() == 2.0);
    cell.SetTime(3.0, false);
    EXPECT_TRUE(cell.GetStorgeType() == 5 && cell.GetTime() == 3.0);
    cell.SetTimestamp(4.0, false);
    EXPECT_TRUE(cell.GetStorgeType() == 6 && cell.GetTimestamp() == 4.0);
    const auto shown = [&cell](const std::string& type, const std::string& value) {
        EXPECT_EQ(Shown(cell), "RawData display start\nStorage type: " + type +
                                   "\nNull indicator: false\nValue: " + value + "\nRawData display end\n");
    };
    shown("6", "4");
    cell.SetInteger(-7, false);
    shown("1", "-7");
    cell.SetString(static_cast<const char*>(nullptr), false);
    shown("3", "");

    EXPECT_EQ(RawRecord(-2).Size(), 0);
    RawRecord record(2);
    record[1].SetString("kept", false);
    const RawRecord copy(record);
    EXPECT_TRUE(record.Resize(2) && record[1].GetString() == "kept");
    EXPECT_TRUE(record.Resize(3) && record[1].IsNull() && copy[1].GetString() == "kept");
    EXPECT_TRUE(record.Resize(-1) && record.Size() == 0);
}

// All widths on both sides of the copy's pieces, with and without the column at the end, in two passes.
TEST(MemoryRecordIterator, DeliversLeadRowAndTrail)
{
    const double lead[] = {-1, -2}, trail[] = {-4, -5};
    for (const int nVars : {0, 1, 3, 4, 5, 7, 8, 63, 64, 65, 200})
        for (const double* const last : {trail, static_cast<const double*>(nullptr)}) {
            std::vector<double> data(2 * static_cast<std::size_t>(nVars));
            std::iota(data.begin(), data.end(), 1.0);
            MemoryRecordIterator rows(2, nVars, lead, data.data(), last);
            MCCommon_930::MultiPassRecordIter& iterator = rows;
            const auto expected = [&](int p) {
                std::vector<double> row{lead[p]};
                row.insert(row.end(), data.begin() + p * nVars, data.begin() + (p + 1) * nVars);
                if (last != nullptr) row.push_back(last[p]);
                return row;
            };
            for (int pass = 0; pass < 2; ++pass) {
                EXPECT_TRUE(iterator.HasMore() && iterator.GetFailReason() == 0);
                const Record* const first = iterator.Next();
                EXPECT_EQ(Elements(*first), expected(0)) << nVars;
                EXPECT_TRUE(iterator.HasMore());
                MemoryRecordIterator copy(rows);
                EXPECT_EQ(Elements(*copy.Next()), expected(1)) << nVars;
                EXPECT_EQ(Elements(*first), expected(0)); // the copy's row is its own
                EXPECT_EQ(iterator.Next(), first);        // the iterator's is overwritten
                EXPECT_EQ(Elements(*first), expected(1)) << nVars;
                EXPECT_TRUE(!iterator.HasMore() && iterator.GetFailReason() == 1 && iterator.Next() == nullptr);
                EXPECT_EQ(iterator.NewPass(), 0);
            }
        }
    MemoryRecordIterator none(-1, 2, nullptr, nullptr, nullptr); // without rows: finished, until a new pass
    EXPECT_TRUE(!none.HasMore() && none.GetFailReason() == 1 && none.Next() == nullptr);
    EXPECT_TRUE(none.NewPass() == 0 && none.HasMore() && none.Next() == nullptr && !none.HasMore());
    MemoryRecordIterator tooWide(1, INT_MAX - 1, lead, lead, trail); // no row has room for its columns
    EXPECT_TRUE(!tooWide.HasMore() && tooWide.Next() == nullptr);
}
