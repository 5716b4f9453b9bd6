#include "modelcore/xml/XMLUtil.h"
#include "support/Testing.h"

using namespace MCXML_930;

namespace {

// The rule as eight passes over the whole value and the two ends.
std::string EscapedInPasses(std::string s)
{
    const char* const passes[][2] = {{"&", "&amp;"}, {"<", "&lt;"},   {">", "&gt;"},   {"\"", "&quot;"},
                                     {"\t", "&#9;"}, {"\n", "&#10;"}, {"\r", "&#13;"}, {"  ", " &#32;"}};
    for (const auto& pass : passes) XMLUtil::ReplaceAll(s, pass[0], pass[1]);
    if (!s.empty() && s.front() == ' ') s.replace(0, 1, "&#32;");
    if (!s.empty() && s.back() == ' ') s.replace(s.size() - 1, 1, "&#32;");
    return s;
}

} // namespace

TEST(XMLUtil, EscapeEqualsThePasses)
{
    EXPECT_EQ(XMLUtil::Escape("a    b&amp; "), "a &#32; &#32;b&amp;amp;&#32;");
    EXPECT_EQ(XMLUtil::Escape("<\"\t\n\r>"), "&lt;&quot;&#9;&#10;&#13;&gt;");
    EXPECT_EQ(XMLUtil::Escape("   "), "&#32;&#32;&#32;");
    TestRandom random(3);
    const std::string alphabet = "  &<>\"\t\n\rab\xC3";
    for (int i = 0; i < 20000; ++i) {
        std::string value;
        for (int length = random.Below(12); length > 0; --length)
            value += alphabet[static_cast<std::size_t>(random.Below(static_cast<int>(alphabet.size())))];
        ASSERT_EQ(XMLUtil::Escape(value), EscapedInPasses(value)) << value;
    }
}

TEST(XMLUtil, Replacements)
{
    std::string s = "one two one";
    int pos = 1;
    EXPECT_EQ(XMLUtil::ReplaceAtPos(s, "one", "1", pos), 8);
    EXPECT_TRUE(pos == 8 && s == "one two 1");
    const struct {
        const char* find;
        int start;
    } misses[] = {{"one", -1}, {"one", 10}, {"1", 9}, {"", 0}, {nullptr, 0}}; // the end itself is no fault
    for (const auto& miss : misses) {
        pos = miss.start;
        EXPECT_EQ(XMLUtil::ReplaceAtPos(s, miss.find, "x", pos), -1) << miss.start;
        EXPECT_TRUE(pos == miss.start && s == "one two 1");
    }
    EXPECT_TRUE(XMLUtil::ReplaceString(s, "o", "0") == 0 && s == "0ne two 1");
    EXPECT_TRUE(XMLUtil::ReplaceAll(s, "e", "ee") == 1 && s == "0nee two 1");
    EXPECT_EQ(XMLUtil::ReplaceAll(s, "", "x"), 0);
    s = "aaaa";
    EXPECT_TRUE(XMLUtil::ReplaceAll(s, "aa", "aab") == 2 && s == "aabaab");
    EXPECT_EQ(XMLUtil::GetTabs(-3) + XMLUtil::GetTabs(2), "\t\t");
    EXPECT_EQ(XMLUtil::toString(-2147483647 - 1), "-2147483648");
}
