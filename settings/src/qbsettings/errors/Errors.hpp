#pragma once

#include <exception>
#include <string>
#include <vector>

#include <boost/shared_ptr.hpp>
#include <qbsettings/errors/Fault.hpp>

namespace settings::core {
class Settings;
}

/// What the errors of the library say to people.
namespace qbsettings {

/// Why an operation of the library failed, as a sentence that goes behind "NAME: ". `given` are
/// the texts of the value that was to be set, if there was one.
std::string reasonOf(std::exception const& error, std::vector<std::string> const& given = {});

/// The full line: the name of the setting at fault, where the error knows it, then the reason.
std::string messageOf(std::exception const& error);

/// The fault of a file whose import threw `error`.
Fault faultOfImport(qf::ustring const& file, std::exception const& error);

/// The full name of a node of the tree, "the root" for that; empty for none.
std::string nameOf(boost::shared_ptr<settings::core::Settings const> const& node);

}  // namespace qbsettings
