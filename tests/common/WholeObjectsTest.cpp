// Objects of this folder's classes after a move and after an assignment that ran out of memory.
#include "common/ValueBuilders.h"
#include "modelcore/common/MCBitSet.h"
#include "support/DisplayCapture.h"
#include "support/MovedFrom.h"

#include <gtest/gtest.h>

#include <string>

using namespace MCCommon_930;
using MCMath_930::MCBitSet;

namespace {

const auto kShow = [](const auto& object) { return Shown(object); };

MCBitSet Flags(int size)
{
    MCBitSet set(size);
    set.SetAll();
    return set;
}

} // namespace

TEST(WholeObjects, MovedFromIsEmptyAndUsable)
{
    ExpectEmptyAfterMove(Flags(70), MCBitSet(), kShow, [](MCBitSet& set) {
        set.Set(69);
        set.SetAll();
        set.Clear();
        EXPECT_TRUE(!set.IsIn(69) && set.Count() == 0 && set.Next(0) == -1 && set.Resize(33) && set.Set(32));
    });
}

TEST(WholeObjects, AssignmentWithoutMemoryLeavesThemAsTheyWere)
{
    ExpectAssignmentIsWhole(Flags(3), Flags(70), kShow);
}
