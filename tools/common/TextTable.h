// Numbers and tables as a terminal shows them.
#pragma once

#include "modelcore/modelcore.h"

#include <charconv>
#include <string>
#include <vector>

namespace procedure {

std::string ToText(double x, std::chars_format format, int precision);

/// The largest n with 10^n <= |x|, x not 0: exactly, on every machine, which the C library's logarithm is not.
int DecimalExponent(double x);

/// 10^exponent, rounded once.
double PowerOfTen(int exponent);

/// Seven digits, or all of a large integer part; a point when x is missing.
std::string FormatNumber(double x);

/// A count or a sum of weights: as an integer when it is one.
std::string FormatCount(double x);

std::string FormatSignificance(double p);

/// Six digits at most.
std::string FormatShort(double x);

/// The text with blanks for control characters.
std::string Printable(std::string text);

/// A line for each column of the data: its role, what it was taken for, and how many levels it has.
std::string FormatVariables(const MCXML_930::MCVariableList& variables);

/// Rows of cells in columns as wide as they need to be, the first one to the left and the others to the right.
class TextTable {
public:
    void AddRow(std::vector<std::string> cells) { fRows.push_back(std::move(cells)); }
    std::string Format() const;

private:
    std::vector<std::vector<std::string>> fRows;
};

} // namespace procedure
