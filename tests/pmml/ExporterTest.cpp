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
    // The model as one of clusters, of the field x.
    const auto clusters = [](const std::function<void(MCPMMLClustering&)>& change) -> Change {
        return [=](Small&, MCPMMLExporter& e) {
            MCPMMLClustering m;
            m.fields = {{"x", 0}};
            m.clusters = {{"", {1.0}}, {"2", {2.0}}};
            change(m);
            e.AddClustering(m);
        };
    };
    // One of these types, with categories of the target.
    using General = MCPMMLGeneralRegression;
    const auto typed = [&](General::Type type, const Row& categories, const std::function<void(General&)>& change) {
        return general([=](auto& m) {
            m.type = type;
            m.categories = categories;
            if (type == General::OrdinalMultinomial) m.coefficients[0].category = 0;
            if (type == General::MultinomialLogistic)
                for (MCPMMLCoefficient& c : m.coefficients) c.category = 0;
            change(m);
        });
    };
    const auto linked = [&](const std::function<void(General&)>& change) {
        return typed(General::GeneralizedLinear, {}, change);
    };
    const auto verified = [](const std::vector<double>& predictions) -> Change {
        return [=](Small&, MCPMMLExporter& e) { e.AddVerification({{{1.0, "a", Value(), 1.0}, predictions}}); };
    };
    const auto target = [](const std::function<void(MCPMMLTarget&)>& change) -> Change {
        return [=](Small&, MCPMMLExporter& e) {
            MCPMMLTarget t;
            change(t);
            e.SetTarget(t);
        };
    };
    const auto both = [](const Change& first, const Change& second) -> Change {
        return [=](Small& s, MCPMMLExporter& e) {
            first(s, e);
            second(s, e);
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
        {"cluster column", clusters([](auto& m) { m.fields[0].column = 1; }), Code::UnknownName, "a column of \"x\""},
        {"precision",
         [](Small&, MCPMMLExporter& e) {
             e.AddVerification({{{1.0, "a", Value(), 1.0}, {0.5}}}, 1.0);
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
        {"nothing estimated", general([](auto& m) { for (auto& c : m.coefficients) c.aliased = true; }),
         Code::NotExpressible, "aliased"},
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
        {"verified twice", verified({0.5, 0.5}), Code::Inconsistent, "case"},
        {"verification",
         [](Small&, MCPMMLExporter& e) {
             e.AddVerification({{{1.0}, {0.5}}});
         },
         Code::Inconsistent, "case"},
        {"verified infinity", verified({kInfinity}), Code::NotFinite, "prediction"},
        {"encoder that refuses in clusters", both(clusters([](auto&) {}), [](Small&, MCPMMLExporter& e) {
             MCContinuousEncoder encoder("x");
             encoder.SetLimits(-1.0, 1.0, IMCEncoder::OutlierRefused);
             encoder.SetMissingRule(IMCEncoder::MissingReplaced, 0.0);
             encoder.Learn(0.5);
             encoder.Finish();
             e.SetEncoder("x", encoder);
         }),
         Code::NotExpressible, "the encoder of \"x\" refuses"},
        {"quality of clusters",
         both(clusters([](auto&) {}), [](Small&, MCPMMLExporter& e) { e.AddQuality({}); }), Code::NotExpressible,
         "clusters"},
        // The target
        {"encoded target", model([](auto& m) { m.target = "x"; }), Code::NotExpressible, "has an encoder"},
        {"one category", model([](auto& m) { m.categories = {"p"}; }), Code::Inconsistent, "one category"},
        {"no category", model([](auto& m) { m.categories = {"p", Value()}; }), Code::Inconsistent, "no bool"},
        {"NaN category", model([](auto& m) { m.categories = {1, std::nan("")}; }), Code::Inconsistent, "no bool"},
        {"prior probabilities", target([](auto& t) { t.priorProbabilities = {0.5, 0.5}; }), Code::Inconsistent, "settings"},
        {"target of clusters", both(clusters([](auto&) {}), target([](auto&) {})), Code::Inconsistent, "settings"},
        {"infinite factor", target([](auto& t) { t.rescaleFactor = kInfinity; }), Code::NotFinite, "rescaleFactor"},
        // Terms and coefficients
        {"large exponent", term(MCPMMLTerm("t").TimesField("w", 1001)), Code::NotExpressible, "exponent 1001"},
        {"small exponent", term(MCPMMLTerm("t").TimesField("w", -1001)), Code::NotExpressible, "exponent -1001"},
        {"column -1", term(MCPMMLTerm("t").TimesColumn("x", -1)), Code::UnknownName, "column -1"},
        {"level of a number", term(MCPMMLTerm("t").TimesLevel("w", 1)), Code::UnknownName, "field \"w\""},
        {"no level", term(MCPMMLTerm("t").TimesLevel("k", Value())), Code::UnknownName, "field \"k\""},
        {"root of a product", term(MCPMMLTerm("t").TimesField("w", -1).TimesLevel("k", "a")), Code::NotExpressible,
         "negative exponent"},
        {"second intercept", term(MCPMMLTerm("t")), Code::NotExpressible, "second intercept"},
        {"term -1", model([](auto& m) { m.coefficients[2].term = -1; }), Code::UnknownName, "term -1"},
        {"equation of a number", model([](auto& m) { m.coefficients[1].category = 0; }), Code::UnknownName, "category"},
        {"SimpleMax", model([](auto& m) { m.normalization = MCPMMLRegression::SimpleMax; }), Code::NotExpressible,
         "SimpleMax"},
        {"logit of three", model([](auto& m) {
             m.normalization = MCPMMLRegression::Logit;
             m.categories = {"p", "q", "r"};
         }),
         Code::NotExpressible, "Softmax"},
        {"second equation", model([](auto& m) {
             m.normalization = MCPMMLRegression::Logit;
             m.categories = {"p", "q"};
             m.coefficients[1].category = 1;
         }),
         Code::NotExpressible, "Softmax"},
        // General models
        {"trials", general([](auto& m) { m.trials = 2; }), Code::NotExpressible, "trials"},
        {"category of a number", typed(General::GeneralLinear, {"p", "q"}, [](auto&) {}), Code::Inconsistent, "a number"},
        {"three categories", typed(General::GeneralizedLinear, {"p", "q", "r"}, [](auto&) {}), Code::NotExpressible,
         "one of two"},
        {"unknown offset", linked([](auto& m) { m.offsetField = "q"; }), Code::UnknownName, "\"q\""},
        {"offset of categories", linked([](auto& m) { m.offsetField = "k"; }), Code::Inconsistent, "\"k\""},
        {"encoded trials", linked([](auto& m) { m.trialsField = "x"; }), Code::Inconsistent, "\"x\""},
        {"target as offset", linked([](auto& m) { m.offsetField = "y"; }), Code::Inconsistent, "\"y\""},
        {"two offsets", linked([](auto& m) { m.offsetField = "w", m.offset = 0.5; }), Code::Inconsistent, "two offsets"},
        {"trials twice", linked([](auto& m) { m.trialsField = "w", m.trials = 2; }), Code::Inconsistent, "trials twice"},
        {"NegBin", linked([](auto& m) { m.link = General::NegBin; }), Code::Inconsistent, "NegBin"},
        {"Cauchit", linked([](auto& m) { m.link = General::Cauchit; }), Code::NotExpressible, "Cauchit"},
        {"cumulative log", typed(General::OrdinalMultinomial, {1, 2}, [](auto& m) { m.link = General::Log; }),
         Code::NotExpressible, "none of Ordinal"},
        {"cumulative NegBin", typed(General::OrdinalMultinomial, {1, 2}, [](auto& m) { m.link = General::NegBin; }),
         Code::NotExpressible, "none of Ordinal"},
        {"shared intercept", typed(General::OrdinalMultinomial, {1, 2}, [](auto& m) { m.coefficients[0].category = -1; }),
         Code::Inconsistent, "intercepts"},
        {"intercepts alone", typed(General::OrdinalMultinomial, {1, 2}, [](auto& m) { m.coefficients.resize(1); }),
         Code::NotExpressible, "besides the intercepts"},
        {"reference", typed(General::OrdinalMultinomial, {1, 2}, [](auto& m) { m.reference = 0; }), Code::Inconsistent,
         "reference"},
        {"no reference", typed(General::MultinomialLogistic, {1, 2}, [](auto& m) { m.reference = 2; }),
         Code::Inconsistent, "reference"},
        {"equation of the reference", typed(General::MultinomialLogistic, {1, 2}, [](auto& m) { m.reference = 0; }),
         Code::Inconsistent, "reference category"},
        // Clusters
        {"no clusters", clusters([](auto& m) { m.clusters.clear(); }), Code::Inconsistent, "fields and clusters"},
        {"cluster field", clusters([](auto& m) { m.fields[0].field = "q"; }), Code::UnknownName, "\"q\""},
        {"clusters of categories", clusters([](auto& m) { m.fields = {{"k"}}; }), Code::Inconsistent, "\"k\" as numbers"},
        {"cluster field twice", clusters([](auto& m) { m.fields.push_back(m.fields[0]); }), Code::DuplicateName, "twice"},
        {"center", clusters([](auto& m) { m.clusters[0].center = {1, 2}; }), Code::Inconsistent, "number of fields"},
        {"center NaN", clusters([](auto& m) { m.clusters[0].center = {std::nan("")}; }), Code::NotFinite, "finite"},
        {"weight", clusters([](auto& m) { m.fields[0].weight = -1; }), Code::Inconsistent, "weight of the field \"x\""},
        {"cluster twice", clusters([](auto& m) { m.clusters[1].name = "1"; }), Code::DuplicateName, "named \"1\""},
        {"half a case", clusters([](auto& m) { m.clusters[1].size = 1.5; }), Code::Inconsistent, "cluster \"2\""},
        {"NaN cases", clusters([](auto& m) { m.clusters[1].size = std::nan(""); }), Code::Inconsistent, "no count"},
        {"too many cases", clusters([](auto& m) { m.clusters[1].size = 2147483647.0; }), Code::Inconsistent, "no count"},
        {"third of two clusters", both(clusters([](auto&) {}), verified({2.0, 0.5})), Code::Inconsistent, "case"},
        {"cluster and a half", both(clusters([](auto&) {}), verified({0.5, 0.5})), Code::Inconsistent, "case"},
        // Fields and encoders
        {"categories alike",
         [](Small& s, MCPMMLExporter& e) {
             MCCategoricalVariable codes("codes");
             codes.AddCategory(1);
             codes.AddCategory("1");
             s.variables.Add(codes);
             e = s.Exporter();
         },
         Code::DuplicateName, "\"codes\" are written as \"1\""},
        {"nothing learned",
         [](Small&, MCPMMLExporter& e) {
             MCContinuousEncoder encoder("x");
             encoder.SetScaling(MCContinuousEncoder::ScaleZScore);
             encoder.Finish();
             e.SetEncoder("x", encoder);
         },
         Code::NotExpressible, "learned nothing"},
        {"carriage return", [](Small&, MCPMMLExporter& e) { e.SetHeader("", "", "", "a\r"); }, Code::NotExpressible,
         "carriage return"},
    };
    for (const Case& c : kCases) {
        SCOPED_TRACE(c.name);
        Small s;
        s.variables.Add(MCContinuousVariable("w"));
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
    quality.lifts.resize(2);
    quality.lifts[0].segments = {{2, 1.5, 0.75, 0.8}, {5, 2.0, 0.25, 0.5}};
    quality.lifts[1] = {"yes", {{3, 2.0, MCMV::Missing(), MCMV::Missing()}}}; // a score that nobody knows
    exporter.AddQuality(quality);
    const std::string text = TextOf(exporter);
    EXPECT_THAT(text,
                testing::ContainsRegex("<PredictorTerm coefficient=\"1e-300\">\n<FieldRef field=\"x .encoded.\"/>\n"
                                       "<FieldRef field=\"x .encoded.\"/>\n<FieldRef field=\"[^\"]*\"/>\n</Pred"));
    EXPECT_THAT(text, testing::HasSubstr("<XCoordinates>\n<Array n=\"2\" type=\"real\">2 5</Array>"));
    EXPECT_THAT(text, testing::HasSubstr("<YCoordinates>\n<Array n=\"2\" type=\"real\">1.5 3.5</Array>"));
    EXPECT_THAT(text, testing::HasSubstr("<BoundaryValues>\n<Array n=\"2\" type=\"real\">0.75 0.25</Array>"));
    EXPECT_THAT(text, testing::HasSubstr("<LiftData targetFieldValue=\"yes\">\n<ModelLiftGraph>\n<LiftGraph>\n"
                                         "<XCoordinates>\n<Array n=\"1\" type=\"real\">3</Array>\n</XCoordinates>\n"
                                         "<YCoordinates>\n<Array n=\"1\" type=\"real\">2</Array>\n</YCoordinates>\n"
                                         "</LiftGraph>"));
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

// Of a model of two categories; beside its fields, such as only describe the data.
TEST(MCPMMLExporter, WritesRolesCodesPriorsAndCovariancesOfCategories)
{
    Small s;
    constexpr IMCVariable::VariableRole kRoles[] = {IMCVariable::RoleGroup, IMCVariable::RoleOrder,
                                                    IMCVariable::RoleSupplementary};
    for (const auto role : kRoles)
        s.variables.Add(
            MCContinuousVariable("r" + std::to_string(static_cast<int>(role)), IMCVariable::StorageReal, role));
    s.variables.Add(MCWeightVariable("wf"));
    s.variables.Add(MCWeightVariable("wr", IMCVariable::RoleRegressionWeight));
    MCContinuousVariable coded("coded");
    for (const char* const code : {"7", "1e1", "0x10", " 3", "4 ", "1e999", "nan", "", "none"})
        coded.AddMissingCode(code);
    s.variables.Add(coded);
    MCCategoricalVariable grade("grade");
    grade.SetOrdered(true);
    s.variables.Add(grade);
    MCPMMLGeneralRegression general = s.General();
    general.type = MCPMMLGeneralRegression::MultinomialLogistic;
    general.categories = {true, false};
    general.coefficients = {{0, 0.5, 0}, {1, 0.25, 0}, {2, std::nan(""), 0, true}};
    general.covariance = MCMath_930::MCSymMatrix(2);
    general.covariance.SetElem(1, 0, -0.125);
    MCPMMLExporter exporter = s.Exporter();
    exporter.AddGeneralRegression(general);
    MCPMMLTarget target;
    target.min = 0.5; // of a number alone
    target.priorProbabilities = {0.25, 0.75};
    exporter.SetTarget(target);
    const std::string text = TextOf(MCPMMLExporter(std::move(exporter)));
    for (const char* const part :
         {R"(<MiningField name="wf" usageType="frequencyWeight"/>)", R"("wr" usageType="analysisWeight"/>)",
          R"(" usageType="group"/>)", R"(" usageType="order"/>)", R"(" usageType="supplementary"/>)",
          "<DataField name=\"coded\" optype=\"continuous\" dataType=\"double\">\n<Value value=\"7\" "
          "property=\"missing\"/>\n"
          "<Value value=\"1e1\" property=\"missing\"/>\n</DataField>",
          R"(<DataField name="grade" optype="ordinal")",
          R"(<DataField name="y" optype="categorical" dataType="boolean">)",
          R"(<OutputField name="predicted_y" optype="categorical" dataType="boolean")", R"(value="k=a of true"/>)",
          R"-(<PCovCell pRow="x" pCol="(Intercept)" tRow="true" tCol="true" value="-0.125"/>)-",
          "<Target field=\"y\">\n<TargetValue value=\"true\" priorProbability=\"0.25\"/>\n"
          "<TargetValue value=\"false\" priorProbability=\"0.75\"/>\n</Target>"})
        EXPECT_THAT(text, testing::HasSubstr(part));
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
