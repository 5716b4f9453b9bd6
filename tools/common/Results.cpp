#include "common/Results.h"

#include "common/CommandLine.h"
#include "common/TextTable.h"

#include <charconv>
#include <cmath>

namespace procedure {

using MCCommon_930::MCMV;
using MCXML_930::JsonObject;

namespace {

std::string Shown(const Item& item, NumberFormat format)
{
    if (const double* const number = std::get_if<double>(&item)) {
        if (MCMV::IsMissing(*number) || std::isnan(*number)) return ".";
        return format != nullptr ? format(*number) : FormatNumber(*number);
    }
    if (const Remark* const remark = std::get_if<Remark>(&item)) return remark->text;
    const std::string* const text = std::get_if<std::string>(&item);
    return text != nullptr ? Printable(*text) : std::string();
}

JsonObject ToJsonValue(const Item& item)
{
    if (const double* const number = std::get_if<double>(&item)) {
        if (!std::isfinite(*number) || MCMV::IsMissing(*number)) return {};
        // A count is an integer, as people write it.
        if (std::floor(*number) == *number && std::fabs(*number) < 1e15 && !(*number == 0.0 && std::signbit(*number)))
            return static_cast<long long>(*number);
        return *number;
    }
    const std::string* const text = std::get_if<std::string>(&item);
    return text != nullptr ? JsonObject(*text) : JsonObject();
}

/// A title as the heading of a table; nothing when there is none.
std::string Heading(const std::string& title, bool bold)
{
    if (title.empty()) return {};
    std::string line = bold ? "\033[1m" : "";
    line += title;
    return line += bold ? "\033[0m\n" : "\n";
}

std::string WithNotes(const std::vector<std::string>& notes)
{
    std::string text;
    for (const std::string& note : notes) text.append("\n").append(note).append("\n");
    return text;
}

std::string Format(const ResultTable& table, bool bold)
{
    TextTable text;
    std::vector<std::string> cells;
    for (const ResultTable::Column& column : table.columns)
        if (!column.heading.empty()) cells.push_back(column.heading);
    if (cells.empty()) return {};
    text.AddRow(std::move(cells));
    for (const std::vector<Item>& row : table.rows) {
        cells.clear();
        for (std::size_t j = 0; j < table.columns.size(); ++j)
            if (!table.columns[j].heading.empty())
                cells.push_back(j < row.size() ? Shown(row[j], table.columns[j].format) : std::string());
        while (cells.size() > 1 && cells.back().empty()) cells.pop_back();
        text.AddRow(std::move(cells));
    }
    std::string lines = text.Format();
    if (!table.drawing.empty()) {
        // The drawing's lines go behind those of the rows.
        std::string joined;
        std::size_t line = 0;
        std::size_t drawn = 0;
        for (bool isHeading = true; line < lines.size(); isHeading = false) {
            const std::size_t end = lines.find('\n', line);
            joined.append(lines, line, end - line);
            if (!isHeading) {
                const std::size_t drawnEnd = table.drawing.find('\n', drawn);
                if (drawnEnd > drawn) joined.append("  ").append(table.drawing, drawn, drawnEnd - drawn);
                drawn = drawnEnd + 1;
            }
            joined += '\n';
            line = end + 1;
        }
        lines.swap(joined);
    }
    return Heading(table.title, bold) + lines + WithNotes(table.notes);
}

std::string Format(const ResultList& list, bool bold)
{
    TextTable text;
    for (const ResultList::Entry& entry : list.entries)
        if (!entry.label.empty()) text.AddRow({entry.label, Shown(entry.value, entry.format)});
    return Heading(list.title, bold) + text.Format() + WithNotes(list.notes);
}

JsonObject ToJsonPart(const ResultTable& table)
{
    JsonObject rows = JsonObject::NewArray();
    for (const std::vector<Item>& row : table.rows) {
        JsonObject object = JsonObject::NewObject();
        for (std::size_t j = 0; j < row.size() && j < table.columns.size(); ++j)
            if (!table.columns[j].key.empty() && row[j].index() != 0 && !std::holds_alternative<Remark>(row[j]))
                object.Set(table.columns[j].key, ToJsonValue(row[j]));
        rows.Append(std::move(object));
    }
    return rows;
}

JsonObject ToJsonPart(const ResultList& list)
{
    JsonObject object = JsonObject::NewObject();
    for (const ResultList::Entry& entry : list.entries)
        if (!entry.key.empty()) object.Set(entry.key, ToJsonValue(entry.value));
    return object;
}

} // namespace

ResultTable& Results::AddTable(std::string name, std::string title, std::vector<ResultTable::Column> columns)
{
    ResultTable table;
    table.name = std::move(name);
    table.title = std::move(title);
    table.columns = std::move(columns);
    if (fMain.empty()) fMain = table.name;
    return std::get<ResultTable>(fParts.emplace_back(std::move(table)));
}

ResultList& Results::AddList(std::string name, std::string title)
{
    ResultList list;
    list.name = std::move(name);
    list.title = std::move(title);
    return std::get<ResultList>(fParts.emplace_back(std::move(list)));
}

std::string Results::ToText(bool bold) const
{
    std::string text = Heading(fTitle, bold);
    for (const auto& part : fParts) {
        const std::string lines = std::visit([&](const auto& one) { return Format(one, bold); }, part);
        if (!lines.empty()) text.append("\n").append(lines);
    }
    return text;
}

std::string Results::ToJson(const MCXML_930::MCSettings& settings, const std::vector<std::string>& warnings) const
{
    JsonObject json = JsonObject::NewObject();
    json.Set("program", fProgram);
    json.Set("version", MCCommon_930::MCVersion::GetText());
    JsonObject shown = JsonObject::NewObject();
    for (std::size_t i = 0; i < settings.Size(); ++i)
        if (settings.At(i).GetGroup() != kRun) shown.Set(settings.At(i).GetName(), settings.At(i).ToJson());
    json.Set("settings", std::move(shown));
    json.Set("warnings", JsonObject::FromStrings(warnings));
    for (const auto& part : fParts)
        std::visit(
            [&](const auto& one) {
                if (!one.name.empty()) json.Set(one.name, ToJsonPart(one));
            },
            part);
    std::string text;
    json.ToText(text, true, JsonObject::AsNull);
    return text + "\n";
}

std::string Results::ToCsv() const
{
    std::string text;
    for (const auto& part : fParts) {
        const ResultTable* const table = std::get_if<ResultTable>(&part);
        if (table == nullptr || table->name != fMain) continue;
        std::string line;
        for (const ResultTable::Column& column : table->columns)
            if (!column.key.empty()) line.append(line.empty() ? 0 : 1, ',').append(CsvField(column.key));
        text.append(line).append("\n");
        for (const std::vector<Item>& row : table->rows) {
            bool first = true;
            for (std::size_t j = 0; j < table->columns.size(); ++j) {
                if (table->columns[j].key.empty()) continue;
                if (!first) text += ',';
                first = false;
                if (j >= row.size()) continue;
                if (const double* const number = std::get_if<double>(&row[j])) text += CsvNumber(*number);
                if (const std::string* const field = std::get_if<std::string>(&row[j])) text += CsvField(*field);
            }
            text += '\n';
        }
    }
    return text;
}

std::string CsvField(const std::string& text)
{
    const bool plain =
        text.find_first_of(",;\"\r\n\t") == std::string::npos && !text.starts_with(' ') && !text.ends_with(' ');
    if (plain) return text;
    std::string quoted("\"");
    for (const char c : text) quoted.append(c == '"' ? 2 : 1, c);
    return quoted += '"';
}

std::string CsvNumber(double x)
{
    if (!std::isfinite(x) || MCMV::IsMissing(x)) return {};
    char text[32];
    return std::string(text, std::to_chars(text, text + sizeof text, x).ptr);
}

} // namespace procedure
