#include "modelcore/common/MCDisplay.h"
#include "modelcore/modelcore.h"
#include "support/FailingOutput.h"
#include "support/Testing.h"

#include <iomanip>
#include <iostream>

using namespace MCDisplay_930;

TEST(MCDisplay, AFullDiskIsToldByTheStream)
{
    ExpectFailureIsTold([](std::ostream& stream) {
        return DisplayTo(stream, [] {
            const std::vector<double> values(20, 1.0 / 3.0);
            const std::vector<int> columns{0, 4, -1, 12};
            DisplayStart("Class");
            Display("Text", "value");
            Display("Numbers", values);
            DisplaySymMatrix(values.data(), 5);
            DisplayRectMatrix(values.data(), 2, 10);
            DisplaySparseMatrix(values.data(), columns.data(), 2, 2);
            DisplayEnd("Class");
        });
    });
}

TEST(MCDisplay, ScalarsAreOneLabelledLineEachAndTablesAreAligned)
{
    DisplayCapture capture;
    capture.Stream() << std::hex << std::setprecision(2) << std::boolalpha << std::setw(20); // must not matter
    Display("Label with colon:", 12);
    Display("Flag", false);
    Display("Text", "a pointer is not a bool");
    Display("Large", 18446744073709551615ull);
    Display("Long", -5L);
    Display("Longest", std::numeric_limits<long long>::min());
    Display("Rubbed\x7F out", static_cast<const char*>(nullptr));
    Display("Third", 1.0 / 3.0);
    Display("Missing", kMissing);
    Display("Not a number", kNan);
    Display("Nothing", std::vector<double>());

    const double packed[] = {1, 0.5, 2, -1.0 / 3, kMissing, 1e100};
    const double rect[] = {1, 2, 3, 4, 5, 60};
    const double values[] = {1.5, 2, 7, 0};
    const int columns[] = {0, 4, 12, -1};
    Display("v", std::vector<int>{1, -20, 300});
    DisplaySymMatrix(packed, 3);
    DisplayRectMatrix(rect, 2, 3);
    DisplaySparseMatrix(values, columns, 2, 2);
    DisplayRectMatrix(rect, 0, 3);
    DisplayRectMatrix(rect, 2, 0);
    DisplaySparseMatrix(values, columns, 0, 2);
    DisplaySparseMatrix(values, columns, 2, 0);
    EXPECT_EQ(capture.Text(), R"(Label with colon: 12
Flag: false
Text: a pointer is not a bool
Large: 18446744073709551615
Long: -5
Longest: -9223372036854775808
Rubbed\x7f out: 
Third: 0.3333333333333333
Missing: missing
Not a number: nan
Nothing: (empty)
v:
[0]    1  -20  300
            [0]      [1]     [2]
[0]           1
[1]         0.5        2
[2]  -0.3333333  missing  1e+100
     [0]  [1]  [2]
[0]    1    2    3
[1]    4    5   60
[0]  (0) 1.5  (4) 2
[1]  (12) 7
(empty)
(empty)
(empty)
(empty)
)");
}

// Every number must appear exactly once, whatever the number of blocks, and no line may pass the width.
TEST(MCDisplay, WideTablesBreakIntoBlocksOfWholeColumns)
{
    const int n = 37;
    std::vector<double> elements;
    std::vector<int> columns;
    for (int i = 0; i < n * n; ++i) {
        elements.push_back(10000 + i);
        columns.push_back(i % n);
    }
    const std::pair<int, std::function<void()>> tables[] = {
        {n * n, [&] { DisplayRectMatrix(elements.data(), n, n); }},
        {n * (n + 1) / 2, [&] { DisplaySymMatrix(elements.data(), n); }},
        {n * n, [&] { DisplaySparseMatrix(elements.data(), columns.data(), n, n); }},
        {n * n, [&] { Display("v", elements); }},
    };
    for (const auto& [count, display] : tables) {
        DisplayCapture capture;
        display();
        std::istringstream text(capture.Text());
        std::vector<int> seen(static_cast<std::size_t>(count));
        for (std::string line; std::getline(text, line);) {
            EXPECT_LE(line.size(), 80u) << line;
            std::istringstream words(line);
            for (std::string word; words >> word;)
                if (word.size() == 5 && word[0] == '1') ++seen.at(static_cast<std::size_t>(std::stoi(word) - 10000));
        }
        EXPECT_EQ(seen, std::vector<int>(seen.size(), 1));
    }
}

TEST(MCDisplay, StreamIsStandardOutputUntilRedirected)
{
    std::ostringstream first;
    EXPECT_EQ(SetDisplayStream(&first), nullptr);
    EXPECT_EQ(&GetDisplayStream(), &first);
    EXPECT_EQ(SetDisplayStream(nullptr), &first);
    EXPECT_EQ(&GetDisplayStream(), &std::cout);
}

TEST(MCDisplay, ClassesWriteBetweenALineThatStartsAndOneThatEnds)
{
    MCMath_930::MCIterationReporter reporter;
    const std::vector<double> estimates{1.0, -0.5};
    reporter.SetInfo(&estimates, nullptr, nullptr, 3, 210.5, 0.25);
    const MCXML_930::MCXMLCoordinates coordinates{"f", "x", "s", {}};
    MCCommon_930::ValueRecord record;
    record.Add("", "line\nfeed\x1b");
    EXPECT_NE(Shown(record).find(": line\\nfeed\\x1b\n"), std::string::npos);
    const std::pair<std::string, std::string> cases[] = {
        {"ValueRecord", Shown(record)},
        {"MCBitSet", Shown(MCMath_930::MCBitSet(50))},
        {"MCStatus", Shown(MCCommon_930::MCStatus(3, true))},
        {"MCWarnings", Shown(MCCommon_930::MCWarnings())},
        {"MCParameterValue", Shown(MCCommon_930::MCWarnings::MCParameterValue(7))},
        {"MCException", Shown(MCCommon_930::MCException(13, "m"))},
        {"MCCancelInfo", Shown(MCMath_930::MCCancelInfo())},
        {"MCTimeUtil", Shown(MCCommon_930::MCTimeUtil())},
        {"MCDynamicLoadedLibrary", Shown(MCCommon_930::MCDynamicLoadedLibrary())},
        {"RawRecord", Shown(MCCommon_930::RawRecord(1))},
        {"Record", Shown(MCCommon_930::Record(-1))},
        {"MemoryRecordIterator", Shown(MCCommon_930::MemoryRecordIterator(1, 0, nullptr, nullptr, nullptr))},
        {"MCIterationReporter", Shown(reporter)},
        {"MCIterationReporter", Shown(MCMath_930::MCIterationReporter())},
        {"ExportFormat", Shown(MCXML_930::ExportFormat())},
        {"MCXMLCoordinates", Shown(coordinates)},
        {"MCVariateData", Shown(MCXML_930::MCVariateData{"d", {coordinates}, {{"mean", 1.5}}})},
        {"MCXMLCoordinatesGroup", Shown(MCXML_930::MCXMLCoordinatesGroup{"g", {coordinates}})},
        {"MCXMLRecordInfo", Shown(MCXML_930::MCXMLRecordInfo{"7", "seven", {{1}}})},
        {"MCXMLCounts", Shown(MCXML_930::MCXMLCounts{4, 3, 2, 1})},
    };
    for (const auto& [name, shown] : cases) {
        const std::string start = name + " display start\n", end = name + " display end\n";
        EXPECT_TRUE(shown.starts_with(start) && shown.ends_with(end)) << shown;
    }
}
