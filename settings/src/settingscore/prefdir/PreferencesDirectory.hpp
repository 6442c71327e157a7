#pragma once

#include <string>

#include <settingscore/Export.hpp>
#include <settingscore/host/UString.hpp>

/// @file
/// The host's preference directory: where the user level keeps its files unless the environment
/// variable `SETTINGS_USERDIR` names another place.
///
/// The directory in force is, in this order: the one set through `setPreferencesDirectoryUStr`; the
/// value of `ZENBAR_PREFDIR`, as it stands; `.zenbar/` with the label of the current release, under
/// the home prefix. The home prefix is `HOME`, else the home directory of the user whom `USER`
/// names, else `/tmp`.
///
/// Any thread may call any operation.

namespace settings::core {

/// The directory in force. With `ensureExists` it is created if it is missing, and a directory
/// created now gets the content of the newest older release and a timestamp file; a directory that
/// is there already is left as it is. Other processes see it when it is complete, unless nothing
/// can be made beside it, and one that dies before that leaves the work to the next. Empty, after a
/// warning on the console, if it can't be created. Calls wait for one another, so that none sees a
/// copy that is half done.
/// @throws exception::RelativePreferencePathNotSupported for a path that is not absolute;
///         `qf::except::Exception` of `PreferenceDirectoryNotExist`,
///         `ErrorMigratePrefsBetweenReleases` or `ErrorCreatePreferenceDirectoryTimeStamp`, and
///         errors of the file layer, from the copy: the directory then stays with what has been
///         copied, and is not filled again
SETTINGSCORE_API ustring getPreferencesDirectoryUStr(bool ensureExists);
/// `ZENBAR_PREFDIR`, or the standard directory. Found once: a change of the environment after the
/// first call has no effect.
SETTINGSCORE_API ustring getDefaultPreferencesDirectoryUStr();

/// @{
/// Directories of the current and of older releases under the home prefix. No environment variable
/// but those of the prefix plays a part, and nothing is created.
SETTINGSCORE_API ustring getStandardPreferencesDirectoryUStr();
SETTINGSCORE_API ustring getPreviousPreferencesDirectoryUStr();
SETTINGSCORE_API ustring getPrefdirFromPreviousTwoReleases();
SETTINGSCORE_API ustring getPrefdirFromPreviousThreeReleases();
/// @}

/// The standard directory, created and filled on the way; neither a directory that was set nor
/// `ZENBAR_PREFDIR` plays a part. It is returned even if it could not be created. Does not wait for
/// other callers. @throws what `getPreferencesDirectoryUStr` throws from the copy
SETTINGSCORE_API ustring getLocalSettingsDirectoryUStr();

/// @{
/// Puts a directory in the place of the default one, from the next call on; an empty string
/// restores the default. A relative path is refused by the call that wants to use it.
SETTINGSCORE_API void setPreferencesDirectoryUStr(ustring const& directory);
SETTINGSCORE_API void setPreferencesDirectory(char const* directory);
/// @}

/// Name of the empty file that marks a directory filled by this library.
SETTINGSCORE_API ustring getTimestampFileNameUStr();

/// Directory where the host is installed.
SETTINGSCORE_API ustring zenbarRootUStr();
/// The same as of the first call, as 8-bit text that lives as long as the process.
SETTINGSCORE_API char const* zenbarRoot();

/// @{
/// The home prefix.
SETTINGSCORE_API ustring zenbarDefaultPrefDirPrefixUStr();
SETTINGSCORE_API ustring zenbarLocalSettingsDirPrefixUStr();
/// @}
/// What stands behind the home prefix in a release's directory.
SETTINGSCORE_API ustring zenbarDefaultPrefDirSuffixUStr(ustring const& release);

/// @{
/// The path without the separators at its end; nothing is left of a path of separators only.
SETTINGSCORE_API ustring stripFinalPathNameSepUStr(ustring const& path);
SETTINGSCORE_API std::string StripFinalPathNameSep(std::string const& path);
/// @}

/// The rules of this system; the operations above choose them.
namespace posix {

/// @{
/// See the operations of the same names.
SETTINGSCORE_API ustring zenbarDefaultPrefDirPrefixUStr();
SETTINGSCORE_API ustring zenbarLocalSettingsDirPrefixUStr();
SETTINGSCORE_API ustring zenbarDefaultPrefDirSuffixUStr(ustring const& release);
/// @}

}  // namespace posix

}  // namespace settings::core
