#include "modelcore/common/MCStatus.h"
#include "modelcore/common/MCException.h"
#include "modelcore/common/MCMV.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
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
    for (unsigned i = 0; i < 3; ++i) {
        EXPECT_EQ(error.GetDiscreteDatum(i), 0);
        EXPECT_EQ(error.GetScaleDatum(i), 0.0);
    }
    static_assert(!std::is_polymorphic_v<MCStatus>);
}

TEST(MCStatus, EqualityLooksAtEveryField)
{
    MCStatus base(3, true);
    base.SetDiscreteDatum(2, -9);
    base.SetScaleDatum(1, 0.5);
    MCStatus same = base;
    EXPECT_EQ(same, base);
    EXPECT_NE(base, MCStatus(3, true));
    EXPECT_NE(MCStatus(3, true), MCStatus(3, false));
    EXPECT_NE(MCStatus(3, true), MCStatus(4, true));
    for (unsigned i = 0; i < 3; ++i) {
        MCStatus other = base;
        other.SetDiscreteDatum(i, 77);
        EXPECT_NE(other, base) << i;
        other = base;
        other.SetScaleDatum(i, 77);
        EXPECT_NE(other, base) << i;
    }
    same.SetScaleDatum(1, -0.0);
    base.SetScaleDatum(1, 0.0);
    EXPECT_EQ(same, base); // as doubles, not as bits
    base.SetScaleDatum(0, std::nan(""));
    EXPECT_FALSE(base == base);
}

TEST(MCStatus, IntegersAreKeptInThirtyTwoBits)
{
    MCStatus status(std::numeric_limits<std::int32_t>::min(), false);
    EXPECT_EQ(status.GetErrorCode(), std::numeric_limits<std::int32_t>::min());
    if constexpr (sizeof(long) > 4) {
        const long wide = (1L << (sizeof(long) * 8 - 31)) + 5; // no bit of the larger power is among the low 32
        status.SetDiscreteDatum(0, wide);
        EXPECT_EQ(status.GetDiscreteDatum(0), 5);
        EXPECT_EQ(MCStatus(wide, true).GetErrorCode(), 5);
    }
}

TEST(MCException, CarriesCodeAndMessage)
{
    EXPECT_EQ(MCException().GetCode(), 0);
    EXPECT_EQ(MCException().GetMessage(), "");
    const MCException thrown(14, std::string("two\0parts", 9));
    MCException copy;
    copy = thrown;
    EXPECT_EQ(copy.GetCode(), 14);
    EXPECT_EQ(copy.GetMessage(), std::string("two\0parts", 9));
    EXPECT_STREQ(static_cast<const std::exception&>(copy).what(), "two");
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
