#include "modelcore/xml/MCStateBytes.h"
#include "modelcore/common/MCMV.h"
#include "modelcore/xml/XMLObj.h"
#include "modelcore/xml/XMLValueStream.h"
#include "support/Testing.h"

#include <bit>
#include <climits>
#include <cmath>

using namespace MCXML_930;

namespace {

/// One object with values of every type and another object inside.
struct Sample {
    int i = INT_MIN;
    unsigned long long u = ULLONG_MAX;
    bool b = true;
    std::vector<double> x = {-0.0, 0.1, HUGE_VAL, MCCommon_930::MCMV::Missing()};
    std::string text = std::string("a\0\xff<\n", 5);

    int WriteObjectXML(std::ostream& os, int indent) const
    {
        const XMLObj object("Sample", indent), inner("Inner", indent + 1);
        object.StartObj(os);
        object.WriteSubElement(os, i);
        object.WriteSubElement(os, u);
        object.WriteSubElement(os, b);
        inner.StartObj(os);
        for (const double each : x) inner.WriteSubElement(os, each);
        inner.EndObj(os);
        object.WriteSubElement(os, text);
        object.EndObj(os);
        return 11;
    }
    int ReadObjectXML(std::ifstream& is)
    {
        bool good = ParseStartObj(is, "Sample") && ParseValue(is, i) && ParseValue(is, u) && ParseValue(is, b) &&
                    ParseStartObj(is, "Inner");
        for (double& each : x) good = good && ParseValue(is, each);
        return good && ParseEndObj(is) && ParseValue(is, text) && ParseEndObj(is) ? 11 : 0;
    }
    bool operator==(const Sample& other) const
    {
        return i == other.i && u == other.u && b == other.b && text == other.text && SameBits(x, other.x);
    }
};

Sample Other()
{
    return {7, 0, false, {1, 2, 3, std::bit_cast<double>(0x7FF8000000000123)}, ""};
}

std::string Hex(std::string_view bytes)
{
    std::string text;
    for (const char c : bytes) {
        char two[3];
        std::snprintf(two, sizeof two, "%02x", static_cast<unsigned>(static_cast<unsigned char>(c)));
        text += two;
    }
    return text;
}

} // namespace

// Written down once: a later version, another compiler and another order of bytes in memory give the same.
TEST(MCStateBytes, TheBytesAreThoseOfEveryMachine)
{
    const std::string expected = "d34d4353010006004e00000000000000" // magic, version 1, 6 bytes of kind, 78 of content
                                 "53616d706c65"                     // Sample
                                 "010653616d706c65"                 // start of Sample
                                 "06ffffffff07"                     // -2147483648 as -1 - 2147483647
                                 "05ffffffffffffffffff01"           // 18446744073709551615
                                 "04"                               // true
                                 "0105496e6e6572"                   // start of Inner
                                 "070000000000000080"               // -0.0
                                 "079a9999999999b93f"               // 0.1
                                 "07000000000000f07f"               // infinity
                                 "07ffffffffffffefff"               // system-missing
                                 "02"                               // end of Inner
                                 "08056100ff3c0a"                   // the text
                                 "02"                               // end of Sample
                                 "97204506"                         // CRC-32C, computed bit by bit elsewhere
                                 "";
    EXPECT_EQ(Hex(MCStateBytes::Save(Sample())), expected);
}

TEST(MCStateBytes, EveryBitComesBack)
{
    for (const Sample& sample : {Sample(), Other()}) {
        Sample read = Other(), again;
        EXPECT_EQ(MCStateBytes::Restore(MCStateBytes::Save(sample), read), MCStateBytes::Ok);
        EXPECT_TRUE(read == sample);
        EXPECT_EQ(MCStateBytes::Restore(MCStateBytes::Save(read), again), MCStateBytes::Ok);
        EXPECT_TRUE(again == sample);
    }
}

TEST(MCStateBytes, DamageIsFoundAndNamed)
{
    const std::string good = MCStateBytes::Save(Sample());
    const Sample before = Other();
    const auto fault = [&before](const std::string& bytes) {
        Sample sample = before;
        const MCStateBytes::Fault found = MCStateBytes::Restore(bytes, sample);
        EXPECT_TRUE(sample == before || found == MCStateBytes::Ok);
        return found;
    };
    // Every byte, in every way that it can be another.
    for (std::size_t k = 0; k < good.size(); ++k)
        for (int change = 1; change < 256; ++change) {
            std::string bytes = good;
            bytes[k] = static_cast<char>(bytes[k] ^ change);
            const MCStateBytes::Fault found = fault(bytes);
            if (k < 4)
                ASSERT_EQ(found, MCStateBytes::Foreign) << k;
            else if (k < 6)
                ASSERT_EQ(found, MCStateBytes::OtherVersion) << k;
            else if (k < 16)
                ASSERT_TRUE(found == MCStateBytes::Truncated || found == MCStateBytes::Damaged) << k;
            else
                ASSERT_EQ(found, MCStateBytes::Damaged) << k;
        }
    for (std::size_t k = 0; k < good.size(); ++k) ASSERT_EQ(fault(good.substr(0, k)), MCStateBytes::Truncated) << k;

    const auto content = [](std::initializer_list<std::string_view> tokens) {
        std::string bytes;
        for (const std::string_view token : tokens) bytes += token;
        return bytes;
    };
    std::string_view kind, inside;
    EXPECT_EQ(MCStateBytes::Unwrap(good, kind, inside), MCStateBytes::Ok);
    EXPECT_EQ(kind, "Sample");
    std::string own(inside);
    const std::size_t at = own.find("\x06\xff\xff\xff\xff\x07");
    std::string wide = own;
    wide[at + 5] = '\x08'; // INT_MIN - 2^28
    std::string endless = own;
    endless.replace(endless.size() - 7, 1, "\xff\xff\xff\xff\xff\xff\xff\xff\x7f"); // the length of the text
    const std::vector<std::pair<std::string, MCStateBytes::Fault>> table = {
        {good + " ", MCStateBytes::Damaged},
        {good + good, MCStateBytes::Damaged},
        {"<Sample>", MCStateBytes::Foreign},
        {std::string(200, '\0'), MCStateBytes::Foreign},
        {MCStateBytes::Wrap("Else", content({{"\1\4Else\2", 7}})), MCStateBytes::OtherKind},
        {MCStateBytes::Wrap("Sample", ""), MCStateBytes::Contradictory},
        {MCStateBytes::Wrap("Sample", inside.substr(0, 30)), MCStateBytes::Contradictory},
        {MCStateBytes::Wrap("Sample", own + own), MCStateBytes::Contradictory},
        {MCStateBytes::Wrap("Sample", wide), MCStateBytes::Contradictory},
        {MCStateBytes::Wrap("Sample", endless), MCStateBytes::Contradictory},
        {MCStateBytes::Wrap("Sample", own.replace(own.size() - 1, 1, "\3")), MCStateBytes::Contradictory},
    };
    for (const auto& [bytes, expected] : table)
        EXPECT_STREQ(MCStateBytes::GetText(fault(bytes)), MCStateBytes::GetText(expected)) << Hex(bytes);
}
