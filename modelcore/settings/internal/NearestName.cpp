// The name that was probably meant.
#include "modelcore/settings/internal/NearestName.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace MCXML_930::internal {

namespace {

char Lower(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

} // namespace

int EditDistance(std::string_view a, std::string_view b)
{
    // Row i holds the distances of the first i letters of a to the first 0, 1, ... letters of b.
    std::vector<int> beforeLast(b.size() + 1), last(b.size() + 1), row(b.size() + 1);
    for (std::size_t j = 0; j <= b.size(); ++j) row[j] = static_cast<int>(j);
    for (std::size_t i = 1; i <= a.size(); ++i) {
        beforeLast.swap(last);
        last.swap(row);
        row[0] = static_cast<int>(i);
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const char x = Lower(a[i - 1]), y = Lower(b[j - 1]);
            row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (x == y ? 0 : 1)});
            if (i > 1 && j > 1 && x == Lower(b[j - 2]) && Lower(a[i - 2]) == y)
                row[j] = std::min(row[j], beforeLast[j - 2] + 1);
        }
    }
    return row[b.size()];
}

std::string NearestName(std::string_view name, const std::vector<std::string>& names)
{
    const std::string *nearest = nullptr, *longer = nullptr;
    int fewest = 0;
    constexpr std::size_t kBeginning = 3;
    for (const std::string& candidate : names) {
        if (longer == nullptr && name.size() >= kBeginning && candidate.size() > name.size() &&
            EditDistance(name, candidate.substr(0, name.size())) == 0)
            longer = &candidate;
        const auto length = static_cast<int>(std::max(name.size(), candidate.size()));
        const int steps = EditDistance(name, candidate);
        if (steps > std::max(2, length / 3) || steps >= length) continue;
        if (nearest == nullptr || steps < fewest) {
            nearest = &candidate;
            fewest = steps;
        }
    }
    const std::string* const meant = longer != nullptr && (nearest == nullptr || fewest > 1) ? longer : nearest;
    return meant != nullptr ? *meant : std::string();
}

} // namespace MCXML_930::internal
