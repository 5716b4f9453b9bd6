#include "modelcore/random/MCRandomTwister.h"
#include "tests/random/Checksum.h"
#include "tests/support/DisplayCapture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>
#include <vector>

using MCMath_930::MCRandomTwister;

namespace {

constexpr unsigned long kReferenceKey[] = {0x123, 0x234, 0x345, 0x456};

MCRandomTwister Seeded(unsigned long seed)
{
    MCRandomTwister twister;
    twister.Initialize(seed);
    return twister;
}

} // namespace

TEST(MCRandomTwister, DrawsTheWordsOfTheStandardLibrary)
{
    for (const unsigned long seed : {0ul, 1ul, 5489ul, 12345ul, 34567ul, 2147483647ul, 4294967295ul}) {
        SCOPED_TRACE(seed);
        MCRandomTwister twister = Seeded(seed);
        std::mt19937 peer(static_cast<std::mt19937::result_type>(seed));
        for (int i = 0; i < 20000; ++i) ASSERT_EQ(twister.GetInteger32(), peer()) << i;
    }
}

TEST(MCRandomTwister, SeedsItselfWith5489)
{
    MCRandomTwister twister;
    EXPECT_EQ(twister.GetInteger32(), 3499211612u);
    for (int i = 2; i < 10000; ++i) twister.GetInteger32();
    EXPECT_EQ(twister.GetInteger32(), 4123659995u); // the check value of the C++ standard
}

TEST(MCRandomTwister, SeedsByArrayAsTheAuthorsDo)
{
    MCRandomTwister twister;
    twister.InitByArray(kReferenceKey, 4);
    for (const unsigned long word : {1067595299ul, 955945823ul, 477289528ul, 4107218783ul, 4228976476ul})
        EXPECT_EQ(twister.GetInteger32(), word);
    for (int i = 6; i < 1000; ++i) twister.GetInteger32();
    EXPECT_EQ(twister.GetInteger32(), 3460025646u);
    for (const double real : {0.76275443, 0.99000644, 0.98670464, 0.10143112, 0.27933125})
        EXPECT_NEAR(twister.GetRealClosedOpen(), real, 5e-9);

    // Keys longer than the state are used to the end; an unsigned long has 64 bits, of which 32 count.
    std::vector<unsigned long> key(700, 7);
    MCRandomTwister longKey, changedAtEnd, withHighBits;
    longKey.InitByArray(key.data(), key.size());
    key.back() |= 1ul << 31;
    changedAtEnd.InitByArray(key.data(), key.size());
    key.back() = 7 + (1ul << 31 << 1);
    withHighBits.InitByArray(key.data(), key.size());
    const unsigned long first = longKey.GetInteger32();
    EXPECT_NE(first, changedAtEnd.GetInteger32());
    EXPECT_EQ(first, withHighBits.GetInteger32());
    EXPECT_EQ(Seeded(12345).GetInteger32(), Seeded(12345 + (1ul << 31 << 1)).GetInteger32());
}

TEST(MCRandomTwister, RefusesAnEmptyKey)
{
    MCRandomTwister twister = Seeded(1), same = Seeded(1);
    twister.InitByArray(kReferenceKey, 0);
    twister.InitByArray(nullptr, 3);
    EXPECT_EQ(twister.GetInteger32(), same.GetInteger32());
}

TEST(MCRandomTwister, RealsAreThePublishedOnes)
{
    struct Row {
        const char* name;
        double (MCRandomTwister::*get)();
        std::vector<double> first; // of seed 5489
    };
    const Row rows[] = {
        {"closed", &MCRandomTwister::GetRealClosed, {0.8147236920927473, 0.13547700413863104, 0.9057919343248456}},
        {"half-open",
         &MCRandomTwister::GetRealClosedOpen,
         {0.8147236919030547, 0.13547700410708785, 0.9057919341139495}},
        {"open", &MCRandomTwister::GetRealOpen, {0.81472369201947, 0.13547700422350317, 0.9057919342303649}},
        {"53 bits",
         &MCRandomTwister::GetRealRes53,
         {0.8147236863931789, 0.9057919370756192, 0.12698681629350606, 0.9133758561390194, 0.6323592462254095}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        MCRandomTwister twister;
        for (const double expected : row.first) EXPECT_EQ((twister.*row.get)(), expected);
    }
    MCRandomTwister twister = Seeded(12345);
    for (const long expected : {1996335345l, 1911592690l, 679411342l}) EXPECT_EQ(twister.GetInteger31(), expected);
}

// The sums come from Python's random.Random with the same state.
TEST(MCRandomTwister, LongRunsNeverChange)
{
    struct Row {
        const char* name;
        double (MCRandomTwister::*get)();
        std::uint64_t checksum;
    };
    const Row rows[] = {{"closed", &MCRandomTwister::GetRealClosed, 11437639444608075073u},
                        {"half-open", &MCRandomTwister::GetRealClosedOpen, 8198869915479573340u},
                        {"open", &MCRandomTwister::GetRealOpen, 848144426064464635u},
                        {"53 bits", &MCRandomTwister::GetRealRes53, 5372021530764420996u}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        MCRandomTwister twister = Seeded(34567);
        EXPECT_EQ(Checksum(100000, [&] { return (twister.*row.get)(); }), row.checksum);
    }
}

TEST(MCRandomTwister, CopiesGoOnFromTheOriginalsPosition)
{
    for (const int drawn : {0, 1, 623, 624, 625}) {
        SCOPED_TRACE(drawn);
        MCRandomTwister original = Seeded(7);
        for (int i = 0; i < drawn; ++i) original.GetInteger32();
        MCRandomTwister copy(original), assigned;
        assigned = original;
        assigned = *&assigned;
        for (int i = 0; i < 1300; ++i) {
            const unsigned long word = original.GetInteger32();
            ASSERT_EQ(copy.GetInteger32(), word);
            ASSERT_EQ(assigned.GetInteger32(), word);
        }
    }
    MCRandomTwister never, copyOfNever(never);
    EXPECT_EQ(copyOfNever.GetInteger32(), 3499211612u);
}

TEST(MCRandomTwister, DisplaysItsPosition)
{
    MCRandomTwister twister;
    twister.GetRealRes53();
    DisplayCapture capture;
    twister.Display();
    EXPECT_EQ(capture.Text(), "MCRandomTwister display start\nSeeded indicator: true\nPosition in the block: 2\n"
                              "MCRandomTwister display end\n");
}
