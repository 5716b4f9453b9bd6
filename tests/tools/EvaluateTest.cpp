// evaluate: tables and documents against numbers counted by hand, pictures, and what it does with bad input.
#include "Linreg.h"

#include <algorithm>

namespace {

const std::string kVisits = EXAMPLES_DATA "/visits.csv";

ProgramResult Evaluate(std::vector<std::string> arguments, const std::string& input = {})
{
    arguments.insert(arguments.begin(), EVALUATE_PROGRAM);
    return RunProgram(arguments, input);
}

/// Eight cases of ten, given by frequencies; one row lacks its score, one its frequency.
const std::string kSmall =
    "who,y,s,n\na,yes,0.9,2\nb,no,0.8,1\nc,yes,0.5,2\nd,no,0.5,1\ne,no,-0.5,2\nf,yes,,1\ng,no,0.1,\n";
const std::vector<std::string> kSmallRoles = {"-", "--target",   "y", "--event", "yes", "--score", "s", "--frequency",
                                              "n", "--segments", "2", "--bins",  "3"};

std::string Squeezed(std::string text)
{
    const auto twoBlanks = [](char a, char b) { return a == ' ' && b == ' '; };
    text.erase(std::unique(text.begin(), text.end(), twoBlanks), text.end());
    return text;
}

} // namespace

TEST(Evaluate, CountsWhatAHandCounts)
{
    const ProgramResult result = Evaluate(kSmallRoles, kSmall);
    ASSERT_EQ(result.status, 0) << result.err;
    const std::string text = Squeezed(result.out);
    // 4 of the 8 cases are events; 2*4 + 2*(2 + 0.5) of the 4*4 pairs are in order, ties counting half.
    for (const char* const part :
         {"Rows used 5\nRows left out 2\n outcome or score is missing 1\n the frequency is missing or not positive 1\n"
          "Cases (sum of n) 8\nEvents 4\nEvent rate % 50.0\nArea under the ROC curve 0.8125\n",
          "Lowest and highest score -0.5 0.9\nMean of the score 0.3875000\n", "the scores are no probabilities",
          "Mean score\n3 37.5 2 66.7 1.33 2 50.0 1.33 0.8 0.866667\n8 100.0 2 40.0 0.80 4 100.0 1.00 -0.5 0.1\n",
          "Correct %\nyes 2 2 50.0\nother 0 4 100.0\nAll 2 6 75.0\n", "From To Events Others\n-0.5 0 0 2 ---",
          "0 0.5 0 0\n0.5 1 4 2 ####"})
        EXPECT_NE(text.find(part), std::string::npos) << part << "\nis not in\n" << text;
}

// Round scores lie on round edges. Each belongs to the bin above its edge, whatever rounding makes of the quotient.
TEST(Evaluate, RoundScoresFillTheBinsEvenly)
{
    std::string rows = "y,s\n";
    for (int i = 0; i <= 20; ++i)
        rows += std::string(i % 2 == 0 ? "1" : "0") + (i < 20 ? ",0." : ",1.") + (i % 20 < 2 ? "0" : "") +
                std::to_string(5 * (i % 20)) + "\n";
    const std::string text = Squeezed(Evaluate({"-", "--target", "y", "--score", "s"}, rows).out);
    for (const char* const bin :
         {"0 0.1 1 1 ", "0.1 0.2 1 1 ", "0.3 0.4 1 1 ", "0.6 0.7 1 1 ", "0.9 1 1 1 ", "1 1.1 1 0 "})
        EXPECT_NE(text.find(std::string("\n") + bin), std::string::npos) << bin << text;
}

TEST(Evaluate, WritesADocumentAndPicturesThatReadersAccept)
{
    const TemporaryFolder folder;
    const ProgramResult result = Evaluate({kVisits, "--target", "frequent", "--score", "score", "--cutoff", "0.2",
                                           "--quiet", "--xml", folder.File("e.xml"), "--charts", folder.File("v")});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.out + result.err, "");
    EXPECT_EQ(folder.Count(), 6u);
    const std::string document = ReadFile(folder.File("e.xml"));
    const auto number = [&](const char* name) {
        return Number(StatisticText(document, "<StructuredData description=\"Evaluation\"", name));
    };
    EXPECT_EQ(number("cases"), 10090.0);
    EXPECT_EQ(number("events"), 1983.0); // grep -c ',1,' visits.csv
    EXPECT_NEAR(number("areaUnderROC"), 0.6575, 5e-5);
    for (const char* const name : {"v-gains.svg", "v-lift.svg", "v-histogram.svg", "v-roc.svg", "v-calibration.svg"}) {
        const std::string picture = ReadFile(folder.File(name));
        EXPECT_NE(picture.find("<svg xmlns=\"http://www.w3.org/2000/svg\""), std::string::npos) << name;
        EXPECT_EQ(picture.find("href"), std::string::npos) << name; // it needs nothing but itself
        EXPECT_EQ(picture.find("nan"), std::string::npos) << name;
    }
    if (std::string(XMLLINT_PROGRAM).empty()) return;
    EXPECT_EQ(RunProgram({XMLLINT_PROGRAM, "--noout", "--schema", STATXML_SCHEMA, folder.File("e.xml")}).status, 0);
    EXPECT_EQ(RunProgram({XMLLINT_PROGRAM, "--noout", folder.File("v-gains.svg"), folder.File("v-lift.svg"),
                          folder.File("v-histogram.svg")})
                  .status,
              0);
}

TEST(Evaluate, SingleScoresAndExtremeOnesHaveTables)
{
    const TemporaryFolder folder;
    for (const char* const rows : {"1,0.5\n0,0.5\n", "1,3\n", "1,1e308\n0,-1e308\n", "1,5e-324\n0,0\n", "0,1\n1,0\n"}) {
        const ProgramResult result =
            Evaluate({"-", "--target", "y", "--score", "s", "--charts", folder.File("x")}, std::string("y,s\n") + rows);
        EXPECT_EQ(result.status, 0) << rows << result.err;
        EXPECT_EQ(ReadFile(folder.File("x-histogram.svg")).find("nan"), std::string::npos) << rows;
    }
}

// Tied scores are cut evenly: neither the order of the file nor how rows are grouped shows.
TEST(Evaluate, TheOrderOfTiesDoesNotMatter)
{
    std::vector<std::string> rows;
    for (int i = 0; i < 200; ++i) rows.push_back(std::to_string(i % 3 == 0) + ",0." + std::to_string(i % 4) + "\n");
    const auto table = [](const std::vector<std::string>& lines) {
        std::string text = "y,s\n";
        for (const std::string& line : lines) text += line;
        return Evaluate({"-", "--target", "y", "--score", "s", "--format", "json"}, text).out;
    };
    const std::string before = table(rows);
    std::sort(rows.begin(), rows.end());
    EXPECT_EQ(table(rows), before);
    std::reverse(rows.begin(), rows.end());
    EXPECT_EQ(table(rows), before);
}

TEST(Evaluate, SaysWhatItAssumes)
{
    struct Assumed {
        const char* rows;
        std::vector<std::string> arguments;
        int status;
        const char* part; ///< of what it prints
    };
    const Assumed cases[] = {
        {"y,s\n1,500\n0,400\n1,600\n0,550\n",
         {},
         0,
         "largest sensitivity + specificity: the scores are no probabilities"},
        {"y,s\n1,0.7\n0,0.4\n", {}, 0, "0.5: the scores are probabilities"},
        {"y,s\n1,500\n0,400\n",
         {"--cutoff", "0.5"},
         0,
         "the cutoff 0.5 puts all cases on one side: the scores go from 400 to 500"},
        {"y,s\n1,1\n2,2\n3,3\n", {}, 2, "has more than two values, as '1', '2', '3'; --event names the one"},
        {"y,s\n1,1\n2,2\n3,3\n", {"--event", "3"}, 0, "all but '3' are taken as no event"},
        {"y,s\n1,1.5\n2,2\n3,3.5\n", {"--regression"}, 0, "Mean absolute error               0.3333333"},
        {"y,p\n1,1\n", {"--regression", "--event", "1"}, 2, "--event has no place beside it"},
    };
    for (const Assumed& c : cases) {
        std::vector<std::string> arguments{"-", "--target", "y", "--score", "s"};
        arguments.insert(arguments.end(), c.arguments.begin(), c.arguments.end());
        const ProgramResult result = Evaluate(arguments, c.rows);
        EXPECT_EQ(result.status, c.status) << result.err;
        EXPECT_NE((result.out + result.err).find(c.part), std::string::npos) << c.part << result.out << result.err;
    }
}

TEST(Evaluate, BadInputIsOneClearLineAndNothingIsWritten)
{
    struct BadCase {
        const char* data;
        std::vector<std::string> arguments;
        const char* complaint; // PATH and CHART standing for the paths of the data and of a chart
    };
    const BadCase cases[] = {
        {"y,s\n1,2\n", {"--target", "y", "--score", "z"}, "PATH, line 1: there is no column 'z'"},
        {"y,s\n1,2\n", {"--target", "y", "--score", "y"}, "one column is given two roles"},
        {"y,s\n1,2\n0,high\n",
         {"--target", "y", "--score", "s"},
         "PATH, line 3, column 2 (s): text 'high' in the column of the score"},
        {"y,s,n\n1,2,1\n0,1,2.5\n",
         {"--target", "y", "--score", "s", "--frequency", "n"},
         "PATH, line 3, column 3 (n): the frequency '2.5' is not a whole number"},
        {"y,s\n1,2\n0\n", {"--target", "y", "--score", "s"}, "PATH, line 3: the row has 1 fields, the header 2"},
        {"y,s\n0,2\n",
         {"--target", "y", "--score", "s"},
         "PATH: column 'y' is never '1'; it is '0'; --event names the value that the score predicts, --regression "
         "takes "
         "numbers"},
        {"y,s\n,2\n",
         {"--target", "y", "--score", "s"},
         "PATH: no cases are left: 1 rows, 1 with a missing value, 0 with a frequency that is missing or not positive"},
        {"y,s\n1,2\n",
         {"--target", "y", "--score", "s", "--segments", "0"},
         "segments: 0 is not legal; legal: 1 to 1000"},
        {"y,s\n1,2\n", {"--target", "y", "--score", "s", "--xml", "PATH"}, "PATH: it would replace the data"},
        {"y,s\n1,2\n",
         {"--target", "y", "--score", "s", "--xml", "CHART"},
         "CHART: two results would be written to it"},
    };
    for (const BadCase& bad : cases) {
        const TemporaryFolder folder;
        const std::string path = folder.Write("data.csv", bad.data);
        std::vector<std::string> arguments = {path, "--charts", folder.File("c")};
        arguments.insert(arguments.end(), bad.arguments.begin(), bad.arguments.end());
        std::string complaint = std::string("evaluate: ") + bad.complaint + "\n";
        for (const auto& [name, place] : {std::pair{"PATH", path}, std::pair{"CHART", folder.File("c-gains.svg")}}) {
            std::replace(arguments.begin(), arguments.end(), std::string(name), place);
            const std::size_t at = complaint.find(name);
            if (at != std::string::npos) complaint.replace(at, std::string_view(name).size(), place);
        }
        const ProgramResult result = Evaluate(arguments);
        EXPECT_EQ(result.status, 2);
        EXPECT_EQ(result.err, complaint);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(folder.Count(), 1u) << complaint;
    }
    EXPECT_EQ(Evaluate({"--help"}).status, 0);
}

TEST(Evaluate, AnInterruptLeavesNothing)
{
    std::string rows = "y,s\n";
    for (int i = 0; i < 100000; ++i) rows += std::to_string(i % 2) + "," + std::to_string(i % 101) + "\n";
    const TemporaryFolder folder;
    Program program({EVALUATE_PROGRAM, "-", "--target", "y", "--score", "s", "--charts", folder.File("c")});
    program.Send(rows);
    program.Signal(SIGINT);
    const ProgramResult result = program.Finish();
    EXPECT_EQ(result.status, 130);
    EXPECT_EQ(result.err, "evaluate: interrupted: nothing was written\n");
    EXPECT_EQ(folder.Count(), 0u);
}
