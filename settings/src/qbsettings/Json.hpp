#pragma once

#include <string>
#include <vector>

namespace qbsettings {

/// The elements of a JSON array of strings, numbers, true and false, as texts; numbers as they are
/// written. @throws Failure that says what is wrong
std::vector<std::string> parseJsonArray(std::string const& text);

/// The text of a JSON string. @throws Failure
std::string parseJsonString(std::string const& text);

}  // namespace qbsettings
