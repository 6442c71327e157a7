#pragma once

#include <settingscore/host/UString.hpp>

/// The steps of a first start: creation of a preference directory, and the copy that fills it from
/// the newest older release. `FirstStart` says where they take place.
///
/// The presence of the directory is all that says whether it was filled: after an error it stays
/// with what was copied so far, and no later start completes it. Sources are only read.
namespace settings::core::pathutilinternal {

/// A folder that is filled under one name and then gets another; messages and errors tell of the
/// latter. Both are the same if it is filled in its place.
struct NewFolder {
    ustring place;
    ustring finalPlace;
};

/// How the names of folders begin that are filled beside their place. No release is called so.
inline constexpr char16_t const* namePrefixBeside = u".takeover-";

/// 0: created now; 1: there already, be it as something else than a directory; -1: empty path, or
/// it can't be created. Throws nothing.
int ensure_directory_exists_ustr(ustring const& path);

/// What follows `ensure_directory_exists_ustr`, by its result: a directory created now is filled
/// and gets its timestamp file; one that was there is left alone; after a failure `directory` is
/// emptied, with a warning on the console.
/// @throws what `copyFromPreviousRelease` throws; `qf::except::Exception` of
///         `ErrorCreatePreferenceDirectoryTimeStamp`, with the copy made and kept
void copyPreferencesFromPreviousPrefdir(bool warnOnEmpty, int const& status, ustring& directory);

/// Copies the newest older release's directory into a new one, and writes the timestamp file.
/// @throws what `copyPreferencesFromPreviousPrefdir` throws
void fillNewDirectory(NewFolder const& directory);

/// Copies the directory of the newest older release that has one, up to three releases back; only
/// the previous release is looked at if `DISABLE_PREFCOPY3RELEASES` has a value. Finding none is
/// no error.
/// @throws `qf::except::Exception` of `ErrorMigratePrefsBetweenReleases` if a copy failed, and what
///         `copyPrefDir_ustr` throws; what was copied stays
void copyFromPreviousRelease(ustring const& directory);

/// 0: done, or nothing to do since the source is empty or the target itself; 1: failed; 2: there is
/// no source.
/// @throws `qf::except::Exception` of `PreferenceDirectoryNotExist` if there is no target; errors
///         of the file layer
int copyPrefDir_ustr(ustring const& from, ustring const& to, bool overwrite);

/// Copies what is in one folder into another, with the folders below it, but for the files whose
/// names contain one of a fixed list (caches and the like). Neither the target nor a link to a
/// folder is entered, and what is neither file nor folder stays behind, as does what first starts
/// fill beside the target. False stops the walk.
/// @throws errors of the file layer from listing and creating folders
bool copyDirectoryTree(ustring const& from, ustring const& to, bool overwrite);

/// Copies one file into a folder. False only for an empty argument: a file that is gone is passed
/// over, and one that can't be copied costs a message on the console. What stood at the target
/// stays there, unless `overwrite`.
bool copyFile_ustr(ustring const& file, ustring const& toDirectory, bool overwrite);

/// The folder's path without separators at its end, also before a ".": its last part is a name.
ustring withoutFinalSeparators(ustring path);

[[noreturn]] void throwPrefMigrationError(ustring const& previous, ustring const& current);

}  // namespace settings::core::pathutilinternal
