// The rows of a CSV file under its header.
#pragma once

#include "common/Cell.h"
#include "common/CsvReader.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace procedure {

/// A CSV file whose first row names the columns. Complaints name file, line and column.
class CsvTable {
public:
    /// Reads the header row. Throws Failure when there is none.
    CsvTable(InputFile& input, const CsvFormat& format);

    std::size_t NColumns() const { return fNames.size(); }
    const std::string& Name(std::size_t column) const { return fNames[column]; }

    /// The one column of that name. Throws Failure when there is none or more than one, with a hint at what may be
    /// meant: a name that differs in case, another delimiter.
    std::size_t Find(const std::string& name) const;

    /// The next row, valid until the following call; null at the end. Throws Failure when it does not have as many
    /// fields as the header, or cannot be read.
    const std::vector<std::string_view>* NextRow();

    /// Back to the first row after the header.
    void Restart();

    /// What a field is: ParseCell, and the texts that mean a missing value here.
    Cell Parse(std::string_view text, double& value) const;

    /// A field of the current row as a number, or missing. Throws Failure for text and for numbers out of range.
    /// @param role  what the column is for: "the target"
    double ReadNumber(std::size_t column, std::string_view text, const char* role) const;

    /// Throws Failure with a complaint about a field of the current row.
    [[noreturn]] void Refuse(std::size_t column, const std::string& complaint) const;

private:
    std::string Hint(const std::string& name) const;

    InputFile& fInput;
    CsvFormat fFormat;
    CsvReader fCsv;
    std::vector<std::string> fNames;
};

} // namespace procedure
