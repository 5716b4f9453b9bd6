// What a program found, as named tables that people and other programs read from one source.
#pragma once

#include "modelcore/modelcore.h"

#include <deque>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace procedure {

/// How a number looks on the terminal.
using NumberFormat = std::string (*)(double);

/// A word that stands on the terminal where there is no number; JSON and CSV have nothing there.
struct Remark {
    std::string text;
};

/// One cell: nothing, a number (missing ones are shown as a point), a text or a remark.
using Item = std::variant<std::monostate, double, std::string, Remark>;

/// A named table. On the terminal it has a title, a heading for each column and notes below; in JSON it is an array of
/// objects under its name, with the keys of the columns.
struct ResultTable {
    struct Column {
        std::string key;     ///< empty: on the terminal only
        std::string heading; ///< empty with a key: not on the terminal
        NumberFormat format = nullptr;
    };
    std::string name;
    std::string title;
    std::vector<Column> columns;
    std::vector<std::vector<Item>> rows;
    std::vector<std::string> notes;
    std::string drawing; ///< appended to the lines of the terminal's table, a line for each row; empty: nothing
};

/// Named values; in JSON one object.
struct ResultList {
    struct Entry {
        std::string key;   ///< empty: on the terminal only
        std::string label; ///< empty: not on the terminal
        Item value;
        NumberFormat format = nullptr;
    };
    std::string name;
    std::string title;
    std::vector<Entry> entries;
    std::vector<std::string> notes;

    void Add(std::string key, std::string label, double value, NumberFormat format = nullptr)
    {
        entries.push_back({std::move(key), std::move(label), value, format});
    }
    void Add(std::string key, std::string label, std::string value)
    {
        entries.push_back({std::move(key), std::move(label), std::move(value), nullptr});
    }
};

/// All that a run found.
class Results {
public:
    /// @param program  the name of the program
    /// @param title    the first line on the terminal
    Results(std::string program, std::string title) : fProgram(std::move(program)), fTitle(std::move(title)) {}

    ResultTable& AddTable(std::string name, std::string title, std::vector<ResultTable::Column> columns);
    ResultList& AddList(std::string name, std::string title = {});

    /// The table that CSV output consists of; without this call the first one.
    void SetMain(const std::string& name) { fMain = name; }

    /// @param bold  titles between the control sequences of a terminal for bold letters
    std::string ToText(bool bold = false) const;
    /// @param settings  shown under "settings", but for those of the group kRun
    std::string ToJson(const MCXML_930::MCSettings& settings, const std::vector<std::string>& warnings) const;
    /// Numbers with all their digits, a point as decimal sign; nothing where there is no number.
    std::string ToCsv() const;

private:
    std::string fProgram;
    std::string fTitle;
    std::string fMain;
    std::deque<std::variant<ResultTable, ResultList>> fParts;
};

/// The text as a field of a CSV row: between quotes where that is needed.
std::string CsvField(const std::string& text);
/// The shortest text that reads back to the same number; nothing for a missing one.
std::string CsvNumber(double x);

} // namespace procedure
