#include "modelcore/common/MCStatus.h"
#include "modelcore/common/MCException.h"
#include "modelcore/common/MCMV.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <type_traits>

using MCCommon_930::MCException;
using MCCommon_930::MCMV;
using MCCommon_930::MCStatus;

TEST(MCStatus, SeverityFollowsTheConstructor)
{
    const MCStatus ok, warning(7, true), error(7, false), warningZero(0, true);
    EXPECT_TRUE(ok.IsOK() && !ok.IsError() && !ok.IsWarning());
    EXPECT_TRUE(!warning.IsOK() && !warning.IsError() && warning.IsWarning());
    EXPECT_TRUE(!error.IsOK() && error.IsError() && !error.IsWarning());
    EXPECT_TRUE(warningZero.IsWarning()); // the severity decides, not the code
    EXPECT_EQ(ok.GetErrorCode(), 0);
    EXPECT_EQ(error.GetErrorCode(), 7);
    for (unsigned i = 0; i < 3; ++i) EXPECT_TRUE(error.GetDiscreteDatum(i) == 0 && error.GetScaleDatum(i) == 0.0);
    static_assert(!std::is_polymorphic_v<MCStatus>);
}

TEST(MCStatus, EqualityLooksAtEveryField)
{
    MCStatus base(3, true);
    EXPECT_NE(base, MCStatus(3, false));
    EXPECT_NE(base, MCStatus(4, true));
    for (unsigned i = 0; i < 3; ++i) {
        MCStatus discrete = base, scale = base;
        discrete.SetDiscreteDatum(i, 77);
        scale.SetScaleDatum(i, 77);
        EXPECT_NE(discrete, base) << i;
        EXPECT_NE(scale, base) << i;
    }
    MCStatus same = base;
    same.SetScaleDatum(1, -0.0);
    EXPECT_EQ(same, base); // as doubles, not as bits
    base.SetScaleDatum(0, std::nan(""));
    EXPECT_FALSE(base == base);
}

TEST(MCStatus, IntegersAreKeptInThirtyTwoBits)
{
    EXPECT_EQ(MCStatus(std::numeric_limits<std::int32_t>::min(), false).GetErrorCode(), -2147483647L - 1);
    if constexpr (sizeof(long) > 4) {
        const long wide = (1L << (sizeof(long) * 8 - 31)) + 5; // no bit of the larger power is among the low 32
        MCStatus status(wide, true);
        status.SetDiscreteDatum(0, wide);
        EXPECT_EQ(status.GetDiscreteDatum(0) + status.GetErrorCode(), 10);
    }
}

TEST(MCException, CarriesCodeAndMessage)
{
    EXPECT_EQ(MCException().GetCode(), 0);
    MCException copy;
    copy = MCException(14, "message");
    EXPECT_EQ(copy.GetCode(), 14);
    EXPECT_EQ(copy.GetMessage(), "message");
    EXPECT_STREQ(static_cast<const std::exception&>(copy).what(), "message");
}

TEST(MCMV, OnlyOneNumberIsMissing)
{
    EXPECT_EQ(std::bit_cast<std::uint64_t>(MCMV::gMissingValue), 0xFFEFFFFFFFFFFFFFu);
    EXPECT_TRUE(MCMV::IsMissing(MCMV::Missing()));
    const double infinity = std::numeric_limits<double>::infinity();
    for (const double x :
         {std::nextafter(MCMV::Missing(), 0.0), -infinity, infinity, std::nan(""), 0.0, -MCMV::Missing()})
        EXPECT_FALSE(MCMV::IsMissing(x)) << x;
}
