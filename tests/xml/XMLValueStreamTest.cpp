#include "modelcore/xml/XMLValueStream.h"
#include "modelcore/xml/XMLObj.h"
#include "support/FailingOutput.h"
#include "support/MovedFrom.h"
#include "support/Program.h"
#include "support/Testing.h"

#include <climits>
#include <fstream>
#include <new>

using namespace MCXML_930;

namespace {

/// A file that holds a text, open for reading.
struct TextFile {
    explicit TextFile(const std::string& text) : stream(folder.Write("stream", text)) {}
    std::ifstream& Stream() { return stream; }
    TemporaryFolder folder;
    std::ifstream stream;
};

template <class T>
std::string Written(T value)
{
    std::ostringstream os;
    EXPECT_EQ(XMLObj("o", 0).WriteSubElement(os, value), 0);
    return os.str();
}

template <class T>
bool Reads(const std::string& text, T& value)
{
    TextFile file(text);
    return ParseValue(file.Stream(), value);
}

/// One object with a value of each type.
struct Sample {
    int i = INT_MIN;
    unsigned int u = UINT_MAX;
    long l = LONG_MIN;
    unsigned long ul = 7;
    long long ll = LLONG_MIN;
    unsigned long long ull = ULLONG_MAX;
    bool b = true;
    double d = 0.1;
    std::string s = "a <\"b\"> \\ \n";

    auto All() { return std::tie(i, u, l, ul, ll, ull, b, d, s); }
    auto All() const { return std::tie(i, u, l, ul, ll, ull, b, d, s); }
    /// Whether all could be written: a fault stays in the state of the stream.
    bool Write(std::ostream& os) const
    {
        const XMLObj object("Object", 1);
        StartRoot(os, "we & \"us\"");
        object.StartObj(os);
        std::apply([&](const auto&... value) { (object.WriteSubElement(os, value), ...); }, All());
        object.EndObj(os);
        EndRoot(os);
        return !os.fail();
    }
    std::string Write() const
    {
        std::ostringstream os;
        Write(os);
        return os.str();
    }
    bool Read(std::ifstream& is)
    {
        const auto parse = [&is](auto&... value) { return (ParseValue(is, value) && ...); };
        return ParseStartXML(is) && ParseStartObj(is, "Object") && std::apply(parse, All()) && ParseEndObj(is) &&
               ParseEndObj(is);
    }
};

constexpr char kSampleText[] = "<?xml version=\"1.0\" encoding=\"UTF-8\" ?>\n"
                               "<MCXMLRoot copyright=\"we &amp; &quot;us&quot;\">\n"
                               "\t<Object>\n"
                               "\t\t<item value=\"-2147483648\"/>\n"
                               "\t\t<item value=\"4294967295\"/>\n"
                               "\t\t<item value=\"-9223372036854775808\"/>\n"
                               "\t\t<item value=\"7\"/>\n"
                               "\t\t<item value=\"-9223372036854775808\"/>\n"
                               "\t\t<item value=\"18446744073709551615\"/>\n"
                               "\t\t<item value=\"true\"/>\n"
                               "\t\t<item type=\"Double\" value=\"0.1\"/>\n"
                               "\t\t<item type=\"String\" value=\"a &lt;&quot;b&quot;&gt; \\\\ &#10;\"/>\n"
                               "\t</Object>\n"
                               "</MCXMLRoot>\n";

} // namespace

TEST(XMLValueStream, WritesAndReadsAnObject)
{
    const Sample written;
    ASSERT_EQ(written.Write(), kSampleText);
    const std::string body = std::string(kSampleText).substr(40);
    const std::string doctype = "<!DOCTYPE MCXMLRoot SYSTEM \"a>b\" [<!ENTITY e '>]'>\n]>";
    for (const std::string& text : {std::string(kSampleText), body, "\r\n " + doctype + body}) {
        TextFile file(text);
        Sample read{0, 0, 0, 0, 0, 0, false, 0.0, ""};
        ASSERT_TRUE(read.Read(file.Stream())) << text;
        EXPECT_EQ(read.Write(), kSampleText);
    }
    ExpectFailureIsTold([&](std::ostream& stream) { return written.Write(stream); });
    std::ostringstream os, other;
    WriteHeader(os, "x");
    EndHeader(os);
    StartRoot(other, "x");
    EndRoot(other);
    EXPECT_EQ(os.str(), other.str());
}

TEST(XMLValueStream, TextOfValues)
{
    const auto real = [](const std::string& text) { return "\t<item type=\"Double\" value=\"" + text + "\"/>\n"; };
    const auto string = [](const std::string& text) { return "\t<item type=\"String\" value=\"" + text + "\"/>\n"; };
    EXPECT_EQ(Written(kMissing), real("Missing"));
    EXPECT_EQ(Written(-kInf), real("-Infinity"));
    EXPECT_EQ(Written(-0.0), real("-0"));
    EXPECT_EQ(Written(std::bit_cast<double>(0xFFF8000000000123u)), real("NaN(fff8000000000123)"));
    EXPECT_EQ(Written(5e-324), real("5e-324"));
    EXPECT_EQ(Written(std::string("\0\x7F\xC3\xA4\r", 5)), string("\\x00\\x7f\\xc3\\xa4&#13;"));
    EXPECT_EQ(Written("text, not a bool"), string("text, not a bool"));
    EXPECT_EQ(XMLObj("o", INT_MIN).GetNTabs(), INT_MIN);
    std::ostringstream os;
    const MemoryLimit none(0); // the tabs of this depth are too many to write, and counting one more must not overflow
    EXPECT_THROW(XMLObj("o", INT_MAX).WriteSubElement(os, 1), std::bad_alloc);
}

TEST(XMLValueStream, RoundTripsLoseNothing)
{
    TestRandom random(11);
    const auto bits = [&random] {
        const auto half = [&random] { return static_cast<std::uint64_t>(random.Uniform(0.0, 0x1p32)); };
        return half() << 32 | half();
    };
    std::vector<double> reals{0.0,       -0.0,
                              kInf,      -kInf,
                              kMissing,  std::nextafter(kMissing, 0.0),
                              -kMissing, 5e-324,
                              0.1,       std::bit_cast<double>(0x7FF0000000000001u)};
    while (reals.size() < 5000) reals.push_back(std::bit_cast<double>(bits()));
    std::vector<std::string> strings{"", " ", "\\", "\\x41", "&#10;", "Missing", std::string(100000, '<')};
    while (strings.size() < 500) {
        std::string& text = strings.emplace_back();
        for (int length = random.Below(40); length > 0; --length) text += static_cast<char>(random.Below(256));
    }
    const std::vector<long> longs{0, -1, LONG_MIN, LONG_MAX, (1L << 53) + 1};

    std::ostringstream os;
    const XMLObj object("o", 0);
    for (const double value : reals) object.WriteSubElement(os, value);
    for (const std::string& value : strings) object.WriteSubElement(os, value);
    for (const long value : longs) object.WriteSubElement(os, value);

    TextFile file(os.str());
    const auto next = [&file](auto value) {
        EXPECT_TRUE(ParseValue(file.Stream(), value));
        return value;
    };
    for (const double expected : reals) {
        const double value = next(1.0);
        ASSERT_TRUE(SameBits({&value, 1}, {&expected, 1}));
    }
    for (const std::string& expected : strings) ASSERT_EQ(next(std::string("before")), expected);
    for (const long expected : longs) ASSERT_EQ(next(3L), expected);
}

TEST(XMLValueStream, DamageAtEveryByteEndsAndIsNoticedWhereItCanBe)
{
    const std::string text = kSampleText;
    const std::size_t end = text.rfind('>') + 1;
    for (std::size_t at = 0; at < end; ++at) {
        TextFile cut(text.substr(0, at));
        ASSERT_FALSE(Sample().Read(cut.Stream())) << "cut at " << at;
        for (const char c : {'\0', '<', '>', '"', '/', '=', ' ', '\\', '&', '7', '\xFF'}) {
            std::string damaged = text;
            damaged[at] = c;
            TextFile file(damaged);
            Sample other;
            // Another digit or letter can pass, or a blank for a blank; never a byte that is not text.
            const bool read = other.Read(file.Stream()) && damaged != text;
            EXPECT_FALSE(read && c == '\0') << damaged;
            EXPECT_FALSE(read && c == '<' && at > text.find('\n')) << damaged; // the declaration is skipped
        }
        TextFile doubled(text.substr(0, at) + text[at] + text.substr(at));
        Sample().Read(doubled.Stream());
    }
}

TEST(XMLValueStream, RefusesAnythingElse)
{
    int i = 5;
    unsigned int u = 5;
    long l = 5;
    bool b = true;
    double d = 5;
    std::string s = "5";
    const auto refuses = [](auto& value, const char* type, std::initializer_list<const char*> texts) {
        for (const std::string text : texts)
            EXPECT_FALSE(Reads("<item" + std::string(type) + " value=\"" + text + "\"/>", value)) << text;
    };
    refuses(i, "", {"2147483648", "-2147483649", "", " 1", "1 ", "+1", "0x1", "1.0", "true", "9999999999999999999999"});
    refuses(u, "", {"-1", "4294967296"});
    refuses(l, "", {"9223372036854775808"});
    refuses(b, "", {"0", "1", "True", ""});
    refuses(d, " type=\"Double\"",
            {"1e400", "1e-400", "nan", "inf", "infinity", "", "1,5", "missing", "NaN(", "NaN()",
             "NaN(7ff0000000000000)", "NaN(7ff8000000000000", "NaN(-7ff8000000000000)"});
    refuses(s, " type=\"String\"",
            {"\\", "\\x", "\\x4", "\\xg0", "\\x4g", "\\n", "&", "&amp", "&#65;", "&lt", "\t", ">", "\x80"});
    for (const char* const text : {"<item/>", "<item type=\"String\"/>", "<item value=\"x\"/>", "<Item value=\"x\"/>",
                                   "<item type=\"Double\" value=\"1\"/>", "<item type=\"String\" value=\"x\">",
                                   "<item type=\"String\" type=\"String\" value=\"x\"/>", "item", "",
                                   "<item type=\"String\" other=\"\" value=\"x\"/>"})
        EXPECT_FALSE(Reads(text, s)) << text;
    EXPECT_FALSE(Reads("<item type=\"Double\" value=\"1\"/>", i));
    EXPECT_FALSE(Reads("<item value=\"1\"/>", d));
    EXPECT_EQ(std::make_tuple(i, u, l, b, d, s), std::make_tuple(5, 5u, 5L, true, 5.0, "5"));

    const std::string huge(5000000, 'x');
    TextFile longName("<" + huge + ">");
    EXPECT_FALSE(ParseStartObj(longName.Stream(), huge));
    EXPECT_LT(longName.Stream().tellg(), 2000);
    TextFile longNumber("<item type=\"Double\" value=\"" + huge);
    EXPECT_FALSE(ParseValue(longNumber.Stream(), d));
    EXPECT_LT(longNumber.Stream().tellg(), 2000);
    TextFile twoDeclarations("<?xml ?><?xml ?><MCXMLRoot>");
    EXPECT_FALSE(ParseStartXML(twoDeclarations.Stream()));
    TextFile otherName("<a></a>");
    EXPECT_FALSE(ParseStartObj(otherName.Stream(), "b"));
    std::ifstream closed;
    EXPECT_TRUE(NoneOf({ParseStartXML(closed), ParseStartObj(closed, ""), ParseEndObj(closed), ParseValue(closed, i)}));
}

TEST(XMLValueStream, SpacesMayStandBetweenTokens)
{
    TextFile file("< o >\r\n< item\tvalue = \"-7\" type=\"\" / ><item value=\"x y\"\ntype=\"String\"/>< / o >");
    int i = 0;
    std::string s;
    EXPECT_TRUE(ParseStartObj(file.Stream(), "o") && ParseValue(file.Stream(), i) && ParseValue(file.Stream(), s) &&
                ParseEndObj(file.Stream()));
    EXPECT_TRUE(i == -7 && s == "x y");
}
