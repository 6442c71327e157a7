#pragma once

#include <exception>
#include <string>
#include <vector>

namespace qbsettings {

/// Why an operation of the library failed, as a sentence that goes behind "NAME: ". `given` are
/// the texts of the value that was to be set, if there was one.
std::string reasonOf(std::exception const& error, std::vector<std::string> const& given = {});

/// The full line: the name of the setting at fault, where the error knows it, then the reason.
std::string messageOf(std::exception const& error);

}  // namespace qbsettings
