// Character references in attribute values and texts.
#include "modelcore/xml/internal/Escape.h"

#include "modelcore/xml/XMLUtil.h"

namespace MCXML_930::internal {

namespace {

/// Copies the runs of a text between the characters that are replaced.
class RunCopier {
public:
    RunCopier(std::string& out, std::string_view text) : fOut(out), fText(text) {}

    /// Puts reference in the place of length characters at position at.
    void Replace(std::size_t at, std::size_t length, std::string_view reference)
    {
        fOut.append(fText, fCopied, at - fCopied).append(reference);
        fCopied = at + length;
    }
    void Finish() { fOut.append(fText, fCopied); }

private:
    std::string& fOut;
    std::string_view fText;
    std::size_t fCopied = 0;
};

} // namespace

// No early exit in the loops over plain characters: they are short or plain nearly always, and vectorise this way.
bool IsASCII(std::string_view text)
{
    unsigned all = 0;
    for (const char c : text) all |= static_cast<unsigned char>(c);
    return all < 0x80;
}

bool IsPlainText(std::string_view text)
{
    unsigned found = 0;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        found |= static_cast<unsigned>(byte >= 0x80) | static_cast<unsigned>(byte == '&') |
                 static_cast<unsigned>(byte == '<');
    }
    return found == 0;
}

bool IsPlainValue(std::string_view value)
{
    unsigned found = 0;
    for (const char c : value) {
        const auto byte = static_cast<unsigned char>(c);
        found |= static_cast<unsigned>(byte >= 0x80) | static_cast<unsigned>(byte == '&') |
                 static_cast<unsigned>(byte == '<') | static_cast<unsigned>(byte == '>') |
                 static_cast<unsigned>(byte == '"') | static_cast<unsigned>(byte == '\t') |
                 static_cast<unsigned>(byte == '\n') | static_cast<unsigned>(byte == '\r');
    }
    if (found != 0) return false;
    if (value.empty()) return true;
    return value.front() != ' ' && value.back() != ' ' && value.find("  ") == std::string_view::npos;
}

void AppendEscapedValue(std::string& out, std::string_view value)
{
    RunCopier copier(out, value);
    for (std::size_t i = 0; i < value.size(); ++i) switch (value[i]) {
        case '&': copier.Replace(i, 1, XMLUtil::XML_AMPERSAND); break;
        case '<': copier.Replace(i, 1, XMLUtil::XML_LESS_THAN); break;
        case '>': copier.Replace(i, 1, XMLUtil::XML_GREATER_THAN); break;
        case '"': copier.Replace(i, 1, XMLUtil::XML_QUOTE); break;
        // A reader turns these three, written as they are, into blanks.
        case '\t': copier.Replace(i, 1, XMLUtil::XML_CHARREF_TAB); break;
        case '\n': copier.Replace(i, 1, XMLUtil::XML_CHARREF_NL); break;
        case '\r': copier.Replace(i, 1, XMLUtil::XML_CHARREF_CR); break;
        case ' ': {
            const bool pair = i + 1 < value.size() && value[i + 1] == ' ';
            if (i == 0) {
                copier.Replace(0, pair ? 2 : 1, pair ? "&#32;&#32;" : XMLUtil::XML_CHARREF_SP);
            } else if (pair) {
                copier.Replace(i, 2, XMLUtil::XML_SP_CHARREF_SP);
            } else if (i + 1 == value.size()) {
                copier.Replace(i, 1, XMLUtil::XML_CHARREF_SP);
            }
            if (pair) ++i;
            break;
        }
        default: break;
        }
    copier.Finish();
}

void AppendEscapedText(std::string& out, std::string_view text)
{
    RunCopier copier(out, text);
    for (std::size_t i = text.find_first_of("&<"); i != std::string_view::npos; i = text.find_first_of("&<", i + 1))
        copier.Replace(i, 1, text[i] == '&' ? XMLUtil::XML_AMPERSAND : XMLUtil::XML_LESS_THAN);
    copier.Finish();
}

} // namespace MCXML_930::internal
