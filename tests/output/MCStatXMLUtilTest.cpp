#include "modelcore/output/MCStatXMLUtil.h"

#include "modelcore/xml/ExportFormat.h"
#include "modelcore/xml/XMLElement.h"
#include "modelcore/xml/internal/CodePage.h"
#include "support/MovedFrom.h"
#include "support/Numbers.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

using namespace MCXML_930;
using Util = MCStatXMLUtil;

namespace {

/// The element on one line; deletes it.
std::string Text(XMLElement* element)
{
    ExportFormat fmt;
    fmt.SetFormat(false);
    std::string text;
    element->ToString(text, fmt);
    delete element;
    return text;
}

template <class Add>
std::string ListText(Add add)
{
    XMLElement* const element = XMLElement::Create("l");
    add(*element);
    return Text(element);
}

/// An element that can be copied.
struct Holder {
    Holder() = default;
    Holder(const Holder& other) : element(other.element->Clone()) {}
    std::unique_ptr<XMLElement> element{XMLElement::Create("l")};
};

} // namespace

// What the sample of StatXMLDocumentTest does not hold.
TEST(MCStatXMLUtil, Elements)
{
    const auto covariates = [] {
        return std::vector{Util::CreateElemCovariate("x", 2), Util::CreateElemCovariate("y", 1)};
    };
    const auto factors = [] {
        return std::vector{Util::CreateElemFactor("f", "a", true), Util::CreateElemFactor("f", 12, false)};
    };
    const std::string terms =
        "<Covariate field=\"x\" power=\"2\"/><Covariate field=\"y\" power=\"1\"/>"
        "<Factor field=\"f\" value=\"a\" nest=\"true\"/><Factor field=\"f\" value=\"12\" nest=\"false\"/>";
    const MCXMLCounts counts{10.5, 1, 0, 3};
    const struct {
        XMLElement* element;
        std::string expected;
    } cases[] = {
        {Util::CreateElem("E", "a", 0.1), "<E a=\"0.1\"/>"},
        {Util::CreateElem("E", "a", "x"), "<E a=\"x\"/>"},
        {Util::CreateElem("E", "a", "x", "b", "y"), "<E a=\"x\" b=\"y\"/>"},
        {Util::CreateElemCounts(counts),
         "<Counts totalFreq=\"10.5\" missingFreq=\"1\" invalidFreq=\"0\" cardinality=\"3\"/>"},
        {Util::CreateElemStatistic("mean", kMissing), "<Statistic name=\"mean\" value=\"__MISSING__\"/>"},
        {Util::CreateElemStatistic("sd", -kNan), "<Statistic name=\"sd\" value=\"__MISSING__\"/>"},
        {Util::CreateElemStatistic("F", kInf), "<Statistic name=\"F\" value=\"inf\"/>"},
        {Util::CreateElemFactor("f", kMissing, false), "<Factor field=\"f\" value=\"__MISSING__\" nest=\"false\"/>"},
        {Util::CreateElemRegressionParameter("p", false, covariates(), factors()),
         "<RegressionParameter name=\"p\" isIntercept=\"false\">" + terms + "</RegressionParameter>"},
        {Util::CreateElemLabel("l", Util::CreateElemCovariate("x", -1)),
         "<Label label=\"l\"><Covariate field=\"x\" power=\"-1\"/></Label>"},
        {Util::CreateElemLabel("l", covariates(), factors()), "<Label label=\"l\">" + terms + "</Label>"},
        {Util::CreateElemRowColLabels("row", Util::CreateElemLabel("l")),
         "<RowColLabels dimension=\"row\"><Label label=\"l\"/></RowColLabels>"},
        {Util::CreateElemMatrixLabels({Util::CreateElemRowColLabels("row"), nullptr}),
         "<MatrixLabels><RowColLabels dimension=\"row\"/></MatrixLabels>"},
        {Util::CreateElemMatrix(nullptr, {}, nullptr, nullptr, 4294967295u, 0, "", false),
         "<Matrix kind=\"\" nbRows=\"4294967295\" symmetric=\"false\" nbCols=\"0\" rowMajor=\"true\"/>"},
        {Util::CreateElemMatrix(Util::CreateElemMatrixLabels({}),
                                {XMLElement::Create("s"), nullptr, XMLElement::Create("t")}, nullptr,
                                XMLElement::Create("b"), 2, 2, "k", true),
         "<Matrix kind=\"k\" nbRows=\"2\" symmetric=\"true\" nbCols=\"2\" "
         "rowMajor=\"true\"><MatrixLabels/><s/><t/><b/></Matrix>"},
        {Util::CreateElemCoordinates(MCXMLCoordinates{"f", "", "s", {1, kMissing}}),
         "<Coordinates feature=\"f\" statistic=\"s\">1 __MISSING__</Coordinates>"},
        {Util::CreateElemCoordinatesGroup(XMLElement::Create("a"), {nullptr, XMLElement::Create("b")}, "d"),
         "<CoordinatesGroup description=\"d\"><a/><b/></CoordinatesGroup>"},
        {MCXMLCoordinatesGroup{"d", {{"f", "x", "", {}}, {"g", "", "", {2}}}}.GetCoordinatesGroup(),
         "<CoordinatesGroup description=\"d\"><Coordinates feature=\"f\" field=\"x\"/>"
         "<Coordinates feature=\"g\">2</Coordinates></CoordinatesGroup>"},
        {Util::CreateElemRecordInfo("7", "seven", std::vector<std::vector<int>>{{1, 2}, {}}),
         "<RecordInfo recordId=\"7\" recordLabel=\"seven\"><Array type=\"int\">1 2</Array><Array "
         "type=\"int\"/></RecordInfo>"},
        {Util::CreateElemRecordInfo(MCXMLRecordInfo{"7", "", {{0.5, 12}}}),
         "<RecordInfo recordId=\"7\" recordLabel=\"\"><Array type=\"real\">0.5 12</Array></RecordInfo>"},
        {Util::CreateElemFieldInfo("n", 0.5, false),
         "<FieldInfo fieldName=\"n\" fieldValue=\"0.5\" isNull=\"false\"/>"},
        {Util::CreateElemFieldInfo("n", "v", true), "<FieldInfo fieldName=\"n\" fieldValue=\"v\" isNull=\"true\"/>"},
        {Util::CreateElemSegmentInfo(XMLElement::Create("a")), "<SegmentInfo><a/></SegmentInfo>"},
        {Util::CreateElemSegmentInfo(std::vector{XMLElement::Create("a"), XMLElement::Create("b")}),
         "<SegmentInfo><a/><b/></SegmentInfo>"},
        {Util::CreateElemIndices(XMLElement::Create("a"), "row"), "<Indices dimension=\"row\"><a/></Indices>"},
        {Util::CreateElemSegmentData(XMLElement::Create("a"), XMLElement::Create("b")),
         "<SegmentData><a/><b/></SegmentData>"},
    };
    for (const auto& c : cases) EXPECT_EQ(Text(c.element), c.expected);
}

TEST(MCStatXMLUtil, ValueLists)
{
    const std::vector<double> reals{1.5, kMissing, 2, 1e-7};
    const std::vector<int> ints{7, 12, 0, -3, 10, 15, 25, -2147483647 - 1};
    const std::vector<std::string> strings{"a\"b\\c", "", "d e<"};
    const std::string realText = "1.5 __MISSING__ 2 1e-07", intText = "7 1e+01 0 -3 1e+01 2e+01 2e+01 -2e+09";
    const std::string quoted = "\"a\\\"b\\\\c\" \"\" \"d e&lt;\"";

    EXPECT_EQ(Text(Util::CreateElemArray(reals)), "<Array type=\"real\">" + realText + "</Array>");
    EXPECT_EQ(Text(Util::CreateElemArray(reals.data(), 4)), "<Array type=\"real\">" + realText + "</Array>");
    EXPECT_EQ(Text(Util::CreateElemArray(ints)), "<Array type=\"int\">" + intText + "</Array>");
    EXPECT_EQ(Text(Util::CreateElemArray(strings)), "<Array type=\"string\">" + quoted + "</Array>");
    EXPECT_EQ(Text(Util::CreateElemArray("x y", 2)), "<Array type=\"string\">\"x y\" \"x y\"</Array>");
    EXPECT_EQ(Text(Util::CreateElemArray("x", -1)), "<Array type=\"string\"/>");
    EXPECT_EQ(Text(Util::CreateElemArray(reals.data(), -1)), "<Array type=\"real\"/>");
    EXPECT_EQ(Text(Util::CreateElemArray(std::vector<int>())), "<Array type=\"int\"/>");
    // A trail byte of a backslash, a lone lead byte before a backslash, and both behind a character of two bytes.
    const bool isGBK = internal::ProcessCodePage() == "GBK";
    EXPECT_EQ(Util::ReplaceSpecialChar("\x81\x5C\"\xFF\x5C\x81\x81\x5C"),
              isGBK ? "\x81\x5C\\\"\xFF\\\x5C\x81\x81\\\x5C" : "\x81\\\x5C\\\"\xFF\\\x5C\x81\x81\\\x5C");
    std::string many = "0.125"; // longer than a piece of the writer
    for (int i = 1; i < 3000; ++i) many += " 0.125";
    EXPECT_EQ(Text(Util::CreateElemArray(std::vector(3000, 0.125))), "<Array type=\"real\">" + many + "</Array>");

    const std::string all = "<Coordinates feature=\"f\" field=\"x\" statistic=\"s\">", end = "</Coordinates>";
    EXPECT_EQ(Text(Util::CreateElemCoordinates("f", "x", "s", reals)), all + realText + end);
    EXPECT_EQ(Text(Util::CreateElemCoordinates("f", "x", "s", reals.data(), 1)), all + "1.5" + end);
    EXPECT_EQ(Text(Util::CreateElemCoordinates("f", "x", "s", ints)), all + intText + end);
    EXPECT_EQ(Text(Util::CreateElemCoordinates("f", "x", "s", ints.data(), 1)), all + "7" + end);
    EXPECT_EQ(Text(Util::CreateElemCoordinates("f", "x", "s", strings)), all + "a\"b\\c  d e&lt;" + end);
    EXPECT_EQ(Text(Util::CreateElemCoordinates("f", "x", "s", strings.data(), 1)), all + "a\"b\\c" + end);
    EXPECT_EQ(Text(Util::CreateElemCoordinates("f", "", "", reals.data(), 0)), "<Coordinates feature=\"f\"/>");

    EXPECT_EQ(ListText([&](XMLElement& e) { Util::AddDoublesList(e, reals.data(), 2); }), "<l>1.5 __MISSING__</l>");
    EXPECT_EQ(ListText([&](XMLElement& e) { Util::AddDoublesList(e, nullptr, 2); }), "<l/>");
    EXPECT_EQ(ListText([&](XMLElement& e) { Util::AddIntList(e, ints); }), "<l>" + intText + "</l>");
    EXPECT_EQ(ListText([&](XMLElement& e) { Util::AddStringList(e, "a \"b"); }), "<l>a \"b</l>");
    EXPECT_EQ(ListText([&](XMLElement& e) { Util::AddStringList(e, {"a", "b", "c"}); }), "<l>a b c</l>");
}

TEST(MCStatXMLUtil, VariateDataPicksItsElementByTheNumberOfVariables)
{
    MCVariateData data{"d", {}, {{"mean", 2.5}}};
    const std::string statistic = "<Statistic name=\"mean\" value=\"2.5\"/>";
    std::string variables;
    for (const char* const name : {"UnivariateData", "UnivariateData", "BivariateData", "MultivariateData"}) {
        const std::string content = " description=\"d\">" + variables + statistic;
        EXPECT_EQ(Text(Util::CreateElemVarData(data)), std::string(1, '<') + name + content + "</" + name + ">");
        data.fVariables.push_back({name, "", "", {1}});
        variables += Text(data.fVariables.back().GetCoordinates());
    }

    const std::vector<MCXMLCoordinates> coordinates{{"a", "", "", {}}, {"b", "", "", {}}, {"c", "", "", {}}};
    const struct {
        int first, count;
        const char* expected;
    } ranges[] = {{0, 3, "abc"}, {1, 1, "b"}, {1, 2147483647, "bc"}, {-1, 2, "a"}, {3, 1, ""}, {1, 0, ""}, {1, -1, ""}};
    for (const auto& range : ranges) {
        const std::string text = ListText(
            [&](XMLElement& e) { MCVariateData::AddCoordinatesToVarData(&e, coordinates, range.first, range.count); });
        std::string features;
        for (std::size_t at = text.find("=\""); at != std::string::npos; at = text.find("=\"", at + 1))
            features += text[at + 2];
        EXPECT_EQ(features, range.expected);
    }
    MCVariateData::AddCoordinatesToVarData(nullptr, coordinates, 0, 3);

    data = {"d", {}, {{"mean", kInf}, {"sd", kMissing}}}; // statistics of values beyond the range, or of one value
    const std::string nothing = "value=\"__MISSING__\"/>";
    EXPECT_EQ(Text(Util::CreateElemVarData(data)), "<UnivariateData description=\"d\"><Statistic name=\"mean\" " +
                                                       nothing + "<Statistic name=\"sd\" " + nothing +
                                                       "</UnivariateData>");
}

TEST(MCStatXMLUtil, SeveralElementsAreAddedTogetherOrNotAtAll)
{
    const auto look = [](const Holder& holder) { return Text(holder.element->Clone()); };
    ExpectWholeWhenMemoryRunsOut(
        Holder(), Holder(),
        [](Holder& h) {
            Util::AddRecordInfos(*h.element, {{"a long identifier", "label", {{1}, {2}}}, {"2", "", {}}});
        },
        look);
    const std::vector<MCXMLCoordinates> coordinates(3, {"a long feature name", "", "", {1.5}});
    ExpectWholeWhenMemoryRunsOut(
        Holder(), Holder(),
        [&](Holder& h) { MCVariateData::AddCoordinatesToVarData(h.element.get(), coordinates, 0, 3); }, look);
}
