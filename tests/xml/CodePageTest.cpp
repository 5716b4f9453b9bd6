#include "modelcore/xml/internal/CodePage.h"
#include "modelcore/xml/XMLElement.h"
#include "modelcore/xml/XMLWrite.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <sstream>
#include <string>

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
        {"overlong", "UTF-8", "\xC0\xAF", "\uFFFD\uFFFD"},
        {"NUL", "UTF-8", std::string("a\0ß", 4), std::string("a\0ß", 4)},
        {"empty", "UTF-8", "", ""},
        {"unknown code page is read as UTF-8", "NO-SUCH-SET", "ß\xFF", "ß\uFFFD"},
    };
    for (const auto& c : cases) EXPECT_EQ(ToUTF8(c.codePage, c.text), c.expected) << c.name;
    EXPECT_EQ(ToUTF8("UTF-8", std::string(1000, '\xFF')).size(), 3000u);
}

// CTest runs this one in several locales.
TEST(CodePage, OfTheProcessIsThatOfTheEnvironment)
{
    const char* const locale = std::getenv("LC_ALL");
    const bool latin = locale != nullptr && std::string(locale) == "de_DE.ISO-8859-1";
    if (!latin && internal::ProcessCodePage() != "UTF-8") GTEST_SKIP() << "runs in UTF-8 and in ISO-8859-1 only";
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
}
