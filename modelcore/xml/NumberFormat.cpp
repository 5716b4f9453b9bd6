// Numbers as text, independent of the program's locale except where said.
#include "modelcore/xml/NumberFormat.h"

#include "modelcore/xml/internal/NumberText.h"

#include <clocale>
#include <cstdio>

namespace MCXML_930 {

std::string GetDefaultNumericFormat()
{
    return "%.15g";
}

std::string GetDecimalCharacter()
{
    return std::localeconv()->decimal_point;
}

std::string GetListSeparator()
{
    return ";";
}

std::string ReplaceSep(double v)
{
    char text[internal::kNumberRoom];
    return std::string(text, internal::WriteNumber(text, v));
}

std::string ReplaceSep(double v, const char*)
{
    char text[internal::kNumberRoom];
    return std::string(text, internal::WriteFixedNumber(text, v));
}

std::string Format(double v, bool useFormat, const char* fmt)
{
    if (!useFormat) return ReplaceSep(v);
    if (fmt == nullptr) fmt = "%.15g";
    const int length = std::snprintf(nullptr, 0, fmt, v);
    if (length <= 0) return {};
    std::string text(static_cast<std::size_t>(length), '\0');
    std::snprintf(text.data(), text.size() + 1, fmt, v);
    return text;
}

std::string Format(long value)
{
    return Format(static_cast<double>(value), false, nullptr);
}

} // namespace MCXML_930
