// describe: what columns are taken for, counts by hand, and parts that give what the whole gives.
#include "Json.h"

#include <sstream>

namespace {

const std::string kVisits = EXAMPLES_DATA "/visits.csv";

std::string KindOf(const MCXML_930::JsonObject& json, const std::string& column)
{
    for (const MCXML_930::JsonObject& row : json["columns"].Elements())
        if (row["column"].GetText() == column) return std::string(row["kind"].GetText());
    return "not there";
}

} // namespace

TEST(Describe, SaysWhatAColumnIs)
{
    struct KindCase {
        const char* kind;
        std::vector<std::string> values; ///< repeated over 60 rows
    };
    const KindCase cases[] = {
        {"number", {"1.5", "2.25", "3", "", "NA"}},
        {"binary", {"0", "1"}},
        {"whole number", {"1", "2", "3", "4"}},
        {"factor", {"red", "green", "blue"}},
        {"factor", {"1", "2", "x", "y"}},
        {"number", {"1", "2", "3.5", "4", "5", "6", "7", "8", "9", "10", "11", "unknown"}},
        {"constant", {"7", "7.0", "."}},
        {"constant", {"same"}},
        {"empty", {"", "NA", "."}},
    };
    for (const KindCase& c : cases) {
        std::string rows = "v,w\n";
        for (std::size_t i = 0; i < 60; ++i) rows += c.values[i % c.values.size()] + ",1\n";
        EXPECT_EQ(KindOf(JsonOf(DESCRIBE_PROGRAM, {"-"}, rows), "v"), c.kind) << rows.substr(0, 60);
    }
    std::string keys = "v\n";
    for (int i = 0; i < 60; ++i) keys += "key" + std::to_string(i) + "\n";
    EXPECT_EQ(KindOf(JsonOf(DESCRIBE_PROGRAM, {"-"}, keys), "v"), "identifier");
}

TEST(Describe, CountsWhatAHandCounts)
{
    const std::string rows = "a;b;n\n1,5;x;2\nNA;y;1\n-9;x;1\n2,5;;3\n;x;0\n4;x;NA\n";
    const MCXML_930::JsonObject json = JsonOf(
        DESCRIBE_PROGRAM, {"-", "--delimiter", ";", "--decimal", "comma", "--missing", "-9", "--frequency", "n"}, rows);
    EXPECT_EQ(NumberIn(json, "counts", "", "rows"), 6.0);
    EXPECT_EQ(NumberIn(json, "counts", "", "unweighted"), 2.0);
    EXPECT_EQ(NumberIn(json, "counts", "", "cases"), 7.0);
    EXPECT_EQ(NumberIn(json, "columns", "a", "values"), 5.0);
    EXPECT_EQ(NumberIn(json, "columns", "a", "missing"), 2.0);
    EXPECT_EQ(NumberIn(json, "columns", "a", "mean"), 2.1); // (2*1.5 + 3*2.5)/5
    EXPECT_EQ(NumberIn(json, "columns", "a", "p50"), 2.5);
    EXPECT_EQ(NumberIn(json, "columns", "b", "different"), 2.0);
    EXPECT_EQ(NumberIn(json, "levels", "b", "cases"), 3.0);
    EXPECT_EQ(json["missingValues"].Size(), 3u); // a: NA, -9; b: nothing
    const ProgramResult result = RunProgram({DESCRIBE_PROGRAM, "-"}, "v\n1\n2\n3\n4\n5\n6\n7\n8\n9\nn/a\n");
    EXPECT_EQ(result.err, "describe: warning: v: 1 value is text among numbers, as 'n/a'; --missing says what means a "
                          "missing value\n");
    const ProgramResult tooMany = RunProgram({DESCRIBE_PROGRAM, "-", "--frequency", "n"}, "v,n\n1,8e307\n2,8e307\n");
    EXPECT_EQ(tooMany.status, 2);
    EXPECT_NE(tooMany.err.find("the frequencies add up to more than 2^1023"), std::string::npos) << tooMany.err;
}

// More different numbers than the sketch holds, more different texts than are counted, missing values, a column that
// becomes numeric late, and more numeric columns in one part than in the other.
TEST(Describe, PartsAndThreadsGiveTheSameOutputAsOneRun)
{
    const TemporaryFolder folder;
    const std::string header = "i,x,key,late,f\n";
    std::vector<std::string> parts(3, header);
    unsigned state = 12345;
    for (unsigned i = 0; i < 12000; ++i) {
        state = state * 1664525u + 1013904223u;
        std::ostringstream row;
        row << i << ',' << static_cast<double>(state % 1000003) / 7.0 << ",k" << (state % 20000) << ','
            << (i < 7000 ? "" : std::to_string(state % 50)) << ',' << "abc"[state % 3] << '\n';
        parts[i % 5 == 0 ? 0 : i < 9000 ? 1 : 2] += row.str();
    }
    std::string whole = header;
    for (const std::string& part : parts) whole += part.substr(header.size());
    const std::string data = folder.Write("whole.csv", whole);
    for (const bool exact : {false, true}) {
        const auto describe = [&](std::vector<std::string> arguments) {
            arguments.insert(arguments.begin(), DESCRIBE_PROGRAM);
            arguments.insert(arguments.end(), {"--format", "json", "--sketch", "256"});
            if (exact) arguments.emplace_back("--exact");
            const ProgramResult result = RunProgram(arguments);
            EXPECT_EQ(result.status, 0) << result.err;
            return result.out;
        };
        std::vector<std::string> merge{"--merge"};
        for (std::size_t p = 0; p < parts.size(); ++p) {
            merge.push_back(folder.File(std::to_string(p) + ".json"));
            describe({folder.Write("part.csv", parts[p]), "--save", merge.back()});
        }
        const std::string once = describe({data});
        EXPECT_EQ(describe(merge), once);
        EXPECT_EQ(describe({data, "--threads", "3"}), once);
        EXPECT_NE(once.find("\"differentIsExact\": \"false\""), std::string::npos);
        EXPECT_EQ(RunProgram({DESCRIBE_PROGRAM, "--merge", data}).status, 2);
        if (!exact) continue;
        const std::string cut = folder.Write("cut.json", ReadFile(merge[1]).substr(0, ReadFile(merge[1]).size() - 40));
        EXPECT_EQ(RunProgram({DESCRIBE_PROGRAM, "--merge", cut}).status, 2);
    }
}

// Not rounded to the digits that parts have in common.
TEST(Describe, ExactMomentsKeepTheLastDigits)
{
    const TemporaryFolder folder;
    std::string text = "y,z,w\n";
    for (int i = 0; i < 1001; ++i) {
        text += i == 0 ? "10000000.2" : i % 2 == 0 ? "10000000.3" : "10000000.1";
        text.append(",").append(std::to_string(100000000 + i * i)).append(",").append(std::to_string(i % 3 + 1)) +=
            '\n';
    }
    const std::string data = folder.Write("data.csv", text);
    const MCXML_930::JsonObject json = JsonOf(DESCRIBE_PROGRAM, {data, "--exact", "--columns", "y,z"});
    EXPECT_EQ(NumberIn(json, "columns", "y", "mean"), 10000000.2);
    EXPECT_NEAR(NumberIn(json, "columns", "y", "stdDeviation"), 0.1, 1e-9); // what the decimals are as doubles
    // Sum of i^2 is 333833500, of i^4 200500333333300.
    EXPECT_DOUBLE_EQ(NumberIn(json, "columns", "z", "stdDeviation"),
                     std::sqrt((200500333333300.0 - 333833500.0 * (333833500.0 / 1001)) / 1000));
}

TEST(Describe, WritesADocumentAndAPageThatReadersAccept)
{
    const TemporaryFolder folder;
    const ProgramResult result = RunProgram(
        {DESCRIBE_PROGRAM, kVisits, "--quiet", "--xml", folder.File("d.xml"), "--svg", folder.File("d.svg")});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(ReadFile(folder.File("d.svg")).find("nan"), std::string::npos);
    if (std::string(XMLLINT_PROGRAM).empty()) return;
    EXPECT_EQ(RunProgram({XMLLINT_PROGRAM, "--noout", "--schema", STATXML_SCHEMA, folder.File("d.xml")}).status, 0);
    EXPECT_EQ(RunProgram({XMLLINT_PROGRAM, "--noout", folder.File("d.svg")}).status, 0);
}

TEST(Describe, DataWithoutRowsOrValuesHaveTables)
{
    for (const char* const rows :
         {"a,b\n", "a\nNA\n", "a\n1\n", "a,b\n1e308,-1e308\n-1e308,1e308\n", "a\n5e-324\n0\n"}) {
        const TemporaryFolder folder;
        const ProgramResult result = RunProgram({DESCRIBE_PROGRAM, "-", "--svg", folder.File("p.svg")}, rows);
        EXPECT_EQ(result.status, 0) << rows << result.err;
        EXPECT_EQ(result.out.find("nan"), std::string::npos) << result.out;
    }
}
