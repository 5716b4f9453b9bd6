#include "Report.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace linreg {

namespace {

using MCCommon_930::MCMV;

std::string ToText(double x, std::chars_format format, int precision)
{
    char text[64];
    const auto [end, error] = std::to_chars(text, text + sizeof text, x, format, precision);
    return std::string(text, end);
}

std::string FormatNumber(double x)
{
    constexpr int kDigits = 7;
    if (MCMV::IsMissing(x)) return ".";
    const double size = std::fabs(x);
    if (size == 0.0) return "0";
    if (!(size >= 1e-4 && size < 1e12)) return ToText(x, std::chars_format::scientific, kDigits - 1);
    // All digits of a large integer part, seven digits in all otherwise.
    const int decimals = std::max(0, kDigits - 1 - static_cast<int>(std::floor(std::log10(size))));
    return ToText(x, std::chars_format::fixed, decimals);
}

/// A count or a sum of weights: as an integer when it is one.
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

/// Characters, not bytes, of UTF-8 text.
std::size_t Width(std::string_view text)
{
    return static_cast<std::size_t>(
        std::count_if(text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

/// Rows of cells in columns as wide as they need to be, the first one to the left and the others to the right.
class Table {
public:
    void AddRow(std::vector<std::string> cells) { fRows.push_back(std::move(cells)); }

    std::string Format() const
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

private:
    std::vector<std::vector<std::string>> fRows;
};

std::string FormatSummary(const Options& options, const Fit& fit)
{
    const CaseCounts& counts = fit.counts;
    Table table;
    table.AddRow({"Cases used", std::to_string(counts.used)});
    table.AddRow({"Cases left out", std::to_string(counts.rows - counts.used)});
    table.AddRow({"  a value is missing", std::to_string(counts.missing)});
    if (!options.frequency.empty() || !options.weight.empty())
        table.AddRow({"  a weight is missing or not positive", std::to_string(counts.unweighted)});
    if (!options.frequency.empty())
        table.AddRow({"Sum of frequency weights (" + Printable(options.frequency) + ")", FormatCount(fit.nCases)});
    if (!options.weight.empty())
        table.AddRow({"Sum of case weights (" + Printable(options.weight) + ")", FormatCount(fit.sumOfWeights)});
    table.AddRow({"R squared", FormatNumber(fit.rSquared)});
    table.AddRow({"Adjusted R squared", FormatNumber(fit.adjustedRSquared)});
    table.AddRow({"Standard error of the estimate", FormatNumber(fit.stdErrorOfEstimate)});
    return table.Format();
}

std::string FormatVariance(const Fit& fit)
{
    Table table;
    table.AddRow({"Source", "Sum of squares", "df", "Mean square", "F", "Significance"});
    table.AddRow({"Regression", FormatNumber(fit.regression.sumOfSquares), FormatCount(fit.regression.df),
                  FormatNumber(fit.regression.meanSquare), FormatNumber(fit.f), FormatSignificance(fit.significance)});
    table.AddRow({"Residual", FormatNumber(fit.residual.sumOfSquares), FormatCount(fit.residual.df),
                  FormatNumber(fit.residual.meanSquare)});
    table.AddRow({"Total", FormatNumber(fit.total.sumOfSquares), FormatCount(fit.total.df)});
    return table.Format();
}

std::string FormatCoefficients(const Fit& fit)
{
    Table table;
    table.AddRow({"Parameter", "Estimate", "Std. error", "t", "Significance", "Lower limit", "Upper limit"});
    for (const Coefficient& c : fit.coefficients) {
        const std::string name = Printable(c.parameter.Name());
        if (c.aliased)
            table.AddRow({name, "aliased"});
        else
            table.AddRow({name, FormatNumber(c.estimate), FormatNumber(c.stdError), FormatNumber(c.t),
                          FormatSignificance(c.significance), FormatNumber(c.lower), FormatNumber(c.upper)});
    }
    return table.Format();
}

std::string FormatShort(double x)
{
    return ToText(x, std::chars_format::general, 6);
}

} // namespace

std::string FormatReport(const Options& options, const Fit& fit)
{
    std::string text = "Linear regression of " + Printable(options.target) + "\n\n";
    text += FormatSummary(options, fit);
    text += options.intercept ? "\nAnalysis of variance\n" : "\nAnalysis of variance (about zero: no intercept)\n";
    text += FormatVariance(fit);
    text += "\nCoefficients with " + FormatShort(100.0 * options.level) + "% confidence limits\n";
    text += FormatCoefficients(fit);
    if (fit.estimated.size() < fit.coefficients.size())
        text += "\naliased: determined by the parameters above it, to within the tolerance " +
                FormatShort(options.tolerance) + "\n";
    if (MCMV::IsMissing(fit.residual.meanSquare)) text += "\n. : no degrees of freedom are left for the residual\n";
    return text;
}

} // namespace linreg
