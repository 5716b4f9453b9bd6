// Plain-text diagnostic dumps: what the Display operations of the classes are written with.
#pragma once

#include "modelcore/modelcore_export.h"

#include <iosfwd>
#include <span>
#include <string_view>

/// Functions that write labelled lines and tables to the diagnostic text stream. Text is for people: no line is longer
/// than 80 characters unless a single label, string or cell is, rows and columns are numbered from 0 as in the calls,
/// and numbers do not depend on the locale or on the stream's formatting state. The system-missing value is written as
/// "missing", a control character in a label or a text as \n or \x and two hexadecimal digits.
namespace MCDisplay_930 {

/// The stream that all functions here write to: standard output until SetDisplayStream redirects it.
MODELCORE_EXPORT std::ostream& GetDisplayStream();

/// Redirects the diagnostic text of the whole process. The stream is not owned and must live until it is replaced; a
/// null pointer means standard output. Not for use while another thread is inside a Display operation.
///
/// @return  the pointer that was set before, to be put back later (null for standard output)
MODELCORE_EXPORT std::ostream* SetDisplayStream(std::ostream* stream);

/// One line of text.
MODELCORE_EXPORT void DisplayLine(std::string_view text);

/// The lines "<className> display start" and "<className> display end" around the dump of an object.
MODELCORE_EXPORT void DisplayStart(std::string_view className);
/// The closing line "<className> display end".
MODELCORE_EXPORT void DisplayEnd(std::string_view className);

/// One line "label: value". A label that ends with a colon gets no second one. A bool is "true" or "false"; a real has
/// the fewest digits that read back to the same double.
MODELCORE_EXPORT void Display(std::string_view label, bool value);
MODELCORE_EXPORT void Display(std::string_view label, int value);
MODELCORE_EXPORT void Display(std::string_view label, unsigned value);
MODELCORE_EXPORT void Display(std::string_view label, long value);
MODELCORE_EXPORT void Display(std::string_view label, unsigned long value);
MODELCORE_EXPORT void Display(std::string_view label, long long value);
MODELCORE_EXPORT void Display(std::string_view label, unsigned long long value);
MODELCORE_EXPORT void Display(std::string_view label, double value);
MODELCORE_EXPORT void Display(std::string_view label, std::string_view value);
MODELCORE_EXPORT void Display(std::string_view label, const char* value);

/// A line with the label, then the values in lines of equal columns, each line led by the number of its first value.
/// Reals have 7 significant digits. A vector without elements is the one line "label: (empty)".
MODELCORE_EXPORT void Display(std::string_view label, std::span<const double> values);
MODELCORE_EXPORT void Display(std::string_view label, std::span<const int> values);

/// A rectangular matrix stored row by row: blocks of as many whole columns as fit the width, each with a line of column
/// numbers. 7 significant digits. "(empty)" when a count is not above 0.
MODELCORE_EXPORT void DisplayRectMatrix(const double* elements, int nRows, int nCols);

/// The lower triangle of a symmetric matrix, laid out as DisplayRectMatrix does.
///
/// @param packed  element (i, j), i >= j, at i(i+1)/2 + j
MODELCORE_EXPORT void DisplaySymMatrix(const double* packed, int order);

/// The stored elements of a sparse matrix with a fixed number of slots per row: one line per row (more when they do not
/// fit) of "(column) value".
///
/// @param values   nRows * nSlots values, row by row
/// @param columns  the column of each value; a slot with a negative column is empty and left out
MODELCORE_EXPORT void DisplaySparseMatrix(const double* values, const int* columns, int nRows, int nSlots);

} // namespace MCDisplay_930
