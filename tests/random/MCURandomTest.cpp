#include "modelcore/random/MCURandom.h"
#include "modelcore/random/MCRNGUCongruential.h"
#include "modelcore/random/MCRandom.h"
#include "modelcore/random/MCRandomTwister.h"
#include "modelcore/xml/XMLValueStream.h"
#include "tests/support/DisplayCapture.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <string>

using MCMath_930::MCURandom;

namespace {

class CountingRandom : public MCCommon_930::MCRandom {
public:
    double GetRandom() override { return 0.125 * ++fnCalls; }

private:
    int fnCalls = 0;
};

/// The generators that the flags choose, told apart by what they draw after the seed.
double TwisterFirst(unsigned long seed)
{
    MCMath_930::MCRandomTwister twister;
    twister.Initialize(seed);
    return twister.GetRealOpen();
}
double CongruentialFirst(unsigned long seed)
{
    MCMath_930::MCRNGUCongruential generator;
    generator.SetSeed(static_cast<double>(seed));
    return generator.GetNext();
}
double RuntimeFirst(unsigned long seed)
{
    std::srand(static_cast<unsigned>(seed));
    return std::rand() / static_cast<double>(RAND_MAX);
}

class ScratchFile {
public:
    explicit ScratchFile(const std::string& content = "")
        : fPath(std::filesystem::temp_directory_path() / ("random-" + std::to_string(std::random_device()())))
    {
        std::ofstream(fPath, std::ios::binary) << content;
    }
    ~ScratchFile() { std::filesystem::remove(fPath); }
    std::fstream Open() const { return std::fstream(fPath, std::ios::in | std::ios::out | std::ios::binary); }
    std::ifstream OpenToRead() const { return std::ifstream(fPath, std::ios::binary); }
    std::string Content() const
    {
        std::ostringstream os;
        os << OpenToRead().rdbuf();
        return os.str();
    }

private:
    std::filesystem::path fPath;
};

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

std::string Displayed(const MCURandom& random)
{
    DisplayCapture capture;
    random.Display();
    return capture.Text();
}

int ReadRecord(MCURandom& random, const std::string& record)
{
    std::fstream stream = ScratchFile(record).Open();
    return random.ReadObject(stream);
}

int ReadElement(MCURandom& random, const std::string& element, std::string& message)
{
    ScratchFile file(element);
    std::ifstream stream = file.OpenToRead();
    testing::internal::CaptureStderr();
    const int result = random.ReadObjectXML(stream);
    message = testing::internal::GetCapturedStderr();
    return result;
}

} // namespace

TEST(MCURandom, FlagsAndCallersGeneratorChooseTheSource)
{
    CountingRandom user;
    struct Row {
        const char* name;
        bool usePortable, useTwister;
        MCCommon_930::MCRandom* user;
        bool usesTwister;
        double first;
    };
    const Row rows[] = {
        {"Twister", true, true, nullptr, true, TwisterFirst(99)},
        {"congruential", true, false, nullptr, false, CongruentialFirst(99)},
        {"runtime", false, false, nullptr, false, RuntimeFirst(99)},
        {"runtime, Twister refused", false, true, nullptr, false, RuntimeFirst(99)},
        {"caller's", true, true, &user, false, 0.125},
        {"caller's before the runtime's", false, false, &user, false, 0.25},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        MCURandom random(1, row.usePortable, row.useTwister, row.user);
        EXPECT_EQ(random.GetUseTwister(), row.usesTwister);
        random.SetSeed(99 + (1ul << 31 << 1)); // the low 32 bits count
        EXPECT_EQ(random.GetRandom(), row.first);
    }
    MCURandom fresh;
    EXPECT_TRUE(fresh.GetUseTwister());
    EXPECT_EQ(fresh.GetRandom(), TwisterFirst(34567));
    MCURandom zero(0, true, false, nullptr);
    EXPECT_EQ(zero.GetRandom(), 1.0 / 2147483648.0); // 0 would repeat for ever
}

TEST(MCURandom, SwitchingThePortableGeneratorOffAndOn)
{
    MCURandom random(5, true, true, nullptr);
    random.SetUsePortable(true);
    EXPECT_TRUE(random.GetUseTwister());
    random.SetUsePortable(false);
    EXPECT_FALSE(random.GetUseTwister());
    std::srand(3);
    const double runtime = random.GetRandom();
    EXPECT_EQ(runtime, RuntimeFirst(3));
    random.SetUsePortable(true);
    EXPECT_FALSE(random.GetUseTwister());
    EXPECT_EQ(random.GetRandom(), CongruentialFirst(5));
}

TEST(MCURandom, CopiesRestartTheTwisterAndContinueTheCongruentialGenerator)
{
    MCURandom twister(5, true, true, nullptr), congruential(5, true, false, nullptr);
    for (int i = 0; i < 10; ++i) {
        twister.GetRandom();
        congruential.GetRandom();
    }
    MCURandom copy(twister), assigned;
    assigned = twister;
    EXPECT_EQ(copy.GetRandom(), TwisterFirst(5));
    EXPECT_EQ(assigned.GetRandom(), TwisterFirst(5));
    MCURandom going(congruential);
    assigned = congruential;
    EXPECT_FALSE(assigned.GetUseTwister());
    const double next = congruential.GetRandom();
    EXPECT_EQ(going.GetRandom(), next);
    EXPECT_EQ(assigned.GetRandom(), next);

    const double second = twister.GetRandom();
    MCURandom fresh(5, true, true, nullptr);
    for (int i = 0; i < 10; ++i) fresh.GetRandom();
    fresh = *&fresh;
    EXPECT_EQ(fresh.GetRandom(), second);
}

TEST(MCURandom, RecordIsWrittenAndRead)
{
    struct Row {
        unsigned long seed;
        bool usePortable, useTwister;
    };
    for (const Row& row : {Row{34567, true, true}, Row{4294967295ul, true, false}, Row{0, false, false}}) {
        const MCURandom original(row.seed, row.usePortable, row.useTwister, nullptr);
        ScratchFile file;
        std::fstream stream = file.Open();
        EXPECT_EQ(original.WriteObject(stream), 20);
        EXPECT_EQ(original.WriteObject(stream), 20);
        const std::string record = Record("MCUR", static_cast<double>(row.seed), row.usePortable, row.useTwister);
        EXPECT_EQ(file.Content(), record + record);

        MCURandom restored(77, !row.usePortable, false, nullptr);
        stream.seekg(20);
        EXPECT_EQ(restored.ReadObject(stream), 20);
        EXPECT_EQ(Displayed(restored), Displayed(original));
        if (row.usePortable) {
            EXPECT_EQ(restored.GetRandom(), MCURandom(original).GetRandom());
        }
        EXPECT_EQ(restored.ReadObject(stream), 0);  // the end
        EXPECT_EQ(original.WriteObject(stream), 0); // still in the failed state
    }
}

TEST(MCURandom, DamagedRecordsAreRefusedAndChangeNothing)
{
    const std::string good = Record("MCUR", 12, 1, 1);
    std::vector<std::string> damaged;
    for (std::size_t length = 0; length < good.size(); ++length) damaged.push_back(good.substr(0, length));
    for (const char* const tag : {"MCUS", "mcur", "XMCU"}) damaged.push_back(Record(tag, 12, 1, 1));
    for (const double seed : {-1.0, 0.5, 4294967296.0, 1e300, double(NAN), double(INFINITY)})
        damaged.push_back(Record("MCUR", seed, 1, 1));
    for (const std::string& record : damaged) {
        SCOPED_TRACE(testing::PrintToString(record));
        MCURandom random(5, true, true, nullptr);
        random.GetRandom();
        MCURandom same(5, true, true, nullptr);
        same.GetRandom();
        EXPECT_EQ(ReadRecord(random, record), 0);
        EXPECT_TRUE(random.GetUseTwister());
        EXPECT_EQ(random.GetRandom(), same.GetRandom()); // the Twister did not restart either
    }

    // A flag counts when it is 1, and the Twister needs both.
    struct Flags {
        int usePortable, useTwister;
        double first;
    };
    for (const Flags& f : {Flags{1, 2, CongruentialFirst(12)}, Flags{1, -1, CongruentialFirst(12)},
                           Flags{0, 1, RuntimeFirst(12)}, Flags{256, 1, RuntimeFirst(12)}}) {
        MCURandom random;
        EXPECT_EQ(ReadRecord(random, Record("MCUR", 12, f.usePortable, f.useTwister)), 20);
        EXPECT_FALSE(random.GetUseTwister());
        std::srand(12);
        EXPECT_EQ(random.GetRandom(), f.first);
    }
    CountingRandom user;
    MCURandom withUser(1, true, false, &user);
    EXPECT_EQ(ReadRecord(withUser, good), 20);
    EXPECT_FALSE(withUser.GetUseTwister());
    EXPECT_EQ(withUser.GetRandom(), 0.125);
}

TEST(MCURandom, ElementIsWrittenAndRead)
{
    const MCURandom original(4294967295ul, true, true, nullptr);
    std::ostringstream os;
    EXPECT_EQ(original.WriteObjectXML(os, 1), 5);
    EXPECT_EQ(os.str(), Element("4294967295", "true", "true"));

    std::string message;
    MCURandom restored(1, true, false, nullptr);
    restored.GetRandom();
    EXPECT_EQ(ReadElement(restored, os.str(), message), 5);
    EXPECT_EQ(message, "");
    EXPECT_EQ(restored.GetRandom(), TwisterFirst(4294967295ul));

    // Among other objects of one document.
    std::ostringstream document;
    MCXML_930::StartRoot(document, "notice");
    original.WriteObjectXML(document, 0);
    MCURandom(7, true, false, nullptr).WriteObjectXML(document, 0);
    MCXML_930::EndRoot(document);
    ScratchFile file(document.str());
    std::ifstream stream = file.OpenToRead();
    MCURandom first, second;
    ASSERT_TRUE(MCXML_930::ParseStartXML(stream));
    EXPECT_EQ(first.ReadObjectXML(stream), 5);
    EXPECT_EQ(second.ReadObjectXML(stream), 5);
    EXPECT_TRUE(MCXML_930::ParseEndObj(stream));
    EXPECT_EQ(second.GetRandom(), CongruentialFirst(7));
}

TEST(MCURandom, DamagedElementsAreRefusedAndChangeNothing)
{
    const std::string good = Element("12", "true", "true");
    std::vector<std::string> damaged = {Element("-1", "true", "true"),
                                        Element("4294967296", "true", "true"),
                                        Element("1.5", "true", "true"),
                                        Element("12", "1", "true"),
                                        Element("12", "true", ""),
                                        Element("", "true", "true"),
                                        "<Other>" + good.substr(good.find('>') + 1)};
    for (std::size_t length = 0; length + 1 < good.size(); ++length) damaged.push_back(good.substr(0, length));
    for (const std::string& element : damaged) {
        SCOPED_TRACE(element);
        MCURandom random(5, true, true, nullptr), same(5, true, true, nullptr);
        random.GetRandom();
        same.GetRandom();
        std::string message;
        EXPECT_EQ(ReadElement(random, element, message), 0);
        EXPECT_EQ(message, "Failure reading MCURandom!\n");
        EXPECT_EQ(random.GetRandom(), same.GetRandom());
    }
}

TEST(MCURandom, FullDiskIsNoticed)
{
    if (!std::filesystem::exists("/dev/full")) GTEST_SKIP() << "no device that is always full";
    const MCURandom random;
    std::fstream stream("/dev/full", std::ios::in | std::ios::out | std::ios::binary);
    EXPECT_EQ(random.WriteObject(stream), 0);
    std::ofstream xml("/dev/full");
    EXPECT_EQ(random.WriteObjectXML(xml, 0), 0);
    EXPECT_EQ(random.WriteObjectXML(xml, 0), 0); // failed before
}

TEST(MCURandom, DisplaysSeedAndFlags)
{
    EXPECT_EQ(Displayed(MCURandom(4294967295ul, true, false, nullptr)),
              "MCURandom display start\nThe seed: 4294967295\nPortable RNG indicator: true\n"
              "Mersenne Twister RNG indicator: false\nMCURandom display end\n");
}
