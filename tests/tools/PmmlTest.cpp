// linreg and evaluate: the PMML documents that they write. Another engine scores them in scripts/test pmml.
#include "Linreg.h"

namespace {

/// How often a piece of text occurs.
int CountOf(const std::string& text, const std::string& piece)
{
    int count = 0;
    for (std::size_t at = text.find(piece); at != std::string::npos; at = text.find(piece, at + 1)) ++count;
    return count;
}

const std::string kVisits = EXAMPLES_DATA "/visits.csv";

} // namespace

TEST(LinregPmml, HoldsTheModelAndCasesPickedEvenly)
{
    const TemporaryFolder folder;
    std::string data = "y,x,k,same\n";
    for (int i = 0; i < 1000; ++i)
        data += std::to_string(3 * i + i % 7) + "," + std::to_string(i) + "," + (i % 2 == 0 ? "\"<a>\"" : "b") + "," +
                std::to_string(2 * i) + "\n";
    const std::string file = folder.Write("d.csv", data);
    const auto fit = [&](std::vector<std::string> more) {
        more.insert(more.begin(), {LINREG_PROGRAM, file, "--target", "y", "--quiet", "--pmml", folder.File("m.pmml")});
        const ProgramResult result = RunProgram(more);
        EXPECT_EQ(result.status, 0) << result.err;
        return ReadFile(folder.File("m.pmml"));
    };
    const std::string general = fit({}), regression = fit({"--pmml-form", "regression"});
    for (const std::string& text : {general, regression}) {
        EXPECT_EQ(CountOf(text, "<row>"), 63); // 1000 cases, each 16th of them
        EXPECT_EQ(CountOf(text, "<x2>992</x2>"), 1);
        EXPECT_EQ(CountOf(text, "name=\"aliased parameter\" value=\"same\""), 1);
        EXPECT_EQ(CountOf(text, "<Value value=\"&lt;a&gt;\"/>"), 1);
    }
    EXPECT_EQ(CountOf(general, "<PCovCell "), 6); // three parameters
    EXPECT_EQ(CountOf(regression, "<CategoricalPredictor name=\"k\" value=\"b\""), 1);
    EXPECT_EQ(general, fit({})) << "the same bytes again";
}

TEST(LinregPmml, SaysWhatItLacksAndWhatIsWrong)
{
    const TemporaryFolder folder;
    const std::string data = "y,x\n1,2\n2,3\n4,5\n";
    const std::string out = folder.File("m.pmml");
    const ProgramResult piped = RunProgram({LINREG_PROGRAM, "-", "--target", "y", "--quiet", "--pmml", out}, data);
    EXPECT_EQ(piped.status, 0);
    EXPECT_NE(piped.err.find("cannot be read again"), std::string::npos) << piped.err;
    EXPECT_EQ(CountOf(ReadFile(out), "<row>"), 0);
    const std::string file = folder.Write("d.csv", data);
    for (const std::vector<std::string>& wrong : {std::vector<std::string>{"--pmml", file},
                                                  {"--pmml", out, "--xml", out},
                                                  {"--pmml", out, "--pmml-form", "tree"}}) {
        std::vector<std::string> arguments{LINREG_PROGRAM, file, "--target", "y", "--quiet"};
        arguments.insert(arguments.end(), wrong.begin(), wrong.end());
        EXPECT_EQ(RunProgram(arguments).status, 2) << wrong[1];
    }
    EXPECT_EQ(ReadFile(file), data);
}

TEST(EvaluatePmml, AddsTheQualityAndLeavesEverythingElse)
{
    const TemporaryFolder folder;
    const std::string before = R"(<?xml version="1.0" encoding="UTF-8"?><!-- <RegressionModel> -->
<PMML xmlns="http://www.dmg.org/PMML-4_4" version="4.4"><Header/><DataDictionary><DataField name='frequent'
 optype="categorical" dataType="string"><Value value="1"/><Value value="&#48;"/></DataField></DataDictionary>
<RegressionModel functionName="classification"><MiningSchema><MiningField name="frequent"/></MiningSchema><Output/>)",
                      after = R"(<RegressionTable intercept="0"/></RegressionModel></PMML>)";
    const auto evaluate = [&](const std::string& in, const std::string& target = "frequent") {
        std::vector<std::string> arguments{EVALUATE_PROGRAM,
                                           kVisits,
                                           "--target",
                                           target,
                                           "--score",
                                           "score",
                                           "--quiet",
                                           "--pmml",
                                           folder.Write("in.pmml", in),
                                           folder.File("out.pmml")};
        const ProgramResult result = RunProgram(arguments);
        return result.status == 0 ? ReadFile(folder.File("out.pmml")) : result.err;
    };
    const std::string once = evaluate(before + after);
    EXPECT_TRUE(once.starts_with(before) && once.ends_with(after)) << once;
    for (const char* const part : {"\n<ModelExplanation>\n<PredictiveModelQuality targetField=\"frequent\"",
                                   "<Array n=\"2\" type=\"string\">\"0\" \"1\"</Array>", "AUC=\"0.65746"})
        EXPECT_NE(once.find(part), std::string::npos) << part << once;
    const std::string twice = evaluate(once);
    EXPECT_EQ(CountOf(twice, "<ModelExplanation>"), 1);
    EXPECT_EQ(CountOf(twice, "<PredictiveModelQuality "), 2);

    struct Case {
        std::string text;
        const char* says;
    };
    for (const Case& c : {Case{before, "not a whole document"},
                          {"<a/>", "no PMML element"},
                          {"", "no model"},
                          {before + "</Output>" + after, "end tag"},
                          {after, "no PMML element"},
                          {"<?xml version='1.0' encoding='UTF-16'?>" + before.substr(38) + after, "UTF-16"},
                          {"<PMML><DataDictionary><DataField name='frequent'/></DataDictionary></PMML>", "no model"},
                          {"<PMML><AModel><MiningSchema/></AModel></PMML>", "no field 'frequent'"}})
        EXPECT_NE(evaluate(c.text).find(c.says), std::string::npos) << c.says << ": " << evaluate(c.text);
}
