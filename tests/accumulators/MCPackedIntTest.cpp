#include "modelcore/accumulators/MCPackedInt.h"
#include "support/DisplayCapture.h"
#include "support/Random.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

using namespace MCMath_930;

namespace {

constexpr std::uint64_t kAll = std::numeric_limits<std::uint64_t>::max();

std::vector<std::uint64_t> ValuesOf(const MCPackedInt& packed)
{
    std::vector<std::uint64_t> values;
    for (std::size_t i = 0; i < packed.Size(); ++i) values.push_back(packed.Get(i));
    return values;
}

} // namespace

TEST(MCPackedInt, HoldsWhatAPlainVectorHolds)
{
    TestRandom random(3);
    for (const std::uint64_t max :
         {std::uint64_t{0}, std::uint64_t{1}, std::uint64_t{2}, std::uint64_t{7}, std::uint64_t{8}, std::uint64_t{1000},
          (std::uint64_t{1} << 33) - 1, std::uint64_t{1} << 62, kAll - 1, kAll}) {
        SCOPED_TRACE(max);
        const auto draw = [&] {
            const double u = random.Uniform(0.0, 1.0);
            return u > 0.9 ? max : static_cast<std::uint64_t>(u * 0.5 * static_cast<double>(max));
        };
        MCPackedInt packed(max, 3);
        std::vector<std::uint64_t> plain(3);
        for (int step = 0; step < 300; ++step) {
            plain.push_back(draw());
            ASSERT_TRUE(packed.Append(plain.back()));
            const std::size_t i = static_cast<std::size_t>(random.Below(static_cast<int>(plain.size())));
            plain[i] = draw();
            ASSERT_TRUE(packed.Set(i, plain[i]));
            if (step % 70 == 69) { // cut values must not come back
                plain.resize(plain.size() - 41);
                plain.resize(plain.size() + 20);
                packed.Resize(plain.size() - 20);
                packed.Resize(plain.size());
            }
        }
        EXPECT_EQ(ValuesOf(packed), plain);
        MCPackedInt same(max, plain.size());
        for (std::size_t i = 0; i < plain.size(); ++i) same.Set(i, plain[i]);
        EXPECT_TRUE(same == packed);
    }
}

TEST(MCPackedInt, TakesTheFewestBits)
{
    EXPECT_EQ(MCPackedInt(0).GetNBits(), 0u);
    EXPECT_EQ(MCPackedInt(1).GetNBits(), 1u);
    EXPECT_EQ(MCPackedInt(255).GetNBits(), 8u);
    EXPECT_EQ(MCPackedInt(256).GetNBits(), 9u);
    EXPECT_EQ(MCPackedInt(kAll).GetNBits(), 64u);
}

TEST(MCPackedInt, RefusesWhatDoesNotFit)
{
    MCPackedInt packed(5, 2);
    EXPECT_TRUE(packed.Set(1, 5));
    const MCPackedInt before(packed);
    EXPECT_FALSE(packed.Set(2, 1));
    EXPECT_FALSE(packed.Set(0, 6)); // would fit in the three bits
    EXPECT_FALSE(packed.Append(6));
    EXPECT_EQ(packed.Get(2), 0u);
    EXPECT_TRUE(packed == before);
    EXPECT_FALSE(packed == MCPackedInt(6, 2));
    packed.Clear();
    EXPECT_EQ(packed.Size(), 0u);
    const DisplayCapture capture;
    before.Display();
    EXPECT_NE(capture.Text().find("Bits of a value: 3\nNumber of values: 2\n"), std::string::npos);
}
