#include "modelcore/common/MCWarnings.h"
#include "support/DisplayCapture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

using MCCommon_930::MCStatus;
using MCCommon_930::MCWarnings;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

TEST(MCWarnings, EachListHoldsAWarningOnceInOrderOfArrival)
{
    const MCStatus first(2, true), second(1, true);
    MCWarnings warnings;
    warnings.AddWarning(MCStatus(), MCWarnings::DestBoth);
    warnings.AddWarning(MCStatus(2, false), MCWarnings::DestBoth);
    EXPECT_THAT(warnings.GetWarnings(true), IsEmpty());
    EXPECT_THAT(warnings.GetWarnings(false), IsEmpty());

    warnings.AddWarning(first, MCWarnings::DestPrimary);
    warnings.AddWarning(second, MCWarnings::DestSecondary);
    warnings.AddWarning(first, MCWarnings::DestBoth);
    warnings.AddWarning(first, MCWarnings::DestBoth);
    EXPECT_THAT(warnings.GetWarnings(true), ElementsAre(first));
    EXPECT_THAT(warnings.GetWarnings(false), ElementsAre(second, first));
    warnings.AddWarning(second, static_cast<MCWarnings::Destination>(7)); // any other destination is both
    EXPECT_THAT(warnings.GetWarnings(true), ElementsAre(first, second));
    EXPECT_THAT(warnings.GetWarnings(false), ElementsAre(second, first));
}

TEST(MCWarnings, DuplicatesAreJudgedByEveryDatum)
{
    MCStatus tight(5, true), loose(5, true), nan(5, true);
    tight.SetScaleDatum(2, 1e-12);
    loose.SetScaleDatum(2, 1e-8);
    nan.SetScaleDatum(0, std::nan(""));
    MCWarnings warnings;
    warnings.AddWarnings({tight, MCStatus(), loose, MCStatus(5, false), tight, nan, nan});
    EXPECT_EQ(warnings.GetWarnings(true).size(), 4u); // a NaN datum is never a duplicate
    EXPECT_THAT(warnings.GetWarnings(false), IsEmpty());
    warnings.AddWarnings(warnings.GetWarnings(true)); // its own list, which grows by the two with a NaN
    EXPECT_EQ(warnings.GetWarnings(true).size(), 6u);
}

TEST(MCWarnings, ParametersBelongToTheCodeAlone)
{
    MCWarnings warnings;
    MCStatus other(9, false);
    other.SetDiscreteDatum(0, 4);
    EXPECT_FALSE(warnings.HasParameter(other));
    EXPECT_TRUE(warnings.AddParameter(MCStatus(9, true), 3));
    EXPECT_TRUE(warnings.AddParameter(other, 0.25));
    EXPECT_TRUE(warnings.AddParameter(other, "age"));
    EXPECT_TRUE(warnings.HasParameter(other));
    EXPECT_FALSE(warnings.HasParameter(MCStatus(10, true)));

    const auto& found = warnings.GetParameters(other);
    ASSERT_EQ(found.size(), 3u);
    EXPECT_EQ(found[0].GetType(), MCWarnings::MCParameterValue::TypeInteger);
    EXPECT_EQ(found[0].ToInteger(), 3);
    EXPECT_EQ(found[0].ToDouble(), 0.0); // the readers do not convert
    EXPECT_EQ(found[1].ToDouble(), 0.25);
    EXPECT_EQ(found[2].ToString(), "age");
    EXPECT_THAT(warnings.GetParameters(MCStatus(10, true)), IsEmpty());
    EXPECT_THAT(found, IsEmpty()); // one buffer for every answer

    warnings.AddWarning(MCStatus(9, true), MCWarnings::DestBoth);
    warnings.ClearWarnings();
    EXPECT_THAT(warnings.GetWarnings(true), IsEmpty());
    EXPECT_THAT(warnings.GetWarnings(false), ElementsAre(MCStatus(9, true)));
    EXPECT_TRUE(warnings.HasParameter(other));
}

TEST(MCWarnings, SettersLeaveTheOtherFields)
{
    MCWarnings::MCParameterValue parameter(2.5);
    parameter.SetString("x");
    parameter.SetInteger(7);
    EXPECT_EQ(parameter.GetType(), MCWarnings::MCParameterValue::TypeInteger);
    EXPECT_EQ(parameter.ToInteger(), 7);
    EXPECT_EQ(parameter.ToDouble(), 2.5);
    EXPECT_EQ(parameter.ToString(), "x");
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
    EXPECT_THAT(into.GetWarnings(true), ElementsAre(both, right));
    EXPECT_THAT(into.GetWarnings(false), ElementsAre(left, both));
    EXPECT_EQ(into.GetParameters(both).size(), 2u);
    EXPECT_EQ(into.GetParameters(right).size(), 1u);
    EXPECT_EQ(from.GetParameters(right).at(0).ToString(), "r"); // taken by value
    into.AddWarnings(into);
    EXPECT_EQ(into.GetWarnings(true).size(), 2u);
    EXPECT_EQ(into.GetParameters(both).size(), 4u);

    DisplayCapture capture;
    into.Display();
    EXPECT_THAT(capture.Text(), HasSubstr("Parameters of code: 3\nString: r\nString: r\nMCWarnings display end\n"));
}
