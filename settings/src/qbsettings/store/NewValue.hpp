#pragma once

#include <exception>
#include <string>
#include <vector>

#include <boost/any.hpp>
#include <qbsettings/store/Tree.hpp>
#include <qbsettings/text/Failure.hpp>

/// The steps that the commands that store values share.
namespace qbsettings {

class Directories;

/// The level to write on, "user" unless the command line named one. @throws Failure, wrong usage
std::string levelForWriting(std::string const& named);

/// Makes a value that a key is to have on a level, from texts; `typeName`, unless empty, is the
/// type for a key of any type.
/// @throws Failure that names the key, the text and the file that defines the key
boost::any valueForKey(Directories const& directories, SettingsPtr const& key,
                       std::vector<std::string> const& texts, std::string const& typeName,
                       std::string const& level);

/// The failure that says why the library refused a value.
Failure refusal(Directories const& directories, SettingsPtr const& key, std::exception const& error,
                std::vector<std::string> const& given);

/// Reads a value back: behind a default that fails, a set can end without an error and without a
/// value stored. @throws Failure
void confirmStored(SettingsPtr const& key, boost::any const& value, std::string const& level);

}  // namespace qbsettings
