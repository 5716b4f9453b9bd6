#include "common/CsvTable.h"

#include "common/Failure.h"
#include "common/TextTable.h"

#include <algorithm>

namespace procedure {

CsvTable::CsvTable(InputFile& input, const CsvFormat& format)
    : fInput(input), fFormat(format), fCsv(input, format.delimiter)
{
    const std::vector<std::string_view>* const header = fCsv.NextRow();
    if (header == nullptr) throw Failure(fInput.Name() + ": no header row");
    fNames.assign(header->begin(), header->end());
}

std::string CsvTable::Hint(const std::string& name) const
{
    const auto lower = [](std::string text) {
        for (char& c : text)
            if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
        return text;
    };
    for (const std::string& other : fNames)
        if (lower(other) == lower(name)) return "; there is one named " + Quoted(other);
    if (fNames.size() == 1)
        for (const char delimiter : {';', '\t', '|', ','})
            if (delimiter != fFormat.delimiter && fNames.front().find(delimiter) != std::string::npos)
                return std::string("; the columns seem to be separated by ") +
                       (delimiter == '\t' ? "tabs: --delimiter tab"
                                          : std::string("'") + delimiter + "': --delimiter '" + delimiter + "'");
    return {};
}

std::size_t CsvTable::Find(const std::string& name) const
{
    const auto found = std::ranges::find(fNames, name);
    if (found == fNames.end())
        throw Failure(AtLine(fInput.Name(), fCsv.Line()) + ": there is no column " + Quoted(name) + Hint(name));
    if (std::find(found + 1, fNames.end(), name) != fNames.end())
        throw Failure(AtLine(fInput.Name(), fCsv.Line()) + ": more than one column is named " + Quoted(name));
    return static_cast<std::size_t>(found - fNames.begin());
}

const std::vector<std::string_view>* CsvTable::NextRow()
{
    const std::vector<std::string_view>* const row = fCsv.NextRow();
    if (row != nullptr && row->size() != fNames.size())
        throw Failure(AtLine(fInput.Name(), fCsv.Line()) + ": the row has " + std::to_string(row->size()) +
                      " fields, the header " + std::to_string(fNames.size()));
    return row;
}

void CsvTable::Restart()
{
    fCsv.Restart();
    fCsv.NextRow();
}

Cell CsvTable::Parse(std::string_view text, double& value) const
{
    if (std::ranges::find(fFormat.missing, text) != fFormat.missing.end()) return Cell::Missing;
    return ParseCell(text, value, fFormat.decimalComma);
}

double CsvTable::ReadNumber(std::size_t column, std::string_view text, const char* role) const
{
    double value = MCCommon_930::MCMV::Missing();
    switch (Parse(text, value)) {
    case Cell::Text: Refuse(column, "text " + Quoted(text) + " in the column of " + role);
    case Cell::OutOfRange: Refuse(column, "the number " + Quoted(text) + " is out of range");
    case Cell::Missing:
    case Cell::Number: break;
    }
    return value;
}

void CsvTable::Refuse(std::size_t column, const std::string& complaint) const
{
    throw Failure(AtLine(fInput.Name(), fCsv.Line()) + ", column " + std::to_string(column + 1) + " (" +
                  Printable(fNames[column]) + "): " + complaint);
}

} // namespace procedure
