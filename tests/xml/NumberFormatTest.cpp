#include "modelcore/xml/NumberFormat.h"
#include "modelcore/xml/ExportFormat.h"
#include "modelcore/xml/XMLAttribute.h"
#include "support/Program.h"
#include "support/Testing.h"

#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <iomanip>
#include <locale>

using namespace MCXML_930;

namespace {

// The definition of both forms: what a stream of the classic locale prints.
std::string Streamed(double v, bool fixed)
{
    std::ostringstream stream;
    stream.imbue(std::locale::classic());
    if (fixed) stream << std::fixed;
    stream << std::setprecision(fixed ? 16 : 15) << v;
    return stream.str();
}

class DecimalComma : public std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

/// Makes the C locale print a comma, with an installed locale or else with one made up in the C library's own format.
bool UseDecimalComma()
{
    for (const char* const name : {"de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8", "nl_NL.UTF-8", "de_DE", "German"})
        if (std::setlocale(LC_NUMERIC, name) != nullptr) return true;
#ifdef __GLIBC__
    // LC_NUMERIC of glibc: magic, number of fields, their offsets; decimal point, separator, grouping, the first two
    // as wide characters, and the character set.
    const std::uint32_t head[] = {0x20031115 ^ LC_NUMERIC, 6, 32, 34, 35, 36, 40, 44};
    std::string file(reinterpret_cast<const char*>(head), sizeof head);
    file.append(",\0\0\0,\0\0\0\0\0\0\0UTF-8\0", 18);
    const TemporaryFolder folder;
    std::filesystem::create_directories(folder.File("xx_XX"));
    folder.Write("xx_XX/LC_NUMERIC", file);
    setenv("LOCPATH", folder.File("").c_str(), 1);
    const bool done = std::setlocale(LC_NUMERIC, "xx_XX") != nullptr;
    unsetenv("LOCPATH");
    return done;
#else
    return false;
#endif
}

std::string AttributeText(XMLAttribute* attribute)
{
    ExportFormat fmt;
    std::string text;
    attribute->ToString(text, fmt);
    delete attribute;
    return text;
}

} // namespace

TEST(NumberFormat, KnownTexts)
{
    const struct {
        double value;
        const char *general, *fixed;
    } cases[] = {
        {-0.0, "-0", "-0.0000000000000000"},
        {-2.5, "-2.5", "-2.5000000000000000"},
        {0.0001, "0.0001", "0.0001000000000000"},
        {0.00001, "1e-05", "0.0000100000000000"},
        {123456789012345.0, "123456789012345", "123456789012345.0000000000000000"},
        {1234567890123456.0, "1.23456789012346e+15", "1234567890123456.0000000000000000"},
        {1e15, "1e+15", "1000000000000000.0000000000000000"},
        {999999999999999.5, "1e+15", "999999999999999.5000000000000000"},
        {5e-324, "4.94065645841247e-324", "0.0000000000000000"},
        {kInf, "inf", "inf"},
        {-kInf, "-inf", "-inf"},
        {kNan, "nan", "nan"},
        {-kNan, "-nan", "-nan"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(ReplaceSep(c.value), c.general);
        EXPECT_EQ(ReplaceSep(c.value, nullptr), c.fixed);
        EXPECT_EQ(Format(c.value, false, nullptr), c.general);
    }
    EXPECT_EQ(ReplaceSep(std::numeric_limits<double>::lowest(), nullptr).size(), 327u);
    EXPECT_EQ(Format(12L), "12");
    EXPECT_EQ(GetDefaultNumericFormat() + GetListSeparator() + GetDecimalCharacter(), "%.15g;.");
    EXPECT_EQ(Format(-1234567890123456L), "-1.23456789012346e+15");
}

// New values each time with --gtest_shuffle --gtest_repeat=100.
TEST(NumberFormat, EqualsTheClassicStream)
{
    TestRandom random(7 + static_cast<unsigned>(testing::UnitTest::GetInstance()->random_seed()));
    const auto compare = [&](double v) {
        ASSERT_EQ(ReplaceSep(v), Streamed(v, false)) << std::hexfloat << v;
        ASSERT_EQ(ReplaceSep(v, nullptr), Streamed(v, true)) << std::hexfloat << v;
    };
    for (int i = 0; i < 100000; ++i) {
        const auto high = static_cast<std::uint64_t>(random.Uniform(0.0, 0x1p32));
        const auto low = static_cast<std::uint64_t>(random.Uniform(0.0, 0x1p32));
        compare(std::bit_cast<double>(high << 32 | low));
    }
    // Every power of ten, and the doubles around halves between two numbers of 15 digits in every decade.
    for (int e = -324; e <= 308; ++e)
        for (int i = 0; i < 40; ++i) {
            const auto digits = static_cast<std::uint64_t>(random.Uniform(1e14, 1e15));
            const std::string text =
                i == 0 ? "1e" + std::to_string(e) : std::to_string(digits) + "5e" + std::to_string(e - 15);
            const double v = std::strtod(text.c_str(), nullptr);
            for (const double w : {v, std::nextafter(v, 0.0), std::nextafter(v, HUGE_VAL)}) compare(w);
        }
    for (int i = 0; i < 20000; ++i) {
        compare(random.Below(2000000) / 1000.0);
        compare(random.Below(2000000000));
    }
}

TEST(NumberFormat, TheProgramsLocaleDoesNotMatter)
{
    const std::locale before = std::locale::global(std::locale(std::locale::classic(), new DecimalComma));
    EXPECT_EQ(ReplaceSep(1234567.5), "1234567.5");
    EXPECT_EQ(ReplaceSep(1234567.5, nullptr), "1234567.5000000000000000");
    EXPECT_EQ(AttributeText(XMLAttribute::Create("x", 1234.5)), "x=\"1234.5\"");
    std::locale::global(before);
    EXPECT_EQ(AttributeText(XMLAttribute::Create("x", 0.1, false)), "x=\"0.1\"");
    EXPECT_EQ(AttributeText(XMLAttribute::Create("x", 0.1, true)), "x=\"0.1000000000000000\"");
}

TEST(NumberFormat, AFormatOfPrintfFollowsTheCLocale)
{
    EXPECT_EQ(GetDecimalCharacter(), ".");
    EXPECT_EQ(Format(2.0 / 3.0, true, nullptr), "0.666666666666667");
    EXPECT_EQ(Format(1.5, true, "<%12.4f>"), "<      1.5000>");
    EXPECT_EQ(Format(-1.7976931348623157e308, true, "%.20f").size(), 331u);

    const std::string before = std::setlocale(LC_NUMERIC, nullptr);
    if (!UseDecimalComma()) GTEST_SKIP() << "no locale with a decimal comma can be had here";
    EXPECT_EQ(GetDecimalCharacter(), ",");
    EXPECT_EQ(Format(1.5, true, nullptr), "1,5");
    EXPECT_EQ(Format(1.5, false, nullptr), "1.5");
    EXPECT_EQ(ReplaceSep(1.5, nullptr), "1.5000000000000000");
    std::setlocale(LC_NUMERIC, before.c_str());
}
