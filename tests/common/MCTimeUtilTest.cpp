#include "modelcore/common/MCTimeUtil.h"
#include "modelcore/common/MCMV.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <thread>

using MCCommon_930::MCTimeUtil;

TEST(MCTimeUtil, WallTimeRunsWhileTheProcessorRests)
{
    const double before = MCTimeUtil::WallTime();
    MCTimeUtil timer;
    std::this_thread::sleep_for(std::chrono::milliseconds(60));
    const double wall = timer.GetWallSeconds();
    EXPECT_GE(wall, 0.060);
    EXPECT_LT(timer.GetProcessorSeconds(), 0.5 * wall);
    EXPECT_GE(MCTimeUtil::WallTime() - before, 0.055);
    EXPECT_GT(before, 1.6e9); // seconds since 1970, not since the machine started

    timer.Start();
    EXPECT_LT(timer.GetWallSeconds(), MCTimeUtil::WallTime() - before);
}

TEST(MCTimeUtil, DurationsReadWell)
{
    struct Case {
        double seconds;
        const char* text;
    };
    const Case cases[] = {{0.0, "0.00 us"},
                          {2.5e-4, "250 us"},
                          {0.00099951, "1.00 ms"},
                          {0.0123, "12.3 ms"},
                          {0.99951, "1.00 s"},
                          {9.996, "10.0 s"},
                          {59.94, "59.9 s"},
                          {59.96, "1 min 00 s"},
                          {125.4, "2 min 05 s"},
                          {3599.5, "1 h 00 min 00 s"},
                          {10807, "3 h 00 min 07 s"},
                          {86399.6, "1 d 00 h 00 min"},
                          {2 * 86400 + 3661, "2 d 01 h 01 min"},
                          {-1.5, "-1.50 s"},
                          {HUGE_VAL, "unknown"},
                          {std::nan(""), "unknown"},
                          {MCCommon_930::MCMV::Missing(), "unknown"}};
    for (const Case& c : cases) EXPECT_EQ(MCTimeUtil::FormatDuration(c.seconds), c.text) << c.seconds;
}
