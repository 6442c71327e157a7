#pragma once

#include <string>
#include <vector>

#include <boost/any.hpp>
#include <nlohmann/json_fwd.hpp>

namespace qbsettings {

struct KeyType;

/// Its fields stay in the order in which they were added.
using Json = nlohmann::ordered_json;

/// A value of a key of that type: strings, numbers, true and false; an array if the key or the
/// value is one; null for no value. A number that JSON cannot write stands as the string "nan",
/// "inf" or "-inf".
Json jsonOf(boost::any const& value, KeyType const& type);

/// The elements of a JSON array of strings, numbers, true and false, as texts; numbers as they are
/// written. @throws Failure that says what is wrong
std::vector<std::string> parseJsonArray(std::string const& text);

/// The text of a JSON string, number, true or false. @throws Failure
std::string parseJsonScalar(std::string const& text);

/// The text of a JSON string. @throws Failure
std::string parseJsonString(std::string const& text);

}  // namespace qbsettings
