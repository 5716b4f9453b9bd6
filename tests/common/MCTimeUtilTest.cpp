#include "modelcore/common/MCTimeUtil.h"
#include "support/Testing.h"

#include <chrono>
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
    EXPECT_GE(timer.GetProcessorSeconds(), 0.0);
    EXPECT_GE(MCTimeUtil::WallTime() - before, 0.055);
    EXPECT_GT(before, 1.6e9); // seconds since 1970, not since the machine started

    timer.Start();
    EXPECT_LT(timer.GetWallSeconds(), MCTimeUtil::WallTime() - before);
}

TEST(MCTimeUtil, DurationsReadWell)
{
    using Case = std::pair<double, std::string>;
    for (const auto& [seconds, text] :
         {Case{0.0, "0.00 us"}, Case{2.5e-4, "250 us"}, Case{0.00099951, "1.00 ms"}, Case{0.0123, "12.3 ms"},
          Case{0.99951, "1.00 s"}, Case{9.996, "10.0 s"}, Case{59.94, "59.9 s"}, Case{59.96, "1 min 00 s"},
          Case{125.4, "2 min 05 s"}, Case{3599.5, "1 h 00 min 00 s"}, Case{10807, "3 h 00 min 07 s"},
          Case{86399.6, "1 d 00 h 00 min"}, Case{2 * 86400 + 3661, "2 d 01 h 01 min"}, Case{-1.5, "-1.50 s"},
          Case{-0.0, "0.00 us"}, Case{-1e-12, "0.00 us"}, Case{kInf, "unknown"}, Case{kNan, "unknown"},
          Case{kMissing, "unknown"}})
        EXPECT_EQ(MCTimeUtil::FormatDuration(seconds), text) << seconds;
}
