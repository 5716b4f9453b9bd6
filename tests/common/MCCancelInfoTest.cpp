#include "modelcore/common/MCCancelInfo.h"
#include "support/Testing.h"

using MCMath_930::MCCancelInfo;

namespace {

struct CountingQuery : MCCommon_930::MCQueryCancel {
    bool CheckCancel() override { return ++checks, answer; }
    bool PeekCancel() override { return ++peeks, answer; }
    bool answer = false;
    int checks = 0, peeks = 0;
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
    EXPECT_TRUE(NoneOf({info.WillCancel(), info.IsCancel()}));
    query.answer = true;
    EXPECT_TRUE(info.IsCancel());
    query.answer = false;
    EXPECT_TRUE(info.IsCancel() && info.WillCancel());
    EXPECT_TRUE(query.checks == 3 && query.peeks == 2); // no poll reaches the query any more

    MCCancelInfo without(nullptr);
    EXPECT_TRUE(NoneOf({without.IsCancel(), without.WillCancel()}));
    without.SetCancel();
    without.SetCancelPtr(&query); // the latch stays
    EXPECT_TRUE(without.IsCancel() && query.checks == 3);
}
