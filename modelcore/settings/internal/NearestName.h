// The name that was probably meant.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace MCXML_930::internal {

/// How many letters must be added, removed, changed or swapped with their neighbour to make one name the other (optimal
/// string alignment), upper and lower case of ASCII being the same.
int EditDistance(std::string_view a, std::string_view b);

/// The first of the names that is one such step away at most; else the first that begins with the three or more letters
/// given; else the first with the fewest steps, at most a third of the longer name's length, or 2; else "".
std::string NearestName(std::string_view name, const std::vector<std::string>& names);

} // namespace MCXML_930::internal
