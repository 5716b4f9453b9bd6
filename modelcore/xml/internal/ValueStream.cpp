// Strings of the flat value stream as printable ASCII, and back.
#include "modelcore/xml/internal/ValueStream.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <utility>

namespace MCXML_930::internal {

namespace {

// A reader of XML turns the three control characters, written as they are, into blanks.
constexpr std::pair<char, std::string_view> kReferences[] = {
    {'&', "&amp;"}, {'<', "&lt;"}, {'>', "&gt;"}, {'"', "&quot;"}, {'\t', "&#9;"}, {'\n', "&#10;"}, {'\r', "&#13;"}};

constexpr char kDigits[] = "0123456789abcdef";

} // namespace

void AppendEncoded(std::string& out, std::string_view bytes)
{
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        const auto* const reference = std::ranges::find(kReferences, c, &std::pair<char, std::string_view>::first);
        if (reference != std::end(kReferences)) {
            out += reference->second;
        } else if (c == '\\') {
            out += "\\\\";
        } else if (byte >= 0x20 && byte < 0x7F) {
            out += c;
        } else {
            out += {'\\', 'x', kDigits[byte >> 4], kDigits[byte & 15]};
        }
    }
}

bool AppendDecoded(std::string& out, std::string_view text)
{
    while (!text.empty()) {
        std::size_t used = 1;
        char c = text.front();
        if (c == '&') {
            const auto* const reference =
                std::ranges::find_if(kReferences, [text](const auto& pair) { return text.starts_with(pair.second); });
            if (reference == std::end(kReferences)) return false;
            c = reference->first;
            used = reference->second.size();
        } else if (text.starts_with("\\\\")) {
            used = 2;
        } else if (c == '\\') {
            if (!text.starts_with("\\x") || text.size() < 4) return false;
            unsigned byte = 0;
            const auto [end, fault] = std::from_chars(text.data() + 2, text.data() + 4, byte, 16);
            if (fault != std::errc() || end != text.data() + 4) return false;
            c = static_cast<char>(byte);
            used = 4;
        } else if (c < 0x20 || c >= 0x7F || c == '<' || c == '>' || c == '"') {
            return false;
        }
        out += c;
        text.remove_prefix(used);
    }
    return true;
}

} // namespace MCXML_930::internal
