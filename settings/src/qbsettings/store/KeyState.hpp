#pragma once

#include <string>

#include <boost/any.hpp>
#include <qbsettings/store/Tree.hpp>
#include <settingscore/tree/KeyDescription.hpp>

namespace qbsettings {

/// A key as it stands: its rules, and the value in force with the level that supplies it.
struct KeyState {
    std::string name;  ///< The full name.
    settings::core::KeyDescription description;
    std::string level = "-";  ///< "runtime:LEVEL" for a computed default, "-" for no value.
    boost::any value;
    std::string problem;  ///< Why a computed default could not be had; empty if it could.
};

/// True if the key has a value of its own on the level; a computed default is none.
bool isStoredOn(SettingsPtr const& key, std::string const& level);

/// With a level, as if those above it were empty.
KeyState readKey(SettingsPtr const& key, std::string const& from = {});

/// The value of a key on one level. @throws Failure that names the key
boost::any valueOn(SettingsPtr const& key, std::string const& level);

}  // namespace qbsettings
