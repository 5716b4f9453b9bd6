// logreg: separation, weights, forms of the same data, and what it does with data that determine no model.
#include "Json.h"

namespace {

const std::string kData = MODELCORE_TEST_DATA "/programs/data.csv";

/// Dose response, grouped: beetles killed (Bliss 1935), a row for each dose and outcome.
const std::string kBeetles =
    "dose,dead,n\n1.6907,1,6\n1.6907,0,53\n1.7242,1,13\n1.7242,0,47\n1.7552,1,18\n1.7552,0,44\n"
    "1.7842,1,28\n1.7842,0,28\n1.8113,1,52\n1.8113,0,11\n1.8369,1,53\n1.8369,0,6\n1.8610,1,61\n"
    "1.8610,0,1\n1.8839,1,60\n1.8839,0,0\n";

std::string StateOf(const MCXML_930::JsonObject& json, const std::string& parameter)
{
    for (const MCXML_930::JsonObject& row : json["coefficients"].Elements())
        if (row["parameter"].GetText() == parameter) return std::string(row["state"].GetText());
    return "not there";
}

} // namespace

TEST(Logreg, GroupedDataGiveThePublishedEstimates)
{
    // Dobson (1990), An introduction to generalized linear models, section 8.4.
    const MCXML_930::JsonObject json = JsonOf(LOGREG_PROGRAM, {"-", "--target", "dead", "--frequency", "n"}, kBeetles);
    EXPECT_NEAR(NumberIn(json, "coefficients", "(Intercept)", "estimate"), -60.72, 0.005);
    EXPECT_NEAR(NumberIn(json, "coefficients", "dose", "estimate"), 34.27, 0.005);
    EXPECT_NEAR(NumberIn(json, "coefficients", "dose", "stdError"), 2.912, 0.0005);
    EXPECT_EQ(NumberIn(json, "model", "", "cases"), 481.0);
    EXPECT_EQ(NumberIn(json, "model", "", "unweighted"), 1.0);
}

TEST(Logreg, SeparationIsNamedAndHasNoEstimate)
{
    struct Separated {
        const char* name;
        std::string data, warning;
        std::vector<std::string> separated, estimated;
    };
    std::string complete = "y,x,z\n";
    for (int i = 0; i < 40; ++i)
        complete += (i < 20 ? "0," : "1,") + std::to_string(i) + ',' + std::to_string(i * 7 % 11) + "\n";
    std::string quasi = "y,f,x\n"; // no event at level c; x tells nothing for certain
    for (int i = 0; i < 90; ++i)
        quasi += std::string(i % 3 != 2 && (i * 37 % 100) < 40 + i % 30 ? "1," : "0,") + "abc"[i % 3] + "," +
                 std::to_string(i % 30) + "\n";
    const Separated cases[] = {
        {"complete", complete, "complete separation: x", {"x"}, {}},
        {"a level without events",
         quasi,
         "quasi-complete separation: f=c (no event)",
         {"f=c"},
         {"x", "f=b", "(Intercept)"}},
    };
    for (const Separated& c : cases)
        for (const char* const link : {"logit", "probit", "cloglog"}) {
            SCOPED_TRACE(std::string(c.name) + " " + link);
            const MCXML_930::JsonObject json =
                JsonOf(LOGREG_PROGRAM, {"-", "--target", "y", "--link", link}, c.data, 1);
            ASSERT_GE(json["warnings"].Size(), 1u);
            EXPECT_TRUE(json["warnings"].At(json["warnings"].Size() - 1)->GetText().starts_with(c.warning))
                << json["warnings"].At(0)->GetText();
            for (const std::string& name : c.separated) EXPECT_EQ(StateOf(json, name), "separated");
            for (const std::string& name : c.estimated) EXPECT_EQ(StateOf(json, name), "estimated");
        }
    // What is left has the estimates of the data without the separated level.
    const MCXML_930::JsonObject all = JsonOf(LOGREG_PROGRAM, {"-", "--target", "y"}, quasi, 1);
    std::string rest;
    for (std::size_t at = 0, end = 0; (end = quasi.find('\n', at)) != std::string::npos; at = end + 1)
        if (quasi.substr(at, end - at).find(",c,") == std::string::npos) rest += quasi.substr(at, end - at + 1);
    const MCXML_930::JsonObject some = JsonOf(LOGREG_PROGRAM, {"-", "--target", "y"}, rest);
    for (const char* const name : {"x", "f=b", "(Intercept)"})
        for (const char* const field : {"estimate", "stdError"})
            EXPECT_NEAR(NumberIn(all, "coefficients", name, field), NumberIn(some, "coefficients", name, field),
                        1e-5 * std::fabs(NumberIn(some, "coefficients", name, field)))
                << name << field;
}

TEST(Logreg, ThreadsAndPipesGiveTheSameOutput)
{
    const std::vector<std::string> model{"--model",  "y ~ x*f + g", "--frequency", "n",
                                         "--weight", "w",           "--format",    "json"};
    const auto run = [&](std::vector<std::string> more, const std::string& input) {
        more.insert(more.begin(), LOGREG_PROGRAM);
        more.insert(more.end(), model.begin(), model.end());
        return RunProgram(more, input).out;
    };
    const std::string once = run({kData}, "");
    EXPECT_NE(once.find("\"converged\": \"yes\""), std::string::npos) << once;
    EXPECT_EQ(run({kData, "--threads", "3"}, ""), once);
    EXPECT_EQ(run({"-"}, ReadFile(kData)), once);
}

TEST(Logreg, EvaluateReadsItsPredictions)
{
    const TemporaryFolder folder;
    const std::string path = folder.File("p.csv");
    EXPECT_EQ(RunProgram({LOGREG_PROGRAM, kData, "--model", "y ~ x + f", "--predictions", path, "--xml",
                          folder.File("l.xml"), "--charts", folder.File("l"), "--quiet"})
                  .status,
              0);
    const MCXML_930::JsonObject json = JsonOf(EVALUATE_PROGRAM, {path, "--target", "y"});
    EXPECT_EQ(NumberIn(json, "evaluation", "", "used"), 240.0);
    EXPECT_GT(NumberIn(json, "evaluation", "", "areaUnderROC"), 0.7);
    EXPECT_EQ(json["cutoffs"].Size(), 3u);
    if (std::string(XMLLINT_PROGRAM).empty()) return;
    EXPECT_EQ(RunProgram({XMLLINT_PROGRAM, "--noout", "--schema", STATXML_SCHEMA, folder.File("l.xml")}).status, 0);
}

TEST(Logreg, BadInputIsOneClearLine)
{
    struct BadCase {
        const char* data;
        std::vector<std::string> arguments;
        const char* complaint;
    };
    const BadCase cases[] = {
        {"y,x\nyes,1\nno,2\n",
         {"--target", "y"},
         "standard input: column 'y' is never '1'; it is 'yes', 'no'; --event names the value whose probability is "
         "modelled"},
        {"y,x\n1,1\n1,2\n",
         {"--target", "y"},
         "standard input: column 'y' is always '1': there is nothing to tell apart"},
        {"y,x\n,1\n1,\n",
         {"--target", "y"},
         "standard input: no cases are left: 2 rows, 2 with a missing value, 0 with a weight that is missing or not "
         "positive"},
        {"y,x\n1,1\n0,2\n",
         {"--model", "y ~ x +"},
         "model 'y ~ x +', character 8: a name, '1', '0' or '(' was expected"},
        {"y,x\n1,1\n0,2\n",
         {"--model", "y ~ x^2:x"},
         "model 'y ~ x^2:x', character 10: two powers of 'x' in one product"},
        {"y,x\n1,1\n0,2\n",
         {"--model", "y ~ " + std::string(100000, '(')},
         "model 'y ~ ((((((((((((((((((((((((((((((((((((...', character 106: more than 100 parentheses are "
         "within each other"},
        {"y,x\n1,1\n0,2\n",
         {"--model", "y ~ (a*b*c*d*e*f*g)^20"},
         "model 'y ~ (a*b*c*d*e*f*g)^20', character 23: it multiplies more than 200000 terms"},
        {"y,f\n1,a\n0,b\n", {"--model", "y ~ f^2"}, "the model has a power of 'f', which is a factor"},
        {"y,x\n1,1\n0,2\n",
         {"--model", "y ~ x", "--target", "y"},
         "--model says what the model is; --target, --predictors and --no-intercept have no place beside it"},
    };
    for (const BadCase& bad : cases) {
        std::vector<std::string> arguments{LOGREG_PROGRAM, "-"};
        arguments.insert(arguments.end(), bad.arguments.begin(), bad.arguments.end());
        const ProgramResult result = RunProgram(arguments, bad.data);
        EXPECT_EQ(result.status, 2);
        EXPECT_EQ(result.err, std::string("logreg: ") + bad.complaint + "\n");
        EXPECT_EQ(result.out, "");
    }
}

// Formulas that say the same give the same output; whatever is the reference, tests of terms are the same.
TEST(Formula, FormsOfAModelAgree)
{
    const auto fit = [](std::vector<std::string> more) {
        more.insert(more.begin(), {LINREG_PROGRAM, kData, "--format", "csv"});
        const ProgramResult result = RunProgram(more);
        EXPECT_EQ(result.status, 0) << result.err;
        return result.out;
    };
    const std::pair<const char*, const char*> same[] = {
        {"z ~ x*f", "z ~ x + f + x:f"},
        {"z ~ (x + f + g)^2 - x:g", "z ~ x + f + g + x:f + f:g"},
        {"z ~ . - y - n - w - s - h", "z~x+f+g"},
        {"z ~ 0 + f + x", "z ~ f + x - 1"},
        {"z ~ 'x' + `f`:\"g\" + f + g", "z ~ x + f*g"},
        {"z ~ x:x + f:f", "z ~ x + f"},
    };
    for (const auto& [a, b] : same) EXPECT_EQ(fit({"--model", a}), fit({"--model", b})) << a;
    EXPECT_EQ(fit({"--model", "z ~ x + f"}), fit({"--target", "z", "--predictors", "x,f"}));

    const auto terms = [](const char* reference) {
        return JsonOf(LINREG_PROGRAM, {kData, "--model", "z ~ x*f + f*g + f:h", "--reference", reference});
    };
    const MCXML_930::JsonObject first = terms("first");
    const MCXML_930::JsonObject last = terms("last");
    ASSERT_EQ(first["terms"].Size(), 6u);
    for (const char* const term : {"x", "f", "g", "x:f", "f:g", "f:h"}) {
        const double sum = NumberIn(first, "terms", term, "sumOfSquares");
        EXPECT_NEAR(NumberIn(last, "terms", term, "sumOfSquares"), sum, 1e-8 * sum) << term;
        EXPECT_EQ(NumberIn(last, "terms", term, "df"), NumberIn(first, "terms", term, "df")) << term;
    }
}

// Sums of parts are those of the whole, whichever levels and cells a part lacks.
TEST(LinregStates, MergedPartsGiveTheFitOfAllData)
{
    const TemporaryFolder folder;
    const std::string all = ReadFile(kData);
    const std::string header = all.substr(0, all.find('\n') + 1);
    std::string parts[3] = {header, header, header};
    std::size_t row = 0;
    for (std::size_t at = header.size(), end = 0; (end = all.find('\n', at)) != std::string::npos;
         at = end + 1, ++row) {
        const std::string line = all.substr(at, end - at + 1);
        parts[line.find(",c,") != std::string::npos ? 2 : row % 2] += line; // level c is in the last part alone
    }
    const std::vector<std::string> model{"--model", "z ~ x^2 + x*f + f*g", "--frequency", "n", "--weight", "w"};
    const auto linreg = [&](std::vector<std::string> arguments, bool withModel) {
        if (withModel) arguments.insert(arguments.end(), model.begin(), model.end());
        return JsonOf(LINREG_PROGRAM, arguments);
    };
    std::vector<std::string> merge{"--merge"};
    for (int i = 0; i < 3; ++i) {
        merge.push_back(folder.File(std::to_string(i) + ".json"));
        linreg({folder.Write("part.csv", parts[i]), "--save", merge.back()}, true);
    }
    const MCXML_930::JsonObject once = linreg({kData, "--one-pass"}, true);
    const MCXML_930::JsonObject merged = linreg(merge, false);
    ASSERT_EQ(merged["coefficients"].Size(), once["coefficients"].Size());
    for (const MCXML_930::JsonObject& row1 : once["coefficients"].Elements())
        for (const char* const field : {"estimate", "stdError", "tolerance"}) {
            const std::string name(row1["parameter"].GetText());
            double expected = 0.0;
            if (!row1[field].Read(expected)) continue;
            EXPECT_NEAR(NumberIn(merged, "coefficients", name, field), expected, 1e-10 * std::fabs(expected)) << name;
        }
    for (const char* const field : {"rSquared", "cases", "sumOfWeights"})
        EXPECT_NEAR(NumberIn(merged, "model", "", field), NumberIn(once, "model", "", field), 1e-9) << field;
    // Another model, another program's file, data in the place of a state.
    linreg({folder.Write("other.csv", parts[0]), "--save", folder.File("o.json"), "--model", "z ~ x"}, false);
    for (const std::string& bad : {folder.File("o.json"), kData, folder.File("none.json")})
        EXPECT_EQ(RunProgram({LINREG_PROGRAM, "--merge", merge[1], bad}).status, 2) << bad;
}
