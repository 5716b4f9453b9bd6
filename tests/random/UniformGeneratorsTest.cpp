// MCRandomTwister, MCRNGUTwister and MCRNGUCongruential.
#include "random/RandomTesting.h"
#include "support/AllKernels.h"

#include <random>

namespace {

constexpr unsigned long kHighBit = 1ul << 31 << 1; // an unsigned long may have 64 bits, of which 32 count

/// FNV-1a over the bits of 100000 numbers, lowest byte first.
template <class Next>
std::uint64_t Checksum(Next next)
{
    std::uint64_t sum = 0xCBF29CE484222325u;
    for (int i = 0; i < 100000; ++i) {
        const auto bits = std::bit_cast<std::uint64_t>(next());
        for (int shift = 0; shift < 64; shift += 8) sum = (sum ^ ((bits >> shift) & 0xFFu)) * 0x100000001B3u;
    }
    return sum;
}

template <class Generator>
Generator Seeded(double seed)
{
    Generator generator;
    generator.SetSeed(seed);
    return generator;
}

} // namespace

TEST(MCRandomTwister, DrawsTheWordsOfTheStandardLibrary)
{
    MCRandomTwister twister;
    const MCRandomTwister never(twister);
    ForEachKernelSet([&] {
        for (const unsigned long seed : {0ul, 1ul, 5489ul, 34567ul, 4294967295ul}) {
            twister.Initialize(seed + kHighBit);
            std::mt19937 peer(static_cast<std::mt19937::result_type>(seed));
            for (int i = 0; i < 5000; ++i) ASSERT_EQ(twister.GetInteger32(), peer()) << seed << " " << i;
        }
    });
    twister = never; // seeds itself with 5489
    for (int i = 1; i < 10000; ++i) twister.GetInteger32();
    EXPECT_EQ(twister.GetInteger31(), 4123659995l >> 1); // the check value of the C++ standard
}

TEST(MCRandomTwister, SeedsByArrayAsTheAuthorsDo)
{
    std::vector<unsigned long> key = {0x123, 0x234, 0x345, 0x456 + kHighBit};
    MCRandomTwister twister;
    twister.InitByArray(key.data(), 4);
    twister.InitByArray(key.data(), 0); // refused
    twister.InitByArray(nullptr, 3);
    for (const unsigned long word : {1067595299ul, 955945823ul, 477289528ul, 4107218783ul, 4228976476ul})
        EXPECT_EQ(twister.GetInteger32(), word);
    for (int i = 6; i < 1000; ++i) twister.GetInteger32();
    EXPECT_EQ(twister.GetInteger32(), 3460025646u);
    key.resize(700); // longer than the state: used to the end
    MCRandomTwister changed;
    twister.InitByArray(key.data(), key.size());
    key.back() = 8;
    changed.InitByArray(key.data(), key.size());
    EXPECT_NE(twister.GetInteger32(), changed.GetInteger32());
}

// The sums come from Python's random.Random with the same state.
TEST(MCRandomTwister, RealsAreThePublishedOnes)
{
    struct Row {
        const char* name;
        double (MCRandomTwister::*get)();
        double first[3];        // of seed 5489
        std::uint64_t checksum; // of seed 34567
    };
    // clang-format off
    for (const Row& row : {
        Row{"closed", &MCRandomTwister::GetRealClosed, {0.8147236920927473, 0.13547700413863104, 0.9057919343248456}, 11437639444608075073u},
        {"half-open", &MCRandomTwister::GetRealClosedOpen, {0.8147236919030547, 0.13547700410708785, 0.9057919341139495}, 8198869915479573340u},
        {"open", &MCRandomTwister::GetRealOpen, {0.81472369201947, 0.13547700422350317, 0.9057919342303649}, 848144426064464635u},
        {"53 bits", &MCRandomTwister::GetRealRes53, {0.8147236863931789, 0.9057919370756192, 0.12698681629350606}, 5372021530764420996u}}) {
        // clang-format on
        SCOPED_TRACE(row.name);
        MCRandomTwister twister;
        for (const double expected : row.first) EXPECT_EQ((twister.*row.get)(), expected);
        twister.Initialize(34567);
        EXPECT_EQ(Checksum([&] { return (twister.*row.get)(); }), row.checksum);
    }
}

TEST(MCRNGenerator, SeedsAndFirstNumbers)
{
    const std::vector<std::pair<double, double>> ofTwister = {
        {12345.5, 0.5921444154416835}, {-12345.0, 0.8455589674597609}, {1e10, 0.6839340554638002},
        {0.1, 0.9487699303840682},     {-0.75, 0.5061910191451283},    {2147483648.0, 0.5755746591999943},
        {1e-5, 0.09314521661496278},   {12345.0, 0.9296160928171479},  {-0.0, 0.5488135039273248}};
    for (const auto& [seed, first] : ofTwister) {
        auto twister = Seeded<MCRNGUTwister>(seed);
        for (const double refused : {kNan, kInf, -kInf}) twister.SetSeed(refused);
        EXPECT_EQ(twister.GetNext(), first) << seed;
    }
    EXPECT_NE(Seeded<MCRNGUTwister>(5e-324).GetNext(), Seeded<MCRNGUTwister>(1e-323).GetNext());
    const std::vector<std::pair<double, double>> ofCongruential = {
        {1.0, 397204094},      {0.0, 397204094},  {-0.4, 397204094}, {-7.9, 632945011},
        {34567.0, 1290962027}, {2147483647.0, 1}, {1e300, 1},        {-kInf, 1}};
    for (const auto& [seed, first] : ofCongruential) {
        auto congruential = Seeded<MCRNGUCongruential>(seed);
        congruential.SetSeed(kNan); // refused
        EXPECT_EQ(congruential.GetNext(), first / 2147483648.0) << seed;
    }
}

// The sums come from Python, the first from random.Random with the state that the key gives.
TEST(MCRNGenerator, LongRunsNeverChangeAndCopiesGoOn)
{
    const auto check = [](auto original, std::uint64_t checksum) {
        const auto sumOf = [](auto& generator) { return Checksum([&] { return generator.GetNext(); }); };
        EXPECT_EQ(sumOf(original), checksum);
        auto copy(original), assigned(Seeded<decltype(original)>(3.0)); // now within a block
        assigned = original;
        assigned = *&assigned;
        checksum = sumOf(original);
        EXPECT_EQ(sumOf(copy), checksum);
        EXPECT_EQ(sumOf(assigned), checksum);
    };
    check(Seeded<MCRNGUTwister>(-1.5), 1295406034003895957u);
    check(MCRNGUCongruential(), 17060746752622997492u);
}
