#pragma once

#include <string>
#include <vector>

namespace qbsettings {

/// The levels, in the order in which a read looks at them.
std::vector<std::string> const& levelNames();

/// @throws Failure, wrong usage, unless `level` is the name of a level
void requireLevel(std::string const& level);

}  // namespace qbsettings
