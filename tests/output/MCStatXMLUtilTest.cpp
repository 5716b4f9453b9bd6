#include "modelcore/output/MCStatXMLUtil.h"
#include "modelcore/xml/ExportFormat.h"
#include "modelcore/xml/XMLElement.h"
#include "modelcore/xml/internal/CodePage.h"
#include "support/MovedFrom.h"
#include "support/Testing.h"

using namespace MCXML_930;
using Util = MCStatXMLUtil;

namespace {

/// The element on one line, with ' for "; deletes it.
std::string Text(XMLElement* element)
{
    ExportFormat fmt;
    fmt.SetFormat(false);
    std::string text;
    element->ToString(text, fmt);
    delete element;
    std::replace(text.begin(), text.end(), '"', '\'');
    return text;
}

/// An element to which add has added.
template <class Add>
XMLElement* With(Add add)
{
    XMLElement* const element = XMLElement::Create("l");
    add(*element);
    return element;
}

/// An element that can be copied.
struct Holder {
    Holder() = default;
    Holder(const Holder& other) : element(other.element->Clone()) {}
    std::unique_ptr<XMLElement> element{XMLElement::Create("l")};
};

XMLElement* A()
{
    return XMLElement::Create("a");
}

XMLElement* B()
{
    return XMLElement::Create("b");
}

std::vector<XMLElement*> Covariates()
{
    return {Util::CreateElemCovariate("x", 2), Util::CreateElemCovariate("y", 1)};
}

std::vector<XMLElement*> Factors()
{
    return {Util::CreateElemFactor("f", "a", true), Util::CreateElemFactor("f", kMissing, false)};
}

} // namespace

// What the sample of StatXMLDocumentTest does not hold.
TEST(MCStatXMLUtil, Elements)
{
    const std::string terms = "<Covariate field='x' power='2'/><Covariate field='y' power='1'/>"
                              "<Factor field='f' value='a' nest='true'/>"
                              "<Factor field='f' value='__MISSING__' nest='false'/>";
    const std::vector<double> reals{1.5, kMissing, 2, 1e-7};
    const std::vector<int> ints{7, 12, 0, -3, 10, 15, 25, -2147483647 - 1};
    const std::vector<std::string> strings{"a\"b\\c", "", "d e<"};
    const std::string realText = "1.5 __MISSING__ 2 1e-07", intText = "7 1e+01 0 -3 1e+01 2e+01 2e+01 -2e+09";
    const std::string all = "<Coordinates feature='f' field='x' statistic='s'>", end = "</Coordinates>";
    std::string many = "0.125"; // longer than a piece of the writer
    for (int i = 1; i < 3000; ++i) many += " 0.125";
    const struct {
        XMLElement* element;
        std::string expected;
    } cases[] = {
        {Util::CreateElem("E", "a", 0.1), "<E a='0.1'/>"},
        {Util::CreateElem("E", "a", "x"), "<E a='x'/>"},
        {Util::CreateElem("E", "a", "x", "b", "y"), "<E a='x' b='y'/>"},
        {Util::CreateElemCounts(MCXMLCounts{10.5, 1, 0, 3}),
         "<Counts totalFreq='10.5' missingFreq='1' invalidFreq='0' cardinality='3'/>"},
        {Util::CreateElemStatistic("mean", kMissing), "<Statistic name='mean' value='__MISSING__'/>"},
        {Util::CreateElemStatistic("sd", -kNan), "<Statistic name='sd' value='__MISSING__'/>"},
        {Util::CreateElemStatistic("F", kInf), "<Statistic name='F' value='inf'/>"},
        {Util::CreateElemRegressionParameter("p", false, Covariates(), Factors()),
         "<RegressionParameter name='p' isIntercept='false'>" + terms + "</RegressionParameter>"},
        {Util::CreateElemLabel("l", A()), "<Label label='l'><a/></Label>"},
        {Util::CreateElemLabel("l", Covariates(), Factors()), "<Label label='l'>" + terms + "</Label>"},
        {Util::CreateElemRowColLabels("row", A()), "<RowColLabels dimension='row'><a/></RowColLabels>"},
        {Util::CreateElemMatrixLabels({Util::CreateElemRowColLabels("row"), nullptr}),
         "<MatrixLabels><RowColLabels dimension='row'/></MatrixLabels>"},
        {Util::CreateElemMatrix(nullptr, {}, nullptr, nullptr, 4294967295u, 0, "", false),
         "<Matrix kind='' nbRows='4294967295' symmetric='false' nbCols='0' rowMajor='true'/>"},
        {Util::CreateElemMatrix(Util::CreateElemMatrixLabels({}), {A(), nullptr, B()}, nullptr, B(), 2, 2, "k", true),
         "<Matrix kind='k' nbRows='2' symmetric='true' nbCols='2' "
         "rowMajor='true'><MatrixLabels/><a/><b/><b/></Matrix>"},
        {Util::CreateElemCoordinatesGroup(A(), {nullptr, B()}, "d"),
         "<CoordinatesGroup description='d'><a/><b/></CoordinatesGroup>"},
        {MCXMLCoordinatesGroup{"d", {{"f", "x", "", {}}, {"g", "", "s", {2, kMissing}}}}.GetCoordinatesGroup(),
         "<CoordinatesGroup description='d'><Coordinates feature='f' field='x'/>"
         "<Coordinates feature='g' statistic='s'>2 __MISSING__</Coordinates></CoordinatesGroup>"},
        {Util::CreateElemRecordInfo("7", "seven", std::vector<std::vector<int>>{{1, 2}, {}}),
         "<RecordInfo recordId='7' recordLabel='seven'><Array type='int'>1 2</Array><Array type='int'/></RecordInfo>"},
        {Util::CreateElemRecordInfo(MCXMLRecordInfo{"7", "", {{0.5, 12}}}),
         "<RecordInfo recordId='7' recordLabel=''><Array type='real'>0.5 12</Array></RecordInfo>"},
        {Util::CreateElemFieldInfo("n", 0.5, false), "<FieldInfo fieldName='n' fieldValue='0.5' isNull='false'/>"},
        {Util::CreateElemFieldInfo("n", "v", true), "<FieldInfo fieldName='n' fieldValue='v' isNull='true'/>"},
        {Util::CreateElemSegmentInfo(A()), "<SegmentInfo><a/></SegmentInfo>"},
        {Util::CreateElemSegmentInfo(std::vector{A(), B()}), "<SegmentInfo><a/><b/></SegmentInfo>"},
        {Util::CreateElemIndices(A(), "row"), "<Indices dimension='row'><a/></Indices>"},
        {Util::CreateElemSegmentData(A(), B()), "<SegmentData><a/><b/></SegmentData>"},
        // Value lists
        {Util::CreateElemArray(reals), "<Array type='real'>" + realText + "</Array>"},
        {Util::CreateElemArray(reals.data(), 4), "<Array type='real'>" + realText + "</Array>"},
        {Util::CreateElemArray(reals.data(), -1), "<Array type='real'/>"},
        {Util::CreateElemArray(std::vector(3000, 0.125)), "<Array type='real'>" + many + "</Array>"},
        {Util::CreateElemArray(ints), "<Array type='int'>" + intText + "</Array>"},
        {Util::CreateElemArray(std::vector<int>()), "<Array type='int'/>"},
        {Util::CreateElemArray(ints.data(), 2), "<Array type='int'>7 1e+01</Array>"},
        {Util::CreateElemArray(strings.data(), 1), "<Array type='string'>'a\\'b\\\\c'</Array>"},
        {Util::CreateElemArray(strings), "<Array type='string'>'a\\'b\\\\c' '' 'd e&lt;'</Array>"},
        {Util::CreateElemArray("x y", 2), "<Array type='string'>'x y' 'x y'</Array>"},
        {Util::CreateElemArray("x", -1), "<Array type='string'/>"},
        {Util::CreateElemCoordinates("f", "x", "s", reals), all + realText + end},
        {Util::CreateElemCoordinates("f", "x", "s", reals.data(), 1), all + "1.5" + end},
        {Util::CreateElemCoordinates("f", "x", "s", ints), all + intText + end},
        {Util::CreateElemCoordinates("f", "x", "s", ints.data(), 1), all + "7" + end},
        {Util::CreateElemCoordinates("f", "x", "s", strings), all + "a'b\\c  d e&lt;" + end},
        {Util::CreateElemCoordinates("f", "x", "s", strings.data(), 1), all + "a'b\\c" + end},
        {Util::CreateElemCoordinates("f", "", "", reals.data(), 0), "<Coordinates feature='f'/>"},
        {MCXMLCoordinates{"f", "", "", {1}, {"one", "two"}}.GetCoordinates(),
         "<Coordinates feature='f'>one two</Coordinates>"},
        {With([&](XMLElement& e) { Util::AddDoublesList(e, reals.data(), 2); }), "<l>1.5 __MISSING__</l>"},
        {With([&](XMLElement& e) { Util::AddDoublesList(e, nullptr, 2); }), "<l/>"},
        {With([&](XMLElement& e) { Util::AddDoublesList(e, reals); }), "<l>" + realText + "</l>"},
        {With([&](XMLElement& e) { Util::AddIntList(e, ints.data(), 2); }), "<l>7 1e+01</l>"},
        {With([&](XMLElement& e) { Util::AddIntList(e, ints); }), "<l>" + intText + "</l>"},
        {With([&](XMLElement& e) { Util::AddStringList(e, "a \"b"); }), "<l>a 'b</l>"},
        {With([&](XMLElement& e) { Util::AddStringList(e, strings.data(), 1); }), "<l>a'b\\c</l>"},
        {With([&](XMLElement& e) {
             Util::AddStringList(e, {"a", "b", "c"});
         }),
         "<l>a b c</l>"},
    };
    for (const auto& c : cases) EXPECT_EQ(Text(c.element), c.expected);
}

// CTest runs this one in GBK too: a trail byte of a backslash, a lone lead byte before one, one behind two bytes.
TEST(MCStatXMLUtil, ItemsAreQuotedByCharacters)
{
    const bool isGBK = internal::ProcessCodePage() == "GBK";
    EXPECT_EQ(Util::ReplaceSpecialChar("\x81\x5C\"\xFF\x5C\x81\x81\x5C"),
              isGBK ? "\x81\x5C\\\"\xFF\\\x5C\x81\x81\\\x5C" : "\x81\\\x5C\\\"\xFF\\\x5C\x81\x81\\\x5C");
}

TEST(MCStatXMLUtil, VariateDataPicksItsElementByTheNumberOfVariables)
{
    MCVariateData data{"d", {}, {{"mean", 2.5}, {"sd", kInf}}}; // a chart's statistics are finite or do not exist
    const std::string statistics = "<Statistic name='mean' value='2.5'/><Statistic name='sd' value='__MISSING__'/>";
    std::string variables;
    for (const char* const name : {"UnivariateData", "UnivariateData", "BivariateData", "MultivariateData"}) {
        const std::string content = " description='d'>" + variables + statistics;
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
        const std::string text = Text(With(
            [&](XMLElement& e) { MCVariateData::AddCoordinatesToVarData(&e, coordinates, range.first, range.count); }));
        std::string features;
        for (std::size_t at = text.find("='"); at != std::string::npos; at = text.find("='", at + 1))
            features += text[at + 2];
        EXPECT_EQ(features, range.expected);
    }
    MCVariateData::AddCoordinatesToVarData(nullptr, coordinates, 0, 3);
}

TEST(MCStatXMLUtil, SeveralElementsAreAddedTogetherOrNotAtAll)
{
    const auto look = [](const Holder& holder) { return Text(holder.element->Clone()); };
    const std::vector<MCXMLRecordInfo> records{{"a long identifier", "label", {{1}, {2}}}, {"2", "", {}}};
    const std::vector<MCXMLCoordinates> coordinates(3, {"a long feature name", "", "", {1.5}});
    const auto addRecords = [&](Holder& h) { Util::AddRecordInfos(*h.element, records); };
    ExpectWholeWhenMemoryRunsOut(Holder(), Holder(), addRecords, look);
    const auto addSome = [&](Holder& h) { MCVariateData::AddCoordinatesToVarData(h.element.get(), coordinates, 0, 3); };
    ExpectWholeWhenMemoryRunsOut(Holder(), Holder(), addSome, look);
}
