#include "common/CsvTable.h"

#include "common/Cell.h"
#include "common/Failure.h"

#include <algorithm>

namespace procedure {

CsvTable::CsvTable(InputFile& input) : fInput(input), fCsv(input)
{
    const std::vector<std::string_view>* const header = fCsv.NextRow();
    if (header == nullptr) throw Failure(fInput.Name() + ": no header row");
    fNames.assign(header->begin(), header->end());
}

std::size_t CsvTable::Find(const std::string& name) const
{
    const auto found = std::ranges::find(fNames, name);
    if (found == fNames.end())
        throw Failure(AtLine(fInput.Name(), fCsv.Line()) + ": there is no column " + Quoted(name));
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

double CsvTable::ReadNumber(std::size_t column, std::string_view text, const char* role) const
{
    double value = MCCommon_930::MCMV::Missing();
    switch (ParseCell(text, value)) {
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
                  fNames[column] + "): " + complaint);
}

} // namespace procedure
