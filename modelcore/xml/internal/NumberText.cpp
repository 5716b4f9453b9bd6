// Doubles as text in a caller's buffer, the same in every locale.
#include "modelcore/xml/internal/NumberText.h"

#include <charconv>

namespace MCXML_930::internal {

char* WriteNumber(char* out, double v)
{
    return std::to_chars(out, out + kNumberRoom, v, std::chars_format::general, 15).ptr;
}

char* WriteFixedNumber(char* out, double v)
{
    return std::to_chars(out, out + kNumberRoom, v, std::chars_format::fixed, 16).ptr;
}

} // namespace MCXML_930::internal
