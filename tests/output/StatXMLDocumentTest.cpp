// Whole documents against the schema and against the sample of the documentation.
#include "modelcore/output/MCStatXMLUtil.h"
#include "modelcore/xml/XMLElement.h"
#include "modelcore/xml/XMLWrite.h"
#include "support/Program.h"
#include "support/Testing.h"

using namespace MCXML_930;
using Util = MCStatXMLUtil;
using Tree = std::unique_ptr<XMLElement>;

namespace {

std::string Document(const XMLElement& root)
{
    std::ostringstream os;
    WriteTreeUTF8(os, nullptr, &root, true);
    return os.str();
}

bool Validates(const std::string& document)
{
    const TemporaryFolder folder;
    return RunProgram({MODELCORE_XMLLINT, "--nonet", "--noout", "--schema", MODELCORE_DOCS "/schema/StatXML_7.0.xsd",
                       folder.Write("document.xml", document)})
               .status == 0;
}

/// The sample of docs/statxml.md: what a regression on a small table might publish.
Tree Sample()
{
    Tree root(Util::BuildRoot());

    XMLElement* const model = Util::CreateElemStructuredData("Model");
    root->AddElement(model);
    model->AddElement(Util::CreateElemCounts(6, 1, 0, 5));
    model->AddElement(Util::CreateElemStatistic("target", "yield (\"t\" & kg)"));
    model->AddElement(Util::CreateElemStatistic("rSquared", 0.6));

    const auto slope = [] { return std::vector{Util::CreateElemCovariate("x", 1)}; };
    const auto level = [] { return std::vector{Util::CreateElemFactor("region", "north", false)}; };
    model->AddElement(Util::CreateElemRegressionParameter("Intercept", true));
    model->AddElement(Util::CreateElemRegressionParameter("x", false, slope(), {}));
    model->AddElement(Util::CreateElemRegressionParameter("region=north", false, {}, level()));
    model->AddElement(Util::CreateElemArray(std::vector{2.2, 0.6, kMissing}));

    const auto labels = [&] {
        return std::vector{Util::CreateElemLabel("Intercept"), Util::CreateElemLabel("x", slope(), {})};
    };
    XMLElement* const axes = Util::CreateElemMatrixLabels(
        {Util::CreateElemRowColLabels("row", labels()), Util::CreateElemRowColLabels("column", labels())});
    XMLElement* const covariances = Util::CreateElemArray(std::vector{0.88, -0.24, 0.08});
    model->AddElement(Util::CreateElemMatrix(axes, {}, covariances, nullptr, 2, 2, "covariance", true));

    MCVariateData histogram{"Residuals", {}, {{"mean", 0}, {"stdDeviation", std::sqrt(0.6)}}};
    histogram.fVariables.push_back({"observed", "residual", "", {-0.7, -0.2, 0.8}});
    histogram.fVariables.push_back({"frequency", "", "", {2, 1, 2}});
    root->AddElement(Util::CreateElemVarData(histogram));
    return root;
}

/// Every element in every place and with awkward values.
Tree Everything()
{
    const auto terms = [](double value) {
        return std::vector{Util::CreateElemFactor("f", value, true), Util::CreateElemFactor("f", "a  b", false)};
    };
    const std::vector<double> reals{0, -0.0, 1e-300, kInf, -kInf, std::nan(""), kMissing, -1.7e308};
    const std::vector<std::string> strings{"", "\"", "\\", "a\nb", "<&>"};
    const MCXMLCoordinates coordinates{"f", "x", "s", reals};
    XMLElement* const structured = Util::CreateElemStructuredData("all");
    for (XMLElement* const element :
         {Util::CreateElemStructuredData(""), Util::CreateElemCounts(MCXMLCounts{kInf, kMissing, -1, std::nan("")}),
          Util::CreateElemStatistic("", kMissing), Util::CreateElemCoordinates("f", "", "", strings),
          coordinates.GetCoordinates(), Util::CreateElemArray(reals), Util::CreateElemArray(strings),
          Util::CreateElemArray(std::vector{-2147483647, 0, 9, 10}), Util::CreateElemArray(std::vector<double>()),
          Util::CreateElemVarData({"", {coordinates}, {}}), Util::CreateElemMultivariateData(""),
          Util::CreateElemCoordinatesGroup({"g", {coordinates, coordinates}}),
          Util::CreateElemRecordInfo({"1", "", {reals, {}}}), Util::CreateElemFieldInfo("n", reals[3], false),
          Util::CreateElemRegressionParameter("p", false, {Util::CreateElemCovariate("x", -2147483647)}, terms(0.1))})
        structured->AddElement(element);
    const auto indices = [](const char* dimension) {
        return Util::CreateElemIndices(Util::CreateElemArray(std::vector{0.0, 12.0}), dimension);
    };
    XMLElement* const info = Util::CreateElemSegmentInfo({indices("row"), indices("column")});
    XMLElement* const labels = Util::CreateElemMatrixLabels(
        {Util::CreateElemRowColLabels("row", Util::CreateElemLabel("l", Util::CreateElemFieldInfo("n", "v", true))),
         Util::CreateElemRowColLabels("column", Util::CreateElemLabel("l", {}, terms(1)))});
    structured->AddElement(
        Util::CreateElemMatrix(labels, {Util::CreateElemSegmentData(info, Util::CreateElemArray(reals))},
                               Util::CreateElemArray(reals), Util::CreateElemArray(reals), 4294967295u, 0, "k", false));
    Tree root(Util::BuildRoot());
    Util::AddRecordInfos(*root, {{"1", "a", {}}, {"2", "b", {}}});
    root->AddElement(structured);
    return root;
}

} // namespace

TEST(StatXMLDocument, SampleIsThatOfTheDocumentation)
{
    EXPECT_EQ(Document(*Sample()) + "\n", ReadFile(MODELCORE_DOCS "/schema/sample.xml"));
}

TEST(StatXMLDocument, FollowsTheSchema)
{
    if (std::string(MODELCORE_XMLLINT).empty()) GTEST_SKIP() << "xmllint is not installed";
    EXPECT_TRUE(Validates(Document(*Sample())));
    EXPECT_TRUE(Validates(Document(*Everything())));
    EXPECT_TRUE(Validates(Document(*Tree(Util::BuildRoot()))));

    // The schema notices what is not StatXML.
    for (XMLElement* const wrong : {XMLElement::Create("Other"), Util::CreateElem("Counts", "totalFreq", 1.0),
                                    Util::CreateElemLabel("l"), Util::CreateElem("Array", "type", "float"),
                                    Util::CreateElemLabel("l", Util::CreateElemStatistic("s", 1.0))}) {
        const Tree root(Util::BuildRoot());
        root->AddElement(wrong);
        EXPECT_FALSE(Validates(Document(*root))) << Document(*root);
    }
}
