#include "random/RandomTesting.h"
#include "support/Saved.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace {

/// The generators that the flags choose, told apart by what they draw after the seed.
double TwisterFirst(unsigned long seed)
{
    MCRandomTwister twister;
    twister.Initialize(seed);
    return twister.GetRealOpen();
}
double CongruentialFirst(unsigned long seed)
{
    MCRNGUCongruential generator;
    generator.SetSeed(static_cast<double>(seed));
    return generator.GetNext();
}
double RuntimeFirst(unsigned long seed)
{
    std::srand(static_cast<unsigned>(seed));
    return std::rand() / static_cast<double>(RAND_MAX);
}

std::string Record(const char* tag, double seed, int usePortable, int useTwister)
{
    std::string record(tag);
    const auto append = [&record](std::uint64_t word, int bytes) {
        for (int i = 0; i < bytes; ++i) record += static_cast<char>((word >> (8 * i)) & 0xFF);
    };
    append(std::bit_cast<std::uint64_t>(seed), 8);
    append(static_cast<std::uint64_t>(usePortable), 4);
    append(static_cast<std::uint64_t>(useTwister), 4);
    return record;
}

std::string Element(const std::string& seed, const std::string& usePortable, const std::string& useTwister)
{
    return "\t<MCURandom>\n\t\t<item value=\"" + seed + "\"/>\n\t\t<item value=\"" + usePortable +
           "\"/>\n\t\t<item value=\"" + useTwister + "\"/>\n\t</MCURandom>\n";
}

/// Reads a record, or an element, which starts with a tab.
bool Restored(MCURandom& random, const std::string& saved)
{
    const SavedFile file(saved);
    int result = 0, complete = 20;
    if (saved[0] == '\t') {
        complete = 5;
        testing::internal::CaptureStderr();
        result = Restore(random, file);
        EXPECT_EQ(testing::internal::GetCapturedStderr(), result != 0 ? "" : "Failure reading MCURandom!\n");
    } else {
        std::fstream stream(file.Path(), std::ios::in | std::ios::out | std::ios::binary);
        result = random.ReadObject(stream);
    }
    EXPECT_TRUE(result == 0 || result == complete) << result;
    return result != 0;
}

} // namespace

TEST(MCURandom, FlagsAndCallersGeneratorChooseTheSource)
{
    ScriptedSource user({0.125, 0.25});
    struct Row {
        bool usePortable, useTwister;
        MCCommon_930::MCRandom* user;
        bool usesTwister;
        double first;
    };
    const Row rows[] = {
        {true, true, nullptr, true, TwisterFirst(99)},
        {true, false, nullptr, false, CongruentialFirst(99)},
        {false, false, nullptr, false, RuntimeFirst(99)},
        {false, true, nullptr, false, RuntimeFirst(99)},
        {true, true, &user, false, 0.125},
        {false, false, &user, false, 0.25},
    };
    for (const Row& row : rows) {
        MCURandom random(1, row.usePortable, row.useTwister, row.user);
        EXPECT_EQ(random.GetUseTwister(), row.usesTwister);
        random.SetSeed(99 + (1ul << 31 << 1)); // the low 32 bits count
        EXPECT_EQ(random.GetRandom(), row.first);
    }
    EXPECT_EQ(MCURandom().GetRandom(), TwisterFirst(34567));
    EXPECT_EQ(MCURandom(0, true, false, nullptr).GetRandom(), 0x1p-31); // 0 would repeat for ever

    MCURandom random(5, true, true, nullptr);
    random.SetUsePortable(true);
    EXPECT_TRUE(random.GetUseTwister());
    random.SetUsePortable(false);
    const double runtime = RuntimeFirst(3);
    std::srand(3);
    EXPECT_EQ(random.GetRandom(), runtime);
    random.SetUsePortable(true);
    EXPECT_FALSE(random.GetUseTwister()); // gone for good
    EXPECT_EQ(random.GetRandom(), CongruentialFirst(5));
}

TEST(MCURandom, CopiesRestartTheTwisterAndContinueTheCongruentialGenerator)
{
    MCURandom twister(5, true, true, nullptr), congruential(5, true, false, nullptr), same(5, true, true, nullptr);
    for (MCURandom* const random : {&twister, &congruential, &same}) random->GetRandom();
    MCURandom copy(twister), assigned(congruential), going(congruential);
    assigned = twister;
    EXPECT_EQ(copy.GetRandom(), TwisterFirst(5));
    EXPECT_EQ(assigned.GetRandom(), TwisterFirst(5));
    copy = congruential;
    const double next = congruential.GetRandom();
    EXPECT_EQ(going.GetRandom(), next);
    EXPECT_EQ(copy.GetRandom(), next);
    twister = *&twister;
    EXPECT_EQ(twister.GetRandom(), same.GetRandom());
}

TEST(MCURandom, SavedStatesAreWrittenAndRestored)
{
    struct Row {
        unsigned long seed;
        bool usePortable, useTwister;
    };
    for (const Row& row : {Row{34567, true, true}, Row{4294967295ul, true, false}, Row{0, false, false}}) {
        const MCURandom original(row.seed, row.usePortable, row.useTwister, nullptr);
        const SavedFile file("");
        std::fstream stream(file.Path(), std::ios::in | std::ios::out | std::ios::binary);
        EXPECT_EQ(original.WriteObject(stream), 20);
        stream.seekg(0);
        std::ostringstream record;
        record << stream.rdbuf();
        EXPECT_EQ(record.str(), Record("MCUR", static_cast<double>(row.seed), row.usePortable, row.useTwister));
        stream.setstate(std::ios::failbit);
        EXPECT_EQ(original.WriteObject(stream), 0);
        const std::string element = Saved(original);
        EXPECT_EQ(element, Element(std::to_string(row.seed), row.usePortable ? "true" : "false",
                                   row.useTwister ? "true" : "false"));

        for (const std::string& saved : {record.str(), element}) {
            MCURandom restored(77, !row.usePortable, false, nullptr);
            restored.GetRandom();
            EXPECT_TRUE(Restored(restored, saved));
            EXPECT_EQ(restored.GetUseTwister(), row.useTwister);
            std::srand(1);
            const double first = MCURandom(original).GetRandom();
            std::srand(1);
            EXPECT_EQ(restored.GetRandom(), first);
        }
    }
    // A flag counts when it is 1. A caller's generator stays, and then there is no Twister.
    ScriptedSource user({0.125});
    MCURandom portable, runtime, withUser(1, true, false, &user);
    EXPECT_TRUE(Restored(portable, Record("MCUR", 12, 1, 2)) && Restored(runtime, Record("MCUR", 12, 256, 1)) &&
                Restored(withUser, Record("MCUR", 12, 1, 1)));
    EXPECT_EQ(portable.GetRandom(), CongruentialFirst(12));
    EXPECT_TRUE(NoneOf({runtime.GetUseTwister(), withUser.GetUseTwister()}));
    EXPECT_EQ(withUser.GetRandom(), 0.125);
}

TEST(MCURandom, DamagedSavedStatesAreRefusedAndChangeNothing)
{
    const std::string record = Record("MCUR", 12, 1, 1), element = Element("12", "true", "true");
    std::vector<std::string> damaged = {
        Record("MCUS", 12, 1, 1),       Record("XMCU", 12, 1, 1),
        Element("-1", "true", "true"),  Element("4294967296", "true", "true"),
        Element("1.5", "true", "true"), Element("12", "1", "true"),
        Element("12", "true", ""),      "\t<Other>" + element.substr(element.find('>') + 1)};
    for (const double seed : {-1.0, 0.5, 4294967296.0, kNan, kInf}) damaged.push_back(Record("MCUR", seed, 1, 1));
    for (std::size_t length = 0; length < record.size(); ++length) damaged.push_back(record.substr(0, length));
    for (std::size_t length = 1; length + 1 < element.size(); ++length) damaged.push_back(element.substr(0, length));
    MCURandom random(5, true, true, nullptr), same(5, true, true, nullptr);
    for (const std::string& saved : damaged) {
        EXPECT_FALSE(Restored(random, saved)) << saved;
        EXPECT_EQ(random.GetRandom(), same.GetRandom()) << saved; // the Twister did not restart either
    }
    if (!std::filesystem::exists("/dev/full")) GTEST_SKIP() << "no device that is always full";
    std::fstream full("/dev/full", std::ios::in | std::ios::out | std::ios::binary);
    std::ofstream fullXml("/dev/full");
    EXPECT_EQ(random.WriteObject(full), 0);
    EXPECT_EQ(random.WriteObjectXML(fullXml, 0), 0);
}
