#pragma once

#include <string>

#include <qbsettings/store/Tree.hpp>

/// Settings files of the user's choice.
namespace qbsettings {

class OutputFile;

/// Reads a file as a standalone tree. @throws Failure that says what is wrong in it
SettingsPtr readSettingsFile(std::string const& file);

/// Puts a settings file in place if it reads back: the library leaves one that is cut off where the
/// disk was full, and says nothing. @throws Failure
void commitReadable(OutputFile& file);

}  // namespace qbsettings
