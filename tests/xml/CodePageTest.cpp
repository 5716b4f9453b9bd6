#include "modelcore/xml/internal/CodePage.h"
#include "modelcore/xml/ExportFormat.h"
#include "modelcore/xml/XMLElement.h"
#include "modelcore/xml/XMLWrite.h"
#include "support/Growth.h"
#include "support/Testing.h"

#include <cstdlib>
#include <locale.h>

using namespace MCXML_930;

namespace {

std::string ToUTF8(const std::string& codePage, const std::string& text)
{
    std::string out = "<";
    internal::CodePageReader(codePage).AppendAsUTF8(out, text);
    return out.substr(1);
}

} // namespace

TEST(CodePage, BytesBecomeUTF8AndFaultyBytesTheReplacementCharacter)
{
    const struct {
        const char *name, *codePage;
        std::string text, expected;
    } cases[] = {
        {"ASCII", "UTF-8", "plain", "plain"},
        {"Latin-1", "ISO-8859-1", "Gr\xF6\xDF", "Größ"},
        {"Latin-9 has the euro", "ISO-8859-15", "\xA4", "€"},
        {"Windows", "CP1252", "\x80\x93", "€“"},
        {"two, three and four bytes", "UTF-8", "ß€𝛼", "ß€𝛼"},
        {"two-byte code page", "SHIFT_JIS", "\x83\x41<", "ア<"},
        {"lone trail byte", "UTF-8", "a\x80z", "a\uFFFDz"},
        {"cut short", "UTF-8", "a\xE2\x82", "a\uFFFD\uFFFD"},
        {"cut short before a letter", "UTF-8", "\xE2\x82z", "\uFFFD\uFFFDz"},
        {"surrogate", "UTF-8", "\xED\xA0\x80", "\uFFFD\uFFFD\uFFFD"},
        {"beyond Unicode", "UTF-8", "\xF4\x90\x80\x80", "\uFFFD\uFFFD\uFFFD\uFFFD"},
        {"overlong", "UTF-8", "\xC0\xAF\xE0\x9F\xBF", "\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD"},
        {"overlong, four bytes", "UTF-8", "\xF0\x8F\xBF\xBF", "\uFFFD\uFFFD\uFFFD\uFFFD"},
        {"ends of each length", "UTF-8", "\u0080\u07FF\u0800\uD7FF\uE000\uFFFF\U00010000\U0010FFFF",
         "\u0080\u07FF\u0800\uD7FF\uE000\uFFFF\U00010000\U0010FFFF"},
        {"a bad byte among good ones", "GBK", "\x81\x5C\xFF\x81\x5C", "乗\uFFFD乗"},
        {"the last letter waits for its accent", "CP1258", "Vi\xEA\xF2t a", "Việt a"},
        {"NUL", "UTF-8", std::string("a\0ß", 4), std::string("a\0ß", 4)},
        {"empty", "UTF-8", "", ""},
        {"the last of ASCII", "ISO-8859-1", "\x7F\xDF", "\x7Fß"},
        {"unknown code page is read as UTF-8", "NO-SUCH-SET", "ß\xFF", "ß\uFFFD"},
    };
    for (const auto& c : cases) EXPECT_EQ(ToUTF8(c.codePage, c.text), c.expected) << c.name;
    // Characters across the ends of the pieces in which a text is converted.
    std::string gbk = "a", utf8 = "a";
    for (int i = 0; i < 5000; ++i) {
        gbk += "\x81\x5C";
        utf8 += "乗";
    }
    EXPECT_EQ(ToUTF8("GBK", gbk), utf8);
    for (const char* const codePage : {"UTF-8", "GBK"})
        ExpectLinearTime(500000, [codePage](int size) {
            const std::size_t count = static_cast<std::size_t>(size);
            EXPECT_EQ(ToUTF8(codePage, std::string(count, '\xFF')).size(), 3 * count);
        });
}

TEST(CodePage, CharactersHaveTheirLengthAndASCIIMayHaveOtherSigns)
{
    const struct {
        const char *codePage, *text;
        std::size_t length;
    } cases[] = {
        {"GBK", "\x81\x5C", 2}, {"GBK", "\x81", 1},   {"GBK", "\xFF\x5C", 1},       {"GB18030", "\x81\x30\x81\x30", 4},
        {"UTF-8", "ß", 2},      {"UTF-8", "\x80", 1}, {"ISO-8859-1", "\xE4\x5C", 1}};
    for (const auto& c : cases)
        EXPECT_EQ(internal::CodePageReader(c.codePage).CharacterLength(c.text), c.length) << c.codePage;
    EXPECT_TRUE(internal::CodePageReader("UTF-8").KeepsASCII() && internal::CodePageReader("CP932").KeepsASCII());
    EXPECT_FALSE(internal::CodePageReader("SHIFT_JIS").KeepsASCII());
}

TEST(CodePage, TheEnvironmentNamesIt)
{
    const char* const old = std::getenv("LC_ALL");
    const std::string before = old != nullptr ? old : "";
    for (const auto& [locale, codePage] :
         {std::pair("C", "UTF-8"), std::pair("POSIX", "UTF-8"), std::pair("xx", "UTF-8"), std::pair("xx.", "UTF-8"),
          std::pair("xx_YY.KOI8-R", "KOI8-R"), std::pair("xx_YY.KOI8-R@euro", "KOI8-R")}) {
        setenv("LC_ALL", locale, 1);
        EXPECT_EQ(internal::CodePageOfEnvironment(), codePage) << locale;
    }
    // An installed locale is asked: its own name for the character set is not the one that stands in this.
    if (const locale_t installed = newlocale(LC_CTYPE_MASK, "C.utf8", nullptr); installed != nullptr) {
        freelocale(installed);
        setenv("LC_ALL", "C.utf8", 1);
        EXPECT_EQ(internal::CodePageOfEnvironment(), "UTF-8");
    }
    old != nullptr ? setenv("LC_ALL", before.c_str(), 1) : unsetenv("LC_ALL");
}

// CTest runs this one in several locales.
TEST(CodePage, OfTheProcessIsThatOfTheEnvironment)
{
    const char* const locale = std::getenv("LC_ALL");
    const bool latin = locale != nullptr && std::string(locale) == "de_DE.ISO-8859-1";
    if (internal::ProcessCodePage() == "SHIFT_JIS") { // plain ASCII is converted as everything else
        const std::unique_ptr<XMLElement> yen(XMLElement::Create("r"));
        yen->AddAttribute("a", "\\");
        yen->AddAttribute("b", "\\&");
        yen->AddElement(XMLString::Create("~"));
        std::ostringstream os;
        ExportFormat fmt;
        yen->ToStream(os, fmt, true);
        EXPECT_EQ(os.str(), "\n<r a=\"¥\" b=\"¥&amp;\">‾</r>");
        return;
    }
    if (!latin && internal::ProcessCodePage() != "UTF-8") GTEST_SKIP() << "runs in three code pages only";
    const std::string text = latin ? "\xC5ngstr\xF6m" : "Ångström";

    const std::unique_ptr<XMLElement> root(XMLElement::Create("R" + text));
    root->AddAttribute(text, text + "&");
    root->AddElement(XMLString::Create(text + "<"));
    std::ostringstream utf8, bytes, string;
    WriteTreeUTF8(utf8, nullptr, root.get(), false);
    WriteTree(bytes, nullptr, root.get(), false);
    WriteUTF(string, text);

    const std::string head = "<?xml version=\"1.0\" encoding=\"UTF-8\" ?>\n";
    EXPECT_EQ(utf8.str(), head + "<RÅngström Ångström=\"Ångström&amp;\">Ångström&lt;</RÅngström>");
    EXPECT_EQ(bytes.str(), head + "<R" + text + " " + text + "=\"" + text + "&amp;\">" + text + "&lt;</R" + text + ">");
    EXPECT_EQ(string.str(), "Ångström");
    WriteUTF(string, latin ? "\xDF" : "\xFF");
    EXPECT_EQ(string.str(), latin ? "Ångströmß" : "Ångström\uFFFD");
}
