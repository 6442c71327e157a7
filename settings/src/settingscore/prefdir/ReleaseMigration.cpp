#include <settingscore/prefdir/ReleaseMigration.hpp>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <filesystem>
#include <iterator>
#include <string>
#include <system_error>

#include <boost/numeric/conversion/cast.hpp>
#include <settingscore/errors/MessageIds.hpp>
#include <settingscore/host/Filesystem.hpp>
#include <settingscore/host/I18n.hpp>
#include <settingscore/host/Platform.hpp>
#include <settingscore/prefdir/PreferencesDirectory.hpp>
#include <settingscore/prefdir/Releases.hpp>

namespace fs = qf::filesystem;
namespace messages = ::ZENBAR::settings::core;

namespace settings::core::pathutilinternal {

namespace {

constexpr char const* searchDisablingVariable = "DISABLE_PREFCOPY3RELEASES";

/// A file is left behind if its name contains one of these.
constexpr char16_t namesNotCopied[7][20] = {u"plgopts",          u"trnopts",   u"xbuildopts",
                                            u"addons_cache",     u"zcc.cache", u"quicklinks.xml",
                                            u"quicklinks_ja.xml"};

constexpr unsigned ownersBits = 0700;

enum CopyResult : int { copied = 0, copyFailed = 1, noSource = 2 };

void printMessage(rescat::BaseMsgID const& message) {
    std::string const text = qf::i18n::to_string(
        qf::i18n::MessageCatalog::get_message(message, qf::i18n::qbLocale::global()));
    quPutsn(0, text.data(), boost::numeric_cast<int>(text.size()));
}

ustring join(ustring const& folder, ustring const& name) {
    return (fs::path(folder) / fs::path(name)).str();
}

bool staysBehind(ustring const& name) {
    return std::any_of(std::begin(namesNotCopied), std::end(namesNotCopied),
                       [&](char16_t const* part) { return name.find(part) != ustring::npos; });
}

/// By identity, not by name: the same folder can be spelled in many ways.
bool isSameFolder(ustring const& a, ustring const& b) {
    std::error_code unknown;
    return std::filesystem::equivalent(fs::path(a).native(), fs::path(b).native(), unknown);
}

/// Not every file system has permissions: a folder without them is better than no takeover.
template <class Bits>
void trySetPermissions(ustring const& folder, Bits const& bits) {
    try {
        fs::set_permissions(folder, bits());
    } catch (fs::FsysExceptionBase const&) {  // NOLINT(bugprone-empty-catch)
    }
}

/// `wholeTarget` is where the walk as a whole copies to, `to` is the folder below it that takes the
/// content of `from`.
bool copyFolder(ustring const& from, ustring const& to, ustring const& wholeTarget,
                bool overwrite) {
    for (fs::upath_directory_entry const& entry : fs::basic_directory_iterator(from)) {
        ustring const name = entry.filename();
        if (name == fs::upath_constant::CURRENT_DIRECTORY ||
            name == fs::upath_constant::PARENT_DIRECTORY) {
            continue;
        }
        unsigned const status = entry.status();
        unsigned const kind = status & fs::file_type_mask;
        ustring const source = entry.full_pathname().str();
        if (kind == fs::directory_file) {
            // A link can lead out of the source, or back up into it; a target inside the source
            // would be copied into itself, ever deeper.
            if ((status & fs::symbolic_link) != 0 || isSameFolder(source, wholeTarget)) continue;
            ustring const target = join(to, name);
            bool const isNew = !fs::exists(target);
            if (isNew) fs::create_directories(target);
            // Nobody else looks in while it fills; then as open as it was, but never shut to its
            // owner, who needs it.
            if (isNew) trySetPermissions(target, [] { return ownersBits; });
            if (!copyFolder(source, target, wholeTarget, overwrite)) return false;
            if (isNew) {
                trySetPermissions(target, [&] { return fs::permissions(source) | ownersBits; });
            }
        } else if (kind != fs::other_file && !staysBehind(name)) {
            if (!copyFile_ustr(source, to, overwrite)) return false;
        }
    }
    return true;
}

/// True if the release had no directory, so that an older one can be tried.
bool copyFromRelease(ustring const& source, char16_t const* label, ustring const& directory) {
    int const result = copyPrefDir_ustr(source, directory, false);
    if (result == copyFailed) throwPrefMigrationError(label, releases::current);
    return result == noSource;
}

}  // namespace

int ensure_directory_exists_ustr(ustring const& path) {
    if (path.empty()) return -1;
    try {
        fs::create_directories(path);
        return 0;
    } catch (fs::FileExistsError const&) {
        return 1;
    } catch (...) {
        return -1;
    }
}

void copyPreferencesFromPreviousPrefdir(bool warnOnEmpty, int const& status, ustring& directory) {
    if (status < 0) {
        quPrintf("Warning: failed to create preference directory %s.\nCheck directory permissions.",
                 qf::i18n::to_string(directory).c_str());
        directory.clear();
        return;
    }
    if (status > 0) {
        if (warnOnEmpty && directory.empty()) {
            quPrintf("Warning: failed to create NULL preference directory. \n");
        }
        return;
    }
    copyFromPreviousRelease(directory);
    ustring const timestamp = join(directory, getTimestampFileNameUStr());
    // The older release's own came with the copy, and could be read-only.
    try {
        if ((fs::status(timestamp) & fs::file_type_mask) == fs::regular_file) fs::remove(timestamp);
    } catch (fs::FsysExceptionBase const&) {
        // What is in the way is reported below.
    }
    std::FILE* const file = fs::fopen(timestamp, "w");
    if (!file) {
        messages::throwMessage<messages::ErrorCreatePreferenceDirectoryTimeStamp>(
            timestamp, std::strerror(errno));
    }
    std::fclose(file);
}

void copyFromPreviousRelease(ustring const& directory) {
    if (!copyFromRelease(getPreviousPreferencesDirectoryUStr(), releases::previous, directory)) {
        return;
    }
    if (!qf::i18n::getenv(searchDisablingVariable).empty()) return;
    if (!copyFromRelease(getPrefdirFromPreviousTwoReleases(), releases::twoBack, directory)) {
        return;
    }
    copyFromRelease(getPrefdirFromPreviousThreeReleases(), releases::threeBack, directory);
}

int copyPrefDir_ustr(ustring const& from, ustring const& to, bool overwrite) {
    if (from.empty() || from == to) return copied;
    if (!fs::exists(from)) return noSource;
    errno = 0;
    if (!fs::exists(to)) {
        int const reason = errno != 0 ? errno : ENOENT;
        messages::throwMessage<messages::PreferenceDirectoryNotExist>(to, std::strerror(reason));
    }
    return copyDirectoryTree(from, to, overwrite) ? copied : copyFailed;
}

bool copyDirectoryTree(ustring const& from, ustring const& to, bool overwrite) {
    return isSameFolder(from, to) || copyFolder(from, to, to, overwrite);
}

bool copyFile_ustr(ustring const& file, ustring const& toDirectory, bool overwrite) {
    if (file.empty() || toDirectory.empty()) return false;
    if (!fs::exists(file)) return true;
    ustring const target = join(toDirectory, fs::extract_filename(file));
    try {
        fs::copy_file(file, target, fs::copy_option::fail_if_exists);
        return true;
    } catch (...) {
        if (!overwrite) {
            printMessage(messages::ErrorOverwriteFileInPrefDir(target));
            return true;
        }
    }
    try {
        fs::copy_file(file, target, fs::copy_option::overwrite_if_exists);
    } catch (std::exception const& error) {
        printMessage(
            messages::ErrorCopyFileInPrefDir(file, target, qf::i18n::to_ustring(error.what())));
    } catch (...) {
        printMessage(messages::ErrorCopyFileInPrefDir(file, target, u"Unknown"));
    }
    return true;
}

void throwPrefMigrationError(ustring const& previous, ustring const& current) {
    messages::throwMessage<messages::ErrorMigratePrefsBetweenReleases>(previous, current);
}

}  // namespace settings::core::pathutilinternal
