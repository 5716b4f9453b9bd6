// The text of a double as people read it.
#include "modelcore/common/internal/ShortestText.h"

#include <charconv>
#include <cmath>

namespace MCCommon_930::internal {

std::string ShortestText(double x)
{
    if (std::isnan(x)) return "nan";
    const double size = std::fabs(x);
    const bool plain = size == 0.0 || (size >= 1e-5 && size < 1e16);
    char text[32];
    const std::to_chars_result end =
        std::to_chars(text, text + sizeof text, x, plain ? std::chars_format::fixed : std::chars_format::scientific);
    return {text, end.ptr};
}

} // namespace MCCommon_930::internal
