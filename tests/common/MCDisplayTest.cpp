#include "modelcore/common/MCDisplay.h"
#include "modelcore/modelcore.h"
#include "support/DisplayCapture.h"
#include "support/Numbers.h"

#include <gtest/gtest.h>

#include <functional>
#include <iomanip>
#include <iostream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

using namespace MCDisplay_930;

TEST(MCDisplay, ScalarsAreOneLabelledLineEachAndTablesAreAligned)
{
    DisplayCapture capture;
    capture.Stream() << std::hex << std::setprecision(2) << std::boolalpha << std::setw(20); // must not matter
    Display("Label with colon:", 12);
    Display("Flag", false);
    Display("Text", "a pointer is not a bool");
    Display("Large", 18446744073709551615ull);
    Display("Long", -5L);
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
    EXPECT_EQ(capture.Text(), R"(Label with colon: 12
Flag: false
Text: a pointer is not a bool
Large: 18446744073709551615
Long: -5
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

TEST(MCDisplay, ClassesWriteTheirFieldsBetweenALineThatStartsAndOneThatEnds)
{
    const std::vector<double> a{1.0, -0.5}, b{2.0};
    MCCommon_930::ValueRecord record;
    record.Add("age", 36);
    record.Add("", "line\nfeed\x1b");
    MCMath_930::MCBitSet set(50);
    set.Set(49);
    MCCommon_930::MCWarnings warnings;
    warnings.AddParameter(MCCommon_930::MCStatus(3, true), "r");
    MCMath_930::MCIterationReporter reporter, fresh;
    reporter.SetInfo(&a, 3, 7, 210.5, 0.25);
    reporter.SetInfo(&a, &b, nullptr, 3, 210.5, 0.25);
    const MCXML_930::MCXMLCoordinates coordinates{"f", "x", "s", {}};

    const struct {
        std::string name, shown, lines;
    } cases[] = {
        {"ValueRecord", Shown(record), "Number of fields: 2\nage: 36\n: line\\nfeed\\x1b\n"},
        {"MCBitSet", Shown(set), "Number of flags: 50\nFlags on:\n[0]  49\n"},
        {"MCStatus", Shown(MCCommon_930::MCStatus(3, true)), "\nSeverity: 1\n"},
        {"MCWarnings", Shown(warnings),
         "Number of primary warnings: 0\nNumber of secondary warnings: 0\nParameters of code: 3\nString: r\n"},
        {"MCParameterValue", Shown(MCCommon_930::MCWarnings::MCParameterValue(7)), "Type: 0\nInteger: 7\n"},
        {"MCException", Shown(MCCommon_930::MCException(13, "m")), "Code: 13\nMessage: m\n"},
        {"MCCancelInfo", Shown(MCMath_930::MCCancelInfo()), "\nCancelled indicator: false\n"},
        {"MCTimeUtil", Shown(MCCommon_930::MCTimeUtil()), "Wall time in sec: "},
        {"MCDynamicLoadedLibrary", Shown(MCCommon_930::MCDynamicLoadedLibrary()), "\nLast message: \n"},
        {"RawRecord", Shown(MCCommon_930::RawRecord(1)), "\nNull indicator: true\n"},
        {"Record", Shown(MCCommon_930::Record(-1)), "Elements:\n[0]  0\n"},
        {"MemoryRecordIterator", Shown(MCCommon_930::MemoryRecordIterator(1, 0, nullptr, nullptr, nullptr)),
         "Number of records: 1\nNumber of variables: 0\nTrailing column indicator: false\n"
         "Position of the next record: 0\nFinished indicator: 0\n"},
        {"MCIterationReporter", Shown(reporter),
         "Iteration number: 3\nNumber of step halving: 7\nPseudo -2 log-likelihood: 210.5\n"
         "Elapsed time in sec: 0.25\nParameter estimates:\n[0]     1  -0.5\n"
         "Parameter estimates, second vector:\n[0]  2\n"},
        {"MCIterationReporter", Shown(fresh),
         "Iteration number: 0\nNumber of step halving: 0\nPseudo -2 log-likelihood: 0\nElapsed time in sec: 0\n"
         "Parameter estimates pointer is 0\n"},
        {"ExportFormat", Shown(MCXML_930::ExportFormat()), "\nIndentation indicator: false\n"},
        {"MCXMLCoordinates", Shown(coordinates), "Feature: f\nField: x\nStatistic: s\nValues: (empty)\n"},
        {"MCVariateData", Shown(MCXML_930::MCVariateData{"d", {coordinates}, {{"mean", 1.5}}}), "\nmean: 1.5\n"},
        {"MCXMLCoordinatesGroup", Shown(MCXML_930::MCXMLCoordinatesGroup{"g", {coordinates}}), "Description: g\n"},
        {"MCXMLRecordInfo", Shown(MCXML_930::MCXMLRecordInfo{"7", "seven", {{1}}}), "\nRecord label: seven\n"},
        {"MCXMLCounts", Shown(MCXML_930::MCXMLCounts{4, 3, 2, 1}), "\nCardinality: 1\n"},
    };
    for (const auto& c : cases) {
        const std::string start = c.name + " display start\n", end = c.name + " display end\n";
        EXPECT_TRUE(c.shown.starts_with(start) && c.shown.ends_with(end)) << c.shown;
        EXPECT_NE(c.shown.find(c.lines), std::string::npos) << c.shown;
    }
}
