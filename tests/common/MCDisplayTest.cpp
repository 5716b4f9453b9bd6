#include "modelcore/common/MCDisplay.h"
#include "modelcore/common/MCMV.h"
#include "support/DisplayCapture.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <iomanip>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

using namespace MCDisplay_930;
using MCCommon_930::MCMV;

TEST(MCDisplay, ScalarsAreOneLabelledLineEach)
{
    DisplayCapture capture;
    capture.Stream() << std::hex << std::setprecision(2) << std::boolalpha << std::setw(20); // must not matter
    DisplayStart("MCThing");
    Display("Label with colon:", 12);
    Display("Flag", false);
    Display("Text", "a pointer is not a bool");
    Display("Large", 18446744073709551615ull);
    Display("Long", -5L);
    Display("Third", 1.0 / 3.0);
    Display("Tiny", -4.9406564584124654e-324);
    Display("Missing", MCMV::Missing());
    Display("Not a number", std::nan(""));
    Display("Nothing", std::vector<double>());
    DisplayLine("plain");
    DisplayEnd("MCThing");
    EXPECT_EQ(capture.Text(), "MCThing display start\n"
                              "Label with colon: 12\n"
                              "Flag: false\n"
                              "Text: a pointer is not a bool\n"
                              "Large: 18446744073709551615\n"
                              "Long: -5\n"
                              "Third: 0.3333333333333333\n"
                              "Tiny: -5e-324\n"
                              "Missing: missing\n"
                              "Not a number: nan\n"
                              "Nothing: (empty)\n"
                              "plain\n"
                              "MCThing display end\n");
}

TEST(MCDisplay, TablesAreAlignedAndNumberedFromZero)
{
    const double packed[] = {1, 0.5, 2, -1.0 / 3, MCMV::Missing(), 1e100};
    const double rect[] = {1, 2, 3, 4, 5, 60};
    const double values[] = {1.5, 2, 7, 0};
    const int columns[] = {0, 4, 12, -1};
    DisplayCapture capture;
    Display("v", std::vector<int>{1, -20, 300});
    DisplaySymMatrix(packed, 3);
    DisplayRectMatrix(rect, 2, 3);
    DisplaySparseMatrix(values, columns, 2, 2);
    DisplayRectMatrix(rect, 0, 3);
    EXPECT_EQ(capture.Text(), "v:\n"
                              "[0]    1  -20  300\n"
                              "            [0]      [1]     [2]\n"
                              "[0]           1\n"
                              "[1]         0.5        2\n"
                              "[2]  -0.3333333  missing  1e+100\n"
                              "     [0]  [1]  [2]\n"
                              "[0]    1    2    3\n"
                              "[1]    4    5   60\n"
                              "[0]  (0) 1.5  (4) 2\n"
                              "[1]  (12) 7\n"
                              "(empty)\n");
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
    const struct {
        const char* name;
        std::function<void()> display;
        std::size_t count;
    } tables[] = {
        {"rectangular", [&] { DisplayRectMatrix(elements.data(), n, n); }, n * n},
        {"symmetric", [&] { DisplaySymMatrix(elements.data(), n); }, n * (n + 1) / 2},
        {"sparse", [&] { DisplaySparseMatrix(elements.data(), columns.data(), n, n); }, n * n},
        {"vector", [&] { Display("v", elements); }, n * n},
    };
    for (const auto& table : tables) {
        SCOPED_TRACE(table.name);
        DisplayCapture capture;
        table.display();
        std::istringstream text(capture.Text());
        std::vector<int> seen(table.count, 0);
        for (std::string line; std::getline(text, line);) {
            EXPECT_LE(line.size(), 80u) << line;
            std::istringstream words(line);
            for (std::string word; words >> word;)
                if (word.size() == 5 && word[0] == '1') ++seen.at(static_cast<std::size_t>(std::stoi(word) - 10000));
        }
        EXPECT_EQ(seen, std::vector<int>(table.count, 1));
    }
}

TEST(MCDisplay, StreamIsStandardOutputUntilRedirected)
{
    EXPECT_EQ(&GetDisplayStream(), &std::cout);
    std::ostringstream first;
    EXPECT_EQ(SetDisplayStream(&first), nullptr);
    EXPECT_EQ(&GetDisplayStream(), &first);
    EXPECT_EQ(SetDisplayStream(nullptr), &first);
    EXPECT_EQ(&GetDisplayStream(), &std::cout);
}
