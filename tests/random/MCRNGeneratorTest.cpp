// The uniform generators of the MCRNGenerator family.
#include "modelcore/random/MCRNGUCongruential.h"
#include "modelcore/random/MCRNGUTwister.h"
#include "modelcore/random/MCRandomTwister.h"
#include "tests/random/Checksum.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

using namespace MCMath_930;

namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

template <class Generator>
double FirstOf(double seed)
{
    Generator generator;
    generator.SetSeed(seed);
    return generator.GetNext();
}

} // namespace

TEST(MCRNGUTwister, WholeSeedsAreThoseOfTheTwister)
{
    for (const double seed : {0.0, -0.0, 1.0, 12345.0, 2147483647.0}) {
        MCRNGUTwister generator;
        generator.SetSeed(seed);
        MCRandomTwister twister;
        twister.Initialize(static_cast<unsigned long>(seed));
        for (int i = 0; i < 700; ++i) ASSERT_EQ(generator.GetNext(), twister.GetRealRes53());
    }
    EXPECT_EQ(MCRNGUTwister().GetNext(), MCRandomTwister().GetRealRes53());
}

TEST(MCRNGUTwister, OtherSeedsAreTurnedIntoAKeyOfThreeWords)
{
    struct Row {
        double seed;
        std::vector<unsigned long> key;
        double first;
    };
    const Row rows[] = {
        {12345.5, {116, 50567168, 0}, 0.5921444154416835},      {-12345.0, {118, 50565120, 0}, 0.8455589674597609},
        {1e10, {276, 39062500, 0}, 0.6839340554638002},         {0.1, {24, 53687091, 26843546}, 0.9487699303840682},
        {-0.75, {2, 50331648, 0}, 0.5061910191451283},          {2147483648.0, {260, 33554432, 0}, 0.5755746591999943},
        {1e-5, {128, 43980465, 14903537}, 0.09314521661496278},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.seed);
        MCRandomTwister twister;
        twister.InitByArray(row.key.data(), row.key.size());
        EXPECT_EQ(FirstOf<MCRNGUTwister>(row.seed), row.first);
        EXPECT_EQ(twister.GetRealRes53(), row.first);
    }
    // The ends of the range have keys as well.
    EXPECT_NE(FirstOf<MCRNGUTwister>(5e-324), FirstOf<MCRNGUTwister>(1e-323));
    EXPECT_NE(FirstOf<MCRNGUTwister>(1.7976931348623157e308), FirstOf<MCRNGUTwister>(-1.7976931348623157e308));
}

TEST(MCRNGUCongruential, SeedsAndFirstNumbers)
{
    struct Row {
        double seed;
        std::vector<double> states; // after one draw, after two ...
    };
    const Row rows[] = {
        {1.0, {397204094, 2083249653, 858616159, 557054349, 1979126465}},
        {0.0, {397204094}},
        {-0.4, {397204094}},
        {-7.9, {632945011, 1697845689, 1715345819}},
        {34567.0, {1290962027, 121620400}},
        {2147483647.0, {1, 397204094, 2083249653}},
        {1e300, {1, 397204094}},
        {-kInf, {1}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.seed);
        MCRNGUCongruential generator;
        generator.SetSeed(row.seed);
        for (const double state : row.states) EXPECT_EQ(generator.GetNext(), state / 2147483648.0);
    }
    MCRNGUCongruential fresh;
    for (int i = 1; i < 1000; ++i) fresh.GetNext();
    EXPECT_EQ(fresh.GetNext(), 180967501 / 2147483648.0);
}

TEST(MCRNGenerator, SeedsThatAreNoNumbersChangeNothing)
{
    MCRNGUTwister twister, sameTwister;
    MCRNGUCongruential congruential, sameCongruential;
    twister.SetSeed(9.0);
    sameTwister.SetSeed(9.0);
    for (const double seed : {kNaN, kInf, -kInf}) twister.SetSeed(seed);
    congruential.SetSeed(kNaN);
    EXPECT_EQ(twister.GetNext(), sameTwister.GetNext());
    EXPECT_EQ(congruential.GetNext(), sameCongruential.GetNext());
}

// The sums come from Python, the first from random.Random with the state that the key gives.
TEST(MCRNGenerator, LongRunsNeverChange)
{
    MCRNGUTwister twister;
    twister.SetSeed(-1.5);
    EXPECT_EQ(Checksum(100000, [&] { return twister.GetNext(); }), 1295406034003895957u);
    MCRNGUCongruential congruential;
    EXPECT_EQ(Checksum(100000, [&] { return congruential.GetNext(); }), 17060746752622997492u);
}

TEST(MCRNGenerator, CopiesGoOnFromTheOriginalsPosition)
{
    const auto check = [](auto original) {
        for (int i = 0; i < 400; ++i) original.GetNext();
        auto copy(original);
        decltype(original) assigned;
        assigned = original;
        for (int i = 0; i < 400; ++i) {
            const double next = original.GetNext();
            ASSERT_EQ(copy.GetNext(), next);
            ASSERT_EQ(assigned.GetNext(), next);
        }
    };
    check(MCRNGUTwister());
    check(MCRNGUCongruential());
}
