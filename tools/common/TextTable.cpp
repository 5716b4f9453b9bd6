#include "common/TextTable.h"

#include "modelcore/modelcore.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <string_view>

namespace procedure {

using MCCommon_930::MCMV;

namespace {

/// Characters, not bytes, of UTF-8 text.
std::size_t Width(std::string_view text)
{
    return static_cast<std::size_t>(
        std::count_if(text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

} // namespace

std::string ToText(double x, std::chars_format format, int precision)
{
    char text[64];
    const auto [end, error] = std::to_chars(text, text + sizeof text, x, format, precision);
    return std::string(text, end);
}

int DecimalExponent(double x)
{
    char text[64];
    const char* const end = std::to_chars(text, text + sizeof text, x, std::chars_format::scientific).ptr;
    const char* const sign = std::find(static_cast<const char*>(text), end, 'e') + 1;
    int exponent = 0;
    std::from_chars(*sign == '+' ? sign + 1 : sign, end, exponent);
    return exponent;
}

double PowerOfTen(int exponent)
{
    const std::string text = "1e" + std::to_string(exponent);
    double power = 0.0;
    std::from_chars(text.data(), text.data() + text.size(), power);
    return power;
}

std::string FormatNumber(double x)
{
    constexpr int kDigits = 7;
    if (MCMV::IsMissing(x)) return ".";
    const double size = std::fabs(x);
    if (size == 0.0) return "0";
    if (!(size >= 1e-4 && size < 1e12)) return ToText(x, std::chars_format::scientific, kDigits - 1);
    // All digits of a large integer part, seven digits in all otherwise.
    const int decimals = std::max(0, kDigits - 1 - DecimalExponent(size));
    return ToText(x, std::chars_format::fixed, decimals);
}

std::string FormatCount(double x)
{
    return std::floor(x) == x && std::fabs(x) < 1e15 ? ToText(x, std::chars_format::fixed, 0) : FormatNumber(x);
}

std::string FormatSignificance(double p)
{
    if (MCMV::IsMissing(p)) return ".";
    return p == 0.0 || p >= 1e-4 ? ToText(p, std::chars_format::fixed, 6) : ToText(p, std::chars_format::scientific, 3);
}

std::string Printable(std::string text)
{
    for (char& c : text)
        if (static_cast<unsigned char>(c) < ' ') c = ' ';
    return text;
}

std::string FormatShort(double x)
{
    return ToText(x, std::chars_format::general, 6);
}

std::string FormatVariables(const MCXML_930::MCVariableList& variables)
{
    TextTable table;
    table.AddRow({"Column", "Role", "Taken as", "Levels"});
    for (int i = 0; i < variables.Size(); ++i) {
        const MCXML_930::MCVariable& variable = *variables.Get(i);
        const auto* const factor = dynamic_cast<const MCXML_930::MCCategoricalVariable*>(&variable);
        std::vector<std::string> row{Printable(variable.GetName()), MCXML_930::ToText(variable.GetRole()),
                                     factor != nullptr ? "factor" : "number"};
        if (factor != nullptr && factor->GetNCategories() > 0) row.push_back(std::to_string(factor->GetNCategories()));
        table.AddRow(std::move(row));
    }
    return table.Format();
}

std::string TextTable::Format() const
{
    std::vector<std::size_t> widths;
    for (const std::vector<std::string>& row : fRows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (std::size_t j = 0; j < row.size(); ++j) widths[j] = std::max(widths[j], Width(row[j]));
    }
    std::string text;
    for (const std::vector<std::string>& row : fRows) {
        for (std::size_t j = 0; j < row.size(); ++j) {
            const std::string blanks(widths[j] - Width(row[j]), ' ');
            if (j > 0)
                text += "  " + blanks + row[j];
            else
                text += row[j] + (row.size() > 1 ? blanks : "");
        }
        text += '\n';
    }
    return text;
}

} // namespace procedure
