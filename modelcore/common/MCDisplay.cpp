// The diagnostic text stream and the layout of what is written to it.
#include "modelcore/common/MCDisplay.h"

#include "modelcore/common/MCMV.h"
#include "modelcore/common/internal/ShortestText.h"

#include <algorithm>
#include <atomic>
#include <charconv>
#include <cstddef>
#include <iostream>
#include <string>
#include <vector>

namespace MCDisplay_930 {

namespace {

constexpr std::size_t kWidth = 80;
constexpr int kCellDigits = 7;
constexpr std::size_t kGap = 2; // blanks between columns

constinit std::atomic<std::ostream*> redirected{nullptr};

// Unformatted output: a width or a base that the caller left on the stream must not reach the dump.
void Write(const std::string& text)
{
    GetDisplayStream().write(text.data(), static_cast<std::streamsize>(text.size()));
}

// Control characters as escapes: a line feed inside a text must not look like another line of the dump.
std::string Printable(std::string_view text)
{
    constexpr char kHex[] = "0123456789abcdef";
    std::string out;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '\n')
            out += "\\n";
        else if (byte < 0x20 || byte == 0x7F)
            out.append("\\x").append({kHex[byte >> 4], kHex[byte & 15]});
        else
            out += c;
    }
    return out;
}

std::string Labelled(std::string_view label)
{
    std::string line = Printable(label);
    if (!label.ends_with(':')) line += ':';
    return line;
}

void WriteLabelled(std::string_view label, std::string_view value)
{
    Write(Labelled(label).append(" ").append(value).append("\n"));
}

std::string CellText(double x)
{
    if (MCCommon_930::MCMV::IsMissing(x)) return "missing";
    char text[32];
    const auto end = std::to_chars(text, text + sizeof text, x, std::chars_format::general, kCellDigits);
    return {text, end.ptr};
}

std::string CellText(int x)
{
    return std::to_string(x);
}

std::string Numbered(std::size_t i)
{
    return std::string(1, '[').append(std::to_string(i)).append("]");
}

void AppendRight(std::string& line, const std::string& text, std::size_t width)
{
    line.append(width - std::min(width, text.size()), ' ').append(text);
}

void AppendLeft(std::string& line, const std::string& text, std::size_t width)
{
    line.append(text).append(width - std::min(width, text.size()), ' ');
}

template <class Number>
void WriteVector(std::string_view label, std::span<const Number> values)
{
    if (values.empty()) return WriteLabelled(label, "(empty)");
    std::size_t cell = 0;
    for (const Number value : values) cell = std::max(cell, CellText(value).size());
    const std::size_t lead = Numbered(values.size() - 1).size();
    const std::size_t perLine = std::max<std::size_t>(1, (kWidth - std::min(kWidth, lead)) / (cell + kGap));

    std::string text = Labelled(label) + "\n";
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (i % perLine == 0) AppendLeft(text, Numbered(i), lead);
        AppendRight(text, CellText(values[i]), cell + kGap);
        if ((i + 1) % perLine == 0 || i + 1 == values.size()) text += '\n';
    }
    Write(text);
}

// Element(i, j) is asked for 0 <= j < nCols and firstRow(j) <= i < nRows; a triangle starts its column j at row j.
template <class Element, class FirstRow>
void WriteTable(std::size_t nRows, std::size_t nCols, Element element, FirstRow firstRow)
{
    std::vector<std::size_t> widths(nCols);
    for (std::size_t j = 0; j < nCols; ++j) {
        widths[j] = Numbered(j).size();
        for (std::size_t i = firstRow(j); i < nRows; ++i)
            widths[j] = std::max(widths[j], CellText(element(i, j)).size());
        widths[j] += kGap;
    }
    const std::size_t lead = Numbered(nRows - 1).size();
    for (std::size_t begin = 0, end; begin < nCols; begin = end) {
        std::size_t used = lead;
        for (end = begin; end < nCols && (end == begin || used + widths[end] <= kWidth); ++end) used += widths[end];

        std::string text(lead, ' ');
        for (std::size_t j = begin; j < end; ++j) AppendRight(text, Numbered(j), widths[j]);
        Write(text + '\n');
        for (std::size_t i = firstRow(begin); i < nRows; ++i) {
            text.clear();
            AppendLeft(text, Numbered(i), lead);
            for (std::size_t j = begin; j < end && firstRow(j) <= i; ++j)
                AppendRight(text, CellText(element(i, j)), widths[j]);
            Write(text + '\n');
        }
    }
}

} // namespace

std::ostream& GetDisplayStream()
{
    std::ostream* const stream = redirected.load();
    return stream != nullptr ? *stream : std::cout;
}

std::ostream* SetDisplayStream(std::ostream* stream)
{
    return redirected.exchange(stream);
}

void DisplayLine(std::string_view text)
{
    Write(std::string(text) + '\n');
}

void DisplayStart(std::string_view className)
{
    Write(std::string(className) + " display start\n");
}

void DisplayEnd(std::string_view className)
{
    Write(std::string(className) + " display end\n");
}

void Display(std::string_view label, bool value)
{
    WriteLabelled(label, value ? "true" : "false");
}

void Display(std::string_view label, int value)
{
    WriteLabelled(label, std::to_string(value));
}

void Display(std::string_view label, unsigned value)
{
    WriteLabelled(label, std::to_string(value));
}

void Display(std::string_view label, long value)
{
    WriteLabelled(label, std::to_string(value));
}

void Display(std::string_view label, unsigned long value)
{
    WriteLabelled(label, std::to_string(value));
}

void Display(std::string_view label, long long value)
{
    WriteLabelled(label, std::to_string(value));
}

void Display(std::string_view label, unsigned long long value)
{
    WriteLabelled(label, std::to_string(value));
}

void Display(std::string_view label, double value)
{
    WriteLabelled(label,
                  MCCommon_930::MCMV::IsMissing(value) ? "missing" : MCCommon_930::internal::ShortestText(value));
}

void Display(std::string_view label, std::string_view value)
{
    WriteLabelled(label, Printable(value));
}

void Display(std::string_view label, const char* value)
{
    Display(label, std::string_view(value != nullptr ? value : ""));
}

void Display(std::string_view label, std::span<const double> values)
{
    WriteVector(label, values);
}

void Display(std::string_view label, std::span<const int> values)
{
    WriteVector(label, values);
}

void DisplayRectMatrix(const double* elements, int nRows, int nCols)
{
    if (nRows <= 0 || nCols <= 0) return DisplayLine("(empty)");
    const auto rows = static_cast<std::size_t>(nRows);
    const auto cols = static_cast<std::size_t>(nCols);
    WriteTable(
        rows, cols, [=](std::size_t i, std::size_t j) { return elements[i * cols + j]; },
        [](std::size_t) { return std::size_t{0}; });
}

void DisplaySymMatrix(const double* packed, int order)
{
    if (order <= 0) return DisplayLine("(empty)");
    const auto n = static_cast<std::size_t>(order);
    WriteTable(
        n, n, [=](std::size_t i, std::size_t j) { return packed[i * (i + 1) / 2 + j]; },
        [](std::size_t j) { return j; });
}

void DisplaySparseMatrix(const double* values, const int* columns, int nRows, int nSlots)
{
    if (nRows <= 0 || nSlots <= 0) return DisplayLine("(empty)");
    const auto slots = static_cast<std::size_t>(nSlots);
    const std::size_t lead = Numbered(static_cast<std::size_t>(nRows) - 1).size();
    for (std::size_t i = 0; i < static_cast<std::size_t>(nRows); ++i) {
        std::string text;
        AppendLeft(text, Numbered(i), lead);
        std::size_t used = lead;
        for (std::size_t k = i * slots; k < (i + 1) * slots; ++k) {
            if (columns[k] < 0) continue;
            const std::string entry =
                std::string(1, '(').append(CellText(columns[k])).append(") ").append(CellText(values[k]));
            if (used > lead && used + kGap + entry.size() > kWidth) {
                text.append("\n").append(lead, ' ');
                used = lead;
            }
            text.append(kGap, ' ').append(entry);
            used += kGap + entry.size();
        }
        Write(text + '\n');
    }
}

} // namespace MCDisplay_930
