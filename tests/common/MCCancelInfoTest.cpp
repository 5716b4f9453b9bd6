#include "modelcore/common/MCCancelInfo.h"

#include <gtest/gtest.h>

using MCCommon_930::MCQueryCancel;
using MCMath_930::MCCancelInfo;

namespace {

struct CountingQuery : MCQueryCancel {
    bool CheckCancel() override { return ++checks, answer; }
    bool PeekCancel() override { return ++peeks, answer; }
    bool answer = false;
    int checks = 0;
    int peeks = 0;
};

} // namespace

TEST(MCCancelInfo, LatchesTheFirstYesOfCheckCancel)
{
    CountingQuery query;
    MCCancelInfo info(&query);
    EXPECT_FALSE(info.IsCancel());
    query.answer = true;
    EXPECT_TRUE(info.WillCancel()); // a pending stop is seen but not remembered
    query.answer = false;
    EXPECT_FALSE(info.WillCancel());
    EXPECT_FALSE(info.IsCancel());
    EXPECT_EQ(query.checks, 2); // WillCancel peeks, IsCancel checks
    EXPECT_EQ(query.peeks, 2);

    query.answer = true;
    EXPECT_TRUE(info.IsCancel());
    query.answer = false;
    EXPECT_TRUE(info.IsCancel());
    EXPECT_TRUE(info.WillCancel());
    EXPECT_EQ(query.checks, 3); // no poll reaches the query any more
    EXPECT_EQ(query.peeks, 2);
}

TEST(MCCancelInfo, WorksWithoutAQueryAndKeepsTheLatchWhenItIsReplaced)
{
    MCCancelInfo info(nullptr);
    EXPECT_FALSE(info.IsCancel());
    EXPECT_FALSE(info.WillCancel());
    info.SetCancel();
    EXPECT_TRUE(info.IsCancel());

    CountingQuery query;
    info.SetCancelPtr(&query);
    EXPECT_EQ(info.GetCancelPtr(), &query);
    EXPECT_TRUE(info.IsCancel());
    EXPECT_EQ(query.checks, 0);

    MCCancelInfo copy(nullptr);
    copy = info;
    EXPECT_EQ(copy.GetCancelPtr(), &query);
    EXPECT_TRUE(copy.IsCancel());
}
