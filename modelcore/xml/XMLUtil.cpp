// String helpers of the XML writers.
#include "modelcore/xml/XMLUtil.h"

#include "modelcore/xml/internal/Escape.h"

#include <cstring>
#include <string_view>

namespace MCXML_930 {

std::string XMLUtil::GetTabs(int n)
{
    return std::string(n > 0 ? static_cast<std::size_t>(n) : 0, ITEMINDENT[0]);
}

int XMLUtil::ReplaceAtPos(std::string& s, const char* find, const std::string& repl, int& pos)
{
    if (find == nullptr || *find == '\0' || pos < 0 || static_cast<std::size_t>(pos) > s.size()) return -1;
    const std::size_t match = s.find(find, static_cast<std::size_t>(pos));
    if (match == std::string::npos) return -1;
    s.replace(match, std::strlen(find), repl);
    pos = static_cast<int>(match);
    return pos;
}

int XMLUtil::ReplaceAll(std::string& s, const char* find, const std::string& repl)
{
    if (find == nullptr || *find == '\0') return 0;
    // One pass that copies the runs between the matches; replacing in place would move the rest of s at every match.
    const std::size_t length = std::strlen(find);
    std::string out;
    std::size_t copied = 0;
    int count = 0;
    for (std::size_t match = s.find(find); match != std::string::npos; match = s.find(find, copied)) {
        out.append(s, copied, match - copied).append(repl);
        copied = match + length;
        ++count;
    }
    if (count > 0) s = out.append(s, copied, std::string::npos);
    return count;
}

int XMLUtil::ReplaceString(std::string& s, const char* find, const std::string& repl)
{
    int pos = 0;
    return ReplaceAtPos(s, find, repl, pos);
}

std::string XMLUtil::Escape(const std::string& value)
{
    std::string out;
    internal::AppendEscapedValue(out, value);
    return out;
}

std::string XMLUtil::toString(int value)
{
    return std::to_string(value);
}

} // namespace MCXML_930
