#include "modelcore/common/MCWarnings.h"
#include "support/Growth.h"
#include "support/Testing.h"

#include <gmock/gmock.h>

#include <limits>

using MCCommon_930::MCStatus;
using MCCommon_930::MCWarnings;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(MCStatus, TheSeverityDecidesAndEqualityLooksAtEveryField)
{
    const auto kind = [](const MCStatus& s) { return s.IsOK() + 2 * s.IsWarning() + 4 * s.IsError(); };
    EXPECT_TRUE(kind(MCStatus()) == 1 && kind(MCStatus(0, true)) == 2 && kind(MCStatus(7, false)) == 4);
    MCStatus base(3, true);
    EXPECT_TRUE(base != MCStatus(3, false) && base != MCStatus(4, true));
    for (unsigned i = 0; i < 3; ++i) {
        MCStatus discrete = base, scale = base;
        discrete.SetDiscreteDatum(i, 77);
        scale.SetScaleDatum(i, 77);
        EXPECT_TRUE(discrete != base && scale != base) << i;
    }
    MCStatus same = base;
    same.SetScaleDatum(1, -0.0);
    EXPECT_EQ(same, base); // as doubles, not as bits
    base.SetScaleDatum(0, std::nan(""));
    EXPECT_FALSE(base == base);

    if constexpr (sizeof(long) > 4) {                                // integers are kept in 32 bits
        const long large = std::numeric_limits<long>::max() / 4 + 1; // 2^61
        MCStatus status(large + 5, true);
        status.SetDiscreteDatum(0, large - 5);
        EXPECT_TRUE(status.GetErrorCode() == 5 && status.GetDiscreteDatum(0) == -5);
    }
}

TEST(MCWarnings, EachListHoldsAWarningOnceInOrderOfArrival)
{
    const MCStatus first(2, true), second(1, true);
    MCWarnings warnings;
    warnings.AddWarning(MCStatus(), MCWarnings::DestBoth);
    warnings.AddWarning(MCStatus(2, false), MCWarnings::DestBoth);
    warnings.AddWarning(first, MCWarnings::DestPrimary);
    warnings.AddWarning(second, MCWarnings::DestSecondary);
    warnings.AddWarning(first, MCWarnings::DestBoth);
    EXPECT_THAT(warnings.GetWarnings(true), ElementsAre(first));
    EXPECT_THAT(warnings.GetWarnings(false), ElementsAre(second, first));
    warnings.AddWarning(second, static_cast<MCWarnings::Destination>(7)); // any other destination is both
    EXPECT_THAT(warnings.GetWarnings(true), ElementsAre(first, second));
    EXPECT_THAT(warnings.GetWarnings(false), ElementsAre(second, first));
    warnings.ClearWarnings();
    EXPECT_THAT(warnings.GetWarnings(true), IsEmpty());
    EXPECT_THAT(warnings.GetWarnings(false), ElementsAre(second, first));

    MCStatus tight(5, true), loose(5, true), nan(5, true);
    tight.SetScaleDatum(2, 1e-12);
    loose.SetScaleDatum(2, 1e-8);
    nan.SetScaleDatum(0, std::nan(""));
    warnings.AddWarnings({tight, MCStatus(), loose, MCStatus(5, false), tight, nan, nan});
    EXPECT_EQ(warnings.GetWarnings(true).size(), 4u); // a NaN datum is never a duplicate
    warnings.AddWarnings(warnings.GetWarnings(true)); // its own list, which grows by the two with a NaN
    EXPECT_EQ(warnings.GetWarnings(true).size(), 6u);
    ExpectLinearTime(20000, [](int size) {
        MCWarnings many;
        for (int i = 0; i < size; ++i) many.AddWarning(MCStatus(i, true), MCWarnings::DestBoth);
        EXPECT_EQ(many.GetWarnings(false).size(), static_cast<std::size_t>(size));
    });
}

TEST(MCWarnings, ParametersBelongToTheCodeAlone)
{
    MCWarnings warnings;
    MCStatus other(9, false);
    other.SetDiscreteDatum(0, 4);
    EXPECT_FALSE(warnings.HasParameter(other));
    EXPECT_TRUE(warnings.AddParameter(MCStatus(9, true), 3L) && warnings.AddParameter(other, 0.25) &&
                warnings.AddParameter(other, "age"));
    EXPECT_TRUE(
        NoneOf({warnings.AddParameter(other, 1LL << 31), warnings.AddParameter(other, 1u << 31)})); // beyond 32 bits
    EXPECT_TRUE(warnings.HasParameter(other) && !warnings.HasParameter(MCStatus(10, true)));

    const auto& found = warnings.GetParameters(other);
    ASSERT_EQ(found.size(), 3u);
    EXPECT_TRUE(found[0].GetType() == 0 && found[0].ToInteger() == 3 && found[0].ToDouble() == 0.0); // no conversion
    EXPECT_TRUE(found[1].ToDouble() == 0.25 && found[2].ToString() == "age");
    MCWarnings::MCParameterValue parameter = found[1];
    parameter.SetString("x"); // leaves the other fields
    EXPECT_TRUE(parameter.GetType() == MCWarnings::MCParameterValue::TypeString && parameter.ToDouble() == 0.25);
    EXPECT_THAT(warnings.GetParameters(MCStatus(10, true)), IsEmpty());
    EXPECT_THAT(found, IsEmpty()); // one buffer for every answer
}

TEST(MCWarnings, MergeKeepsListsApartAndLosesNoParameter)
{
    const MCStatus both(1, true), left(2, true), right(3, true);
    MCWarnings into, from;
    into.AddWarning(both, MCWarnings::DestPrimary);
    into.AddWarning(left, MCWarnings::DestSecondary);
    into.AddParameter(both, 1);
    from.AddWarning(right, MCWarnings::DestPrimary);
    from.AddWarning(both, MCWarnings::DestBoth);
    from.AddParameter(right, "r");
    from.AddParameter(both, 1);
    into.AddWarnings(from);
    into.AddWarnings(into); // adds its own parameters once more
    EXPECT_THAT(into.GetWarnings(true), ElementsAre(both, right));
    EXPECT_THAT(into.GetWarnings(false), ElementsAre(left, both));
    EXPECT_EQ(into.GetParameters(both).size(), 4u);
    EXPECT_EQ(into.GetParameters(right).size(), 2u);
    EXPECT_EQ(from.GetParameters(right).at(0).ToString(), "r"); // taken by value
}

TEST(MCWarnings, ParametersAreShownByTheirTypes)
{
    MCCommon_930::MCWarnings warnings;
    const MCCommon_930::MCStatus status(7, false);
    warnings.AddParameter(status, 12);
    warnings.AddParameter(status, 0.5);
    warnings.AddParameter(status, std::string("text"));
    EXPECT_NE(Shown(warnings).find("Parameters of code: 7\nInteger: 12\nReal: 0.5\nString: text\n"), std::string::npos)
        << Shown(warnings);
}
