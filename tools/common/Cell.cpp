#include "common/Cell.h"

#include "modelcore/modelcore.h"

#include <charconv>

namespace procedure {

using MCCommon_930::MCMV;

Cell ParseCell(std::string_view text, double& value, bool decimalComma)
{
    if (text.empty() || text == "NA" || text == ".") return Cell::Missing;
    if (decimalComma) {
        if (text.find('.') != std::string_view::npos) return Cell::Text;
        const std::size_t comma = text.find(',');
        if (comma != std::string_view::npos) {
            std::string number(text);
            number[comma] = '.';
            return number == "." ? Cell::Text : ParseCell(number, value);
        }
    }
    const char* begin = text.data();
    const char* const end = begin + text.size();
    if (*begin == '+' && text.size() > 1 && begin[1] != '-') ++begin; // which from_chars does not read
    // from_chars also reads "inf" and "nan", which are words here.
    const char* const digits = *begin == '-' ? begin + 1 : begin;
    if (digits == end || !((*digits >= '0' && *digits <= '9') || *digits == '.')) return Cell::Text;
    const auto [stop, error] = std::from_chars(begin, end, value);
    if (stop != end || error == std::errc::invalid_argument) return Cell::Text;
    if (error == std::errc::result_out_of_range) return Cell::OutOfRange;
    return MCMV::IsMissing(value) ? Cell::Missing : Cell::Number;
}

std::string Quoted(std::string_view text)
{
    constexpr std::size_t kShown = 40;
    std::string quoted("'");
    for (const char c : text.substr(0, kShown)) quoted += static_cast<unsigned char>(c) < ' ' ? ' ' : c;
    quoted += text.size() > kShown ? "...'" : "'";
    return quoted;
}

} // namespace procedure
