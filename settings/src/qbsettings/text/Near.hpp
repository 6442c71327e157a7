#pragma once

#include <cstddef>
#include <string>
#include <vector>

/// Words that were meant where others were typed.
namespace qbsettings {

/// The number of letters to insert, remove or replace that leads from one to the other; letters
/// that differ in case alone count as equal.
std::size_t editDistance(std::string const& a, std::string const& b);

/// True if one may have been typed for the other; `distance` is that between them.
bool isNear(std::string const& a, std::string const& b, std::size_t& distance);

/// "; did you mean 'string'?" of the nearest of the words, empty if none is near.
std::string suggestion(std::string const& typed, std::vector<std::string> const& words);

}  // namespace qbsettings
