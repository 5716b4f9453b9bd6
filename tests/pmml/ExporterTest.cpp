// What the exporter writes and refuses. That other engines read it and predict the same is tested by scripts/test pmml.
#include "Document.h"

#include "support/DisplayCapture.h"
#include "support/FailingOutput.h"
#include "support/MovedFrom.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <sstream>

namespace {

using Code = MCPMMLExporter::Code;

std::string TextOf(const MCPMMLExporter& exporter)
{
    std::string problem = "nothing said";
    const std::unique_ptr<XMLElement> root(exporter.Create(nullptr, &problem));
    std::ostringstream out;
    WriteTreeUTF8(out, nullptr, root.get(), true);
    return root ? out.str() : problem;
}

/// y = 0.1 + 0.2 x + 0.3 [k=a], x scaled.
struct Small {
    MCVariableList variables;
    MCPMMLRegression model;
    MCContinuousEncoder encoder{"x"};

    Small()
    {
        variables.Add(MCContinuousVariable("x"));
        MCCategoricalVariable k("k");
        k.AddCategory("a");
        k.AddCategory("b & \"c\"");
        variables.Add(k);
        variables.Add(MCContinuousVariable("y", IMCVariable::StorageReal, IMCVariable::RoleTarget));
        encoder.SetScaling(MCContinuousEncoder::ScaleZScore);
        encoder.SetLimits(0.0, MCMV::Missing(), IMCEncoder::OutlierClipped);
        encoder.SetMissingRule(IMCEncoder::MissingReplaced, 2.5);
        encoder.LearnBlock(std::vector{1.0, 3.0});
        encoder.Finish();
        model.target = "y";
        model.terms = {MCPMMLTerm("(Intercept)"), MCPMMLTerm("x").TimesColumn("x"),
                       MCPMMLTerm("k=a").TimesLevel("k", "a")};
        model.coefficients = {{0, 0.1}, {1, 0.30000000000000004}, {2, 1e-300}};
    }
    MCPMMLExporter Exporter() const
    {
        MCPMMLExporter exporter(variables);
        exporter.SetEncoder("x", encoder);
        exporter.AddRegression(model);
        return exporter;
    }
    MCPMMLGeneralRegression General() const
    {
        MCPMMLGeneralRegression general;
        static_cast<MCPMMLModel&>(general) = model;
        return general;
    }
};

// Every treatment, the shortest text of each number, the order of the children.
TEST(MCPMMLExporter, WritesTheWholeDocument)
{
    Small s;
    MCPMMLExporter exporter = s.Exporter();
    exporter.SetHeader("ours", "app", "1.0", "2026-01-02");
    exporter.AddVerification({{{1.0, "a", Value()}, {0.5}}, {{Value(), "b & \"c\"", Value()}, {0.25}}}, 1e-9);
    EXPECT_EQ(TextOf(exporter), R"xml(<?xml version="1.0" encoding="UTF-8" ?>

<PMML xmlns="http://www.dmg.org/PMML-4_4" version="4.4">
<Header copyright="ours">
<Application name="app" version="1.0"/>
<Timestamp>2026-01-02</Timestamp>
</Header>
<DataDictionary numberOfFields="3">
<DataField name="x" optype="continuous" dataType="double"/>
<DataField name="k" optype="categorical" dataType="string">
<Value value="a"/>
<Value value="b &amp; &quot;c&quot;"/>
</DataField>
<DataField name="y" optype="continuous" dataType="double"/>
</DataDictionary>
<TransformationDictionary>
<DerivedField name="x (encoded)" optype="continuous" dataType="double">
<Apply function="/">
<Apply function="-">
<FieldRef field="x"/>
<Constant dataType="double">2</Constant>
</Apply>
<Constant dataType="double">1.4142135623730951</Constant>
</Apply>
</DerivedField>
</TransformationDictionary>
<RegressionModel functionName="regression" normalizationMethod="none">
<MiningSchema>
<MiningField name="x" usageType="active" outliers="asExtremeValues" lowValue="0" missingValueReplacement="2.5" missingValueTreatment="asValue" invalidValueTreatment="asMissing"/>
<MiningField name="k" usageType="active" outliers="asIs" missingValueTreatment="returnInvalid" invalidValueTreatment="returnInvalid"/>
<MiningField name="y" usageType="target"/>
</MiningSchema>
<Output>
<OutputField name="predicted_y" optype="continuous" dataType="double" feature="predictedValue"/>
</Output>
<RegressionTable intercept="0.1">
<NumericPredictor name="x (encoded)" coefficient="0.30000000000000004"/>
<CategoricalPredictor name="k" value="a" coefficient="1e-300"/>
</RegressionTable>
<ModelVerification recordCount="2" fieldCount="3">
<VerificationFields>
<VerificationField field="x" column="x1"/>
<VerificationField field="k" column="x2"/>
<VerificationField field="predicted_y" column="y1" precision="1e-09" zeroThreshold="5e-07"/>
</VerificationFields>
<InlineTable>
<row>
<x1>1</x1>
<x2>a</x2>
<y1>0.5</y1>
</row>
<row>
<x2>b &amp; "c"</x2>
<y1>0.25</y1>
</row>
</InlineTable>
</ModelVerification>
</RegressionModel>
</PMML>)xml");
}

TEST(MCPMMLExporter, RefusesWithTheNameOfWhatIsWrong)
{
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    using Change = std::function<void(Small&, MCPMMLExporter&)>;
    // Changes the model as RegressionModel, or as GeneralRegressionModel.
    const auto model = [](const std::function<void(MCPMMLRegression&)>& change) -> Change {
        return [=](Small& s, MCPMMLExporter& e) {
            change(s.model);
            e.AddRegression(s.model);
        };
    };
    const auto general = [](const std::function<void(MCPMMLGeneralRegression&)>& change) -> Change {
        return [=](Small& s, MCPMMLExporter& e) {
            auto m = s.General();
            change(m);
            e.AddGeneralRegression(m);
        };
    };
    const auto estimate = [&](double value) { return model([=](auto& m) { m.coefficients[1].estimate = value; }); };
    const auto term = [&](const MCPMMLTerm& t) { return model([=](auto& m) { m.terms[2] = t; }); };
    struct Case {
        const char* name;
        Change change;
        Code code;
        const char* says;
    };
    const Case kCases[] = {
        {"no model", [](Small& s, MCPMMLExporter& e) { e = MCPMMLExporter(s.variables); }, Code::NoModel, "no model"},
        {"NaN", estimate(std::nan("")), Code::NotFinite, "coefficient of \"x\""},
        {"infinite", estimate(-kInfinity), Code::NotFinite, "coefficient of \"x\""},
        {"missing", estimate(MCMV::Missing()), Code::NotFinite, "coefficient of \"x\""},
        {"target", model([](auto& m) { m.target = "z"; }), Code::UnknownName, "\"z\""},
        {"field", term(MCPMMLTerm("t").TimesField("q")), Code::UnknownName, "\"q\""},
        {"level", term(MCPMMLTerm("t").TimesLevel("k", "none")), Code::UnknownName, "\"none\""},
        {"column", term(MCPMMLTerm("t").TimesColumn("x", 1)), Code::UnknownName, "column 1"},
        {"cluster column",
         [](Small&, MCPMMLExporter& e) {
             MCPMMLClustering clusters;
             clusters.fields = {{"x", 1}};
             clusters.clusters = {{"1", {1.0}}, {"2", {2.0}}};
             e.AddClustering(clusters);
         },
         Code::UnknownName, "a column of \"x\""},
        {"precision",
         [](Small&, MCPMMLExporter& e) {
             e.AddVerification({{{1.0, "a", Value()}, {0.5}}}, 1.0);
         },
         Code::Inconsistent, "precision"},
        {"no encoder", term(MCPMMLTerm("t").TimesColumn("k")), Code::UnknownName, "encoder of \"k\""},
        {"past the encoder", term(MCPMMLTerm("t").TimesField("x")), Code::Inconsistent, "without its encoder"},
        {"categories as a number", term(MCPMMLTerm("t").TimesField("k")), Code::Inconsistent, "\"k\""},
        {"target as predictor", term(MCPMMLTerm("t").TimesField("y")), Code::Inconsistent, "the target"},
        {"field twice", term(MCPMMLTerm("t").TimesColumn("x").TimesColumn("x")), Code::NotExpressible, "\"x\" twice"},
        {"exponent", term(MCPMMLTerm("t").TimesColumn("x", 0, 0)), Code::NotExpressible, "exponent 0"},
        {"name twice", term(MCPMMLTerm("x").TimesLevel("k", "a")), Code::DuplicateName, "\"x\""},
        {"coefficient twice", model([](auto& m) { m.coefficients[2].term = 1; }), Code::DuplicateName, "\"x\""},
        {"no term", model([](auto& m) { m.coefficients[2].term = 3; }), Code::UnknownName, "term 3"},
        {"control character", term(MCPMMLTerm("t").TimesLevel("k", "a\x01")), Code::UnknownName, "a\x01"},
        {"forbidden name", model([](auto& m) { m.name = "a\x01"; }), Code::ForbiddenText, "XML"},
        {"no UTF-8", model([](auto& m) { m.name = "\xFF"; }), Code::ForbiddenText, "code page"},
        {"no character", model([](auto& m) { m.name = "\xEF\xBF\xBE"; }), Code::ForbiddenText, "XML"},
        {"categories", model([](auto& m) {
             m.categories = {"p", "q"};
         }),
         Code::NotExpressible, "Softmax"},
        {"category twice", model([](auto& m) {
             m.categories = {1, 1.0};
         }),
         Code::DuplicateName, "\"1\""},
        {"offset", general([](auto& m) { m.offset = 1.0; }), Code::NotExpressible, "offset"},
        {"covariance", general([](auto& m) { m.covariance = MCMath_930::MCSymMatrix(2); }), Code::Inconsistent,
         "order"},
        {"covariance NaN", general([](auto& m) {
             m.covariance = MCMath_930::MCSymMatrix(3);
             m.covariance.SetElem(1, 0, std::nan(""));
         }),
         Code::NotFinite, "covariance of \"x\""},
        {"link parameter", general([](auto& m) {
             m.type = MCPMMLGeneralRegression::GeneralizedLinear;
             m.link = MCPMMLGeneralRegression::Power;
         }),
         Code::Inconsistent, "link"},
        {"no categories", general([](auto& m) { m.type = MCPMMLGeneralRegression::MultinomialLogistic; }),
         Code::Inconsistent, "no category"},
        {"verification",
         [](Small&, MCPMMLExporter& e) {
             e.AddVerification({{{1.0}, {0.5}}});
         },
         Code::Inconsistent, "case"},
        {"verified infinity",
         [](Small&, MCPMMLExporter& e) {
             e.AddVerification({{{1.0, "a", Value()}, {kInfinity}}});
         },
         Code::NotFinite, "prediction"},
        {"quality of clusters",
         [](Small&, MCPMMLExporter& e) {
             MCPMMLClustering clusters;
             clusters.fields = {{"y"}};
             clusters.clusters = {{"1", {1.0}}, {"2", {2.0}}};
             e.AddClustering(clusters);
             e.AddQuality({});
         },
         Code::NotExpressible, "clusters"},
    };
    for (const Case& c : kCases) {
        SCOPED_TRACE(c.name);
        Small s;
        MCPMMLExporter exporter = s.Exporter();
        c.change(s, exporter);
        MCCommon_930::MCStatus status;
        std::string problem;
        const std::unique_ptr<XMLElement> root(exporter.Create(&status, &problem));
        EXPECT_EQ(root, nullptr);
        EXPECT_TRUE(status.IsError());
        EXPECT_EQ(status.GetErrorCode(), static_cast<long>(c.code)) << problem;
        EXPECT_THAT(problem, testing::HasSubstr(c.says));
    }
}

TEST(MCPMMLExporter, WritesProductsAndTheLeastScoresOfALift)
{
    Small s;
    s.model.terms[2] = MCPMMLTerm("x*[k=a]").TimesColumn("x", 0, 2).TimesLevel("k", "a");
    MCPMMLExporter exporter = s.Exporter();
    MCPMMLQuality quality;
    quality.lifts.resize(1);
    quality.lifts[0].segments = {{2, 1.5, 0.75, 0.8}, {5, 2.0, 0.25, 0.5}};
    exporter.AddQuality(quality);
    const std::string text = TextOf(exporter);
    EXPECT_THAT(text,
                testing::ContainsRegex("<PredictorTerm coefficient=\"1e-300\">\n<FieldRef field=\"x .encoded.\"/>\n"
                                       "<FieldRef field=\"x .encoded.\"/>\n<FieldRef field=\"[^\"]*\"/>\n</Pred"));
    EXPECT_THAT(text, testing::HasSubstr("<XCoordinates>\n<Array n=\"2\" type=\"real\">2 5</Array>"));
    EXPECT_THAT(text, testing::HasSubstr("<BoundaryValues>\n<Array n=\"2\" type=\"real\">0.75 0.25</Array>"));
}

// All of a quality: what is known of the numbers, the table of labels row by row, the curve from its first point on.
TEST(MCPMMLExporter, WritesAQualityWithTableAndCurve)
{
    MCPMMLQuality quality;
    quality.dataName = "next year";
    quality.usage = MCPMMLQuality::Test;
    quality.auc = 0.75;
    quality.adjustedRSquared = -0.25;
    quality.confusionLabels = {"a \"b\"", 2};
    quality.confusion = {1, 2, 3, 4};
    quality.rocCategory = 2;
    quality.roc = {{0, 0, 9}, {0.5, 1, 0.25}, {1, 1, -1}};
    const auto text = [&quality](std::string& problem) {
        const std::unique_ptr<XMLElement> root(MCPMMLExporter::CreateQuality("y<", quality, &problem));
        std::ostringstream out;
        if (root) WriteTreeUTF8(out, nullptr, root.get(), true);
        return out.str();
    };
    std::string problem;
    EXPECT_EQ(text(problem), R"(<?xml version="1.0" encoding="UTF-8" ?>

<PredictiveModelQuality targetField="y&lt;" dataName="next year" dataUsage="test" adj-r-squared="-0.25" AUC="0.75">
<ConfusionMatrix>
<ClassLabels>
<Array n="2" type="string">"a \"b\"" "2"</Array>
</ClassLabels>
<Matrix nbRows="2" nbCols="2">
<Array n="2" type="real">1 2</Array>
<Array n="2" type="real">3 4</Array>
</Matrix>
</ConfusionMatrix>
<ROC positiveTargetFieldValue="2">
<ROCGraph>
<XCoordinates>
<Array n="3" type="real">0 0.5 1</Array>
</XCoordinates>
<YCoordinates>
<Array n="3" type="real">0 1 1</Array>
</YCoordinates>
<BoundaryValues>
<Array n="3" type="real">9 0.25 -1</Array>
</BoundaryValues>
</ROCGraph>
</ROC>
</PredictiveModelQuality>)");
    EXPECT_EQ(problem, "");
    quality.usage = MCPMMLQuality::Validation;
    EXPECT_THAT(text(problem), testing::HasSubstr("dataUsage=\"validation\""));
    quality.confusion.pop_back();
    EXPECT_EQ(text(problem), "");
    EXPECT_THAT(problem, testing::HasSubstr("confusion"));
    EXPECT_EQ(MCPMMLExporter::CreateQuality("y", quality), nullptr);
    quality.confusion.push_back(4);
    quality.roc.push_back({0.5, std::numeric_limits<double>::infinity(), 0});
    EXPECT_EQ(text(problem), "") << "an infinite rate";
}

TEST(MCPMMLExporter, LeavesAliasedParametersAndTheirFieldsOutAndSaysSo)
{
    Small s;
    s.model.coefficients[2] = {2, std::nan(""), -1, true};
    const std::string text = TextOf(s.Exporter());
    EXPECT_THAT(text, testing::HasSubstr(R"(<Extension extender="modelcore" name="aliased parameter" value="k=a"/>)"));
    EXPECT_THAT(text, testing::Not(testing::HasSubstr("CategoricalPredictor")));
    EXPECT_THAT(text, testing::Not(testing::HasSubstr("MiningField name=\"k\"")));
}

// What evaluators would do otherwise than the encoder is refused, not written.
TEST(MCPMMLExporter, RefusesLettersWhoseCaseEvaluatorsChangeOtherwise)
{
    for (const auto& [category, fits] : {std::pair("\xC3\xA9t\xC3\xA9", true), std::pair("stra\xC3\x9F"
                                                                                         "e",
                                                                                         false)}) {
        MCVariableList variables;
        variables.Add(MCCategoricalVariable("s"));
        variables.Add(MCContinuousVariable("y"));
        MCStringEncoder encoder("s");
        encoder.SetCase(MCStringEncoder::CaseUpper);
        encoder.Learn(category);
        encoder.Learn("other");
        encoder.Finish();
        MCPMMLExporter exporter(variables);
        exporter.SetEncoder("s", encoder);
        MCPMMLRegression model;
        model.target = "y";
        model.terms = {MCPMMLTerm("t").TimesColumn("s")};
        model.coefficients = {{0, 1.0}};
        exporter.AddRegression(model);
        EXPECT_EQ(TextOf(exporter).starts_with("<?xml"), fits) << category;
    }
}

TEST(MCPMMLExporter, ChecksWhatIsAddedAndKeepsCopies)
{
    Small s;
    MCPMMLExporter exporter = s.Exporter();
    EXPECT_FALSE(exporter.SetEncoder("q", s.encoder));
    EXPECT_FALSE(exporter.SetEncoder("k", MCCategoricalEncoder("k"))) << "not finished";
    EXPECT_FALSE(exporter.AddStatistics("q", MCMath_930::MCContStats()));
    EXPECT_FALSE(exporter.AddStatistics("k", MCMath_930::MCCatStats({1, 2}), {"a"}));
    EXPECT_EQ(exporter.GetColumnName("x", 0), "x (encoded)");
    EXPECT_EQ(exporter.GetColumnName("x", 1) + exporter.GetColumnName("q", 0) + exporter.GetColumnName("k", 0), "");
    EXPECT_EQ(exporter.GetOutputNames(), std::vector<std::string>{"predicted_y"});
    const std::string before = TextOf(exporter);
    MCPMMLExporter copy = exporter;
    copy.SetShowColumns(true);
    EXPECT_EQ(copy.GetOutputNames().back(), "column_x (encoded)");
    s.variables = MCVariableList();
    EXPECT_EQ(TextOf(exporter), before);
    const std::string shown = Shown(exporter);
    EXPECT_TRUE(shown.starts_with("MCPMMLExporter display start\n") && shown.ends_with("MCPMMLExporter display end\n"));
    EXPECT_EQ(MCPMMLExporter(MCVariableList()).GetOutputNames(), std::vector<std::string>());
}

TEST(MCPMMLExporter, WithoutMemoryItIsAsItWas)
{
    Small s;
    const MCPMMLExporter exporter = s.Exporter();
    const std::vector<MCPMMLVerification> cases{{{1.0, "a", Value()}, {0.5}}};
    MCCategoricalEncoder levels("k");
    levels.Learn("a");
    levels.Finish();
    const auto whole = [&exporter](auto change) {
        ExpectWholeWhenMemoryRunsOut(exporter, exporter, change, [](const MCPMMLExporter& e) { return TextOf(e); });
    };
    const std::unique_ptr<XMLElement> document(exporter.Create());
    for (const bool format : {false, true})
        ExpectFailureIsTold(
            [&](std::ostream& stream) { return WriteTreeUTF8(stream, nullptr, document.get(), format) == 0; });
    const std::string text = "a text that is longer than a small string";
    whole([&](MCPMMLExporter& e) { e.SetHeader(text, text, text, text); });
    whole([&](MCPMMLExporter& e) { e.SetEncoder("k", levels); });
    whole([&](MCPMMLExporter& e) { e.AddGeneralRegression(s.General()); });
    whole([&](MCPMMLExporter& e) { e.AddVerification(cases); });
    whole([&](MCPMMLExporter& e) { e.AddStatistics("k", MCMath_930::MCCatStats({1, 2}), {"a", "b & \"c\""}); });
    MCVariableList others;
    others.Add(MCContinuousVariable(text));
    const MCPMMLExporter other(others);
    whole([&](MCPMMLExporter& e) { e = other; });
    ExpectWholeTextOrNone([&] {
        std::string out;
        ExportFormat layout;
        if (const std::unique_ptr<XMLElement> root{exporter.Create()}) root->ToString(out, layout);
        return out;
    });
}

} // namespace
