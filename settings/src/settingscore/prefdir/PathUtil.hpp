#pragma once

#include <settingscore/host/UString.hpp>

/// The rules behind the public operations on preference directories.
namespace settings::core::pathutilinternal {

/// The value of `HOME` as a prefix: a pair of double quotes around it and separators at its end are
/// taken off. A path shorter than two characters stays as it is.
ustring NormalizePrefDirHome(ustring const& path);

/// Replaces "~" at the start by `HOME`, and "~name" by that user's home directory: by nothing if
/// there is no such user, or if the name has more than 8 characters, which are not looked up. Any
/// other path stays as it is.
ustring tildeExpansionUStr(ustring const& path);

/// The directory of a release under the home prefix. Relative, and so refused where it is used, if
/// the prefix is empty or relative.
ustring preferencesDirectoryForRelease(ustring const& release);

/// The default rule: `ZENBAR_PREFDIR`, else the current release's directory.
void getDefaultPreferencesDirectoryOnce(ustring& directory);

}  // namespace settings::core::pathutilinternal
